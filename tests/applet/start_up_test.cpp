// Std_entry: what it calls in which order, how it fails, and what it leaves open then.

#include "fixture.h"
#include "start_up_calls.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace qelm::test {
namespace {

namespace fs = std::filesystem;

const char hapFile[] = "Zantor_Obvelline_Qx4_RK.hap";
const char externalImage[] = "__QELM_FORCE_EXTERNAL_HAP";

/** The object that a start-up without a design image leaves behind on purpose is no leak to report. */
struct DeliberateLeak {
#if defined(__SANITIZE_ADDRESS__)
    __lsan::ScopedDisabler disabler;
#else
    DeliberateLeak() {} // NOLINT(modernize-use-equals-default): a scope, as above
#endif
};

/** A folder to be in, so that files of that name elsewhere do not matter. */
class EmptyFolder {
  public:
    EmptyFolder() : before_(fs::current_path()), folder_(fs::path(testing::TempDir()) / name()) {
        fs::create_directories(folder_);
        fs::current_path(folder_);
    }
    ~EmptyFolder() {
        fs::current_path(before_);
        fs::remove_all(folder_);
    }
    EmptyFolder(const EmptyFolder&) = delete;
    EmptyFolder& operator=(const EmptyFolder&) = delete;

  private:
    static std::string name() {
        return std::string("start_up_test_") + testing::UnitTest::GetInstance()->current_test_info()->name();
    }
    fs::path before_;
    fs::path folder_;
};

/** Every call since the trace began, whatever board it concerns. */
std::vector<host::TracedCall> allCalls(const Applet& applet) {
    std::vector<host::TracedCall> calls;
    for (size_t i = 0; i < applet.virtualBoard()->traceLength(); ++i) {
        const VirtualBoardTraceEntry& entry = *applet.virtualBoard()->traceAt(i);
        calls.push_back({entry.call, entry.target, entry.value, entry.result, entry.isWrite != 0});
    }
    return calls;
}

std::vector<host::TracedCall> callsOfStart(const Applet& applet) {
    applet.virtualBoard()->traceStart();
    const Board board(applet);
    applet.virtualBoard()->traceStop();
    return allCalls(applet);
}

/** The targets of the calls of one function. */
std::vector<std::string> targetsOf(const std::vector<host::TracedCall>& calls, const std::string& function) {
    std::vector<std::string> targets;
    for (const host::TracedCall& call : calls) {
        if (call.call == function) {
            targets.push_back(call.target);
        }
    }
    return targets;
}

TEST(StartUp, MakesItsCallsInOrder) {
    std::vector<std::string> expected;
    for (const auto& [heading, calls] : startUpGroups()) {
        expected.insert(expected.end(), calls.begin(), calls.end());
    }
    EXPECT_GT(expected.size(), 300U);
    const Applet applet;
    std::vector<std::string> made;
    for (const host::TracedCall& call : callsOfStart(applet)) {
        const std::string value = call.value.starts_with("[4096]") ? "[4096]" : call.value; // a table of its own tests
        if (call.isWrite) {
            EXPECT_EQ(call.result, 0) << call.text();
            made.push_back(call.target + "=" + value);
        } else if (call.call != "getDesignEvent" && call.call != "Fg_getParameterWithType") {
            EXPECT_NE(call.result, 0) << "the board knows " << call.target;
            std::string line = call.call;
            for (const std::string& part : {call.target, value}) {
                line += part.empty() || part == "0" ? "" : " " + part; // look-ups by name have no value
            }
            made.push_back(line);
        }
    }
    EXPECT_THAT(made, ElementsAreArray(expected));
}

TEST(StartUp, BringsWhatNoConfigurationHolds) {
    const Applet applet;
    const Board board(applet);
    const std::pair<std::int32_t, std::uint32_t> values[] = {
        {FG_GEN_ACTIVE, 8},
        {FG_GEN_PASSIVE, 17},
        {FG_GEN_LINE_WIDTH, 2052},
        {FG_SHADING_APPLY_SETTINGS, FG_APPLY},
        {FG_TRIGGERIN_STATS_PULSECOUNT_CLEAR, FG_APPLY},
        {FG_TRIGGERIN_STATS_MINMAXFREQUENCY_CLEAR, FG_APPLY},
        {FG_TRIGGEROUT_STATS_PULSECOUNT_CLEAR, FG_APPLY},
        {FG_TRIGGER_EXCEEDED_PERIOD_LIMITS_CLEAR, FG_APPLY},
        {FG_MISSING_CAMERA_FRAME_RESPONSE_CLEAR, FG_APPLY},
    };
    for (const auto& [id, value] : values) {
        EXPECT_EQ(board.get<std::uint32_t>(id), value) << id;
    }
    EXPECT_EQ(board.get<std::string>(FG_LUT_SAVE_FILE), "");
}

TEST(StartUp, ARefusedInitialSettingIsSkipped) {
    const Applet applet;
    applet.virtualBoard()->fail(nullptr, nullptr, "Device1_Process0_Camera_UseDval", 0, 1, injected);
    applet.virtualBoard()->fail(nullptr, nullptr, "FG_TIMEOUT", 0, 1, injected);
    applet.virtualBoard()->fail(nullptr, "writeRegister", "AAGenMask", 0, 1, injected); // the clearing one
    Board board(applet);
    applet.virtualBoard()->clearFaults();
    EXPECT_EQ(board.get<std::uint32_t>(FG_USEDVAL), 1U) << "as constructed";
    EXPECT_EQ(board.get<std::uint32_t>(FG_TIMEOUT), 1000000U);
    EXPECT_EQ(board.get<std::uint32_t>(FG_NOISEFILTER), 0U);
    // The mask that could not be cleared is still held for the design's own, all taps on.
    EXPECT_THAT(writesOf(board, [&] { board.set(FG_GEN_TAP2, std::int32_t{FG_OFF}); }), ElementsAre("AAGenMask=13"));
}

struct Failure {
    const char* what;
    std::int32_t mode = 0;
    const char* failingCall = nullptr;
    std::int32_t failingCode = 0;
    const char* runtimeVariant = nullptr;
    std::int32_t code = 0;
};

TEST(StartUp, TheNormalisationValueIsReadOnlyAlsoWhenTheGainDefaultCannotBeWritten) {
    const Applet applet;
    applet.virtualBoard()->fail(nullptr, nullptr, "Device1_Process0_Shading_EnableGain_Default_Value", 0, 1, injected);
    const Board board(applet);
    applet.virtualBoard()->clearFaults();
    EXPECT_EQ(described(board, "FG_SHADING_GAIN_NORMALIZATION_VALUE").access, 1);
}

TEST(StartUp, FailsWithItsCodeAndLeavesNothingOpen) {
    const Failure failures[] = {
        {.what = "mode", .mode = 1, .code = -2070},
        {.what = "negative mode", .mode = -1, .code = -2070},
        {.what = "runtime's own error", .failingCall = "Fg_InitHandleSlaveAware", .failingCode = -77, .code = -77},
        {.what = "no init function", .runtimeVariant = "without_init", .code = -2031},
        {.what = "no error function",
         .failingCall = "Fg_InitHandleSlaveAware",
         .failingCode = -77,
         .runtimeVariant = "without_last_error",
         .code = -100},
    };
    for (const Failure& failure : failures) {
        SCOPED_TRACE(failure.what);
        std::optional<host::Library> runtime;
        if (failure.runtimeVariant != nullptr) {
            runtime.emplace(runtimeVariant(failure.runtimeVariant));
        }
        {
            const Applet applet;
            const auto& control = *applet.virtualBoard();
            VirtualBoard* board = control.open();
            if (failure.failingCall != nullptr) {
                control.fail(nullptr, failure.failingCall, nullptr, 0, 2, failure.failingCode);
            }
            control.traceStart();
            std::int32_t error = 1;
            EXPECT_EQ(applet->Std_entry(board, &error, failure.mode), nullptr);
            EXPECT_EQ(error, failure.code);
            EXPECT_EQ(applet->Std_entry(board, nullptr, failure.mode), nullptr);
            const size_t loads = failure.mode != 0 ? 0 : 2;
            EXPECT_EQ(targetsOf(allCalls(applet), "loadDesignImageMemory").size(), loads);
            EXPECT_EQ(targetsOf(allCalls(applet), "releaseDesignImage").size(), loads);
            control.traceStop();
            control.clearFaults();
            EXPECT_EQ(control.resources().designImages, 0);
            EXPECT_EQ(control.resources().runtimeHandles, 0);
            control.close(board);
        }
        runtime.reset();
        EXPECT_FALSE(host::Library::alreadyLoaded("nuvrak5")) << "the object, which held it, is destroyed";
    }
}

/** An applet on a runtime that lacks functions. */
class RuntimeWithout {
  public:
    explicit RuntimeWithout(const char* variant) : runtime_(runtimeVariant(variant)) {}

