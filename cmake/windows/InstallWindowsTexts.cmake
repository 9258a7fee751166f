# What people on Windows read, with the line ends that every editor there knows.

# install_windows_text(SOURCE NAME FOLDER): @VARIABLES@ of the source are replaced.
function(install_windows_text source name folder)
    set(text "${PROJECT_BINARY_DIR}/windows_texts/${name}")
    configure_file("${source}" "${text}" @ONLY NEWLINE_STYLE CRLF)
    install(FILES "${text}" DESTINATION "${folder}")
endfunction()

install_windows_text(cmake/windows/README.txt.in README.txt .)
foreach(name Convert.cs convert.ps1)
    install_windows_text("examples/use_library/${name}" "${name}" examples)
endforeach()

# The manual page as text. groff writes no escape sequences for terminals then, and breaks no words.
find_program(GROFF groff REQUIRED)
set(page "${PROJECT_SOURCE_DIR}/docs/cas2orv.1")
set(manual "${PROJECT_BINARY_DIR}/windows_texts/cas2orv.txt")
add_custom_command(OUTPUT "${manual}"
    COMMAND "${GROFF}" -man -Tascii -P-cbou -rHY=0 "${page}" > cas2orv.lf.txt
    COMMAND "${CMAKE_COMMAND}" -DFROM=cas2orv.lf.txt "-DTO=${manual}"
            -P "${CMAKE_CURRENT_LIST_DIR}/WriteCrLf.cmake"
    DEPENDS "${page}" VERBATIM)
add_custom_target(manual ALL DEPENDS "${manual}")
install(FILES "${manual}" DESTINATION .)
