// The tool as its users run it: exit status, what it prints and what it says when it cannot.

#include "fixture.h"

#include "qelm/host/applet.h"
#include "qelm/host/text.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <regex>
#include <set>

namespace qelm::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using Json = nlohmann::json;

TEST_F(QelmTest, Answers) {
    const struct {
        Words arguments;
        Words output;
    } cases[] = {
        {{"info"}, {"Zantor_Obvelline_Qx4_RK", "2.4.1.2", "2269798 bytes", "2628", "virtual"}},
        {{"describe", "FG_FORMAT", "--applet", "other_applet"}, {"4711", "Scanner", "FG_COL24 = 2"}}, // not ours
        {{"list", "roi"}, {"100  FG_WIDTH    1024 pixel          16 to 1024 pixel in steps of 16\n", "FG_YOFFSET"}},
        {{"list", "Output Format"}, {"FG_PIXELDEPTH", "read-only", "FG_LEFT_ALIGNED (1) or FG_RIGHT_ALIGNED (0)"}},
        {{"list", "Statistics"},
         {"\nTrigger / Trigger Input / Statistics\n", "\nTrigger / Digital Output / Statistics\n"}},
        {{"list", "--direct-registers", "DRA_S"},
         {"\nDirect Register Access\n", "1000032  DRA_ScratchPadWide  0              0 to 18446744073709551615\n"}},
        {{"describe", "FG_WIDTH"}, {"Shown as:     Width\n", "Range:        16 to 1024 pixel in steps of 16\n"}},
        {{"describe", "FG_FORMAT"}, {"Entries:      FG_GRAY = 3, \"Gray 8bit\"\n              FG_GRAY16 = 1, "}},
        {{"xml"}, {"<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<RegisterDescription\n", "</RegisterDescription>\n"}},
        {{"xml", "--direct-design"}, {"<Category Name='Direct ZE Access'>"}},
        {{"set", "--direct-registers", "DRA_ScratchPadWide=0xFFFFFFFFFFFFFFFF", "DRA_LedControl=3"},
         {"DRA_ScratchPadWide: 0 -> 18446744073709551615\nDRA_LedControl: 0 -> 3\n"}},
        {{"trace", "--direct-design", "DZEA_Device1_Process0_Camera_Format=Medium12Bit"},
         {"Medium8Bit (0) -> Medium12Bit (2)\n    Device1_Process0_Camera_Format=2\n"}},
        {{"get", "FG_WIDTH", "FG_FORMAT"}, {"FG_WIDTH   = 1024 pixel\nFG_FORMAT  = FG_GRAY (3)\n"}},
        {{"set", "FG_WIDTH=0x200"}, {"FG_WIDTH: 1024 -> 512 pixel\n"}},
        {{"set", "FG_WIDTH=512", "FG_XOFFSET=64", "FG_WIDTH=256"},
         {"FG_WIDTH: 1024 -> 512 pixel\nFG_XOFFSET: 0 -> 64 pixel\nFG_WIDTH: 512 -> 256 pixel\n\n"
          "FG_WIDTH    = 256 pixel\nFG_XOFFSET  = 64 pixel\n"}},
        {{"set", "FG_FORMAT=FG_GRAY16", "FG_GEN_FREQ=62.5"}, {"FG_GRAY (3) -> FG_GRAY16 (1)", "40 -> 62.5 MHz"}},
        {{"trace", "FG_FORMAT=1", "FG_WIDTH"},
         {"FG_FORMAT: FG_GRAY (3) -> FG_GRAY16 (1)\n"
          "    Device1_Process0_OutputFormat_FG_FORMAT_SelectSource=0\nFG_WIDTH = 1024 pixel\n"}},
        {{"trace", "--reads", "FG_OVERFLOW"}, {"    read Device1_Process0_Overflow_OverflowOccurred=0\n"}},
        {{"events", "--pin", "1", "--pulses", "2", "--period", "10", "--width", "5", "FG_TRIGGERIN_STATS_PULSECOUNT",
          "FG_TRIGGERIN_SRC=TRGINSRC_1"},
         {"TRGINSRC_0 (0) -> TRGINSRC_1 (1)", "\n0.000 \u00b5s   0x800000  FG_TRIGGER_OUTPUT_CAM0\n",
          "\n1.008 \u00b5s   0x20      FG_TRIGGER_INPUT1_RISING\n",
          "\n16.000 \u00b5s  0x40      FG_TRIGGER_INPUT1_FALLING\nFG_TRIGGERIN_STATS_PULSECOUNT = 2 pulses\n"}},
        {{"trace", "--start-up"}, {"start-up\n", "    AAGenEnable=0\n", "    Device1_Process0_Camera_Format=0\n"}},
    };
    for (const auto& [arguments, output] : cases) {
        const Result result = run(arguments);
        SCOPED_TRACE(testing::PrintToString(arguments));
        EXPECT_EQ(result.status, 0);
        EXPECT_THAT(result.errors, IsEmpty());
        for (const std::string& part : output) {
            EXPECT_THAT(result.output, HasSubstr(part));
        }
    }
}

