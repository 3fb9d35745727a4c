// The trigger unit of the virtual board, driven through design parameters, pins and virtual time.

#include "fixture.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace qelm::test {
namespace {

using testing::ElementsAre;

const std::string trigger = "Device1_Process1_Trigger_";
const std::string unit = trigger + "TriggerCam0_";
constexpr std::uint64_t tick = 16; // ns

class TriggerUnit : public testing::Test {
  protected:
    TriggerUnit() {
        write("PulseFormGenerators_Enable_Select", 1);
        write("PulseFormGenerators_PulseFormGenerator0_Width_Width", 5);
        write("TriggerOutput_Select0_Select_Select", 0);
        virtualBoardRecordEvents(started_.board, 1);
    }

    void write(const std::string& name, std::uint32_t value) {
        ASSERT_EQ(started_.set((unit + name).c_str(), value), 0);
    }
    std::uint32_t read(const std::string& name) {
        std::uint32_t value = 0;
        EXPECT_EQ(virtualBoardGetDesignValue(started_.board, name.c_str(), 0, &value), 0) << name;
        return value;
    }
    std::uint32_t readUnit(const std::string& name) { return read(unit + name); }
    void advance(std::uint64_t ticks) { EXPECT_EQ(virtualBoardAdvance(started_.board, ticks * tick), 0); }
    void pin(std::uint32_t number, bool level) { EXPECT_EQ(virtualBoardSetInput(started_.board, number, level), 0); }
    /** A pulse that the debounce lets pass, `length` ticks in all; it takes effect after 6 of them. */
    void pulse(std::uint32_t number, std::uint64_t length) {
        pin(number, true);
        advance(8);
        pin(number, false);
        advance(length - 8);
    }
    std::uint64_t pulses(std::uint32_t output = 0) {
        std::int32_t level = 0;
        std::uint64_t count = 0;
        EXPECT_EQ(virtualBoardGetOutput(started_.board, output, &level, &count), 0);
        return count;
    }
    bool level(std::uint32_t output = 0) {
        std::int32_t high = 0;
        std::uint64_t count = 0;
        EXPECT_EQ(virtualBoardGetOutput(started_.board, output, &high, &count), 0);
        return high != 0;
    }
    /** The last parts of the names of the events so far, with their times in ticks; the list starts anew. */
    std::vector<std::string> events() {
        std::size_t count = 0;
        virtualBoardEventCount(started_.board, &count);
        std::vector<std::string> list;
        for (std::size_t i = 0; i < count; ++i) {
            VirtualBoardEvent event{};
            virtualBoardEventAt(started_.board, i, &event);
            const std::string name = event.name;
            list.push_back(name.substr(name.rfind('_') + 1) + "@" + std::to_string(event.nanoseconds / tick));
        }
        virtualBoardRecordEvents(started_.board, 1);
        return list;
    }
    /** As for external or software triggers: from the queue, with that minimum period. */
    void takeTriggers(std::uint32_t minimumPeriod) {
        write("Generators_ClearQueuePulse_Mode", 1);
        write("Generators_EnableQueue_Select", 1);
        write("Generators_Generator_MinimumPeriod_Number", minimumPeriod);
        write("Generators_ClearQueuePulse_Mode", 0);
        advance(1000); // whatever was under way is over
        events();
    }

    /** So many pulses of a trigger, of which the selected one is the last. */
    void multiply(std::uint32_t pulses, std::uint32_t selected) {
        write("Generators_Sequence_Downscale", pulses);
        write("Generators_Sequence_SelectedPulse", selected);
        write("Generators_ClearDownscale_Mode", 2);
    }

