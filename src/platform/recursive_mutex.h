#pragma once

#include "platform/generic_lock.h"

#include <cstdint>

namespace qelm::templates::platform {

/** An unnamed operating-system mutex, recursive: its owner may lock again and must unlock as often. */
class RecursiveMutex {
  public:
    RecursiveMutex();
    RecursiveMutex(const RecursiveMutex&) = delete;
    RecursiveMutex& operator=(const RecursiveMutex&) = delete;
    virtual ~RecursiveMutex();

    void lock();
    void unlock();
    /** How often the owner holds it; meaningful to the owner alone. */
    std::int32_t depth() const { return depth_; }

  private:
    void* handle_;
    std::int32_t depth_ = 0;
};

class RecursiveMutexGuard final : public patterns::Guard<RecursiveMutex*> {
  public:
    explicit RecursiveMutexGuard(RecursiveMutex* mutex) : Guard(mutex, false) {
        lock_->lock();
        held_ = true;
    }
    ~RecursiveMutexGuard() override {
        if (held_) {
            lock_->unlock();
        }
    }
};

} // namespace qelm::templates::platform
