// Calibrations judged by pictures that the tool grabs afterwards.

#include "fixture.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace qelm::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Json = nlohmann::json;

Words with(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

// A small camera, so that a board's 134 MB of coefficients take most of the time.
const Words smallCamera{"--set", "FG_CAMERA_WIDTH=192",
                        "--set", "FG_CAMERA_HEIGHT=128",
                        "--set", "FG_WIDTH=192",
                        "--set", "FG_HEIGHT=128",
                        "--set", "FG_CAMERA_LINK_CAMTYPE=FG_CL_MEDIUM_12_BIT"};
const std::string badSensor = "match,sensor=typical,vignetting=30,dead=20,hot=10";

TEST_F(QelmTest, ACalibrationLeavesWhatTheNoiseExplains) {
    const Result result = run(with({"calibrate", "-o", "cal.kcf", "--frames", "8", "--camera", badSensor, "--before",
                                    "before.png", "--after", "after.png", "--json", "FG_PROCESSING_INVERT=FG_ON",
                                    "FG_NOISEFILTER=FG_ON", "FG_HEIGHT=64", "FG_YOFFSET=8"},
                                   smallCamera));
    ASSERT_EQ(result.status, 0) << result.errors;
    const Json report = Json::parse(result.output);
    EXPECT_EQ(report["defective"], 30);
    EXPECT_EQ(report["offsets"]["defective"], 30);
    EXPECT_EQ(report["gains"]["width"], 192);
    EXPECT_EQ(report["before"]["deadOrHotPixels"], 30);
    EXPECT_EQ(report["after"]["deadOrHotPixels"], 0);
    EXPECT_GT(report["before"]["nonUniformityPercent"], 5.0);
    EXPECT_LT(report["after"]["nonUniformityPercent"], 1.0);
    EXPECT_EQ(report["explainedByNoise"], true);
    EXPECT_GT(report["noise"], 1.0);
    for (const char* file : {"before.png", "after.png", "cal-black.tif", "cal-gray.tif"}) {
        EXPECT_GT(fs::file_size(file), 200u) << file;
    }

    // The settings are what they were, besides the correction.
    const Result held = run({"get", "--load", "cal.kcf", "FG_PROCESSING_INVERT", "FG_NOISEFILTER", "FG_HEIGHT",
                             "FG_YOFFSET", "FG_TRIGGERSTATE", "FG_FORMAT", "FG_SHADING_GAIN_ENABLE"});
    EXPECT_EQ(held.output, "FG_PROCESSING_INVERT    = FG_ON (1)\n"
                           "FG_NOISEFILTER          = FG_ON (1)\n"
                           "FG_HEIGHT               = 64 pixel\n"
                           "FG_YOFFSET              = 8 pixel\n"
                           "FG_TRIGGERSTATE         = TS_SYNC_STOP (2)\n"
                           "FG_FORMAT               = FG_GRAY (3)\n"
                           "FG_SHADING_GAIN_ENABLE  = FG_ON (1)\n");

    // Frames that neither the references nor the judgement were made of.
    const Words grab{"grab",
                     "--frames",
                     "1",
                     "--scene",
                     "gray",
                     "--camera",
                     badSensor + ",first_frame=77",
                     "--json",
                     "FG_PROCESSING_INVERT=FG_OFF",
                     "FG_NOISEFILTER=FG_OFF",
                     "FG_FORMAT=FG_GRAY16"};
    const Json raw = Json::parse(run(with(with(grab, {"-o", "raw.tif"}), smallCamera)).output)["pictures"][0];
    const Json corrected = Json::parse(run(with(grab, {"-o", "good.tif", "--load", "cal.kcf"})).output)["pictures"][0];
    EXPECT_GT(raw["nonUniformityPercent"], 5.0);
    EXPECT_LT(corrected["nonUniformityPercent"], 2.0);
    EXPECT_GT(corrected["minimum"].get<double>(), 0.8 * corrected["mean"].get<double>());
    EXPECT_LT(corrected["maximum"].get<double>(), 1.2 * corrected["mean"].get<double>());
}

TEST_F(QelmTest, ACalibrationFromFilesWantsThemWholeAndLeftAligned) {
    const auto grab = [&](const char* scene, const char* file, const Words& more) {
        const Words words = with({"grab", "--scene", scene, "--camera", "match,sensor=typical,dead=0,hot=0", "-o", file,
                                  "FG_FORMAT=FG_GRAY16"},
                                 with(smallCamera, more));
        const Result result = run(words);
        ASSERT_EQ(result.status, 0) << result.errors;
    };
    grab("black", "black.tif", {});
    grab("gray", "gray.tif", {});
    grab("gray", "right.tif", {"FG_BITALIGNMENT=FG_RIGHT_ALIGNED"});
    grab("gray", "region.tif", {"FG_HEIGHT=64"});
    const Words calibrate =
        with({"calibrate", "--camera", "match,sensor=typical,dead=0,hot=0", "--frames", "4"}, smallCamera);
    const Result good = run(with(calibrate, {"--black", "black.tif", "--gray", "gray.tif", "-o", "cal.kcf", "--json"}));
    ASSERT_EQ(good.status, 0) << good.errors;
    EXPECT_EQ(Json::parse(good.output)["defective"], 0);
    EXPECT_EQ(Json::parse(good.output)["threshold"], 0);

    const std::pair<Words, const char*> refused[] = {
        {{"--black", "black.tif", "--gray", "right.tif"}, "are its 12 bits right-aligned?"},
        {{"--black", "black.tif", "--gray", "region.tif"}, "has 192 x 64 pixels, and the camera 192 x 128"},
        {{"--black", "gray.tif", "--gray", "gray.tif"}, "black is not black"},
        {{"--black", "black.tif", "--gray", "none.tif"}, "\"none.tif\" is no grey TIFF file"},
    };
    for (const auto& [words, sentence] : refused) {
        const Result result = run(with(calibrate, with(words, {"-o", "no.kcf"})));
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.errors, HasSubstr(sentence));
    }
    const Result replaced =
        run(with(calibrate, {"--black", "cal-black.tif", "--gray", "cal-gray.tif", "-o", "cal.kcf"}));
    EXPECT_EQ(replaced.status, 1);
    EXPECT_THAT(replaced.errors, HasSubstr("\"cal-black.tif\" would be replaced"));
}

