// Saving and loading configurations: exact files, the order of a load, refusals, and files that nobody would write.

#include "fixture.h"
#include "qelm/host/values.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <clocale>
#include <functional>
#include <map>

#ifndef _WIN32
#include <csignal>
#include <sys/resource.h>
#endif

namespace qelm::test {
namespace {

struct Line {
    const char* key;
    const char* value;
};
constexpr Line freshLines[] = {
#define CONFIGURATION_LINE(key, value) {#key, value},
#include "fresh_configuration.inc"
};

constexpr const char* freshHeader = "[Kamerasektion]\n"
                                    "\n"
                                    "ConfigFileVersion=2.0;\n"
                                    "Hersteller='Quellmark GmbH';\n"
                                    "Typ='Zantor_Obvelline_Qx4_RK';\n"
                                    "Version='1.2';\n"
                                    "LoadAppletId=0;\n"
                                    "AktivePort=0;\n"
                                    "\n"
                                    "[Port A]\n";

std::string freshConfiguration() {
    std::string text = freshHeader;
    for (const auto& [key, value] : freshLines) {
        text += std::string(key) + "=" + value + ";\n";
    }
    return text;
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    const auto position = text.find(what);
    EXPECT_NE(position, text.npos) << what;
    return position == text.npos ? text : text.replace(position, what.size(), by);
}

/** The text with another value for a key that stands in it. */
std::string with(const std::string& text, const std::string& key, const std::string& value) {
    const auto start = text.find("\n" + key + "=");
    EXPECT_NE(start, text.npos) << key;
    const auto end = text.find('\n', start + 1);
    return text.substr(0, start + 1) + key + "=" + value + ";" + text.substr(end);
}

std::string without(const std::string& text, const std::string& key) {
    const auto start = text.find("\n" + key + "=");
    EXPECT_NE(start, text.npos) << key;
    return text.substr(0, start) + text.substr(text.find('\n', start + 1));
}

class ConfigurationTest : public BoardTest {
  protected:
    std::string path(const std::string& name = "setup.kcf") const { return folder_.file(name); }

    static std::int32_t save(const Board& board, const std::string& file) {
        return board.applet()->Fg_saveConfig(board, file.c_str());
    }
    static std::int32_t load(const Board& board, const std::string& file) {
        return board.applet()->Fg_loadConfig(board, file.c_str());
    }
    /** What a save writes, line ends aside. */
    std::string saved(const Board& board) {
        EXPECT_EQ(save(board, path("saved.kcf")), 0);
        EXPECT_EQ(lastError(board), 0);
        return readText(path("saved.kcf"));
    }
    /** What the design holds of everything that the applet drives, but for what changes by itself. */
    std::map<std::string, std::uint32_t> designOf(const Board& board) const {
        std::map<std::string, std::uint32_t> values;
        for (const char* name : {
#define DESIGN_PARAMETER(symbol, target) target,
#include "parameters/design_parameters.inc"
             }) {
            std::uint32_t value = 0;
            if (!std::string(name).ends_with("_Status") &&
                control().getDesignValue(board.virtualBoard(), name, 0, &value) == 0) {
                values[name] = value;
            }
        }
        return values;
    }
    static std::vector<std::string> changes(const std::map<std::string, std::uint32_t>& from,
                                            const std::map<std::string, std::uint32_t>& to) {
        std::vector<std::string> texts;
        for (const auto& [name, value] : from) {
            if (to.at(name) != value) {
                texts.push_back(name + ": " + std::to_string(value) + " became " + std::to_string(to.at(name)));
            }
        }
        return texts;
    }
    /** Loads a file of exactly these bytes. */
    std::int32_t loadText(const Board& board, const std::string& bytes) {
        folder_.write("setup.kcf", bytes);
        return load(board, path());
    }
    /** Makes settings in their order, each of which has to succeed. */
    static void change(Board& board, const std::vector<std::pair<std::int32_t, std::uint32_t>>& settings) {
        for (const auto& [id, value] : settings) {
            EXPECT_EQ(board.set(id, value), 0) << id << " = " << value;
        }
    }

