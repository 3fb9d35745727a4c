// Events by name and by mask, as the design of the board lists them.

#include "fixture.h"

namespace qelm::test {
namespace {

class Events : public BoardTest {
  protected:
    std::uint64_t mask(const char* name) const { return applet_->Fg_getEventMask(board_, name); }
    const char* name(std::uint64_t mask) const { return applet_->Fg_getEventName(board_, mask); }
};

TEST_F(Events, EveryAliasAndItsDesignNameStandForTheBitOfTheirPosition) {
    const std::string trigger = "Device1_Process1_Trigger_";
    std::vector<std::pair<std::string, std::string>> aliases = {
        {"Device1_Process0_Overflow_Overflow", "FG_OVERFLOW_CAM0"},
        {trigger + "Monitoring_FVALEvents_Cam0_FrameStart", "FG_START_OF_FRAME_CAM_PORT_0"},
        {trigger + "Monitoring_FVALEvents_Cam0_FrameEnd", "FG_END_OF_FRAME_CAM_PORT_0"},
        {trigger + "Monitoring_MonitoringEvents_Cam0Override", "FG_TRIGGER_EXCEEDED_PERIOD_LIMITS_CAM0"},
        {trigger + "Monitoring_MonitoringEvents_Cam0MissingFrame", "FG_MISSING_CAM0_FRAME_RESPONSE"},
        {trigger + "Monitoring_MonitoringEvents_Cam0HysteresisOn", "FG_TRIGGER_QUEUE_FILLLEVEL_THRESHOLD_CAM0_ON"},
        {trigger + "Monitoring_MonitoringEvents_Cam0HysteresisOff", "FG_TRIGGER_QUEUE_FILLLEVEL_THRESHOLD_CAM0_OFF"},
        {trigger + "Monitoring_MonitoringEvents_Cam0OutputEvent", "FG_TRIGGER_OUTPUT_CAM0"},
    };
    for (const char* pin : {"0", "1", "2", "3", "4", "5", "6", "7"}) {
        const std::string input = std::string("FG_TRIGGER_INPUT") + pin;
        aliases.emplace_back(trigger + "TriggerInput_InputEvents_InputEvents_Pin" + pin, input + "_RISING");
        aliases.emplace_back(trigger + "TriggerInput_InputEvents_InputEvents_NotPin" + pin, input + "_FALLING");
    }
    std::uint64_t all = 0;
    for (const auto& [design, alias] : aliases) {
        const std::uint64_t bit = mask(alias.c_str());
        EXPECT_EQ(lastError(board_), 0);
        EXPECT_TRUE(bit != 0 && (bit & (bit - 1)) == 0) << alias;
        EXPECT_EQ(mask(design.c_str()), bit) << design;
        EXPECT_STREQ(name(bit), alias.c_str());
        EXPECT_EQ(lastError(board_), 0);
        EXPECT_EQ(all & bit, 0u) << alias << " shares its bit";
        all |= bit;
    }
}

TEST_F(Events, WhatIsNoEventIsUnknown) {
    for (const char* unknown : {static_cast<const char*>(nullptr), "", "FG_NO_EVENT", "fg_overflow_cam0"}) {
        board_.set(FG_NOISEFILTER, 0); // clears the last error
        EXPECT_EQ(mask(unknown), 0u);
        EXPECT_EQ(lastError(board_), FG_ERROR_UNKNOWN);
    }
    for (const std::uint64_t unknown : {std::uint64_t{0}, std::uint64_t{3}, std::uint64_t{1} << 63}) {
        board_.set(FG_NOISEFILTER, 0);
        EXPECT_EQ(name(unknown), nullptr) << unknown;
        EXPECT_EQ(lastError(board_), FG_ERROR_UNKNOWN);
    }
    EXPECT_EQ(applet_->Fg_getEventMask(nullptr, "FG_OVERFLOW_CAM0"), 0u);
    EXPECT_EQ(applet_->Fg_getEventName(nullptr, 1), nullptr);
}

} // namespace
} // namespace qelm::test
