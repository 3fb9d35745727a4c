# An index of thread-local storage would stay taken when the applet is unloaded, and a process has 1088 of them. The
# thread library takes one as soon as the applet, or the part of the C++ library within, uses it: function-local
# statics, streams, thread identifiers, call_once, thread_local.
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE dump COMMAND_ERROR_IS_FATAL ANY)
if(NOT dump MATCHES "DLL Name: KERNEL32.dll")
    message(SEND_ERROR "This is no list of imports:\n${dump}")
endif()
if(dump MATCHES "TlsAlloc")
    message(SEND_ERROR "The applet imports TlsAlloc; the linker's map (-Wl,-Map) tells what for")
endif()
