# CLI11::CLI11 from the headers that Debian installs. They are reached by a link, since the folder
# they stand in is that of the machine that builds.
if(TARGET CLI11::CLI11)
    set(CLI11_FOUND TRUE)
    return()
endif()

include(FindPackageHandleStandardArgs)
find_path(CLI11_HEADERS CLI.hpp
          PATHS /usr/include/CLI NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
find_package_handle_standard_args(CLI11 REQUIRED_VARS CLI11_HEADERS
    REASON_FAILURE_MESSAGE "scripts/install-dependencies.sh --windows installs it")
if(CLI11_FOUND)
    set(cli11_include "${PROJECT_BINARY_DIR}/cli11")
    file(MAKE_DIRECTORY "${cli11_include}")
    file(CREATE_LINK "${CLI11_HEADERS}" "${cli11_include}/CLI" SYMBOLIC)
    add_library(CLI11::CLI11 INTERFACE IMPORTED GLOBAL)
    target_include_directories(CLI11::CLI11 SYSTEM INTERFACE "${cli11_include}")
endif()
