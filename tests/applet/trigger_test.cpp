// The trigger unit: what its parameters write, the transitions between its modes and states, the legacy set.

#include "fixture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <sstream>

namespace qelm::test {
namespace {

using Writes = std::vector<std::string>;

const std::string trigger = "Device1_Process1_Trigger_";
const std::string unit = trigger + "TriggerCam0_";
const std::string period = unit + "Generators_Generator_MinimumPeriod_Number";
const std::string generators = unit + "PulseFormGenerators_PulseFormGenerator";
const std::string queueStatus = trigger + "Monitoring_ReadQueueStatus_Status";
const std::string queueValue = unit + "Generators_QueueValue_Status";
const std::string periodOver = unit + "Generators_Generator_MaximumReached_Status";

Writes operator+(Writes left, const Writes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/** The writes of a line's selection. */
Writes route(const std::string& line, uint32_t select, uint32_t invert) {
    return {unit + line + "_Select_Select=" + std::to_string(select),
            unit + line + "_Polarity_Invert=" + std::to_string(invert)};
}
std::string cameraControl(size_t line) {
    return "CameraControl_Select" + std::to_string(line);
}
std::string output(size_t line) {
    return "TriggerOutput_Select" + std::to_string(line);
}

constexpr int32_t outputIds[] = {FG_TRIGGEROUT_SELECT0, FG_TRIGGEROUT_SELECT1, FG_TRIGGEROUT_SELECT2,
                                 FG_TRIGGEROUT_SELECT3, FG_TRIGGEROUT_SELECT4, FG_TRIGGEROUT_SELECT5,
                                 FG_TRIGGEROUT_SELECT6, FG_TRIGGEROUT_SELECT7};

class Trigger : public BoardTest {
  protected:
    uint32_t mode() const { return board_.get<uint32_t>(FG_AREATRIGGERMODE); }
    uint32_t state() const { return board_.get<uint32_t>(FG_TRIGGERSTATE); }
    /** By way of the stopped unit. */
    void enter(uint32_t mode, uint32_t state) {
        board_.change(FG_TRIGGERSTATE, uint32_t{TS_SYNC_STOP});
        board_.change(FG_AREATRIGGERMODE, mode);
        board_.change(FG_TRIGGERSTATE, state);
    }
    /** Leaves room for every rate: at the highest, a pulse of a generator may last 0.16 µs times its downscale. */
    void shortenPulses() {
        for (int32_t i = 0; i < 4; ++i) {
            board_.change(FG_TRIGGER_PULSEFORMGEN0_WIDTH + 4 * i, 1.0);
            board_.change(FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE + 4 * i, uint32_t{7});
        }
    }
    void failWrites(uint32_t skip, uint32_t count) {
        control().fail(board_.virtualBoard(), "Fg_setParameterWithType", nullptr, skip, count, injected);
    }
};

/* -- Mode and state ------------------------------------------------------------------------------------------------ */

class Transitions : public Trigger {
  protected:
    Transitions() {
        board_.change(FG_TRIGGERCC_SELECT1, uint32_t{CC_PULSEGEN2});
        board_.change(FG_TRIGGEROUT_SELECT7, uint32_t{NOT_INPUT_BYPASS});
        const std::string clearQueue = unit + "Generators_ClearQueuePulse_Mode=";
        const std::string enableQueue = unit + "Generators_EnableQueue_Select=";
        const auto restart = [&](const char* queue) {
            return Writes{clearQueue + "1", enableQueue + queue, period + "=7812490",
                          unit + "PulseFormGenerators_Enable_Select=1", clearQueue + "0"};
        };
        actions_ = {
            {"R", {trigger + "Monitoring_CheckForMissingFrame_Cam0_ResetMissing_Mode=2"}},
            {"O0", {}},
            {"O1", route(cameraControl(0), 0, 1) + route(cameraControl(1), 2, 0) + route(cameraControl(2), 5, 1) +
                       route(cameraControl(3), 5, 1) + route(output(0), 0, 1) + route(output(1), 1, 1)},
            {"G0", {clearQueue + "1"}},
            {"G1", restart("0")},
            {"Q", restart("1")},
            {"Di", {unit + "Downscale_Clear_Mode=2"}},
            {"Ds", {unit + "Generators_ClearDownscale_Mode=2"}},
            {"X0", {unit + "TriggerMode_SelectExternal_Select=0"}},
            {"X1", {unit + "TriggerMode_SelectExternal_Select=1"}},
        };
        for (size_t line = 0; line < 4; ++line) {
            actions_["R"].push_back(generators + std::to_string(line) + "_ClearDownscale_Mode=2");
            actions_["O0"].push_back(route(cameraControl(line), 5, 0)[0]);
        }
        for (size_t line = 0; line < 8; ++line) {
            actions_["O0"].push_back(route(output(line), 5, 0)[0]);
            if (line >= 2) {
                actions_["O1"] = actions_["O1"] + (line == 7 ? route(output(7), 4, 1) : route(output(line), 5, 1));
            }
        }
    }

    /** @param names  "O0 Di Q" */
    Writes writesOfActions(const std::string& names) const {
        Writes writes;
        std::istringstream words(names);
        for (std::string name; words >> name;) {
            writes = writes + actions_.at(name);
        }
        return writes;
    }

    std::map<std::string, Writes> actions_;
};

TEST_F(Transitions, RunTheirActionsAndFailAtAnyOfThem) {
    constexpr uint32_t g = ATM_GENERATOR, s = ATM_SOFTWARE, e = ATM_EXTERNAL;
    constexpr uint32_t sync = TS_SYNC_STOP, async = TS_ASYNC_STOP, active = TS_ACTIVE;
    using Change = std::array<uint32_t, 4>; // mode, state, new mode, new state
    const std::map<Change, const char*> rows = {
        {{g, sync, g, active}, "R G1"},
        {{g, sync, g, async}, "O0"},
        {{g, async, g, active}, "R O1 G1"},
        {{g, active, e, active}, "O0 Di Q Ds R O1 X1"},
        {{g, active, s, active}, "O0 Di Q Ds R O1"},
        {{g, active, g, async}, "O0 G0"},
        {{g, active, g, sync}, "G0"},
        {{s, sync, g, sync}, "G0"},
        {{s, sync, s, active}, "O0 Di Q Ds R O1"},
        {{s, sync, s, async}, "O0"},
        {{s, async, g, async}, "G0"},
        {{s, async, s, active}, "Di Q Ds R O1"},
        {{s, active, g, active}, "O0 R O1 G1"},
        {{s, active, e, active}, "O0 Di Q Ds R O1 X1"},
        {{s, active, s, async}, "O0"},
        {{e, sync, g, sync}, "G0"},
        {{e, sync, e, active}, "O0 Di Q Ds R O1 X1"},
        {{e, sync, e, async}, "O0"},
        {{e, async, g, async}, "G0"},
        {{e, async, e, active}, "Di Q Ds R O1 X1"},
        {{e, active, g, active}, "X0 O0 R O1 G1"},
        {{e, active, s, active}, "X0 O0 Di Q Ds R O1"},
        {{e, active, e, async}, "O0 X0"},
        {{e, active, e, sync}, "X0"},
    };
    size_t tried = 0;
    for (const uint32_t oldMode : {g, s, e}) {
        for (const uint32_t oldState : {sync, async, active}) {
            std::vector<Change> changes;
            for (const uint32_t newMode : {g, s, e}) {
                changes.push_back({oldMode, oldState, newMode, oldState});
            }
            for (const uint32_t newState : {sync, async, active}) {
                changes.push_back({oldMode, oldState, oldMode, newState});
            }
            for (const Change& change : changes) {
                const auto& [m, st, newMode, newState] = change;
                SCOPED_TRACE(testing::Message() << m << '/' << st << " to " << newMode << '/' << newState);
                const auto row = rows.find(change);
                tried += row != rows.end();
                const Writes expected = row == rows.end() ? Writes{} : writesOfActions(row->second);
                const bool ofMode = newMode != m;
                const int32_t id = ofMode ? FG_AREATRIGGERMODE : FG_TRIGGERSTATE;
                const uint32_t value = ofMode ? newMode : newState;
                enter(m, st);
                for (uint32_t position = 0; position < expected.size(); ++position) {
                    failWrites(position, 1);
                    const Writes made = writesOf(board_, [&] { EXPECT_EQ(board_.set(id, value), injected); });
                    control().clearFaults();
                    ASSERT_EQ(made.size(), position + 1);
                    ASSERT_EQ(mode(), m);
                    ASSERT_EQ(state(), st);
                }
                EXPECT_THAT(writesOfSet(id, value), ElementsAreArray(expected));
                EXPECT_EQ(mode(), newMode);
                EXPECT_EQ(state(), newState);
            }
        }
    }
    EXPECT_EQ(tried, rows.size());
}

TEST_F(Trigger, ModesAndStatesAreEnumerated) {
    for (const uint32_t value : {0U, 3U, 5U, 0xFFFFFFFFU}) {
        expectRefused(FG_AREATRIGGERMODE, value, -6000);
    }
    for (const uint32_t value : {3U, 0xFFFFFFFFU}) {
        expectRefused(FG_TRIGGERSTATE, value, -6000);
    }
}

TEST_F(Trigger, StartUpBringsTheUnitToRest) {
    board_.clearTrace();
    Board other(applet_);
    const Writes writes = other.writes();
    const std::string prefix = unit + "CameraControl_Select0_Select_Select=";
    const auto first = std::find(writes.begin(), writes.end(), prefix + "5");
    ASSERT_LE(37, writes.end() - first);
    EXPECT_EQ(first[12], unit + "Generators_ClearQueuePulse_Mode=1");
    EXPECT_EQ(first[13], prefix + "0");
    EXPECT_EQ(first[36], unit + "TriggerOutput_Select7_Polarity_Invert=1");
    // The first state of what the initial settings leave out.
    EXPECT_EQ(other.get<int32_t>(FG_TRIGGER_EXCEEDED_PERIOD_LIMITS_CLEAR), FG_APPLY);
    EXPECT_EQ(other.get<uint32_t>(FG_EXPOSURE), 4000u);
    EXPECT_EQ(other.get<uint32_t>(FG_DIGIO_OUTPUT), 3u);
    EXPECT_EQ(other.get<uint32_t>(FG_CCSEL0), uint32_t{CC_EXSYNC});
}

/* -- Conversions and limits ---------------------------------------------------------------------------------------- */

TEST_F(Trigger, TimesAndRatesConvertBothWays) {
    const struct {
        int32_t id;
        double value;
        std::string target;
        uint32_t ticks;
        double told;
    } rows[] = {
        {FG_TRIGGERIN_DEBOUNCE, 0.096, trigger + "TriggerInput_Debounce8_Prescale_Period", 2, 0.096},
        {FG_TRIGGERIN_DEBOUNCE, 1.0, trigger + "TriggerInput_Debounce8_Prescale_Period", 21, 1.008},
        {FG_TRIGGERIN_DEBOUNCE, 3.024, trigger + "TriggerInput_Debounce8_Prescale_Period", 63, 3.024},
        {FG_TRIGGER_FRAMESPERSECOND, 1000.0, period, 62490, 1000.0},
        {FG_TRIGGER_FRAMESPERSECOND, 6250000.0, period, 1, 6250000.0},
        {FG_TRIGGER_FRAMESPERSECOND, 8.0, period, 7812490, 8.000000000000002},
        {FG_TRIGGER_FRAMESPERSECOND, 0.01455191522836685, period, 4294967287, 0.014551915228366848},
        {FG_TRIGGER_PULSEFORMGEN0_DELAY, 0.0, generators + "0_Delay_Delay", 0, 0.0},
        {FG_TRIGGER_PULSEFORMGEN3_DELAY, 1.0, generators + "3_Delay_Delay", 63, 1.008},
        {FG_TRIGGER_PULSEFORMGEN0_DELAY, 34000000.0, generators + "0_Delay_Delay", 2125000000, 34000000.0},
        {FG_TRIGGER_PULSEFORMGEN2_WIDTH, 1.0, generators + "2_Width_Width", 63, 1.008},
        {FG_TRIGGER_PULSEFORMGEN1_WIDTH, 68000000.0, generators + "1_Width_Width", 4250000000, 68000000.0},
    };
    shortenPulses();
    for (const auto& row : rows) {
        EXPECT_THAT(writesOfSet(row.id, row.value), ElementsAre(row.target + "=" + std::to_string(row.ticks)));
        EXPECT_EQ(board_.get<double>(row.id), row.told) << row.target;
    }
    poke(generators + "3_Delay_Delay", 4294967295); // what the design says counts
    EXPECT_EQ(board_.get<double>(FG_TRIGGER_PULSEFORMGEN3_DELAY), 68719476.72);
}

TEST_F(Trigger, ValuesBeyondTheLimitsAreRefused) {
    shortenPulses();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        int32_t id;
        double below, above;
    } doubles[] = {
        {FG_TRIGGER_FRAMESPERSECOND, 0.0145519152283, 6250001.0},
        {FG_TRIGGERIN_DEBOUNCE, 0.0959, 3.0241},
        {FG_TRIGGER_PULSEFORMGEN1_DELAY, -0.001, 34000000.001},
        {FG_TRIGGER_PULSEFORMGEN1_WIDTH, 0.999, 68000000.1},
    };
    for (const auto& row : doubles) {
        for (const double value : {row.below, row.above, -1.0, nan, -HUGE_VAL, HUGE_VAL}) {
            expectRefused(row.id, value, -6000);
        }
    }
    const struct {
        int32_t id;
        uint32_t value;
    } integers[] = {
        {FG_TRIGGERIN_DOWNSCALE, 0},
        {FG_TRIGGERIN_DOWNSCALE_PHASE, 1},
        {FG_TRIGGER_PULSEFORMGEN2_DOWNSCALE, 0},
        {FG_TRIGGER_PULSEFORMGEN2_DOWNSCALE, 8},
        {FG_TRIGGER_PULSEFORMGEN2_DOWNSCALE_PHASE, 7},
        {FG_TRIGGER_MULTIPLY_PULSES, 0},
        {FG_TRIGGER_MULTIPLY_PULSES, 65536},
        {FG_TRIGGER_QUEUE_FILLLEVEL_EVENT_ON_THRESHOLD, 1},
        {FG_TRIGGER_QUEUE_FILLLEVEL_EVENT_OFF_THRESHOLD, 2048},
        {FG_TRIGGERIN_SRC, 8},
        {FG_TRIGGERCC_SELECT0, 12},
        {FG_TRIGGEROUT_SELECT7, 0xFFFFFFFF},
        {FG_TRIGGERIN_STATS_MINMAXFREQUENCY_CLEAR, 0},
    };
    for (const auto& row : integers) {
        expectRefused(row.id, row.value, -6000);
    }
    for (const int32_t id : {FG_TRIGGERIN_POLARITY, FG_TRIGGERQUEUE_MODE, FG_TRIGGER_LEGACY_MODE,
                             FG_TRIGGERIN_STATS_PULSECOUNT_CLEAR, FG_TRIGGER_EXCEEDED_PERIOD_LIMITS_CLEAR}) {
        expectRefused(id, 2, -6000);
        expectRefused(id, -1, -6000);
    }
    for (const int32_t id : {FG_TRIGGERIN_BYPASS_SRC, FG_TRIGGEROUT_STATS_SOURCE, FG_TRIGGER_OUTPUT_EVENT_SELECT}) {
        expectRefused(id, 8, -6000);
    }
}

TEST_F(Trigger, WhatDoesNotFitTheTimingIsRefused) {
    // 8 Hz leave 125000 µs. The limits are as the design holds its times: 16 ns short of the period still fits.
    expectRefused(FG_TRIGGER_PULSEFORMGEN1_DELAY, 125000.0, -2079);
    expectRefused(FG_TRIGGER_PULSEFORMGEN1_WIDTH, 125000.0, -2079);
    board_.change(FG_TRIGGER_PULSEFORMGEN1_WIDTH, 124999.984);
    board_.change(FG_TRIGGER_PULSEFORMGEN1_WIDTH, 4.0);

    board_.change(FG_TRIGGER_PULSEFORMGEN1_DOWNSCALE, 2U); // every other pulse leaves twice the time
    board_.change(FG_TRIGGER_PULSEFORMGEN1_DELAY, 200000.0);
    expectRefused(FG_TRIGGER_PULSEFORMGEN1_DELAY, 250000.0, -2079);
    expectRefused(FG_TRIGGER_PULSEFORMGEN1_DOWNSCALE, 1U, -2078);
    expectRefused(FG_TRIGGER_FRAMESPERSECOND, 10.0, -2079);
    board_.change(FG_TRIGGER_FRAMESPERSECOND, 9.99);

    // The other time is the one that the design holds, whatever was set.
    poke(generators + "2_Delay_Delay", 62500000);
    expectRefused(FG_TRIGGER_PULSEFORMGEN2_WIDTH, 4.0, -2079);
    expectRefused(FG_TRIGGER_PULSEFORMGEN2_DOWNSCALE, 7U, -2078);
    expectRefused(FG_TRIGGER_FRAMESPERSECOND, 1.0, -2079);
    board_.change(FG_TRIGGER_FRAMESPERSECOND, 0.999);
}

TEST_F(Trigger, DownscalesAndPhasesBoundEachOther) {
    const struct {
        int32_t downscale, phase;
        const char* phaseName;
        std::string target;
    } stages[] = {
        {FG_TRIGGERIN_DOWNSCALE, FG_TRIGGERIN_DOWNSCALE_PHASE, "FG_TRIGGERIN_DOWNSCALE_PHASE",
         unit + "Downscale_Downscale"},
        {FG_TRIGGER_PULSEFORMGEN3_DOWNSCALE, FG_TRIGGER_PULSEFORMGEN3_DOWNSCALE_PHASE,
         "FG_TRIGGER_PULSEFORMGEN3_DOWNSCALE_PHASE", generators + "3_Downscale"},
    };
    for (const auto& stage : stages) {
        EXPECT_THAT(writesOfSet(stage.downscale, 5U), ElementsAre(stage.target + "_Downscale=5"));
        EXPECT_EQ(maximumOf(board_, stage.phaseName), 4.0);
        EXPECT_THAT(writesOfSet(stage.phase, 4U), ElementsAre(stage.target + "_SelectedPulse=4"));
        expectRefused(stage.phase, 5U, -6000);
        expectRefused(stage.downscale, 4U, -6000);
        failWrites(0, 1);
        EXPECT_EQ(board_.set(stage.downscale, 6U), injected);
        control().clearFaults();
        EXPECT_EQ(board_.get<uint32_t>(stage.downscale), 5U);
        EXPECT_EQ(maximumOf(board_, stage.phaseName), 4.0) << "a failed set moves no limit";
    }
    board_.change(FG_TRIGGERIN_DOWNSCALE, 0xFFFFFFFFU);
    board_.change(FG_TRIGGERIN_DOWNSCALE_PHASE, 0xFFFFFFFEU);
    expectRefused(FG_TRIGGERIN_DOWNSCALE, 0xFFFFFFFEU, -6000);
}

/* -- Sequencer, queue, crossbar, statistics ------------------------------------------------------------------------ */

TEST_F(Trigger, TheSelectedPulseNeverExceedsTheSequencersDownscale) {
    const std::string downscale = unit + "Generators_Sequence_Downscale=";
    const std::string selected = unit + "Generators_Sequence_SelectedPulse=";
    const std::string clear = unit + "Generators_ClearDownscale_Mode=2";
    EXPECT_THAT(writesOfSet(FG_TRIGGER_MULTIPLY_PULSES, 65535U),
                ElementsAre(downscale + "65535", selected + "65535", clear));
    EXPECT_THAT(writesOfSet(FG_TRIGGER_MULTIPLY_PULSES, 3U), ElementsAre(selected + "3", downscale + "3", clear));
    EXPECT_THAT(writesOfSet(FG_TRIGGER_MULTIPLY_PULSES, 3U), ElementsAre(selected + "3", downscale + "3", clear));
}

TEST_F(Trigger, TheQueueSetsThePeriodFirst) {
    const std::string full = unit + "Generators_Queue_QueueFullValue_Number=";
    const std::string enabled = unit + "Generators_Queue_QueueEnabled_Select=";
    EXPECT_THAT(writesOfSet(FG_TRIGGERQUEUE_MODE, FG_ON),
                ElementsAre(period + "=7812490", full + "2040", enabled + "1"));
    EXPECT_EQ(maximumOf(board_, "FG_SENDSOFTWARETRIGGER"), 2040.0);
    for (uint32_t position = 0; position < 3; ++position) {
        failWrites(position, 1);
        EXPECT_EQ(board_.set(FG_TRIGGERQUEUE_MODE, FG_OFF), injected);
        control().clearFaults();
        EXPECT_EQ(board_.get<int32_t>(FG_TRIGGERQUEUE_MODE), FG_ON);
    }
    EXPECT_THAT(writesOfSet(FG_TRIGGERQUEUE_MODE, FG_OFF), ElementsAre(period + "=10", full + "1", enabled + "0"));
    EXPECT_EQ(maximumOf(board_, "FG_SENDSOFTWARETRIGGER"), 1.0);
    EXPECT_THAT(writesOfSet(FG_TRIGGER_QUEUE_FILLLEVEL_EVENT_ON_THRESHOLD, 2U),
                ElementsAre(unit + "Hysteresis_OnLevel_Number=2"));
    EXPECT_THAT(writesOfSet(FG_TRIGGER_QUEUE_FILLLEVEL_EVENT_OFF_THRESHOLD, 2047U),
                ElementsAre(unit + "Hysteresis_OffLevel_Number=2047"));
}

TEST_F(Trigger, EveryLineTakesEverySelection) {
    const uint32_t selects[] = {0, 1, 2, 3, 5, 5, 0, 1, 2, 3, 4, 4};
    const uint32_t inverts[] = {0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 0, 1};
    for (uint32_t value = 0; value < 12; ++value) {
        for (size_t line = 0; line < 4; ++line) {
            EXPECT_THAT(writesOfSet(FG_TRIGGERCC_SELECT0 + static_cast<int32_t>(line), value),
                        ElementsAreArray(route(cameraControl(line), selects[value], inverts[value])));
        }
        for (size_t line = 0; line < 8; ++line) {
            EXPECT_THAT(writesOfSet(outputIds[line], value),
                        ElementsAreArray(route(output(line), selects[value], inverts[value])));
        }
    }
}

TEST_F(Trigger, PlainSettingsAndCommandsReachTheirTargets) {
    EXPECT_THAT(writesOfSet(FG_TRIGGERIN_SRC, 7U), ElementsAre(unit + "InputSelect_Select_Select=7"));
    EXPECT_THAT(writesOfSet(FG_TRIGGERIN_STATS_MINMAXFREQUENCY_CLEAR, 1U),
                ElementsAre(unit + "InputStatistics_ClearMinMax_Value=1"));
    const struct {
        int32_t id, value;
        std::string write;
    } rows[] = {
        {FG_TRIGGERIN_POLARITY, LOW_ACTIVE, unit + "InputSelect_Polarity_Invert=1"},
        {FG_TRIGGERIN_BYPASS_SRC, TRGINSRC_3, unit + "InputSelect_BypassSelect_Select=3"},
        {FG_TRIGGEROUT_STATS_SOURCE, PULSEGEN2, unit + "OutputStatistics_Select_Select=2"},
        {FG_TRIGGER_OUTPUT_EVENT_SELECT, PULSEGEN3, unit + "OutputEvent_Select_Select=3"},
        {FG_TRIGGERIN_STATS_PULSECOUNT_CLEAR, FG_APPLY, unit + "InputStatistics_ClearPulses_Mode=2"},
        {FG_TRIGGEROUT_STATS_PULSECOUNT_CLEAR, FG_APPLY, unit + "OutputStatistics_ClearPulses_Mode=2"},
        {FG_TRIGGER_EXCEEDED_PERIOD_LIMITS_CLEAR, FG_APPLY, trigger + "Monitoring_ClearOverrideCam0_Mode=2"},
        {FG_MISSING_CAMERA_FRAME_RESPONSE_CLEAR, FG_APPLY, trigger + "Monitoring_ClearMissingFrame_Cam0_Mode=2"},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(writesOfSet(row.id, row.value), ElementsAre(row.write));
        EXPECT_EQ(board_.get<int32_t>(row.id), row.value);
    }
}

TEST_F(Trigger, StatusAnswersByModeAndState) {
    const int32_t ids[] = {FG_DIGIO_INPUT,
                           FG_TRIGGERQUEUE_FILLLEVEL,
                           FG_TRIGGER_EXCEEDED_PERIOD_LIMITS,
                           FG_MISSING_CAMERA_FRAME_RESPONSE,
                           FG_SOFTWARETRIGGER_IS_BUSY,
                           FG_SOFTWARETRIGGER_QUEUE_FILLLEVEL};
    const struct {
        uint32_t mode, state;
        uint32_t status, queue, over;
        std::array<uint32_t, 6> answers;
    } rows[] = {
        {ATM_GENERATOR, TS_ACTIVE, 7, 5, 0, {129, 0, 0, 1, 0, 0}},
        {ATM_EXTERNAL, TS_ACTIVE, 5, 5, 0, {129, 5, 1, 1, 0, 0}},
        {ATM_EXTERNAL, TS_SYNC_STOP, 2, 5, 1, {129, 2040, 0, 0, 0, 0}},
        {ATM_EXTERNAL, TS_ASYNC_STOP, 3, 5, 0, {129, 0, 1, 0, 0, 0}},
        {ATM_SOFTWARE, TS_ACTIVE, 0, 5, 1, {129, 0, 0, 0, 1, 15}},
        {ATM_SOFTWARE, TS_ACTIVE, 0, 0, 0, {129, 0, 0, 0, 1, 0}},
        {ATM_SOFTWARE, TS_SYNC_STOP, 2, 0, 1, {129, 0, 0, 0, 0, 6120}},
        {ATM_SOFTWARE, TS_ASYNC_STOP, 7, 5, 1, {129, 0, 1, 1, 1, 0}},
    };
    board_.change(FG_TRIGGER_MULTIPLY_PULSES, 3U);
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.mode << '/' << row.state << " status " << row.status);
        enter(row.mode, row.state);
        poke(trigger + "TriggerInput_InputStatus_Status", 129);
        poke(queueStatus, row.status);
        poke(queueValue, row.queue);
        poke(periodOver, row.over);
        for (size_t i = 0; i < std::size(ids); ++i) {
            EXPECT_EQ(board_.get<uint32_t>(ids[i]), row.answers[i]) << ids[i];
        }
    }
    const struct {
        int32_t id;
        const char* name;
    } frequencies[] = {{FG_TRIGGERIN_STATS_FREQUENCY, "ReadPeriod"},
                       {FG_TRIGGERIN_STATS_MINFREQUENCY, "ReadMin"},
                       {FG_TRIGGERIN_STATS_MAXFREQUENCY, "ReadMax"}};
    for (const auto& row : frequencies) {
        poke(unit + "InputStatistics_" + row.name + "_Status", 62500);
        EXPECT_EQ(board_.get<double>(row.id), 1 / (62500 * 16e-9));
        poke(unit + "InputStatistics_" + row.name + "_Status", 0);
        EXPECT_EQ(board_.get<double>(row.id), HUGE_VAL);
        EXPECT_EQ(board_.set(row.id, 1.0), -12);
    }
    poke(unit + "InputStatistics_ReadPulses_Status", 17);
    poke(unit + "OutputStatistics_ReadPulses_Status", 18);
    EXPECT_EQ(board_.get<uint32_t>(FG_TRIGGERIN_STATS_PULSECOUNT), 17U);
    EXPECT_EQ(board_.get<uint32_t>(FG_TRIGGEROUT_STATS_PULSECOUNT), 18U);
    for (const int32_t id : ids) {
        EXPECT_EQ(board_.set(id, 1U), -12);
    }
}

