#pragma once

#include "verbs.h"

#include "qelm/host/board.h"

#include <cstdint>

/** What happens to a virtual board from outside, and the virtual time that passes with it. */
namespace qelm::tool {

/** The controls of the applet's virtual board. @throws std::runtime_error on another board: only it can do `what` */
const host::VirtualBoardFunctions& requireVirtualBoard(const host::Applet& applet, const char* what);

/** Calls a control of the virtual board with arguments that hold. @throws AppletError with `attempt` */
void require(std::int32_t code, const char* attempt);

class Stimulus {
  public:
    Stimulus(const host::VirtualBoardFunctions& control, const host::Board& board)
        : control_(control)
        , board_(board.virtualBoard()) {}

    /** Lets virtual time pass. */
    void pass(std::uint64_t nanoseconds);
    /** One period of a trigger input: the pulse, then the rest. */
    void pulse(const PulseOptions& options);
    /** All pulses and the wait after them. */
    void drive(const PulseOptions& options);

  private:
    const host::VirtualBoardFunctions& control_;
    VirtualBoard* board_;
};

} // namespace qelm::tool