TEST_F(QelmTest, SaysWhatIsWrong) {
    const struct {
        Words arguments;
        int status;
        Words errors;
    } cases[] = {
        {{}, 2, {"Usage"}},
        {{"gte", "FG_WIDTH"}, 2, {"there is no verb \"gte\"", "did you mean \"get\"?"}},
        {{"--fast"}, 2, {"there is no option \"--fast\""}},
        {{"list", "--fast"}, 2, {"\"qelm list\" does not take \"--fast\""}},
        {{"get"}, 2, {"NAME is required"}},
        {{"trace"}, 2, {"nothing to trace"}},
        {{"events", "--period", "5", "--width", "6"}, 2, {"--width must not exceed --period"}},
        {{"events", "--pin", "8"}, 2, {"--pin", "0", "7"}},
        {{"list", "no such"}, 1, {"\"no such\""}},
        {{"get", ""}, 1, {"name is missing"}},
        {{"get", "FG_WITDH"}, 1, {"no parameter \"FG_WITDH\"", "(-2070, FG_ERROR_UNKNOWN)", "Did you mean FG_WIDTH?"}},
        {{"describe", "FG_WITDH"}, 1, {"no parameter \"FG_WITDH\"", "Did you mean FG_WIDTH?"}},
        {{"set", "DRA_LedControl=3"}, 1, {"no parameter \"DRA_LedControl\"", "(-2070, FG_ERROR_UNKNOWN)"}},
        {{"set", "DZEA_Device1_Process0_Camera_Format=2"}, 1, {"no parameter \"DZEA_"}},
        {{"set", "--direct-registers", "DRA_LedControl=256"}, 1, {"(-6000", "DRA_LedControl takes 0 to 255"}},
        {{"xml", "-o", "no such folder/file.xml"}, 1, {"\"no such folder/file.xml\" cannot be written"}},
        {{"set", "FG_WIDTH"}, 1, {"\"FG_WIDTH\" has no '='"}},
        {{"set", "FG_WIDTH=wide"}, 1, {"FG_WIDTH = wide was refused: that is not a whole number"}},
        {{"set", "FG_WIDTH=8"}, 1, {"FG_WIDTH = 8 was refused", "(-6000", "FG_WIDTH takes 16 to 1024 pixel"}},
        {{"set", "FG_PIXELDEPTH=8"}, 1, {"(-12", "FG_PIXELDEPTH is read-only."}},
        {{"set", "FG_FORMAT=FG_GREY"}, 1, {"Did you mean FG_GRAY?", "FG_GRAY (3) or FG_GRAY16 (1)"}},
        {{"save", "none/setup.kcf"}, 1, {"\"none/setup.kcf\" cannot be written: No such file"}},
        {{"save", "setup.txt"}, 1, {"(-5001", "has to contain \".kcf\""}},
        {{"save", "none/setup.kcf", "FG_WIDTH=8"}, 1, {"FG_WIDTH = 8 was refused", "was not written"}},
        {{"load", "none.kcf"}, 1, {"loading \"none.kcf\" failed", "(-2076"}},
        {{"diff", "none.kcf", "none.kcf"}, 2, {"\"none.kcf\" cannot be read: No such file"}},
        {{"diff", "folder.kcf", "folder.kcf"}, 2, {"\"folder.kcf\" cannot be read: Is a directory"}},
        {{"diff", "empty.kcf", "empty.kcf"}, 2, {"\"empty.kcf\" holds no settings"}},
        {{"diff", "large.kcf", "large.kcf"}, 2, {"\"large.kcf\" is too large"}},
        {{"check", "none.kcf"}, 1, {"\"none.kcf\" cannot be read: No such file"}},
        {{"get", "FG_WIDTH", "--load", "none.kcf"}, 1, {"loading \"none.kcf\" failed", "No such file", "(-2076"}},
        {{"set", "FG_CAMERA_WIDTH=512", "FG_WIDTH=256", "FG_XOFFSET=512"},
         1,
         {"no order", "FG_XOFFSET = 512 and FG_WIDTH = 256 need 768 pixels, and FG_CAMERA_WIDTH = 512"}},
        {{"set", "FG_XOFFSET=16"}, 1, {"only 0", "follows from FG_CAMERA_WIDTH = 1024 pixel and FG_WIDTH = 1024"}},
        {{"set", "FG_IMG_SELECT=1"}, 1, {"(-6000", "It has to be below FG_IMG_SELECT_PERIOD = 1"}},
        {{"set", "FG_TRIGGER_FRAMESPERSECOND=500"},
         1,
         {"(-2079", "FG_TRIGGER_PULSEFORMGEN0_WIDTH = 4000 \u00b5s has to be shorter than 2000 \u00b5s",
          "the rate would have to be below 250 Hz"}},
        {{"set", "FG_TRIGGER_PULSEFORMGEN2_DELAY=125000"}, 1, {"(-2079", "FG_TRIGGER_PULSEFORMGEN2_DELAY = 125000"}},
        {{"shading", "--gray", "none.tif"}, 1, {"(-2076", "\"none.tif\", which FG_SHADING_GRAY_FILENAME names, does"}},
        {{"lut", "--load", "none.lut"}, 1, {"(-2076", "\"none.lut\", which FG_LUT_CUSTOM_FILE names, does not exist"}},
        {{"lut", "--plot", "plot.svg"}, 1, {"\"plot.svg\"", "has to end in .png"}},
        {{"grab", "-o", "picture.jpg"}, 1, {"\"picture.jpg\"", "has to end in .png, .tif, .tiff or .raw"}},
        {{"check"}, 2, {"FILE.kcf is required"}},
        {{"info", "--applet", "nowhere.so"}, 1, {"there is no library", "nowhere.so"}},
    };
    fs::create_directory(folder_ / "folder.kcf");
    std::ofstream(folder_ / "empty.kcf");
    std::ofstream(folder_ / "large.kcf") << std::string(5 << 20, '\n');
    for (const auto& [arguments, status, errors] : cases) {
        const Result result = run(arguments);
        SCOPED_TRACE(testing::PrintToString(arguments));
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.output.find("->"), std::string::npos); // nothing was changed
        for (const std::string& part : errors) {
            EXPECT_THAT(result.errors, HasSubstr(part));
        }
    }
}

TEST_F(QelmTest, ARefusedStepEndsTheRunAndWhatCameBeforeStands) {
    const Result set = run({"set", "FG_WIDTH=512", "FG_WIDTH=1000", "FG_HEIGHT=256"});
    EXPECT_EQ(set.status, 1);
    EXPECT_EQ(set.output, "FG_WIDTH: 1024 -> 512 pixel\nFG_WIDTH: refused, stays 512 pixel\n\n"
                          "FG_WIDTH   = 512 pixel\nFG_HEIGHT  = 1024 pixel\n");
    EXPECT_THAT(set.errors, StartsWith("qelm: FG_WIDTH = 1000 was refused: "));
    EXPECT_THAT(set.errors, HasSubstr("The one after it was not tried."));

    // What the text alone shows to be wrong is found before anything is done.
    const Result misspelt = run({"set", "FG_WIDTH=512", "FG_HIGHT=256"});
    EXPECT_EQ(misspelt.status, 1);
    EXPECT_THAT(misspelt.output, IsEmpty());

    const Result get = run({"get", "FG_WIDTH", "FG_LUT_VALUE[9999]", "FG_HEIGHT"});
    EXPECT_EQ(get.status, 1);
    EXPECT_EQ(get.output, "FG_WIDTH   = 1024 pixel\nFG_HEIGHT  = 1024 pixel\n");
    EXPECT_THAT(get.errors, HasSubstr("FG_LUT_VALUE[9999]"));
}