/* -- Software trigger ---------------------------------------------------------------------------------------------- */

TEST_F(Trigger, SoftwareTriggersNeedTheirModeStateAndRoom) {
    const std::string pulse = unit + "TriggerMode_SoftwareTrigger_Mode=2";
    EXPECT_EQ(board_.set(FG_SENDSOFTWARETRIGGER, 0U), -6000);
    EXPECT_EQ(board_.set(FG_SENDSOFTWARETRIGGER, 2U), -6000);
    EXPECT_EQ(board_.set(FG_SENDSOFTWARETRIGGER, 1U), -2140);
    board_.change(FG_AREATRIGGERMODE, uint32_t{ATM_SOFTWARE});
    EXPECT_EQ(board_.set(FG_SENDSOFTWARETRIGGER, 1U), -2141);
    board_.change(FG_TRIGGERSTATE, uint32_t{TS_ACTIVE});
    poke(periodOver, 1);
    poke(queueValue, 0);
    EXPECT_THAT(writesOfSet(FG_SENDSOFTWARETRIGGER, 1U), ElementsAre(pulse));
    poke(periodOver, 1);
    poke(queueValue, 1);
    EXPECT_EQ(board_.set(FG_SENDSOFTWARETRIGGER, 1U), -60);
    board_.change(FG_TRIGGERQUEUE_MODE, FG_ON);
    EXPECT_THAT(writesOfSet(FG_SENDSOFTWARETRIGGER, 2040U), ElementsAreArray(Writes(2040, pulse)));
    EXPECT_EQ(board_.set(FG_SENDSOFTWARETRIGGER, 2041U), -6000);
    failWrites(3, 1);
    EXPECT_THAT(writesOf(board_, [&] { EXPECT_EQ(board_.set(FG_SENDSOFTWARETRIGGER, 9U), injected); }).size(), 4u);
    control().clearFaults();
    EXPECT_EQ(board_.get<uint32_t>(FG_SENDSOFTWARETRIGGER), peek(unit + "TriggerMode_SoftwareTrigger_Mode"));
}

