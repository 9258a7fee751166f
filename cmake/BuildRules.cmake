# The rules that every target of this project is built by, and the two commands that make targets.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_C_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

if(WIN32)
    # The oldest Windows that is supported is 7 with service pack 1, for the headers and for its
    # loader. A program that does not know of terminal services is told of another Windows folder.
    add_compile_definitions(_WIN32_WINNT=0x0601)
    add_link_options("LINKER:--major-os-version,6" "LINKER:--minor-os-version,1"
                     "LINKER:--major-subsystem-version,6" "LINKER:--minor-subsystem-version,1"
                     "LINKER:--tsaware")
endif()

add_library(orv_build_rules INTERFACE)
target_compile_options(orv_build_rules INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 sees overlapping copies in every std::string sum (its bug 105651).
    target_compile_options(orv_build_rules INTERFACE -Wno-restrict)
endif()
if(ORVCASCONV_WERROR)
    target_compile_options(orv_build_rules INTERFACE -Werror)
endif()
if(ORVCASCONV_SANITIZE)
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_compile_options(${sanitizers})
    add_link_options(${sanitizers})
endif()

# orv_add_library(NAME SOURCES file... [LINKS target...])
# One floor of the house as a static library. LINKS names the floors and packages below it.
function(orv_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS;PRIVATE_LINKS")
    add_library(${name} STATIC ${arg_SOURCES})
    target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}/src"
                               "${PROJECT_SOURCE_DIR}/include")
    target_link_libraries(${name} PUBLIC ${arg_LINKS} PRIVATE orv_build_rules ${arg_PRIVATE_LINKS})
endfunction()

# orv_add_test(NAME SOURCES file... [LINKS target...] [LOADS_HIVES])
# One test program for one folder below tests/; each of its cases is a test of CTest. Those that load
# hives under the library's own name do so one at a time on Windows, where all have one registry.
function(orv_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "LOADS_HIVES" "" "SOURCES;LINKS")
    add_executable(${name} ${arg_SOURCES})
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
    target_link_libraries(${name} PRIVATE ${arg_LINKS} orv_test_support orv_build_rules
                          GTest::gmock_main)
    set(properties)
    if(WIN32 AND arg_LOADS_HIVES)
        set(properties PROPERTIES RESOURCE_LOCK registry)
    endif()
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 ${properties})
endfunction()

# orv_add_version(TARGET DESCRIPTION)
# Gives a program or a library of Windows the version that its properties show.
function(orv_add_version target description)
    get_target_property(type ${target} TYPE)
    set(suffix ".exe")
    set(file_type VFT_APP)
    if(type STREQUAL "SHARED_LIBRARY")
        set(suffix ".dll")
        set(file_type VFT_DLL)
    endif()
    configure_file("${PROJECT_SOURCE_DIR}/cmake/windows/version.rc.in"
                   "${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc" @ONLY)
    target_sources(${target} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc")
endfunction()
