// The tool as its users run it: exit status, what it prints and what it says when it cannot.

#include "process.h"

#include "qelm/host/applet.h"
#include "qelm/host/system.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>
#include <map>

namespace qelm::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Json = nlohmann::json;
using Words = std::vector<std::string>;

struct Result {
    int status;
    std::string output;
    std::string errors;
};

std::string readText(const fs::path& file) {
    std::ifstream stream(file); // in text mode, so that lines end alike everywhere
    return {std::istreambuf_iterator<char>(stream), {}};
}

/**
 * A folder of this test's own, since cases run side by side; the tool runs in it, where no library lies about that the
 * loader would find.
 */
class QelmTest : public testing::Test {
  protected:
    QelmTest()
        : folder_(fs::path(testing::TempDir()) /
                  ("qelm_test_" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()))) {
        fs::create_directories(folder_);
        fs::current_path(folder_);
    }
    ~QelmTest() override {
        fs::current_path(testing::TempDir());
        fs::remove_all(folder_);
    }

    Result run(const Words& arguments, const fs::path& tool = host::executableFolder() / QELM_TOOL) const {
        const fs::path output = folder_ / "output";
        const fs::path errors = folder_ / "errors";
        const int status = runProcess(tool, arguments, output, errors);
        return {status, readText(output), readText(errors)};
    }

    fs::path folder_;
};

TEST_F(QelmTest, Answers) {
    const struct {
        Words arguments;
        Words output;
    } cases[] = {
        {{"info"}, {"Zantor_Obvelline_Qx4_RK", "2.4.1.2", "2269798 bytes", "2628", "virtual"}},
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
         {"TRGINSRC_0 (0) -> TRGINSRC_1 (1)", "1.008 \u00b5s   0x20  FG_TRIGGER_INPUT1_RISING\n",
          "16.000 \u00b5s  0x40  FG_TRIGGER_INPUT1_FALLING\nFG_TRIGGERIN_STATS_PULSECOUNT = 2 pulses\n"}},
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
        {{"save", "none/setup.kcf"}, 1, {"saving \"none/setup.kcf\" failed", "(-5001, FG_ERROR_FILE_ACCESS)"}},
        {{"save", "setup.txt"}, 1, {"(-5001", "has to contain \".kcf\""}},
        {{"save", "none/setup.kcf", "FG_WIDTH=8"}, 1, {"FG_WIDTH = 8 was refused", "was not written"}},
        {{"load", "none.kcf"}, 1, {"loading \"none.kcf\" failed", "(-2076"}},
        {{"diff", "none.kcf", "none.kcf"}, 1, {"there is no file \"none.kcf\""}},
        {{"check", "none.kcf"}, 1, {"there is no file \"none.kcf\""}},
        {{"check"}, 2, {"FILE.kcf is required"}},
        {{"info", "--applet", "nowhere.so"}, 1, {"there is no library", "nowhere.so"}},
    };
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
             "The value is kept all the same",
             ":35: changed: FG_GEN_ROLL=0x1 is read as 0\n",
             ": refused: FG_PROCESSING_GAIN = 5000 was refused",
             ": refused: FG_TRIGGER_FRAMESPERSECOND = 1000 was refused: ",
             ": changed: FG_TRIGGERIN_DEBOUNCE: 1 \u00b5s becomes 1.008 \u00b5s\n",
             ": changed: FG_SHADING_BLACK_FILENAME='it's.tif' is read as 'it'\n",
             ": refused: the shading coefficients would not be computed: ",
             ":111: ignored: FG_WIDTH stands in line 15 already\n",
             ":112: ignored: there is no key FG_WIDTHS\n",
             ":113: ignored: \"nonsense\" is neither a section nor KEY=VALUE;\n",
         }) {
        EXPECT_THAT(bad.output, HasSubstr(part));
    }
    EXPECT_THAT(bad.output, testing::Not(HasSubstr("GEN0_WIDTH")));
    const Json findings = Json::parse(run({"check", other, "--json"}).output);
    EXPECT_EQ(findings["loads"], true);

    std::ofstream(other) << "Hersteller='x';\nTyp='y';\n[Port A]\nFG_WIDTH=Error;\n";
    const Result unloadable = run({"check", other});
    EXPECT_EQ(unloadable.status, 1);
    for (const char* part : {": refused: Typ is 'y', not 'Zantor_", ": refused: the key AktivePort is missing\n",
                             ": refused: the key FG_TIMEOUT is missing\n", ":4: refused: FG_WIDTH counts as missing",
                             "A load would be refused\n"}) {
        EXPECT_THAT(unloadable.output, HasSubstr(part));
    }
    EXPECT_EQ(run({"load", other}).status, 1);
}

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
    size_t examples = 0;
    std::vector<Words> helps{{"--help"}};
    for (const char* verb : {"info", "list", "get", "set", "trace", "events", "describe", "xml", "save", "load", "diff",
                             "check", "lut", "shading", "grab", "timing"}) {
        helps.push_back({verb, "--help"});
    }
    for (const Words& help : helps) {
        std::string text = run(help).output;
        const std::string start = "\n  qelm ";
        for (size_t at = text.find(start); at != std::string::npos; at = text.find(start, at + 1)) {
            const size_t begin = at + start.size();
            const std::string line =
                text.substr(begin, std::min(text.find('\n', begin), text.find("  ", begin)) - begin);
            if (line.find("/opt/") == std::string::npos) {
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
        {{"timing", "-o", picture}, "no time has passed: give --wait or --pulses"},
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
