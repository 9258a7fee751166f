# Fetches the tools of the page into TOOLS, unless those of the same list are there already.
file(READ "${PAGE}/package-lock.json" wanted)
set(stamp "${TOOLS}/fetched.json")
if(EXISTS "${stamp}")
    file(READ "${stamp}" fetched)
    if(fetched STREQUAL wanted)
        return()
    endif()
endif()
file(MAKE_DIRECTORY "${TOOLS}")
file(COPY "${PAGE}/package.json" "${PAGE}/package-lock.json" DESTINATION "${TOOLS}")
execute_process(COMMAND "${NPM}" ci --no-audit --no-fund --ignore-scripts WORKING_DIRECTORY "${TOOLS}"
                COMMAND_ERROR_IS_FATAL ANY)
file(COPY_FILE "${PAGE}/package-lock.json" "${stamp}")