TEST_F(QelmTest, MakesSavesLoadsAndPlotsLookupTables) {
    const Result shown = run({"lut", "FG_PROCESSING_INVERT=FG_ON"});
    EXPECT_EQ(shown.status, 0) << shown.errors;
    EXPECT_THAT(shown.output, StartsWith("   0: 4095 4094 4093"));
    EXPECT_THAT(shown.output, HasSubstr("\n4080:   15   14   13"));

    const Result saved = run({"lut", "FG_PROCESSING_GAIN=2.0", "--save", "double.lut", "--plot", "double.png"});
    EXPECT_EQ(saved.status, 0) << saved.errors;
    EXPECT_THAT(saved.output, IsEmpty());
    std::ifstream picture(folder_ / "double.png", std::ios::binary);
    std::string signature(8, ' ');
    picture.read(signature.data(), 8);
    EXPECT_EQ(signature, "\x89PNG\r\n\x1A\n");

    const Result loaded = run({"lut", "--load", "double.lut", "FG_LUT_VALUE[1]=7", "--json"});
    ASSERT_EQ(loaded.status, 0) << loaded.errors;
    const Json table = Json::parse(loaded.output)["table"];
    EXPECT_EQ(table.size(), 4096U);
    EXPECT_EQ(table[1], 7);
    EXPECT_EQ(table[1000], 2000);

    // The applet takes these: the tool says what they lack.
    std::ifstream whole(folder_ / "double.lut");
    const std::string text((std::istreambuf_iterator<char>(whole)), {});
    const auto replaced = [&text](const std::string& old, const std::string& now) {
        return std::string(text).replace(text.find(old), old.size(), now);
    };
    const std::pair<std::string, std::string> files[] = {
        {text, ""},
        {"no table", "the table file has no entries: the lookup table stays as it was"},
        {replaced("[gray]", "[green]"), "no line for entry 0: from there on, entries are 0 or another line's"},
        {text.substr(0, text.find("\n600,") + 1), "no line for entry 600: "},
        {replaced("\n17,34;", ""), "no line for entry 17: "}, // "117,117;" passes for it
        {replaced("=4096", "=1000"), "has 1000 entries: the following ones stay as they were"},
    };
    for (const auto& [content, warning] : files) {
        std::ofstream("some.lut") << content;
        const Words settings = {"FG_LUT_TYPE=LUT_TYPE_CUSTOM", "FG_LUT_CUSTOM_FILE=some.lut"};
        for (const Words& words :
             {Words{"lut", "--load", "some.lut", "--plot", "x.png"}, Words{"set", settings[0], settings[1]},
              Words{"get", "FG_LUT_TYPE", "--set", settings[0], "--set", settings[1]}}) {
            const Result result = run(words);
            EXPECT_EQ(result.status, 0) << words.front();
            EXPECT_THAT(result.errors, warning.empty() ? testing::Matcher<std::string>(IsEmpty()) : HasSubstr(warning))
                << words.front();
        }
        EXPECT_EQ(run({"save", "some.kcf", settings[0], settings[1]}).status, 0);
        const Result checked = run({"check", "some.kcf"});
        EXPECT_EQ(checked.status, warning.empty() ? 0 : 1);
        EXPECT_THAT(checked.output + checked.errors, HasSubstr(warning));
    }

    const Result missing = run({"lut", "--load", "missing.lut"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.errors, HasSubstr("missing.lut"));
    EXPECT_EQ(run({"lut", "--plot", "no_such_folder/x.png"}).status, 1);
}

TEST_F(QelmTest, ComputesTheShadingCorrection) {
    const fs::path pictures = fs::path(QELM_TEST_DATA) / "tiff";
    const Result computed =
        run({"shading", "--black", (pictures / "im_16_strips.tiff").string(), "--gray",
             (pictures / "im_16_lzw.tiff").string(), "--offsets", "offsets.png", "--gains", "gains.png", "--json"});
    ASSERT_EQ(computed.status, 0) << computed.errors;
    const Json result = Json::parse(computed.output);
    EXPECT_EQ(result["normalization"], 0.0); // the images are the same
    EXPECT_EQ(result["offsets"]["width"], 37);
    EXPECT_EQ(result["offsets"]["height"], 23);
    EXPECT_EQ(result["offsets"]["minimum"], 7 / 16.0);
    EXPECT_EQ(result["gains"]["mean"], 65535 / 4096.0);
    EXPECT_TRUE(fs::exists(folder_ / "offsets.png"));
    EXPECT_TRUE(fs::exists(folder_ / "gains.png"));

    EXPECT_THAT(computed.errors, HasSubstr("im_16_lzw.tiff\" has 37 x 23 pixels, but the camera 1024 x 1024"));

    // References of 16 bits fill them, cover the camera, and leave most pixels in order.
    const Words grab{"grab", "--scene", "gray", "--set", "FG_FORMAT=FG_GRAY16"};
    const std::pair<const char*, const char*> references[] = {{"FG_LEFT_ALIGNED", "left.tif"},
                                                              {"FG_RIGHT_ALIGNED", "right.tif"}};
    for (const auto& [alignment, file] : references) {
        Words words = grab;
        words.insert(words.end(), {"--set", std::string("FG_BITALIGNMENT=") + alignment, "-o", file});
        ASSERT_EQ(run(words).status, 0);
    }
    EXPECT_THAT(run({"shading", "--gray", "left.tif"}).errors, IsEmpty());
    EXPECT_THAT(run({"shading", "--gray", "right.tif"}).errors, HasSubstr("samples of 16 bits, but none above"));
    const Words defective{"shading", "--gray",   "left.tif",
                          "--black", "left.tif", "FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE=FG_ON"};
    EXPECT_THAT(run(defective).errors, HasSubstr("100 % of the pixels are marked as defective"));
    EXPECT_EQ(run({"shading", "--gray", "right.tif", "--strict"}).status, 1);

    EXPECT_EQ(run({"shading"}).status, 2);
    const Result refused = run({"shading", "--gray", (pictures / "refused_rgb.tiff").string()});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.errors, HasSubstr("-2076"));
}

