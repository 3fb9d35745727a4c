#include "camera.h"

#include "stimulus.h"

#include <algorithm>
#include <stdexcept>

namespace qelm::tool {
namespace {

constexpr uint32_t dma = 0;
constexpr size_t places = 2; // the picture that is looked at, and the one that comes meanwhile

} // namespace

void connectCamera(const host::VirtualBoardFunctions& control, const Session& session, const CameraChoice& choice) {
    char problem[512] = "";
    const int32_t code = control.connectCamera(session.board().virtualBoard(), choice.options.c_str(),
                                               choice.scene.c_str(), problem, sizeof problem);
    if (code != 0) {
        throw std::runtime_error(problem[0] != '\0' ? problem : "the camera could not be connected");
    }
}

void startTriggers(Session& session, const std::vector<std::string>& settings) {
    const auto isAboutState = [](const std::string& text) {
        return text.starts_with("FG_TRIGGERSTATE") || text.starts_with("FG_TRIGGERMODE");
    };
    if (std::ranges::none_of(settings, isAboutState) &&
        session.board().get<uint32_t>(FG_TRIGGER_LEGACY_MODE) == FG_OFF) {
        session.board().change(FG_TRIGGERSTATE, uint32_t{TS_ACTIVE});
    }
}

PictureStream::PictureStream(const host::VirtualBoardFunctions& control, const Session& session, size_t bytesPerPicture,
                             int64_t pictures)
    : control_(control)
    , board_(session.board())
    , memory_(control.allocateFrames(board_.virtualBoard(), bytesPerPicture, places)) {
    if (memory_ == nullptr) {
        throw std::runtime_error("there is not enough memory for the pictures");
    }
    const int32_t code = board_.applet()->Fg_AcquireEx(board_, dma, pictures, VIRTUAL_BOARD_ACQUIRE_STANDARD, memory_);
    if (code != 0) {
        control_.freeFrames(memory_);
        throw host::AppletError(code, "starting the acquisition was refused");
    }
}

PictureStream::~PictureStream() {
    board_.applet()->Fg_stopAcquireEx(board_, dma, memory_, 0);
    control_.freeFrames(memory_);
}

int64_t PictureStream::last() const {
    return board_.applet()->Fg_getLastPicNumberEx(board_, dma, memory_);
}

bool PictureStream::wait(int64_t picture, int32_t seconds) const {
    return board_.applet()->Fg_getLastPicNumberBlockingEx(board_, picture, dma, seconds, memory_) >= picture;
}

const void* PictureStream::picture(int64_t number) const {
    const void* bytes = nullptr;
    size_t size = 0;
    require(control_.picture(memory_, number, &bytes, &size), "the picture is gone already");
    return bytes;
}

} // namespace qelm::tool
