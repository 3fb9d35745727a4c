// Pictures from the virtual board's camera, through the design as the applet has set it up.

#include "fixture.h"
#include "support/temporary_folder.h"

#include <cstring>
#include <numeric>

namespace qelm::test {
namespace {

constexpr std::uint32_t side = 64;
constexpr std::int64_t endless = -1;
constexpr std::int32_t timedOut = -2110;

/** 12-bit pixels that tell their place. */
std::vector<std::uint16_t> numberedPixels(std::uint32_t width, std::uint32_t height) {
    std::vector<std::uint16_t> pixels(size_t{width} * height);
    for (size_t i = 0; i < pixels.size(); ++i) {
        pixels[i] = static_cast<std::uint16_t>(i * 2654435761U >> 20 & 0xFFF);
    }
    return pixels;
}

class Pictures : public BoardTest {
  protected:
    Pictures() {
        for (const std::int32_t id : {FG_WIDTH, FG_HEIGHT, FG_CAMERA_WIDTH, FG_CAMERA_HEIGHT}) {
            board_.change(id, side);
        }
        board_.change(FG_CAMERA_LINK_CAMTYPE, std::int32_t{FG_CL_MEDIUM_12_BIT});
        board_.change(FG_FORMAT, std::uint32_t{FG_GRAY16});
        board_.change(FG_BITALIGNMENT, std::uint32_t{FG_RIGHT_ALIGNED});
    }
    ~Pictures() override {
        if (memory_ != nullptr) {
            EXPECT_EQ(control().freeFrames(memory_), 0);
        }
    }

    /** A camera of side x side pixels that looks at these. */
    void connect(const std::string& options, const std::vector<std::uint16_t>& pixels = numberedPixels(side, side)) {
        std::vector<std::uint16_t> scene = pixels;
        for (std::uint16_t& pixel : scene) {
            pixel = static_cast<std::uint16_t>(pixel << 4); // 16-bit files hold the 12 bits at the top
        }
        const std::string file = folder_.file("scene.tif");
        ASSERT_EQ(control().writePicture(file.c_str(), scene.data(), side, side, 16), 0);
        char problem[256] = "";
        const std::string all = "width=64,height=64,bits=12," + options;
        ASSERT_EQ(control().connectCamera(board_.virtualBoard(), all.c_str(), file.c_str(), problem, sizeof problem), 0)
            << problem;
    }
    void acquire(std::int64_t pictures = endless, size_t places = 4) {
        if (memory_ == nullptr) {
            memory_ = control().allocateFrames(board_.virtualBoard(), size_t{side} * side * 2, places);
        }
        ASSERT_EQ(applet_->Fg_AcquireEx(board_, 0, pictures, VIRTUAL_BOARD_ACQUIRE_STANDARD, memory_), 0);
    }
    void stop() { ASSERT_EQ(applet_->Fg_stopAcquireEx(board_, 0, memory_, 0), 0); }
    std::int64_t wait(std::int64_t picture, std::int32_t seconds = 2) {
        return applet_->Fg_getLastPicNumberBlockingEx(board_, picture, 0, seconds, memory_);
    }
    std::int64_t last() { return applet_->Fg_getLastPicNumberEx(board_, 0, memory_); }
    void advance(std::uint64_t microseconds) {
        ASSERT_EQ(control().advance(board_.virtualBoard(), microseconds * 1000), 0);
    }

    template <class Pixel = std::uint16_t>
    std::vector<Pixel> picture(std::int64_t number) {
        const void* bytes = nullptr;
        size_t size = 0;
        EXPECT_EQ(control().picture(memory_, number, &bytes, &size), 0);
        std::vector<Pixel> pixels(size / sizeof(Pixel));
        if (!pixels.empty()) {
            std::memcpy(pixels.data(), bytes, size);
        }
        return pixels;
    }
    /** The one picture that the camera sends when the generator triggers it. */
    template <class Pixel = std::uint16_t>
    std::vector<Pixel> grab() {
        board_.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
        acquire(1);
        EXPECT_EQ(wait(1), 1);
        return picture<Pixel>(1);
    }
    std::vector<std::string> events() {
        size_t count = 0;
        EXPECT_EQ(control().eventCount(board_.virtualBoard(), &count), 0);
        std::vector<std::string> names;
        for (size_t i = 0; i < count; ++i) {
            VirtualBoardEvent event{};
            EXPECT_EQ(control().eventAt(board_.virtualBoard(), i, &event), 0);
            const char* name = applet_->Fg_getEventName(board_, event.mask);
            names.emplace_back(name == nullptr ? event.name : name);
        }
        return names;
    }

