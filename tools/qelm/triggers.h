#pragma once

#include "session.h"
#include "stimulus.h"
#include "verbs.h"

#include "qelm/host/acquisition.h"

namespace qelm::tool {

/** Gives the triggers that no generator gives, until a picture has come. */
class Triggers {
  public:
    /** @param pulses of an external trigger, one for each picture @param timeout virtual seconds for a picture */
    Triggers(const host::VirtualBoardFunctions& control, Session& session, const PulseOptions& pulses, double timeout);

    /** @throws std::runtime_error when none comes in time: why that may be */
    host::Frame await(host::Acquisition& acquisition);

  private:
    std::optional<host::Frame> next(host::Acquisition& acquisition);

    Stimulus stimulus_;
    Session& session_;
    PulseOptions pulses_;
    double timeout_;
    std::uint32_t mode_;
};

} // namespace qelm::tool
