// The legacy parameter set: how it is switched, what it takes, how it drives the current one.

#include "expected_parameters.h"
#include "start_up_calls.h"
#include "trigger_fixture.h"

#include "qelm/host/values.h"

#include <map>
#include <set>
#include <string_view>

namespace qelm::test {
namespace {

class Legacy : public Trigger {
  protected:
    std::int32_t access(const char* name) const { return described(board_, name).access; }
    static bool isOfLegacySet(const host::Parameter& parameter) {
        static const std::set<std::string_view> names = {
            "FG_TRIGGERMODE", "FG_EXSYNCON",         "FG_EXSYNCDELAY",    "FG_EXPOSURE",    "FG_EXSYNCPOLARITY",
            "FG_FLASHON",     "FG_STROBEPULSEDELAY", "FG_FLASH_POLARITY", "FG_PRESCALER",   "FG_CCSEL0",
            "FG_CCSEL1",      "FG_CCSEL2",           "FG_CCSEL3",         "FG_DIGIO_OUTPUT"};
        return names.contains(parameter.name);
    }
    static bool isOfCurrentSet(const host::Parameter& parameter, const ExpectedDescription& atStart) {
        return parameter.id >= 300200 && parameter.id <= 300253 && atStart.access != 1;
    }
    void expectAccess(bool legacy) {
        const std::set<std::string_view> ofBoth = {"FG_TRIGGER_FRAMESPERSECOND", "FG_TRIGGERIN_SRC",
                                                   "FG_TRIGGERIN_POLARITY", "FG_SENDSOFTWARETRIGGER"};
        for (const ExpectedDescription& atStart : expectedDescriptions) {
            const host::Parameter parameter = described(board_, atStart.name);
            std::int32_t expected = atStart.access;
            if (ofBoth.contains(atStart.name)) {
                expected = 7;
            } else if (isOfLegacySet(parameter)) {
                expected = legacy ? 7 : 1;
            } else if (isOfCurrentSet(parameter, atStart)) {
                expected = legacy ? 1 : 7;
            }
            EXPECT_EQ(parameter.access, expected) << atStart.name;
        }
    }
    /** Sets a value that the parameter takes. @return the code */
    std::int32_t setAny(const host::Parameter& parameter) {
        std::string value = std::to_string(static_cast<std::int64_t>(parameter.minimum));
        if (!parameter.entries.empty()) {
            value = parameter.entries.front().name;
        } else if (parameter.kind == host::ParameterKind::floatingPoint) {
            value = std::to_string(parameter.minimum);
        }
        try {
            host::writeValue(board_, host::parseAssignment({&parameter, 1}, parameter.name + '=' + value));
        } catch (const host::AppletError& error) {
            return error.code();
        }
        return 0;
    }
    Writes lines(size_t from, size_t to, std::uint32_t select, std::uint32_t invert) const {
        Writes writes;
        for (size_t line = from; line <= to; ++line) {
            writes = writes + route(cameraControl(line), select, invert);
        }
        return writes;
    }
};

TEST_F(Legacy, SwitchingWritesTheDefaultsOfTheCurrentSetInOrder) {
    Writes defaults; // those of start-up, from the rate on, without the pulse counter
    bool reached = false;
    for (const auto& [heading, writes] : startUpGroups()) {
        reached = reached || heading == "FG_TRIGGER_FRAMESPERSECOND 8.0";
        if (reached && !heading.starts_with("FG_TRIGGERIN_STATS_PULSECOUNT_CLEAR")) {
            defaults = defaults + writes;
        }
    }
    ASSERT_GT(defaults.size(), 50U);
    board_.change(FG_TRIGGER_FRAMESPERSECOND, 4.0);
    board_.change(FG_TRIGGERCC_SELECT2, std::uint32_t{CC_PULSEGEN3});
    enter(ATM_EXTERNAL, TS_ACTIVE);
    const Writes stop = writesOf(board_, [&] { // before the other defaults: with the old rate and lines
        board_.change(FG_AREATRIGGERMODE, std::uint32_t{ATM_GENERATOR});
        board_.change(FG_TRIGGERSTATE, std::uint32_t{TS_SYNC_STOP});
    });
    enter(ATM_EXTERNAL, TS_ACTIVE);
    EXPECT_THAT(writesOfSet(FG_TRIGGER_LEGACY_MODE, FG_ON), ElementsAreArray(stop + defaults));
    EXPECT_THAT(writesOfSet(FG_TRIGGER_LEGACY_MODE, FG_OFF), ElementsAreArray(defaults));
}

TEST_F(Legacy, SwitchingBringsBothSetsToTheirDefaultsAndSkipsWhatFails) {
    const struct {
        std::int32_t id;
        std::uint32_t initial, other;
    } fields[] = {{FG_TRIGGERMODE, FREE_RUN, GRABBER_CONTROLLED},
                  {FG_EXSYNCON, FG_OFF, FG_ON},
                  {FG_FLASHON, FG_OFF, FG_ON},
                  {FG_EXPOSURE, 4000, 50},
                  {FG_EXSYNCPOLARITY, FG_LOW, FG_HIGH},
                  {FG_FLASH_POLARITY, FG_LOW, FG_HIGH},
                  {FG_CCSEL0, CC_EXSYNC, CC_VCC},
                  {FG_CCSEL1, CC_VCC, CC_GND},
                  {FG_CCSEL2, CC_VCC, CC_STROBEPULSE},
                  {FG_CCSEL3, CC_VCC, CC_NOT_EXSYNC},
                  {FG_DIGIO_OUTPUT, 3, 0}};
    const std::map<std::int32_t, double> delays = {
        {FG_EXSYNCDELAY, 0.0}, {FG_STROBEPULSEDELAY, 0.0}, {FG_PRESCALER, 10.0}};
    const struct {
        std::int32_t mode;
        std::uint32_t failAt; // the write that fails on the way
    } switches[] = {{FG_ON, 0}, {FG_OFF, 5}, {FG_ON, 9}, {FG_OFF, 20}, {FG_ON, 1000}};
    for (const auto& [mode, failAt] : switches) {
        SCOPED_TRACE(testing::Message() << mode << " with a failure at " << failAt);
        if (mode == FG_ON) {
            enter(ATM_EXTERNAL, TS_SYNC_STOP);
            board_.change(FG_TRIGGER_MULTIPLY_PULSES, 5U);
            board_.change(FG_TRIGGERCC_SELECT2, std::uint32_t{CC_PULSEGEN3});
        } else {
            for (const auto& field : fields) {
                board_.change(field.id, field.other);
            }
            for (const auto& [id, value] : delays) {
                board_.change(id, value + 20.0);
            }
        }
        failWrites(failAt, 1);
        EXPECT_EQ(writesOfSet(FG_TRIGGER_LEGACY_MODE, mode).back(), unit + "OutputEvent_Select_Select=0");
        control().clearFaults();
        EXPECT_EQ(board_.get<std::int32_t>(FG_TRIGGER_LEGACY_MODE), mode);
        expectAccess(mode == FG_ON);
        for (const auto& field : fields) {
            EXPECT_EQ(board_.get<std::uint32_t>(field.id), field.initial) << field.id;
        }
        for (const auto& [id, value] : delays) {
            EXPECT_EQ(board_.get<double>(id), value) << id;
        }
        EXPECT_THAT(writesOfSet(FG_TRIGGER_LEGACY_MODE, mode), IsEmpty()) << "it is in force already";
    }
    EXPECT_EQ(mode(), std::uint32_t{ATM_GENERATOR});
    EXPECT_EQ(state(), std::uint32_t{TS_SYNC_STOP});
    EXPECT_EQ(board_.get<std::uint32_t>(FG_TRIGGER_MULTIPLY_PULSES), 1U);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_TRIGGERCC_SELECT2), std::uint32_t{CC_VCC});
}

