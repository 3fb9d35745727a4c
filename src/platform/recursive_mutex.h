#pragma once

#include "platform/generic_lock.h"

#include <cstdint>

namespace qelm::templates::platform {

/** An unnamed operating-system mutex, recursive: its owner may lock again and must unlock as often. */
class QELM_LOCK RecursiveMutex {
  public:
    RecursiveMutex();
    RecursiveMutex(const RecursiveMutex&) = delete;
    RecursiveMutex& operator=(const RecursiveMutex&) = delete;
    virtual ~RecursiveMutex();

    void lock() QELM_ACQUIRES() QELM_IMPLEMENTS_LOCK;
    void unlock() QELM_RELEASES() QELM_IMPLEMENTS_LOCK;
    /** How often the owner holds it; meaningful to the owner alone. */
    std::int32_t depth() const { return depth_; }

  private:
    void* handle_;
    std::int32_t depth_ = 0;
};

class QELM_LOCK_GUARD RecursiveMutexGuard final : public patterns::Guard<RecursiveMutex*> {
  public:
    explicit RecursiveMutexGuard(RecursiveMutex* mutex) QELM_ACQUIRES(mutex) QELM_IMPLEMENTS_LOCK
        : Guard(mutex, false) {
        lock_->lock();
        held_ = true;
    }
    ~RecursiveMutexGuard() QELM_RELEASES() QELM_IMPLEMENTS_LOCK override {
        if (held_) {
            lock_->unlock();
        }
    }
};

} // namespace qelm::templates::platform
