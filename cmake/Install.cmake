# What cmake --install puts down for users of the library: the library and its header, and what
# find_package(OrvCasConv) and pkg-config find them by. The program is installed by host/.

include(CMakePackageConfigHelpers)

add_library(OrvCasConv::OrvCasConv ALIAS OrvCasConv)

install(TARGETS OrvCasConv EXPORT OrvCasConvTargets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
        INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(FILES "${PROJECT_SOURCE_DIR}/include/orvcasconv/orvcasconv.h"
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/orvcasconv")

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/OrvCasConv")
install(EXPORT OrvCasConvTargets NAMESPACE OrvCasConv:: DESTINATION "${package_folder}")
configure_package_config_file(cmake/OrvCasConvConfig.cmake.in
    "${PROJECT_BINARY_DIR}/OrvCasConvConfig.cmake"
    INSTALL_DESTINATION "${package_folder}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/OrvCasConvConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/OrvCasConvConfig.cmake"
              "${PROJECT_BINARY_DIR}/OrvCasConvConfigVersion.cmake"
        DESTINATION "${package_folder}")

# Paths in the .pc file start from where it lies, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig"
     "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
file(RELATIVE_PATH libdir_from_prefix "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_LIBDIR}")
file(RELATIVE_PATH includedir_from_prefix "${CMAKE_INSTALL_PREFIX}"
     "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
configure_file(cmake/OrvCasConv.pc.in "${PROJECT_BINARY_DIR}/OrvCasConv.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/OrvCasConv.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