/* -- Legacy set ---------------------------------------------------------------------------------------------------- */

class Legacy : public Trigger {
  protected:
    int32_t access(const char* name) const { return described(board_, name).access; }
    void expectAccess(bool legacy) {
        for (const char* name : {"FG_AREATRIGGERMODE", "FG_TRIGGERIN_DEBOUNCE", "FG_TRIGGEROUT_SELECT7",
                                 "FG_TRIGGERCC_SELECT3", "FG_MISSING_CAMERA_FRAME_RESPONSE_CLEAR"}) {
            EXPECT_EQ(access(name), legacy ? 1 : 7) << name;
        }
        for (const char* name : {"FG_TRIGGERMODE", "FG_CCSEL3", "FG_DIGIO_OUTPUT", "FG_PRESCALER"}) {
            EXPECT_EQ(access(name), legacy ? 7 : 1) << name;
        }
        for (const char* name :
             {"FG_TRIGGER_FRAMESPERSECOND", "FG_TRIGGERIN_SRC", "FG_TRIGGERIN_POLARITY", "FG_SENDSOFTWARETRIGGER"}) {
            EXPECT_EQ(access(name), 7) << name;
        }
        for (const char* name : {"FG_DIGIO_INPUT", "FG_TRIGGERQUEUE_FILLLEVEL", "FG_TRIGGEROUT_STATS_PULSECOUNT"}) {
            EXPECT_EQ(access(name), 1) << name;
        }
    }
    Writes lines(size_t from, size_t to, uint32_t select, uint32_t invert) const {
        Writes writes;
        for (size_t line = from; line <= to; ++line) {
            writes = writes + route(cameraControl(line), select, invert);
        }
        return writes;
    }
};