    TemporaryFolder folder_;
};

TEST_F(ConfigurationTest, SavesExactBytes) {
    EXPECT_EQ(saved(board_), freshConfiguration());
}

TEST_F(ConfigurationTest, SaveLoadSaveIsTheSameInEveryMode) {
    folder_.write("table.lut", "# Lut data file v1.1\n\n\n\n[gray]\n\nid=3;\nnrOfElements=2;\nformat=0;\nnumber=0;\n"
                               "0,7;\n1,8;\n");
    struct Mode {
        std::function<void(Board&)> make;
        std::vector<std::string> changes{}; ///< of the design by the load
    };
    std::vector<Mode> modes;
    const std::string unit = "Device1_Process1_Trigger_TriggerCam0_";
    const std::string period = unit + "Generators_Generator_MinimumPeriod_Number: ";
    for (const std::uint32_t mode : {ATM_GENERATOR, ATM_EXTERNAL, ATM_SOFTWARE}) {
        for (const std::uint32_t state : {TS_ACTIVE, TS_ASYNC_STOP, TS_SYNC_STOP}) {
            for (const std::int32_t queue : {FG_ON, FG_OFF}) {
                std::vector<std::string> changes;
                if (state == TS_ASYNC_STOP) { // selections come behind the state and connect what it cut off
                    changes = {unit + "CameraControl_Select0_Select_Select: 5 became 0",
                               unit + "TriggerOutput_Select0_Select_Select: 5 became 0",
                               unit + "TriggerOutput_Select1_Select_Select: 5 became 1"};
                }
                if (queue == FG_OFF) { // it comes behind the rate and has the last word
                    changes.insert(state == TS_ASYNC_STOP ? changes.begin() + 1 : changes.end(),
                                   period + "506244 became 10");
                }
                modes.push_back({[=](Board& board) {
                                     change(board, {{FG_AREATRIGGERMODE, mode},
                                                    {FG_TRIGGERSTATE, state},
                                                    {FG_TRIGGERQUEUE_MODE, static_cast<std::uint32_t>(queue)}});
                                     EXPECT_EQ(board.set(FG_TRIGGER_FRAMESPERSECOND, 123.456), 0);
                                     EXPECT_EQ(board.set(FG_TRIGGER_PULSEFORMGEN2_WIDTH, 17.3), 0);
                                     EXPECT_EQ(board.set(FG_TRIGGERIN_DEBOUNCE, 2.5), 0);
                                 },
                                 changes});
            }
        }
    }
    for (const std::uint32_t mode : {FREE_RUN, GRABBER_CONTROLLED, ASYNC_TRIGGER, ASYNC_SOFTWARE_TRIGGER}) {
        modes.push_back(
            {[=](Board& board) {
                 change(board, {{FG_TRIGGER_LEGACY_MODE, FG_ON},
                                {FG_EXPOSURE, 2500},
                                {FG_EXSYNCON, FG_ON},
                                {FG_CCSEL1, CC_NOT_STROBEPULSE},
                                {FG_TRIGGERMODE, mode}});
             },
             mode == GRABBER_CONTROLLED ? std::vector{period + "7812490 became 10"} : std::vector<std::string>{}});
    }
    modes.push_back({[](Board& board) {
        EXPECT_EQ(board.set(FG_PROCESSING_GAMMA, 2.2), 0);
        EXPECT_EQ(board.set(FG_PROCESSING_OFFSET, -1.0 / 3.0), 0);
        change(board, {{FG_PROCESSING_INVERT, FG_ON}});
    }});
    modes.push_back({[this](Board& board) {
        EXPECT_EQ(board.set(FG_LUT_CUSTOM_FILE, path("table.lut")), 0);
        change(board, {{FG_LUT_TYPE, LUT_TYPE_CUSTOM}});
    }});
    modes.push_back({[](Board& board) {
        change(board, {{FG_CAMERA_WIDTH, 2048},
                       {FG_WIDTH, 2032},
                       {FG_XOFFSET, 16},
                       {FG_FORMAT, FG_GRAY16},
                       {FG_SHADING_GAIN_CORRECTION_MODE, FG_CUSTOM_VALUE},
                       {FG_DEVICETAPGEOMETRY, 0xE4C0}});
        EXPECT_EQ(board.set(FG_GEN_FREQ, 62.5), 0);
        EXPECT_EQ(board.set(FG_SHADING_GAIN_NORMALIZATION_VALUE, 1234.5), 0);
    }});
    for (size_t mode = 0; mode < modes.size(); ++mode) {
        SCOPED_TRACE(mode);
        Board board(applet_);
        modes[mode].make(board);
        const std::string first = saved(board);
        const auto design = designOf(board);
        EXPECT_NE(first, freshConfiguration());
        EXPECT_EQ(loadText(board, first), 0);
        EXPECT_EQ(saved(board), first) << "on the same board";
        EXPECT_EQ(changes(design, designOf(board)), modes[mode].changes) << "on the same board";
        Board other(applet_);
        EXPECT_EQ(loadText(other, first), 0);
        EXPECT_EQ(saved(other), first) << "on another board";
        EXPECT_EQ(changes(design, designOf(other)), modes[mode].changes) << "on another board";
    }
}

TEST_F(ConfigurationTest, TheDecimalPointIsAPointInEveryLocale) {
    board_.change(FG_GEN_FREQ, 62.5);
    const std::string expected = with(freshConfiguration(), "FG_GEN_FREQ", "62.5");
#ifdef QELM_TEST_LOCALES
    host::setEnvironment("LOCPATH", QELM_TEST_LOCALES);
    const char* names[] = {"de_DE.UTF-8"};
#else
    const char* names[] = {"German"};
#endif
    const auto comma = std::ranges::find_if(names, [](const char* name) {
        return std::setlocale(LC_ALL, name) != nullptr && std::string(std::localeconv()->decimal_point) == ",";
    });
    ASSERT_NE(comma, std::end(names)) << "no locale with a decimal comma";
    EXPECT_EQ(saved(board_), expected);
    EXPECT_STREQ(std::localeconv()->decimal_point, ".") << "the locale is not restored";
    ASSERT_NE(std::setlocale(LC_ALL, *comma), nullptr);
    Board other(applet_);
    EXPECT_EQ(loadText(other, expected), 0);
    EXPECT_EQ(other.get<double>(FG_GEN_FREQ), 62.5);
    EXPECT_STREQ(std::localeconv()->decimal_point, ".");
    std::setlocale(LC_ALL, "C");
}

TEST_F(ConfigurationTest, FilesOfTheOtherPlatformLoad) {
    const std::string text = with(freshConfiguration(), "FG_WIDTH", "512");
    std::string carried;
    for (const char c : text) {
        carried += c == '\n' ? "\r\n" : std::string(1, c);
    }
    for (const std::string& bytes : {text, carried}) {
        Board board(applet_);
        EXPECT_EQ(loadText(board, bytes), 0);
        EXPECT_EQ(saved(board), text);
    }
}

// The keys that a load applies, in its order.
constexpr std::pair<const char*, const char*> appliedFromTo[] = {
    {"FG_TRIGGER_LEGACY_MODE", "FG_TRIGGER_LEGACY_MODE"},
    {"FG_TIMEOUT", "FG_NOISEFILTER"},
    {"FG_LUT_TYPE", "FG_LUT_TYPE"},
    {"FG_SHADING_OFFSET_ENABLE", "FG_SHADING_GAIN_ENABLE"},
    {"FG_AREATRIGGERMODE", "FG_TRIGGER_OUTPUT_EVENT_SELECT"},
    {"FG_TRIGGERMODE", "FG_DIGIO_OUTPUT"},
};

TEST_F(ConfigurationTest, AppliesInItsOrder) {
    // On a board that holds the file's settings already a load does what setting each of them again does.
    change(board_, {{FG_TRIGGERSTATE, TS_ACTIVE}, {FG_WIDTH, 512}});
    ASSERT_EQ(loadText(board_, saved(board_)), 0);
    std::vector<std::string> expected;
    for (const auto& [from, to] : appliedFromTo) {
        const auto* line = std::ranges::find(freshLines, std::string(from), &Line::key);
        for (bool last = false; !last; ++line) {
            last = std::string(to) == line->key;
            const host::Reference reference{host::findFixedParameter(line->key)};
            const host::Value held = host::readValue(board_, reference);
            const auto writes = writesOf(board_, [&] {
                try {
                    host::writeValue(board_, {reference, held});
                } catch (const host::AppletError&) { // a load goes on, too
                }
            });
            expected.insert(expected.end(), writes.begin(), writes.end());
        }
    }
    EXPECT_GT(expected.size(), 100u);
    EXPECT_EQ(writesOf(board_, [&] { EXPECT_EQ(load(board_, path()), 0); }), expected);
}

TEST_F(ConfigurationTest, RefusesFilesThatAreNotItsOwn) {
    const std::string text = freshConfiguration();
    const struct {
        const char* what;
        std::string text;
        const char* name = "setup.kcf";
        std::int32_t code = FG_ERROR_CONFIGURATION;
    } cases[] = {
        {"another name", text, "setup.txt"},
        {"no vendor", without(text, "Hersteller")},
        {"no applet", without(text, "Typ")},
        {"letter case", replaced(text, "Typ='Zantor_", "Typ='zantor_")},
        {"longer name", replaced(text, "_RK';", "_RK2';")},
        {"shorter name", replaced(text, "_RK';", "';")},
        {"no port", without(text, "AktivePort")},
        {"port is no value", replaced(text, "AktivePort=0", "AktivePort=Error")},
        {"header behind the keys", replaced(text, "[Kamerasektion]\n", "") + "[Kamerasektion]\n"},
        {"no section", replaced(text, "[Port A]", "[Port B]")},
        {"a text with Error", with(text, "FG_LUT_CUSTOM_FILE", "'/data/Errors.lut'")},
        {"a number with Error", with(text, "FG_GEN_FREQ", "4Error")},
        {"empty", ""},
        {"header alone", freshHeader},
    };
    for (const auto& [what, bytes, name, code] : cases) {
        SCOPED_TRACE(what);
        folder_.write(name, bytes);
        EXPECT_THAT(writesOf(board_, [&] { EXPECT_EQ(load(board_, path(name)), code); }), IsEmpty());
        EXPECT_EQ(lastError(board_), FG_ERROR_CONFIGURATION);
    }
    for (const char* name : {"missing.kcf", "missing.txt"}) {
        EXPECT_EQ(load(board_, path(name)), FG_ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(lastError(board_), FG_ERROR_CONFIGURATION);
    }
    EXPECT_EQ(board_.applet()->Fg_loadConfig(board_, nullptr), FG_ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(board_.applet()->Fg_saveConfig(board_, nullptr), FG_ERROR_FILE_ACCESS);
    EXPECT_EQ(board_.applet()->Fg_loadConfig(nullptr, path().c_str()), FG_ERROR_INVALID_BOARD);
    EXPECT_EQ(saved(board_), text);
}

TEST_F(ConfigurationTest, TakesWhatTheFormatAllows) {
    const std::string text = with(freshConfiguration(), "FG_WIDTH", "512");
    const std::string cases[] = {
        replaced(text, "'Quellmark GmbH'", "'Somebody'"),
        replaced(text, "AktivePort=0", "AktivePort=7"),
        replaced(without(without(text, "Version"), "LoadAppletId"), "ConfigFileVersion=2.0;\n", ""),
        replaced(text, "[Port A]", "[Port A]\n[Port B]"), // a section ends with the file
        text + "FG_WIDTH=256;\n",                         // the first counts
        replaced(text, "[Port A]", "FG_WIDTH=256;\n[Port A]"),
        replaced(text, "[Port A]\n", "[Port A]\nFG_WIDTHMAX=256;\nMY_FG_WIDTH=256;\n"),
    };
    for (const std::string& bytes : cases) {
        Board board(applet_);
        EXPECT_EQ(loadText(board, bytes), 0) << bytes.substr(0, 250);
        EXPECT_EQ(lastError(board), 0);
        EXPECT_EQ(saved(board), text);
    }
}

TEST_F(ConfigurationTest, AMissingKeyEndsTheLoadWhereItIs) {
    std::string text = freshConfiguration();
    for (const auto& [key, value] : {Line{"FG_TIMEOUT", "5"}, Line{"FG_HEIGHT", "100"}, Line{"FG_GEN_ROLL", "1"}}) {
        text = with(text, key, value);
    }
    // In the first pass: kept up to there, and nothing reaches the board.
    EXPECT_THAT(
        writesOf(board_,
                 [&] { EXPECT_EQ(loadText(board_, without(text, "FG_BITALIGNMENT")), FG_ERROR_CONFIGURATION); }),
        IsEmpty());
    EXPECT_EQ(board_.get<std::uint32_t>(FG_HEIGHT), 100u);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_GEN_ROLL), 0u);
    // In the second: the two that are not read in the first.
    for (const char* key : {"FG_AREATRIGGERMODE", "FG_TRIGGERSTATE"}) {
        Board board(applet_);
        board.clearTrace();
        EXPECT_EQ(loadText(board, without(text, key)), FG_ERROR_CONFIGURATION) << key;
        EXPECT_EQ(lastError(board), FG_ERROR_CONFIGURATION);
        const auto writes = board.writes();
        EXPECT_THAT(writes, testing::Contains("Device1_Process0_Buffer_0_ROI_Y_Length=100"));
        EXPECT_THAT(writes, testing::Not(testing::Contains(testing::HasSubstr("Debounce"))));
    }
    for (const auto& line : freshLines) {
        Board board(applet_);
        EXPECT_EQ(loadText(board, without(text, line.key)), FG_ERROR_CONFIGURATION) << line.key;
    }
}

TEST_F(ConfigurationTest, RefusedValuesStayKeptAndTheLoadGoesOn) {
    const std::string text =
        with(with(with(freshConfiguration(), "FG_WIDTH", "24"), "FG_FORMAT", "99"), "FG_GEN_ROLL", "1");
    const auto writes = writesOf(board_, [&] { EXPECT_EQ(loadText(board_, text), 0); });
    EXPECT_EQ(lastError(board_), 0);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_WIDTH), 24u);
    EXPECT_EQ(board_.get<std::int32_t>(FG_FORMAT), 99);
    EXPECT_EQ(peek("Device1_Process0_Buffer_0_ROI_X_Length"), 1024u);
    EXPECT_EQ(peekRegister("AAGenRoll"), 1u);
    EXPECT_EQ(saved(board_), text);
    // A write that fails is swallowed alike.
    control().fail(board_.virtualBoard(), nullptr, "Device1_Process0_Buffer_0_ROI_X_Length", 0, 1, injected);
    EXPECT_EQ(loadText(board_, with(text, "FG_WIDTH", "512")), 0);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_WIDTH), 512u);
    control().clearFaults();
}

