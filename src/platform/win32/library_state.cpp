// What the C++ runtime keeps in a library that contains it, so that unloading leaves nothing behind. The runtime's own
// way takes an index of thread-local storage that it never gives back, of which a process has 1088, and memory for
// exceptions when there is none left.

#include <cstddef>
#include <cxxabi.h>
#include <windows.h>

extern "C" {
// Of this library, from the C runtime's start-up code.
extern const IMAGE_TLS_DIRECTORY64 _tls_used; // NOLINT(bugprone-reserved-identifier)
extern ULONG _tls_index;                      // NOLINT(bugprone-reserved-identifier)
}

namespace __gnu_cxx { // NOLINT(bugprone-reserved-identifier)
/** Frees the memory that the runtime holds in reserve for exceptions. */
void __freeres(); // NOLINT(bugprone-reserved-identifier)
} // namespace __gnu_cxx

namespace {

/** The exceptions of one thread: what abi::__cxa_eh_globals is to the runtime. */
struct Exceptions {
    void* caught;
    unsigned int uncaught;
};

// What each thread begins with. The loader makes a copy of this section for every thread, also for those that run
// already, and frees the copies with the thread or the library. GCC's own thread_local does not use that on Windows.
[[gnu::section(".tls$")]] Exceptions initial{};

Exceptions* ofThisThread() {
    std::byte* const* blocks = nullptr; // the thread's, one for each library; its environment block begins at gs
    asm("movq %%gs:0x58, %0" : "=r"(blocks));
    const auto offset = reinterpret_cast<ULONGLONG>(&initial) - _tls_used.StartAddressOfRawData;
    return reinterpret_cast<Exceptions*>(blocks[_tls_index] + offset);
}

/** Destroyed when the library is unloaded. */
struct FreeReserve {
    ~FreeReserve() { __gnu_cxx::__freeres(); }
};
const FreeReserve freeReserve;

} // namespace

// In place of the runtime's functions.
namespace __cxxabiv1 {

__cxa_eh_globals* __cxa_get_globals() noexcept {
    return reinterpret_cast<__cxa_eh_globals*>(ofThisThread());
}
__cxa_eh_globals* __cxa_get_globals_fast() noexcept {
    return reinterpret_cast<__cxa_eh_globals*>(ofThisThread());
}

} // namespace __cxxabiv1
