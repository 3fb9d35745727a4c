# Programs in C and C++ are built against the installed tree, by its CMake package and by pkg-config, and run.
cmake_minimum_required(VERSION 3.25)

include(${CMAKE_CURRENT_LIST_DIR}/installed_tree.cmake)
file(GLOB applet ${root}/*/Zantor_Obvelline_Qx4_RK${LIBRARY_SUFFIX})

# expect(<output> <program> [<argument>...])
function(expect wanted)
    execute_process(COMMAND ${EMULATOR} ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT status EQUAL 0 OR NOT output MATCHES "${wanted}")
        message(FATAL_ERROR "${ARGN} ended with ${status}:\n${output}")
    endif()
endfunction()

if(LINKER_FLAGS) # else those of the toolchain
    set(linker_options -DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS})
endif()
execute_process(
    COMMAND ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/consumer -B ${WORK_DIR}/build -G Ninja
        -Dqelm_DIR=${root}/lib/cmake/qelm -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
        -DCMAKE_RUNTIME_OUTPUT_DIRECTORY=${root}/bin -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
        -DCMAKE_C_COMPILER=${C_COMPILER} ${linker_options}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
expect("a board: yes, FG_WIDTH is 100" ${root}/bin/consumer_c${EXECUTABLE_SUFFIX})
expect("the width is 512" ${root}/bin/consumer_cpp${EXECUTABLE_SUFFIX} ${applet})

if(PKG_CONFIG)
    file(GLOB_RECURSE descriptions ${root}/*.pc)
    list(GET descriptions 0 description)
    cmake_path(GET description PARENT_PATH folder)
    # build_with(<program> <source> <package> <compiler>...)
    function(build_with program source package)
        execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${folder}
                ${PKG_CONFIG} --cflags --libs ${package}
            OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
        separate_arguments(flags UNIX_COMMAND "${flags}")
        execute_process(COMMAND ${ARGN} ${CMAKE_CURRENT_LIST_DIR}/consumer/${source} -o ${WORK_DIR}/${program} ${flags}
                ${LINKER_FLAGS} -Wl,-rpath,${root}/lib
            COMMAND_ERROR_IS_FATAL ANY)
    endfunction()
    build_with(packaged_c consumer.c qelm ${C_COMPILER} -std=c11 -Wall -Wextra -Werror)
    build_with(packaged_cpp consumer.cpp qelm-host ${CXX_COMPILER} -std=c++20 -Wall -Wextra -Werror)
    expect("a board: yes, FG_WIDTH is 100" ${WORK_DIR}/packaged_c)
    expect("the width is 512" ${WORK_DIR}/packaged_cpp ${applet})
endif()
file(REMOVE_RECURSE ${WORK_DIR})
