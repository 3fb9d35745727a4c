// Acquisition and frames: numbers, losses, time-outs, sizes, and that no frame changes in somebody's hands.

#include "qelm/host/acquisition.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <thread>
#include <vector>

namespace qelm::host {
namespace {

using testing::HasSubstr;

constexpr std::uint32_t width = 32, height = 16;
constexpr double period = 0.1; // of the trigger unit's generator as it starts, at least

/** A camera whose noise makes every picture another one. */
class AcquisitionTest : public testing::Test {
  protected:
    AcquisitionTest() {
        for (const auto& [id, value] : {std::pair{FG_WIDTH, width}, std::pair{FG_HEIGHT, height},
                                        std::pair{FG_CAMERA_WIDTH, width}, std::pair{FG_CAMERA_HEIGHT, height}}) {
            board_->change(id, value);
        }
        char problem[256] = "";
        EXPECT_EQ(control().connectCamera(board_->virtualBoard(), "width=32,height=16,noise=200", "gray", problem,
                                          sizeof problem),
                  0)
            << problem;
        board_->change(FG_TRIGGER_FRAMESPERSECOND, 1 / period);
        board_->change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
    }
    const VirtualBoardFunctions& control() const { return *applet_.virtualBoard(); }
    void pass(double seconds) {
        ASSERT_EQ(control().advance(board_->virtualBoard(), static_cast<std::uint64_t>(seconds * 1e9)), 0);
    }
    std::uint64_t now() {
        std::uint64_t nanoseconds = 0;
        EXPECT_EQ(control().getTime(board_->virtualBoard(), &nanoseconds), 0);
        return nanoseconds;
    }

