# The packages are made, unpacked somewhere, and work from there.
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR}/packages)
execute_process(COMMAND ${CMAKE_CPACK_COMMAND} --config ${BUILD_DIR}/CPackConfig.cmake -B ${WORK_DIR}/packages
    OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "cpack ended with ${status}:\n${output}")
endif()

# package(<pattern> <variable>): the one package whose name matches, with the whole version in its name.
function(package pattern variable)
    file(GLOB found ${WORK_DIR}/packages/${pattern})
    list(LENGTH found count)
    if(NOT count EQUAL 1 OR NOT found MATCHES "_[0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+_")
        message(FATAL_ERROR "Packages ${pattern}: ${found}")
    endif()
    set(${variable} ${found} PARENT_SCOPE)
endfunction()

# expect(<output> <argument>...): of qelm, from the unpacked tree
function(expect wanted)
    execute_process(COMMAND ${EMULATOR} ${qelm} ${ARGN} WORKING_DIRECTORY ${WORK_DIR}
        RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT status EQUAL 0 OR NOT output MATCHES "${wanted}")
        message(FATAL_ERROR "qelm ${ARGN} ended with ${status}:\n${output}")
    endif()
endfunction()

# try(<qelm>): the first part of scripts/demo, and a picture
function(try qelm)
    expect("Zantor_Obvelline_Qx4_RK" info)
    expect("FG_CAMERA_WIDTH += 1024" get FG_CAMERA_WIDTH FG_FORMAT)
    expect("FG_WIDTH.*512" set FG_WIDTH=512 FG_HEIGHT=256 FG_XOFFSET=128)
    expect("ROI_X_Length" trace FG_WIDTH=512)
    expect("picture" grab -o picture.png)
    file(SIZE ${WORK_DIR}/picture.png size)
    if(size LESS 10000)
        message(FATAL_ERROR "The picture has ${size} bytes")
    endif()
endfunction()

if(WINDOWS)
    package(*.zip archive)
    file(ARCHIVE_EXTRACT INPUT ${archive} DESTINATION ${WORK_DIR}/unpacked)
    file(GLOB_RECURSE files RELATIVE ${WORK_DIR}/unpacked ${WORK_DIR}/unpacked/*)
    foreach(wanted "bin/Zantor_Obvelline_Qx4_RK\\.dll" "bin/qelm\\.exe" "bin/nuvrak5\\.dll" "bin/nuvrod\\.dll"
            "bin/qelm_hw\\.dll" "bin/nuvpix\\.dll" "bin/qelm_virtual_board\\.dll"
            "include/zantor_obvelline_qx4_rk/applet\\.h" "lib/libZantor_Obvelline_Qx4_RK\\.dll\\.a" "README\\.md")
        if(NOT files MATCHES "${wanted}")
            message(SEND_ERROR "${archive} lacks ${wanted}")
        endif()
    endforeach()
    file(GLOB_RECURSE qelm ${WORK_DIR}/unpacked/qelm.exe)
    try(${qelm})
else()
    package(*.deb debian)
    execute_process(COMMAND dpkg-deb -x ${debian} ${WORK_DIR}/unpacked COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND dpkg-deb -f ${debian} Depends OUTPUT_VARIABLE depends COMMAND_ERROR_IS_FATAL ANY)
    if(NOT depends MATCHES "libc6 .*libtiff6")
        message(FATAL_ERROR "${debian} depends on ${depends}")
    endif()
    package(*.tar.gz archive)
    file(ARCHIVE_EXTRACT INPUT ${archive} DESTINATION ${WORK_DIR}/extracted)
    # Both hold the same files.
    file(GLOB_RECURSE files RELATIVE ${WORK_DIR}/unpacked/usr ${WORK_DIR}/unpacked/usr/*)
    file(GLOB tree ${WORK_DIR}/extracted/*)
    file(GLOB_RECURSE others RELATIVE ${tree} ${tree}/*)
    if(NOT files STREQUAL others)
        message(SEND_ERROR "The archive has other files than the Debian package:\n${files}\n${others}")
    endif()
    try(${WORK_DIR}/unpacked/usr/bin/qelm)
    if(PYTHON)
        execute_process(
            COMMAND ${CMAKE_COMMAND} -E env PYTHONDONTWRITEBYTECODE=1
                PYTHONPATH=${WORK_DIR}/unpacked/usr/lib/python3/dist-packages
                ${PYTHON} -c "import qelm; print(qelm.Board().snap().width)"
            OUTPUT_VARIABLE width COMMAND_ERROR_IS_FATAL ANY)
        if(NOT width EQUAL 1024)
            message(FATAL_ERROR "A frame of the Python package is ${width} pixels wide")
        endif()
    endif()
endif()
file(REMOVE_RECURSE ${WORK_DIR})
