// Scripts of steps, as files that the tool runs.

#include "fixture.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace qelm::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Json = nlohmann::json;

class ScriptTest : public QelmTest {
  protected:
    Result runScript(const std::string& text, const Words& more = {}) {
        std::ofstream("script.qelm") << text;
        Words words{"run", "script.qelm"};
        words.insert(words.end(), more.begin(), more.end());
        return run(words);
    }
};

TEST_F(ScriptTest, TheExamplesMeetTheirExpectations) {
    std::size_t examples = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(QELM_EXAMPLES "/scripts")) {
        const Result result = run({"run", entry.path().string()});
        EXPECT_EQ(result.status, 0) << result.output << result.errors;
        EXPECT_THAT(result.output, HasSubstr("expectations, none failed\n"));
        ++examples;
    }
    EXPECT_GE(examples, 2u);
}

TEST_F(ScriptTest, StepsFollowEachOtherOnOneBoard) {
    const Result result = runScript("# a comment\n"
                                    "set FG_WIDTH=64 FG_HEIGHT=32   # and another\r\n"
                                    "\n"
                                    "get FG_WIDTH FG_CAMERA_WIDTH\n"
                                    "set FG_FORMAT=FG_GRAY16\n"
                                    "scene white\n"
                                    "grab 2 \"white picture.tif\"\n"
                                    "expect minimum == 65280\n"
                                    "expect number==2\n"
                                    "expect lost = 0\n"
                                    "expect FG_FORMAT == FG_GRAY16\n"
                                    "expect FG_FORMAT != FG_GRAY\n"
                                    "expect refused FG_WIDTH=8\n"
                                    "scene black\n"
                                    "grab black.raw\n"
                                    "expect maximum == 0\n"
                                    "wait 10 ms\n");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.errors, IsEmpty());
    EXPECT_THAT(result.output, HasSubstr("script.qelm:4: FG_WIDTH = 64 pixel\n"
                                         "script.qelm:4: FG_CAMERA_WIDTH = 1024 pixel\n"));
    EXPECT_THAT(result.output, HasSubstr("script.qelm:7: picture 2 white picture-2.tif: 65280 to 65280"));
    EXPECT_THAT(result.output, HasSubstr("15 steps, 7 expectations, none failed\n"));
    EXPECT_EQ(fs::file_size("black.raw"), 64u * 32 * 2);
    EXPECT_TRUE(fs::exists("white picture-1.tif"));
}

TEST_F(ScriptTest, ARunningAcquisitionKeepsWhatComes) {
    const std::string external = "set FG_AREATRIGGERMODE=ATM_EXTERNAL FG_TRIGGERSTATE=TS_ACTIVE\n"
                                 "acquire\n"
                                 "pulse 2 pin=0 period=200ms width=1ms\n";
    const Result result = runScript(external + "expect pictures == 2\n"
                                               "expect events.FG_START_OF_FRAME_CAM_PORT_0 == 2\n"
                                               "grab 2\n"
                                               "expect number == 2\n"
                                               "expect FG_TRIGGERIN_STATS_PULSECOUNT == 2\n"
                                               "stop\n"
                                               "expect pictures == 2\n",
                                    {"--json"});
    EXPECT_EQ(result.status, 0) << result.errors;
    const Json report = Json::parse(result.output);
    EXPECT_EQ(report["expectations"], 5);
    EXPECT_EQ(report["failed"], 0);
    std::vector<std::uint64_t> moments;
    for (const Json& step : report["steps"]) {
        if (step.contains("triggerNanoseconds")) {
            moments.push_back(step["triggerNanoseconds"]);
        }
    }
    ASSERT_EQ(moments.size(), 2u);
    EXPECT_EQ(moments[1] - moments[0], 200'000'000u);

    const Result missing = runScript(external + "grab 3 timeout=50ms\nset FG_WIDTH=512\n");
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.errors, HasSubstr("script.qelm:4: picture 3 did not come"));
    EXPECT_THAT(missing.output, Not(HasSubstr("FG_WIDTH")));
}

