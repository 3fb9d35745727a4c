#include "fixture.h"

#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <thread>
#include <vector>

namespace qelm::test {
namespace {

constexpr std::int32_t notPermitted = -12;
constexpr std::int32_t invalidBoard = -2001;
constexpr std::int32_t unknown = -2070;
constexpr std::int32_t fileNotFound = -2076;
constexpr std::int32_t notSupported = -2130;
constexpr std::int32_t outOfRange = -6000;

constexpr std::int32_t commandKind = 1;
constexpr std::int32_t fieldKind = 3;

const char* const xLength = "Device1_Process0_Buffer_0_ROI_X_Length";
const char* const mirrorField = "Device1_Process0_Buffer_0_MirrorParCompensation_TapMirrorMode_LUTcontent";
const char* const lookupTable = "Device1_Process0_LookupTable_LookupTable_LUTcontent";

class Runtime : public ::testing::Test {
  protected:
    ~Runtime() override {
        virtualBoardTraceStop();
        virtualBoardClearFaults();
    }

    std::int32_t lastError() const { return Fg_getLastErrorNumber(started_.handle); }
    std::uint32_t value(const char* name, std::uint32_t index = 0) const {
        std::uint32_t result = 0;
        EXPECT_EQ(virtualBoardGetDesignValue(started_.board, name, index, &result), 0) << name;
        return result;
    }

