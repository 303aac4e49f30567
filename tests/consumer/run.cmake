# Installs the built library into a scratch prefix, then builds and runs a
# consumer project that only knows find_package(Dayvex).
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGN}")
    endif()
endfunction()

run(${CMAKE_COMMAND} --install ${DAYVEX_BUILD_DIR} --prefix ${prefix})
# An instrumented library loads only into a program built with the same sanitizers.
string(REPLACE ";" " " flags "${CONSUMER_FLAGS}")
run(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE_DIR} -B ${WORK_DIR}/build -DCMAKE_PREFIX_PATH=${prefix}
    "-DCMAKE_CXX_FLAGS=${flags}" "-DCMAKE_EXE_LINKER_FLAGS=${flags}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${WORK_DIR}/build/dayvex_consumer)
run(${WORK_DIR}/build/dayvex_core_consumer)
run(${WORK_DIR}/build/dayvex_host --check)