    StartedBoard started_;
};

TEST_F(TriggerUnit, PinsAreDebouncedAndRaiseTheirEdges) {
    ASSERT_EQ(started_.set((trigger + "TriggerInput_Debounce8_Prescale_Period").c_str(), 21), 0);
    write("Generators_ClearQueuePulse_Mode", 1);
    advance(10);
    pin(3, true);
    advance(62);
    EXPECT_EQ(read(trigger + "TriggerInput_InputStatus_Status"), 0u);
    advance(1);
    EXPECT_EQ(read(trigger + "TriggerInput_InputStatus_Status"), 8u);
    pin(3, false); // a glitch
    advance(62);
    pin(3, true);
    advance(100);
    pin(3, false);
    advance(63);
    EXPECT_THAT(events(), ElementsAre("Pin3@73", "NotPin3@298"));
    EXPECT_EQ(virtualBoardSetInput(started_.board, 8, 1), -2070);
    EXPECT_EQ(virtualBoardAdvance(started_.board, 3600000000001), -6000);
    std::uint64_t now = 0;
    EXPECT_EQ(virtualBoardAdvance(started_.board, 7), 0);
    EXPECT_EQ(virtualBoardAdvance(started_.board, 10), 0); // parts of a tick add up
    EXPECT_EQ(virtualBoardGetTime(started_.board, &now), 0);
    EXPECT_EQ(now, 298 * tick + 17);
}

TEST_F(TriggerUnit, InputStatisticsCountEveryPulseOfTheSelectedPin) {
    ASSERT_EQ(started_.set((trigger + "TriggerInput_Debounce8_Prescale_Period").c_str(), 2), 0);
    write("InputSelect_Select_Select", 5);
    pulse(4, 100); // not selected
    for (const std::uint64_t period : {100U, 300U, 200U}) {
        pulse(5, period);
    }
    pulse(5, 100);
    EXPECT_EQ(readUnit("InputStatistics_ReadPulses_Status"), 4u);
    EXPECT_EQ(readUnit("InputStatistics_ReadPeriod_Status"), 200u);
    EXPECT_EQ(readUnit("InputStatistics_ReadMin_Status"), 300u) << "of the lowest frequency";
    EXPECT_EQ(readUnit("InputStatistics_ReadMax_Status"), 100u);
    write("InputStatistics_ClearPulses_Mode", 2);
    write("InputStatistics_ClearMinMax_Value", 1);
    EXPECT_EQ(readUnit("InputStatistics_ReadPulses_Status"), 0u);
    EXPECT_EQ(readUnit("InputStatistics_ReadMin_Status"), 0u);
    write("InputSelect_Polarity_Invert", 1); // the resting pin is active now: a rising edge
    EXPECT_EQ(readUnit("InputStatistics_ReadPulses_Status"), 1u);
}

TEST_F(TriggerUnit, TheGeneratorKeepsItsPeriodAndTheFormGeneratorTheirs) {
    write("Generators_ClearQueuePulse_Mode", 1);
    write("PulseFormGenerators_PulseFormGenerator0_Downscale_Downscale", 3);
    write("PulseFormGenerators_PulseFormGenerator0_Downscale_SelectedPulse", 1);
    write("PulseFormGenerators_PulseFormGenerator0_ClearDownscale_Mode", 2);
    write("PulseFormGenerators_PulseFormGenerator0_Delay_Delay", 7);
    write("Generators_Generator_MinimumPeriod_Number", 41);
    write("TriggerOutput_Select1_Select_Select", 0);
    write("TriggerOutput_Select1_Polarity_Invert", 1);
    advance(1000);
    const std::uint64_t before = pulses();
    write("Generators_ClearQueuePulse_Mode", 0); // pulses at 0, 50, 100, ...; the second of three passes
    EXPECT_EQ(readUnit("Generators_Generator_MaximumReached_Status"), 0u);
    advance(56);
    EXPECT_FALSE(level());
    advance(1);
    EXPECT_TRUE(level());
    EXPECT_FALSE(level(1)) << "inverted";
    advance(4);
    EXPECT_TRUE(level());
    advance(1);
    EXPECT_FALSE(level());
    advance(150 * 9);
    EXPECT_EQ(pulses() - before, 10u);
    EXPECT_EQ(readUnit("OutputStatistics_ReadPulses_Status"), pulses());
    write("Generators_ClearQueuePulse_Mode", 1);
    advance(1000);
    EXPECT_EQ(pulses() - before, 10u);
    EXPECT_EQ(readUnit("Generators_Generator_MaximumReached_Status"), 1u);
}

TEST_F(TriggerUnit, SoftwareTriggersQueueAndAreMultiplied) {
    write("Generators_Queue_QueueEnabled_Select", 1);
    write("Generators_Queue_QueueFullValue_Number", 4);
    multiply(3, 3);
    write("Hysteresis_OnLevel_Number", 3);
    write("Hysteresis_OffLevel_Number", 2);
    takeTriggers(91); // a period of 100
    const std::uint64_t before = pulses();
    for (int i = 0; i < 5; ++i) { // one is worked off at once, four wait
        write("TriggerMode_SoftwareTrigger_Mode", 2);
    }
    EXPECT_EQ(readUnit("Generators_QueueValue_Status"), 4u);
    EXPECT_EQ(read(trigger + "Monitoring_ReadQueueStatus_Status"), 2u);
    write("TriggerMode_SoftwareTrigger_Mode", 2); // one too many
    EXPECT_EQ(read(trigger + "Monitoring_ReadQueueStatus_Status"), 3u);
    EXPECT_EQ(started_.set((trigger + "Monitoring_ClearOverrideCam0_Mode").c_str(), 2), 0);
    EXPECT_EQ(read(trigger + "Monitoring_ReadQueueStatus_Status"), 2u);
    advance(300);
    EXPECT_EQ(readUnit("Generators_QueueValue_Status"), 3u);
    advance(300);
    EXPECT_EQ(readUnit("Generators_QueueValue_Status"), 2u);
    advance(2000);
    EXPECT_EQ(readUnit("Generators_QueueValue_Status"), 0u);
    EXPECT_EQ(pulses() - before, 15u);
    std::vector<std::string> monitoring;
    for (const std::string& event : events()) {
        if (!event.starts_with("Cam0OutputEvent")) {
            monitoring.push_back(event.substr(0, event.find('@')));
        }
    }
    EXPECT_THAT(monitoring, ElementsAre("Cam0HysteresisOn", "Cam0Override", "Cam0HysteresisOff"));
}

TEST_F(TriggerUnit, ANewPeriodHoldsAtOnce) {
    write("Generators_ClearQueuePulse_Mode", 1);
    write("Generators_Generator_MinimumPeriod_Number", 999'991);
    advance(1000); // whatever was under way is over
    const std::uint64_t before = pulses();
    write("Generators_ClearQueuePulse_Mode", 0); // the first pulse; the next would come after a million ticks
    advance(300);
    EXPECT_EQ(pulses() - before, 1u);
    write("Generators_Generator_MinimumPeriod_Number", 391); // 400
    advance(99);
    EXPECT_EQ(pulses() - before, 1u);
    advance(1);
    EXPECT_EQ(pulses() - before, 2u);
    advance(399);
    write("Generators_Generator_MinimumPeriod_Number", 491); // 500, of which 399 are over
    advance(100);
    EXPECT_EQ(pulses() - before, 2u);
    advance(1);
    EXPECT_EQ(pulses() - before, 3u);
    write("Generators_Generator_MinimumPeriod_Number", 191); // 200
    advance(199);
    EXPECT_EQ(pulses() - before, 3u);
    write("Generators_Generator_MinimumPeriod_Number", 91); // less than is over already
    EXPECT_EQ(pulses() - before, 4u);
}

TEST_F(TriggerUnit, ClearingTheQueuePulseEndsThePeriod) {
    write("Generators_ClearQueuePulse_Mode", 1);
    write("Generators_Generator_MinimumPeriod_Number", 999'991);
    advance(1000); // whatever was under way is over
    const std::uint64_t before = pulses();
    write("Generators_ClearQueuePulse_Mode", 0);
    advance(100);
    EXPECT_EQ(readUnit("Generators_Generator_MaximumReached_Status"), 0u);
    write("Generators_ClearQueuePulse_Mode", 1);
    EXPECT_EQ(readUnit("Generators_Generator_MaximumReached_Status"), 1u);
    advance(100);
    EXPECT_EQ(pulses() - before, 1u);
    write("Generators_ClearQueuePulse_Mode", 0);
    EXPECT_EQ(pulses() - before, 2u);
    advance(999'999);
    EXPECT_EQ(pulses() - before, 2u);
    advance(1);
    EXPECT_EQ(pulses() - before, 3u);
}

TEST_F(TriggerUnit, TheSelectedPulseOfASequenceIsATriggersLast) {
    write("Generators_Queue_QueueEnabled_Select", 1);
    write("Generators_Queue_QueueFullValue_Number", 4);
    const struct {
        std::uint32_t pulses, selected;
        std::vector<std::uint64_t> afterTriggers; // one, two and three of them
    } cases[] = {
        {1, 1, {1, 2, 3}},
        {3, 3, {3, 6, 9}},
        {3, 2, {2, 5, 8}},       // the sequence goes on with its third
        {2, 3, {100, 100, 100}}, // the third of two never comes
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(std::to_string(row.selected) + " of " + std::to_string(row.pulses));
        takeTriggers(91); // a period of 100
        multiply(row.pulses, row.selected);
        for (std::size_t triggers = 1; triggers <= row.afterTriggers.size(); ++triggers) {
            takeTriggers(91);
            const std::uint64_t before = pulses();
            for (std::size_t i = 0; i < triggers; ++i) {
                write("TriggerMode_SoftwareTrigger_Mode", 2);
            }
            advance(99 * 100 + 1);
            EXPECT_EQ(pulses() - before, row.afterTriggers[triggers - 1]) << triggers;
        }
    }
}

TEST_F(TriggerUnit, WithoutAQueueATriggerThatComesTooEarlyIsLost) {
    ASSERT_EQ(started_.set((trigger + "TriggerInput_Debounce8_Prescale_Period").c_str(), 2), 0);
    write("TriggerMode_SelectExternal_Select", 1);
    write("Downscale_Downscale_Downscale", 2);
    write("Downscale_Downscale_SelectedPulse", 1);
    write("TriggerOutput_Select4_Select_Select", 4); // the pin itself
    takeTriggers(191);                               // a period of 200
    const std::uint64_t before = pulses();
    for (const std::uint64_t length : {50U, 50U, 50U, 100U, 50U, 50U}) { // passing at 56, 156 and 306
        pulse(0, length);
    }
    EXPECT_EQ(pulses() - before, 2u);
    EXPECT_EQ(pulses(4), 6u);
    EXPECT_EQ(read(trigger + "Monitoring_ReadQueueStatus_Status"), 1u);
    write("TriggerMode_SelectExternal_Select", 0);
    for (int i = 0; i < 4; ++i) {
        pulse(0, 500);
    }
    EXPECT_EQ(pulses() - before, 2u);
}

} // namespace
} // namespace qelm::test
