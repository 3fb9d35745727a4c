// Where pictures come from, and what became none: on a board at power-on, 1024 x 1024 pixels of 8 bits.

#include "fixture.h"
#include "virtual_board_frames.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace qelm::test {
namespace {

using testing::ElementsAre;

constexpr std::int64_t endless = -1;

class FrameInfo : public testing::Test {
  protected:
    ~FrameInfo() override { virtualBoardFreeFrames(memory_); }

    void connect(const std::string& options) {
        char problem[200] = "";
        ASSERT_EQ(virtualBoardConnectCamera(started_.board, options.c_str(), "black", problem, sizeof problem), 0)
            << problem;
    }
    void set(const std::string& name, std::uint32_t value) { ASSERT_EQ(started_.set(name.c_str(), value), 0) << name; }
    void acquire(std::int64_t pictures, std::size_t bytesPerPicture = 1024 * 1024, std::size_t places = 8) {
        virtualBoardFreeFrames(memory_);
        memory_ = virtualBoardAllocateFrames(started_.board, bytesPerPicture, places);
        ASSERT_EQ(Fg_AcquireEx(started_.handle, 0, pictures, VIRTUAL_BOARD_ACQUIRE_STANDARD, memory_), 0);
    }
    void advance(std::uint64_t microseconds) { ASSERT_EQ(virtualBoardAdvance(started_.board, microseconds * 1000), 0); }
    VirtualBoardFrameInfo info(std::int64_t picture) {
        VirtualBoardFrameInfo found{};
        EXPECT_EQ(virtualBoardFrameInfo(memory_, picture, &found), 0) << picture;
        return found;
    }
    /** Missing frames, overflows, frames without a buffer. */
    static std::vector<std::uint64_t> listed(const VirtualBoardLosses& losses) {
        return {losses.missingFrames, losses.overflows, losses.noBuffer};
    }
    std::vector<std::uint64_t> losses() {
        VirtualBoardLosses now{};
        EXPECT_EQ(virtualBoardGetLosses(started_.board, &now), 0);
        return listed(now);
    }

    StartedBoard started_;
    void* memory_ = nullptr;
};

// 32 double lines of 32 clocks of 12.5 ns are 12.8 us, with an exposure of 87.2 us a frame every 100 us.
const std::string freeCamera = "mode=free,width=64,height=64,exposure=87.2";

TEST_F(FrameInfo, TellsNumberAndTimes) {
    advance(1000);
    connect(freeCamera);
    advance(250); // two frames without a buffer
    EXPECT_THAT(losses(), ElementsAre(0, 0, 2));
    acquire(5, 1000);
    advance(10'000); // the buffer takes them all; the bus takes 1.2 ms for each
    EXPECT_EQ(Fg_getLastPicNumberEx(started_.handle, 0, memory_), 5);
    for (std::uint64_t picture = 1; picture <= 5; ++picture) {
        const VirtualBoardFrameInfo found = info(static_cast<std::int64_t>(picture));
        EXPECT_EQ(found.frame, picture);
        EXPECT_EQ(found.nanoseconds, 1'200'000 + picture * 100'000);
        EXPECT_EQ(found.triggerNanoseconds, found.nanoseconds - 100'000);
        EXPECT_EQ(found.bytes, 1024U * 1024) << "cut to 1000";
        EXPECT_THAT(listed(found.losses), ElementsAre(0, 0, 2));
    }
    EXPECT_GT(losses()[2], 2U) << "nobody has acquired since the fifth";

    VirtualBoardFrameInfo unused{};
    for (const std::int64_t picture : {0, 6}) {
        EXPECT_EQ(virtualBoardFrameInfo(memory_, picture, &unused), -2070) << picture;
    }
    EXPECT_EQ(virtualBoardFrameInfo(memory_, 1, nullptr), -2070);
    EXPECT_EQ(virtualBoardFrameInfo(nullptr, 1, &unused), -2070);
    EXPECT_EQ(virtualBoardGetLosses(started_.board, nullptr), -2070);
}

TEST_F(FrameInfo, CountsFramesThatTheSelectorLeavesOut) {
    set("Device1_Process0_ImageSelector_FG_IMG_SELECT_PERIOD_Divisor", 3);
    set("Device1_Process0_ImageSelector_FG_IMG_SELECT_PHASE_Number", 1);
    connect(freeCamera);
    acquire(endless, 1024 * 1024, 2);
    advance(5'000);
    const std::int64_t last = Fg_getLastPicNumberEx(started_.handle, 0, memory_);
    ASSERT_GE(last, 3);
    EXPECT_EQ(info(last).frame, static_cast<std::uint64_t>(last) * 3 - 1);
    EXPECT_EQ(info(last - 1).frame, static_cast<std::uint64_t>(last) * 3 - 4);
    VirtualBoardFrameInfo gone{};
    EXPECT_EQ(virtualBoardFrameInfo(memory_, last - 2, &gone), -2070) << "its place was taken again";
    EXPECT_THAT(losses(), ElementsAre(0, 0, 0));
}

TEST_F(FrameInfo, TellsOfMissingFrames) {
    const std::string unit = "Device1_Process1_Trigger_TriggerCam0_";
    set(unit + "PulseFormGenerators_PulseFormGenerator0_Width_Width", 5);
    set(unit + "CameraControl_Select0_Select_Select", 0);
    set(unit + "Generators_Generator_MinimumPeriod_Number", 6250 - 9); // 100 us
    advance(1000);
    connect("polarity=high,width=64,height=64,exposure=237.2"); // 250 us of which 237.2 pass before the frame
    acquire(2);
    set(unit + "PulseFormGenerators_Enable_Select", 1); // pulses at 0, 100, 200, ... from here
    advance(4'000);                                     // 1.2 ms for each on the bus
    // The first frame begins at 237.2 and ends at 250; what came at 100 and 200 found it awaited. So does the next.
    EXPECT_THAT(listed(info(1).losses), ElementsAre(2, 0, 0));
    EXPECT_EQ(info(1).triggerNanoseconds, 1'000'000U);
    EXPECT_EQ(info(1).nanoseconds, 1'250'000U);
    EXPECT_THAT(listed(info(2).losses), ElementsAre(4, 0, 0));
    EXPECT_EQ(info(2).triggerNanoseconds, 1'300'000U);
}

TEST_F(FrameInfo, TellsOfOverflows) {
    set("Device1_Process0_Buffer_0_ROI_X_Length", 8192);
    set("Device1_Process0_Buffer_0_ROI_Y_Length", 8192);
    ASSERT_EQ(virtualBoardSetTransferRate(started_.board, 64ULL * 1024 * 1024 * 1000), 0); // a picture in 1 ms
    connect("mode=free,width=64,height=64,exposure=87.2");
    acquire(endless, 8);
    advance(2'050); // 20 frames of 64 MiB: eight find room, and one more when the first has left at 1.1 ms
    EXPECT_EQ(losses()[1], 11U);
    advance(1'200);
    EXPECT_THAT(listed(info(2).losses), ElementsAre(0, 0, 0));
    EXPECT_EQ(Fg_getStatusEx(started_.handle, VIRTUAL_BOARD_STATUS_PICTURES_LOST, 0, 0, memory_),
              static_cast<std::int64_t>(losses()[1]));
}

} // namespace
} // namespace qelm::test
