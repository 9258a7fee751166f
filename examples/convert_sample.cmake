# Makes the sample and converts it on its own machine. cas2orv ends with 0 only when the log has no
# error, and each manifest has all the collections that a conversion fills.
set(all Properties CreateFolders CreateFiles DeleteFiles CreateKeys CreateValues CreateShortcuts
    DeleteShortcuts CreateEnvVars CreateServices DeleteServices CreateAssemblies PreActions
    PostActions)
file(REMOVE_RECURSE "${FOLDER}")
execute_process(COMMAND "${MAKE_SAMPLE}" "${FOLDER}/package" OUTPUT_QUIET
                COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CAS2ORV}" convert [[\\sample\planner\Planner.profile]]
                "${FOLDER}/out/Sample.orv" --machine "${FOLDER}/package/machine.toml"
                --progress none COMMAND_ERROR_IS_FATAL ANY)
file(GLOB manifests "${FOLDER}/out/*/Sample.orv")
list(LENGTH manifests count)
if(NOT count EQUAL 2)
    message(FATAL_ERROR "not a manifest for each of the two targets: ${manifests}")
endif()
foreach(manifest IN LISTS manifests)
    file(STRINGS "${manifest}" collections ENCODING UTF-16LE REGEX "^<[A-Z][A-Za-z]+>$")
    list(TRANSFORM collections REPLACE "[<>]" "")
    if(NOT collections STREQUAL all)
        message(FATAL_ERROR "${manifest} has ${collections}")
    endif()
endforeach()