TEST_F(QelmTest, SpeaksJson) {
    const auto json = [this](const Words& arguments) {
        const Result result = run(arguments);
        EXPECT_EQ(result.status, 0) << result.errors;
        return Json::parse(result.output);
    };
    EXPECT_EQ(json({"info", "--json"})["designImageBytes"], 2269798);
    EXPECT_EQ(json({"--json", "get", "FG_FORMAT"}),
              Json::parse(R"([{"name": "FG_FORMAT", "value": 3, "valueName": "FG_GRAY"}])"));

    const Json all = json({"list", "--json"});
    ASSERT_EQ(all.size(), 143u);
    std::map<std::string, Json> byName;
    for (const Json& parameter : all) {
        byName[parameter["name"]] = parameter;
    }
    EXPECT_EQ(byName["FG_XOFFSET"]["maximum"], 0); // the region fills the camera
    EXPECT_EQ(byName["FG_FORMAT"]["entries"][1]["name"], "FG_GRAY16");
    EXPECT_EQ(byName["FG_EXSYNCDELAY"]["unit"], "\u00b5s");

    const Json set = json({"set", "FG_GEN_FREQ=62.5", "--json"});
    EXPECT_EQ(set["changes"][0]["old"], 40.0);
    EXPECT_EQ(set["values"][0]["value"], 62.5);

    const Json trace = json({"trace", "FG_GEN_HEIGHT=100", "--json"});
    EXPECT_EQ(trace["steps"][0]["new"], 100);
    EXPECT_EQ(
        trace["steps"][0]["calls"],
        Json::parse(
            R"([{"call": "writeRegister", "target": "AAGenHeight", "value": "99", "write": true, "result": 0}])"));

    const Result refused = run({"set", "FG_WIDTH=8", "--json"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(Json::parse(refused.output)["changes"][0]["error"]["code"], -6000);
}

TEST_F(QelmTest, SavesLoadsComparesAndChecksConfigurations) {
    const std::string plain = (folder_ / "plain.kcf").string();
    const std::string other = (folder_ / "other.kcf").string();
    const std::string changes = "FG_WIDTH: 1024 -> 512 pixel\nFG_FORMAT: FG_GRAY (3) -> FG_GRAY16 (1)\n";
    EXPECT_EQ(run({"save", plain}).output, "Saved 100 settings in " + plain + "\n");
    EXPECT_EQ(run({"save", other, "FG_WIDTH=512", "FG_FORMAT=1"}).output,
              changes + "Saved 100 settings in " + other + "\n");
    EXPECT_EQ(run({"load", plain}).output, "Nothing changed\n");
    EXPECT_EQ(run({"load", other}).output, changes);
    const Json loaded = Json::parse(run({"load", other, "--json"}).output);
    EXPECT_EQ(loaded["changes"][1]["newName"], "FG_GRAY16");
    const Result differ = run({"diff", plain, other});
    EXPECT_EQ(differ.status, 1);
    EXPECT_EQ(differ.output, changes);
    EXPECT_EQ(run({"diff", plain, plain}).status, 0);
    const Result good = run({"check", other});
    EXPECT_EQ(good.status, 0) << good.output;
    EXPECT_EQ(good.output, "A load would take everything as it is\n");

    // The settings of the trigger would suit each other, but a load applies the rate while the old width still holds.
    std::string text = readText(plain);
    const std::pair<std::string, std::string> edits[] = {
        {"FG_WIDTH=1024;", "FG_WIDTH=8;"},
        {"FG_GEN_ROLL=0;", "FG_GEN_ROLL=0x1;"},
        {"FG_PROCESSING_GAIN=1;", "FG_PROCESSING_GAIN=5000;"},
        {"FG_TRIGGER_FRAMESPERSECOND=8;", "FG_TRIGGER_FRAMESPERSECOND=1000;"},
        {"FG_TRIGGERIN_DEBOUNCE=1.008;", "FG_TRIGGERIN_DEBOUNCE=1;"},
        {"FG_TRIGGER_PULSEFORMGEN0_WIDTH=4000;", "FG_TRIGGER_PULSEFORMGEN0_WIDTH=100;"},
        {"FG_SHADING_BLACK_FILENAME='';", "FG_SHADING_BLACK_FILENAME='it's.tif';"},
    };
    for (const auto& [from, to] : edits) {
        ASSERT_NE(text.find(from), std::string::npos) << from;
        text.replace(text.find(from), from.size(), to);
    }
    std::ofstream(other) << text << "FG_WIDTH=512;\nFG_WIDTHS=1;\nnonsense\n";
    const Result bad = run({"check", other});
    EXPECT_EQ(bad.status, 1);
    for (const char* part : {
             ":15: refused: FG_WIDTH = 8 was refused: ",
             "A get answers it all the same; the design goes on with 1024 pixel.\n",
             ":35: changed: FG_GEN_ROLL=0x1 is read as 0\n",
             ": refused: FG_PROCESSING_GAIN = 5000 was refused",
             ": refused: FG_TRIGGER_FRAMESPERSECOND = 1000 was refused: ",
             ": changed: FG_TRIGGERIN_DEBOUNCE: 1 \u00b5s becomes 1.008 \u00b5s\n",
             ": changed: FG_SHADING_BLACK_FILENAME='it's.tif' is read as 'it'\n",
             ": refused: the shading coefficients are not computed: ",
             ":111: ignored: FG_WIDTH stands in line 15 already\n",
             ":112: ignored: there is no key FG_WIDTHS\n",
             ":113: ignored: \"nonsense\" is neither a section nor KEY=VALUE;\n",
         }) {
        EXPECT_THAT(bad.output, HasSubstr(part));
    }
    EXPECT_THAT(bad.output, Not(HasSubstr(": refused: FG_TRIGGER_PULSEFORMGEN0_WIDTH")));
    const Json findings = Json::parse(run({"check", other, "--json"}).output);
    EXPECT_EQ(findings["loads"], true);

    std::ofstream(other) << "Hersteller='x';\nTyp='y';\n[Port A]\nFG_WIDTH=Error;\n";
    const Result unloadable = run({"check", other});
    EXPECT_EQ(unloadable.status, 1);
    for (const char* part : {": refused: Typ is 'y', not 'Zantor_", ": refused: the key AktivePort is missing\n",
                             ": refused: 99 keys are missing, the first is FG_TIMEOUT\n",
                             ":4: refused: FG_WIDTH counts as missing", "A load would be refused\n"}) {
        EXPECT_THAT(unloadable.output, HasSubstr(part));
    }
    EXPECT_EQ(run({"load", other}).status, 1);
}

TEST_F(QelmTest, EveryLoadTellsWhatTheDesignDoesNotHave) {
    ASSERT_EQ(run({"save", "plain.kcf", "FG_AREATRIGGERMODE=ATM_GENERATOR", "FG_TRIGGERSTATE=TS_ACTIVE"}).status, 0);
    const std::string plain = readText("plain.kcf");
    const auto write = [](const char* file, std::string text,
                          const std::vector<std::pair<std::string, std::string>>& edits) {
        for (const auto& [from, to] : edits) {
            ASSERT_NE(text.find(from), std::string::npos) << from;
            text.replace(text.find(from), from.size(), to);
        }
        std::ofstream(file) << text;
    };
    const std::string width = "edited.kcf:15: refused: FG_WIDTH = 8 was refused: ";
    const std::string dead = "FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE";
    write("edited.kcf", plain, {{"FG_WIDTH=1024;", "FG_WIDTH=8;"}, {dead + "=0;", dead + "=1;"}});
    for (const Words& words : std::vector<Words>{{"load", "edited.kcf"},
                                                 {"get", dead.c_str(), "--load", "edited.kcf"},
                                                 {"set", "FG_HEIGHT=64", "--load", "edited.kcf"},
                                                 {"save", "again.kcf", "--load", "edited.kcf"},
                                                 {"lut", "--load", "edited.kcf"},
                                                 {"trace", "FG_WIDTH", "--load", "edited.kcf"},
                                                 {"timing", "-o", "t.svg", "--wait", "1", "--load", "edited.kcf"},
                                                 {"events", "--pulses", "1", "--load", "edited.kcf"}}) {
        SCOPED_TRACE(words.front());
        const Result lenient = run(words);
        EXPECT_EQ(lenient.status, 0) << lenient.errors;
        EXPECT_THAT(lenient.errors, HasSubstr(width));
        EXPECT_THAT(lenient.errors, HasSubstr("the design goes on with 1024 pixel"));
        EXPECT_THAT(lenient.errors, HasSubstr("kept: " + dead));
        Words strict = words;
        strict.emplace_back("--strict");
        EXPECT_EQ(run(strict).status, 1);
    }
    // A load leaves the replacement off; whoever goes on working with the file has it.
    const Result replaced = run({"trace", "--load", "edited.kcf", (dead + "=FG_ON").c_str()});
    EXPECT_THAT(replaced.errors, HasSubstr("note: " + dead + " was set again after the load"));

    // The queue's switching off shortens the period; the rate that was set before is told all the same.
    write("queue.kcf", plain, {});
    const Result period = run({"check", "queue.kcf"});
    EXPECT_EQ(period.status, 1);
    EXPECT_THAT(period.output,
                HasSubstr("changed: FG_TRIGGER_FRAMESPERSECOND = 8 Hz is told, but the trigger unit runs "
                          "at its shortest period"));
    const Json events = Json::parse(run({"events", "--load", "queue.kcf", "--wait", "1000000", "--json"}).output);
    EXPECT_EQ(events["warnings"].size(), 1u);
    int frames = 0;
    for (const Json& event : events["events"]) {
        frames += event["name"] == "FG_START_OF_FRAME_CAM_PORT_0" ? 1 : 0;
    }
    EXPECT_NEAR(frames, 8, 1); // of a second

    // Values of the current trigger set count in files of the legacy mode, too.
    ASSERT_EQ(run({"save", "legacy.kcf", "FG_TRIGGER_LEGACY_MODE=FG_ON"}).status, 0);
    write("legacy.kcf", readText("legacy.kcf"), {{"FG_TRIGGERIN_DOWNSCALE=1;", "FG_TRIGGERIN_DOWNSCALE=0;"}});
    EXPECT_THAT(run({"check", "legacy.kcf"}).output, HasSubstr("refused: FG_TRIGGERIN_DOWNSCALE = 0 was refused"));

    // Relative names.
    fs::create_directories("set-up");
    fs::copy_file(fs::path(QELM_TEST_DATA) / "tiff" / "im_16_strips.tiff", "set-up/gray.tif");
    write("set-up/relative.kcf", plain,
          {{"FG_SHADING_GRAY_FILENAME=''", "FG_SHADING_GRAY_FILENAME='gray.tif'"},
           {"FG_TRIGGERSTATE=0", "FG_TRIGGERSTATE=2"}});
    const Result missing = run({"load", "set-up/relative.kcf"});
    EXPECT_THAT(missing.errors, HasSubstr("beside the configuration file, where there is one; --beside takes that"));
    EXPECT_THAT(missing.errors, HasSubstr("\"gray.tif\", which FG_SHADING_GRAY_FILENAME names, does not exist"));
    EXPECT_THAT(run({"load", "set-up/relative.kcf", "--beside"}).errors, Not(HasSubstr("gray.tif")));

    // What is no configuration takes one line.
    std::ofstream("rubbish.kcf", std::ios::binary) << std::string(10000, '\0') << "\x1b[2J\n\xff=\n";
    const Result rubbish = run({"check", "rubbish.kcf"});
    EXPECT_EQ(rubbish.status, 1);
    EXPECT_THAT(rubbish.output, HasSubstr("refused: this is no configuration: the section [Port A] is missing"));
    EXPECT_LT(std::ranges::count(rubbish.output, '\n'), 6);
    write("noise.kcf", plain + std::string(50, '\n'), {});
    std::ofstream noise("noise.kcf", std::ios::app);
    for (int i = 0; i < 100; ++i) {
        noise << "\x1b[2J\xff\n";
    }
    noise.close();
    const Result noisy = run({"check", "noise.kcf"});
    EXPECT_THAT(noisy.output, HasSubstr("ignored: and 90 more lines"));
    EXPECT_EQ(noisy.output.find('\x1b'), std::string::npos);

    // Headers are told apart by their whole name.
    write("version.kcf", plain, {{"ConfigFileVersion=2.0;", "ConfigFileVersion=9.9;"}});
    EXPECT_EQ(run({"diff", "plain.kcf", "version.kcf"}).output, "ConfigFileVersion: 2.0 -> 9.9\n");

    const Result quoted = run({"save", "quoted.kcf", "FG_SHADING_GRAY_FILENAME=it's.tif"});
    EXPECT_EQ(quoted.status, 0);
    EXPECT_THAT(quoted.errors, HasSubstr("FG_SHADING_GRAY_FILENAME is saved as \"it's.tif\", but a load reads \"it\""));
    EXPECT_THAT(run({"save", "error.kcf", "FG_LUT_CUSTOM_FILE=Error.lut"}).errors,
                HasSubstr("refuses the file for it"));
}

TEST_F(QelmTest, MakesRegionSettingsInAnOrderThatHolds) {
    for (const Words& settings :
         std::vector<Words>{{"FG_XOFFSET=704", "FG_WIDTH=640", "FG_CAMERA_WIDTH=2048"},
                            {"FG_YOFFSET=500", "FG_HEIGHT=100", "FG_CAMERA_HEIGHT=600"},
                            {"FG_WIDTH=2048", "FG_NOISEFILTER=FG_ON", "FG_CAMERA_WIDTH=2048", "FG_FORMAT=FG_GRAY16"}}) {
        Words words{"set"};
        words.insert(words.end(), settings.begin(), settings.end());
        const Result result = run(words);
        EXPECT_EQ(result.status, 0) << result.errors;
        for (const std::string& setting : settings) {
            const size_t equals = setting.find('=');
            EXPECT_THAT(result.output,
                        testing::ContainsRegex(setting.substr(0, equals) + " +=.*" + setting.substr(equals + 1)));
        }
    }
    // An order that holds stays.
    const Result given = run({"set", "FG_WIDTH=512", "FG_XOFFSET=512", "FG_CAMERA_WIDTH=1024"});
    EXPECT_THAT(given.output, StartsWith("FG_WIDTH: 1024 -> 512 pixel\nFG_XOFFSET: 0 -> 512"));
}

TEST_F(QelmTest, TakesFileNamesInAnyLetters) {
    for (const std::string name : {"f\u00fcr", "\u56f3 f\u00fcr"}) {
        const fs::path folder = folder_ / host::pathOf(name);
        fs::create_directory(folder);
        const auto file = [&](const char* extension) { return (folder / host::pathOf(name + extension)).string(); };
        const Words runs[] = {
            {"save", file(".kcf"), "FG_WIDTH=512"},
            {"load", file(".kcf")},
            {"check", file(".kcf")},
            {"diff", file(".kcf"), file(".kcf")},
            {"get", "FG_WIDTH", "--load", file(".kcf")},
            {"xml", "-o", file(".xml")},
            {"lut", "FG_PROCESSING_GAIN=2.0", "--save", file(".lut"), "--plot", file("-lut.png")},
            {"lut", "--load", file(".lut"), "--json"},
            {"set", "FG_LUT_CUSTOM_FILE=" + file(".lut"), "FG_LUT_TYPE=LUT_TYPE_CUSTOM"},
            {"grab", "--scene", "gray", "-o", file(".tif")},
            {"grab", "--scene", file(".tif"), "-o", file(".png")},
            {"shading", "--gray", file(".tif"), "--gains", file("-gains.png")},
            {"timing", "--wait", "500000", "-o", file(".svg")},
            {"calibrate", "--frames", "2", "-o", file("-cal.kcf"), "--set", "FG_WIDTH=64", "--set", "FG_HEIGHT=64",
             "--set", "FG_CAMERA_WIDTH=64", "--set", "FG_CAMERA_HEIGHT=64"},
            {"grab", "--load", file("-cal.kcf"), "-o", file(".raw")},
            {"run", file(".qelm")},
        };
        std::ofstream(host::pathOf(file(".qelm"))) << "load \"" << file(".kcf") << "\"\ngrab \"" << file("-run.png")
                                                   << "\"\nscene \"" << file(".tif") << "\"\n";
        for (const Words& words : runs) {
            const Result result = run(words);
            EXPECT_EQ(result.status, 0) << testing::PrintToString(words) << result.errors;
        }
        for (const char* extension : {".kcf", ".xml", ".lut", "-lut.png", ".tif", ".png", "-gains.png", ".svg",
                                      "-cal.kcf", "-cal-black.tif", "-cal-gray.tif", ".raw", "-run.png"}) {
            EXPECT_GT(fs::file_size(host::pathOf(file(extension))), 0u) << extension;
        }
        EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 14);
        const Result missing = run({"get", "FG_WIDTH", "--load", file("-no.kcf")});
        EXPECT_THAT(missing.errors, HasSubstr("\"" + file("-no.kcf") + "\""));
    }
}

TEST_F(QelmTest, WarnsOfACameraThatDoesNotFit) {
    const std::string settings = "but the board is set to 1024 x 1024 pixels, taps 2XE_2YE, 8 bits";
    const std::pair<const char*, const char*> cameras[] = {
        {"width=512", "the camera sends 512 x 1024 pixels"},
        {"geometry=2X_2YE", "taps 2X_2YE"},
        {"bits=12,noise=2", "12 bits"},
    };
    for (const auto& [camera, part] : cameras) {
        for (const Words& verb : std::vector<Words>{
                 {"grab", "-o", "p.png"}, {"timing", "-o", "t.svg", "--wait", "1"}, {"events", "--wait", "1"}}) {
            Words words = verb;
            words.insert(words.end(), {"--camera", camera});
            const Result result = run(words);
            EXPECT_EQ(result.status, 0);
            EXPECT_THAT(result.errors, HasSubstr(part));
            EXPECT_THAT(result.errors, HasSubstr(settings));
        }
    }
    EXPECT_EQ(run({"grab", "-o", "no.png", "--camera", "width=512", "--strict"}).status, 1);
    EXPECT_FALSE(fs::exists("no.png"));
    // By default, and with more to it, the camera is as the board is set to.
    for (const char* camera : {"match", "match,noise=2"}) {
        const Result fits = run({"grab", "-o", "p.png", "--set", "FG_CAMERA_WIDTH=2048", "--set", "FG_WIDTH=2048",
                                 "--set", "FG_DEVICETAPGEOMETRY=Geometry_2X_2YE", "--set",
                                 "FG_CAMERA_LINK_CAMTYPE=FG_CL_MEDIUM_12_BIT", "--camera", camera, "--json"});
        EXPECT_THAT(fits.errors, IsEmpty());
        EXPECT_GT(Json::parse(fits.output)["pictures"][0]["mean"], 10.0);
    }
}

TEST_F(QelmTest, SumsUpWhatWasLost) {
    // Two pulses within a period: the second is lost.
    const Words external{"--set", "FG_AREATRIGGERMODE=ATM_EXTERNAL", "--pulses", "2", "--period", "50000"};
    for (const Words& verb : std::vector<Words>{{"events"}, {"timing", "-o", "t.svg"}}) {
        Words words = verb;
        words.insert(words.end(), external.begin(), external.end());
        const Result result = run(words);
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_THAT(result.errors, HasSubstr("warning: 1 trigger was lost: "));
        words.emplace_back("--json");
        EXPECT_EQ(Json::parse(run(words).output)["losses"]["lostTriggers"], 1);
        words.emplace_back("--strict");
        EXPECT_EQ(run(words).status, 1);
    }
    const Result grabbed = run({"grab", "-o", "p.png", "--set", "FG_AREATRIGGERMODE=ATM_EXTERNAL", "--frames", "3",
                                "--period", "50000", "--json"});
    EXPECT_EQ(grabbed.status, 0) << grabbed.errors;
    EXPECT_GT(Json::parse(grabbed.output)["losses"]["lostTriggers"], 0);
}

TEST_F(QelmTest, SpeaksJsonOfFailuresToo) {
    const struct {
        Words words;
        int status;
    } failures[] = {
        {{"get"}, 2},
        {{"gte"}, 2},
        {{"describe", "FG_WITDH"}, 1},
        {{"list", "no such"}, 1},
        {{"save", "none/setup.kcf"}, 1},
        {{"load", "none.kcf"}, 1},
        {{"diff", "none.kcf", "none.kcf"}, 2},
        {{"check", "none.kcf"}, 1},
        {{"lut", "--load", "none.lut"}, 1},
        {{"shading", "--gray", "none.tif"}, 1},
        {{"xml", "-o", "none/file.xml"}, 1},
        {{"trace", "FG_WITDH"}, 1},
        {{"events", "FG_WITDH"}, 1},
        {{"timing", "-o", "none/t.svg", "--wait", "1"}, 1},
        {{"grab", "-o", "p.png", "--scene", "none.png"}, 1},
        {{"grab", "-o", "p.png", "--camera", "line=1"}, 1},
        {{"info", "--applet", "nowhere.so"}, 1},
    };
    for (const auto& [words, status] : failures) {
        Words all = words;
        all.emplace_back("--json");
        const Result result = run(all);
        SCOPED_TRACE(testing::PrintToString(words));
        EXPECT_EQ(result.status, status);
        const Json document = Json::parse(result.output, nullptr, false);
        ASSERT_FALSE(document.is_discarded()) << result.output;
        EXPECT_TRUE(document["error"]["message"].is_string()) << result.output;
        EXPECT_THAT(result.errors, Not(IsEmpty()));
    }
    EXPECT_EQ(Json::parse(run({"describe", "FG_WITDH", "--json"}).output)["error"]["code"], -2070);
    EXPECT_THAT(Json::parse(run({"xml", "--json"}).output)["document"], StartsWith("<?xml"));
    EXPECT_GT(Json::parse(run({"grab", "--camera", "help", "--json"}).output)["cameraOptions"].size(), 10u);
}

#ifndef _WIN32

TEST_F(QelmTest, LostOutputIsAFailure) {
    const fs::path tool = host::executableFolder() / QELM_TOOL;
    const fs::path errors = folder_ / "errors";
    for (const Words& words : std::vector<Words>{{"info"}, {"lut"}, {"xml"}, {"list", "--json"}, {"--help"}}) {
        EXPECT_EQ(runProcess(tool, words, "/dev/full", errors), 1) << words.front();
        EXPECT_THAT(readText(errors), HasSubstr("the standard output cannot be written: No space left on device"));
    }
    const Result device = run({"xml", "-o", "/dev/full"});
    EXPECT_EQ(device.status, 1);
    EXPECT_THAT(device.errors, HasSubstr("\"/dev/full\" cannot be written: No space left on device"));
}

TEST_F(QelmTest, FilesAppearWholeOrNotAtAll) {
    const auto inFolder = [this] {
        std::set<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder_)) {
            names.insert(entry.path().filename().string());
        }
        return names;
    };
    const Words runs[] = {{"xml", "-o", "old"},         {"save", "old.kcf"},
                          {"lut", "--save", "old.lut"}, {"lut", "--plot", "old.png"},
                          {"grab", "-o", "old.tif"},    {"timing", "-o", "old.svg", "--wait", "1000000"}};
    run({"info"}); // makes the files of its output
    for (const Words& words : runs) {
        const auto name = std::ranges::find_if(words, [](const std::string& word) { return word.starts_with("old"); });
        std::ofstream(*name) << "the old one";
        const std::set<std::string> before = inFolder();
        Result failed{};
        {
            const FileSizeLimit limit(1000);
            failed = run(words);
        }
        EXPECT_EQ(failed.status, 1) << words.front();
        EXPECT_THAT(failed.errors, testing::AnyOf(HasSubstr("File too large"), HasSubstr("-5001"))) << words.front();
        EXPECT_EQ(readText(*name), "the old one");
        EXPECT_EQ(inFolder(), before);
        fs::permissions(*name, fs::perms(0640));
        const Result written = run(words);
        EXPECT_EQ(written.status, 0) << written.errors;
        EXPECT_NE(readText(*name), "the old one");
        EXPECT_EQ(fs::status(*name).permissions(), fs::perms(0640));
        EXPECT_EQ(inFolder(), before);
    }
    // A link stays one; what was written before a failure is told.
    std::ofstream("target.xml") << "the old one";
    fs::create_symlink("target.xml", "link.xml");
    EXPECT_EQ(run({"xml", "-o", "link.xml"}).status, 0);
    EXPECT_TRUE(fs::is_symlink("link.xml"));
    EXPECT_THAT(readText("target.xml"), StartsWith("<?xml"));
    const Result stopped = run({"grab", "-o", "p.png", "--frames", "3", "--set", "FG_AREATRIGGERMODE=ATM_GENERATOR",
                                "--set", "FG_TRIGGER_FRAMESPERSECOND=0.5", "--timeout", "1"});
    EXPECT_EQ(stopped.status, 1);
    EXPECT_THAT(stopped.errors, HasSubstr("Written before: \"p-1.png\"."));
}