TEST_F(Legacy, ANewStateRefreshesTheAccessThatASwitchHasLeft) {
    enter(ATM_EXTERNAL, TS_SYNC_STOP);
    for (const std::int32_t legacyMode : {FG_ON, FG_OFF}) {
        failWrites(0, 1); // the default of the mode, which stays
        board_.change(FG_TRIGGER_LEGACY_MODE, legacyMode);
        control().clearFaults();
        ASSERT_EQ(mode(), std::uint32_t{ATM_EXTERNAL});
        EXPECT_EQ(access("FG_SENDSOFTWARETRIGGER"), 7);
    }
    board_.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
    EXPECT_EQ(access("FG_SENDSOFTWARETRIGGER"), 1);
}

TEST_F(Legacy, RefusalsHaveAnOrder) {
    const struct {
        std::int32_t mode;
        std::int32_t id;
        std::uint32_t value;
        std::int32_t code;
    } cases[] = {
        // What a legacy parameter could not take is refused as such, whatever set is in force.
        {FG_OFF, FG_EXPOSURE, 5, -6000},
        {FG_OFF, FG_EXPOSURE, 15, -7080},
        {FG_OFF, FG_EXPOSURE, 20, -2070},
        {FG_OFF, FG_FLASHON, 7, -6000},
        {FG_OFF, FG_DIGIO_OUTPUT, 4, -6000},
        // A current parameter is not looked at while the other set is in force; a shared one is.
        {FG_ON, FG_AREATRIGGERMODE, 99, -2070},
        {FG_ON, FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE, 99, -2070},
        {FG_ON, FG_TRIGGEROUT_SELECT0, 99, -2070},
        {FG_ON, FG_TRIGGERIN_STATS_MINMAXFREQUENCY_CLEAR, 99, -2070},
        {FG_ON, FG_TRIGGERIN_SRC, 99, -6000},
        // Out of range before anything about the state of the unit.
        {FG_OFF, FG_SENDSOFTWARETRIGGER, 0, -6000},
        {FG_OFF, FG_SENDSOFTWARETRIGGER, 2, -6000},
        {FG_OFF, FG_SENDSOFTWARETRIGGER, 1, -2140},
    };
    for (const auto& row : cases) {
        board_.change(FG_TRIGGER_LEGACY_MODE, row.mode);
        expectRefused(row.id, row.value, row.code);
    }
}

