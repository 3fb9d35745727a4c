// A board whose time follows the wall clock: that it passes only as it should, and that nothing of it is lost.

#include "qelm/host/live_board.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

namespace qelm::host {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::uint32_t width = 32, height = 16;
constexpr std::uint64_t millisecond = 1'000'000;
constexpr double rate = 1000; // of the pictures, per second of the board

/** Waits as long as a busy computer may need. */
bool comes(const std::function<bool()>& condition) {
    for (const auto end = Clock::now() + 30s; Clock::now() < end; std::this_thread::sleep_for(1ms)) {
        if (condition()) {
            return true;
        }
    }
    return false;
}

class LiveBoardTest : public testing::Test {
  protected:
    LiveBoardTest() {
        for (const auto& [id, value] : {std::pair{FG_WIDTH, width}, std::pair{FG_HEIGHT, height},
                                        std::pair{FG_CAMERA_WIDTH, width}, std::pair{FG_CAMERA_HEIGHT, height}}) {
            board_.change(id, value);
        }
        char problem[256] = "";
        EXPECT_EQ(control().connectCamera(board_.virtualBoard(), "width=32,height=16", "gray", problem, sizeof problem),
                  0)
            << problem;
        for (const int id : {FG_TRIGGER_PULSEFORMGEN0_WIDTH, FG_TRIGGER_PULSEFORMGEN1_WIDTH,
                             FG_TRIGGER_PULSEFORMGEN2_WIDTH, FG_TRIGGER_PULSEFORMGEN3_WIDTH}) {
            board_.change(id, 100.0); // microseconds
        }
        board_.change(FG_TRIGGER_FRAMESPERSECOND, rate);
        board_.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
    }
    const VirtualBoardFunctions& control() const { return *applet_.virtualBoard(); }

