// Region of interest, camera size and tap geometry: what the design gets, in which order, and what is refused.

#include "fixture.h"

#include <array>

namespace qelm::test {
namespace {

const std::string buffer = "Device1_Process0_Buffer_0_";
const std::string shading = "Device1_Process0_Shading_ShadingBuffer_";

/** The writes that bring both shading buffers one value each and let them take it over. */
std::vector<std::string> withShading(std::vector<std::string> writes, const std::string& target, std::uint32_t value) {
    for (const char* number : {"0", "1"}) {
        writes.push_back(shading + number + "_" + target + "=" + std::to_string(value));
        writes.push_back(shading + number + "_UpdateROI=1");
    }
    return writes;
}

class RegionOfInterest : public BoardTest {
  protected:
    void setCamera(std::uint32_t width, std::uint32_t height) {
        ASSERT_EQ(board_.set(FG_CAMERA_WIDTH, width), 0);
        ASSERT_EQ(board_.set(FG_CAMERA_HEIGHT, height), 0);
    }
};

TEST_F(RegionOfInterest, SettersWriteBufferAndShading) {
    setCamera(8192, 8192);
    const struct {
        std::int32_t id;
        std::uint32_t value;
        const char* bufferTarget;
        const char* shadingTarget;
        std::uint32_t shadingValue;
    } cases[] = {
        {FG_WIDTH, 16, "ROI_X_Length", "XLength", 4},       {FG_XOFFSET, 8176, "ROI_X_Offset", "XOffset", 2044},
        {FG_WIDTH, 16, "ROI_X_Length", "XLength", 4},       {FG_XOFFSET, 0, "ROI_X_Offset", "XOffset", 0},
        {FG_WIDTH, 8192, "ROI_X_Length", "XLength", 2048},  {FG_WIDTH, 1008, "ROI_X_Length", "XLength", 252},
        {FG_HEIGHT, 2, "ROI_Y_Length", "YLength", 2},       {FG_YOFFSET, 8190, "ROI_Y_Offset", "YOffset", 8190},
        {FG_HEIGHT, 2, "ROI_Y_Length", "YLength", 2},       {FG_YOFFSET, 0, "ROI_Y_Offset", "YOffset", 0},
        {FG_HEIGHT, 8192, "ROI_Y_Length", "YLength", 8192}, {FG_HEIGHT, 1001, "ROI_Y_Length", "YLength", 1001},
    };
    for (const auto& row : cases) {
        const std::vector<std::string> expected = withShading(
            {buffer + row.bufferTarget + "=" + std::to_string(row.value)}, row.shadingTarget, row.shadingValue);
        EXPECT_THAT(writesOfSet(row.id, row.value), ElementsAreArray(expected));
        EXPECT_EQ(board_.get<std::uint32_t>(row.id), row.value);
    }
}

TEST_F(RegionOfInterest, CameraSizeGoesToTheTapSorting) {
    const std::string sorting = buffer + "verticalTS_";
    const struct {
        std::uint32_t width;
        const char* sixteenths;
        const char* half;
        const char* lessOne;
    } widths[] = {{16, "1", "8", "0"}, {2048, "128", "1024", "127"}, {8192, "512", "4096", "511"}};
    for (const auto& row : widths) {
        EXPECT_THAT(writesOfSet(FG_CAMERA_WIDTH, row.width),
                    ElementsAre(sorting + "Size_Wdiv16_Hx2_ImageWidth=" + row.sixteenths,
                                buffer + "WidthDIV2_LineLength=" + row.half,
                                sorting + "RightLeft_WidthDiv16Minus1_Value=" + row.lessOne));
        EXPECT_EQ(board_.get<std::uint32_t>(FG_CAMERA_WIDTH), row.width);
    }
    const struct {
        std::uint32_t height;
        const char* twice;
        const char* halfLessOne;
    } heights[] = {{2, "4", "0"}, {3, "6", "0"}, {1000, "2000", "499"}, {8192, "16384", "4095"}};
    for (const auto& row : heights) {
        const std::string height = std::to_string(row.height);
        EXPECT_THAT(writesOfSet(FG_CAMERA_HEIGHT, row.height),
                    ElementsAre(sorting + "Size_Wdiv16_Hx2_ImageHeight=" + row.twice,
                                sorting + "TopBottom_Height_TopBottom_Divisor=" + height,
                                sorting + "TopBottom_Height_TopDownSplit_Number=" + height,
                                sorting + "Heightx2_AppendNumber=" + height,
                                sorting + "TopBottom_HeightDIV2Minus1_Value=" + row.halfLessOne));
        EXPECT_EQ(board_.get<std::uint32_t>(FG_CAMERA_HEIGHT), row.height);
    }
}

TEST_F(RegionOfInterest, RefusesWhatDoesNotFit) {
    setCamera(1024, 768);
    ASSERT_EQ(board_.set(FG_HEIGHT, 100U), 0);
    ASSERT_EQ(board_.set(FG_YOFFSET, 68U), 0);
    ASSERT_EQ(board_.set(FG_WIDTH, 512U), 0);
    ASSERT_EQ(board_.set(FG_XOFFSET, 256U), 0);
    const struct {
        std::int32_t id;
        std::uint32_t value;
        std::int32_t code;
    } cases[] = {
        {FG_WIDTH, 0, -6000},
        {FG_WIDTH, 8, -6000},   // too small before misaligned
        {FG_WIDTH, 15, -6000},  //
        {FG_WIDTH, 17, -7080},  //
        {FG_WIDTH, 767, -7080}, //
        {FG_WIDTH, 769, -6000}, // too large before misaligned
        {FG_WIDTH, 784, -6000}, //
        {FG_WIDTH, 0xFFFFFFF0U, -6000},
        {FG_XOFFSET, 8, -7080},
        {FG_XOFFSET, 511, -7080},
        {FG_XOFFSET, 513, -6000},
        {FG_XOFFSET, 528, -6000},
        {FG_XOFFSET, 0xFFFFFFF0U, -6000},
        {FG_HEIGHT, 0, -6000},
        {FG_HEIGHT, 1, -6000},
        {FG_HEIGHT, 701, -6000},
        {FG_HEIGHT, 0xFFFFFFFFU, -6000},
        {FG_YOFFSET, 669, -6000},
        {FG_YOFFSET, 0xFFFFFFFFU, -6000},
        {FG_CAMERA_WIDTH, 0, -6000},
        {FG_CAMERA_WIDTH, 15, -6000},
        {FG_CAMERA_WIDTH, 1000, -7080},
        {FG_CAMERA_WIDTH, 8191, -7080},
        {FG_CAMERA_WIDTH, 8193, -6000},
        {FG_CAMERA_WIDTH, 8208, -6000},
        {FG_CAMERA_HEIGHT, 0, -6000},
        {FG_CAMERA_HEIGHT, 1, -6000},
        {FG_CAMERA_HEIGHT, 8193, -6000},
    };
    for (const auto& row : cases) {
        expectRefused(row.id, row.value, row.code);
    }
    // The largest of each that fits, one after the other.
    EXPECT_EQ(board_.set(FG_XOFFSET, 512U), 0);
    EXPECT_EQ(board_.set(FG_YOFFSET, 668U), 0);
    expectRefused(FG_WIDTH, 528U, -6000);
    expectRefused(FG_HEIGHT, 101U, -6000);
    EXPECT_EQ(board_.set(FG_XOFFSET, 0U), 0);
    EXPECT_EQ(board_.set(FG_YOFFSET, 0U), 0);
    EXPECT_EQ(board_.set(FG_WIDTH, 1024U), 0);
    EXPECT_EQ(board_.set(FG_HEIGHT, 768U), 0);
    expectRefused(FG_WIDTH, 1040U, -6000);
    expectRefused(FG_WIDTH, 1000U, -7080);
    expectRefused(FG_XOFFSET, 16U, -6000);
    expectRefused(FG_YOFFSET, 1U, -6000);
}

TEST_F(RegionOfInterest, EachSetterMovesThePartnersMaximum) {
    const struct {
        std::int32_t id;
        std::uint32_t value;
        double width, xOffset, height, yOffset; // maxima afterwards
    } steps[] = {
        {FG_CAMERA_WIDTH, 2048, 2048, 1024, 1024, 0},    {FG_CAMERA_HEIGHT, 1500, 2048, 1024, 1500, 476},
        {FG_WIDTH, 512, 2048, 1536, 1500, 476},          {FG_XOFFSET, 1536, 512, 1536, 1500, 476},
        {FG_HEIGHT, 500, 512, 1536, 1500, 1000},         {FG_YOFFSET, 300, 512, 1536, 1200, 1000},
        {FG_CAMERA_WIDTH, 1024, -512, 512, 1200, 1000},  {FG_CAMERA_HEIGHT, 200, -512, 512, -100, -300},
        {FG_CAMERA_WIDTH, 8192, 6656, 7680, -100, -300}, {FG_CAMERA_HEIGHT, 8192, 6656, 7680, 7892, 7692},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(testing::Message() << step.id << " = " << step.value);
        ASSERT_EQ(board_.set(step.id, step.value), 0);
        EXPECT_EQ(maximumOf(board_, "FG_WIDTH"), step.width);
        EXPECT_EQ(maximumOf(board_, "FG_XOFFSET"), step.xOffset);
        EXPECT_EQ(maximumOf(board_, "FG_HEIGHT"), step.height);
        EXPECT_EQ(maximumOf(board_, "FG_YOFFSET"), step.yOffset);
    }
    // Neither a refusal nor a failing write moves any.
    EXPECT_EQ(board_.set(FG_CAMERA_WIDTH, 8U), -6000);
    control().fail(board_.virtualBoard(), nullptr, (shading + "1_UpdateROI").c_str(), 0, 1, injected);
    EXPECT_EQ(board_.set(FG_WIDTH, 1024U), injected);
    control().clearFaults();
    EXPECT_EQ(maximumOf(board_, "FG_WIDTH"), 6656);
    EXPECT_EQ(maximumOf(board_, "FG_XOFFSET"), 7680);
}

TEST_F(RegionOfInterest, ACameraMadeSmallerThanTheRegionKeepsItAndAdmitsOnlyWhatFits) {
    setCamera(2048, 2048);
    ASSERT_EQ(board_.set(FG_WIDTH, 512U), 0);
    ASSERT_EQ(board_.set(FG_XOFFSET, 1024U), 0);
    ASSERT_EQ(board_.set(FG_HEIGHT, 512U), 0);
    ASSERT_EQ(board_.set(FG_YOFFSET, 1024U), 0);

    setCamera(768, 768); // smaller than the offsets: no size fits, offsets up to 256 do
    EXPECT_EQ(board_.get<std::uint32_t>(FG_XOFFSET), 1024U);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_HEIGHT), 512U);
    for (const std::uint32_t value : {16U, 512U, 0xFFFFFF00U}) {
        expectRefused(FG_WIDTH, value, -6000);
        expectRefused(FG_HEIGHT, value, -6000);
    }
    expectRefused(FG_XOFFSET, 1024U, -6000);
    expectRefused(FG_YOFFSET, 257U, -6000);
    EXPECT_EQ(board_.set(FG_XOFFSET, 256U), 0);
    EXPECT_EQ(board_.set(FG_YOFFSET, 256U), 0);

