// The exported functions as such: boards without an applet, the last-error rules, and what is the runtime's.

#include "fixture.h"

#include <cstring>
#include <functional>

namespace qelm::test {
namespace {

class Exports : public BoardTest {
  protected:
    /** Leaves a last error behind that no call of the tests leaves. */
    void spoilLastError() {
        control().fail(board_.virtualBoard(), "Fg_setParameterWithType", nullptr, 0, 1, injected);
        ASSERT_EQ(board_.set(FG_NOISEFILTER, FG_ON), injected);
        control().clearFaults();
    }
};

TEST_F(Exports, RefuseABoardWithoutAnApplet) {
    const auto& f = applet_.functions();
    using Call = std::function<std::int64_t(BoardStructure*)>;
    const auto address = [](const void* pointer) {
        return static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(pointer));
    };
    double value = 0;
    size_t size = 0;
    const struct {
        const char* name;
        std::int64_t answer;
        Call call;
    } cases[] = {
        {"Fg_setParameterWithType", -2001, [&](auto* b) { return f.Fg_setParameterWithType(b, 100, &value, 0, 2); }},
        {"Fg_getParameterWithType", -2001, [&](auto* b) { return f.Fg_getParameterWithType(b, 100, &value, 0, 3); }},
        {"Fg_getParameterIdByName", -2001, [&](auto* b) { return f.Fg_getParameterIdByName(b, "FG_WIDTH"); }},
        {"Fg_getParameterName", 0, [&](auto* b) { return address(f.Fg_getParameterName(b, 0)); }},
        {"Fg_getParameterId", -2001, [&](auto* b) { return f.Fg_getParameterId(b, 0); }},
        {"Fg_getNrOfParameter", -2001, [&](auto* b) { return f.Fg_getNrOfParameter(b); }},
        {"Fg_saveConfig", -2001, [&](auto* b) { return f.Fg_saveConfig(b, "no.kcf"); }},
        {"Fg_loadConfig", -2001, [&](auto* b) { return f.Fg_loadConfig(b, "no.kcf"); }},
        {"Fg_getParameterInfoXML", -2001, [&](auto* b) { return f.Fg_getParameterInfoXML(b, 0, nullptr, &size); }},
        {"Fg_AllocShading", 0, [&](auto* b) { return address(f.Fg_AllocShading(b, 0, 0)); }},
        {"Fg_FreeShading", -2001, [&](auto* b) { return f.Fg_FreeShading(b, nullptr); }},
        {"Shad_SetSubValueLine", -2001, [&](auto* b) { return f.Shad_SetSubValueLine(b, nullptr, 0, 0, 0.F); }},
        {"Shad_SetMultValueLine", -2001, [&](auto* b) { return f.Shad_SetMultValueLine(b, nullptr, 0, 0, 0.F); }},
        {"Shad_SetFixedPatternNoiseLine", -2001,
         [&](auto* b) { return f.Shad_SetFixedPatternNoiseLine(b, nullptr, 0, 0, 0); }},
        {"Shad_GetMaxLine", -2001, [&](auto* b) { return f.Shad_GetMaxLine(b, nullptr); }},
        {"Shad_GetAccess", -2001, [&](auto* b) { return f.Shad_GetAccess(b, nullptr); }},
        {"Shad_FreeAccess", -2001, [&](auto* b) { return f.Shad_FreeAccess(b, nullptr); }},
        {"Shad_WriteActLine", -2001, [&](auto* b) { return f.Shad_WriteActLine(b, nullptr, 0); }},
        {"Fg_getEventMask", 0,
         [&](auto* b) { return static_cast<std::int64_t>(f.Fg_getEventMask(b, "FG_OVERFLOW_CAM0")); }},
        {"Fg_getEventName", 0, [&](auto* b) { return address(f.Fg_getEventName(b, 1)); }},
        {"Fg_getLastErrorNumber", -2001, [&](auto* b) { return f.Fg_getLastErrorNumber(b); }},
        {"Fg_getAppletId", -2001, [&](auto* b) { return f.Fg_getAppletId(b, nullptr); }},
        {"Fg_getStatusEx", -2001, [&](auto* b) { return f.Fg_getStatusEx(b, 1, 0, 0, nullptr); }},
        {"Fg_AcquireEx", -2001, [&](auto* b) { return f.Fg_AcquireEx(b, 0, 1, 0, nullptr); }},
        {"Fg_stopAcquireEx", -2001, [&](auto* b) { return f.Fg_stopAcquireEx(b, 0, nullptr, 0); }},
        {"Fg_getLastPicNumberEx", -2001, [&](auto* b) { return f.Fg_getLastPicNumberEx(b, 0, nullptr); }},
        {"Fg_getLastPicNumberBlockingEx", -2001,
         [&](auto* b) { return f.Fg_getLastPicNumberBlockingEx(b, 1, 0, 1, nullptr); }},
        {"Fg_getParameterInfo", 0, [&](auto* b) { return address(f.Fg_getParameterInfo(b, 100)); }},
        {"Fg_FreeGrabber", -2001, [&](auto* b) { return f.Fg_FreeGrabber(b); }},
    };
    static_assert(std::size(cases) == 29);
    BoardStructure empty{nullptr};
    for (const auto& row : cases) {
        EXPECT_EQ(row.call(nullptr), row.answer) << row.name;
        EXPECT_EQ(row.call(&empty), row.answer) << row.name;
        EXPECT_EQ(empty.applet, nullptr);
    }
    ASSERT_EQ(board_.free(), 0);
    for (const auto& row : cases) {
        EXPECT_EQ(row.call(board_), row.answer) << row.name << " after Fg_FreeGrabber";
    }
}

TEST_F(Exports, RecordTheLastErrorWhereTheyShould) {
    const auto& f = applet_.functions();
    std::uint32_t value = 0;
    constexpr std::int32_t kept = injected; // the operation leaves the last error alone
    const struct {
        const char* name;
        std::int64_t answer;
        std::int32_t lastError;
        std::function<std::int64_t()> call;
    } cases[] = {
        {"set", 0, 0, [&] { return board_.set(FG_WIDTH, 512U); }},
        {"refused set", -6000, -6000, [&] { return board_.set(FG_WIDTH, 8U); }},
        {"set null", -2070, -2070, [&] { return f.Fg_setParameterWithType(board_, FG_WIDTH, nullptr, 0, 2); }},
        {"get", 0, 0, [&] { return board_.get(FG_WIDTH, value); }},
        {"refused get", -2070, -2070, [&] { return board_.get(5, value); }},
        {"get null", -2070, -2070, [&] { return f.Fg_getParameterWithType(board_, FG_WIDTH, nullptr, 0, 3); }},
        {"id by name", 100, 0, [&] { return board_.findId("FG_WIDTH"); }},
        {"id by unknown name", -2070, -2070, [&] { return board_.findId("FG_NO_SUCH"); }},
        {"id by null", -2070, -2070, [&] { return board_.findId(nullptr); }},
        {"name", 'F', 0, [&] { return f.Fg_getParameterName(board_, 0)[0]; }},
        {"unknown name", 1, -2070, [&] { return f.Fg_getParameterName(board_, -1) == nullptr; }},
        {"id", 600, 0, [&] { return f.Fg_getParameterId(board_, 0); }},
        {"unknown id", -2070, -2070, [&] { return f.Fg_getParameterId(board_, 100000); }},
        {"number of parameters", fixedCount, kept, [&] { return f.Fg_getNrOfParameter(board_); }},
        {"parameter info", 1, kept, [&] { return f.Fg_getParameterInfo(board_, FG_WIDTH) != nullptr; }},
        {"info of an unknown id", 1, kept, [&] { return f.Fg_getParameterInfo(board_, 5) == nullptr; }},
        {"info without a node", 1, kept, [&] { return f.Fg_getParameterInfo(board_, FG_TRANSFER_LEN) == nullptr; }},
        {"last error", injected, kept, [&] { return f.Fg_getLastErrorNumber(board_); }},
        {"shading on port 1", 1, -1, [&] { return f.Fg_AllocShading(board_, 0, 1) == nullptr; }},
        {"applet id", 2628, 0, [&] { return f.Fg_getAppletId(board_, nullptr); }},
        {"status", 0, 0, [&] { return f.Fg_getStatusEx(board_, VIRTUAL_BOARD_STATUS_ACQUIRING, 0, 0, nullptr); }},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        spoilLastError();
        EXPECT_EQ(row.call(), row.answer);
        EXPECT_EQ(lastError(board_), row.lastError);
    }
}

TEST_F(Exports, RecordTheRuntimesOwnErrorWhenItAnswersANegativeResult) {
    const auto& f = applet_.functions();
    const struct {
        const char* name;
        std::function<std::int64_t()> call;
    } cases[] = {
        {"Fg_getAppletId", [&] { return f.Fg_getAppletId(board_, nullptr); }},
        {"Fg_getStatusEx", [&] { return f.Fg_getStatusEx(board_, 1, 2, 0, nullptr); }},
        {"Fg_AcquireEx", [&] { return f.Fg_AcquireEx(board_, 0, 1, 0, nullptr); }},
        {"Fg_stopAcquireEx", [&] { return f.Fg_stopAcquireEx(board_, 0, nullptr, 0); }},
        {"Fg_getLastPicNumberEx", [&] { return f.Fg_getLastPicNumberEx(board_, 0, nullptr); }},
        {"Fg_getLastPicNumberBlockingEx", [&] { return f.Fg_getLastPicNumberBlockingEx(board_, 1, 0, 1, nullptr); }},
    };
    for (const auto& row : cases) {
        control().fail(board_.virtualBoard(), row.name, nullptr, 0, 1, injected);
        control().fail(board_.virtualBoard(), "Fg_getLastErrorNumber", nullptr, 0, 1, -55);
        EXPECT_EQ(row.call(), injected) << row.name;
        EXPECT_EQ(lastError(board_), -55) << row.name;
        control().clearFaults();
    }
}

TEST_F(Exports, ClearTheWholeDestinationOfThe64BitTypesAlsoWhenTheGetFails) {
    constexpr std::uint64_t allOnes = ~std::uint64_t{0};
    const struct {
        std::int32_t type;
        std::int32_t id;
        std::int32_t code;
        std::uint64_t left;
    } cases[] = {
        {1, FG_WIDTH, 0, 0xFFFFFFFF00000400U},
        {2, FG_WIDTH, 0, 0xFFFFFFFF00000400U},
        {3, FG_WIDTH, 0, 1024},
        {4, FG_WIDTH, 0, 1024},
        {2, 5, -2070, allOnes},
        {3, 5, -2070, 0},
        {4, 5, -2070, 0},
        {5, 5, -2070, allOnes},
    };
    for (const auto& row : cases) {
        unsigned char place[sizeof allOnes + 1]; // callers need not align it
        std::memset(place, 0xFF, sizeof place);
        EXPECT_EQ(applet_->Fg_getParameterWithType(board_, row.id, place + 1, 0, row.type), row.code);
        std::uint64_t left = 0;
        std::memcpy(&left, place + 1, sizeof left);
        EXPECT_EQ(left, row.left) << "type " << row.type << ", id " << row.id;
    }
}

} // namespace
} // namespace qelm::test