    TemporaryFolder folder_;
    void* memory_ = nullptr;
};

TEST_F(Pictures, EqualTheSceneWhenCameraAndAppletAgreeAndElseDoNot) {
    const struct {
        const char* camera;
        std::uint32_t code;
    } geometries[] = {{"2XE_2YE", Geometry_2XE_2YE}, {"2X_2YE", Geometry_2X_2YE}, {"2XM_2YE", Geometry_2XM_2YE}};
    const std::vector<std::uint16_t> scene = numberedPixels(side, side);
    for (const auto& camera : geometries) {
        connect(std::string("geometry=") + camera.camera);
        for (const auto& applet : geometries) {
            SCOPED_TRACE(std::string(camera.camera) + " by " + std::to_string(applet.code));
            board_.change(FG_DEVICETAPGEOMETRY, applet.code);
            EXPECT_EQ(grab() == scene, camera.code == applet.code);
        }
    }
    board_.change(FG_DEVICETAPGEOMETRY, std::uint32_t{Geometry_2XM_2YE});
    EXPECT_EQ(grab(), scene);
    board_.change(FG_CAMERA_LINK_CAMTYPE, std::int32_t{FG_CL_MEDIUM_10_BIT});
    EXPECT_NE(grab(), scene) << "12-bit pixels taken for 10-bit ones";
    board_.change(FG_CAMERA_LINK_CAMTYPE, std::int32_t{FG_CL_MEDIUM_12_BIT});
    board_.change(FG_CAMERA_WIDTH, std::uint32_t{128});
    EXPECT_NE(grab(), scene) << "a wider camera was promised";
}

TEST_F(Pictures, FollowRegionFormatAndLookupTable) {
    const std::vector<std::uint16_t> scene = numberedPixels(side, side);
    connect("geometry=2XE_2YE");
    board_.change(FG_DEVICETAPGEOMETRY, std::uint32_t{Geometry_2XE_2YE});
    board_.change(FG_WIDTH, std::uint32_t{32});
    board_.change(FG_HEIGHT, std::uint32_t{10});
    board_.change(FG_XOFFSET, std::uint32_t{16});
    board_.change(FG_YOFFSET, std::uint32_t{7});
    std::vector<std::uint16_t> region;
    for (std::uint32_t y = 0; y < 10; ++y) {
        const auto row = scene.begin() + std::ptrdiff_t{y + 7} * side + 16;
        region.insert(region.end(), row, row + 32);
    }
    EXPECT_EQ(grab(), region);

    board_.change(FG_BITALIGNMENT, std::uint32_t{FG_LEFT_ALIGNED});
    std::vector<std::uint16_t> shifted = region;
    std::ranges::transform(region, shifted.begin(),
                           [](std::uint16_t pixel) { return static_cast<std::uint16_t>(pixel << 4); });
    EXPECT_EQ(grab(), shifted);

    board_.change(FG_FORMAT, std::uint32_t{FG_GRAY});
    board_.change(FG_PROCESSING_INVERT, std::int32_t{FG_ON});
    std::vector<std::uint8_t> inverted(region.size());
    std::ranges::transform(region, inverted.begin(),
                           [](std::uint16_t pixel) { return static_cast<std::uint8_t>((4095 - pixel) >> 4); });
    EXPECT_EQ(grab<std::uint8_t>(), inverted);
}

TEST_F(Pictures, AreCorrectedWithCoefficientsOfTheirOwnRegion) {
    connect("", std::vector<std::uint16_t>(size_t{side} * side, 1000));
    ShadingAccess* access = applet_->Fg_AllocShading(board_, 0, 0);
    ASSERT_NE(access, nullptr);
    ASSERT_EQ(applet_->Shad_GetAccess(board_, access), 0);
    for (std::int32_t y = 0; y < std::int32_t{side}; ++y) {
        for (std::int32_t x = 0; x < std::int32_t{side}; ++x) {
            applet_->Shad_SetSubValueLine(board_, access, x, 0, static_cast<float>(y));
            applet_->Shad_SetMultValueLine(board_, access, x, 0, x >= 32 ? 2.0F : 1.0F);
            applet_->Shad_SetFixedPatternNoiseLine(board_, access, x, 0, x == 20 && y == 5);
        }
        ASSERT_EQ(applet_->Shad_WriteActLine(board_, access, y), 0);
    }
    ASSERT_EQ(applet_->Shad_FreeAccess(board_, access), 0);
    ASSERT_EQ(applet_->Fg_FreeShading(board_, access), 0);
    board_.change(FG_SHADING_OFFSET_ENABLE, std::uint32_t{FG_ON});
    board_.change(FG_SHADING_GAIN_ENABLE, std::uint32_t{FG_ON});
    const auto expected = [](std::uint32_t x, std::uint32_t y) {
        return static_cast<std::uint16_t>((1000 - y) * (x >= 32 ? 2 : 1));
    };
    const auto compare = [&](std::uint32_t left, std::uint32_t top, std::uint32_t width, std::uint32_t height) {
        const std::vector<std::uint16_t> pixels = grab();
        ASSERT_EQ(pixels.size(), size_t{width} * height);
        for (std::uint32_t y = 0; y < height; ++y) {
            for (std::uint32_t x = 0; x < width; ++x) {
                if (left + x != 20 || top + y != 5) {
                    ASSERT_EQ(pixels[size_t{y} * width + x], expected(left + x, top + y)) << x << ", " << y;
                }
            }
        }
    };
    compare(0, 0, side, side);
    EXPECT_EQ(picture(1)[5 * side + 20], 1000) << "its offset only marks it";
    board_.change(FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE, std::uint32_t{FG_ON});
    EXPECT_EQ(grab()[5 * side + 20], 995) << "the median of its neighbours";
    board_.change(FG_WIDTH, std::uint32_t{32});
    board_.change(FG_XOFFSET, std::uint32_t{16});
    board_.change(FG_HEIGHT, std::uint32_t{40});
    board_.change(FG_YOFFSET, std::uint32_t{20});
    compare(16, 20, 32, 40);
}

TEST_F(Pictures, ComeAsTheTriggerUnitTellsTheCamera) {
    connect("");
    acquire();
    EXPECT_EQ(wait(1), timedOut) << "stopped";
    EXPECT_EQ(lastError(board_), timedOut);
    EXPECT_EQ(last(), 0);

    board_.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE}); // 8 in a second
    advance(1001000);
    EXPECT_EQ(last(), 8);
    board_.change(FG_AREATRIGGERMODE, std::uint32_t{ATM_SOFTWARE});
    advance(200000);
    const std::int64_t before = last();
    board_.change(FG_SENDSOFTWARETRIGGER, std::uint32_t{1});
    advance(200000);
    EXPECT_EQ(last(), before + 1);
    board_.change(FG_TRIGGERQUEUE_MODE, std::uint32_t{FG_ON});
    board_.change(FG_TRIGGER_MULTIPLY_PULSES, std::uint32_t{3});
    board_.change(FG_SENDSOFTWARETRIGGER, std::uint32_t{2});
    advance(900000);
    EXPECT_EQ(last(), before + 7);

