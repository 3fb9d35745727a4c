// Info: what an applet tells without a board.

#include "fixture.h"

#include <cstring>

namespace qelm::test {
namespace {

class InfoTest : public testing::Test {
  protected:
    std::string text(int32_t request) const {
        const char* written = nullptr;
        EXPECT_EQ(applet_->Info(request, 0, 0, nullptr, &written), 0) << request;
        EXPECT_EQ(applet_->Info(request, 0, 0, nullptr, nullptr), 0) << request;
        return written == nullptr ? "(nothing)" : written;
    }
    Applet applet_;
};

TEST_F(InfoTest, NumbersAnswerAndWriteNothing) {
    const struct {
        int32_t request;
        int32_t answer;
        int32_t withIndex1 = 0;
        int32_t withIndex2 = 0; // 0 in both: as without
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
        uint64_t out1 = 77;
        uint64_t out2 = 77;
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
    uint32_t values[] = {77, 77};
    EXPECT_EQ(applet_->Info(2304, 0, 0, values, nullptr), 0);
    EXPECT_THAT(values, ElementsAre(0U, 77U));
    EXPECT_EQ(applet_->Info(2304, 0, 0, nullptr, nullptr), 0);
}

TEST_F(InfoTest, IconAndDesignImageAreInTheLibrary) {
    uintptr_t length = 0;
    const unsigned char* address = nullptr;
    ASSERT_EQ(applet_->Info(1042, 0, 0, &length, &address), 0);
    EXPECT_EQ(length, 2269798U);
    EXPECT_NE(address, nullptr);
    EXPECT_EQ(address[length - 1], address[length - 1]) << "all of it can be read";

    const unsigned char header[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0, 13,
                                    'I',  'H', 'D', 'R', 0,    0,    0,    32,   0, 0, 0, 32};
    const unsigned char end[] = {0, 0, 0, 0, 'I', 'E', 'N', 'D', 0xAE, 0x42, 0x60, 0x82};
    const uint32_t indices[][2] = {{0, 0}, {1, 0}, {0, 5}, {0xFFFFFFFF, 1}}; // any index: the same icon
    for (const auto& index : indices) {
        length = 0;
        address = nullptr;
        ASSERT_EQ(applet_->Info(1041, index[0], index[1], &length, &address), 0);
        ASSERT_EQ(length, 3267U);
        EXPECT_EQ(std::memcmp(address, header, sizeof header), 0);
        EXPECT_EQ(std::memcmp(address + length - sizeof end, end, sizeof end), 0);
        // Chunk by chunk to the end: what a decoder would follow.
        size_t position = 8;
        while (position + 12 <= length) {
            position += 12 + (size_t{address[position]} << 24 | size_t{address[position + 1]} << 16 |
                              size_t{address[position + 2]} << 8 | size_t{address[position + 3]});
        }
        EXPECT_EQ(position, length);
    }
    EXPECT_EQ(applet_->Info(1041, 1, 1, nullptr, nullptr), 0);
    EXPECT_EQ(applet_->Info(1042, 0, 0, nullptr, nullptr), 0);
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
    const struct {
        const char* name;
        int32_t value;
    } constants[] = {
        {"FG_CL_MEDIUM_8_BIT", 208},
        {"FG_CL_MEDIUM_10_BIT", 210},
        {"FG_CL_MEDIUM_12_BIT", 212},
        {"FG_YES", 1},
        {"FG_NO", 0},
        {"Geometry_2XE_2YE", 0xE4CA},
        {"Geometry_2X_2YE", 0xE4C0},
        {"Geometry_2XM_2YE", 0xE4C5},
        {"FG_GRAY", 3},
        {"FG_GRAY16", 1},
        {"FG_LEFT_ALIGNED", 1},
        {"FG_RIGHT_ALIGNED", 0},
        {"FG_CAMPORT", 0},
        {"FG_GENERATOR", 1},
        {"FG_ON", 1},
        {"FG_OFF", 0},
        {"LUT_TYPE_PROCESSING", 3},
        {"LUT_TYPE_CUSTOM", 0},
        {"LUT_IMPLEMENTATION_FULL_LUT", 0},
        {"LUT_IMPLEMENTATION_KNEELUT", 1},
        {"FG_MAX_VALUE", 0},
        {"FG_MEAN_VALUE", 1},
        {"FG_MAX_RANGE", 2},
        {"FG_CUSTOM_VALUE", 3},
        {"FG_APPLY", 1},
        {"ATM_GENERATOR", 1},
        {"ATM_EXTERNAL", 2},
        {"ATM_SOFTWARE", 4},
        {"TS_ACTIVE", 0},
        {"TS_ASYNC_STOP", 1},
        {"TS_SYNC_STOP", 2},
        {"TRGINSRC_0", 0},
        {"TRGINSRC_1", 1},
        {"TRGINSRC_2", 2},
        {"TRGINSRC_3", 3},
        {"TRGINSRC_4", 4},
        {"TRGINSRC_5", 5},
        {"TRGINSRC_6", 6},
        {"TRGINSRC_7", 7},
        {"LOW_ACTIVE", 1},
        {"HIGH_ACTIVE", 0},
        {"IS_BUSY", 1},
        {"IS_NOT_BUSY", 0},
        {"CC_PULSEGEN0", 0},
        {"CC_PULSEGEN1", 1},
        {"CC_PULSEGEN2", 2},
        {"CC_PULSEGEN3", 3},
        {"CC_GND", 4},
        {"CC_VCC", 5},
        {"CC_NOT_PULSEGEN0", 6},
        {"CC_NOT_PULSEGEN1", 7},
        {"CC_NOT_PULSEGEN2", 8},
        {"CC_NOT_PULSEGEN3", 9},
        {"CC_INPUT_BYPASS", 10},
        {"CC_NOT_INPUT_BYPASS", 11},
        {"PULSEGEN0", 0},
        {"PULSEGEN1", 1},
        {"PULSEGEN2", 2},
        {"PULSEGEN3", 3},
        {"NOT_PULSEGEN0", 6},
        {"NOT_PULSEGEN1", 7},
        {"NOT_PULSEGEN2", 8},
        {"NOT_PULSEGEN3", 9},
        {"INPUT_BYPASS", 10},
        {"NOT_INPUT_BYPASS", 11},
        {"FREE_RUN", 0},
        {"GRABBER_CONTROLLED", 1},
        {"ASYNC_TRIGGER", 2},
        {"ASYNC_SOFTWARE_TRIGGER", 4},
        {"FG_LOW", 0},
        {"FG_HIGH", 1},
        {"CC_EXSYNC", 0},
        {"CC_NOT_EXSYNC", 6},
        {"CC_STROBEPULSE", 2},
        {"CC_NOT_STROBEPULSE", 8},
    };
    const auto find = [&](const char* name) { return applet_->Info(4352, 0, 0, const_cast<char*>(name), nullptr); };
    for (const auto& constant : constants) {
        EXPECT_EQ(find(constant.name), constant.value) << constant.name;
    }
    for (const char* name : {"", "fg_on", "FG_ON ", "FG_WIDTH", "TRGINSRC_8"}) {
        EXPECT_EQ(find(name), -2070) << name;
    }
    EXPECT_EQ(find(nullptr), -2070);
}

} // namespace
} // namespace qelm::test
