// Every allocation that the applet makes in an export fails in turn: no exception comes out, the export answers its
// kind of failure, and the board works on.

#include "fixture.h"
#include "support/temporary_folder.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <execinfo.h>
#include <functional>
#include <new>

namespace {

/** Of the allocations on this thread the one that fails; counted down. None does while it is negative. */
thread_local int allocationsUntilFailure = -1;

/** Whether the vendor libraries, which are not under test, are among the callers. */
bool isTheMakers() {
    std::array<void*, 64> callers{};
    const int depth = backtrace(callers.data(), static_cast<int>(callers.size()));
    for (int i = 0; i < depth; ++i) {
        Dl_info info{};
        const bool known = dladdr(callers[static_cast<size_t>(i)], &info) != 0 && info.dli_fname != nullptr;
        const std::string_view file = known ? info.dli_fname : "";
        if (file.find("libnuv") != file.npos || file.find("libqelm") != file.npos) {
            return true;
        }
    }
    return false;
}

} // namespace

// The applet's library takes these as well, as long as both use the system's C++ library.
[[gnu::noinline]] void* operator new(size_t size) {
    if (allocationsUntilFailure >= 0 && !isTheMakers() && allocationsUntilFailure-- == 0) {
        throw std::bad_alloc();
    }
    void* place = std::malloc(size);
    if (place == nullptr) {
        throw std::bad_alloc();
    }
    return place;
}
[[gnu::noinline]] void operator delete(void* place) noexcept {
    std::free(place);
}
[[gnu::noinline]] void operator delete(void* place, size_t /*size*/) noexcept {
    std::free(place);
}