    setCamera(256, 256); // smaller than the size: no offset fits, not even 0
    expectRefused(FG_XOFFSET, 0U, -6000);
    expectRefused(FG_YOFFSET, 0U, -6000);
    expectRefused(FG_WIDTH, 16U, -6000);
    expectRefused(FG_HEIGHT, 2U, -6000);

    setCamera(1024, 1024);
    EXPECT_EQ(board_.set(FG_XOFFSET, 0U), 0);
    EXPECT_EQ(board_.set(FG_WIDTH, 1024U), 0);
}

TEST_F(RegionOfInterest, AFailingWriteRollsTheValueBack) {
    setCamera(2048, 2048);
    expectRollBackAtEachWrite(FG_WIDTH, 512U);
    expectRollBackAtEachWrite(FG_XOFFSET, 256U);
    expectRollBackAtEachWrite(FG_HEIGHT, 500U);
    expectRollBackAtEachWrite(FG_YOFFSET, 100U);
    expectRollBackAtEachWrite(FG_CAMERA_WIDTH, 4096U);
    expectRollBackAtEachWrite(FG_CAMERA_HEIGHT, 4097U);
    expectRollBackAtEachWrite(FG_DEVICETAPGEOMETRY, static_cast<std::uint32_t>(Geometry_2XM_2YE));
    expectRollBackAtEachWrite(FG_CAMERA_LINK_CAMTYPE, std::int32_t{FG_CL_MEDIUM_12_BIT});
    expectRollBackAtEachWrite(FG_USEDVAL, std::int32_t{FG_NO});
}