TEST_F(Legacy, SwitchingBringsBothSetsToTheirDefaultsAndSkipsWhatFails) {
    const struct {
        int32_t mode;
        uint32_t failAt; // the write that fails on the way
    } switches[] = {{FG_ON, 0}, {FG_OFF, 5}, {FG_ON, 9}, {FG_OFF, 20}, {FG_ON, 1000}};
    for (const auto& [mode, failAt] : switches) {
        SCOPED_TRACE(testing::Message() << mode << " with a failure at " << failAt);
        if (mode == FG_ON) {
            enter(ATM_EXTERNAL, TS_SYNC_STOP);
            board_.change(FG_TRIGGER_MULTIPLY_PULSES, 5U);
            board_.change(FG_TRIGGERCC_SELECT2, uint32_t{CC_PULSEGEN3});
        } else {
            board_.change(FG_CCSEL2, uint32_t{CC_STROBEPULSE});
            board_.change(FG_PRESCALER, 2.0);
        }
        const Writes complete = [&] {
            failWrites(failAt, 1);
            Writes writes = writesOfSet(FG_TRIGGER_LEGACY_MODE, mode);
            control().clearFaults();
            return writes;
        }();
        EXPECT_EQ(complete.back(), unit + "OutputEvent_Select_Select=0");
        EXPECT_EQ(board_.get<int32_t>(FG_TRIGGER_LEGACY_MODE), mode);
        expectAccess(mode == FG_ON);
        for (const auto& [id, value] : std::map<int32_t, uint32_t>{{FG_TRIGGERMODE, FREE_RUN},
                                                                   {FG_EXPOSURE, 4000},
                                                                   {FG_CCSEL0, CC_EXSYNC},
                                                                   {FG_CCSEL2, CC_VCC},
                                                                   {FG_DIGIO_OUTPUT, 3},
                                                                   {FG_TRIGGERSTATE, TS_SYNC_STOP}}) {
            EXPECT_EQ(board_.get<uint32_t>(id), value) << id;
        }
        EXPECT_EQ(board_.get<double>(FG_PRESCALER), 10.0);
        EXPECT_THAT(writesOfSet(FG_TRIGGER_LEGACY_MODE, mode), IsEmpty()) << "it is in force already";
    }
    EXPECT_EQ(mode(), uint32_t{ATM_GENERATOR});
    EXPECT_EQ(board_.get<uint32_t>(FG_TRIGGER_MULTIPLY_PULSES), 1U);
    EXPECT_EQ(board_.get<uint32_t>(FG_TRIGGERCC_SELECT2), uint32_t{CC_VCC});
}