TEST_F(ConfigurationTest, LimitsThatFollowOthersFollowKeptValues) {
    std::string text = with(with(freshConfiguration(), "FG_CAMERA_WIDTH", "100000"), "FG_CAMERA_HEIGHT", "90000");
    text = with(with(text, "FG_TRIGGER_PULSEFORMGEN1_DOWNSCALE", "200"), "FG_GEN_ACCURACY", "100");
    ASSERT_EQ(loadText(board_, with(text, "FG_GEN_FREQ", "2.5")), 0);
    EXPECT_EQ(peekRegister("AAGenActive"), 1U) << "2.5 MHz with an accuracy of 100";
    // What fits the kept partner is passed on to the design, which may refuse it.
    const std::string region = "Device1_Process0_Buffer_0_ROI_";
    const struct {
        std::int32_t id;
        std::uint32_t value;
        std::string target;
    } cases[] = {
        {FG_WIDTH, 50000, region + "X_Length"},
        {FG_HEIGHT, 60000, region + "Y_Length"},
        {FG_XOFFSET, 32000, region + "X_Offset"},
        {FG_YOFFSET, 60000, region + "Y_Offset"},
        {FG_TRIGGER_PULSEFORMGEN1_DOWNSCALE_PHASE, 9,
         "Device1_Process1_Trigger_TriggerCam0_PulseFormGenerators_PulseFormGenerator1_Downscale_SelectedPulse"}};
    for (const auto& [id, value, target] : cases) {
        control().fail(board_.virtualBoard(), nullptr, target.c_str(), 0, 1, injected);
        EXPECT_EQ(board_.set(id, value), injected) << target;
        control().clearFaults();
    }
    EXPECT_EQ(board_.set(FG_TRIGGER_PULSEFORMGEN1_DOWNSCALE, 200U), FG_ERROR_OUT_OF_RANGE)
        << "its own limits are fixed";
}

