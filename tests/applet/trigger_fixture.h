#pragma once

#include "fixture.h"

/** What the tests of the trigger unit share. */
namespace qelm::test {

using Writes = std::vector<std::string>;

inline const std::string trigger = "Device1_Process1_Trigger_";
inline const std::string unit = trigger + "TriggerCam0_";
inline const std::string period = unit + "Generators_Generator_MinimumPeriod_Number";
inline const std::string generators = unit + "PulseFormGenerators_PulseFormGenerator";
inline const std::string queueStatus = trigger + "Monitoring_ReadQueueStatus_Status";
inline const std::string queueValue = unit + "Generators_QueueValue_Status";
inline const std::string periodOver = unit + "Generators_Generator_MaximumReached_Status";

inline Writes operator+(Writes left, const Writes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/** The writes of a line's selection. */
inline Writes route(const std::string& line, std::uint32_t select, std::uint32_t invert) {
    return {unit + line + "_Select_Select=" + std::to_string(select),
            unit + line + "_Polarity_Invert=" + std::to_string(invert)};
}
inline std::string cameraControl(size_t line) {
    return "CameraControl_Select" + std::to_string(line);
}
inline std::string output(size_t line) {
    return "TriggerOutput_Select" + std::to_string(line);
}

inline constexpr std::int32_t outputIds[] = {FG_TRIGGEROUT_SELECT0, FG_TRIGGEROUT_SELECT1, FG_TRIGGEROUT_SELECT2,
                                             FG_TRIGGEROUT_SELECT3, FG_TRIGGEROUT_SELECT4, FG_TRIGGEROUT_SELECT5,
                                             FG_TRIGGEROUT_SELECT6, FG_TRIGGEROUT_SELECT7};

class Trigger : public BoardTest {
  protected:
    std::uint32_t mode() const { return board_.get<std::uint32_t>(FG_AREATRIGGERMODE); }
    std::uint32_t state() const { return board_.get<std::uint32_t>(FG_TRIGGERSTATE); }
    /** By way of the stopped unit. */
    void enter(std::uint32_t mode, std::uint32_t state) {
        board_.change(FG_TRIGGERSTATE, std::uint32_t{TS_SYNC_STOP});
        board_.change(FG_AREATRIGGERMODE, mode);
        board_.change(FG_TRIGGERSTATE, state);
    }
    /** Leaves room for every rate: at the highest, a pulse of a generator may last 0.16 µs times its downscale. */
    void shortenPulses() {
        for (std::int32_t i = 0; i < 4; ++i) {
            board_.change(FG_TRIGGER_PULSEFORMGEN0_WIDTH + 4 * i, 1.0);
            board_.change(FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE + 4 * i, std::uint32_t{7});
        }
    }
    void failWrites(std::uint32_t skip, std::uint32_t count) {
        control().fail(board_.virtualBoard(), "Fg_setParameterWithType", nullptr, skip, count, injected);
    }
};

} // namespace qelm::test
