// The camera simulator: raw registers, the shared tap mask, and the clock divider that two parameters bound.

#include "fixture.h"

#include <limits>

namespace qelm::test {
namespace {

class CameraSimulator : public BoardTest {};

TEST_F(CameraSimulator, RegistersGetWhatTheParametersSay) {
    const struct {
        std::int32_t id;
        std::uint32_t value;
        std::vector<std::string> writes;
    } cases[] = {
        {FG_GEN_ENABLE, 1, {"AAGenEnable=1"}},
        {FG_GEN_ENABLE, 0, {"AAGenEnable=0"}},
        {FG_GEN_START, 0, {"AAGenStart=0"}},
        {FG_GEN_START, 1, {"AAGenStart=1"}},
        {FG_GEN_LINE_GAP, 64, {"AAGenWidth=512", "AAGenLineWidth=528"}},
        {FG_GEN_WIDTH, 1024, {"AAGenWidth=256", "AAGenLineWidth=272"}},
        {FG_GEN_WIDTH, 0, {"AAGenWidth=0", "AAGenLineWidth=16"}},
        {FG_GEN_LINE_GAP, 7, {"AAGenWidth=0", "AAGenLineWidth=1"}}, // divisions truncate
        {FG_GEN_WIDTH, 65535, {"AAGenWidth=16383", "AAGenLineWidth=16385"}},
        {FG_GEN_LINE_GAP, 65535, {"AAGenWidth=16383", "AAGenLineWidth=32767"}},
        {FG_GEN_HEIGHT, 1, {"AAGenHeight=0"}},
        {FG_GEN_HEIGHT, 65535, {"AAGenHeight=65534"}},
        {FG_GEN_HEIGHT, 0, {"AAGenHeight=4294967295"}}, // wraps, and stays so
        {FG_GEN_ROLL, 255, {"AAGenRoll=255"}},
        {FG_GEN_ROLL, 0, {"AAGenRoll=0"}},
    };
    for (const auto& row : cases) {
        EXPECT_THAT(writesOfSet(row.id, row.value), ElementsAreArray(row.writes));
        EXPECT_EQ(board_.get<std::uint32_t>(row.id), row.value);
    }
    EXPECT_EQ(peekRegister("AAGenHeight"), 0xFFFFFFFFU);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_GEN_LINE_WIDTH), 131070U);

    for (const std::int32_t id : {FG_GEN_WIDTH, FG_GEN_HEIGHT, FG_GEN_LINE_GAP}) {
        expectRefused(id, 65536U, -6000);
        expectRefused(id, 0xFFFFFFFFU, -6000);
    }
    expectRefused(FG_GEN_ROLL, 256U, -6000);
    for (const std::int32_t id : {FG_GEN_ENABLE, FG_GEN_START}) {
        expectRefused(id, 2U, -6000);
        expectRefused(id, 0xFFFFFFFFU, -6000);
    }
}

TEST_F(CameraSimulator, TheTapsShareOneMask) {
    const struct {
        std::int32_t id;
        std::int32_t value;
        const char* write;
    } steps[] = {
        {FG_GEN_TAP1, 0, "AAGenMask=14"}, {FG_GEN_TAP3, 0, "AAGenMask=10"}, {FG_GEN_TAP3, 0, "AAGenMask=10"},
        {FG_GEN_TAP2, 0, "AAGenMask=8"},  {FG_GEN_TAP4, 0, "AAGenMask=0"},  {FG_GEN_TAP2, 1, "AAGenMask=2"},
        {FG_GEN_TAP4, 1, "AAGenMask=10"}, {FG_GEN_TAP1, 1, "AAGenMask=11"}, {FG_GEN_TAP3, 1, "AAGenMask=15"},
    };
    for (const auto& step : steps) {
        EXPECT_THAT(writesOfSet(step.id, step.value), ElementsAre(step.write));
        EXPECT_EQ(board_.get<std::int32_t>(step.id), step.value);
    }
    for (const std::int32_t id : {FG_GEN_TAP1, FG_GEN_TAP2, FG_GEN_TAP3, FG_GEN_TAP4}) {
        expectRefused(id, 2, -6000);
        expectRefused(id, -1, -6000);
    }
    // A tap whose write fails leaves the mask that the others build upon.
    control().fail(board_.virtualBoard(), "writeRegister", "AAGenMask", 0, 1, injected);
    EXPECT_EQ(board_.set(FG_GEN_TAP2, 0), injected);
    EXPECT_EQ(board_.get<std::int32_t>(FG_GEN_TAP2), 1);
    EXPECT_THAT(writesOfSet(FG_GEN_TAP4, 0), ElementsAre("AAGenMask=7"));
}

