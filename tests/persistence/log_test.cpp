#include "support/temporary_folder.h"

#include "configuration/numbers.h"
#include "persistence/dll_log.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace qelm::test {
namespace {

using namespace configuration;
using namespace persistence;

class LogTest : public testing::Test {
  protected:
    /** What the file holds now: entries reach it at once. */
    std::string written() const { return test::readText(file_); }

    test::TemporaryFolder folder_;
    const std::string file_ = folder_.file("log.txt");
    DllLog log_{std::fopen(file_.c_str(), "w")};
};

TEST_F(LogTest, EntriesHaveTheirFormsAndAreFlushed) {
    log_.info("discarded");
    log_.infoEnd();
    EXPECT_EQ(written(), "");
    log_.info("width", -5);
    EXPECT_EQ(written(), "korabitIV::Info >> width >> -5;\n");
    log_.error("x");
    log_.error("x", "100%", 7);
    log_.error("x", "y", 0.1);
    log_.error("x", "y", 1e6 / 3.0);
    EXPECT_EQ(written(), "korabitIV::Info >> width >> -5;\n"
                         "korabitIV::Error >> x;\n"
                         "korabitIV::Error >> x >> 100% >> 7;\n"
                         "korabitIV::Error >> x >> y >> 0.1;\n"
                         "korabitIV::Error >> x >> y >> 333333.333333;\n");
}

TEST_F(LogTest, PrintAddsNothing) {
    log_.print("%s=%d", "a", 1);
    log_.print(";");
    log_.close();
    EXPECT_EQ(written(), "a=1;");
    log_.print("dropped");
    log_.error("dropped");
    log_.writeHeader();
    log_.close();
    EXPECT_EQ(written(), "a=1;");
}

TEST_F(LogTest, HeaderStandsBetweenRules) {
    log_.writeHeader();
    const std::string rule = std::string(73, '-') + "\n";
    EXPECT_THAT(written(),
                testing::AllOf(testing::StartsWith(rule), testing::EndsWith(rule),
                               testing::ContainsRegex("\nCopyright .*\nContents: Log details for korabit Dll\n"
                                                      "... ... .. "
                                                      "..:..:.. ....\n")));
}

TEST(NumberText, WritesTwelveDigitsAndReadsThemBack) {
    const struct {
        double value;
        const char* text;
    } cases[] = {
        {0.0, "0"},
        {40.0, "40"},
        {1.008, "1.008"},
        {0.01455191522836685, "0.0145519152284"},
        {-1234567890123.0, "-1.23456789012e+12"},
        {68000000.0, "68000000"},
        {5e-324, "4.94065645841e-324"},
    };
    for (const auto& [value, text] : cases) {
        EXPECT_EQ(numberText(value), text);
        EXPECT_EQ(numberText(numberValue(text)), text);
    }
}

TEST(NumberText, ReadsWhatTheTextBeginsWith) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const struct {
        const char* text;
        double value;
    } cases[] = {
        {" \t+2.5e1 mm", 25.0}, {"-.5", -0.5},       {"1,5", 1.0},          {"", 0.0},       {"mm", 0.0},
        {"+-3", 0.0},           {"1e999", infinity}, {"-1e999", -infinity}, {"1e-999", 0.0}, {"0x10", 0.0},
    };
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(numberValue(text), value) << text;
    }
    EXPECT_TRUE(std::isnan(numberValue("nan")));
}

} // namespace
} // namespace qelm::test