TEST_F(ConfigurationTest, KeptValuesTakeEffectThroughOthers) {
    std::string text = with(freshConfiguration(), "FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE", "1");
    text = with(with(text, "FG_PROCESSING_INVERT", "1"), "FG_PROCESSING_GAIN", "2");
    ASSERT_EQ(loadText(board_, text), 0);
    EXPECT_EQ(board_.get<std::int32_t>(FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE), 1);
    EXPECT_EQ(peek("Device1_Process0_NoiseFilter_EnableDeadPixelReplacement_Value"), 0u) << "a load does not write it";
    const char* table = "Device1_Process0_LookupTable_LookupTable_LUTcontent";
    EXPECT_EQ(peek(table, 0), 4095u);
    EXPECT_EQ(peek(table, 1024), 4095u - 2048u);
    EXPECT_EQ(peek(table, 4095), 0u);
    // Shading images that are not there: the last step fails without a word.
    EXPECT_EQ(loadText(board_, with(text, "FG_SHADING_BLACK_FILENAME", "'" + path("none.tif") + "'")), 0);
    EXPECT_EQ(board_.get<std::string>(FG_SHADING_BLACK_FILENAME), path("none.tif"));
}

TEST_F(ConfigurationTest, BothSetsOfALegacyFileReachTheDesign) {
    const std::string trigger = "Device1_Process1_Trigger_";
    const struct {
        const char* key;
        const char* value;
        std::string target;
        std::uint32_t number;
    } settings[] = {
        {"FG_TRIGGERIN_DEBOUNCE", "2.016", trigger + "TriggerInput_Debounce8_Prescale_Period", 42},
        {"FG_TRIGGERIN_DOWNSCALE", "3", trigger + "TriggerCam0_Downscale_Downscale_Downscale", 3},
        {"FG_TRIGGERIN_DOWNSCALE_PHASE", "2", trigger + "TriggerCam0_Downscale_Downscale_SelectedPulse", 2},
        {"FG_TRIGGER_MULTIPLY_PULSES", "5", trigger + "TriggerCam0_Generators_Sequence_Downscale", 5},
        {"FG_TRIGGER_PULSEFORMGEN3_DELAY", "16",
         trigger + "TriggerCam0_PulseFormGenerators_PulseFormGenerator3_Delay_Delay", 1000},
        {"FG_TRIGGEROUT_SELECT5", "2", trigger + "TriggerCam0_TriggerOutput_Select5_Select_Select", 2},
        {"FG_TRIGGERMODE", "1", trigger + "TriggerCam0_PulseFormGenerators_Enable_Select", 1}, // the legacy set's
        {"FG_CCSEL2", "4", trigger + "TriggerCam0_CameraControl_Select2_Polarity_Invert", 0}};
    std::string text = with(freshConfiguration(), "FG_TRIGGER_LEGACY_MODE", "1");
    for (const auto& setting : settings) {
        text = with(text, setting.key, setting.value);
    }
    ASSERT_EQ(loadText(board_, text), 0);
    for (const auto& setting : settings) {
        EXPECT_EQ(peek(setting.target), setting.number) << setting.key;
    }
    // The door is shut again, after a load that fails half-way as well.
    expectRefused(FG_TRIGGER_MULTIPLY_PULSES, 7U, FG_ERROR_UNKNOWN);
    ASSERT_EQ(loadText(board_, without(text, "FG_TRIGGERSTATE")), FG_ERROR_CONFIGURATION);
    expectRefused(FG_TRIGGER_MULTIPLY_PULSES, 7U, FG_ERROR_UNKNOWN);
}