    Applet applet_;
    std::optional<Board> board_{applet_};
};

std::vector<std::byte> pixelsOf(const Frame& frame) {
    return {frame.bytes().begin(), frame.bytes().end()};
}

TEST_F(AcquisitionTest, FramesComeInTheirOrderAndEndWithTheAcquisition) {
    Acquisition acquisition(*board_, {.pictures = 3});
    EXPECT_EQ(acquisition.format(), (FrameFormat{width, height, 8, 255}));
    std::vector<std::vector<std::byte>> seen;
    std::uint64_t before = 0;
    for (std::int64_t number = 1; number <= 3; ++number) {
        EXPECT_FALSE(acquisition.isFinished());
        const auto frame = acquisition.next(1.0);
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->number(), number);
        EXPECT_EQ(frame->bytes().size(), std::size_t{width * height});
        const FrameInformation& information = frame->information();
        EXPECT_LE(before, information.triggerTime); // the camera has sent one before it exposes the next
        EXPECT_LT(information.triggerTime, information.timestamp);
        EXPECT_LE(information.timestamp, now());
        before = *information.timestamp;
        EXPECT_THAT(seen, testing::Not(testing::Contains(pixelsOf(*frame))));
        seen.push_back(pixelsOf(*frame));
    }
    EXPECT_TRUE(acquisition.isFinished());
    EXPECT_FALSE(acquisition.next(1.0));
    EXPECT_FALSE(acquisition.newest(1.0));
    Acquisition another(*board_); // the first one is over, if not gone
}

TEST_F(AcquisitionTest, ATimeOutPassesNoMoreThanItsTime) {
    board_->change(FG_TRIGGERSTATE, std::uint32_t{TS_SYNC_STOP});
    pass(1);
    Acquisition acquisition(*board_);
    for (const double timeout : {0.0, -1.0, 0.25, 1.0, 2.5}) {
        const std::uint64_t start = now();
        EXPECT_FALSE(acquisition.next(timeout));
        EXPECT_EQ(now() - start, static_cast<std::uint64_t>(std::max(0.0, timeout) * 1e9)) << timeout;
    }
    board_->change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
    const std::uint64_t start = now();
    EXPECT_TRUE(acquisition.next(2.5));
    EXPECT_LE(now() - start, static_cast<std::uint64_t>(2 * period * 1e9)); // it ends with the picture
}

TEST_F(AcquisitionTest, FramesThatSomebodyHoldsStayAsTheyAreBeyondTheBoard) {
    std::vector<Frame> held;
    std::vector<std::vector<std::byte>> copies;
    {
        Acquisition acquisition(*board_, {.places = 2});
        while (held.size() < 9) {
            held.push_back(acquisition.next(1.0).value());
            copies.push_back(pixelsOf(held.back()));
        }
        pass(10 * period); // the ring goes round and round
        EXPECT_GT(acquisition.last(), 15);
    }
    board_.reset();
    for (std::size_t i = 0; i < held.size(); ++i) {
        EXPECT_EQ(pixelsOf(held[i]), copies[i]) << i;
    }
}

TEST_F(AcquisitionTest, FramesGoToAnyThread) {
    Acquisition acquisition(*board_, {.places = 2});
    std::vector<std::thread> readers;
    for (int i = 0; i < 8; ++i) {
        const Frame frame = acquisition.next(1.0).value();
        readers.emplace_back([frame, copy = pixelsOf(frame)]() mutable {
            for (int round = 0; round < 1000; ++round) {
                ASSERT_EQ(pixelsOf(frame), copy);
            }
        });
    }
    pass(10 * period);
    for (std::thread& reader : readers) {
        reader.join();
    }
}

TEST_F(AcquisitionTest, WhatIsNotTakenInTimeIsMissed) {
    Acquisition acquisition(*board_, {.places = 3});
    pass(10.5 * period);
    const std::int64_t last = acquisition.last();
    ASSERT_GE(last, 9);
    const Frame oldest = acquisition.next(0).value();
    EXPECT_EQ(oldest.number(), last - 2);
    EXPECT_EQ(oldest.information().skipped, static_cast<std::uint64_t>(last - 3));
    const Frame newest = acquisition.newest(0).value();
    EXPECT_EQ(newest.number(), last);
    EXPECT_EQ(newest.information().skipped, static_cast<std::uint64_t>(last - 2));
    EXPECT_EQ(acquisition.skipped(), static_cast<std::uint64_t>(last - 2));
    EXPECT_FALSE(acquisition.newest(0));
    EXPECT_EQ(acquisition.newest(1.0).value().number(), last + 1);
    acquisition.stop();
    EXPECT_FALSE(acquisition.next(1.0));
}

TEST_F(AcquisitionTest, WhatTheBoardLosesIsCounted) {
    // A picture takes longer to the host than the next one to come, so that the board's buffer fills.
    const std::uint32_t side = 8192;
    board_->change(FG_TRIGGERSTATE, std::uint32_t{TS_SYNC_STOP});
    pass(1);
    for (const int id : {FG_CAMERA_WIDTH, FG_CAMERA_HEIGHT, FG_WIDTH, FG_HEIGHT}) {
        board_->change(id, side);
    }
    board_->change(FG_FORMAT, std::uint32_t{FG_GRAY16});
    char problem[256] = "";
    ASSERT_EQ(control().connectCamera(board_->virtualBoard(), "width=8192,height=8192,mode=free,exposure=1", "gray",
                                      problem, sizeof problem),
              0);
    ASSERT_EQ(control().setTransferRate(board_->virtualBoard(), 100'000'000), 0);
    Acquisition acquisition(*board_, {.places = 1});
    EXPECT_EQ(acquisition.format().fullScale, 65520u);
    const Frame first = acquisition.next(10).value();
    const std::uint64_t lost = first.information().lost;
    pass(10);
    EXPECT_GT(acquisition.lost(), lost);
    EXPECT_GT(acquisition.next(10).value().information().lost, lost);
}

TEST_F(AcquisitionTest, TooLittleMemoryIsAnErrorAndTheFrameRemains) {
    Acquisition acquisition(*board_);
    std::vector<std::byte> memory(width * height + 1, std::byte{77});
    try {
        acquisition.copyNext(std::span(memory).first(width * height - 1), 1.0);
        FAIL() << "a picture was cut";
    } catch (const FrameSizeError& error) {
        EXPECT_THAT(error.what(), HasSubstr("512 bytes, and the memory for it 511 bytes"));
    }
    EXPECT_EQ(memory, std::vector(memory.size(), std::byte{77}));
    EXPECT_EQ(acquisition.copyNext(memory, 1.0).value().number, 1);
    EXPECT_NE(memory.front(), std::byte{77});
    EXPECT_EQ(memory.back(), std::byte{77});

    // Settings that make larger or smaller pictures than the acquisition was made for.
    for (const std::uint32_t changed : {height / 2, height}) {
        board_->change(FG_HEIGHT, changed);
        if (changed == height) {
            board_->change(FG_FORMAT, std::uint32_t{FG_GRAY16});
        }
        try {
            for (int i = 0; i < 3; ++i) { // one may have been on its way
                acquisition.next(1.0);
            }
            FAIL() << "a picture of another size";
        } catch (const FrameSizeError& error) {
            EXPECT_THAT(error.what(), HasSubstr(changed == height ? "larger" : "smaller"));
        }
    }
}

TEST_F(AcquisitionTest, Refusals) {
    Acquisition first(*board_);
    try {
        const Acquisition second(*board_);
        FAIL() << "two at a time";
    } catch (const AppletError& error) {
        EXPECT_EQ(error.code(), -2115);
    }
    EXPECT_TRUE(first.next(1.0)); // none the worse
    EXPECT_THROW(Acquisition(*board_, {.places = 0}), std::invalid_argument);
    board_->free();
    EXPECT_THROW(first.next(1.0), AppletError);
    EXPECT_THROW(Acquisition{*board_}, AppletError);
}

/** The memory of a runtime that knows only how to give pictures out, on top of the virtual board's plain one. */
class PlainMemory : public PictureMemory {
  public:
    PlainMemory(const VirtualBoardFunctions& control, const Board& board, std::size_t bytes, std::size_t places)
        : control_(control)
        , bytes_(bytes)
        , places_(places)
        , handle_(control.allocateFrames(board.virtualBoard(), bytes, places)) {}
    ~PlainMemory() override { control_.freeFrames(handle_); }
    PlainMemory(const PlainMemory&) = delete;
    PlainMemory& operator=(const PlainMemory&) = delete;