    Applet& applet() { return applet_; }
    Board& board() { return board_; }

  private:
    host::Library runtime_;
    Applet applet_;
    Board board_{applet_};
};

TEST(IncompleteRuntime, WithoutTheSlaveAwareInitStartsWithTheOther) {
    const host::Library runtime(runtimeVariant("without_slave_aware"));
    const Applet applet;
    const std::vector<host::TracedCall> calls = callsOfStart(applet);
    EXPECT_THAT(targetsOf(calls, "Fg_InitHandle"), ElementsAre(hapFile));
    EXPECT_THAT(targetsOf(calls, "Fg_InitHandleSlaveAware"), IsEmpty());
}

TEST(IncompleteRuntime, WithoutAForwardedFunctionAnswersNotAvailableThereAlone) {
    {
        RuntimeWithout lacking("without_status_ex");
        EXPECT_EQ(lacking.applet()->Fg_getStatusEx(lacking.board(), 1, 0, 0, nullptr), -12);
        EXPECT_EQ(lastError(lacking.board()), -12);
        EXPECT_EQ(lacking.applet()->Fg_getAppletId(lacking.board(), nullptr), 2628);
        EXPECT_EQ(lastError(lacking.board()), 0);
    }
    {
        RuntimeWithout lacking("without_applet_id");
        EXPECT_EQ(lacking.applet()->Fg_getAppletId(lacking.board(), nullptr), -12);
        EXPECT_EQ(lastError(lacking.board()), -12);
        EXPECT_EQ(lacking.applet()->Fg_getStatusEx(lacking.board(), 1, 0, 0, nullptr), 0);
    }
    {
        RuntimeWithout lacking("without_parameter_info");
        EXPECT_EQ(lacking.applet()->Fg_getParameterInfo(lacking.board(), FG_WIDTH), nullptr);
        EXPECT_EQ(lacking.board().set(FG_WIDTH, 512U), 0);
    }
    {
        RuntimeWithout lacking("without_design_tree");
        EXPECT_EQ(lacking.board().set(FG_WIDTH, 512U), 0);
    }
}

TEST(IncompleteRuntime, WithoutItsLastErrorANegativeResultRecordsNotAvailable) {
    RuntimeWithout lacking("without_last_error");
    EXPECT_LT(lacking.applet()->Fg_getStatusEx(lacking.board(), 999, 0, 0, nullptr), 0);
    EXPECT_EQ(lastError(lacking.board()), -12);
}

TEST(IncompleteRuntime, WithoutParameterAccessAnswersNotAvailableAndKeepsTheOldValue) {
    std::uint32_t value = 7;
    {
        RuntimeWithout lacking("without_set_parameter");
        Board& board = lacking.board();
        EXPECT_EQ(board.set(FG_TIMEOUT, value), -12);
        EXPECT_EQ(lastError(board), -12);
        EXPECT_EQ(board.get<std::uint32_t>(FG_TIMEOUT), 1000000U);
        EXPECT_EQ(board.set(2000600, value), -12);
        EXPECT_EQ(board.get(2000600, value), -12);
        EXPECT_EQ(board.get(FG_NR_OF_DMAS, value), -12);
        EXPECT_EQ(board.get(FG_CAMSTATUS, value), -12);
        EXPECT_EQ(board.set(FG_WIDTH, 512U), 0) << "a design parameter needs the typed calls alone";
        EXPECT_EQ(board.get(FG_OVERFLOW, value), 0);
    }
    {
        RuntimeWithout lacking("without_typed");
        Board& board = lacking.board();
        EXPECT_EQ(board.set(FG_WIDTH, 512U), -12);
        EXPECT_EQ(board.get<std::uint32_t>(FG_WIDTH), 1024U);
        EXPECT_EQ(board.get(FG_OVERFLOW, value), -12);
        EXPECT_EQ(lastError(board), -12);
        EXPECT_EQ(board.set(FG_TIMEOUT, 7U), 0);
        EXPECT_EQ(board.set(FG_GEN_HEIGHT, 7U), 0) << "registers do not go through the runtime";
    }
}

TEST(IncompleteRuntime, WithoutFreeGrabberTheBoardIsFreedAllTheSame) {
    const host::Library runtime(runtimeVariant("without_free_grabber"));
    const Applet applet;
    Board board(applet);
    applet.virtualBoard()->traceStart();
    EXPECT_EQ(board.free(), -12);
    EXPECT_THAT(targetsOf(allCalls(applet), "releaseDesignImage"), ElementsAre("")) << "the object is destroyed";
    EXPECT_EQ(applet.virtualBoard()->resources().designImages, 0);
    EXPECT_EQ(board.set(FG_WIDTH, 512U), -2001);
}

// Last, since the objects that these leave behind keep the runtime loaded: the process cannot try another one after
// them.

TEST(StartUpWithoutImage, FailsAndLeavesTheObjectAllocated) {
    const DeliberateLeak leak;
    const EmptyFolder folder;
    std::ofstream(hapFile, std::ios::binary) << "no design image";
    const struct {
        const char* what;
        const char* environment;
        const char* failingCall;
    } cases[] = {
        {"embedded image refused", nullptr, "loadDesignImageMemory"},
        {"external image refused", "1", nullptr},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        {
            const Applet applet;
            const auto& control = *applet.virtualBoard();
            VirtualBoard* board = control.open();
            host::setEnvironment(externalImage, row.environment);
            if (row.failingCall != nullptr) {
                control.fail(nullptr, row.failingCall, nullptr, 0, 2, injected);
            }
            const std::int32_t handles = control.resources().runtimeHandles;
            std::int32_t error = 0;
            EXPECT_EQ(applet->Std_entry(board, &error, 0), nullptr);
            EXPECT_EQ(error, -100);
            EXPECT_EQ(applet->Std_entry(board, nullptr, 0), nullptr);
            control.clearFaults();
            host::setEnvironment(externalImage, nullptr);
            EXPECT_EQ(control.resources().designImages, 0);
            EXPECT_EQ(control.resources().runtimeHandles, handles);
            control.close(board);
        }
        EXPECT_TRUE(host::Library::alreadyLoaded("nuvrak5")) << "held by the object that is left";
    }
}

TEST(StartUpWithoutImage, TheFileIsTakenWheneverTheVariableIsSet) {
    const EmptyFolder folder;
    const Applet applet;
    for (const char* value : {"1", "no", ""}) {
        SCOPED_TRACE(value);
        host::setEnvironment(externalImage, value);
        {
            const DeliberateLeak leak;
            fs::remove(hapFile);
            EXPECT_THROW(Board{applet}, host::AppletError);
        }
        std::uintptr_t length = 0;
        const char* address = nullptr;
        applet->Info(1042, 0, 0, &length, &address);
        std::ofstream(hapFile, std::ios::binary).write(address, static_cast<std::streamsize>(length));
        const std::vector<host::TracedCall> calls = callsOfStart(applet);
        EXPECT_THAT(targetsOf(calls, "loadDesignImageFile"), ElementsAre(hapFile));
        EXPECT_THAT(targetsOf(calls, "loadDesignImageMemory"), IsEmpty());
        EXPECT_EQ(std::ranges::find(calls, "loadDesignImageFile", &host::TracedCall::call)->value, "2628");
        host::setEnvironment(externalImage, nullptr);
    }
    EXPECT_THAT(targetsOf(callsOfStart(applet), "loadDesignImageMemory"), ElementsAre(""));
}

} // namespace
} // namespace qelm::test