    board_.change(FG_TRIGGER_MULTIPLY_PULSES, std::uint32_t{1});
    board_.change(FG_TRIGGERIN_DOWNSCALE, std::uint32_t{2});
    board_.change(FG_AREATRIGGERMODE, std::uint32_t{ATM_EXTERNAL});
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(control().setInput(board_.virtualBoard(), 0, 1), 0);
        advance(1000);
        ASSERT_EQ(control().setInput(board_.virtualBoard(), 0, 0), 0);
        advance(199000);
    }
    EXPECT_EQ(last(), before + 9) << "every second pulse";
    stop();
    board_.change(FG_IMG_SELECT_PERIOD, std::uint32_t{3});
    board_.change(FG_IMG_SELECT, std::uint32_t{1});
    board_.change(FG_AREATRIGGERMODE, std::uint32_t{ATM_GENERATOR});
    acquire();
    advance(1001000);
    EXPECT_EQ(last(), 3) << "frames 1, 4 and 7 of 8";
}

TEST_F(Pictures, ThatDoNotComeInTimeAreMissing) {
    connect("exposure=2500"); // longer than two periods
    board_.change(FG_TRIGGER_PULSEFORMGEN0_WIDTH, 100.0);
    board_.change(FG_TRIGGER_FRAMESPERSECOND, 1000.0);
    ASSERT_EQ(control().recordEvents(board_.virtualBoard(), 1), 0);
    acquire();
    board_.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
    advance(500);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_MISSING_CAMERA_FRAME_RESPONSE), 0U);
    board_.change(FG_GEN_ROLL, std::uint32_t{1}); // a register's write pays no frame
    advance(600);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_MISSING_CAMERA_FRAME_RESPONSE), 1U);
    advance(2500);
    EXPECT_EQ(last(), 1);
    EXPECT_THAT(events(),
                ElementsAre("FG_TRIGGER_OUTPUT_CAM0", "FG_MISSING_CAM0_FRAME_RESPONSE", "FG_TRIGGER_OUTPUT_CAM0",
                            "FG_MISSING_CAM0_FRAME_RESPONSE", "FG_TRIGGER_OUTPUT_CAM0", "FG_START_OF_FRAME_CAM_PORT_0",
                            "FG_END_OF_FRAME_CAM_PORT_0", "Device1_Process0_OutputFormat_DmaStream_TransferDone",
                            "FG_TRIGGER_OUTPUT_CAM0"));
    board_.change(FG_TRIGGERSTATE, std::uint32_t{TS_SYNC_STOP});
    board_.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE}); // resets
    EXPECT_EQ(board_.get<std::uint32_t>(FG_MISSING_CAMERA_FRAME_RESPONSE), 0U);
}