TEST_F(QelmTest, AnInterruptedRunLeavesNothingUnfinished) {
    const fs::path tool = host::executableFolder() / QELM_TOOL;
    const fs::path temporary = folder_ / "temporary";
    fs::create_directory(temporary);
    for (const int times : {1, 2}) { // the second Ctrl-C does not wait for the picture that is coming
        ::setenv("TMPDIR", temporary.c_str(), 1);
        const int status = interruptProcess(tool, {"grab", "-o", "p.tif", "--frames", "100000", "--json"}, "output",
                                            "errors", "p-000003.tif", times);
        ::unsetenv("TMPDIR");
        EXPECT_EQ(status, 130);
        EXPECT_TRUE(fs::is_empty(temporary));
        EXPECT_THAT(readText("errors"), HasSubstr("qelm: interrupted\nqelm: Written before: "));
        const Json report = Json::parse(readText("output"), nullptr, false);
        ASSERT_FALSE(report.is_discarded()) << readText("output");
        size_t pictures = 0;
        std::vector<fs::path> files;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder_)) {
            if (entry.path().extension() == ".tif") {
                EXPECT_GE(entry.file_size(), 1u << 20) << entry.path();
                files.push_back(entry.path());
                ++pictures;
            }
        }
        EXPECT_GE(report["pictures"].size() + static_cast<size_t>(times) - 1, pictures); // one may just be there
        EXPECT_LE(report["pictures"].size(), pictures);
        EXPECT_EQ(report["error"]["message"], "interrupted");
        std::ranges::for_each(files, [](const fs::path& file) { fs::remove(file); });
    }
}

