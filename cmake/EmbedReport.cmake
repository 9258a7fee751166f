# cmake -DFROM=FOLDER -DTO=FILE.cpp -P EmbedReport.cmake
# Writes the page of cas2orv report, which is in FOLDER, as constants of C++. The modules become one
# script, in which nothing is imported or exported any more.

# Line ends become those of HTML, which browsers compute the hashes of the policy with.
function(read_text file variable)
    file(READ "${file}" text)
    string(REPLACE "\r\n" "\n" text "${text}")
    set(${variable} "${text}" PARENT_SCOPE)
endfunction()

# Stops at what would end the element that the text is in, or begin a comment there.
function(check_element name text)
    string(TOLOWER "${text}" text)
    foreach(mark "</script" "</style" "<!--")
        string(FIND "${text}" "${mark}" at)
        if(NOT at EQUAL -1)
            message(FATAL_ERROR "${FROM}/${name} has ${mark} in it")
        endif()
    endforeach()
endfunction()

# As single characters, because string literals have a greatest length.
function(append_constant name text)
    string(HEX "${text}" digits)
    string(REGEX REPLACE "(..)" "'\\\\x\\1'," characters "${digits}")
    # Lines of twelve, for whoever looks into the file.
    string(REPEAT "." 84 line)
    string(REGEX REPLACE "(${line})" "\\1\n" characters "${characters}")
    file(APPEND "${TO}.new" "constexpr char ${name}[] = {\n${characters}'\\0'};\n")
endfunction()

file(STRINGS "${FROM}/modules.txt" modules)
set(script "(function () {\n\"use strict\";\n")
foreach(module IN LISTS modules)
    read_text("${FROM}/${module}" text)
    check_element(${module} "${text}")
    string(REGEX REPLACE "(^|\n)import [^\n]*" "\\1" text "${text}")
    string(REGEX REPLACE "(^|\n)export " "\\1" text "${text}")
    string(APPEND script "${text}\n")
endforeach()
string(APPEND script "})();\n")

read_text("${FROM}/page.css" css)
read_text("${FROM}/page.html" html)
check_element(page.css "${css}")

file(WRITE "${TO}.new" "// Made by cmake/EmbedReport.cmake from report/.\n"
     "#include \"host/report/report_page.h\"\n\nnamespace host {\n\nnamespace {\n\n")
append_constant(kCss "${css}")
append_constant(kHtml "${html}")
append_constant(kScript "${script}")
file(APPEND "${TO}.new" "\n}  // namespace\n\n"
     "const SReportAssets kReportAssets = {{kCss, sizeof kCss - 1},\n"
     "                                     {kHtml, sizeof kHtml - 1},\n"
     "                                     {kScript, sizeof kScript - 1}};\n\n}  // namespace host\n")
file(RENAME "${TO}.new" "${TO}")
