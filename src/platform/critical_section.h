#pragma once

#include "platform/generic_lock.h"
#include "platform/recursive_lock.h"

namespace qelm::templates::platform {

/** The operating system's critical section (a recursive pthread mutex elsewhere) behind the lock protocol. */
class QELM_LOCK CriticalSection final : public patterns::GenericLock {
  public:
    CriticalSection() : used_(&own_) {}
    /** Uses a section that somebody else owns and keeps alive. */
    explicit CriticalSection(qelm::platform::RecursiveLock* borrowed) : borrowed_(true), used_(borrowed) {}

    void lock() override { used_->lock(); }
    bool tryLock() override { return used_->tryLock(); }
    void unlock() override { used_->unlock(); }
    bool borrowed() const { return borrowed_; }

  private:
    bool borrowed_ = false;
    qelm::platform::RecursiveLock own_;
    qelm::platform::RecursiveLock* used_;
};

class QELM_LOCK_GUARD CriticalSectionGuard final : public patterns::GenericLockGuard {
  public:
    explicit CriticalSectionGuard(CriticalSection* lock) QELM_ACQUIRES(lock) QELM_IMPLEMENTS_LOCK
        : GenericLockGuard(lock, false) {}
    ~CriticalSectionGuard() noexcept(false) QELM_RELEASES() override = default;
};

} // namespace qelm::templates::platform
