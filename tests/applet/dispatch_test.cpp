// Where a get or set goes by its identifier and port.

#include "fixture.h"

namespace qelm::test {
namespace {

constexpr std::int32_t registerBase = 1000000;
constexpr std::int32_t runtimeBase = 2000000;

class Dispatch : public BoardTest {};

TEST_F(Dispatch, UnknownIdentifiersAreUnknownToGetAndSet) {
    const std::int32_t identifiers[] = {INT32_MIN, -1,     0,      1,      99,     101,     299999,  300009,  300099,
                                        300109,    300199, 300239, 300255, 999999, 1000000, 1000005, 1008192, 2000000};
    for (const std::int32_t id : identifiers) {
        std::uint32_t value = 1;
        EXPECT_THAT(writesOf(board_, [&] { EXPECT_EQ(board_.set(id, value), -2070) << id; }), IsEmpty());
        EXPECT_EQ(lastError(board_), -2070);
        EXPECT_EQ(board_.get(id, value), -2070) << id;
        EXPECT_EQ(value, 1U);
    }
}

TEST_F(Dispatch, OnlyPort0HasParameters) {
    std::uint32_t value = 512;
    for (const std::uint32_t port : {1U, 2U, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_THAT(writesOf(board_,
                             [&] {
                                 EXPECT_EQ(applet_->Fg_setParameterWithType(board_, FG_WIDTH, &value, port, 2), -2070);
                                 EXPECT_EQ(applet_->Fg_getParameterWithType(board_, FG_WIDTH, &value, port, 2), -2070);
                                 EXPECT_EQ(applet_->Fg_getParameterWithType(board_, FG_NR_OF_DMAS, &value, port, 2),
                                           -2070);
                             }),
                    IsEmpty());
        // The port comes first: a read-only parameter is unknown there as well.
        EXPECT_EQ(applet_->Fg_setParameterWithType(board_, FG_PIXELDEPTH, &value, port, 2), -2070);
    }
    EXPECT_EQ(value, 512U);
}

TEST_F(Dispatch, ANullValueIsRefusedForEveryIdentifierAndType) {
    for (const std::int32_t id :
         {FG_WIDTH + 0, FG_PIXELDEPTH + 0, FG_HAP_FILE + 0, 5, registerBase + 24, runtimeBase + 600}) {
        for (const std::int32_t type : {1, 2, 3, 4, 5, 6}) {
            EXPECT_EQ(applet_->Fg_setParameterWithType(board_, id, nullptr, 0, type), -2070);
            EXPECT_EQ(applet_->Fg_getParameterWithType(board_, id, nullptr, 0, type), -2070);
            EXPECT_EQ(lastError(board_), -2070);
        }
    }
}

TEST_F(Dispatch, TheValueTypeCodeDoesNotMatter) {
    const std::uint32_t width = 256;
    for (const std::int32_t type : {-1, 0, 1, 2, 3, 4, 5, 6, 4096}) {
        EXPECT_EQ(applet_->Fg_setParameterWithType(board_, FG_WIDTH, &width, 0, type), 0);
        std::uint64_t value = 0;
        EXPECT_EQ(applet_->Fg_getParameterWithType(board_, FG_WIDTH, &value, 0, type), 0);
        EXPECT_EQ(value, width);
    }
}

TEST_F(Dispatch, ReadOnlyParametersCannotBeSet) {
    const std::int32_t identifiers[] = {601,    2000,   2050,   3050,   3060,   3070,   3080,   3090,   4000,
                                        5210,   8802,   14010,  24010,  24020,  24030,  24092,  24108,  30100,
                                        30101,  30103,  110075, 110086, 110087, 300006, 300007, 300008, 300202,
                                        300207, 300209, 300210, 300211, 300215, 300237, 300248};
    static_assert(std::size(identifiers) == 34);
    for (const std::int32_t id : identifiers) {
        EXPECT_THAT(writesOf(board_, [&] { EXPECT_EQ(board_.set(id, 0.0), -12) << id; }), IsEmpty());
        EXPECT_EQ(lastError(board_), -12);
    }
}

TEST_F(Dispatch, IdentifiersAbove2000000AreTheRuntimes) {
    std::uint32_t value = 77;
    EXPECT_THAT(writesOf(board_, [&] { EXPECT_EQ(board_.set(runtimeBase + 600, value), 0); }),
                ElementsAre("FG_TIMEOUT=77"));
    EXPECT_EQ(board_.get<std::uint32_t>(FG_TIMEOUT), 1000000U) << "past the applet's own parameter";
    EXPECT_EQ(board_.get<std::uint32_t>(runtimeBase + 600), 77U);
    EXPECT_EQ(lastError(board_), 0);

    // A design parameter, by the identifier that the runtime gives it; its limits are the design's.
    std::int32_t designId = 0;
    board_.clearTrace();
    for (std::int32_t id = 400001; designId == 0 && id < 400200; ++id) {
        const char* name = applet_->Fg_getParameterInfo(board_, id); // not the applet's: unknown to it
        ASSERT_EQ(name, nullptr);
        std::string anything; // the design's texts come by identifier, too
        if (board_.get(runtimeBase + id, anything) == 0 &&
            board_.trace().back().target == "Device1_Process0_Camera_Format") {
            designId = id;
        }
    }
    ASSERT_NE(designId, 0);
    EXPECT_THAT(writesOf(board_, [&] { EXPECT_EQ(board_.set(runtimeBase + designId, 2U), 0); }),
                ElementsAre("Device1_Process0_Camera_Format=2"));
    EXPECT_EQ(peek("Device1_Process0_Camera_Format"), 2U);

    // Refusals and ports are the runtime's too.
    EXPECT_EQ(board_.set(runtimeBase + designId, 3U), -6000);
    EXPECT_EQ(board_.set(runtimeBase + FG_NR_OF_DMAS, 3U), -12);
    EXPECT_EQ(board_.get(runtimeBase + 1, value), -2070);
    EXPECT_EQ(board_.get(INT32_MAX, value), -2070);
    control().fail(board_.virtualBoard(), "Fg_setParameter", "FG_TIMEOUT", 0, 1, injected);
    EXPECT_EQ(applet_->Fg_setParameterWithType(board_, runtimeBase + 600, &value, 1, 2), injected);
    EXPECT_EQ(lastError(board_), injected);
}

TEST(DirectRegisters, AreReachedWhenSwitchedOn) {
    host::setEnvironment("QELM_ENABLE_DRA", "on");
    const Applet applet;
    Board board(applet);
    const struct {
        const char* name;
        std::int32_t address;
        std::uint64_t value;
        bool isWide;
    } registers[] = {
        {"ScratchPad", 24, 0x89ABCDEFU, false},
        {"ScratchPadWide", 32, 0x0123456789ABCDEFU, true},
        {"LedControl", 40, 0xA5, false},
        {"AAGenSeed", 8264, 0xFEDCBA987654U, true}, // 48 bits
    };
    for (const auto& row : registers) {
        SCOPED_TRACE(row.name);
        const std::uint64_t given =
            row.isWide ? row.value : row.value | 0xFFFFFFFF00000000U; // the rest is not looked at
        EXPECT_THAT(
            writesOf(board,
                     [&] {
                         EXPECT_EQ(applet->Fg_setParameterWithType(board, registerBase + row.address, &given, 0, 2), 0);
                     }),
            ElementsAre(row.name + ("=" + std::to_string(row.value))));
        std::uint64_t read = ~std::uint64_t{0};
        EXPECT_EQ(applet->Fg_getParameterWithType(board, registerBase + row.address, &read, 7, 2), 0) << "on any port";
        EXPECT_EQ(read, row.isWide ? row.value : row.value | 0xFFFFFFFF00000000U);
    }
    std::uint64_t value = 5;
    // Codes are the register library's; a failing read leaves the destination alone.
    const std::int32_t readOnly = registerBase + 4660;
    EXPECT_EQ(applet->Fg_setParameterWithType(board, readOnly, &value, 0, 2), -12);
    EXPECT_EQ(lastError(board), -12);
    applet.virtualBoard()->fail(board.virtualBoard(), "readRegister", nullptr, 0, 1, injected);
    EXPECT_EQ(applet->Fg_getParameterWithType(board, readOnly, &value, 0, 2), injected);
    EXPECT_EQ(value, 5U);
    EXPECT_EQ(applet->Fg_getParameterWithType(board, registerBase + 5, &value, 0, 2), -2070) << "no such register";
    EXPECT_EQ(applet->Fg_getParameterWithType(board, registerBase, &value, 0, 2), -2070) << "not in the range";
    EXPECT_EQ(applet->Fg_setParameterWithType(board, registerBase + 24, nullptr, 0, 2), -2070);
    // The simulator's own values are not those of the registers behind it.
    EXPECT_EQ(board.set(registerBase + 8224, 9U), 0);
    EXPECT_EQ(board.get<std::uint32_t>(FG_GEN_HEIGHT), 512U);
    // The applet's own parameters and the runtime's stay where they are.
    EXPECT_EQ(board.get<std::uint32_t>(FG_WIDTH), 1024U);
    EXPECT_EQ(board.get<std::uint32_t>(runtimeBase + FG_NR_OF_DMAS), 1U);
    host::setEnvironment("QELM_ENABLE_DRA", nullptr);
}

TEST(DirectRegisters, AreSwitchedOnByFourWordsInAnyLetterCase) {
    const Applet applet;
    const auto isOn = [&](const char* text) {
        host::setEnvironment("QELM_ENABLE_DRA", text);
        const Board board(applet);
        host::setEnvironment("QELM_ENABLE_DRA", nullptr);
        std::uint32_t value = 0;
        return board.get(registerBase + 24, value) == 0;
    };
    for (const char* text : {"yes", "true", "on", "1", "YES", "True", "oN"}) {
        EXPECT_TRUE(isOn(text)) << text;
    }
    for (const char* text : {"", "0", "off", "y", "tru", "truee", "on ", "11"}) {
        EXPECT_FALSE(isOn(text)) << text;
    }
    EXPECT_FALSE(isOn(nullptr));
}

} // namespace
} // namespace qelm::test
