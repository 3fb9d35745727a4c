// Names, numbers and descriptions of the parameters.

#include "expected_parameters.h"
#include "fixture.h"

namespace qelm::test {
namespace {

class Registry : public BoardTest {};

TEST_F(Registry, EveryFixedParameterIsFoundByIndexAndName) {
    ASSERT_EQ(applet_->Fg_getNrOfParameter(board_), static_cast<std::int32_t>(std::size(expectedParameters)));
    for (const ExpectedParameter& row : expectedParameters) {
        EXPECT_STREQ(applet_->Fg_getParameterName(board_, row.index), row.name);
        EXPECT_EQ(applet_->Fg_getParameterId(board_, row.index), row.id) << row.name;
        EXPECT_EQ(applet_->Fg_getParameterIdByName(board_, row.name), row.id) << row.name;
    }
    EXPECT_EQ(applet_->Fg_getParameterName(board_, 7), applet_->Fg_getParameterName(board_, 7)) << "stays valid";
}

TEST_F(Registry, WhatIsNotThereIsUnknown) {
    for (const std::int32_t index : {-1, fixedCount, 1000, INT32_MIN, INT32_MAX}) {
        ASSERT_EQ(board_.findId("FG_WIDTH"), 100);
        EXPECT_EQ(applet_->Fg_getParameterName(board_, index), nullptr) << index;
        EXPECT_EQ(lastError(board_), -2070);
        ASSERT_EQ(board_.findId("FG_WIDTH"), 100);
        EXPECT_EQ(applet_->Fg_getParameterId(board_, index), -2070) << index;
        EXPECT_EQ(lastError(board_), -2070);
    }
    for (const char* name : {"", "FG_WIDT", "FG_WIDTHS", "fg_width", " FG_WIDTH", "DRA_ScratchPad",
                             "DZEA_Device1_Process0_Camera_Format"}) {
        EXPECT_EQ(board_.findId(name), -2070) << name;
    }
}

TEST_F(Registry, DescriptionsAreAskedForByName) {
    constexpr std::int32_t descriptionQuery = 24114;
    for (const ExpectedParameter& row : expectedParameters) {
        std::string text = row.name;
        EXPECT_EQ(board_.get(descriptionQuery, text), 0) << row.name;
        EXPECT_EQ(text, row.description) << row.name;
    }
    for (const char* name : {"", "FG_NO_SUCH", "fg_width"}) {
        std::string text = name;
        EXPECT_EQ(board_.get(descriptionQuery, text), -2070) << name;
        EXPECT_EQ(text, name);
    }
    EXPECT_EQ(board_.set(descriptionQuery, "FG_WIDTH"), -12);
}

} // namespace
} // namespace qelm::test