TEST_F(ConfigurationTest, OffsetsBeyondTheDesignsLimitDoNotWrapTheRegion) {
    std::string text = with(with(freshConfiguration(), "FG_CAMERA_WIDTH", "20000"), "FG_XOFFSET", "9008");
    text = with(with(text, "FG_CAMERA_HEIGHT", "20000"), "FG_YOFFSET", "9000");
    const auto writes = writesOf(board_, [&] { EXPECT_EQ(loadText(board_, text), 0); });
    // One alignment of columns, four to a unit, and two lines are what the shading buffers have at their end.
    EXPECT_THAT(writes, testing::Contains("Device1_Process0_Shading_ShadingBuffer_0_XLength=4"));
    EXPECT_THAT(writes, testing::Contains("Device1_Process0_Shading_ShadingBuffer_1_YLength=2"));
}

TEST_F(ConfigurationTest, ValuesThatNoSetterTakesMeetGuards) {
    std::string text = freshConfiguration();
    for (const auto& [key, value] :
         {Line{"FG_CAMERA_WIDTH", "16384"}, Line{"FG_CAMERA_HEIGHT", "16384"}, Line{"FG_XOFFSET", "16"},
          Line{"FG_YOFFSET", "17"}, Line{"FG_IMG_SELECT_PERIOD", "300"}, Line{"FG_TRIGGERCC_SELECT3", "12"}}) {
        text = with(text, key, value);
    }
    ASSERT_EQ(loadText(board_, text), 0);
    // The shading buffers end at 8192, wherever the camera does.
    const auto expected = [](const char* roi, const char* first, const char* second) {
        std::vector<std::string> writes = {std::string("Device1_Process0_Buffer_0_ROI_") + roi};
        for (const char* target : {first, second}) {
            for (const char* buffer : {"0", "1"}) {
                if (target != nullptr) {
                    writes.push_back("Device1_Process0_Shading_ShadingBuffer_" + std::string(buffer) + "_" + target);
                }
                if (target == second) {
                    writes.push_back("Device1_Process0_Shading_ShadingBuffer_" + std::string(buffer) + "_UpdateROI=1");
                }
            }
        }
        return writes;
    };
    EXPECT_THAT(writesOfSet(FG_WIDTH, 8192U), ElementsAreArray(expected("X_Length=8192", nullptr, "XLength=2044")));
    EXPECT_THAT(writesOfSet(FG_XOFFSET, 16U), ElementsAreArray(expected("X_Offset=16", nullptr, "XOffset=4")));
    EXPECT_THAT(writesOfSet(FG_HEIGHT, 8192U), ElementsAreArray(expected("Y_Length=8192", nullptr, "YLength=8175")));
    EXPECT_THAT(writesOfSet(FG_YOFFSET, 17U), ElementsAreArray(expected("Y_Offset=17", "YLength=8175", "YOffset=17")));
    expectRefused(FG_IMG_SELECT, 256U, FG_ERROR_OUT_OF_RANGE); // less than the period, but too large all the same
    board_.change(FG_IMG_SELECT, 255U);
    board_.change(FG_AREATRIGGERMODE, std::uint32_t{ATM_SOFTWARE});
    EXPECT_EQ(board_.set(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE}), FG_ERROR_OUT_OF_RANGE)
        << "a line without a source";
    EXPECT_EQ(board_.get<std::uint32_t>(FG_TRIGGERSTATE), std::uint32_t{TS_SYNC_STOP});

    text = with(with(freshConfiguration(), "FG_TRIGGER_LEGACY_MODE", "1"), "FG_CCSEL2", "1");
    ASSERT_EQ(loadText(board_, text), 0);
    EXPECT_EQ(board_.set(FG_EXSYNCON, std::uint32_t{FG_ON}), -2075) << "a legacy line without a meaning";
    EXPECT_EQ(board_.get<std::uint32_t>(FG_EXSYNCON), std::uint32_t{FG_OFF});
}