    StartedBoard started_;
    VirtualBoard* const board_ = started_.board;
    void* const handle_ = started_.handle;
};

void walk(const DesignNode& node, const std::function<void(const DesignNode&)>& visit) {
    visit(node);
    for (std::int32_t i = 0; i < node.childCount; ++i) {
        walk(*node.children[i], visit);
    }
}

TEST_F(Runtime, DesignHasEveryParameterThatTheAppletDrives) {
    std::map<std::string, std::int32_t> kinds;
    std::set<std::int32_t> distinctKinds;
    walk(*Fg_getDesignTree(handle_), [&](const DesignNode& node) {
        kinds[node.name] = node.kind;
        distinctKinds.insert(node.kind);
        EXPECT_EQ(node.kind == DESIGN_NODE_GROUP, node.description == nullptr) << node.name;
    });
    EXPECT_EQ(distinctKinds, (std::set<std::int32_t>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12}));
    std::set<std::int32_t> ids;
    for (const char* name : {
#define DESIGN_PARAMETER(symbol, name) name,
#include "parameters/design_parameters.inc"
         }) {
        EXPECT_EQ(kinds.count(name), 1U) << name;
        EXPECT_TRUE(ids.insert(started_.id(name)).second) << name;
    }
    EXPECT_EQ(ids.count(0), 0U);
    EXPECT_EQ(started_.id("Device1_Process0_Nothing"), 0);
    EXPECT_EQ(lastError(), unknown);
}

// What every design parameter owes its callers, whatever the design.
TEST_F(Runtime, EveryDesignParameterKeepsItsLimitsAccessAndType) {
    const auto typedSet = [&](std::int32_t id, std::int32_t type, const void* value) {
        const std::int32_t result = Fg_setParameterWithType(handle_, id, value, 0, type);
        EXPECT_EQ(lastError(), result);
        return result;
    };
    walk(*Fg_getDesignTree(handle_), [&](const DesignNode& node) {
        SCOPED_TRACE(node.name);
        if (node.description == nullptr) {
            return;
        }
        const std::int32_t id = started_.id(node.name);
        const DesignParameterDescription& description = *node.description;
        const auto permitted = [&](std::int32_t result) {
            return (description.access & 2) != 0 ? result : notPermitted;
        };
        EXPECT_STREQ(Fg_getParameterInfo(handle_, id), node.name);
        const auto lowest = static_cast<std::uint32_t>(std::max(description.minimum, 0.0));
        switch (node.kind) {
        case DESIGN_NODE_INTEGER:
        case DESIGN_NODE_ENUMERATION:
        case commandKind: {
            const auto highest = static_cast<std::uint32_t>(description.maximum);
            if (highest != std::numeric_limits<std::uint32_t>::max()) {
                const std::uint32_t above = highest + 1;
                EXPECT_EQ(typedSet(id, RUNTIME_VALUE_UINT32, &above), permitted(outOfRange));
            }
            if (lowest > 0) {
                const std::uint32_t below = lowest - 1;
                EXPECT_EQ(typedSet(id, RUNTIME_VALUE_UINT32, &below), permitted(outOfRange));
            }
            if (description.increment > 1) {
                const std::uint32_t offStep = lowest + 1;
                EXPECT_EQ(typedSet(id, RUNTIME_VALUE_UINT32, &offStep), permitted(outOfRange));
            }
            if (std::string(node.name).ends_with("LoadCoefficients")) {
                break; // the maximum would load a file
            }
            std::uint32_t before = 0, after = 0;
            ASSERT_EQ(Fg_getParameter(handle_, id, &before, 0), 0);
            for (const std::uint32_t within : {lowest, highest}) {
                EXPECT_EQ(typedSet(id, RUNTIME_VALUE_UINT32, &within), permitted(0));
                ASSERT_EQ(Fg_getParameterWithType(handle_, id, &after, 0, RUNTIME_VALUE_UINT32), 0);
                EXPECT_EQ(after, node.kind == commandKind ? 0 : permitted(0) == 0 ? within : before);
            }
            EXPECT_EQ(typedSet(id, RUNTIME_VALUE_PATH, "text"), unknown);
            break;
        }
        case DESIGN_NODE_FLOAT: {
            double number = 0;
            for (const double value : {description.minimum - 1, description.maximum + 1, std::nan("")}) {
                EXPECT_EQ(Fg_setParameter(handle_, id, &value, 0), permitted(outOfRange));
            }
            EXPECT_EQ(Fg_setParameter(handle_, id, &description.maximum, 0), permitted(0));
            EXPECT_EQ(Fg_getParameter(handle_, id, &number, 0), 0);
            EXPECT_EQ(permitted(0) == 0, number == description.maximum);
            EXPECT_EQ(typedSet(id, RUNTIME_VALUE_UINT32, &lowest), unknown);
            EXPECT_EQ(typedSet(id, -1, &number), unknown);
            break;
        }
        case DESIGN_NODE_TEXT: {
            char text[4097] = {};
            EXPECT_EQ(typedSet(id, RUNTIME_VALUE_PATH, std::string(4097, 'x').c_str()), permitted(outOfRange));
            EXPECT_EQ(typedSet(id, RUNTIME_VALUE_PATH, "a path"), permitted(0));
            EXPECT_EQ(Fg_getParameter(handle_, id, text, 0), 0);
            EXPECT_STREQ(virtualBoardGetDesignText(board_, node.name), text);
            EXPECT_EQ(permitted(0) == 0, std::string(text) == "a path");
            EXPECT_EQ(typedSet(id, RUNTIME_VALUE_UINT32, &lowest), unknown);
            break;
        }
        default: // fields have a test of their own; the other kinds have no value
            EXPECT_EQ(typedSet(id, RUNTIME_VALUE_UINT32, &lowest), unknown);
            EXPECT_EQ(Fg_setParameter(handle_, id, &lowest, 0), unknown);
        }
    });
}

TEST_F(Runtime, FieldsAreWrittenWholeInPartAndByElement) {
    std::vector<std::uint32_t> table(4096);
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        table[i] = 4095 - i;
    }
    const std::int32_t id = started_.id(lookupTable);
    const auto write = [&](FieldAccess field) {
        return Fg_setParameterWithType(handle_, id, &field, 0, RUNTIME_VALUE_FIELD);
    };
    EXPECT_EQ(write({2, 0, 4096, table.data()}), 0);
    EXPECT_EQ(value(lookupTable, 1), 4094U);
    EXPECT_EQ(write({2, 4094, 2, table.data()}), 0);
    EXPECT_EQ(value(lookupTable, 4095), 4094U);
    EXPECT_EQ(write({2, 4095, 2, table.data()}), outOfRange);
    EXPECT_EQ(write({2, 0, 4097, table.data()}), outOfRange);
    EXPECT_EQ(write({2, 4097, 0xFFFFFFFF, table.data()}), outOfRange);
    EXPECT_EQ(write({1, 0, 4096, table.data()}), unknown);
    EXPECT_EQ(write({2, 0, 4096, nullptr}), unknown);
    table[0] = 7;
    table[1] = 4096;
    EXPECT_EQ(write({2, 0, 4096, table.data()}), outOfRange);
    EXPECT_EQ(value(lookupTable, 0), 4095U) << "a refused field must not be written in part";