TEST_F(Legacy, OnlyTheSetInForceTakesValues) {
    const int32_t legacyIds[] = {FG_TRIGGERMODE,    FG_EXSYNCON, FG_FLASHON, FG_EXPOSURE,    FG_EXSYNCPOLARITY,
                                 FG_FLASH_POLARITY, FG_CCSEL0,   FG_CCSEL3,  FG_DIGIO_OUTPUT};
    for (const int32_t id : legacyIds) {
        expectRefused(id, board_.get<uint32_t>(id), -2070);
    }
    for (const int32_t id : {FG_EXSYNCDELAY, FG_STROBEPULSEDELAY, FG_PRESCALER}) {
        expectRefused(id, 10.0, -2070);
    }
    board_.change(FG_TRIGGER_LEGACY_MODE, FG_ON);
    for (const int32_t id :
         {FG_AREATRIGGERMODE, FG_TRIGGERSTATE, FG_TRIGGERIN_DOWNSCALE, FG_TRIGGERIN_DOWNSCALE_PHASE,
          FG_TRIGGER_MULTIPLY_PULSES, FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE, FG_TRIGGER_PULSEFORMGEN3_DOWNSCALE_PHASE,
          FG_TRIGGERCC_SELECT0, FG_TRIGGEROUT_SELECT7, FG_TRIGGER_QUEUE_FILLLEVEL_EVENT_ON_THRESHOLD}) {
        expectRefused(id, board_.get<uint32_t>(id), -2070);
    }
    for (const int32_t id : {FG_TRIGGERIN_DEBOUNCE, FG_TRIGGER_PULSEFORMGEN1_DELAY, FG_TRIGGER_PULSEFORMGEN1_WIDTH}) {
        expectRefused(id, board_.get<double>(id), -2070);
    }
    expectRefused(FG_TRIGGERQUEUE_MODE, int32_t{FG_OFF}, -2070);
    board_.change(FG_TRIGGERIN_SRC, 2U); // shared
    board_.change(FG_TRIGGERIN_POLARITY, LOW_ACTIVE);

    const struct {
        int32_t id;
        uint32_t value;
        int32_t code;
    } refused[] = {{FG_TRIGGERMODE, 3, -6000}, {FG_EXSYNCON, 2, -6000},      {FG_FLASH_POLARITY, 2, -6000},
                   {FG_EXPOSURE, 0, -6000},    {FG_EXPOSURE, 125000, -6000}, {FG_EXPOSURE, 15, -7080},
                   {FG_CCSEL1, 1, -6000},      {FG_DIGIO_OUTPUT, 4, -6000}};
    for (const auto& row : refused) {
        expectRefused(row.id, row.value, row.code);
    }
    for (const int32_t id : {FG_EXSYNCDELAY, FG_STROBEPULSEDELAY}) {
        expectRefused(id, -0.1, -6000);
        expectRefused(id, 10230.1, -6000);
    }
    expectRefused(FG_PRESCALER, 0.031, -6000);
    expectRefused(FG_PRESCALER, 1048.57, -6000);
}