TEST_F(CameraSimulator, FrequencyAndAccuracyBoundEachOther) {
    // Of `accuracy` cycles of 125 MHz, n = trunc(accuracy * frequency / 125 + 0.5) are active.
    const struct {
        bool isFrequency;
        double value;
        std::int32_t code;
        std::uint32_t active, passive;
    } steps[] = {
        {true, 40.0, 0, 8, 17},        // 25 * 40 / 125 = 8
        {true, 2.0, -6000, 8, 17},     // at least ceil(62.5 / 25) = 3
        {true, 2.999, -6000, 8, 17},   //
        {true, 3.0, 0, 1, 24},         // 0.6 rounds up
        {true, 125.001, -6000, 1, 24}, //
        {false, 20, -6000, 1, 24},     // at least ceil(62.5 / 3) = 21
        {false, 21, 0, 1, 20},         //
        {true, 125.0, 0, 21, 0},       // nothing passive
        {false, 1, 0, 1, 0},           // ceil(0.5)
        {true, 62.5, -6000, 1, 0},     // at least ceil(62.5 / 1) = 63
        {true, 63.0, 0, 1, 0},         //
        {false, 0, -6000, 1, 0},       //
        {false, 2, 0, 1, 1},           // 1.008
        {true, 62.5, 0, 1, 1},         // exactly half
        {false, 65536, -6000, 1, 1},   //
        {false, 4294967295.0, -6000, 1, 1},
        {false, 65535, 0, 32768, 32767},  // 32767.5 rounds up
        {true, 1.0, 0, 524, 65011},       // ceil(62.5 / 65535) = 1
        {true, 0.999, -6000, 524, 65011}, //
        {false, 62, -6000, 524, 65011},   // at least ceil(62.5 / 1) = 63
        {true, 125.0, 0, 65535, 0},
        {true, std::numeric_limits<double>::quiet_NaN(), -6000, 65535, 0},
        {true, std::numeric_limits<double>::infinity(), -6000, 65535, 0},
        {true, -std::numeric_limits<double>::infinity(), -6000, 65535, 0},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(testing::Message() << (step.isFrequency ? "frequency " : "accuracy ") << step.value);
        std::vector<std::string> expected;
        if (step.code == 0) {
            expected = {"AAGenActive=" + std::to_string(step.active - 1),
                        "AAGenPassive=" + std::to_string(step.passive - 1)}; // a count of 0 wraps to all ones
        }
        EXPECT_THAT(writesOf(board_,
                             [&] {
                                 EXPECT_EQ(step.isFrequency
                                               ? board_.set(FG_GEN_FREQ, step.value)
                                               : board_.set(FG_GEN_ACCURACY, static_cast<std::uint32_t>(step.value)),
                                           step.code);
                             }),
                    ElementsAreArray(expected));
        EXPECT_EQ(board_.get<std::uint32_t>(FG_GEN_ACTIVE), step.active);
        EXPECT_EQ(board_.get<std::uint32_t>(FG_GEN_PASSIVE), step.passive);
    }
}

TEST_F(CameraSimulator, TheAccuracyMovesTheFrequencysRange) {
    EXPECT_EQ(described(board_, "FG_GEN_FREQ").minimum, 3.0);
    const struct {
        std::uint32_t accuracy;
        double minimum;
    } cases[] = {{100, 1.0}, {10, 7.0}, {2, 32.0}};
    for (const auto& row : cases) {
        ASSERT_EQ(board_.set(FG_GEN_ACCURACY, row.accuracy), 0);
        EXPECT_EQ(described(board_, "FG_GEN_FREQ").minimum, row.minimum);
        EXPECT_EQ(maximumOf(board_, "FG_GEN_FREQ"), 125.0);
    }
    control().fail(board_.virtualBoard(), "writeRegister", "AAGenPassive", 0, 1, injected);
    EXPECT_EQ(board_.set(FG_GEN_ACCURACY, 100U), injected);
    EXPECT_EQ(described(board_, "FG_GEN_FREQ").minimum, 32.0);
}

TEST_F(CameraSimulator, AFailingRegisterRollsTheValueBack) {
    expectRollBackAtEachWrite(FG_GEN_ENABLE, 1U);
    expectRollBackAtEachWrite(FG_GEN_START, 0U);
    expectRollBackAtEachWrite(FG_GEN_WIDTH, 640U);
    expectRollBackAtEachWrite(FG_GEN_LINE_GAP, 100U);
    expectRollBackAtEachWrite(FG_GEN_HEIGHT, 480U);
    expectRollBackAtEachWrite(FG_GEN_FREQ, 62.5);
    expectRollBackAtEachWrite(FG_GEN_ACCURACY, 50U);
    expectRollBackAtEachWrite(FG_GEN_ROLL, 9U);
    expectRollBackAtEachWrite(FG_GEN_TAP3, std::int32_t{FG_OFF});
}

} // namespace
} // namespace qelm::test