    std::uint32_t read[2] = {};
    FieldAccess field{2, 4094, 2, read};
    EXPECT_EQ(Fg_getParameterWithType(handle_, id, &field, 0, RUNTIME_VALUE_FIELD), 0);
    EXPECT_EQ(read[1], 4094U);

    FieldElement element{1, 3};
    const std::int32_t mirror = started_.id(mirrorField);
    EXPECT_EQ(Fg_setParameterWithType(handle_, mirror, &element, 0, RUNTIME_VALUE_FIELD_ELEMENT), 0);
    element.value = 9;
    EXPECT_EQ(Fg_getParameterWithType(handle_, mirror, &element, 0, RUNTIME_VALUE_FIELD_ELEMENT), 0);
    EXPECT_EQ(element.value, 1U);
    for (const FieldElement refused : {FieldElement{0, 4}, FieldElement{2, 0}}) {
        EXPECT_EQ(Fg_setParameterWithType(handle_, mirror, &refused, 0, RUNTIME_VALUE_FIELD_ELEMENT), outOfRange);
    }
}

TEST_F(Runtime, CommandsCountPulsesAndReadZero) {
    const char* const command = "Device1_Process1_Trigger_TriggerCam0_TriggerMode_SoftwareTrigger_Mode";
    std::uint64_t pulses = 9;
    for (const std::uint32_t written : {2U, 0U, 1U, 2U}) {
        EXPECT_EQ(started_.set(command, written), 0);
    }
    EXPECT_EQ(virtualBoardGetCommandCount(board_, command, &pulses), 0);
    EXPECT_EQ(pulses, 2U);
    EXPECT_EQ(value(command), 0U);
    EXPECT_EQ(virtualBoardGetCommandCount(board_, xLength, &pulses), unknown);
}

TEST_F(Runtime, EveryRegisterKeepsItsWidthAndAccess) {
    const std::uint32_t count = getDesignRegisterCount(started_.image);
    ASSERT_GT(count, 9U);
    std::set<std::uint32_t> widths;
    for (std::uint32_t i = 1; i <= count; ++i) {
        const char* name = getDesignRegisterName(started_.image, i);
        SCOPED_TRACE(name);
        const std::uint32_t address = getDesignRegisterAddress(started_.image, name);
        const std::uint32_t width = getDesignRegisterWidth(started_.image, address);
        const bool writable = isDesignRegisterWritable(started_.image, address) != 0;
        const std::uint64_t ones = ~std::uint64_t{0} >> (64 - width);
        widths.insert(width);
        std::uint64_t before = 1, after = 0;
        EXPECT_EQ(virtualBoardGetRegister(board_, name, &before), 0);
        EXPECT_EQ(writeRegister(board_, address, ones, 0), writable ? 0 : notPermitted);
        if (width < 64) {
            EXPECT_EQ(writeRegister(board_, address, ones + 1, 0), writable ? outOfRange : notPermitted);
        }
        EXPECT_EQ(readRegister(board_, address, &after, 0), 0);
        EXPECT_EQ(after, writable ? ones : before);
        EXPECT_EQ(virtualBoardSetRegister(board_, name, 1), 0);
        EXPECT_EQ(readRegister(board_, address, &after, 0), 0);
        EXPECT_EQ(after, 1U);
    }
    EXPECT_TRUE(widths.contains(16) && widths.contains(32) && *widths.rbegin() > 32);
    std::uint64_t value = 7;
    EXPECT_EQ(writeRegister(board_, 1, 0, 0), unknown);
    EXPECT_EQ(readRegister(board_, 1, &value, 0), unknown);
    EXPECT_EQ(readRegister(board_, 16, nullptr, 0), unknown);
    EXPECT_EQ(writeRegister(nullptr, 16, 0, 0), invalidBoard);
    EXPECT_EQ(value, 7U);
}

