# Builds the programs of SOURCE with the library below PREFIX, by PKG_CONFIG if it is given and by
# find_package() otherwise, and has them list and convert the sample package.
set(flags -Wall -Wextra -Wpedantic -Werror)

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE "${FOLDER}")
file(MAKE_DIRECTORY "${FOLDER}")
if(PKG_CONFIG)
    set(ENV{PKG_CONFIG_PATH} "${PREFIX}/${LIBDIR}/pkgconfig")
    execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs OrvCasConv OUTPUT_VARIABLE library
                    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(library UNIX_COMMAND "${library}")
    list(APPEND library "-Wl,-rpath,${PREFIX}/${LIBDIR}")
    run("${CC}" -std=c11 ${flags} "${SOURCE}/convert.c" ${library} -o "${FOLDER}/convert")
    run("${CXX}" -std=c++20 ${flags} "${SOURCE}/targets.cpp" ${library} -o "${FOLDER}/targets")
else()
    list(JOIN flags " " flags)
    run("${CMAKE_COMMAND}" -S "${SOURCE}" -B "${FOLDER}" -G "${GENERATOR}"
        "-DCMAKE_PREFIX_PATH=${PREFIX}" "-DCMAKE_C_COMPILER=${CC}" "-DCMAKE_CXX_COMPILER=${CXX}"
        "-DCMAKE_C_FLAGS=${flags}" "-DCMAKE_CXX_FLAGS=${flags}"
        "-DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF")
    run("${CMAKE_COMMAND}" --build "${FOLDER}")
endif()

run("${MAKE_SAMPLE}" "${FOLDER}/package")
set(profile "${FOLDER}/package/Planner.profile")
execute_process(COMMAND "${FOLDER}/targets" "${profile}" OUTPUT_VARIABLE targets
                COMMAND_ERROR_IS_FATAL ANY)
if(NOT targets MATCHES "^{[-0-9A-F]+}\tPlanner, 64-bit\n{[-0-9A-F]+}\tPlanner, 32-bit\n$")
    message(FATAL_ERROR "the targets are listed as:\n${targets}")
endif()
execute_process(COMMAND "${FOLDER}/convert" "${profile}" "${FOLDER}/out/März.orv"
                OUTPUT_VARIABLE result ERROR_VARIABLE progress COMMAND_ERROR_IS_FATAL ANY)
if(NOT progress MATCHES "\ntarget 2 of 2, stage 10 of 10: Saving target.\n$")
    message(FATAL_ERROR "the progress is shown as:\n${progress}")
endif()
file(GLOB manifests "${FOLDER}/out/*/März.orv")
list(LENGTH manifests count)
if(NOT result STREQUAL "status 0, 2 targets\n" OR NOT count EQUAL 2)
    message(FATAL_ERROR "${result}${manifests}")
endif()
