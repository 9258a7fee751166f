# What the loader of Windows reads of a program or a library: the oldest Windows that it runs on, here
# 7, and that it knows of terminal services, without which it is told of another Windows folder.
foreach(file IN LISTS FILES)
    execute_process(COMMAND "${OBJDUMP}" -p "${file}" OUTPUT_VARIABLE headers
                    COMMAND_ERROR_IS_FATAL ANY)
    foreach(expected "MajorOSystemVersion[\t ]+6" "MinorOSystemVersion[\t ]+1"
                     "MajorSubsystemVersion[\t ]+6" "MinorSubsystemVersion[\t ]+1"
                     "DllCharacteristics[\t ]+0000[89a-f]")
        if(NOT headers MATCHES "\n${expected}")
            message(SEND_ERROR "the header of ${file} has no ${expected}")
        endif()
    endforeach()
endforeach()