TEST_F(Runtime, RuntimeParametersAnswerByIdentifier) {
    const struct {
        std::int32_t id, result;
        std::uint32_t written, read;
    } cases[] = {{600, 0, 2, 2},
                 {600, outOfRange, 1, 2},
                 {3051, 0, 1, 1},
                 {3051, outOfRange, 2, 1},
                 {3050, notPermitted, 1, 1},
                 {3060, notPermitted, 1, 1},
                 {3070, notPermitted, 1, 1},
                 {3080, notPermitted, 1, 0},
                 {3090, notPermitted, 1, 0},
                 {5210, notPermitted, 1, 0},
                 {24092, notPermitted, 1, 0},
                 {2050, notPermitted, 1, 0},
                 {601, 0, 77, 77}};
    for (const auto& row : cases) {
        SCOPED_TRACE(row.id);
        std::uint32_t read = 99;
        EXPECT_EQ(Fg_setParameter(handle_, row.id, &row.written, 0), row.result);
        EXPECT_EQ(lastError(), row.result);
        EXPECT_EQ(Fg_getParameter(handle_, row.id, &read, 0), 0);
        EXPECT_EQ(read, row.read);
    }
    std::uint32_t status = 0;
    EXPECT_EQ(virtualBoardSetRuntimeValue(board_, 2050, 0x1F), 0);
    EXPECT_EQ(Fg_getParameter(handle_, 2050, &status, 0), 0);
    EXPECT_EQ(status, 0x1FU);
    EXPECT_EQ(virtualBoardSetRuntimeValue(board_, 601, 3), 0);
    EXPECT_EQ(virtualBoardGetRuntimeValue(board_, 601, &status), 0);
    EXPECT_EQ(status, 3U);
    EXPECT_EQ(virtualBoardGetRuntimeValue(board_, 602, &status), unknown);
}

TEST_F(Runtime, RefusesWhatItCannotServe) {
    std::uint32_t word = 16;
    const std::int32_t id = started_.id(xLength);
    EXPECT_EQ(Fg_setParameter(handle_, 1234, &word, 0), unknown);
    EXPECT_EQ(Fg_getParameter(handle_, -1, &word, 0), unknown);
    EXPECT_EQ(Fg_getParameter(handle_, 600, &word, 1), unknown);
    EXPECT_EQ(Fg_setParameter(handle_, id, nullptr, 0), unknown);
    EXPECT_EQ(Fg_getParameterWithType(handle_, id, nullptr, 0, RUNTIME_VALUE_UINT32), unknown);
    EXPECT_EQ(Fg_setParameterWithType(handle_, id, &word, 0, 3), unknown);
    EXPECT_EQ(Fg_setParameter(nullptr, id, &word, 0), invalidBoard);
    EXPECT_EQ(Fg_FreeGrabber(nullptr), invalidBoard);
    EXPECT_EQ(Fg_getParameterInfo(handle_, 1234), nullptr);
    EXPECT_EQ(lastError(), unknown);
    EXPECT_EQ(Fg_getAppletId(handle_, nullptr), designNumber);
    EXPECT_EQ(Fg_getStatusEx(handle_, VIRTUAL_BOARD_STATUS_ACQUIRING, 0, 0, nullptr), 0);
    EXPECT_EQ(Fg_getStatusEx(handle_, 999, 0, 0, nullptr), unknown);
    EXPECT_EQ(Fg_AcquireEx(handle_, 0, 1, 0, nullptr), unknown);
    EXPECT_EQ(Fg_getLastPicNumberEx(handle_, 0, nullptr), unknown);
    EXPECT_EQ(Fg_Acquire(handle_, 0, 1), notSupported);
    EXPECT_EQ(Fg_loadConfig(handle_, "any.kcf"), notSupported);
    EXPECT_EQ(Fg_AllocShading(handle_, 0, 0), nullptr);
    EXPECT_EQ(lastError(), notSupported);
    EXPECT_EQ(lastError(), notSupported) << "asking must not change it";
    EXPECT_EQ(virtualBoardSetDesignValue(board_, mirrorField, 4, 0), unknown);
    EXPECT_EQ(virtualBoardSetDesignValue(nullptr, xLength, 0, 0), unknown);
    EXPECT_EQ(virtualBoardGetDesignText(board_, xLength), nullptr);
}