    void* handle() const override { return handle_; }
    std::size_t places() const override { return places_; }
    std::size_t bytesPerPlace() const override { return bytes_; }
    std::optional<HeldPicture> find(std::int64_t number) const override {
        const void* bytes = nullptr;
        std::size_t size = 0;
        if (control_.picture(handle_, number, &bytes, &size) != 0) {
            return std::nullopt;
        }
        return HeldPicture{.bytes = {static_cast<const std::byte*>(bytes), size},
                           .size = size,
                           .timestamp = 1000 + static_cast<std::uint64_t>(number),
                           .lost = 7};
    }

  private:
    const VirtualBoardFunctions& control_;
    std::size_t bytes_, places_;
    void* handle_;
};

TEST_F(AcquisitionTest, MemoryOfARuntime) {
    PlainMemory memory(control(), *board_, width * height, 2);
    PlainMemory small(control(), *board_, width * height - 1, 2);
    EXPECT_THROW(Acquisition(*board_, {.memory = &small}), FrameSizeError);

    Acquisition acquisition(*board_, {.memory = &memory});
    const Frame first = acquisition.next(1.0).value();
    const std::vector<std::byte> copy = pixelsOf(first);
    EXPECT_EQ(first.information().timestamp, 1001u);
    EXPECT_EQ(first.information().lost, 7u);
    pass(3 * period); // its place is taken again
    EXPECT_EQ(pixelsOf(first), copy);
    EXPECT_EQ(acquisition.next(0).value().information().skipped, static_cast<std::uint64_t>(acquisition.last() - 3));
}

TEST_F(AcquisitionTest, PixelsOf16BitsHaveTheLowByteFirst) {
    board_->change(FG_FORMAT, std::uint32_t{FG_GRAY16});
    board_->change(FG_BITALIGNMENT, std::uint32_t{FG_RIGHT_ALIGNED});
    Acquisition acquisition(*board_);
    EXPECT_EQ(acquisition.format(), (FrameFormat{width, height, 16, 4095}));
    const Frame frame = acquisition.next(1.0).value();
    const std::span<const std::byte> bytes = frame.bytes();
    const std::size_t place = (3 * width + 5) * 2;
    EXPECT_EQ(frame.pixel(5, 3),
              std::to_integer<unsigned>(bytes[place]) + 256 * std::to_integer<unsigned>(bytes[place + 1]));
    EXPECT_LE(frame.pixel(5, 3), 4095u);
    EXPECT_THROW(frame.pixel(width, 0), std::out_of_range);
    EXPECT_THROW(frame.pixel(0, -1), std::out_of_range);
}

TEST(FramePool, ABufferReturnsWithItsLastReferenceAndIsNeverInTwoHands) {
    std::shared_ptr<std::byte[]> outlives;
    {
        FramePool pool(16, 2);
        std::shared_ptr<std::byte[]> first = pool.take();
        const std::byte* address = first.get();
        std::shared_ptr<std::byte[]> copy = first;
        first.reset();
        EXPECT_NE(pool.take().get(), address); // still held; and that one is back
        EXPECT_EQ(pool.spares(), 1u);
        copy.reset();
        EXPECT_EQ(pool.spares(), 2u);
        EXPECT_EQ(pool.take().get(), address);
        std::vector<std::shared_ptr<std::byte[]>> many;
        for (int i = 0; i < 5; ++i) {
            many.push_back(pool.take());
            EXPECT_EQ(std::ranges::count(many, many.back()), 1);
        }
        EXPECT_EQ(pool.spares(), 0u);
        outlives = many.back();
        many.clear();
        EXPECT_EQ(pool.spares(), 2u); // the others are freed
    }
    outlives[0] = std::byte{1};
}

} // namespace
} // namespace qelm::host