TEST_F(QelmTest, ACalibrationSaysWhatIsWrongWithItsPictures) {
    const std::pair<Words, const char*> refused[] = {
        {{"--gray-scene", "white", "--camera", "match,sensor=typical"}, "grey is over-exposed"},
        {{"--gray-scene", "black", "--camera", "match"}, "grey is hardly brighter than black"},
        {{"--black-scene", "gray"}, "black is not black"},
        {{"--camera", "match,dead=400"}, "400 of 24576 pixels look defective, more than 1 %"},
        {{"--camera", "width=512"}, "needs the camera that the board is set to"},
        {{"FG_WIDTH=17"}, "FG_WIDTH = 17 was refused"},
    };
    for (const auto& [words, sentence] : refused) {
        const Result result = run(with({"calibrate", "--frames", "2", "-o", "no.kcf"}, with(smallCamera, words)));
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.errors, HasSubstr(sentence));
        EXPECT_FALSE(fs::exists("no.kcf") || fs::exists("no-gray.tif"));
    }
    EXPECT_EQ(run({"calibrate"}).status, 2);
    EXPECT_EQ(run({"calibrate", "-o", "no.kcf", "--black", "black.tif"}).status, 2);
    EXPECT_THAT(run({"calibrate", "-o", "no.txt"}).errors, HasSubstr("has to end in .kcf"));

    // References of another lens make an even grey uneven, and the exit status says so.
    for (const char* scene : {"black", "gray"}) {
        ASSERT_EQ(run(with({"grab", "--scene", scene, "-o", std::string(scene) + ".tif", "FG_FORMAT=FG_GRAY16",
                            "--camera", "match,black=64,noise=2"},
                           smallCamera))
                      .status,
                  0);
    }
    const Words calibrate =
        with({"calibrate", "--frames", "4", "-o", "lens.kcf", "--black", "black.tif", "--gray", "gray.tif", "--camera"},
             {"match,black=64,noise=2,vignetting=30"});
    const Result uneven = run(with(calibrate, smallCamera));
    EXPECT_EQ(uneven.status, 1);
    EXPECT_THAT(uneven.errors, HasSubstr("the noise does not explain what is left"));
    EXPECT_TRUE(fs::exists("lens.kcf"));
}

} // namespace
} // namespace qelm::test
