#include "platform/recursive_lock.h"
#include "platform/recursive_mutex.h"

#include <new>
#include <pthread.h>
#include <system_error>

namespace qelm {
namespace {

void initialiseRecursive(pthread_mutex_t* mutex) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    const int result = pthread_mutex_init(mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    if (result != 0) {
        throw std::bad_alloc(); // the only failures left are a lack of memory or of system resources
    }
}

pthread_mutex_t* section(std::array<std::byte, 64>& storage) {
    return std::launder(reinterpret_cast<pthread_mutex_t*>(storage.data()));
}

} // namespace

namespace platform {

RecursiveLock::RecursiveLock() {
    static_assert(sizeof(pthread_mutex_t) <= sizeof(storage_));
    initialiseRecursive(new (storage_.data()) pthread_mutex_t);
}
RecursiveLock::~RecursiveLock() {
    pthread_mutex_destroy(section(storage_));
}
void RecursiveLock::lock() {
    pthread_mutex_lock(section(storage_));
}
bool RecursiveLock::tryLock() {
    return pthread_mutex_trylock(section(storage_)) == 0;
}
void RecursiveLock::unlock() {
    pthread_mutex_unlock(section(storage_));
}

} // namespace platform

namespace templates::platform {

RecursiveMutex::RecursiveMutex() : handle_(new pthread_mutex_t) {
    initialiseRecursive(static_cast<pthread_mutex_t*>(handle_));
}
RecursiveMutex::~RecursiveMutex() {
    auto* mutex = static_cast<pthread_mutex_t*>(handle_);
    pthread_mutex_destroy(mutex);
    delete mutex;
}
void RecursiveMutex::lock() {
    pthread_mutex_lock(static_cast<pthread_mutex_t*>(handle_));
    ++depth_;
}
void RecursiveMutex::unlock() {
    --depth_; // while still the owner: the next one may count as soon as the mutex is free
    pthread_mutex_unlock(static_cast<pthread_mutex_t*>(handle_));
}

} // namespace templates::platform
} // namespace qelm
