// The lock protocol and its guards. Protocol errors are told by fixed messages, which support staff search logs for.

#include "platform/critical_section.h"
#include "platform/recursive_mutex.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#ifdef __clang__
#pragma clang diagnostic ignored "-Wthread-safety-analysis" // misuse is what is tested here
#endif

namespace qelm::test {
namespace {

using templates::patterns::GenericLock;
using templates::patterns::GenericLockGuard;
using templates::platform::CriticalSection;
using templates::platform::CriticalSectionGuard;
using templates::platform::RecursiveMutex;
using templates::platform::RecursiveMutexGuard;
using testing::ElementsAre;

const char alreadyLocked[] = "GenericLock object got lock but is already marked as locked";
const char notHeld[] = "GenericLock::leave() called with lock not held";
const char destroyedHeld[] = "GenericLock object destroyed with lock still held";

std::string logicErrorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::logic_error& error) {
        return error.what();
    }
    return "";
}

template <typename Result>
Result onAnotherThread(const std::function<Result()>& action) {
    Result result{};
    std::thread([&] { result = action(); }).join();
    return result;
}

using Events = std::vector<std::string>;

class RecordingLock final : public GenericLock {
  public:
    explicit RecordingLock(Events& events) : events_(events) {}
    ~RecordingLock() noexcept(false) override { events_.emplace_back("destroy"); }
    void lock() override { events_.emplace_back("lock"); }
    bool tryLock() override { return true; }
    void unlock() override { events_.emplace_back("unlock"); }

  private:
    Events& events_;
};

TEST(GenericLock, MisuseIsToldAndLeavesTheLockAsItWas) {
    Events events;
    {
        RecordingLock lock(events);
        EXPECT_EQ(logicErrorOf([&] { lock.leave(); }), notHeld);
        EXPECT_THAT(events, ElementsAre());

        lock.enter();
        EXPECT_EQ(logicErrorOf([&] { lock.enter(); }), alreadyLocked);
        EXPECT_THAT(events, ElementsAre("lock", "lock", "unlock")) << "the second lock is undone";

        lock.leave();
        EXPECT_EQ(logicErrorOf([&] { lock.leave(); }), notHeld);
    }
    EXPECT_THAT(events, ElementsAre("lock", "lock", "unlock", "unlock", "destroy"));
}

TEST(CriticalSection, KeepsOtherThreadsOutWhileHeld) {
    CriticalSection section;
    const std::function<bool()> tryOnce = [&] {
        const bool got = section.tryLock();
        if (got) {
            section.unlock();
        }
        return got;
    };
    EXPECT_TRUE(onAnotherThread(tryOnce));
    section.enter();
    EXPECT_FALSE(onAnotherThread(tryOnce));
    EXPECT_EQ(logicErrorOf([&] { section.enter(); }), alreadyLocked);
    EXPECT_FALSE(onAnotherThread(tryOnce)) << "held once, still";
    section.leave();
    EXPECT_TRUE(onAnotherThread(tryOnce));
}

TEST(CriticalSection, ABorrowedOneOutlivesItsBorrowerEvenWhenThatIsDestroyedWhileHeld) {
    qelm::platform::RecursiveLock lender;
    auto* borrower = new CriticalSection(&lender);
    EXPECT_TRUE(borrower->borrowed());
    EXPECT_FALSE(CriticalSection().borrowed());
    borrower->enter();
    EXPECT_EQ(logicErrorOf([&] { delete borrower; }), destroyedHeld);
    const std::function<bool()> tryLender = [&] { return lender.tryLock(); };
    EXPECT_FALSE(onAnotherThread(tryLender));
    lender.unlock();
    ASSERT_TRUE(lender.tryLock());
    lender.unlock();
}

TEST(Guards, ReleaseOnEveryWayOut) {
    CriticalSection section;
    RecursiveMutex mutex;
    try {
        const CriticalSectionGuard sectionGuard(&section);
        const RecursiveMutexGuard mutexGuard(&mutex);
        EXPECT_EQ(mutex.depth(), 1);
        throw -1;
    } catch (int) {
    }
    EXPECT_EQ(logicErrorOf([&] { section.leave(); }), notHeld);
    EXPECT_EQ(mutex.depth(), 0);
}

TEST(Guards, DestroyALockThatTheyOwnAfterReleasingIt) {
    Events events;
    { const GenericLockGuard guard(new RecordingLock(events), true); }
    EXPECT_THAT(events, ElementsAre("lock", "unlock", "destroy"));

    events.clear();
    RecordingLock borrowed(events);
    { const GenericLockGuard guard(&borrowed); }
    EXPECT_THAT(events, ElementsAre("lock", "unlock"));
}

TEST(RecursiveMutex, ItsOwnerLocksAgainAndUnlocksAsOften) {
    RecursiveMutex mutex;
    const RecursiveMutexGuard outer(&mutex);
    {
        const RecursiveMutexGuard inner(&mutex);
        EXPECT_EQ(mutex.depth(), 2);
    }
    EXPECT_EQ(mutex.depth(), 1);
}

TEST(Locks, SerialiseThreads) {
    constexpr int threadCount = 4;
    constexpr int rounds = 2000;
    CriticalSection section;
    RecursiveMutex mutex;
    int underSection = 0;
    int underMutex = 0;
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                {
                    const CriticalSectionGuard guard(&section);
                    ++underSection;
                }
                const RecursiveMutexGuard outer(&mutex);
                const RecursiveMutexGuard inner(&mutex);
                ++underMutex;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(underSection, threadCount * rounds);
    EXPECT_EQ(underMutex, threadCount * rounds);
    EXPECT_EQ(mutex.depth(), 0);
}

} // namespace
} // namespace qelm::test