namespace qelm::test {
namespace {

/** Lets the allocation after so many fail. @return whether there was one */
template <typename Action>
bool withFailureAfter(int allocations, Action&& action) {
    allocationsUntilFailure = allocations;
    try {
        action();
    } catch (...) {
        allocationsUntilFailure = -1;
        throw;
    }
    const bool failed = allocationsUntilFailure < 0;
    allocationsUntilFailure = -1;
    return failed;
}

class MemoryShortage : public BoardTest {
  protected:
    TemporaryFolder folder_;
};

TEST_F(MemoryShortage, IsAnsweredAsAFailureOfItsKindAndTheBoardWorksOn) {
    const auto& f = applet_.functions();
    const std::string file = folder_.file("a_name_that_is_too_long_for_a_short_string.kcf");
    const std::string table = folder_.file("a_name_that_is_too_long_for_a_short_string.lut");
    folder_.write("a_name_that_is_too_long_for_a_short_string.lut",
                  "# Lut data file v1.1\n\n\n\n[gray]\n\nid=3;\nnrOfElements=2;\nformat=0;\nnumber=0;\n0,7;\n1,8;\n");
    ASSERT_EQ(f.Fg_saveConfig(board_, file.c_str()), 0);
    const std::string before = readText(file);
    constexpr std::int32_t descriptionQuery = 24114;
    std::array<char, 256> description{};
    std::strcpy(description.data(), "FG_TRIGGER_QUEUE_FILLLEVEL_EVENT_ON_THRESHOLD");
    size_t size = 0;
    const struct {
        const char* name;
        std::int64_t onFailure;
        std::function<std::int64_t()> call; ///< 0 when it succeeds
        std::int32_t lastError = 0;         ///< where it differs from the answer
    } exports[] = {
        {"Fg_getParameterInfo", 1, [&] { return f.Fg_getParameterInfo(board_, FG_WIDTH) == nullptr; }, -1},
        {"Fg_getParameterInfoXML", -1, [&] { return f.Fg_getParameterInfoXML(board_, 0, nullptr, &size); }},
        {"Fg_saveConfig", -5001, [&] { return f.Fg_saveConfig(board_, file.c_str()); }},
        {"Fg_loadConfig", -5000, [&] { return f.Fg_loadConfig(board_, file.c_str()); }},
        {"Fg_setParameterWithType", -1, [&] { return board_.set(FG_LUT_CUSTOM_FILE, table.c_str()); }},
        {"Fg_getParameterWithType", -1,
         [&] { return f.Fg_getParameterWithType(board_, descriptionQuery, description.data(), 0, 2); }},
        {"Fg_AllocShading", 1, [&] { return f.Fg_AllocShading(board_, 0, 0) == nullptr; }, -1},
    };
    for (const auto& [name, onFailure, call, lastErrorThen] : exports) {
        SCOPED_TRACE(name);
        int count = 0;
        std::int64_t answer = 0;
        while (withFailureAfter(count, [&] { answer = call(); })) {
            ASSERT_EQ(answer, onFailure) << "allocation " << count;
            ASSERT_EQ(lastError(board_), lastErrorThen != 0 ? lastErrorThen : onFailure) << "allocation " << count;
            ++count;
        }
        EXPECT_EQ(answer, 0);
        EXPECT_GT(count, 0) << "nothing was tried";
    }
    ASSERT_EQ(f.Fg_saveConfig(board_, file.c_str()), 0);
    EXPECT_NE(readText(file).find("a_name_that_is_too_long"), std::string::npos);
    board_.change(FG_LUT_CUSTOM_FILE, "");
    ASSERT_EQ(f.Fg_saveConfig(board_, file.c_str()), 0);
    EXPECT_EQ(readText(file), before);
}

TEST_F(MemoryShortage, DoesNotConcernLookUpsByName) {
    const auto& f = applet_.functions();
    EXPECT_FALSE(withFailureAfter(0, [&] {
        EXPECT_EQ(f.Fg_getParameterIdByName(board_, "FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE"),
                  FG_TRIGGER_PULSEFORMGEN0_DOWNSCALE);
        EXPECT_NE(f.Fg_getEventMask(board_, "FG_TRIGGER_EXCEEDED_PERIOD_LIMITS_CAM0"), 0U);
        EXPECT_EQ(f.Info(0x1100, 0, 0, const_cast<char*>("CC_NOT_STROBEPULSE_AND_MORE"), nullptr), -2070);
        EXPECT_EQ(f.Info(0x1100, 0, 0, const_cast<char*>("CC_NOT_STROBEPULSE"), nullptr), CC_NOT_STROBEPULSE);
    }));
}

TEST(MemoryShortageAtStart, ComesOutOfTheCreationAloneAndLeavesNothingOpen) {
    const Applet applet;
    VirtualBoard* board = applet.virtualBoard()->open();
    int thrown = 0;
    int answered = 0;
    for (int count = 0;; count += 1 + count / 16) {
        void* object = nullptr;
        std::int32_t code = 0;
        try {
            if (!withFailureAfter(count, [&] { object = applet->Std_entry(board, &code, 0); })) {
                EXPECT_EQ(code, 0);
                BoardStructure structure{object};
                EXPECT_EQ(applet->Fg_FreeGrabber(&structure), 0);
                break;
            }
            // The marks of the runtime's parameters are skipped then, and the start goes on.
            if (object != nullptr) {
                BoardStructure structure{object};
                EXPECT_EQ(applet->Fg_FreeGrabber(&structure), 0);
            } else {
                ++answered;
                EXPECT_EQ(code, FG_ERROR_SYSTEM) << "allocation " << count;
            }
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(answered, 0) << "allocation " << count << ", after the creation";
            ++thrown;
        }
    }
    EXPECT_GT(thrown, 0);
    EXPECT_GT(answered, 0);
    const VirtualBoardResources open = applet.virtualBoard()->resources();
    EXPECT_EQ(open.runtimeHandles, 0);
    EXPECT_EQ(open.designImages, 0);
    applet.virtualBoard()->close(board);
}

} // namespace
} // namespace qelm::test
