#include "platform/recursive_lock.h"
#include "platform/recursive_mutex.h"

#include <new>
#include <windows.h>

namespace qelm {
namespace {

CRITICAL_SECTION* section(std::array<std::byte, 64>& storage) {
    return std::launder(reinterpret_cast<CRITICAL_SECTION*>(storage.data()));
}

} // namespace

namespace platform {

RecursiveLock::RecursiveLock() {
    static_assert(sizeof(CRITICAL_SECTION) <= sizeof(storage_));
    InitializeCriticalSection(new (storage_.data()) CRITICAL_SECTION);
}
RecursiveLock::~RecursiveLock() {
    DeleteCriticalSection(section(storage_));
}
void RecursiveLock::lock() {
    EnterCriticalSection(section(storage_));
}
bool RecursiveLock::tryLock() {
    return TryEnterCriticalSection(section(storage_)) != FALSE;
}
void RecursiveLock::unlock() {
    LeaveCriticalSection(section(storage_));
}

} // namespace platform

namespace templates::platform {

RecursiveMutex::RecursiveMutex() : handle_(CreateMutexA(nullptr, FALSE, nullptr)) {
    if (handle_ == nullptr) {
        throw std::bad_alloc();
    }
}
RecursiveMutex::~RecursiveMutex() {
    CloseHandle(handle_);
}
void RecursiveMutex::lock() {
    WaitForSingleObject(handle_, INFINITE);
    ++depth_;
}
void RecursiveMutex::unlock() {
    --depth_; // while still the owner: the next one may count as soon as the mutex is free
    ReleaseMutex(handle_);
}

} // namespace templates::platform
} // namespace qelm
