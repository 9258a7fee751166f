# GTest::gtest, GTest::gmock_main and their like from the sources that Debian installs.
if(TARGET GTest::gtest)
    set(GTest_FOUND TRUE)
    return()
endif()

include(FindPackageHandleStandardArgs)
find_path(GTEST_SOURCE googlemock/CMakeLists.txt
          PATHS /usr/src/googletest NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
find_package_handle_standard_args(GTest REQUIRED_VARS GTEST_SOURCE
    REASON_FAILURE_MESSAGE "scripts/install-dependencies.sh --windows installs it")
if(GTest_FOUND)
    set(INSTALL_GTEST OFF CACHE BOOL "Install GoogleTest" FORCE)
    add_subdirectory("${GTEST_SOURCE}" "${PROJECT_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)
endif()