TEST_F(ConfigurationTest, HostileFilesAreRefusedOrReadByTheRules) {
    const std::string text = with(freshConfiguration(), "FG_WIDTH", "512");
    std::string binary;
    for (std::uint32_t position = 0; position < 100000; ++position) {
        binary += static_cast<char>(position * position / 7);
    }
    std::string keys;
    std::string thousand;
    for (const auto& line : freshLines) {
        keys += std::string(line.key) + "=\n";
    }
    for (int count = 0; count < 1000; ++count) {
        thousand += "FG_WIDTH=" + std::to_string(count) + ";\n";
    }
    const std::string megabyte(size_t{1} << 20, 'x');
    const struct {
        const char* what;
        std::string text;
        std::int32_t code;
    } cases[] = {
        {"binary", binary, FG_ERROR_CONFIGURATION},
        {"binary behind", text + binary, 0},
        {"only keys", freshHeader + keys, 0},
        {"a key a thousand times", text + thousand, 0},
        {"a megabyte on one line", text + megabyte, 0},
        {"a megabyte in front", megabyte + text, 0}, // the section ends its piece
        {"a megabyte as a value", with(text, "FG_LUT_CUSTOM_FILE", "'" + megabyte + "'"), 0},
        {"a megabyte as a number", with(text, "FG_GEN_FREQ", std::string(size_t{1} << 20, '9')), 0},
        {"quotes and semicolons", with(text, "FG_LUT_CUSTOM_FILE", "';;''=';'"), 0},
        {"zero bytes", text + std::string(1000, '\0'), 0},
        {"numbers that do not fit", with(with(text, "FG_TIMEOUT", "99999999999999999999"), "FG_GEN_FREQ", "-1e9999"),
         0},
        {"no numbers", with(with(text, "FG_GEN_FREQ", "nan"), "FG_TRIGGER_FRAMESPERSECOND", "inf"), 0},
    };
    for (const auto& [what, bytes, code] : cases) {
        SCOPED_TRACE(what);
        Board board(applet_);
        EXPECT_EQ(loadText(board, bytes), code);
        EXPECT_EQ(loadText(board, freshConfiguration()), 0);
        EXPECT_EQ(saved(board), freshConfiguration());
    }
    folder_.write("setup.kcf", text);
    std::filesystem::resize_file(path(), std::uint64_t{1} << 31); // zero bytes that take no room on the disk
    EXPECT_EQ(load(board_, path()), FG_ERROR_CONFIGURATION);
    std::filesystem::create_directory(path("folder.kcf"));
    EXPECT_LT(load(board_, path("folder.kcf")), 0);
    EXPECT_EQ(lastError(board_), FG_ERROR_CONFIGURATION);
}