    Applet applet_;
    Board board_{applet_};
};

TEST_F(LiveBoardTest, TimeFollowsTheWallClockWhileSomebodyLooks) {
    LiveBoard live(board_);
    EXPECT_EQ(live.pace().achieved, 0);
    const std::uint64_t start = live.pace().time;
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(live.pace().time, start) << "nobody looks";
    for (const double factor : {1.0, 0.05, 20.0}) {
        live.setFactor(factor);
        const std::uint64_t before = live.pace().time;
        const auto wallBefore = Clock::now();
        {
            const auto look = live.look();
            const auto other = live.look();
            EXPECT_TRUE(comes([&] { return live.pace().time >= before + std::uint64_t(factor * 60e6); })) << factor;
        }
        live.run([](Board&) {}); // what is under way is over
        const std::uint64_t after = live.pace().time;
        const double elapsed = std::chrono::duration<double, std::nano>(Clock::now() - wallBefore).count();
        EXPECT_LE(static_cast<double>(after - before), elapsed * factor) << factor;
        std::this_thread::sleep_for(20ms);
        EXPECT_EQ(live.pace().time, after) << "nobody looks any more";
    }
}

TEST_F(LiveBoardTest, PausedTimePassesInStepsAlone) {
    LiveBoard live(board_);
    live.setPaused(true);
    const auto look = live.look();
    const std::uint64_t start = live.pace().time;
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(live.pace().time, start);
    live.step(12'345'678);
    EXPECT_EQ(live.pace().time, start + 12'345'678);
    live.step(1'000 * millisecond);
    EXPECT_EQ(live.pace().time, start + 1'012'345'678);
    EXPECT_TRUE(live.pace().paused);
    live.setPaused(false);
    EXPECT_TRUE(comes([&] { return live.pace().time > start + 1'012'345'678; }));
}

TEST_F(LiveBoardTest, PacesAndPulsesThatCannotBeAreRefused) {
    LiveBoard live(board_);
    for (const double factor : {0.0, 0.009, 100.1, -1.0, std::nan("")}) {
        EXPECT_THROW(live.setFactor(factor), std::invalid_argument) << factor;
    }
    EXPECT_THROW(live.step(10'000 * millisecond + 1), std::invalid_argument);
    EXPECT_EQ(live.pace().factor, 1.0);
    EXPECT_THROW(live.pulse(8, 1, 1, 2), std::invalid_argument);
    EXPECT_THROW(live.pulse(0, 1, 0, 2), std::invalid_argument);
    EXPECT_THROW(live.pulse(0, 1, 2, 2), std::invalid_argument);
}

TEST_F(LiveBoardTest, CommandsRunOneAfterTheOtherOnOneThread) {
    LiveBoard live(board_);
    const auto look = live.look();
    const std::thread::id owner = live.run([](Board&) { return std::this_thread::get_id(); });
    EXPECT_NE(owner, std::this_thread::get_id());
    std::uint32_t sum = 0; // unguarded: commands do not overlap
    std::vector<std::thread> threads;
    for (std::uint32_t i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (std::uint32_t round = 0; round < 100; ++round) {
                live.run([&](Board& board) {
                    sum += board.get<std::uint32_t>(FG_WIDTH);
                    EXPECT_EQ(std::this_thread::get_id(), owner);
                });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(sum, 400 * width);
    EXPECT_EQ(live.run([&](Board&) { return live.run([](Board&) { return 7; }); }), 7) << "a command within a command";
    try {
        live.run([](Board& board) { board.change(FG_WIDTH, std::uint32_t{8}); });
        FAIL() << "refused";
    } catch (const AppletError& error) {
        EXPECT_EQ(error.code(), -6000);
    }
}

TEST_F(LiveBoardTest, TimeGoesOnFromWhereACommandLeavesIt) {
    LiveBoard live(board_);
    live.setFactor(0.1);
    const auto look = live.look();
    const auto passBy = [&](Board& board) {
        EXPECT_EQ(control().advance(board.virtualBoard(), 3'000 * millisecond), 0);
    };
    live.run(passBy);
    const std::uint64_t after = live.pace().time;
    EXPECT_GE(after, 3'000 * millisecond);
    EXPECT_TRUE(comes([&] { return live.pace().time > after; })) << "it does not wait for the wall clock";
    EXPECT_LT(live.pace().time, 13'000 * millisecond);
    live.setPaused(true);
    live.pulse(1, 1, 100 * millisecond, 200 * millisecond);
    live.run(passBy);
    live.step(200 * millisecond);
    std::vector<std::uint64_t> edges;
    for (const VirtualBoardSignalChange& change : live.signals(60'000 * millisecond).changes) {
        if (change.signal == VIRTUAL_BOARD_SIGNAL_INPUT + 1) {
            edges.push_back(change.nanoseconds);
        }
    }
    ASSERT_EQ(edges.size(), 2U);
    EXPECT_EQ(edges[1] - edges[0], 100 * millisecond) << "the pulse is as wide as it was asked for";
}

TEST_F(LiveBoardTest, TheNewestPictureIsThereAndFollowsTheFormat) {
    std::atomic<int> news = 0;
    LiveBoard live(board_, [&] { ++news; });
    EXPECT_FALSE(live.newest());
    live.setPaused(true);
    live.acquire(true);
    live.acquire(true); // as it is
    EXPECT_TRUE(live.acquiring());
    live.step(100 * millisecond);
    const LiveFrame first = live.newest().value();
    EXPECT_EQ(first.frame.format(), (FrameFormat{width, height, 8, 255}));
    EXPECT_EQ(first.sequence, live.frames());
    EXPECT_NEAR(static_cast<double>(first.sequence), 100, 2) << "one a millisecond, whether taken or not";
    EXPECT_LE(first.frame.information().timestamp, live.pace().time);
    EXPECT_GT(news, 0);

    live.run([](Board& board) { board.change(FG_WIDTH, std::uint32_t{16}); });
    live.step(100 * millisecond);
    EXPECT_EQ(live.newest()->frame.format(), (FrameFormat{16, height, 8, 255}));
    EXPECT_NEAR(static_cast<double>(live.newest()->sequence - first.sequence), 100, 4);
    EXPECT_EQ(first.frame.format().width, 32) << "what somebody holds stays";

    live.acquire(false);
    EXPECT_FALSE(live.acquiring());
    const std::uint64_t frames = live.frames();
    live.step(20 * millisecond);
    EXPECT_EQ(live.frames(), frames);
    EXPECT_EQ(live.problem(), "");
}

TEST_F(LiveBoardTest, RecordingLeavesNoPictureOut) {
    LiveBoard live(board_);
    live.setFactor(LiveBoard::fastest); // hundreds of pictures between two looks
    live.acquire(true);
    std::vector<std::int64_t> numbers;
    std::atomic<bool> full = false;
    live.record([&](const LiveFrame* frame) {
        numbers.push_back(frame->frame.number());
        full = numbers.size() == 500;
        return !full;
    });
    {
        const auto look = live.look();
        EXPECT_TRUE(comes([&] { return full.load(); }));
    }
    live.setPaused(true);
    ASSERT_EQ(numbers.size(), 500U);
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        ASSERT_EQ(numbers[i], numbers[i - 1] + 1);
    }
    int ends = 0;
    const auto countEnds = [&](const LiveFrame* frame) {
        ends += frame == nullptr ? 1 : 0;
        return true;
    };
    live.record(countEnds);
    live.acquire(false);
    EXPECT_EQ(ends, 1) << "the acquisition ended";
    live.record(countEnds);
    EXPECT_EQ(ends, 2) << "nothing is acquired";
}

TEST_F(LiveBoardTest, PulsesComeWhenTheyAreDue) {
    board_.change(FG_TRIGGERIN_DEBOUNCE, 0.1); // microseconds
    LiveBoard live(board_);
    live.setPaused(true);
    live.pulse(2, 3, 1 * millisecond, 4 * millisecond);
    live.pulse(2, 1, 2 * millisecond, 10 * millisecond); // after the others
    live.pulse(5, 1, 1 * millisecond, 2 * millisecond);
    live.step(50 * millisecond);
    const LiveSignals signals = live.signals(1'000 * millisecond);
    EXPECT_EQ(signals.to, live.pace().time);
    std::vector<std::uint64_t> edges;
    std::uint64_t others = 0;
    for (const VirtualBoardSignalChange& change : signals.changes) {
        if (change.signal == VIRTUAL_BOARD_SIGNAL_INPUT + 2) {
            EXPECT_EQ(change.value, edges.size() % 2 == 0 ? 1U : 0U);
            edges.push_back(change.nanoseconds);
        }
        others += change.signal == VIRTUAL_BOARD_SIGNAL_INPUT + 5 ? 1 : 0;
    }
    ASSERT_EQ(edges.size(), 8U);
    EXPECT_EQ(others, 2U);
    const std::uint64_t expected[] = {0, 1, 4, 5, 8, 9, 12, 14}; // milliseconds after the first
    for (std::size_t i = 0; i < edges.size(); ++i) {
        EXPECT_EQ(edges[i] - edges[0], expected[i] * millisecond) << i;
    }
    // A look at less of the past begins with what held then.
    const LiveSignals last = live.signals(live.pace().time - edges[0] - 500'000);
    EXPECT_EQ(last.before[VIRTUAL_BOARD_SIGNAL_INPUT + 2], 1U);
    EXPECT_EQ(last.from, edges[0] + 500'000);
    for (const VirtualBoardSignalChange& change : last.changes) {
        EXPECT_GT(change.nanoseconds, last.from);
    }
}

TEST_F(LiveBoardTest, EventsAreToldOnceToEachReader) {
    LiveBoard live(board_);
    live.setPaused(true);
    std::uint64_t one = 0, other = 0;
    EXPECT_TRUE(live.events(one).empty());
    live.step(10 * millisecond);
    const std::vector<LiveEvent> first = live.events(one);
    ASSERT_FALSE(first.empty());
    for (std::size_t i = 1; i < first.size(); ++i) {
        EXPECT_LE(first[i - 1].nanoseconds, first[i].nanoseconds);
    }
    EXPECT_TRUE(live.events(one).empty());
    live.step(10 * millisecond);
    const std::vector<LiveEvent> second = live.events(one);
    ASSERT_FALSE(second.empty());
    EXPECT_GE(second.front().nanoseconds, first.back().nanoseconds);
    EXPECT_EQ(live.events(other).size(), first.size() + second.size());
}

TEST_F(LiveBoardTest, LongRunsNeedNoMoreMemoryThanTheLastMoments) {
    LiveBoard live(board_);
    live.setPaused(true);
    for (int i = 0; i < 3; ++i) {
        live.step(10'000 * millisecond);
    }
    std::uint64_t position = 0;
    EXPECT_LE(live.events(position).size(), 10'000U);
    EXPECT_GT(position, 20'000U) << "those that are forgotten are counted";
    std::uint64_t inTheBoard = 0;
    live.run([&](Board& board) {
        std::size_t changes = 0, events = 0;
        EXPECT_EQ(control().signalChangeCount(board.virtualBoard(), &changes), 0);
        EXPECT_EQ(control().eventCount(board.virtualBoard(), &events), 0);
        inTheBoard = std::max(changes, events);
    });
    EXPECT_LE(inTheBoard, 60'000U);
    const LiveSignals signals = live.signals(60'000 * millisecond);
    EXPECT_GE(signals.from, 9'900 * millisecond);
    // What is left is whole: the exposure goes up and down in turn, from its value before.
    std::uint32_t exposure = signals.before[VIRTUAL_BOARD_SIGNAL_EXPOSURE];
    for (const VirtualBoardSignalChange& change : signals.changes) {
        if (change.signal == VIRTUAL_BOARD_SIGNAL_EXPOSURE) {
            ASSERT_NE(change.value, exposure) << change.nanoseconds;
            exposure = change.value;
        }
    }
}

TEST_F(LiveBoardTest, AFailureEndsTheAcquisitionAndSaysWhy) {
    LiveBoard live(board_);
    live.setPaused(true);
    control().fail(board_.virtualBoard(), "Fg_AcquireEx", nullptr, 0, 1, -2070);
    EXPECT_THROW(live.acquire(true), AppletError);
    EXPECT_FALSE(live.acquiring());
    live.acquire(true);
    control().fail(board_.virtualBoard(), "Fg_getLastPicNumberEx", nullptr, 0, 1, -2001);
    live.step(10 * millisecond);
    EXPECT_FALSE(live.acquiring());
    EXPECT_NE(live.problem(), "");
    control().clearFaults();
    live.acquire(true);
    EXPECT_EQ(live.problem(), "");
    live.step(10 * millisecond);
    EXPECT_TRUE(live.newest());
}

TEST_F(LiveBoardTest, TheEndLetsNobodyWait) {
    std::optional<LiveBoard> live(std::in_place, board_);
    std::atomic<bool> started = false, ended = false;
    std::thread worker([&] {
        live->run([&](Board&) {
            started = true;
            std::this_thread::sleep_for(20ms);
        });
        ended = true;
    });
    EXPECT_TRUE(comes([&] { return started.load(); }));
    worker.join(); // nobody may use an object that ends
    live->setFactor(LiveBoard::fastest);
    live->acquire(true);
    auto look = live->look();
    std::this_thread::sleep_for(20ms);
    look.reset();
    live.reset(); // in the middle of an acquisition
    EXPECT_TRUE(ended);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_WIDTH), width) << "the board is its owner's again";
}

} // namespace
} // namespace qelm::host
