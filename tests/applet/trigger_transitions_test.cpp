// The transitions between the trigger unit's modes and states: every change of every pair, every write of it failing.

#include "trigger_fixture.h"

#include <array>
#include <map>
#include <sstream>

namespace qelm::test {
namespace {

class Transitions : public Trigger {
  protected:
    Transitions() {
        board_.change(FG_TRIGGERCC_SELECT1, std::uint32_t{CC_PULSEGEN2});
        board_.change(FG_TRIGGEROUT_SELECT7, std::uint32_t{NOT_INPUT_BYPASS});
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
    constexpr std::uint32_t g = ATM_GENERATOR, s = ATM_SOFTWARE, e = ATM_EXTERNAL;
    constexpr std::uint32_t sync = TS_SYNC_STOP, async = TS_ASYNC_STOP, active = TS_ACTIVE;
    using Change = std::array<std::uint32_t, 4>; // mode, state, new mode, new state
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
    for (const std::uint32_t oldMode : {g, s, e}) {
        for (const std::uint32_t oldState : {sync, async, active}) {
            std::vector<Change> changes;
            for (const std::uint32_t newMode : {g, s, e}) {
                changes.push_back({oldMode, oldState, newMode, oldState});
            }
            for (const std::uint32_t newState : {sync, async, active}) {
                changes.push_back({oldMode, oldState, oldMode, newState});
            }
            for (const Change& change : changes) {
                const auto& [m, st, newMode, newState] = change;
                SCOPED_TRACE(testing::Message() << m << '/' << st << " to " << newMode << '/' << newState);
                const auto row = rows.find(change);
                tried += row != rows.end();
                const Writes expected = row == rows.end() ? Writes{} : writesOfActions(row->second);
                const bool ofMode = newMode != m;
                const std::int32_t id = ofMode ? FG_AREATRIGGERMODE : FG_TRIGGERSTATE;
                const std::uint32_t value = ofMode ? newMode : newState;
                enter(m, st);
                for (std::uint32_t position = 0; position < expected.size(); ++position) {
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
                EXPECT_EQ(described(board_, "FG_SENDSOFTWARETRIGGER").access, newMode == e ? 1 : 7);
            }
        }
    }
    EXPECT_EQ(tried, rows.size());
}

} // namespace
} // namespace qelm::test
