// Info: what an applet tells without a board.

#include "expected_parameters.h"
#include "fixture.h"

#include <fstream>
#include <iterator>
#include <string_view>

namespace qelm::test {
namespace {

class InfoTest : public testing::Test {
  protected:
    std::string text(std::int32_t request) const {
        const char* written = nullptr;
        EXPECT_EQ(applet_->Info(request, 0, 0, nullptr, &written), 0) << request;
        EXPECT_EQ(applet_->Info(request, 0, 0, nullptr, nullptr), 0) << request;
        return written == nullptr ? "(nothing)" : written;
    }
    Applet applet_;
};

TEST_F(InfoTest, NumbersAnswerAndWriteNothing) {
    const struct {
        std::int32_t request;
        std::int32_t answer;
        std::int32_t withIndex1 = 0;
        std::int32_t withIndex2 = 0; // 0 in both: as without
    } cases[] = {
        {848, 0},
        {1040, 0},
        {1045, 1},
        {1792, 1},
        {1872, 1},
        {1888, 1},
        {2048, 131076},
        {2160, 0},
        {2176, 2628},
        {2192, 0},
        {2560, 0},
        {2816, 1},
        {3072, 1},
        {3328, 0},
        {4608, 1},
        {4624, 1, -2070, 1},
        {4640, 1, -2070, 1},
        {4656, 0, -2070, -2070},
        {4672, 0, -2070, -2070},
        {4688, 1, -2070, 1},
        {4704, 9, -2070, 9},
        {9999, -2130},
        {0, -2130},
        {-1, -2130},
        {1046, -2130},
        {849, -2130},
        {4353, -2130},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.request);
        std::uint64_t out1 = 77;
        std::uint64_t out2 = 77;
        EXPECT_EQ(applet_->Info(row.request, 0, 0, &out1, &out2), row.answer);
        const bool indexed = row.withIndex1 != 0;
        EXPECT_EQ(applet_->Info(row.request, 1, 0, &out1, &out2), indexed ? row.withIndex1 : row.answer);
        EXPECT_EQ(applet_->Info(row.request, 0, 1, &out1, &out2), indexed ? row.withIndex2 : row.answer);
        EXPECT_EQ(out1, 77U);
        EXPECT_EQ(out2, 77U);
        EXPECT_EQ(applet_->Info(row.request, 0, 0, nullptr, nullptr), row.answer);
    }
}

TEST_F(InfoTest, TextsIdentifyTheApplet) {
    EXPECT_EQ(text(1043), "7d1e5a90-3b2c-4f81-9e6a-2c4b8d0f1a37");
    EXPECT_EQ(text(1044), "");
    EXPECT_EQ(text(4096),
              "Ostrada Advanced with support of Ravelin technology, vertical TopBottom 4 Tap Sorting, 12Bit image "
              "processing, shading correction, median noise filter, dead pixel interpolation and lookup table for one "
              "Camera Link MEDIUM configuration grayscale area scan camera.");
    EXPECT_EQ(text(4112), "Ostrada Advanced:Area");
    EXPECT_EQ(text(4128),
              "class=standard,family=acquisition,type=single,sensortype=area,color=gray,interface=cl-medium");
    EXPECT_EQ(text(4176), "Zantor_Obvelline_Qx4_RK");
    EXPECT_EQ(text(4192), "2.4.1.2");
    EXPECT_EQ(text(4208), "2.4.1.2.20161220.052454");
}

TEST_F(InfoTest, TheClearedValueHas32Bits) {
    std::uint32_t values[] = {77, 77};
    EXPECT_EQ(applet_->Info(2304, 0, 0, values, nullptr), 0);
    EXPECT_THAT(values, ElementsAre(0U, 77U));
    EXPECT_EQ(applet_->Info(2304, 0, 0, nullptr, nullptr), 0);
}

TEST_F(InfoTest, IconAndDesignImageAreInTheLibrary) {
    const struct {
        std::int32_t request;
        std::uint32_t index1, index2; // any of them: the same block
        const char* file;
        std::uintptr_t length;
    } cases[] = {
        {1042, 0, 0, QELM_TEST_DESIGN_IMAGE, 2269798},
        {1041, 0, 0, QELM_TEST_ICON, 3267},
        {1041, 1, 0, QELM_TEST_ICON, 3267},
        {1041, 0, 5, QELM_TEST_ICON, 3267},
        {1041, 0xFFFFFFFF, 1, QELM_TEST_ICON, 3267},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message() << row.request << ' ' << row.index1 << ' ' << row.index2);
        std::uintptr_t length = 0;
        const char* address = nullptr;
        ASSERT_EQ(applet_->Info(row.request, row.index1, row.index2, &length, &address), 0);
        ASSERT_EQ(length, row.length);
        std::ifstream file(row.file, std::ios::binary);
        EXPECT_TRUE(std::string_view(address, length) == std::string(std::istreambuf_iterator<char>(file), {}));
        EXPECT_EQ(applet_->Info(row.request, row.index1, row.index2, nullptr, nullptr), 0);
    }
}

TEST_F(InfoTest, LastBoardAndImageAreThoseOfTheLastSuccessfulStart) {
    void* board = this;
    void* image = this;
    ASSERT_EQ(applet_->Info(4144, 0, 0, &board, nullptr), 0);
    ASSERT_EQ(applet_->Info(4160, 0, 0, &image, nullptr), 0);
    EXPECT_EQ(board, nullptr);
    EXPECT_EQ(image, nullptr);
    {
        const Board first(applet_);
        const Board second(applet_);
        EXPECT_THROW(Board(applet_, {.handle = this}), host::AppletError); // no board at all
        applet_->Info(4144, 0, 0, &board, nullptr);
        applet_->Info(4160, 0, 0, &image, nullptr);
        EXPECT_EQ(board, second.handle());
        EXPECT_NE(image, nullptr);
    }
    void* later = nullptr;
    applet_->Info(4160, 0, 0, &later, nullptr);
    EXPECT_EQ(later, image) << "freeing a board forgets nothing";
}

TEST_F(InfoTest, ConstantsAreFoundByName) {
    const auto find = [&](const char* name) { return applet_->Info(4352, 0, 0, const_cast<char*>(name), nullptr); };
    for (const ExpectedEntry& constant : expectedEntries) {
        EXPECT_EQ(find(constant.name), constant.value) << constant.name;
    }
    for (const char* name : {"", "fg_on", "FG_ON ", "FG_WIDTH", "TRGINSRC_8"}) {
        EXPECT_EQ(find(name), -2070) << name;
    }
    EXPECT_EQ(find(nullptr), -2070);
}

} // namespace
} // namespace qelm::test
