#pragma once

#include <array>
#include <cstddef>

namespace qelm::platform {

/** The process-private lock of the operating system; recursive. The storage fits every supported system's lock. */
class RecursiveLock {
  public:
    RecursiveLock();
    RecursiveLock(const RecursiveLock&) = delete;
    RecursiveLock& operator=(const RecursiveLock&) = delete;
    ~RecursiveLock();

    void lock();
    bool tryLock();
    void unlock();

  private:
    alignas(std::max_align_t) std::array<std::byte, 64> storage_;
};

} // namespace qelm::platform
