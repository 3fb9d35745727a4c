// Boards beside and after one another, and threads.

#include "fixture.h"
#include "support/temporary_folder.h"

#include <array>
#include <atomic>
#include <functional>
#include <random>
#include <thread>

#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace qelm::test {
namespace {

TEST(Boards, SideBySideDoNotDisturbEachOther) {
    const Applet applet;
    Board first(applet);
    Board second(applet);
    EXPECT_THAT(writesOf(second,
                         [&] {
                             EXPECT_EQ(first.set(FG_WIDTH, 512U), 0);
                             EXPECT_EQ(first.set(FG_GEN_TAP1, std::int32_t{FG_OFF}), 0);
                             EXPECT_EQ(first.set(FG_GEN_HEIGHT, 7U), 0);
                         }),
                IsEmpty());
    EXPECT_EQ(second.get<std::uint32_t>(FG_WIDTH), 1024U);
    EXPECT_EQ(maximumOf(first, "FG_XOFFSET"), 512);
    EXPECT_EQ(maximumOf(second, "FG_XOFFSET"), 0);
    EXPECT_THAT(writesOf(second, [&] { second.set(FG_GEN_TAP2, std::int32_t{FG_OFF}); }), ElementsAre("AAGenMask=13"));
    EXPECT_EQ(first.set(FG_WIDTH, 1U), -6000);
    EXPECT_EQ(lastError(second), 0);
    EXPECT_EQ(first.free(), 0);
    EXPECT_EQ(second.get<std::uint32_t>(FG_GEN_HEIGHT), 512U);
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
    for (std::uint32_t number = 1; number <= 4; ++number) {
        threads.emplace_back([&, number] {
            Board own(applet);
            for (std::uint32_t round = 0; round < 100; ++round) {
                const std::uint32_t width = 16 * (1 + (round + number) % 60);
                failures += own.set(FG_WIDTH, width) != 0;
                failures += own.get<std::uint32_t>(FG_WIDTH) != width;
                failures += shared.set(FG_WIDTH, width) != 0;
                failures += shared.get<std::uint32_t>(FG_WIDTH) % 16 != 0;
                // One tap each: a mask that two threads worked on at once would lose a bit.
                const std::int32_t tap = FG_GEN_TAP1 + static_cast<std::int32_t>(number) - 1;
                failures += shared.set(tap, round % 2 == 0 ? std::int32_t{FG_OFF} : std::int32_t{FG_ON}) != 0;
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
    std::uint64_t mask = 0;
    applet.virtualBoard()->getRegister(shared.virtualBoard(), "AAGenMask", &mask);
    EXPECT_EQ(mask, 15U);
    std::uint32_t length = 0;
    applet.virtualBoard()->getDesignValue(shared.virtualBoard(), "Device1_Process0_Buffer_0_ROI_X_Length", 0, &length);
    EXPECT_EQ(length, shared.get<std::uint32_t>(FG_WIDTH));
}

#ifndef _WIN32
TEST(BoardsDeathTest, FreedWhileASetIsRunningTellTheCaller) {
    const TemporaryFolder folder;
    const std::string pipe = folder.file("pipe.lut");
    ASSERT_EQ(mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
    // In a process of its own: the set that still runs comes back to a board that is gone.
    const auto freeWhileSetting = [&] {
        const Applet applet;
        Board board(applet);
        board.change(FG_LUT_CUSTOM_FILE, pipe);
        std::thread([&] { board.set(FG_LUT_TYPE, std::uint32_t{LUT_TYPE_CUSTOM}); }).detach();
        while (open(pipe.c_str(), O_WRONLY | O_NONBLOCK) < 0) { // until the set waits for what the pipe brings
            std::this_thread::yield();
        }
        BoardStructure* structure = board;
        try {
            applet->Fg_FreeGrabber(structure);
        } catch (const std::logic_error& error) {
            std::fprintf(stderr, "%s\n", error.what());
            _exit(structure->applet == nullptr ? 0 : 1);
        }
        _exit(2);
    };
    EXPECT_EXIT(freeWhileSetting(), testing::ExitedWithCode(0), "GenericLock object destroyed with lock still held");
}
#endif

/** Numbers from 0 to the one before the argument. */
class Random {
  public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}
    std::uint32_t operator()(size_t limit) { return static_cast<std::uint32_t>(engine_() % limit); }

  private:
    std::mt19937 engine_;
};

// Of use under the thread sanitizer.
TEST(Boards, TakeAnyMixOfCallsAtOnce) {
    const TemporaryFolder folder;
    const Applet applet;
    const Board shared(applet);
    const std::string start = folder.file("start.kcf");
    ASSERT_EQ(applet->Fg_saveConfig(shared, start.c_str()), 0);
    std::atomic<int> failures = 0;

    const auto setAndGet = [&](Random& random, int /*thread*/) {
        const std::vector<host::Parameter>& all = host::fixedParameters();
        const host::Parameter& parameter = all[random(all.size())];
        std::vector<char> place(65536);
        std::array<std::uint32_t, 2> value = {random(64) * (random(2) == 0 ? 1U : 16U), random(4096)};
        if (parameter.kind == host::ParameterKind::fileName || parameter.kind == host::ParameterKind::text) {
            value = {}; // no file
        }
        const std::int32_t code = applet->Fg_setParameterWithType(shared, parameter.id, value.data(), 0, 2);
        failures += code > 0;
        failures += applet->Fg_getParameterWithType(shared, parameter.id, place.data(), 0, 2) > 0;
        lastError(shared);
    };
    const auto configure = [&](Random& random, int thread) {
        const std::string own = folder.file("own" + std::to_string(thread) + ".kcf");
        failures += applet->Fg_saveConfig(shared, own.c_str()) != 0;
        failures += applet->Fg_loadConfig(shared, (random(2) == 0 ? own : start).c_str()) != 0;
    };
    const auto ask = [&](Random& random, int /*thread*/) {
        const auto index = static_cast<std::int32_t>(random(host::fixedParameters().size()));
        const char* name = applet->Fg_getParameterName(shared, index);
        failures += shared.findId(name) != applet->Fg_getParameterId(shared, index);
        failures += applet->Fg_getEventName(shared, applet->Fg_getEventMask(shared, "Start")) != nullptr;
        applet->Fg_getParameterInfo(shared, shared.findId(name));
        failures += applet.infoText(0x1050).empty();
        failures += applet->Info(0x1100, 0, 0, const_cast<char*>("FG_GRAY16"), nullptr) != FG_GRAY16;
        size_t size = 0;
        failures += random(16) == 0 && applet->Fg_getParameterInfoXML(shared, 0, nullptr, &size) != 0;
    };
    const auto open = [&](Random& random, int /*thread*/) {
        Board own(applet);
        failures += own.set(FG_WIDTH, 16 * (1 + random(64))) != 0;
        failures += own.free() != 0;
    };
    const struct {
        std::function<void(Random&, int)> call;
        int rounds;
    } work[] = {{setAndGet, 500}, {setAndGet, 500}, {configure, 30}, {configure, 30}, {ask, 500}, {open, 30}};
    std::vector<std::thread> threads;
    for (size_t number = 0; number < std::size(work); ++number) {
        threads.emplace_back([&, number] {
            Random random(static_cast<std::uint32_t>(number));
            for (int round = 0; round < work[number].rounds; ++round) {
                work[number].call(random, static_cast<int>(number));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
    ASSERT_EQ(applet->Fg_loadConfig(shared, start.c_str()), 0);
    EXPECT_EQ(shared.get<std::uint32_t>(FG_WIDTH), 1024U);
    EXPECT_EQ(applet.virtualBoard()->resources().boards, 1);
}

} // namespace
} // namespace qelm::test
