execute_process(COMMAND "${NM}" --dynamic --defined-only --format=just-symbols "${LIBRARY}"
                OUTPUT_VARIABLE symbols OUTPUT_STRIP_TRAILING_WHITESPACE
                COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\n" ";" symbols "${symbols}")
list(SORT symbols)
set(expected CasToOrvW GetNextCasTargetInformation InitCasTargetInformation
    ReleaseCasTargetInformation)
if(NOT symbols STREQUAL expected)
    message(FATAL_ERROR "the library exports: ${symbols}")
endif()
