// One walk over all parameters: whatever a parameter says about itself, its gets and sets keep to it.

#include "fixture.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>

namespace qelm::test {
namespace {

using host::Parameter;
using host::ParameterKind;

/**
 * Parameters whose values may be refused within their limits, since they depend on a partner or on the state of the
 * trigger system; the features' own tests say when.
 */
bool dependsOnOthers(const Parameter& parameter) {
    static const std::set<std::string> independent = {"Camera Link",      "Tap Geometry", "ROI",
                                                      "Image Selector",   "Noise Filter", "Output Format",
                                                      "Camera Simulator", "Miscellaneous"};
    return parameter.id == FG_IMG_SELECT || parameter.id == FG_GEN_ACCURACY ||
           !independent.contains(parameter.category);
}

class Conformance : public testing::TestWithParam<ParameterKind> {
  protected:
    template <typename Value>
    void expectRefused(Board& board, const Parameter& parameter, Value value, int32_t code) {
        SCOPED_TRACE(testing::Message() << parameter.name << " = " << value);
        const auto before = board.get<Value>(parameter.id);
        EXPECT_THAT(writesOf(board, [&] { EXPECT_EQ(board.set(parameter.id, value), code); }), IsEmpty());
        EXPECT_EQ(board.get<Value>(parameter.id), before);
    }

    template <typename Value>
    void expectAccepted(Board& board, const Parameter& parameter, Value value) {
        SCOPED_TRACE(testing::Message() << parameter.name << " = " << value);
        const auto before = board.get<Value>(parameter.id);
        const int32_t code = board.set(parameter.id, value);
        if (!dependsOnOthers(parameter)) {
            EXPECT_EQ(code, 0);
            EXPECT_EQ(board.get<Value>(parameter.id), value);
        } else if (code != 0) {
            EXPECT_LT(code, 0);
            EXPECT_EQ(board.get<Value>(parameter.id), before);
        }
    }

    void walkInteger(Board& board, const Parameter& parameter) {
        const auto minimum = static_cast<uint32_t>(parameter.minimum);
        const auto maximum = static_cast<uint32_t>(parameter.maximum);
        expectAccepted(board, parameter, minimum);
        expectAccepted(board, parameter, maximum);
        if (maximum < UINT32_MAX) {
            expectRefused(board, parameter, maximum + 1, -6000);
            expectRefused(board, parameter, minimum - 1, -6000); // below 0: all ones
        }
        if (parameter.increment > 1 && minimum < maximum && !dependsOnOthers(parameter)) {
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
        int32_t highest = 0;
        for (const host::EnumerationEntry& entry : parameter.entries) {
            expectAccepted(board, parameter, entry.value);
            highest = std::max(highest, entry.value);
        }
        for (const int32_t value : {highest + 1, -1, INT32_MAX, INT32_MIN}) {
            expectRefused(board, parameter, value, -6000);
        }
    }
};

TEST_P(Conformance, SettableParametersKeepToTheirDescription) {
    const Applet applet;
    int walked = 0;
    for (const Parameter& row : host::fixedParameters()) {
        if (row.kind != GetParam() || !row.isWritable()) {
            continue;
        }
        Board board(applet); // in its initial state for each
        const Parameter parameter = host::withCurrentLimits(board, row);
        ++walked;
        if (!parameter.isWritable()) {
            continue; // for the time being
        }
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
    const std::map<ParameterKind, int> least = {
        {ParameterKind::integer, 15}, {ParameterKind::floatingPoint, 1}, {ParameterKind::enumeration, 12}};
    EXPECT_GE(walked, least.at(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Kinds, Conformance,
                         testing::Values(ParameterKind::integer, ParameterKind::floatingPoint,
                                         ParameterKind::enumeration),
                         [](const auto& kind) {
                             std::string name(host::kindName(kind.param));
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

TEST(Descriptions, TellWhatTheRowsSay) {
    const Applet applet;
    const Board board(applet);
    int described = 0;
    for (const Parameter& row : host::fixedParameters()) {
        if (row.displayName.empty()) {
            EXPECT_EQ(applet->Fg_getParameterInfo(board, row.id), nullptr) << row.name;
            continue;
        }
        const char* text = applet->Fg_getParameterInfo(board, row.id);
        ASSERT_NE(text, nullptr) << row.name;
        for (const std::string& line :
             {"Name: " + row.name, "Display name: " + row.displayName,
              row.kind == ParameterKind::fileName ? "Filter: " + row.filter
                                                  : "Kind: " + std::string(host::kindName(row.kind))}) {
            EXPECT_THAT(std::string("\n") + text, testing::HasSubstr("\n" + line + "\n"));
        }
        ++described;
    }
    EXPECT_EQ(described, 135);
}

} // namespace
} // namespace qelm::test