TEST_F(Pictures, AreLostWhenTheHostIsTooSlow) {
    connect("");
    board_.change(FG_TRIGGER_PULSEFORMGEN0_WIDTH, 100.0);
    board_.change(FG_TRIGGER_FRAMESPERSECOND, 1000.0);
    board_.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
    ASSERT_EQ(control().recordEvents(board_.virtualBoard(), 1), 0);
    ASSERT_EQ(control().setTransferRate(board_.virtualBoard(), 1000), 0); // one picture in 8 seconds
    EXPECT_EQ(control().setTransferRate(board_.virtualBoard(), 0), -6000);
    acquire();
    advance(1000000);
    EXPECT_GT(board_.get<std::uint32_t>(FG_FILLLEVEL), 0U);
    EXPECT_LT(board_.get<std::uint32_t>(FG_FILLLEVEL), 100U);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_OVERFLOW), 0U);
    for (int i = 0; i < 80; ++i) {
        advance(1000000);
    }
    EXPECT_EQ(board_.get<std::uint32_t>(FG_FILLLEVEL), 100U);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_OVERFLOW), 1U);
    EXPECT_GT(applet_->Fg_getStatusEx(board_, VIRTUAL_BOARD_STATUS_PICTURES_LOST, 0, 0, memory_), 0);
    EXPECT_THAT(events(), testing::Contains("FG_OVERFLOW_CAM0"));
    stop();
    acquire();
    EXPECT_EQ(board_.get<std::uint32_t>(FG_OVERFLOW), 0U);
    EXPECT_EQ(board_.get<std::uint32_t>(FG_FILLLEVEL), 0U);
}