TEST_F(QelmTest, SaysThatTheTemporaryFolderCannotBeUsed) {
    ::setenv("TMPDIR", "/nowhere", 1);
    const Result shading =
        run({"shading", "--gray", (fs::path(QELM_TEST_DATA) / "tiff" / "im_16_strips.tiff").string()});
    const Result get = run({"get", "FG_WIDTH"});
    ::unsetenv("TMPDIR");
    EXPECT_EQ(shading.status, 1);
    EXPECT_THAT(shading.errors, HasSubstr("could not be written to the folder for temporary files, \"/nowhere\""));
    EXPECT_THAT(shading.errors, Not(HasSubstr("unknown,")));
    EXPECT_EQ(get.status, 0) << get.errors;
}

#endif

TEST_F(QelmTest, WritesTheReferenceThatTheDocumentationHolds) {
    EXPECT_EQ(run({"list", "--markdown"}).output, readText(QELM_DOCS "/parameters.md"))
        << "when the change is meant: scripts/refresh-descriptions";
}

TEST_F(QelmTest, WritesTheDescriptionIntoAFile) {
    const fs::path file = folder_ / "description.xml";
    EXPECT_EQ(run({"xml", "-o", file.string()}).output, "");
    EXPECT_EQ(readText(file), run({"xml"}).output);
}