TEST_F(Legacy, AFailureLeavesNoDoorOpenToTheCurrentSet) {
    board_.change(FG_TRIGGER_LEGACY_MODE, FG_ON);
    failWrites(2, 1); // the third width
    EXPECT_EQ(board_.set(FG_EXPOSURE, 1000U), injected);
    control().clearFaults();
    EXPECT_EQ(board_.get<uint32_t>(FG_EXPOSURE), 4000U);
    expectRefused(FG_TRIGGER_MULTIPLY_PULSES, 1U, -2070);
    poke(generators + "3_Delay_Delay", 0xFFFFFFFF); // the timing of one generator refuses
    EXPECT_EQ(board_.set(FG_EXPOSURE, 1000U), -2079);
    expectRefused(FG_TRIGGER_MULTIPLY_PULSES, 1U, -2070);
}

TEST_F(Legacy, TriggerModesDriveTheCurrentSet) {
    const Writes rest = lines(0, 3, 5, 1) + route(output(0), 5, 1) + route(output(1), 5, 1) + route(output(3), 5, 1) +
                        route(output(7), 5, 1);
    board_.change(FG_TRIGGER_LEGACY_MODE, FG_ON);
    const struct {
        uint32_t legacy, mode, state, minimumPeriod;
    } rows[] = {{ASYNC_TRIGGER, ATM_EXTERNAL, TS_ACTIVE, 10},
                {GRABBER_CONTROLLED, ATM_GENERATOR, TS_ACTIVE, 7812490},
                {GRABBER_CONTROLLED, ATM_GENERATOR, TS_ACTIVE, 7812490},
                {ASYNC_SOFTWARE_TRIGGER, ATM_SOFTWARE, TS_ACTIVE, 10},
                {FREE_RUN, ATM_SOFTWARE, TS_ASYNC_STOP, 10},
                {GRABBER_CONTROLLED, ATM_GENERATOR, TS_ACTIVE, 7812490}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.legacy);
        const Writes writes = writesOfSet(FG_TRIGGERMODE, row.legacy);
        ASSERT_GT(writes.size(), rest.size());
        EXPECT_THAT(Writes(writes.end() - static_cast<std::ptrdiff_t>(rest.size()), writes.end()),
                    ElementsAreArray(rest));
        EXPECT_EQ(mode(), row.mode);
        EXPECT_EQ(state(), row.state);
        EXPECT_EQ(peek(period), row.minimumPeriod);
        EXPECT_EQ(access("FG_AREATRIGGERMODE"), 1);
        EXPECT_EQ(access("FG_SENDSOFTWARETRIGGER"), row.mode == ATM_EXTERNAL ? 1 : 7);
    }
    board_.change(FG_TRIGGERMODE, uint32_t{ASYNC_TRIGGER});
    EXPECT_THAT(writesOfSet(FG_TRIGGER_FRAMESPERSECOND, 16.0), ElementsAre(period + "=10")) << "the input has the say";
    failWrites(0, 1);
    EXPECT_EQ(board_.set(FG_TRIGGERMODE, uint32_t{FREE_RUN}), injected);
    control().clearFaults();
    EXPECT_EQ(board_.get<uint32_t>(FG_TRIGGERMODE), uint32_t{ASYNC_TRIGGER});
    EXPECT_EQ(state(), uint32_t{TS_ACTIVE});
}

