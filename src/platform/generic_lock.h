#pragma once

#include "platform/thread_annotations.h"

#include <stdexcept>

namespace qelm::templates::patterns {

/**
 * A lock that knows whether it is held and turns protocol errors into std::logic_error.
 *
 * Platform locks implement the three operations; users call enter() and leave(), best through a GenericLockGuard.
 * A GenericLock is not re-entrant, also where the platform's lock is: a second enter() by the holder throws.
 */
class QELM_LOCK GenericLock {
  public:
    GenericLock() = default;
    GenericLock(const GenericLock&) = delete;
    GenericLock& operator=(const GenericLock&) = delete;
    /** Throws when the lock is still held: destroying a held lock is a programming error that must not pass unseen. */
    virtual ~GenericLock() noexcept(false); // NOLINT(bugprone-exception-escape)

    virtual void lock() = 0;
    virtual bool tryLock() = 0;
    virtual void unlock() = 0;

    /** Blocks until the lock is held. */
    void enter() QELM_ACQUIRES() QELM_IMPLEMENTS_LOCK {
        lock();
        if (locked_) {
            unlock();
            throwAlreadyLocked();
        }
        locked_ = true;
    }

    void leave() QELM_RELEASES() QELM_IMPLEMENTS_LOCK {
        if (!locked_) {
            throwNotHeld();
        }
        locked_ = false;
        unlock();
    }

  private:
    [[noreturn]] static void throwAlreadyLocked();
    [[noreturn]] static void throwNotHeld();

    bool locked_ = false; // guarded by the lock itself
};

/** What all guards share; T is a pointer to a lock. Guards live on the stack and release on every way out. */
template <typename T>
class Guard {
  public:
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    virtual ~Guard() noexcept(false) = default;

  protected:
    Guard(T lock, bool ownsLock) : lock_(lock), ownsLock_(ownsLock) {}

    T lock_;
    bool held_ = false;
    bool ownsLock_;
};

class QELM_LOCK_GUARD GenericLockGuard : public Guard<GenericLock*> {
  public:
    /** @param ownsLock the guard deletes the lock after releasing it */
    explicit GenericLockGuard(GenericLock* lock, bool ownsLock = false) QELM_ACQUIRES(lock) QELM_IMPLEMENTS_LOCK
        : Guard(lock, ownsLock) {
        lock_->enter();
        held_ = true;
    }
    // NOLINTNEXTLINE(bugprone-exception-escape)
    ~GenericLockGuard() noexcept(false) QELM_RELEASES() QELM_IMPLEMENTS_LOCK override {
        if (held_) {
            lock_->leave();
        }
        if (ownsLock_) {
            delete lock_;
        }
    }
};

} // namespace qelm::templates::patterns