/** The words of a command line of the help texts. */
Words split(const std::string& line) {
    Words words(1);
    bool isQuoted = false;
    for (const char letter : line) {
        if (letter == '"') {
            isQuoted = !isQuoted;
        } else if (letter == ' ' && !isQuoted) {
            words.emplace_back();
        } else {
            words.back() += letter;
        }
    }
    return words;
}

TEST_F(QelmTest, TheExamplesOfItsHelpWork) {
    const auto inFolder = [this](const std::string& word) {
        const std::string extension = fs::path(word).extension().string();
        const bool isFile = extension == ".kcf" || extension == ".tif" || extension == ".png" || extension == ".svg" ||
                            extension == ".lut";
        return isFile ? (folder_ / word).string() : word;
    };
    // What "diff" compares with and "shading" takes for references.
    ASSERT_EQ(run({"save", inFolder("night.kcf")}).status, 0);
    for (const char* reference : {"gray.tif", "flat.tif", "dark.tif"}) {
        ASSERT_EQ(run({"grab", "--scene", reference[0] == 'd' ? "black" : "gray", "-o", inFolder(reference)}).status,
                  0);
    }
    std::ofstream("experiment.qelm") << "set FG_WIDTH=64\nexpect FG_WIDTH == 64\n";
    size_t examples = 0;
    std::vector<Words> helps{{"--help"}};
    for (const char* verb :
         {"info", "list",  "get", "set",     "trace", "events",    "describe", "xml",    "save", "load",
          "diff", "check", "lut", "shading", "grab",  "calibrate", "run",      "timing", "man",  "completion"}) {
        helps.push_back({verb, "--help"});
    }
    for (const Words& help : helps) {
        std::string text = run(help).output;
        const std::string start = "\n  qelm ";
        for (size_t at = text.find(start); at != std::string::npos; at = text.find(start, at + 1)) {
            const size_t begin = at + start.size();
            const std::string line =
                text.substr(begin, std::min(text.find('\n', begin), text.find("  ", begin)) - begin);
            const bool endsByItself = !line.starts_with("serve"); // tests/console has it
            if (endsByItself && line.find("/opt/") == std::string::npos) {
                Words words = split(line);
                std::ranges::transform(words, words.begin(), inFolder);
                const Result result = run(words);
                const int worst = words.front() == "diff" ? 1 : 0; // 1: the files differ
                EXPECT_LE(result.status, worst) << "qelm " << line << '\n' << result.errors;
                ++examples;
            }
        }
    }
    EXPECT_GT(examples, 15u);
}

