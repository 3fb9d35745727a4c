#include "stimulus.h"

#include "interruption.h"

#include <algorithm>
#include <stdexcept>

namespace qelm::tool {

const host::VirtualBoardFunctions& requireVirtualBoard(const host::Applet& applet, const char* what) {
    if (applet.virtualBoard() == nullptr) {
        throw std::runtime_error(std::string("only a virtual board ") + what + ", and " + applet.file().string() +
                                 " runs on the libraries of another board");
    }
    return *applet.virtualBoard();
}

void require(std::int32_t code, const char* attempt) {
    if (code != 0) {
        throw host::AppletError(code, attempt);
    }
}

void Stimulus::pass(std::uint64_t nanoseconds) {
    constexpr std::uint64_t piece = 1000000000; // what the board takes at a time
    while (nanoseconds != 0) {
        checkForInterruption();
        const std::uint64_t next = std::min(nanoseconds, piece);
        require(control_.advance(board_, next), "letting virtual time pass failed");
        nanoseconds -= next;
    }
}

void Stimulus::pulse(const PulseOptions& options) {
    require(control_.setInput(board_, options.pin, 1), "driving the pin failed");
    pass(options.width * 1000);
    require(control_.setInput(board_, options.pin, 0), "driving the pin failed");
    pass((options.period - options.width) * 1000);
}

void Stimulus::drive(const PulseOptions& options) {
    for (std::uint32_t i = 0; i < options.pulses; ++i) {
        pulse(options);
    }
    pass(options.wait * 1000);
}

} // namespace qelm::tool
