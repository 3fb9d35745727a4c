// The trigger unit: what its parameters write, what they refuse, what its status answers.

#include "trigger_fixture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace qelm::test {
namespace {

/* Conversions and timing */

TEST_F(Trigger, TimesAndRatesConvertBothWays) {
    const struct {
        std::int32_t id;
        double value;
        std::string target;
        std::uint32_t ticks;
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
        std::int32_t downscale, phase;
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
        EXPECT_EQ(board_.get<std::uint32_t>(stage.downscale), 5U);
        EXPECT_EQ(maximumOf(board_, stage.phaseName), 4.0) << "a failed set moves no limit";
    }
    board_.change(FG_TRIGGERIN_DOWNSCALE, 0xFFFFFFFFU);
    board_.change(FG_TRIGGERIN_DOWNSCALE_PHASE, 0xFFFFFFFEU);
    expectRefused(FG_TRIGGERIN_DOWNSCALE, 0xFFFFFFFEU, -6000);
}

/* Sequencer, queue, crossbar, statistics */

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
    for (std::uint32_t position = 0; position < 3; ++position) {
        failWrites(position, 1);
        EXPECT_EQ(board_.set(FG_TRIGGERQUEUE_MODE, FG_OFF), injected);
        control().clearFaults();
        EXPECT_EQ(board_.get<std::int32_t>(FG_TRIGGERQUEUE_MODE), FG_ON);
    }
    EXPECT_THAT(writesOfSet(FG_TRIGGERQUEUE_MODE, FG_OFF), ElementsAre(period + "=10", full + "1", enabled + "0"));
    EXPECT_EQ(maximumOf(board_, "FG_SENDSOFTWARETRIGGER"), 1.0);
    EXPECT_THAT(writesOfSet(FG_TRIGGER_QUEUE_FILLLEVEL_EVENT_ON_THRESHOLD, 2U),
                ElementsAre(unit + "Hysteresis_OnLevel_Number=2"));
    EXPECT_THAT(writesOfSet(FG_TRIGGER_QUEUE_FILLLEVEL_EVENT_OFF_THRESHOLD, 2047U),
                ElementsAre(unit + "Hysteresis_OffLevel_Number=2047"));
}

TEST_F(Trigger, EveryLineTakesEverySelection) {
    const std::uint32_t selects[] = {0, 1, 2, 3, 5, 5, 0, 1, 2, 3, 4, 4};
    const std::uint32_t inverts[] = {0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 0, 1};
    for (std::uint32_t value = 0; value < 12; ++value) {
        for (size_t line = 0; line < 4; ++line) {
            EXPECT_THAT(writesOfSet(FG_TRIGGERCC_SELECT0 + static_cast<std::int32_t>(line), value),
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
        std::int32_t id, value;
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
        EXPECT_EQ(board_.get<std::int32_t>(row.id), row.value);
    }
}

TEST_F(Trigger, StatusAnswersByModeAndState) {
    const std::int32_t ids[] = {FG_DIGIO_INPUT,
                                FG_TRIGGERQUEUE_FILLLEVEL,
                                FG_TRIGGER_EXCEEDED_PERIOD_LIMITS,
                                FG_MISSING_CAMERA_FRAME_RESPONSE,
                                FG_SOFTWARETRIGGER_IS_BUSY,
                                FG_SOFTWARETRIGGER_QUEUE_FILLLEVEL};
    const struct {
        std::uint32_t mode, state;
        std::uint32_t status, queue, over;
        std::array<std::uint32_t, 6> answers;
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
            EXPECT_EQ(board_.get<std::uint32_t>(ids[i]), row.answers[i]) << ids[i];
        }
    }
    const struct {
        std::int32_t id;
        const char* name;
    } frequencies[] = {{FG_TRIGGERIN_STATS_FREQUENCY, "ReadPeriod"},
                       {FG_TRIGGERIN_STATS_MINFREQUENCY, "ReadMin"},
                       {FG_TRIGGERIN_STATS_MAXFREQUENCY, "ReadMax"}};
    for (const auto& row : frequencies) {
        poke(unit + "InputStatistics_" + row.name + "_Status", 62500);
        EXPECT_EQ(board_.get<double>(row.id), 1 / (62500 * 16e-9));
        poke(unit + "InputStatistics_" + row.name + "_Status", 0);
        EXPECT_EQ(board_.get<double>(row.id), HUGE_VAL);
    }
    poke(unit + "InputStatistics_ReadPulses_Status", 17);
    poke(unit + "OutputStatistics_ReadPulses_Status", 18);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_TRIGGERIN_STATS_PULSECOUNT), 17U);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_TRIGGEROUT_STATS_PULSECOUNT), 18U);
}

/* Software trigger */

TEST_F(Trigger, SoftwareTriggersNeedTheirModeStateAndRoom) {
    const std::string pulse = unit + "TriggerMode_SoftwareTrigger_Mode=2";
    EXPECT_EQ(board_.set(FG_SENDSOFTWARETRIGGER, 0U), -6000);
    EXPECT_EQ(board_.set(FG_SENDSOFTWARETRIGGER, 2U), -6000);
    EXPECT_EQ(board_.set(FG_SENDSOFTWARETRIGGER, 1U), -2140);
    board_.change(FG_AREATRIGGERMODE, std::uint32_t{ATM_SOFTWARE});
    EXPECT_EQ(board_.set(FG_SENDSOFTWARETRIGGER, 1U), -2141);
    board_.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
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
    EXPECT_EQ(board_.get<std::uint32_t>(FG_SENDSOFTWARETRIGGER), peek(unit + "TriggerMode_SoftwareTrigger_Mode"));
}

} // namespace
} // namespace qelm::test
