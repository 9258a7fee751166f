# Makes the sample and converts it. cas2orv ends with 0 only when the log has no error.
file(REMOVE_RECURSE "${FOLDER}")
execute_process(COMMAND "${MAKE_SAMPLE}" "${FOLDER}/package" OUTPUT_VARIABLE profile
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CAS2ORV}" convert "${profile}" "${FOLDER}/out/Sample.orv"
                --progress none COMMAND_ERROR_IS_FATAL ANY)
file(GLOB manifests "${FOLDER}/out/*/Sample.orv")
list(LENGTH manifests count)
if(NOT count EQUAL 2)
    message(FATAL_ERROR "not a manifest for each of the two targets: ${manifests}")
endif()
