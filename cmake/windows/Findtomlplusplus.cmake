# tomlplusplus::tomlplusplus, for tests, from the headers that Debian installs. They are reached by a
# link, since the folder they stand in is that of the machine that builds.
if(TARGET tomlplusplus::tomlplusplus)
    set(tomlplusplus_FOUND TRUE)
    return()
endif()

include(FindPackageHandleStandardArgs)
find_path(TOMLPLUSPLUS_HEADERS toml.h
          PATHS /usr/include/toml++ NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
find_package_handle_standard_args(tomlplusplus REQUIRED_VARS TOMLPLUSPLUS_HEADERS
    REASON_FAILURE_MESSAGE "scripts/install-dependencies.sh --windows installs it")
if(tomlplusplus_FOUND)
    set(toml_include "${PROJECT_BINARY_DIR}/tomlplusplus")
    file(MAKE_DIRECTORY "${toml_include}")
    file(CREATE_LINK "${TOMLPLUSPLUS_HEADERS}" "${toml_include}/toml++" SYMBOLIC)
    add_library(tomlplusplus::tomlplusplus INTERFACE IMPORTED GLOBAL)
    target_include_directories(tomlplusplus::tomlplusplus SYSTEM INTERFACE "${toml_include}")
endif()
