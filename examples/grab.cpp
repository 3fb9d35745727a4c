// Acquisition with the host library: settings by name, pictures as objects, refusals as exceptions.
//
//     example_grab_cpp [FILE.pgm]        writes the last picture there
//
// On a real board an Acquisition takes the memory of its runtime (PictureMemory); the rest stays as it is.

#include "qelm/host/acquisition.h"
#include "qelm/host/values.h"

#include <algorithm>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace {

using namespace qelm;

/** What only a virtual board needs: somebody who looks at something. */
void connectCamera(const host::Board& board) {
    const host::VirtualBoardFunctions* control = board.applet().virtualBoard();
    if (control == nullptr) {
        return;
    }
    char problem[256] = "";
    if (control->connectCamera(board.virtualBoard(), "sensor=typical,bits=12", "chart", problem, sizeof problem) != 0) {
        throw std::runtime_error(problem);
    }
}

/** A portable grey map: samples of two bytes have the high one first. */
void writePicture(const host::Frame& frame, const char* file) {
    const host::FrameFormat& format = frame.format();
    std::ofstream stream(file, std::ios::binary);
    stream << "P5 " << format.width << ' ' << format.height << ' ' << format.fullScale << '\n';
    for (std::int32_t y = 0; y < format.height; ++y) {
        for (std::int32_t x = 0; x < format.width; ++x) {
            const unsigned pixel = frame.pixel(x, y);
            stream.put(static_cast<char>(pixel >> 8)).put(static_cast<char>(pixel & 0xFF));
        }
    }
    if (!stream.flush()) {
        throw std::runtime_error(std::string(file) + " cannot be written");
    }
}

void grab(const char* file) {
    const host::Applet applet;
    host::Board board(applet);
    const std::vector<host::Parameter> parameters = host::registeredParameters(board);
    for (const char* setting :
         {"FG_CAMERA_LINK_CAMTYPE=FG_CL_MEDIUM_12_BIT", "FG_WIDTH=640", "FG_HEIGHT=480", "FG_XOFFSET=192",
          "FG_YOFFSET=272", "FG_FORMAT=FG_GRAY16", "FG_BITALIGNMENT=FG_RIGHT_ALIGNED"}) {
        host::writeValue(board, host::parseAssignment(parameters, setting));
    }
    connectCamera(board);
    board.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});

    host::Acquisition acquisition(board, {.pictures = 5});
    std::optional<host::Frame> last; // keeps its pixels as long as it is here, whatever comes meanwhile
    while (!acquisition.isFinished()) {
        const std::optional<host::Frame> frame = acquisition.next(10.0);
        if (!frame) {
            throw std::runtime_error("no picture came within ten seconds");
        }
        std::uint64_t sum = 0;
        for (std::int32_t y = 0; y < frame->format().height; ++y) {
            for (std::int32_t x = 0; x < frame->format().width; ++x) {
                sum += frame->pixel(x, y);
            }
        }
        std::cout << "picture " << frame->number() << ": mean "
                  << static_cast<double>(sum) / static_cast<double>(frame->format().pixels()) << " of "
                  << frame->format().fullScale << ", triggered at "
                  << static_cast<double>(frame->information().triggerTime.value_or(0)) * 1e-6 << " ms, "
                  << frame->information().lost << " lost\n";
        last = frame;
    }
    if (file != nullptr) {
        writePicture(*last, file);
    }
}

} // namespace

int main(int argc, char** argv) {
    try {
        grab(argc > 1 ? argv[1] : nullptr);
        return 0;
    } catch (const std::exception& error) { // whose text says what was refused, why, and what is allowed
        std::cerr << error.what() << '\n';
        return 1;
    }
}
