# RapidJSON, which is only headers, as the target RapidJSON::RapidJSON.
include(FindPackageHandleStandardArgs)
find_path(RapidJSON_HEADERS rapidjson/writer.h)
find_package_handle_standard_args(RapidJSON REQUIRED_VARS RapidJSON_HEADERS
    REASON_FAILURE_MESSAGE "scripts/install-dependencies.sh installs it")
if(RapidJSON_FOUND AND NOT TARGET RapidJSON::RapidJSON)
    add_library(RapidJSON::RapidJSON INTERFACE IMPORTED GLOBAL)
    target_include_directories(RapidJSON::RapidJSON SYSTEM INTERFACE "${RapidJSON_HEADERS}")
endif()