TEST_F(ConfigurationTest, LongTextsAreSavedWholeAndReadCut) {
    const std::string name = "/data/" + std::string(2000, 'n') + ".tif";
    board_.change(FG_SHADING_GRAY_FILENAME, name);
    const std::string text = saved(board_);
    EXPECT_EQ(text, with(freshConfiguration(), "FG_SHADING_GRAY_FILENAME", "'" + name + "'"));
    EXPECT_EQ(loadText(board_, text), 0);
    const std::string key = "FG_SHADING_GRAY_FILENAME='";
    EXPECT_EQ(board_.get<std::string>(FG_SHADING_GRAY_FILENAME), name.substr(0, 255 - key.size()));
}

TEST_F(ConfigurationTest, SavesThatFailSaySo) {
    const std::string untyped = path("setup.txt");
    EXPECT_EQ(save(board_, untyped), FG_ERROR_FILE_ACCESS);
    EXPECT_EQ(lastError(board_), FG_ERROR_FILE_ACCESS);
    EXPECT_FALSE(std::filesystem::exists(untyped));
    EXPECT_EQ(save(board_, path("no_folder/setup.kcf")), FG_ERROR_FILE_ACCESS);
    EXPECT_EQ(lastError(board_), FG_ERROR_FILE_ACCESS);
    // What the design does not tell is saved as it was set.
    board_.change(FG_TRIGGER_PULSEFORMGEN2_WIDTH, 17.3);
    control().fail(board_.virtualBoard(), "Fg_getParameterWithType", nullptr, 0, 1000, injected);
    const std::string remembered = saved(board_);
    control().clearFaults();
    std::string expected = with(freshConfiguration(), "FG_TRIGGERIN_DEBOUNCE", "1");
    for (const auto& [key, value] :
         {std::pair{"0_WIDTH", "4000"}, {"1_WIDTH", "4"}, {"2_WIDTH", "17.3"}, {"3_WIDTH", "4"}}) {
        expected = with(expected, std::string("FG_TRIGGER_PULSEFORMGEN") + key, value);
    }
    EXPECT_EQ(remembered, expected);
    EXPECT_EQ(loadText(board_, remembered), 0);
    EXPECT_EQ(loadText(board_, freshConfiguration()), 0);
    // An older file is written over.
    folder_.write("setup.kcf", std::string(100000, 'x'));
    EXPECT_EQ(save(board_, path()), 0);
    EXPECT_EQ(readText(path()), freshConfiguration());
#ifndef _WIN32
    std::filesystem::create_symlink("/dev/full", path("full.kcf"));
    EXPECT_EQ(save(board_, path("full.kcf")), FG_ERROR_FILE_ACCESS);
    EXPECT_EQ(lastError(board_), FG_ERROR_FILE_ACCESS);
    EXPECT_EQ(folder_.files(), (std::vector<std::string>{"full.kcf", "saved.kcf", "setup.kcf"}));
#endif
}