TEST(Boards, AreIndependentAndTellWhatIsOpen) {
    const VirtualBoardResources before = virtualBoardResources();
    {
        StartedBoard first, second;
        std::uint32_t value = 0;
        EXPECT_EQ(first.set(xLength, 512), 0);
        EXPECT_EQ(virtualBoardSetDesignValue(second.board, "Device1_Process0_Overflow_OverflowOccurred", 0, 1), 0);
        EXPECT_EQ(virtualBoardGetDesignValue(second.board, xLength, 0, &value), 0);
        EXPECT_EQ(value, 1024U);
        EXPECT_EQ(virtualBoardGetDesignValue(first.board, "Device1_Process0_Overflow_OverflowOccurred", 0, &value), 0);
        EXPECT_EQ(value, 0U);
        const VirtualBoardResources open = virtualBoardResources();
        EXPECT_EQ(open.boards, before.boards + 2);
        EXPECT_EQ(open.designImages, before.designImages + 2);
        EXPECT_EQ(open.runtimeHandles, before.runtimeHandles + 2);

        virtualBoardClose(first.board);
        EXPECT_EQ(first.set(xLength, 256), invalidBoard);
        EXPECT_NE(Fg_getDesignTree(first.handle), nullptr) << "the handle outlives its board";
        EXPECT_EQ(writeRegister(first.board, 8192, 0, 0), invalidBoard);
    }
    const VirtualBoardResources after = virtualBoardResources();
    EXPECT_EQ(after.boards, before.boards);
    EXPECT_EQ(after.runtimeHandles, before.runtimeHandles);
    EXPECT_EQ(after.designImages, before.designImages);
    virtualBoardClose(nullptr);
}

TEST(Boards, InitNeedsABoardAndAnImage) {
    StartedBoard started;
    EXPECT_EQ(Fg_InitHandle(nullptr, &started, started.image), nullptr);
    EXPECT_EQ(Fg_getLastErrorNumber(nullptr), invalidBoard);
    EXPECT_EQ(Fg_InitHandleSlaveAware(nullptr, started.board, started.board, 1), nullptr);
    EXPECT_EQ(Fg_getLastErrorNumber(nullptr), -100);
    started.set(xLength, 512);
    void* again = Fg_InitHandle(nullptr, started.board, started.image);
    EXPECT_EQ(Fg_getLastErrorNumber(nullptr), 0);
    std::uint32_t value = 0;
    EXPECT_EQ(Fg_getParameter(again, started.id(xLength), &value, 0), 0);
    EXPECT_EQ(value, 512U) << "a design that runs already is left running";
    EXPECT_EQ(Fg_FreeGrabber(again), 0);
    EXPECT_EQ(Fg_FreeGrabber(again), invalidBoard);
}

// Of use under the thread sanitizer.
TEST(Boards, WorkOnThreadsOfTheirOwn) {
    virtualBoardTraceStart();
    virtualBoardFail(nullptr, "readRegister", "AAGenMask", 0, 1, -1);
    const auto work = [] {
        StartedBoard started;
        for (std::uint32_t i = 0; i < 500; ++i) {
            std::uint64_t mask = 0;
            EXPECT_EQ(started.set(xLength, 16 + 16 * (i % 32)), 0);
            EXPECT_EQ(writeRegister(started.board, 8192 + 56, i, 0), 0);
            readRegister(started.board, 8192 + 56, &mask, 0);
        }
    };
    std::thread first(work), second(work);
    first.join();
    second.join();
    virtualBoardTraceStop();
    virtualBoardClearFaults();
    EXPECT_GE(virtualBoardTraceLength(), 2U * 4 * 500);
    virtualBoardTraceStart();
    virtualBoardTraceStop();
    EXPECT_EQ(virtualBoardTraceLength(), 0U);
}