TEST_F(RegionOfInterest, TapGeometryIsDecodedTapByTap) {
    const struct {
        std::uint32_t code;
        std::array<const char*, 4> mirrored;
    } geometries[] = {
        {0xE4C0, {"0", "0", "0", "0"}},
        {0xE4C5, {"1", "0", "1", "0"}},
        {0xE4CA, {"0", "1", "0", "1"}},
    };
    for (const auto& geometry : geometries) {
        std::vector<std::string> expected;
        for (size_t tap = 0; tap < 4; ++tap) {
            const std::string element = "LUTcontent[" + std::to_string(tap) + "]=";
            expected.push_back(buffer + "verticalTS_TopBottomMode_TapSetting_TopDown_" + element +
                               (tap < 2 ? "1" : "0"));
            expected.push_back(buffer + "verticalTS_RightLeftMode_TapMirrorMode_" + element + geometry.mirrored[tap]);
            expected.push_back(buffer + "MirrorParCompensation_TapMirrorMode_" + element + geometry.mirrored[tap]);
        }
        for (const char* tap : {"0", "1", "2", "3"}) {
            expected.push_back(buffer + "SelectTaps_Tap" + tap + "_SELECT_Value=" + tap);
        }
        EXPECT_THAT(writesOfSet(FG_DEVICETAPGEOMETRY, geometry.code), ElementsAreArray(expected));
        EXPECT_EQ(board_.get<std::uint32_t>(FG_DEVICETAPGEOMETRY), geometry.code);
    }
    for (const std::uint32_t code : {0U, 0xE4C1U, 0xE4CBU, 0x1E4CAU, 0xFFFFFFFFU}) {
        expectRefused(FG_DEVICETAPGEOMETRY, code, -6000);
    }
}

