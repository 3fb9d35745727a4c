# With everything in place but the acquisition runtime, the tool says so, with the code of the applet's start-up.
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${WORK_DIR})
file(GLOB libraries ${BIN_DIR}/*.so ${BIN_DIR}/*.so.* ${BIN_DIR}/*.dll)
file(COPY ${libraries} ${BIN_DIR}/qelm${EXECUTABLE_SUFFIX} DESTINATION ${WORK_DIR})

function(run_info status_variable output_variable)
    execute_process(COMMAND ${EMULATOR} ${WORK_DIR}/qelm${EXECUTABLE_SUFFIX} info
        WORKING_DIRECTORY ${WORK_DIR} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    set(${status_variable} ${status} PARENT_SCOPE)
    set(${output_variable} "${output}" PARENT_SCOPE)
endfunction()

run_info(status output)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "With the runtime, qelm info ended with ${status}:\n${output}")
endif()

file(GLOB runtime ${WORK_DIR}/*nuvrak5*)
file(REMOVE ${runtime})
run_info(status output)
if(NOT runtime OR status EQUAL 0 OR NOT output MATCHES "-2031")
    message(FATAL_ERROR "Without \"${runtime}\", qelm info ended with ${status}:\n${output}")
endif()
file(REMOVE_RECURSE ${WORK_DIR})