TEST_F(Legacy, OnlyTheSetInForceTakesValues) {
    for (const std::int32_t legacyMode : {FG_OFF, FG_ON}) {
        board_.change(FG_TRIGGER_LEGACY_MODE, legacyMode);
        for (const ExpectedDescription& atStart : expectedDescriptions) {
            const host::Parameter parameter = described(board_, atStart.name);
            if (legacyMode == FG_ON ? isOfCurrentSet(parameter, atStart) : isOfLegacySet(parameter)) {
                SCOPED_TRACE(parameter.name);
                const host::Reference reference{&parameter};
                const host::Value before = host::readValue(board_, reference);
                EXPECT_THAT(writesOf(board_, [&] { EXPECT_EQ(setAny(parameter), -2070); }), IsEmpty());
                EXPECT_EQ(host::readValue(board_, reference), before);
            }
        }
    }
    board_.change(FG_TRIGGERIN_SRC, 2U); // shared
    board_.change(FG_TRIGGERIN_POLARITY, LOW_ACTIVE);
}

TEST_F(Legacy, AFailureLeavesNoDoorOpenToTheCurrentSet) {
    board_.change(FG_TRIGGER_LEGACY_MODE, FG_ON);
    failWrites(2, 1); // the third width
    EXPECT_EQ(board_.set(FG_EXPOSURE, 1000U), injected);
    control().clearFaults();
    EXPECT_EQ(board_.get<std::uint32_t>(FG_EXPOSURE), 4000U);
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
        std::uint32_t legacy, mode, state, minimumPeriod;
    } rows[] = {{ASYNC_TRIGGER, ATM_EXTERNAL, TS_ACTIVE, 10},
                {GRABBER_CONTROLLED, ATM_GENERATOR, TS_ACTIVE, 10}, // the queue has the last word
                {GRABBER_CONTROLLED, ATM_GENERATOR, TS_ACTIVE, 10},
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
    board_.change(FG_TRIGGERMODE, std::uint32_t{ASYNC_TRIGGER});
    EXPECT_THAT(writesOfSet(FG_TRIGGER_FRAMESPERSECOND, 16.0), ElementsAre(period + "=10")) << "the input has the say";
    failWrites(0, 1);
    EXPECT_EQ(board_.set(FG_TRIGGERMODE, std::uint32_t{FREE_RUN}), injected);
    control().clearFaults();
    EXPECT_EQ(board_.get<std::uint32_t>(FG_TRIGGERMODE), std::uint32_t{ASYNC_TRIGGER});
    EXPECT_EQ(state(), std::uint32_t{TS_ACTIVE});
}