TEST_F(ConfigurationTest, TheOlderFileSurvivesASaveThatFails) {
    folder_.write("setup.kcf", "the last good one");
#ifdef _WIN32
    std::filesystem::permissions(path(), std::filesystem::perms::owner_write, std::filesystem::perm_options::remove);
    EXPECT_EQ(save(board_, path()), FG_ERROR_FILE_ACCESS);
    std::filesystem::permissions(path(), std::filesystem::perms::owner_write, std::filesystem::perm_options::add);
#else
    const auto ignored = std::signal(SIGXFSZ, SIG_IGN); // the signal of a file that grows too large
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    for (const rlim_t room : {size_t{0}, size_t{1}, size_t{1000}, freshConfiguration().size() - 1}) {
        const rlimit limit{room, before.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
        const std::int32_t code = save(board_, path());
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
        EXPECT_EQ(code, FG_ERROR_FILE_ACCESS) << room;
    }
    std::signal(SIGXFSZ, ignored);
#endif
    EXPECT_EQ(lastError(board_), FG_ERROR_FILE_ACCESS);
    EXPECT_EQ(folder_.read("setup.kcf"), "the last good one");
    EXPECT_EQ(folder_.files(), (std::vector<std::string>{"setup.kcf"}));
    EXPECT_EQ(save(board_, path()), 0);
    EXPECT_EQ(readText(path()), freshConfiguration());
    EXPECT_EQ(folder_.files(), (std::vector<std::string>{"setup.kcf"}));
}

#ifndef _WIN32
TEST_F(ConfigurationTest, ASaveKeepsPermissionsAndFollowsLinks) {
    using std::filesystem::perms;
    const auto permissions = [&](const std::string& name) { return std::filesystem::status(path(name)).permissions(); };
    folder_.write("setup.kcf", "older");
    const perms fresh = permissions("setup.kcf");
    constexpr perms own = perms::owner_read | perms::owner_write | perms::group_read;
    std::filesystem::permissions(path(), own);
    std::filesystem::create_directory(path("elsewhere"));
    std::filesystem::create_symlink("../setup.kcf", path("elsewhere/link.kcf"));
    EXPECT_EQ(save(board_, path("elsewhere/link.kcf")), 0);
    EXPECT_TRUE(std::filesystem::is_symlink(path("elsewhere/link.kcf")));
    EXPECT_FALSE(std::filesystem::is_symlink(path()));
    EXPECT_EQ(readText(path()), freshConfiguration());
    EXPECT_EQ(permissions("setup.kcf"), own);
    // New files have what the process gives new files, also behind a link that led nowhere.
    std::filesystem::create_symlink("../new.kcf", path("elsewhere/first.kcf"));
    EXPECT_EQ(save(board_, path("elsewhere/first.kcf")), 0);
    EXPECT_EQ(save(board_, path("second.kcf")), 0);
    EXPECT_EQ(readText(path("new.kcf")), freshConfiguration());
    EXPECT_EQ(permissions("new.kcf"), fresh);
    EXPECT_EQ(permissions("second.kcf"), fresh);
    EXPECT_EQ(folder_.files(), (std::vector<std::string>{"new.kcf", "second.kcf", "setup.kcf"}));
}
#endif

} // namespace
} // namespace qelm::test
