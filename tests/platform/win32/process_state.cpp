#include "process_state.h"

#include <array>
#include <stdexcept>
#include <windows.h>

namespace qelm::test {

std::size_t nextThreadLocalIndex() {
    const DWORD index = TlsAlloc();
    if (index == TLS_OUT_OF_INDEXES) {
        throw std::runtime_error("no index of thread-local storage is left");
    }
    TlsFree(index);
    return index;
}

std::size_t openHandles() {
    DWORD count = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &count) != FALSE && count > 0) {
        return count;
    }
    // Wine does not count them; it gives the lowest that is free.
    const HANDLE lowest = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    CloseHandle(lowest);
    return reinterpret_cast<std::size_t>(lowest) / 4;
}

std::size_t heapInUse() {
    std::array<HANDLE, 64> heaps{};
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    std::size_t bytes = 0;
    for (DWORD i = 0; i < count && i < heaps.size(); ++i) {
        PROCESS_HEAP_ENTRY entry{};
        HeapLock(heaps[i]);
        while (HeapWalk(heaps[i], &entry) != FALSE) {
            bytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
        }
        HeapUnlock(heaps[i]);
    }
    return bytes;
}

std::size_t addressSpaceInUse() {
    std::size_t bytes = 0;
    MEMORY_BASIC_INFORMATION region{};
    for (const char* address = nullptr; VirtualQuery(address, &region, sizeof(region)) != 0;
         address = static_cast<const char*>(region.BaseAddress) + region.RegionSize) {
        bytes += region.State != MEM_FREE ? region.RegionSize : 0;
    }
    return bytes;
}

bool isWritable(const void* address) {
    MEMORY_BASIC_INFORMATION region{};
    if (VirtualQuery(address, &region, sizeof(region)) == 0 || region.State != MEM_COMMIT) {
        throw std::runtime_error("nothing is mapped at the address");
    }
    constexpr DWORD writable = PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    return (region.Protect & writable) != 0;
}

} // namespace qelm::test
