# Adds to the files of the Debian package what its rules ask for beyond an installation: compressed
# manual pages, a changelog, and the reasons for what lintian is not to report.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
    return()
endif()
set(share "${CPACK_TEMPORARY_DIRECTORY}/usr/share")
configure_file("${CPACK_ORVCASCONV_DEBIAN}/changelog"
               "${share}/doc/${CPACK_DEBIAN_PACKAGE_NAME}/changelog" COPYONLY)
configure_file("${CPACK_ORVCASCONV_DEBIAN}/lintian-overrides"
               "${share}/lintian/overrides/${CPACK_DEBIAN_PACKAGE_NAME}" COPYONLY)
file(GLOB texts "${share}/man/man*/*" "${share}/doc/${CPACK_DEBIAN_PACKAGE_NAME}/changelog")
execute_process(COMMAND gzip -9nf ${texts} COMMAND_ERROR_IS_FATAL ANY)
