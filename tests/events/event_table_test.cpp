#include "events/event_table.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace qelm::test {
namespace {

using namespace events;

using testing::IsNull;
using testing::StrEq;

constexpr const char* pin0 = "Device1_Process1_Trigger_TriggerInput_InputEvents_InputEvents_Pin0";
constexpr const char* overflow = "Device1_Process0_Overflow_Overflow";

ReadEvent listOf(const std::vector<DesignEvent>& events) {
    return [&events](std::uint32_t position) { return position < events.size() ? &events[position] : nullptr; };
}

TEST(EventTable, AliasesTakeTheNameOfTheirBitAndKindsOtherThanOneOnlyTheirBit) {
    const std::vector<DesignEvent> events = {{"First", 1}, {"Hidden", 0}, {overflow, 2}, {pin0, 1}, {pin0, 1}};
    EventTable table;
    table.build(listOf(events));
    EXPECT_EQ(table.mask("First"), 1u);
    EXPECT_THAT(table.name(1), StrEq("First"));
    EXPECT_EQ(table.mask("Hidden"), 0u);
    EXPECT_THAT(table.name(2), IsNull());
    EXPECT_EQ(table.mask(overflow), 0u) << "of a kind that goes by its alias alone";
    EXPECT_EQ(table.mask("FG_OVERFLOW_CAM0"), 4u);
    EXPECT_THAT(table.name(4), StrEq("FG_OVERFLOW_CAM0"));
    EXPECT_EQ(table.mask("FG_TRIGGER_INPUT0_RISING"), 8u) << "the first of two records of that name";
    EXPECT_THAT(table.name(8), StrEq("FG_TRIGGER_INPUT0_RISING"));
    EXPECT_EQ(table.mask(pin0), 16u) << "published one after the other";
    EXPECT_THAT(table.name(16), StrEq(pin0));
    for (const char* unknown : {"", "first", "FG_TRIGGER_INPUT0_FALLING"}) {
        EXPECT_EQ(table.mask(unknown), 0u) << unknown;
    }
    for (const std::uint64_t mask : {std::uint64_t{0}, std::uint64_t{3}, std::uint64_t{32}}) {
        EXPECT_THAT(table.name(mask), IsNull()) << mask;
    }
}

TEST(EventTable, TheLastBitIsBit63AndTheListIsNotReadBeyondPosition64) {
    std::vector<std::string> names;
    for (int i = 0; i < 70; ++i) {
        names.push_back("Event" + std::to_string(i));
    }
    names[64] = overflow; // has no bit, whatever its alias
    std::vector<DesignEvent> events;
    for (const std::string& name : names) {
        events.push_back({name.c_str(), 1});
    }
    std::uint32_t furthest = 0;
    EventTable table;
    table.build([&](std::uint32_t position) {
        furthest = std::max(furthest, position);
        return listOf(events)(position);
    });
    EXPECT_EQ(furthest, 64u);
    EXPECT_EQ(table.mask("Event63"), std::uint64_t{1} << 63);
    EXPECT_THAT(table.name(std::uint64_t{1} << 63), StrEq("Event63"));
    EXPECT_EQ(table.mask(overflow), 0u);
    EXPECT_EQ(table.mask("FG_OVERFLOW_CAM0"), 0u);
    EXPECT_THAT(table.name(1), StrEq("Event0"));
}

TEST(EventTable, KeepsCopiesSinceALoaderMayUseARecordAgain) {
    std::string name;
    DesignEvent record{};
    EventTable table;
    table.build([&](std::uint32_t position) -> const DesignEvent* {
        name = position == 1 ? overflow : "Event" + std::to_string(position);
        record = {name.c_str(), position == 1 ? 0 : 1};
        return position < 3 ? &record : nullptr;
    });
    EXPECT_EQ(table.mask("Event0"), 1u);
    EXPECT_EQ(table.mask("FG_OVERFLOW_CAM0"), 2u);
    EXPECT_EQ(table.mask(overflow), 0u);
    EXPECT_EQ(table.mask("Event2"), 4u);
}

TEST(EventTable, AnEmptyListKnowsNothing) {
    EventTable table;
    table.build(listOf({}));
    EXPECT_EQ(table.mask("FG_OVERFLOW_CAM0"), 0u);
    EXPECT_THAT(table.name(1), IsNull());
}

TEST(DesignEvents, AreFoundWhateverTheirKindAndBehindGaps) {
    const DesignEvent third{"Third", 7};
    const ReadEvent readEvent = [&](std::uint32_t position) { return position == 2 ? &third : nullptr; };
    EXPECT_EQ(designEventMask(readEvent, "Third"), 4u);
    EXPECT_EQ(designEventMask(readEvent, "Fourth"), 0u);
    EXPECT_EQ(designEventMask(readEvent, nullptr), 0u);
    EXPECT_THAT(designEventName(readEvent, 4), StrEq("Third"));
    EXPECT_THAT(designEventName(readEvent, 1), IsNull());
    EXPECT_THAT(designEventName(readEvent, 6), IsNull());
    EXPECT_THAT(designEventName(readEvent, 0), IsNull());
}

} // namespace
} // namespace qelm::test
