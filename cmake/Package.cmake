# What cpack makes of all that is installed: on Debian one package for users of the program and of
# the library, for Windows a .zip that is used where it is unpacked.

set(CPACK_PACKAGE_VENDOR "OrvCasConv")
# "invalid" is the name of a domain that nobody can ever have.
set(CPACK_PACKAGE_CONTACT "OrvCasConv developers <orvcasconv@localhost.invalid>")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

find_program(DPKG_SHLIBDEPS dpkg-shlibdeps)
if(WIN32)
    set(CPACK_GENERATOR ZIP)
elseif(DPKG_SHLIBDEPS)
    set(CPACK_GENERATOR DEB)
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
else()
    set(CPACK_GENERATOR TGZ)
endif()

set(CPACK_DEBIAN_PACKAGE_NAME orvcasconv)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/debian/triggers")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The project's own description goes in front of this one.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "The captured files, registry, services and scripts of a package
become a manifest and a payload. Neither Windows nor an administrator takes
part in it.
.
This package has the program cas2orv, and the library with what other programs
are built with to use it.")

# Read by the script below.
set(CPACK_ORVCASCONV_DEBIAN "${PROJECT_SOURCE_DIR}/cmake/debian")
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/debian/complete.cmake")

include(CPack)
