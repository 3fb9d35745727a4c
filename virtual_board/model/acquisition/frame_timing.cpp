#include "model/acquisition/frame_timing.h"

namespace qelm::virtual_board {

void FrameTiming::start(const CameraTiming& timing, std::uint64_t now) {
    timing_ = timing;
    stop();
    if (timing_.freeRun) {
        expose(now);
    }
}

void FrameTiming::stop() {
    phase_ = Phase::idle;
    changes_ = never;
}

void FrameTiming::follow(bool active, std::uint64_t now) {
    const bool begins = active && !active_;
    const bool ends = !active && active_;
    active_ = active;
    if (timing_.freeRun) {
        return;
    }
    if (begins && phase_ == Phase::idle) {
        expose(now);
    } else if (ends && phase_ == Phase::exposing && !timing_.exposure) {
        changes_ = now;
    }
}

void FrameTiming::expose(std::uint64_t now) {
    phase_ = Phase::exposing;
    exposureStarted_ = now;
    changes_ = timing_.exposure ? now + *timing_.exposure : never;
}

FrameTiming::Step FrameTiming::run(std::uint64_t now) {
    if (changes_ > now) {
        return Step::none;
    }
    if (phase_ == Phase::exposing) {
        phase_ = Phase::sending;
        exposedFrom_ = exposureStarted_;
        exposed_ = now - exposureStarted_;
        changes_ = now + timing_.readout;
        return Step::frameStarts;
    }
    stop();
    if (timing_.freeRun) {
        expose(now);
    }
    return Step::frameEnds;
}

} // namespace qelm::virtual_board