TEST_F(Pictures, TakeMemoryOfTheirOwnBoardInTurn) {
    connect("mode=free");
    acquire(6, 4);
    EXPECT_EQ(applet_->Fg_AcquireEx(board_, 0, 1, VIRTUAL_BOARD_ACQUIRE_STANDARD, memory_), -2115) << "runs already";
    EXPECT_EQ(wait(6), 6);
    EXPECT_EQ(applet_->Fg_getStatusEx(board_, VIRTUAL_BOARD_STATUS_ACQUIRING, 0, 0, memory_), 0) << "was the last one";
    EXPECT_EQ(wait(7), timedOut);
    const void* bytes = nullptr;
    size_t size = 0;
    EXPECT_EQ(control().picture(memory_, 2, &bytes, &size), -2070) << "its place is picture 6's";
    EXPECT_EQ(control().picture(memory_, 7, &bytes, &size), -2070);
    EXPECT_EQ(picture(3), picture(6));

    Board other(applet_);
    EXPECT_EQ(applet_->Fg_AcquireEx(other, 0, 1, VIRTUAL_BOARD_ACQUIRE_STANDARD, memory_), -2070);
    EXPECT_EQ(applet_->Fg_AcquireEx(board_, 0, 1, VIRTUAL_BOARD_ACQUIRE_STANDARD, nullptr), -2070);
    EXPECT_EQ(applet_->Fg_AcquireEx(board_, 1, 1, VIRTUAL_BOARD_ACQUIRE_STANDARD, memory_), -2070);
    EXPECT_EQ(applet_->Fg_AcquireEx(board_, 0, 0, VIRTUAL_BOARD_ACQUIRE_STANDARD, memory_), -6000);
    EXPECT_EQ(applet_->Fg_getLastPicNumberBlockingEx(board_, 1, 0, -1, memory_), -6000);
    acquire();
    ASSERT_EQ(control().freeFrames(memory_), 0);
    EXPECT_EQ(applet_->Fg_getStatusEx(board_, VIRTUAL_BOARD_STATUS_ACQUIRING, 0, 0, nullptr), 0);
    EXPECT_EQ(last(), -2070);
    memory_ = nullptr;
    EXPECT_EQ(control().resources().frameMemories, 0);
}

TEST_F(Pictures, ComeFromTheSimulatorWithoutACamera) {
    for (const std::int32_t id : {FG_GEN_WIDTH, FG_GEN_HEIGHT}) {
        board_.change(id, side);
    }
    board_.change(FG_GEN_ENABLE, std::uint32_t{FG_GENERATOR});
    board_.change(FG_GEN_START, std::uint32_t{FG_ON});
    board_.change(FG_GEN_ROLL, std::uint32_t{1});
    acquire();
    ASSERT_EQ(wait(2), 2);
    const std::vector<std::uint16_t> first = picture(1);
    EXPECT_NE(picture(2), first) << "it rolls";
    EXPECT_GT(*std::ranges::max_element(first), 0);
    board_.change(FG_GEN_START, std::uint32_t{FG_OFF});
    EXPECT_EQ(wait(last() + 2), timedOut);
}

TEST_F(Pictures, AreTheSameInEveryRun) {
    const auto run = [this] {
        Board board(applet_);
        VirtualBoard* virtualBoard = board.virtualBoard();
        EXPECT_EQ(
            control().connectCamera(virtualBoard, "width=64,height=64,sensor=typical,mode=free", nullptr, nullptr, 0),
            0);
        void* memory = control().allocateFrames(virtualBoard, size_t{1024} * 1024, 3);
        EXPECT_EQ(applet_->Fg_AcquireEx(board, 0, 3, VIRTUAL_BOARD_ACQUIRE_STANDARD, memory), 0);
        EXPECT_EQ(applet_->Fg_getLastPicNumberBlockingEx(board, 3, 0, 5, memory), 3);
        std::vector<std::string> pictures;
        for (std::int64_t number = 1; number <= 3; ++number) {
            const void* bytes = nullptr;
            size_t size = 0;
            EXPECT_EQ(control().picture(memory, number, &bytes, &size), 0);
            pictures.emplace_back(static_cast<const char*>(bytes), size);
        }
        EXPECT_EQ(control().freeFrames(memory), 0);
        return pictures;
    };
    const std::vector<std::string> pictures = run();
    EXPECT_EQ(run(), pictures);
    EXPECT_NE(pictures[0], pictures[1]) << "read noise differs from frame to frame";
}

} // namespace
} // namespace qelm::test
