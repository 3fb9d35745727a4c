// The runtime's part on the real applet: boards, access, the trace, and what is said when something is missing.

#include "qelm/host/system.h"
#include "qelm/host/values.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include <gmock/gmock.h>

namespace qelm::host {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

class BoardTest : public testing::Test {
  protected:
    Applet applet_;
};

TEST_F(BoardTest, ValuesGoInAndOutByIdentifierAndByName) {
    Board board(applet_);
    EXPECT_EQ(board.set(FG_WIDTH, 512u), 0);
    EXPECT_EQ(board.get<std::uint32_t>("FG_WIDTH"), 512u);
    EXPECT_EQ(board.set("FG_GEN_FREQ", 62.5), 0);
    EXPECT_EQ(board.get<double>(FG_GEN_FREQ), 62.5);
    EXPECT_EQ(board.get<std::string>(FG_HAP_FILE), "Zantor_Obvelline_Qx4_RK.hap");
    EXPECT_EQ(board.set("FG_NO_SUCH", 1u), FG_ERROR_UNKNOWN);
    try {
        board.change(FG_WIDTH, 8u);
        FAIL() << "8 pixels were accepted";
    } catch (const AppletError& error) {
        EXPECT_EQ(error.code(), FG_ERROR_OUT_OF_RANGE);
        EXPECT_THAT(error.what(), HasSubstr("100"));
    }
}

TEST_F(BoardTest, RefusalsNameTheLimitsThatHoldNow) {
    Board board(applet_);
    const std::vector<Parameter> parameters = registeredParameters(board);
    ASSERT_EQ(parameters.size(), 143u);
    const struct {
        const char* text;
        const char* sentence;
    } cases[] = {
        {"FG_XOFFSET=512", "FG_XOFFSET takes only 0 pixel."},
        {"FG_WIDTH=1040", "FG_WIDTH takes 16 to 1024 pixel in steps of 16."},
        {"FG_WIDTH=1000", "(-7080, FG_ERROR_ALIGNMENT). FG_WIDTH takes 16 to 1024 pixel in steps of 16."},
        {"FG_FORMAT=2", "FG_FORMAT takes FG_GRAY (3) or FG_GRAY16 (1)."},
        {"FG_PIXELDEPTH=8", "(-12, FG_ERROR_NOT_AVAILABLE). FG_PIXELDEPTH is read-only."},
    };
    for (const auto& [text, sentence] : cases) {
        try {
            writeValue(board, parseAssignment(parameters, text));
            ADD_FAILURE() << text << " was accepted";
        } catch (const AppletError& error) {
            EXPECT_THAT(error.what(), HasSubstr(sentence));
        }
    }
}

TEST_F(BoardTest, BoardsSideBySideKeepTheirValuesAndTheirTraces) {
    std::vector<Board> boards;
    for (int count = 0; count < 3; ++count) {
        boards.emplace_back(applet_);
    }
    boards[0].clearTrace();
    boards[1].set(FG_FORMAT, FG_GRAY16);
    boards[2].set(FG_GEN_HEIGHT, 100u);
    boards[2].set(FG_DEVICETAPGEOMETRY, 1u);
    EXPECT_THAT(boards[0].writes(), ElementsAre());
    EXPECT_THAT(boards[1].writes(), ElementsAre("Device1_Process0_OutputFormat_FG_FORMAT_SelectSource=0"));
    EXPECT_THAT(boards[2].writes(), ElementsAre("AAGenHeight=99"));
    EXPECT_EQ(boards[0].get<std::uint32_t>(FG_FORMAT), std::uint32_t{FG_GRAY});
    EXPECT_EQ(boards[1].get<std::uint32_t>(FG_FORMAT), std::uint32_t{FG_GRAY16});
}

TEST_F(BoardTest, TheTraceTellsElementsRuntimeParametersAndRefusedWrites) {
    Board board(applet_);
    board.clearTrace();
    board.set(FG_TIMEOUT, 5u);
    board.set(FG_DEVICETAPGEOMETRY, Geometry_2X_2YE);
    const std::vector<std::string> writes = board.writes();
    ASSERT_GT(writes.size(), 1u);
    EXPECT_EQ(writes[0], "FG_TIMEOUT=5");
    EXPECT_EQ(writes[1], "Device1_Process0_Buffer_0_verticalTS_TopBottomMode_TapSetting_TopDown_LUTcontent[0]=1");

    applet_.virtualBoard()->fail(board.virtualBoard(), "Fg_setParameterWithType", nullptr, 0, 1, -77);
    board.clearTrace();
    EXPECT_EQ(board.set(FG_NOISEFILTER, FG_ON), -77);
    applet_.virtualBoard()->clearFaults();
    EXPECT_THAT(board.writes(), ElementsAre("Device1_Process0_NoiseFilter_Select_Value=1 refused with -77"));
}

TEST_F(BoardTest, AFreedBoardAnswersWithoutAnApplet) {
    Board board(applet_);
    EXPECT_EQ(board.free(), 0);
    EXPECT_EQ(board.set(FG_WIDTH, 512u), FG_ERROR_INVALID_BOARD);
    EXPECT_EQ(board.free(), FG_ERROR_INVALID_BOARD);
    EXPECT_EQ(applet_.virtualBoard()->resources().boards, 0);
}

TEST_F(BoardTest, AStartThatFailsSaysWhyAndLeavesNoBoardOpen) {
    try {
        Board board(applet_, {.mode = 1});
        FAIL() << "mode 1 was accepted";
    } catch (const AppletError& error) {
        EXPECT_EQ(error.code(), FG_ERROR_UNKNOWN);
        EXPECT_THAT(error.what(), HasSubstr("could not be started"));
    }
    EXPECT_EQ(applet_.virtualBoard()->resources().boards, 0);
}

TEST(Loading, SaysWhatIsMissing) {
    const auto message = [](const fs::path& file) -> std::string {
        try {
            const Applet applet(file);
            return "loaded";
        } catch (const LoadError& error) {
            return error.what();
        }
    };
    EXPECT_THAT(message("no_such_folder/applet"), HasSubstr("there is no library"));
    EXPECT_THAT(message(executableFolder()), HasSubstr("there is no library"));
    EXPECT_THAT(message("no_such_applet"), HasSubstr("there is no library no_such_applet"));
    EXPECT_THAT(message("no_such_applet"), HasSubstr("on the loader's path"));
    EXPECT_EQ(message(Applet::defaultFile().stem()), "loaded"); // beside the program, by its bare name
    // A library, but no applet: it has none of the functions.
    EXPECT_THAT(message(executableFolder() / libraryFileName("nuvrod")), HasSubstr("has no function Std_entry"));
}

// By its names and numbers it could be taken for ours.
TEST(Loading, AnotherAppletIsShownAsItDescribesItself) {
    const Applet other("other_applet");
    Board board(other);
    const std::vector<Parameter> parameters = registeredParameters(board);
    ASSERT_EQ(parameters.size(), 3u);

    const Parameter& width = parameters[0];
    EXPECT_EQ(width.displayName, "Line length");
    EXPECT_EQ(width.category, "Scanner");
    EXPECT_EQ(width.allowedValues(), "8 to 12000 px in steps of 8");
    // The same name and number: what the other applet leaves out is most likely what it means.
    EXPECT_EQ(width.description, findFixedParameter("FG_WIDTH")->description);

    const Parameter& format = parameters[1];
    EXPECT_EQ(format.id, 4711);
    EXPECT_EQ(format.allowedValues(), "FG_COL24 (2) or FG_COL48 (7)");
    EXPECT_EQ(format.description, "");
    EXPECT_EQ(formatValue(format, readValue(board, {&format})), "FG_COL48 (7)");

    const Parameter& gain = parameters[2];
    EXPECT_EQ(gain.kind, ParameterKind::floatingPoint);
    EXPECT_FALSE(gain.isWritable());
    EXPECT_EQ(gain.description, "How bright it gets.");
    EXPECT_EQ(std::get<double>(readValue(board, {&gain})), 1.5);

    writeValue(board, parseAssignment(parameters, "FG_FORMAT=FG_COL24"));
    EXPECT_EQ(board.get<std::uint32_t>(4711), 2u);
    try {
        writeValue(board, parseAssignment(parameters, "FG_WIDTH=20000"));
        ADD_FAILURE() << "20000 was accepted";
    } catch (const AppletError& error) {
        EXPECT_THAT(error.what(), HasSubstr("FG_WIDTH takes 8 to 12000 px in steps of 8."));
    }
}

TEST(Loading, TheEnvironmentIsSetForLibrariesToo) {
#ifdef __SANITIZE_ADDRESS__
    const __lsan::ScopedDisabler disabler; // a start without a design image leaves the applet allocated, as it must
#endif
    setEnvironment("__QELM_FORCE_EXTERNAL_HAP", "");
    const Applet applet;
    try {
        const Board board(applet);
        FAIL() << "started without a design image file";
    } catch (const AppletError& error) {
        EXPECT_EQ(error.code(), FG_ERROR_DESIGN_IMAGE);
    }
    setEnvironment("__QELM_FORCE_EXTERNAL_HAP", nullptr);
    EXPECT_NO_THROW(Board{applet});
}

} // namespace
} // namespace qelm::host
