// Boards beside and after one another, and threads.

#include "fixture.h"

#include <atomic>
#include <thread>

namespace qelm::test {
namespace {

TEST(Boards, SideBySideDoNotDisturbEachOther) {
    const Applet applet;
    Board first(applet);
    Board second(applet);
    EXPECT_THAT(writesOf(second,
                         [&] {
                             EXPECT_EQ(first.set(FG_WIDTH, 512U), 0);
                             EXPECT_EQ(first.set(FG_GEN_TAP1, int32_t{FG_OFF}), 0);
                             EXPECT_EQ(first.set(FG_GEN_HEIGHT, 7U), 0);
                         }),
                IsEmpty());
    EXPECT_EQ(second.get<uint32_t>(FG_WIDTH), 1024U);
    EXPECT_EQ(maximumOf(first, "FG_XOFFSET"), 512);
    EXPECT_EQ(maximumOf(second, "FG_XOFFSET"), 0);
    EXPECT_THAT(writesOf(second, [&] { second.set(FG_GEN_TAP2, int32_t{FG_OFF}); }), ElementsAre("AAGenMask=13"));
    EXPECT_EQ(first.set(FG_WIDTH, 1U), -6000);
    EXPECT_EQ(lastError(second), 0);
    EXPECT_EQ(first.free(), 0);
    EXPECT_EQ(second.get<uint32_t>(FG_GEN_HEIGHT), 512U);
    EXPECT_EQ(second.set(FG_WIDTH, 256U), 0);
}

TEST(Boards, OpenedAndFreedAThousandTimesLeaveNothingBehind) {
    const Applet applet;
    for (int round = 0; round < 1000; ++round) {
        Board board(applet);
        ASSERT_EQ(board.set(FG_WIDTH, 512U), 0);
        ASSERT_EQ(board.free(), 0);
    }
    const VirtualBoardResources open = applet.virtualBoard()->resources();
    EXPECT_EQ(open.boards, 0);
    EXPECT_EQ(open.runtimeHandles, 0);
    EXPECT_EQ(open.designImages, 0);
    EXPECT_EQ(open.imageBuffers, 0);
}

TEST(Boards, ServeThreadsOneAtATimeAndEachOtherAtOnce) {
    const Applet applet;
    Board shared(applet);
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    for (uint32_t number = 1; number <= 4; ++number) {
        threads.emplace_back([&, number] {
            Board own(applet);
            for (uint32_t round = 0; round < 100; ++round) {
                const uint32_t width = 16 * (1 + (round + number) % 60);
                failures += own.set(FG_WIDTH, width) != 0;
                failures += own.get<uint32_t>(FG_WIDTH) != width;
                failures += shared.set(FG_WIDTH, width) != 0;
                failures += shared.get<uint32_t>(FG_WIDTH) % 16 != 0;
                // One tap each: a mask that two threads worked on at once would lose a bit.
                const int32_t tap = FG_GEN_TAP1 + static_cast<int32_t>(number) - 1;
                failures += shared.set(tap, round % 2 == 0 ? int32_t{FG_OFF} : int32_t{FG_ON}) != 0;
                // Lookups take no lock.
                failures += shared.findId("FG_WIDTH") != FG_WIDTH;
                lastError(shared);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
    uint64_t mask = 0;
    applet.virtualBoard()->getRegister(shared.virtualBoard(), "AAGenMask", &mask);
    EXPECT_EQ(mask, 15U);
    uint32_t length = 0;
    applet.virtualBoard()->getDesignValue(shared.virtualBoard(), "Device1_Process0_Buffer_0_ROI_X_Length", 0, &length);
    EXPECT_EQ(length, shared.get<uint32_t>(FG_WIDTH));
}

} // namespace
} // namespace qelm::test
