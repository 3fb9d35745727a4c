#include "camera.h"

#include "output.h"
#include "stimulus.h"

#include "qelm/host/camera.h"

#include <algorithm>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace qelm::tool {
namespace {

constexpr std::uint32_t dma = 0;
constexpr size_t places = 2; // the picture that is looked at, and the one that comes meanwhile

} // namespace

void connectCamera(const Session& session, const CameraChoice& choice) {
    const host::CameraMatch camera = host::matchCamera(session.board(), choice.options);
    if (!camera.mismatch.empty()) {
        printWarning(camera.mismatch + "; \"--camera match\" takes the settings");
    }
    host::connectCamera(session.board(), camera.options, choice.scene);
}

bool showCameraHelp(const CommonOptions& options, const host::VirtualBoardFunctions& control,
                    const CameraChoice& choice) {
    if (choice.options != "help") {
        return false;
    }
    const std::string help = std::string("  match           (first)                                     "
                                         "geometry, bits, width and height as the board is set to\n") +
                             control.cameraHelp();
    if (options.json) {
        Json lines = Json::array();
        std::istringstream stream(help);
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
        }
        print(Json{{"cameraOptions", lines}});
    } else {
        std::cout << help;
    }
    return true;
}

void startTriggers(Session& session, const CommonOptions& options, const std::vector<std::string>& settings) {
    const auto isAboutState = [](const std::string& text) {
        return text.starts_with("FG_TRIGGERSTATE") || text.starts_with("FG_TRIGGERMODE");
    };
    if (std::ranges::none_of(settings, isAboutState) && std::ranges::none_of(options.setUp.settings, isAboutState) &&
        session.board().get<std::uint32_t>(FG_TRIGGER_LEGACY_MODE) == FG_OFF) {
        session.board().change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
    }
}

PictureStream::PictureStream(const host::VirtualBoardFunctions& control, const Session& session, size_t bytesPerPicture,
                             std::int64_t pictures)
    : control_(control)
    , board_(session.board())
    , memory_(control.allocateFrames(board_.virtualBoard(), bytesPerPicture, places)) {
    if (memory_ == nullptr) {
        throw std::runtime_error("there is not enough memory for the pictures");
    }
    const std::int32_t code =
        board_.applet()->Fg_AcquireEx(board_, dma, pictures, VIRTUAL_BOARD_ACQUIRE_STANDARD, memory_);
    if (code != 0) {
        control_.freeFrames(memory_);
        throw host::AppletError(code, "starting the acquisition was refused");
    }
}

PictureStream::~PictureStream() {
    board_.applet()->Fg_stopAcquireEx(board_, dma, memory_, 0);
    control_.freeFrames(memory_);
}

std::int64_t PictureStream::last() const {
    return board_.applet()->Fg_getLastPicNumberEx(board_, dma, memory_);
}

bool PictureStream::wait(std::int64_t picture, std::int32_t seconds) const {
    return board_.applet()->Fg_getLastPicNumberBlockingEx(board_, picture, dma, seconds, memory_) >= picture;
}

const void* PictureStream::picture(std::int64_t number) const {
    const void* bytes = nullptr;
    size_t size = 0;
    require(control_.picture(memory_, number, &bytes, &size), "the picture is gone already");
    return bytes;
}

} // namespace qelm::tool
