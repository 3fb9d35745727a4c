# On Windows stack slots of 32 bytes are aligned to 16: no move of the AVX2 kernels may want more.
cmake_minimum_required(VERSION 3.25)

string(REPLACE "|" ";" objects "${OBJECTS}")
foreach(source IN ITEMS shading_arithmetic row_kernels)
    set(found ${objects})
    list(FILTER found INCLUDE REGEX "/${source}\\.cpp\\.[a-z]+$")
    execute_process(COMMAND ${OBJDUMP} -d --no-show-raw-insn ${found}
        OUTPUT_VARIABLE instructions COMMAND_ERROR_IS_FATAL ANY)
    # Between registers an aligned move is as good.
    string(REGEX MATCHALL "vmov(aps|apd|dqa|ntdqa?|ntps|ntpd) [^\n]*" aligned "${instructions}")
    list(FILTER aligned INCLUDE REGEX "%ymm[^\n]*\\(|\\([^\n]*%ymm")
    list(LENGTH aligned count)
    if(NOT count EQUAL 0)
        message(SEND_ERROR "${source}.cpp has ${count} aligned moves of 32 bytes: ${aligned}")
    endif()
    if(NOT instructions MATCHES "vmov(ups|upd|dqu) [^\n]*%ymm")
        message(SEND_ERROR "${source}.cpp has no moves of 32 bytes at all")
    endif()
endforeach()