TEST_F(Legacy, LinesFollowSelectionSwitchAndPolarity) {
    board_.change(FG_TRIGGER_LEGACY_MODE, FG_ON);
    const struct {
        std::uint32_t selection;
        std::uint32_t pulse; // the generator; 4 for constant levels
        std::uint32_t onHigh, onLow, offHigh, offLow;
    } rows[] = {
        {CC_EXSYNC, 0, CC_PULSEGEN0, CC_NOT_PULSEGEN0, CC_GND, CC_VCC},
        {CC_NOT_EXSYNC, 0, CC_NOT_PULSEGEN0, CC_PULSEGEN0, CC_VCC, CC_GND},
        {CC_STROBEPULSE, 1, CC_PULSEGEN1, CC_NOT_PULSEGEN1, CC_GND, CC_VCC},
        {CC_NOT_STROBEPULSE, 1, CC_NOT_PULSEGEN1, CC_PULSEGEN1, CC_VCC, CC_GND},
        {CC_GND, 4, CC_GND, CC_GND, CC_GND, CC_GND},
        {CC_VCC, 4, CC_VCC, CC_VCC, CC_VCC, CC_VCC},
    };
    for (const auto& row : rows) {
        for (const std::int32_t on : {FG_ON, FG_OFF}) {
            for (const std::int32_t polarity : {FG_HIGH, FG_LOW}) {
                board_.change(row.pulse == 1 ? FG_FLASHON : FG_EXSYNCON, static_cast<std::uint32_t>(on));
                board_.change(row.pulse == 1 ? FG_FLASH_POLARITY : FG_EXSYNCPOLARITY,
                              static_cast<std::uint32_t>(polarity));
                board_.change(FG_CCSEL3, row.selection);
                const std::uint32_t expected = on == FG_ON ? (polarity == FG_HIGH ? row.onHigh : row.onLow)
                                                           : (polarity == FG_HIGH ? row.offHigh : row.offLow);
                EXPECT_EQ(board_.get<std::uint32_t>(FG_TRIGGERCC_SELECT3), expected) << row.selection << on << polarity;
                if (row.selection == CC_EXSYNC || row.selection == CC_STROBEPULSE) {
                    EXPECT_EQ(board_.get<std::uint32_t>(outputIds[row.pulse]), expected);
                }
            }
        }
    }
    board_.change(FG_EXSYNCPOLARITY, std::uint32_t{FG_HIGH});
    board_.change(FG_CCSEL3, std::uint32_t{CC_NOT_EXSYNC});
    EXPECT_THAT(writesOfSet(FG_EXSYNCON, 1U), ElementsAreArray(route(cameraControl(0), 0, 0) + lines(1, 2, 5, 1) +
                                                               route(cameraControl(3), 0, 1) + route(output(0), 0, 0)));
    board_.change(FG_FLASH_POLARITY, std::uint32_t{FG_HIGH});
    board_.change(FG_CCSEL3, std::uint32_t{CC_NOT_STROBEPULSE});
    EXPECT_THAT(writesOfSet(FG_FLASHON, 1U), ElementsAreArray(route(cameraControl(0), 0, 0) + lines(1, 2, 5, 1) +
                                                              route(cameraControl(3), 1, 1) + route(output(1), 1, 0)));
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
