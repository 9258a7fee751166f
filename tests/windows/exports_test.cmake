execute_process(COMMAND "${OBJDUMP}" -p "${LIBRARY}" OUTPUT_VARIABLE headers
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "\n[\t ]+\\[ *[0-9]+\\] [^\n+]+" names "${headers}")
list(TRANSFORM names REPLACE ".*\\] ([^\r]+).*" "\\1")
set(expected CasToOrvW GetNextCasTargetInformation InitCasTargetInformation
    ReleaseCasTargetInformation)
if(NOT names STREQUAL expected)
    message(FATAL_ERROR "the library exports: ${names}")
endif()
# Whatever else it needs would have to be shipped with it.
string(REGEX MATCHALL "DLL Name: [^\r\n]+" imports "${headers}")
list(TRANSFORM imports REPLACE "DLL Name: " "")
list(TRANSFORM imports TOLOWER)
list(REMOVE_ITEM imports advapi32.dll kernel32.dll msvcrt.dll ole32.dll shell32.dll shlwapi.dll
     user32.dll xmllite.dll)
if(imports)
    message(FATAL_ERROR "the library needs ${imports}")
endif()
