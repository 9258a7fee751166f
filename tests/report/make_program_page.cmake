# Makes the sample, spoils a file of it, converts it, and has the program write the report.
get_filename_component(name "${PAGE}" NAME_WE)
get_filename_component(folder "${PAGE}" DIRECTORY)
set(folder "${folder}/${name}")
file(REMOVE_RECURSE "${folder}")
execute_process(COMMAND "${MAKE_SAMPLE}" "${folder}/package" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE readme "${folder}/package/*/readme.txt")
list(GET readme 0 readme)
file(REMOVE "${readme}")
file(CREATE_LINK "/etc/hostname" "${readme}" SYMBOLIC)
execute_process(COMMAND "${CAS2ORV}" convert "${folder}/package/Planner.profile"
                "${folder}/out/app.orv" --record "${folder}/out/app.jsonl"
                --log "${folder}/out/app.html" --progress none
                OUTPUT_QUIET ERROR_QUIET RESULT_VARIABLE status)
if(NOT status EQUAL 3)
    message(FATAL_ERROR "the conversion ends with ${status}, not with 3")
endif()
execute_process(COMMAND "${CAS2ORV}" report "${folder}/out" -o "${PAGE}" COMMAND_ERROR_IS_FATAL ANY)
