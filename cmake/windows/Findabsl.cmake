# absl::city from the sources of Abseil, which scripts/install-dependencies.sh --windows fetches: of
# all that Abseil has, this project needs the one file.
if(TARGET absl::city)
    set(absl_FOUND TRUE)
    return()
endif()

set(cache_folder "$ENV{XDG_CACHE_HOME}")
if(NOT cache_folder)
    set(cache_folder "$ENV{HOME}/.cache")
endif()
set(ORVCASCONV_ABSEIL_SOURCE "${cache_folder}/orvcasconv/abseil" CACHE PATH
    "Folder with the sources of Abseil")

include(FindPackageHandleStandardArgs)
find_file(ABSL_CITY_SOURCE absl/hash/internal/city.cc
          PATHS "${ORVCASCONV_ABSEIL_SOURCE}" NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
find_package_handle_standard_args(absl REQUIRED_VARS ABSL_CITY_SOURCE
    REASON_FAILURE_MESSAGE "scripts/install-dependencies.sh --windows fetches it")
if(absl_FOUND)
    add_library(absl_city STATIC "${ABSL_CITY_SOURCE}")
    target_include_directories(absl_city SYSTEM PUBLIC "${ORVCASCONV_ABSEIL_SOURCE}")
    add_library(absl::city ALIAS absl_city)
endif()
