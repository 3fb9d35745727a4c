// One walk over all parameters: whatever a parameter says about itself, its gets and sets keep to it. What they have to
// say stands in the tests of the descriptions.

#include "fixture.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <type_traits>

namespace qelm::test {
namespace {

using host::Parameter;
using host::ParameterKind;

/** Brings a fresh board to where a parameter takes all values within its limits. */
void makeRoom(Board& board, const Parameter& parameter) {
    if (parameter.category == "Trigger / Legacy") {
        board.change(FG_TRIGGER_LEGACY_MODE, std::int32_t{FG_ON});
    } else if (parameter.category.starts_with("Trigger / Pulse Form Generator")) {
        board.change(FG_TRIGGER_FRAMESPERSECOND, 0.01455191522836685);
    }
    switch (parameter.id) {
    case FG_TRIGGER_FRAMESPERSECOND:
        for (std::int32_t i = 0; i < 4; ++i) {
            board.change(FG_TRIGGER_PULSEFORMGEN0_WIDTH + 4 * i, 1.0);
            board.change(FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE + 4 * i, 7U);
        }
        break;
    case FG_SENDSOFTWARETRIGGER:
        board.change(FG_TRIGGERQUEUE_MODE, std::int32_t{FG_ON});
        board.change(FG_AREATRIGGERMODE, std::uint32_t{ATM_SOFTWARE});
        board.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
        break;
    case FG_GEN_ACCURACY:
        board.change(FG_GEN_FREQ, 125.0);
        break;
    case FG_IMG_SELECT:
        board.change(FG_IMG_SELECT_PERIOD, 256U);
        break;
    case FG_SHADING_GAIN_NORMALIZATION_VALUE:
        board.change(FG_SHADING_GAIN_CORRECTION_MODE, std::uint32_t{FG_CUSTOM_VALUE});
        break;
    default:
        break;
    }
}

class Conformance : public testing::TestWithParam<ParameterKind> {
  protected:
    template <typename Value>
    void expectRefused(Board& board, const Parameter& parameter, Value value, std::int32_t code) {
        SCOPED_TRACE(testing::Message() << parameter.name << " = " << value);
        const auto before = board.get<Value>(parameter.id);
        EXPECT_THAT(writesOf(board, [&] { EXPECT_EQ(board.set(parameter.id, value), code); }), IsEmpty());
        EXPECT_EQ(board.get<Value>(parameter.id), before);
    }

    template <typename Value>
    void expectAccepted(Board& board, const Parameter& parameter, Value value) {
        SCOPED_TRACE(testing::Message() << parameter.name << " = " << value);
        EXPECT_EQ(board.set(parameter.id, value), 0);
        if (parameter.id != FG_SENDSOFTWARETRIGGER) { // a command
            // Times and rates are told as the design counts them, in steps of 16 ns.
            const bool counted = std::is_same_v<Value, double> && parameter.category.starts_with("Trigger");
            EXPECT_NEAR(board.get<Value>(parameter.id), value, counted ? 0.016 : 0.0);
        }
    }

    void walkInteger(Board& board, const Parameter& parameter) {
        const auto minimum = static_cast<std::uint32_t>(parameter.minimum);
        const auto maximum = static_cast<std::uint32_t>(parameter.maximum);
        expectAccepted(board, parameter, minimum);
        expectAccepted(board, parameter, maximum);
        for (const std::uint32_t outside : {minimum - 1, maximum + 1}) { // below 0: all ones
            if (outside < minimum || outside > maximum) {
                expectRefused(board, parameter, outside, -6000);
            }
        }
        if (parameter.increment > 1 && minimum < maximum) {
            expectRefused(board, parameter, minimum + 1, -7080);
        }
    }

    void walkFloat(Board& board, const Parameter& parameter) {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        expectAccepted(board, parameter, parameter.minimum);
        expectAccepted(board, parameter, parameter.maximum);
        for (const double value :
             {std::nextafter(parameter.minimum, -infinity), parameter.minimum - 1,
              std::nextafter(parameter.maximum, infinity), parameter.maximum + 1, -infinity, infinity, std::nan("")}) {
            expectRefused(board, parameter, value, -6000);
        }
    }

    void walkEnumeration(Board& board, const Parameter& parameter) {
        const auto [lowest, highest] = std::ranges::minmax(parameter.entries, {}, &host::EnumerationEntry::value);
        for (std::int32_t value = lowest.value - 1; value <= highest.value + 1; ++value) {
            if (parameter.findEntry(value) != nullptr) {
                expectAccepted(board, parameter, value);
            } else {
                expectRefused(board, parameter, value, -6000);
            }
        }
        expectRefused(board, parameter, INT32_MAX, -6000);
        expectRefused(board, parameter, INT32_MIN, -6000);
    }
};

TEST_P(Conformance, SettableParametersKeepToTheirDescription) {
    const Applet applet;
    int walked = 0;
    for (const Parameter& row : host::fixedParameters()) {
        if (row.kind != GetParam() || !row.isWritable()) {
            continue;
        }
        Board board(applet); // a fresh one for each
        makeRoom(board, row);
        const Parameter parameter = host::withCurrentLimits(board, row);
        EXPECT_TRUE(parameter.isWritable()) << row.name;
        ++walked;
        switch (parameter.kind) {
        case ParameterKind::integer:
            walkInteger(board, parameter);
            break;
        case ParameterKind::floatingPoint:
            walkFloat(board, parameter);
            break;
        case ParameterKind::enumeration:
            walkEnumeration(board, parameter);
            break;
        case ParameterKind::wideInteger:
        case ParameterKind::fileName:
        case ParameterKind::text:
        case ParameterKind::lutEntry:
            break;
        }
    }
    const std::map<ParameterKind, int> expected = {
        {ParameterKind::integer, 32}, {ParameterKind::floatingPoint, 18}, {ParameterKind::enumeration, 54}};
    EXPECT_EQ(walked, expected.at(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Kinds, Conformance,
                         testing::Values(ParameterKind::integer, ParameterKind::floatingPoint,
                                         ParameterKind::enumeration),
                         [](const auto& kind) {
                             std::string name(host::kindName(kind.param));
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

} // namespace
} // namespace qelm::test
