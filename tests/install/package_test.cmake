# Makes the package of BUILD, unpacks it below FOLDER, looks for its files and runs its program.
file(REMOVE_RECURSE "${FOLDER}")
file(MAKE_DIRECTORY "${FOLDER}")
execute_process(COMMAND "${CPACK}" --config "${BUILD}/CPackConfig.cmake" -B "${FOLDER}"
                COMMAND_ERROR_IS_FATAL ANY)

set(files bin/cas2orv lib/libOrvCasConv.so lib/pkgconfig/OrvCasConv.pc share/man/man1/cas2orv.1.gz
    share/doc/orvcasconv/copyright share/bash-completion/completions/cas2orv
    share/zsh/vendor-completions/_cas2orv share/fish/vendor_completions.d/cas2orv.fish)
set(package "${FOLDER}/OrvCasConv-${VERSION}-win64.zip")
if(EXISTS "${package}")
    file(ARCHIVE_EXTRACT INPUT "${package}" DESTINATION "${FOLDER}/unpacked")
    set(root "${FOLDER}/unpacked/OrvCasConv-${VERSION}-win64")
    set(files bin/OrvCasConv.dll bin/cas2orv.exe lib/libOrvCasConv.dll.a LICENSE README.md
        examples/Convert.cs examples/convert.ps1)
    foreach(part Abseil CLI11 GCC GPL-3 mingw-w64 RapidJSON tomlplusplus zlib)
        list(APPEND files "licences/${part}.txt")
    endforeach()
    foreach(name README.txt cas2orv.txt)
        file(READ "${root}/${name}" text HEX)
        # Every line ends in CR LF, and nothing else is beyond printable ASCII.
        string(REGEX REPLACE "0d0a|[2-6][0-9a-f]|7[0-9a-e]" "" rest "${text}")
        if(NOT text MATCHES "0d0a$" OR NOT rest STREQUAL "")
            message(FATAL_ERROR "${name} is no plain text of Windows")
        endif()
    endforeach()
else()
    file(GLOB package "${FOLDER}/orvcasconv_${VERSION}_*.deb")
    set(root "${FOLDER}/unpacked/usr")
    execute_process(COMMAND dpkg-deb -x "${package}" "${FOLDER}/unpacked"
                    COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND dpkg-deb -f "${package}" Depends OUTPUT_VARIABLE depends
                    COMMAND_ERROR_IS_FATAL ANY)
    if(NOT depends MATCHES "libicu[0-9]+.*libxml2" OR depends MATCHES "-dev|orvcasconv")
        message(FATAL_ERROR "the package depends on ${depends}")
    endif()
endif()

foreach(file include/orvcasconv/orvcasconv.h share/orvcasconv/manifest.xsd share/orvcasconv/json.schema.json lib/cmake/OrvCasConv/OrvCasConvConfig.cmake ${files})
    if(NOT EXISTS "${root}/${file}")
        message(FATAL_ERROR "not in the package: ${file}")
    endif()
endforeach()
# It finds its library where it was unpacked.
file(GLOB program "${root}/bin/cas2orv*")
execute_process(COMMAND ${EMULATOR} "${program}" --version OUTPUT_VARIABLE version
                COMMAND_ERROR_IS_FATAL ANY)
if(NOT version MATCHES "${VERSION}")
    message(FATAL_ERROR "the program says it is ${version}")
endif()
