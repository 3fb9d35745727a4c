// What a board reports about itself, and what the applet hands on to the runtime.

#include "fixture.h"

namespace qelm::test {
namespace {

const char overflow[] = "Device1_Process0_Overflow_OverflowOccurred";
const std::string frameBuffer = "Device1_Process0_Buffer_0_FrameBuffer_Buffer_";

class Status : public BoardTest {};

TEST_F(Status, TimeoutAndDmaModeAreKeptAndHandedOn) {
    const struct {
        std::int32_t id;
        std::uint32_t value;
        const char* write;
    } accepted[] = {
        {FG_TIMEOUT, 2, "FG_TIMEOUT=2"},
        {FG_TIMEOUT, 2147483646, "FG_TIMEOUT=2147483646"},
        {FG_TURBO_DMA_MODE, 1, "FG_TURBO_DMA_MODE=1"},
        {FG_TURBO_DMA_MODE, 0, "FG_TURBO_DMA_MODE=0"},
    };
    for (const auto& row : accepted) {
        EXPECT_THAT(writesOfSet(row.id, row.value), ElementsAre(row.write));
        EXPECT_EQ(board_.get<std::uint32_t>(row.id), row.value);
    }
    for (const std::uint32_t timeout : {0U, 1U, 2147483647U, 0xFFFFFFFFU}) {
        expectRefused(FG_TIMEOUT, timeout, -6000);
    }
    expectRefused(FG_TURBO_DMA_MODE, 2U, -6000);
    expectRefused(FG_TURBO_DMA_MODE, 0xFFFFFFFFU, -6000);
    expectRollBackAtEachWrite(FG_TIMEOUT, 5U);
    expectRollBackAtEachWrite(FG_TURBO_DMA_MODE, 1U);
}

TEST_F(Status, TheRuntimeAnswersForItsParameters) {
    for (const std::int32_t id : {601, 3050, 3060, 3070, 3080, 3090, 5210, 24092}) {
        ASSERT_EQ(control().setRuntimeValue(board_.virtualBoard(), id, 0x1000U + static_cast<std::uint32_t>(id)), 0);
        EXPECT_EQ(board_.get<std::uint32_t>(id), 0x1000U + static_cast<std::uint32_t>(id));
        control().fail(board_.virtualBoard(), "Fg_getParameter", nullptr, 0, 1, injected);
        std::uint32_t value = 7;
        EXPECT_EQ(board_.get(id, value), injected);
        EXPECT_EQ(lastError(board_), injected);
    }
}

TEST_F(Status, ConstantsDescribeTheApplet) {
    EXPECT_EQ(board_.get<std::uint32_t>(FG_APPLET_ID), 0U);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_APPLET_VERSION), 2U);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_APPLET_REVISION), 4U);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_PIXELDEPTH), 12U);
    EXPECT_EQ(board_.get<std::string>(FG_HAP_FILE), "Zantor_Obvelline_Qx4_RK.hap");
}

TEST_F(Status, FillLevelOverflowAndCameraStatusAreReadFromTheBoard) {
    const struct {
        std::uint32_t overflow, buffer0, buffer1, camera; // on the board
        std::uint32_t fillLevel, extended;
    } cases[] = {
        {0, 0, 0, 0x00, 0, 0x00},    {0, 24, 7, 0x1F, 24, 0x1F},   {0, 24, 25, 0x00, 25, 0x40},
        {0, 49, 0, 0x01, 49, 0x41},  {0, 50, 49, 0x00, 50, 0x80},  {0, 3, 74, 0x00, 74, 0x80},
        {0, 75, 0, 0x00, 75, 0xC0},  {0, 0, 100, 0x00, 100, 0xC0}, {1, 0, 0, 0x00, 100, 0xE0},
        {1, 99, 1, 0x1E, 100, 0xFE}, {0, 0, 0, 0xE0, 0, 0x00}, // the runtime's own bits 5 to 7 do not count
        {0, 30, 0, 0xFF, 30, 0x5F},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.overflow << ' ' << row.buffer0 << ' ' << row.buffer1);
        poke(overflow, row.overflow);
        poke(frameBuffer + "0_FillLevel", row.buffer0);
        poke(frameBuffer + "1_FillLevel", row.buffer1);
        control().setRuntimeValue(board_.virtualBoard(), FG_CAMSTATUS_EXTENDED, row.camera);
        EXPECT_EQ(board_.get<std::uint32_t>(FG_OVERFLOW), row.overflow);
        EXPECT_EQ(board_.get<std::uint32_t>(FG_FILLLEVEL), row.fillLevel);
        EXPECT_EQ(board_.get<std::uint32_t>(FG_CAMSTATUS_EXTENDED), row.extended);
        EXPECT_EQ(board_.get<std::uint32_t>(FG_CAMSTATUS), row.camera & 1U);
    }
}

TEST_F(Status, AReadThatFailsTellsItsCode) {
    const std::string buffer1 = frameBuffer + "1_FillLevel";
    const struct {
        std::int32_t id;
        const char* target;
    } cases[] = {
        {FG_OVERFLOW, overflow},           {FG_FILLLEVEL, overflow},
        {FG_FILLLEVEL, buffer1.c_str()},   {FG_CAMSTATUS_EXTENDED, "FG_CAMSTATUS_EXTENDED"},
        {FG_CAMSTATUS_EXTENDED, overflow}, {FG_CAMSTATUS, "FG_CAMSTATUS_EXTENDED"},
    };
    for (const auto& row : cases) {
        control().fail(board_.virtualBoard(), nullptr, row.target, 0, 1, injected);
        std::uint32_t value = 0;
        EXPECT_EQ(board_.get(row.id, value), injected) << row.id << " without " << row.target;
        EXPECT_EQ(board_.get(row.id, value), 0);
    }
}

} // namespace
} // namespace qelm::test
