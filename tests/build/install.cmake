# The installed tree works from any folder, and its headers suit C, each on its own, and C++.
cmake_minimum_required(VERSION 3.25)

include(${CMAKE_CURRENT_LIST_DIR}/installed_tree.cmake)
file(MAKE_DIRECTORY ${WORK_DIR}/elsewhere)

execute_process(COMMAND ${EMULATOR} ${root}/${BIN}/qelm${EXECUTABLE_SUFFIX} info
    WORKING_DIRECTORY ${WORK_DIR}/elsewhere RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(NOT status EQUAL 0 OR NOT output MATCHES "Zantor_Obvelline_Qx4_RK")
    message(FATAL_ERROR "The installed qelm info ended with ${status}:\n${output}")
endif()

set(warnings -Wall -Wextra -pedantic -Werror -fsyntax-only -I ${root}/${INCLUDE})
file(GLOB_RECURSE headers RELATIVE ${root}/${INCLUDE} ${root}/${INCLUDE}/*.h)
if(NOT headers MATCHES "zantor_obvelline_qx4_rk/applet\\.h")
    message(FATAL_ERROR "Installed headers: ${headers}")
endif()
set(all)
foreach(header IN LISTS headers)
    string(APPEND all "#include <${header}>\n")
    if(NOT header MATCHES "^qelm/") # the host library is for C++
        file(WRITE ${WORK_DIR}/consumer.c "#include <${header}>\nint main(void) { return 0; }\n")
        execute_process(COMMAND ${C_COMPILER} -std=c11 ${warnings} ${WORK_DIR}/consumer.c COMMAND_ERROR_IS_FATAL ANY)
    endif()
endforeach()
file(WRITE ${WORK_DIR}/consumer.cpp "${all}int main() {}\n")
execute_process(COMMAND ${CXX_COMPILER} -std=c++20 ${warnings} ${WORK_DIR}/consumer.cpp COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE_RECURSE ${WORK_DIR})
