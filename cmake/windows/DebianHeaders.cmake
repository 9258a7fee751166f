include(FindPackageHandleStandardArgs)

# The package NAME as TARGET, from the headers that Debian installs in /usr/include/FOLDER, one of
# which is HEADER. They are reached by a link, since their folder is that of the machine
# that builds.
macro(orv_find_debian_headers NAME TARGET FOLDER HEADER)
    find_path(${NAME}_HEADERS ${HEADER}
              PATHS "/usr/include/${FOLDER}" NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    find_package_handle_standard_args(${NAME} REQUIRED_VARS ${NAME}_HEADERS
        REASON_FAILURE_MESSAGE "scripts/install-dependencies.sh --windows installs it")
    if(${NAME}_FOUND AND NOT TARGET ${TARGET})
        file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/${NAME}")
        file(CREATE_LINK "${${NAME}_HEADERS}" "${PROJECT_BINARY_DIR}/${NAME}/${FOLDER}" SYMBOLIC)
        add_library(${TARGET} INTERFACE IMPORTED GLOBAL)
        target_include_directories(${TARGET} SYSTEM INTERFACE "${PROJECT_BINARY_DIR}/${NAME}")
    endif()
endmacro()