/** The commands in the blocks of a document, without what stands behind them after two blanks. */
std::vector<std::string> commandsOf(const fs::path& document) {
    const std::string text = std::regex_replace(readText(document), std::regex(R"( \\\n +)"), " ");
    const std::regex command(R"(\n    qelm (\S+( \S+)*))");
    std::vector<std::string> commands;
    for (std::sregex_iterator found(text.begin(), text.end(), command), end; found != end; ++found) {
        commands.push_back((*found)[1]);
    }
    return commands;
}

TEST_F(QelmTest, TheCommandsOfTheTourWork) {
    const std::vector<std::string> commands = commandsOf(QELM_DOCS "/first-hour.md");
    EXPECT_GT(commands.size(), 15u);
    for (const std::string& command : commands) {
        const Result result = run(split(command));
        EXPECT_EQ(result.status, command.starts_with("diff ") ? 1 : 0) << command << '\n' << result.errors;
        const bool warns =
            command.find("wrong.png") != command.npos || command.find("--load calibrated") != command.npos;
        EXPECT_EQ(!result.errors.empty(), warns) << command << '\n' << result.errors;
    }
    for (const char* picture : {"region.png", "before.png", "after.png", "corrected.png", "curve.png", "timing.svg"}) {
        EXPECT_GT(fs::file_size(picture), 1000u) << picture;
    }
}

TEST_F(QelmTest, TheCommandsAboutPicturesWork) {
    std::size_t count = 0;
    for (const std::string& command : commandsOf(QELM_DOCS "/grabbing.md")) {
        if (command.find('|') == std::string::npos) { // where other programs follow
            const Result result = run(split(command));
            EXPECT_EQ(result.status, 0) << command << '\n' << result.errors;
            ++count;
        }
    }
    EXPECT_GE(count, 4u);
}

TEST_F(QelmTest, GrabsPicturesAndTellsWhyNoneComes) {
    const std::string picture = (folder_ / "picture.png").string();
    const Result several = run({"grab", "--frames", "3", "-o", picture, "--json"});
    EXPECT_EQ(several.status, 0) << several.errors;
    const Json pictures = Json::parse(several.output)["pictures"];
    ASSERT_EQ(pictures.size(), 3u);
    EXPECT_EQ(pictures[2]["file"], (folder_ / "picture-3.png").string());
    EXPECT_EQ(pictures[2]["width"], 1024);
    EXPECT_TRUE(fs::exists(folder_ / "picture-3.png"));

    const struct {
        Words words;
        const char* sentence;
    } refused[] = {
        {{"grab"}, "where to? give -o FILE.tif or -o FILE.png"},
        {{"grab", "-o", picture, "--set", "FG_TRIGGERSTATE=TS_SYNC_STOP"}, "did not come within 10 s of virtual time"},
        {{"grab", "-o", picture, "--camera", "line=1"}, "the camera waits for a pulse on the camera-control line"},
        {{"grab", "-o", picture, "--camera", "colour=red"}, "colour"},
        {{"grab", "-o", picture, "--scene", "nowhere.png"}, "nowhere.png"},
        {{"grab", "-o", (folder_ / "no" / "picture.tif").string()}, "cannot be written"},
        {{"timing", "-o", "picture.svg"}, "no time has passed: give --wait or --pulses"},
    };
    for (const auto& [words, sentence] : refused) {
        const Result result = run(words);
        EXPECT_EQ(result.status, 1) << sentence;
        EXPECT_THAT(result.errors, HasSubstr(sentence));
    }
}

TEST_F(QelmTest, DrivesAnotherBuildOfTheApplet) {
    const fs::path folder = folder_ / "another build";
    fs::create_directories(folder);
    for (const fs::directory_entry& entry : fs::directory_iterator(host::executableFolder())) {
        if (entry.path().extension() == host::Applet::defaultFile().extension()) {
            fs::copy_file(entry.path(), folder / entry.path().filename());
        }
    }
    const std::string applet = (folder / host::Applet::defaultFile().filename()).string();
    const Result result = run({"trace", "FG_WIDTH=512", "--applet", applet});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("Device1_Process0_Buffer_0_ROI_X_Length=512"));
}

TEST_F(QelmTest, NamesTheLibrariesThatTheAppletMisses) {
    const fs::path applet = host::Applet::defaultFile();
    fs::copy_file(host::executableFolder() / QELM_TOOL, folder_ / QELM_TOOL);
    fs::copy_file(applet, folder_ / applet.filename());
    const Result result = run({"info"}, folder_ / QELM_TOOL);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("could not be loaded"));
    for (const char* name : {"nuvrod", "qelm_hw", "nuvpix"}) {
        EXPECT_THAT(result.errors, HasSubstr(host::libraryFileName(name)));
    }
}

} // namespace
} // namespace qelm::test
