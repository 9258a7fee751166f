file(REMOVE_RECURSE "${PREFIX}")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${PREFIX}"
                COMMAND_ERROR_IS_FATAL ANY)
# The program has to find the library of its own prefix, and not that of the build.
execute_process(COMMAND "${PREFIX}/bin/cas2orv" --version COMMAND_ERROR_IS_FATAL ANY)
foreach(file include/orvcasconv/orvcasconv.h share/man/man1/cas2orv.1)
    if(NOT EXISTS "${PREFIX}/${file}")
        message(FATAL_ERROR "not installed: ${file}")
    endif()
endforeach()
