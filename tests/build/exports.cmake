# The applet shows the functions that its header declares, 31 in number, and no other symbol.
cmake_minimum_required(VERSION 3.25)

file(STRINGS ${HEADER} declarations REGEX "^[A-Za-z].*[ *](Std_entry|Info|Fg_[A-Za-z]+|Shad_[A-Za-z]+)\\(")
list(TRANSFORM declarations REPLACE "^[^(]*[ *]([A-Za-z_]+)\\(.*$" "\\1" OUTPUT_VARIABLE declared)
list(SORT declared)

if(WINDOWS)
    execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE dump COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCH "\\[Ordinal/Name Pointer\\] Table[^\n]*\n((\t[^\n]*\n)+)" table "${dump}")
    string(REGEX MATCHALL "[A-Za-z_][A-Za-z0-9_@?]*\n" exported "${CMAKE_MATCH_1}")
    list(TRANSFORM exported STRIP)
    # Functions exported without a name stand in the address table alone.
    string(REGEX MATCH "Export Address Table[ \t]+([0-9a-f]+)" line "${dump}")
    math(EXPR addresses "0x${CMAKE_MATCH_1}")
else()
    execute_process(COMMAND ${NM} -D --defined-only --format=posix ${LIBRARY}
        OUTPUT_VARIABLE table COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "[^\n]+" exported "${table}")
    list(TRANSFORM exported REPLACE " .*$" "")
    list(LENGTH exported addresses)
endif()
list(SORT exported)

list(LENGTH declared count)
if(NOT count EQUAL 31 OR NOT addresses EQUAL 31 OR NOT exported STREQUAL declared)
    set(missing ${declared})
    list(REMOVE_ITEM missing ${exported})
    set(extra ${exported})
    list(REMOVE_ITEM extra ${declared})
    message(FATAL_ERROR "${count} functions declared, ${addresses} symbols exported\n"
        "missing: ${missing}\nnot to be seen: ${extra}")
endif()