TEST_F(RegionOfInterest, CameraTypeAndDvalAreTranslated) {
    const struct {
        std::int32_t id;
        std::int32_t value;
        const char* write;
    } cases[] = {
        {FG_CAMERA_LINK_CAMTYPE, 210, "Device1_Process0_Camera_Format=1"},
        {FG_CAMERA_LINK_CAMTYPE, 212, "Device1_Process0_Camera_Format=2"},
        {FG_CAMERA_LINK_CAMTYPE, 208, "Device1_Process0_Camera_Format=0"},
        {FG_USEDVAL, 0, "Device1_Process0_Camera_UseDval=0"},
        {FG_USEDVAL, 1, "Device1_Process0_Camera_UseDval=1"},
    };
    for (const auto& row : cases) {
        EXPECT_THAT(writesOfSet(row.id, row.value), ElementsAre(row.write));
        EXPECT_EQ(board_.get<std::int32_t>(row.id), row.value);
    }
    for (const std::int32_t type : {0, 207, 209, 211, 213, -208}) {
        expectRefused(FG_CAMERA_LINK_CAMTYPE, type, -6000);
    }
    for (const std::int32_t use : {2, -1}) {
        expectRefused(FG_USEDVAL, use, -6000);
    }
}

} // namespace
} // namespace qelm::test
