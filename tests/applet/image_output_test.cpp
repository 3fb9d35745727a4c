// Output format, image selector and noise filter.

#include "fixture.h"

namespace qelm::test {
namespace {

const char selectSource[] = "Device1_Process0_OutputFormat_FG_FORMAT_SelectSource";
const char divisor[] = "Device1_Process0_ImageSelector_FG_IMG_SELECT_PERIOD_Divisor";
const char phase[] = "Device1_Process0_ImageSelector_FG_IMG_SELECT_PHASE_Number";

class ImageOutput : public BoardTest {};

TEST_F(ImageOutput, EnumerationsAreTranslatedAndOthersRefused) {
    const struct {
        std::int32_t id;
        std::int32_t value;
        std::string write;
    } accepted[] = {
        {FG_FORMAT, 1, std::string(selectSource) + "=0"},
        {FG_FORMAT, 3, std::string(selectSource) + "=1"},
        {FG_BITALIGNMENT, 0, "Device1_Process0_OutputFormat_FG_BITALIGNMENT_Value=0"},
        {FG_BITALIGNMENT, 1, "Device1_Process0_OutputFormat_FG_BITALIGNMENT_Value=1"},
        {FG_NOISEFILTER, 1, "Device1_Process0_NoiseFilter_Select_Value=1"},
        {FG_NOISEFILTER, 0, "Device1_Process0_NoiseFilter_Select_Value=0"},
    };
    for (const auto& row : accepted) {
        EXPECT_THAT(writesOfSet(row.id, row.value), ElementsAre(row.write));
        EXPECT_EQ(board_.get<std::int32_t>(row.id), row.value);
    }
    for (const std::int32_t format : {0, 2, 4, -1}) {
        expectRefused(FG_FORMAT, format, -6000);
    }
    for (const std::int32_t id : {FG_BITALIGNMENT, FG_NOISEFILTER}) {
        expectRefused(id, 2, -6000);
        expectRefused(id, -1, -6000);
    }
}

TEST_F(ImageOutput, TheSelectedImageLiesWithinItsPeriod) {
    expectRefused(FG_IMG_SELECT_PERIOD, 0U, -6000);
    expectRefused(FG_IMG_SELECT_PERIOD, 257U, -6000);
    expectRefused(FG_IMG_SELECT, 1U, -6000); // the period is 1
    EXPECT_THAT(writesOfSet(FG_IMG_SELECT_PERIOD, 256U), ElementsAre(std::string(divisor) + "=256"));
    EXPECT_THAT(writesOfSet(FG_IMG_SELECT, 255U), ElementsAre(std::string(phase) + "=255"));
    expectRefused(FG_IMG_SELECT, 256U, -6000);
    expectRefused(FG_IMG_SELECT, 0xFFFFFFFFU, -6000);
    expectRefused(FG_IMG_SELECT_PERIOD, 255U, -6000); // not above the selected image
    EXPECT_EQ(board_.set(FG_IMG_SELECT, 3U), 0);
    expectRefused(FG_IMG_SELECT_PERIOD, 3U, -6000);
    EXPECT_THAT(writesOfSet(FG_IMG_SELECT_PERIOD, 4U), ElementsAre(std::string(divisor) + "=4"));
    expectRefused(FG_IMG_SELECT, 4U, -6000);
    EXPECT_EQ(board_.set(FG_IMG_SELECT, 0U), 0);
    EXPECT_EQ(board_.set(FG_IMG_SELECT_PERIOD, 1U), 0);
}

TEST_F(ImageOutput, AFailingWriteRollsTheValueBack) {
    expectRollBackAtEachWrite(FG_FORMAT, std::int32_t{FG_GRAY16});
    expectRollBackAtEachWrite(FG_BITALIGNMENT, std::int32_t{FG_RIGHT_ALIGNED});
    expectRollBackAtEachWrite(FG_NOISEFILTER, std::int32_t{FG_ON});
    expectRollBackAtEachWrite(FG_IMG_SELECT_PERIOD, 10U);
    expectRollBackAtEachWrite(FG_IMG_SELECT, 9U);
}

} // namespace
} // namespace qelm::test
