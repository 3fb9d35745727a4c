// Events by name and by mask, as the design of the board lists them.

#include "fixture.h"

namespace qelm::test {
namespace {

class Events : public BoardTest {
  protected:
    uint64_t mask(const char* name) const { return applet_->Fg_getEventMask(board_, name); }
    const char* name(uint64_t mask) const { return applet_->Fg_getEventName(board_, mask); }
};

TEST_F(Events, EveryAliasAndItsDesignNameStandForTheBitOfTheirPosition) {
    const struct {
        const char* design;
        const char* name;
    } aliases[] = {
#define EVENT_ALIAS(designEvent, name) {designEvent, name},
#include "events/event_aliases.inc"
    };
    ASSERT_EQ(std::size(aliases), 24u);
    uint64_t all = 0;
    for (const auto& alias : aliases) {
        const uint64_t bit = mask(alias.name);
        EXPECT_EQ(lastError(board_), 0);
        EXPECT_TRUE(bit != 0 && (bit & (bit - 1)) == 0) << alias.name;
        EXPECT_EQ(mask(alias.design), bit) << alias.design;
        EXPECT_STREQ(name(bit), alias.name);
        EXPECT_EQ(lastError(board_), 0);
        EXPECT_EQ(all & bit, 0u) << alias.name << " shares its bit";
        all |= bit;
    }
}

TEST_F(Events, WhatIsNoEventIsUnknown) {
    for (const char* unknown : {static_cast<const char*>(nullptr), "", "FG_NO_EVENT", "fg_overflow_cam0"}) {
        board_.set(FG_NOISEFILTER, 0); // clears the last error
        EXPECT_EQ(mask(unknown), 0u);
        EXPECT_EQ(lastError(board_), FG_ERROR_UNKNOWN);
    }
    for (const uint64_t unknown : {uint64_t{0}, uint64_t{3}, uint64_t{1} << 63}) {
        board_.set(FG_NOISEFILTER, 0);
        EXPECT_EQ(name(unknown), nullptr) << unknown;
        EXPECT_EQ(lastError(board_), FG_ERROR_UNKNOWN);
    }
    EXPECT_EQ(applet_->Fg_getEventMask(nullptr, "FG_OVERFLOW_CAM0"), 0u);
    EXPECT_EQ(applet_->Fg_getEventName(nullptr, 1), nullptr);
}

} // namespace
} // namespace qelm::test
