# What cmake --install puts down for users of the library: the library and its header, what
# find_package(OrvCasConv) and pkg-config find them by, and what is to be read beside them. The
# program is installed by host/.

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

# Debian looks for the licence in a file of this name; on Windows people look into the first folder.
if(WIN32)
    set(documentation_folder ".")
    install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION .)
    include(InstallWindowsTexts)
else()
    set(documentation_folder "${CMAKE_INSTALL_DATAROOTDIR}/doc/orvcasconv")
    install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${documentation_folder}"
            RENAME copyright)
endif()
install(FILES "${PROJECT_SOURCE_DIR}/README.md" DESTINATION "${documentation_folder}")
install(FILES "${PROJECT_SOURCE_DIR}/docs/fleet.md" "${PROJECT_SOURCE_DIR}/docs/installer.md"
              "${PROJECT_SOURCE_DIR}/docs/json.md"
              "${PROJECT_SOURCE_DIR}/docs/machine.md" "${PROJECT_SOURCE_DIR}/docs/manifest.md"
              "${PROJECT_SOURCE_DIR}/docs/record.md" "${PROJECT_SOURCE_DIR}/docs/reg.md"
              "${PROJECT_SOURCE_DIR}/docs/report.png"
        DESTINATION "${documentation_folder}/docs")

# Where Debian's packages put them, and where each shell looks.
if(NOT WIN32)
    set(completions "${PROJECT_SOURCE_DIR}/host/completions")
    install(FILES "${completions}/cas2orv.bash" RENAME cas2orv
            DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions")
    install(FILES "${completions}/_cas2orv"
            DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/zsh/vendor-completions")
    install(FILES "${completions}/cas2orv.fish"
            DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/fish/vendor_completions.d")
endif()

# The schemas of manifests and of what the program prints, for validators.
install(FILES "${PROJECT_SOURCE_DIR}/docs/json.schema.json" "${PROJECT_SOURCE_DIR}/docs/manifest.xsd"
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/orvcasconv")

# The licences of what ends up inside the library and the program ask to go with them.
function(install_licence_of part file)
    if(EXISTS "${file}")
        install(FILES "${file}" DESTINATION "${documentation_folder}/licences"
                RENAME "${part}.txt")
    elseif(WIN32)
        message(WARNING "the package goes without the licence of ${part}: no ${file}")
    endif()
endfunction()
install_licence_of(CLI11 /usr/share/doc/libcli11-dev/copyright)
install_licence_of(RapidJSON /usr/share/doc/rapidjson-dev/copyright)
if(WIN32)
    install_licence_of(Abseil "${ORVCASCONV_ABSEIL_SOURCE}/LICENSE")
    install_licence_of(tomlplusplus /usr/share/doc/libtomlplusplus-dev/copyright)
    install_licence_of(zlib /usr/share/doc/libz-mingw-w64-dev/copyright)
    # The run-time libraries of C++, of the compiler and of threads: all are linked statically.
    install_licence_of(GCC /usr/share/doc/gcc-mingw-w64-base/copyright)
    install_licence_of(GPL-3 /usr/share/common-licenses/GPL-3)  # GCC's text refers to it
    install_licence_of(mingw-w64 /usr/share/doc/mingw-w64-common/copyright)
endif()