TEST_F(Legacy, LinesFollowSelectionSwitchAndPolarity) {
    board_.change(FG_TRIGGER_LEGACY_MODE, FG_ON);
    const struct {
        uint32_t selection;
        uint32_t pulse; // the generator; 4 for constant levels
        uint32_t onHigh, onLow, offHigh, offLow;
    } rows[] = {
        {CC_EXSYNC, 0, CC_PULSEGEN0, CC_NOT_PULSEGEN0, CC_GND, CC_VCC},
        {CC_NOT_EXSYNC, 0, CC_NOT_PULSEGEN0, CC_PULSEGEN0, CC_VCC, CC_GND},
        {CC_STROBEPULSE, 1, CC_PULSEGEN1, CC_NOT_PULSEGEN1, CC_GND, CC_VCC},
        {CC_NOT_STROBEPULSE, 1, CC_NOT_PULSEGEN1, CC_PULSEGEN1, CC_VCC, CC_GND},
        {CC_GND, 4, CC_GND, CC_GND, CC_GND, CC_GND},
        {CC_VCC, 4, CC_VCC, CC_VCC, CC_VCC, CC_VCC},
    };
    for (const auto& row : rows) {
        for (const int32_t on : {FG_ON, FG_OFF}) {
            for (const int32_t polarity : {FG_HIGH, FG_LOW}) {
                board_.change(row.pulse == 1 ? FG_FLASHON : FG_EXSYNCON, static_cast<uint32_t>(on));
                board_.change(row.pulse == 1 ? FG_FLASH_POLARITY : FG_EXSYNCPOLARITY, static_cast<uint32_t>(polarity));
                board_.change(FG_CCSEL3, row.selection);
                const uint32_t expected = on == FG_ON ? (polarity == FG_HIGH ? row.onHigh : row.onLow)
                                                      : (polarity == FG_HIGH ? row.offHigh : row.offLow);
                EXPECT_EQ(board_.get<uint32_t>(FG_TRIGGERCC_SELECT3), expected) << row.selection << on << polarity;
                if (row.selection == CC_EXSYNC || row.selection == CC_STROBEPULSE) {
                    EXPECT_EQ(board_.get<uint32_t>(outputIds[row.pulse]), expected);
                }
            }
        }
    }
    board_.change(FG_EXSYNCPOLARITY, uint32_t{FG_HIGH});
    board_.change(FG_CCSEL3, uint32_t{CC_NOT_EXSYNC});
    EXPECT_THAT(writesOfSet(FG_EXSYNCON, 1U), ElementsAreArray(route(cameraControl(0), 0, 0) + lines(1, 2, 5, 1) +
                                                               route(cameraControl(3), 0, 1) + route(output(0), 0, 0)));
    EXPECT_THAT(writesOfSet(FG_DIGIO_OUTPUT, 2U), ElementsAreArray(route(output(3), 5, 0) + route(output(7), 5, 1)));
    EXPECT_THAT(writesOfSet(FG_EXSYNCDELAY, 10230.0), ElementsAre(generators + "0_Delay_Delay=639375"));
    EXPECT_THAT(writesOfSet(FG_STROBEPULSEDELAY, 1.0), ElementsAre(generators + "1_Delay_Delay=63"));
    EXPECT_EQ(board_.get<double>(FG_STROBEPULSEDELAY), 1.0) << "as it was set";
    EXPECT_THAT(writesOfSet(FG_EXPOSURE, 124990U),
                ElementsAre(generators + "0_Width_Width=7811875", generators + "1_Width_Width=7811875",
                            generators + "2_Width_Width=7811875", generators + "3_Width_Width=7811875"));
    EXPECT_THAT(writesOfSet(FG_PRESCALER, 1048.56), IsEmpty());
}

} // namespace
} // namespace qelm::test
