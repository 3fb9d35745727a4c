// Parameter values as text: what is understood, and the sentence for what is not.

#include "qelm/host/numbers.h"
#include "qelm/host/values.h"

#include <gmock/gmock.h>

#include <limits>
#include <locale>

namespace qelm::host {
namespace {

using testing::AllOf;
using testing::HasSubstr;

std::string reread(std::string_view text) {
    const Assignment assignment = parseAssignment(fixedParameters(), text);
    return assignment.reference.text() + " = " + formatValue(*assignment.reference.parameter, assignment.value);
}

TEST(Values, AreReadByTheParametersKind) {
    const struct {
        const char* text;
        const char* meaning;
    } cases[] = {
        {"FG_WIDTH=512", "FG_WIDTH = 512"},
        {"FG_WIDTH=0x200", "FG_WIDTH = 512"},
        {"FG_TRIGGERIN_DOWNSCALE=4294967295", "FG_TRIGGERIN_DOWNSCALE = 4294967295"},
        {"FG_DEVICETAPGEOMETRY=Geometry_2X_2YE", "FG_DEVICETAPGEOMETRY = Geometry_2X_2YE (58560)"},
        {"FG_DEVICETAPGEOMETRY=0XE4CA", "FG_DEVICETAPGEOMETRY = Geometry_2XE_2YE (58570)"},
        {"FG_FORMAT=2", "FG_FORMAT = 2"}, // the applet's to refuse
        {"FG_GEN_FREQ=62.5", "FG_GEN_FREQ = 62.5"},
        {"FG_GEN_FREQ=1e2", "FG_GEN_FREQ = 100"},
        {"FG_GEN_FREQ=0x10", "FG_GEN_FREQ = 16"},
        {"FG_PROCESSING_OFFSET=-0.25", "FG_PROCESSING_OFFSET = -0.25"},
        {"FG_LUT_CUSTOM_FILE=a=b c.lut", "FG_LUT_CUSTOM_FILE = a=b c.lut"},
        {"FG_LUT_CUSTOM_FILE=", "FG_LUT_CUSTOM_FILE = "},
        {"FG_LUT_VALUE[0x11]=4095", "FG_LUT_VALUE[17] = 4095"},
    };
    for (const auto& [text, meaning] : cases) {
        EXPECT_EQ(reread(text), meaning);
    }
}

TEST(Values, AreRefusedWithASentence) {
    const struct {
        const char* text;
        std::int32_t code; // 0: the text itself is wrong
        std::vector<const char*> sentence;
    } cases[] = {
        {"FG_WIDTH", 0, {"\"FG_WIDTH\" has no '='", "NAME=VALUE"}},
        {"=5", 0, {"no parameter name before the '='"}},
        {"", 0, {"no '='"}},
        {"FG_WIDTH=",
         0,
         {"FG_WIDTH = \"\" was refused: that is not a whole number", "16 to 8192 pixel in steps of 16"}},
        {"FG_WIDTH=512.5", 0, {"FG_WIDTH = 512.5 was refused: that is not a whole number"}},
        {"FG_WIDTH=512px", 0, {"FG_WIDTH = 512px was refused: that is not a whole number"}},
        {"FG_WIDTH=-1",
         -6000,
         {"FG_WIDTH = -1 was refused", "out of range", "(-6000, FG_ERROR_OUT_OF_RANGE)", "16 to 8192"}},
        {"FG_WIDTH=4294967296", -6000, {"FG_WIDTH = 4294967296 was refused"}},
        {"FG_WIDTH=99999999999999999999", -6000, {"FG_WIDTH = 99999999999999999999 was refused"}},
        {"FG_GEN_FREQ=fast", 0, {"FG_GEN_FREQ = fast was refused: that is not a number", "3 to 125 MHz."}},
        {"FG_GEN_FREQ=1,5", 0, {"not a number"}},
        {"FG_GEN_FREQ=1e999", -6000, {"FG_GEN_FREQ = 1e999 was refused"}},
        {"FG_FORMAT=FG_GREY", -6000, {"Did you mean FG_GRAY?", "FG_FORMAT takes FG_GRAY (3) or FG_GRAY16 (1)."}},
        {"FG_FORMAT=-3", -6000, {"FG_FORMAT = -3 was refused"}},
        {"FG_WITDH=512", -2070, {"no parameter \"FG_WITDH\"", "(-2070, FG_ERROR_UNKNOWN)", "Did you mean FG_WIDTH?"}},
        {"width=512", -2070, {"Did you mean FG_WIDTH?"}},
        {"FG_WIDTH[3]=512", 0, {"FG_WIDTH has no index"}},
        {"FG_LUT_VALUE=1", 0, {"needs an index, as in FG_LUT_VALUE[0]"}},
        {"FG_LUT_VALUE[=1", 0, {"needs an index"}},
        {"FG_LUT_VALUE[x]=1", 0, {"needs an index"}},
    };
    for (const auto& [text, code, sentence] : cases) {
        SCOPED_TRACE(text);
        std::string message = "nothing was thrown";
        std::int32_t thrown = 0;
        try {
            parseAssignment(fixedParameters(), text);
        } catch (const AppletError& error) {
            message = error.what();
            thrown = error.code();
        } catch (const SyntaxError& error) {
            message = error.what();
        }
        EXPECT_EQ(thrown, code);
        for (const char* part : sentence) {
            EXPECT_THAT(message, HasSubstr(part));
        }
    }
}

TEST(Values, NumbersDoNotFollowTheLocale) {
    class DecimalComma : public std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
    EXPECT_EQ(reread("FG_GEN_FREQ=62.5"), "FG_GEN_FREQ = 62.5");
    std::locale::global(before);

    EXPECT_EQ(formatNumber(62500000.0), "62500000");
    EXPECT_EQ(formatNumber(0.1), "0.1");
    double value = 0.0;
    for (const double number : {0.01455191522836685, 1e300, -5e-324, std::numeric_limits<double>::max()}) {
        ASSERT_EQ(parseNumber(formatNumber(number), value), std::errc{});
        EXPECT_EQ(value, number);
    }
}

TEST(Parameters, AreDescribedOneByOne) {
    EXPECT_EQ(fixedParameters().size(), 143u);
    for (const Parameter& parameter : fixedParameters()) {
        SCOPED_TRACE(parameter.name);
        EXPECT_NE(parameter.access, 0);
        EXPECT_EQ(parameter.kind == ParameterKind::enumeration, !parameter.entries.empty());
        EXPECT_TRUE(!parameter.isWritable() || !parameter.allowedValues().empty());
    }
    const Parameter& width = *findFixedParameter("FG_WIDTH");
    EXPECT_EQ(width.id, 100);
    EXPECT_EQ(width.category, "ROI");
    EXPECT_EQ(findFixedParameter("FG_TRIGGER_FRAMESPERSECOND")->allowedValues(),
              "0.01455191522836685 to 6250000 Hz"); // continuous: no step
    EXPECT_EQ(findFixedParameter("FG_SENDSOFTWARETRIGGER")->allowedValues(), "only 1 pulses");
    EXPECT_FALSE(findFixedParameter("FG_NR_OF_DMAS")->isWritable());
    EXPECT_EQ(findFixedParameter("FG_NO_SUCH"), nullptr);
}

TEST(Parameters, TheNearestNameIsFoundAndNothingFarOff) {
    const std::vector<std::string_view> names{"FG_WIDTH", "FG_HEIGHT", "FG_XOFFSET", "FG_YOFFSET", "FG_GEN_TAP1"};
    const struct {
        const char* typed;
        const char* nearest;
    } cases[] = {{"FG_WITDH", "FG_WIDTH"},
                 {"fg_width", "FG_WIDTH"},
                 {"height", "FG_HEIGHT"},
                 {"FG_YOFSET", "FG_YOFFSET"},
                 {"FG_GENTAP1", "FG_GEN_TAP1"},
                 {"completely else", ""},
                 {"", ""}};
    for (const auto& [typed, nearest] : cases) {
        EXPECT_EQ(nearestName(typed, names), nearest) << typed;
    }
}

TEST(Errors, KnownCodesHaveANameOthersAnOrigin) {
    EXPECT_THAT(errorMeaning(-7080), AllOf(HasSubstr("multiple"), HasSubstr("(-7080, FG_ERROR_ALIGNMENT)")));
    EXPECT_THAT(errorMeaning(-4711), AllOf(HasSubstr("runtime"), HasSubstr("(-4711)")));
    EXPECT_EQ(errorName(-4711), "");
}

} // namespace
} // namespace qelm::host
