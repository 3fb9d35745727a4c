#include "triggers.h"

#include "interruption.h"
#include "output.h"

#include <sstream>
#include <stdexcept>

namespace qelm::tool {

Triggers::Triggers(const host::VirtualBoardFunctions& control, Session& session, const PulseOptions& pulses,
                   double timeout)
    : stimulus_(control, session.board())
    , session_(session)
    , pulses_(pulses)
    , timeout_(timeout)
    , mode_(session.board().get<std::uint32_t>(FG_AREATRIGGERMODE)) {}

host::Frame Triggers::await(host::Acquisition& acquisition) {
    checkForInterruption();
    if (std::optional<host::Frame> frame = next(acquisition)) {
        return *std::move(frame);
    }
    const host::Reference state = host::parseReference(session_.parameters(), "FG_TRIGGERSTATE");
    std::ostringstream text;
    text << "picture " << acquisition.last() + 1 << " did not come within " << timeout_
         << " s of virtual time: FG_TRIGGERSTATE is " << valueText(*state.parameter, session_.read(state))
         << "; the camera waits for a pulse on the camera-control line that its options name";
    throw std::runtime_error(text.str());
}

std::optional<host::Frame> Triggers::next(host::Acquisition& acquisition) {
    if (mode_ == ATM_GENERATOR) {
        return acquisition.next(timeout_);
    }
    std::optional<host::Frame> frame = acquisition.next(0);
    const double period = static_cast<double>(pulses_.period) * 1e-6;
    for (double waited = 0; !frame && waited < timeout_; waited += period) {
        if (mode_ == ATM_EXTERNAL) {
            stimulus_.pulse(pulses_);
        } else {
            session_.board().set(FG_SENDSOFTWARETRIGGER,
                                 std::uint32_t{1}); // refused while busy: then the next one does
            stimulus_.pass(pulses_.period * 1000);
        }
        frame = acquisition.next(0);
    }
    return frame;
}

} // namespace qelm::tool