TEST_F(ScriptTest, ExpectationsThatFailAreToldAndTheRunGoesOn) {
    const std::string script = "expect FG_WIDTH == 512\n"
                               "expect refused FG_WIDTH=512\n"
                               "set FG_WIDTH=512\n"
                               "expect FG_WIDTH == 512\n"
                               "grab\n"
                               "expect mean > 4095\n";
    const Result result = runScript(script);
    EXPECT_EQ(result.status, 1);
    for (const char* part : {"script.qelm:1: expect FG_WIDTH == 512 failed: FG_WIDTH is 1024 pixel\n",
                             "script.qelm:2: expect refused FG_WIDTH=512 failed: FG_WIDTH=512 was accepted\n",
                             "script.qelm:6: expect mean > 4095 failed: mean is "}) {
        EXPECT_THAT(result.errors, HasSubstr(part));
    }
    EXPECT_THAT(result.output, HasSubstr("6 steps, 4 expectations, 3 failed\n"));
    EXPECT_EQ(Json::parse(runScript(script, {"--json"}).output)["failed"], 3);

    // A step that is refused ends the run.
    const Result refused = runScript("set FG_WIDTH=512 FG_WIDTH=8\nset FG_HEIGHT=512\n");
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.errors, HasSubstr("script.qelm:1: FG_WIDTH = 8 was refused"));
    EXPECT_THAT(refused.output, Not(HasSubstr("FG_HEIGHT")));
}

TEST_F(ScriptTest, WhatCannotBeIsFoundBeforeTheFirstStep) {
    const std::pair<const char*, const char*> lines[] = {
        {"sett FG_WIDTH=1", "there is no step \"sett\"; did you mean \"set\"?"},
        {"set", "this step needs settings"},
        {"set FG_WITDH=512", "Did you mean FG_WIDTH?"},
        {"set FG_WIDTH", "has no '='"},
        {"get FG_WITDH", "Did you mean FG_WIDTH?"},
        {"load", "this step needs one word"},
        {"camera match noise=2", "this step needs one word"},
        {"wait 20", "is no time: it needs a unit"},
        {"wait 2h", "is no time"},
        {"wait -1ms", "out of range"},
        {"wait 2000000000s", "out of range"},
        {"pulse 0", "out of range: 1 to 1000000"},
        {"pulse pin=8", "pins are 0 to 7"},
        {"pulse period=1ms width=2ms", "wider than its period"},
        {"pulse period=100ns", "whole microseconds"},
        {"pulse speed=3", "neither pin=N, period=TIME nor width=TIME"},
        {"acquire 3", "\"3\" is too much"},
        {"stop now", "\"now\" is too much"},
        {"grab picture.jpg", "has to end in .png"},
        {"grab \"picture.png", "a quotation mark is missing"},
        {"expect", "an expectation is"},
        {"expect FG_WIDTH", "an expectation is"},
        {"expect FG_WIDTH ~ 3", "an expectation is"},
        {"expect FG_WITDH == 3", "Did you mean FG_WIDTH?"},
        {"expect FG_FORMAT == FG_GREY", "Did you mean FG_GRAY?"},
        {"expect mean > bright", "\"bright\" is no number"},
        {"expect events.FG_TRIGGER_EXCEEDED == 0", "there is no event \"FG_TRIGGER_EXCEEDED\""},
        {"expect refused FG_WITDH=3", "Did you mean FG_WIDTH?"},
    };
    for (const auto& [line, sentence] : lines) {
        const Result result = runScript(std::string("set FG_HEIGHT=512\n") + line + "\n");
        SCOPED_TRACE(line);
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.errors, HasSubstr("script.qelm:2: "));
        EXPECT_THAT(result.errors, HasSubstr(sentence));
        EXPECT_THAT(result.output, IsEmpty());
    }
    EXPECT_THAT(run({"run", "none.qelm"}).errors, HasSubstr("\"none.qelm\" cannot be read: No such file"));
    EXPECT_EQ(run({"run"}).status, 2);
}

} // namespace
} // namespace qelm::test