TEST_F(Runtime, TraceTellsEveryCallInOrder) {
    const std::int32_t ids[] = {started_.id(xLength), started_.id(mirrorField), started_.id(lookupTable),
                                started_.id("Device1_Info_Comment"),
                                started_.id("Device1_Sensors_TemperatureAlarmLevel")};
    std::uint32_t word = 512;
    const std::uint32_t elements[] = {4, 5, 6};
    const FieldElement element{1, 3};
    const FieldAccess field{2, 10, 3, elements};
    const double number = 60.5;
    virtualBoardTraceStart();
    Fg_setParameterWithType(handle_, ids[0], &word, 0, RUNTIME_VALUE_UINT32);
    Fg_setParameterWithType(handle_, ids[1], &element, 0, RUNTIME_VALUE_FIELD_ELEMENT);
    Fg_setParameterWithType(handle_, ids[2], &field, 0, RUNTIME_VALUE_FIELD);
    Fg_setParameterWithType(handle_, ids[3], "hello", 0, RUNTIME_VALUE_PATH);
    Fg_setParameter(handle_, ids[4], &number, 0);
    Fg_setParameter(handle_, 600, &word, 0);
    writeRegister(board_, 8192 + 8 * 2, 128, 0);
    word = 0;
    Fg_getParameter(handle_, ids[0], &word, 0);
    Fg_setParameter(handle_, 77, &word, 0);
    releaseDesignImage(nullptr);
    virtualBoardTraceStop();
    Fg_getParameter(handle_, ids[0], &word, 0); // not recorded

    const struct {
        const char *call, *target, *value;
        std::uint64_t number;
        std::uint32_t index;
        std::int32_t isWrite;
        std::int64_t result;
    } expected[] = {
        {"Fg_setParameterWithType", xLength, "512", 512, 0, 1, 0},
        {"Fg_setParameterWithType", mirrorField, "3: 1", 1, 3, 1, 0},
        {"Fg_setParameterWithType", lookupTable, "[3] 4 5 6", 0, 0, 1, 0},
        {"Fg_setParameterWithType", "Device1_Info_Comment", "hello", 0, 0, 1, 0},
        {"Fg_setParameter", "Device1_Sensors_TemperatureAlarmLevel", "60.5", 0, 0, 1, 0},
        {"Fg_setParameter", "FG_TIMEOUT", "512", 512, 0, 1, 0},
        {"writeRegister", "AAGenWidth", "128", 128, 0, 1, 0},
        {"Fg_getParameter", xLength, "512", 512, 0, 0, 0},
        {"Fg_setParameter", "77", "512", 512, 0, 1, unknown},
        {"releaseDesignImage", "", "", 0, 0, 0, unknown},
    };
    ASSERT_EQ(virtualBoardTraceLength(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        SCOPED_TRACE(i);
        const VirtualBoardTraceEntry& entry = *virtualBoardTraceAt(i);
        EXPECT_STREQ(entry.call, expected[i].call);
        EXPECT_STREQ(entry.target, expected[i].target);
        EXPECT_STREQ(entry.value, expected[i].value);
        EXPECT_EQ(entry.number, expected[i].number);
        EXPECT_EQ(entry.index, expected[i].index);
        EXPECT_EQ(entry.isWrite, expected[i].isWrite);
        EXPECT_EQ(entry.result, expected[i].result);
        EXPECT_EQ(entry.board, i + 1 == std::size(expected) ? nullptr : board_);
    }
    EXPECT_EQ(virtualBoardTraceAt(std::size(expected)), nullptr);
}

TEST_F(Runtime, ChosenCallsFailWithoutEffect) {
    StartedBoard other;
    virtualBoardFail(board_, "Fg_setParameterWithType", xLength, 1, 2, -77);
    std::vector<std::int32_t> results;
    for (std::uint32_t i = 1; i <= 4; ++i) {
        results.push_back(started_.set(xLength, 16 * i));
    }
    EXPECT_EQ(results, (std::vector<std::int32_t>{0, -77, -77, 0}));
    EXPECT_EQ(value(xLength), 64U);

    virtualBoardFail(board_, nullptr, xLength, 0, 1, -78);
    EXPECT_EQ(other.set(xLength, 32), 0) << "another board is not struck";
    EXPECT_EQ(started_.set("Device1_Process0_Buffer_0_ROI_Y_Length", 32), 0);
    EXPECT_EQ(started_.id(xLength), -78);
    EXPECT_EQ(lastError(), -78);

    virtualBoardFail(nullptr, "writeRegister", nullptr, 0, 1, -79);
    EXPECT_EQ(writeRegister(board_, 8192, 1, 0), -79);
    virtualBoardFail(nullptr, "loadDesignImageFile", nullptr, 0, 1, -80);
    EXPECT_EQ(loadDesignImageFile(QELM_DESIGN_IMAGE, designNumber, 1), nullptr);
    virtualBoardFail(nullptr, "Fg_InitHandle", nullptr, 0, 1, -81);
    EXPECT_EQ(Fg_InitHandle(nullptr, board_, started_.image), nullptr);
    EXPECT_EQ(Fg_getLastErrorNumber(nullptr), -81);

    virtualBoardFail(board_, nullptr, nullptr, 0, 1000, -82);
    EXPECT_EQ(started_.set(xLength, 32), -82);
    virtualBoardClearFaults();
    EXPECT_EQ(started_.set(xLength, 32), 0);
}

TEST_F(Runtime, CoefficientsAreReadWhenTheyAreLoaded) {
    constexpr std::int32_t side = 8192;
    const TemporaryFolder folder;
    const std::string plane = folder.file("plane.tiff"), small = folder.file("small.tiff");
    std::vector<std::uint16_t> values(std::size_t{side} * side, 4096);
    values[1] = 0x1234;
    values.back() = 65535;
    ASSERT_EQ(writeImage(plane.c_str(), values.data(), 2 * side, side, 8, 1), 0);
    ASSERT_EQ(writeImage(small.c_str(), values.data(), 16, 16, 8, 1), 0);

    const std::uint16_t* pixels = nullptr;
    std::int32_t width = 0, height = 0;
    const auto load = [&](const std::string& file) {
        const std::int32_t id = started_.id("Device1_Process0_Shading_ShadingBuffer_1_CoefficientFile 0");
        EXPECT_EQ(Fg_setParameterWithType(handle_, id, file.c_str(), 0, RUNTIME_VALUE_PATH), 0);
        return started_.set("Device1_Process0_Shading_ShadingBuffer_1_LoadCoefficients", 1);
    };
    EXPECT_EQ(virtualBoardCoefficients(board_, 1, &pixels, &width, &height), unknown);
    EXPECT_EQ(load(plane), 0);
    EXPECT_EQ(load(small), fileNotFound);
    EXPECT_EQ(load(folder.file("none.tiff")), fileNotFound);
    ASSERT_EQ(virtualBoardCoefficients(board_, 1, &pixels, &width, &height), 0);
    EXPECT_EQ(width, side);
    EXPECT_EQ(height, side);
    EXPECT_TRUE(std::equal(values.begin(), values.end(), pixels));
    EXPECT_EQ(virtualBoardCoefficients(board_, 0, &pixels, &width, &height), unknown);
    EXPECT_EQ(virtualBoardCoefficients(board_, 2, &pixels, &width, &height), unknown);
    std::uint64_t loads = 0;
    virtualBoardGetCommandCount(board_, "Device1_Process0_Shading_ShadingBuffer_1_LoadCoefficients", &loads);
    EXPECT_EQ(loads, 1U) << "a load that failed is none";
}

} // namespace
} // namespace qelm::test
