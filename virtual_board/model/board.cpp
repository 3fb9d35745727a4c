#include "model/board.h"

#include "virtual_board.h"

#include <algorithm>
#include <array>
#include <utility>

namespace qelm::virtual_board {
namespace {

SimulatorControl simulatorOf(const DesignValues& values) {
    return {values.registerValue("AAGenEnable"),  values.registerValue("AAGenStart"),
            values.registerValue("AAGenWidth"),   values.registerValue("AAGenLineWidth"),
            values.registerValue("AAGenHeight"),  values.registerValue("AAGenActive"),
            values.registerValue("AAGenPassive"), values.registerValue("AAGenMask"),
            values.registerValue("AAGenRoll")};
}

} // namespace

Board::Running::Running(Board& board, const std::shared_ptr<const Design>& loaded)
    : design(loaded)
    , values(*design, {[&board, this](const DesignParameter& parameter) {
                           trigger.written(parameter);
                           acquisition.written(parameter);
                           board.logSignals();
                       },
                       [this] { acquisition.registerWritten(); }})
    , events(*design)
    , words(*design, values.words())
    , trigger(words, events)
    , simulator(simulatorOf(values))
    , acquisition(words, simulator, events, trigger, values.coefficients()) {}

Board::Board(const std::shared_ptr<const Design>& design) {
    powerOn(design);
}

void Board::load(const std::shared_ptr<const Design>& design) {
    if (running_->design != design) {
        powerOn(design);
    }
}

void Board::powerOn(const std::shared_ptr<const Design>& design) {
    running_ = std::make_unique<Running>(*this, design);
    running_->acquisition.connect(camera_);
}

void Board::recordSignals(bool record) {
    signals_.record(record);
    logSignals();
}

void Board::setInput(std::size_t pin, bool level) {
    running_->trigger.setPin(pin, level);
    running_->acquisition.followLines();
    logSignals();
}

void Board::advance(std::uint64_t nanoseconds) {
    passTime(nanoseconds, [] { return false; });
}

template <typename IsDone>
void Board::passTime(std::uint64_t nanoseconds, IsDone&& isDone) {
    TriggerUnit& trigger = running_->trigger;
    Acquisition& acquisition = running_->acquisition;
    const std::uint64_t end = trigger.nanoseconds() + nanoseconds;
    while (!isDone()) {
        const std::uint64_t next = std::min({trigger.nextNanoseconds(), acquisition.next(), end});
        const std::uint64_t now = trigger.nanoseconds();
        if (next > now) {
            trigger.advance(next - now);
        }
        acquisition.followLines();
        acquisition.run();
        logSignals();
        const bool moreIsDue = std::min(trigger.nextNanoseconds(), acquisition.next()) <= end;
        if (next == end && !moreIsDue) {
            break;
        }
    }
    runtime_.put(transferLength, acquisition.transferred());
    runtime_.put(dmaStatus, acquisition.isAcquiring() ? 1 : 0);
}

void Board::logSignals() {
    if (!signals_.isRecording()) {
        return;
    }
    const TriggerUnit& trigger = running_->trigger;
    std::array<std::uint32_t, VIRTUAL_BOARD_SIGNAL_COUNT> values{};
    for (std::size_t i = 0; i < TriggerUnit::pinCount; ++i) {
        values[VIRTUAL_BOARD_SIGNAL_INPUT + i] = trigger.input(i);
    }
    values[VIRTUAL_BOARD_SIGNAL_QUEUE] = trigger.queued();
    for (std::size_t i = 0; i < TriggerUnit::generatorCount; ++i) {
        values[VIRTUAL_BOARD_SIGNAL_GENERATOR + i] = trigger.generated(i);
    }
    for (std::size_t i = 0; i < TriggerUnit::cameraControlCount; ++i) {
        values[VIRTUAL_BOARD_SIGNAL_CONTROL + i] = trigger.cameraControl(i).level;
    }
    for (std::size_t i = 0; i < TriggerUnit::outputCount; ++i) {
        values[VIRTUAL_BOARD_SIGNAL_OUTPUT + i] = trigger.output(i).level;
    }
    values[VIRTUAL_BOARD_SIGNAL_EXPOSURE] = running_->acquisition.isExposing();
    values[VIRTUAL_BOARD_SIGNAL_FRAME] = running_->acquisition.isSending();
    signals_.add(values, trigger.nanoseconds());
}

void Board::connectCamera(std::shared_ptr<const Camera> camera) {
    camera_ = std::move(camera);
    running_->acquisition.connect(camera_);
    runtime_.put(cameraStatus, camera_ ? 1 : 0);
    runtime_.put(extendedCameraStatus, camera_ ? 1 : 0);
    logSignals();
}

bool Board::acquire(const std::shared_ptr<FrameMemory>& memory, std::int64_t pictures) {
    const bool started = running_->acquisition.start(memory, pictures);
    if (started) {
        runtime_.put(dmaStatus, 1);
    }
    return started;
}

void Board::stopAcquiring() {
    running_->acquisition.stop();
    runtime_.put(dmaStatus, 0);
}

void Board::waitForPicture(std::int64_t picture, std::uint64_t nanoseconds) {
    const Acquisition& acquisition = running_->acquisition;
    // Without a source nothing can come: the time passes at once.
    if (acquisition.hasSource()) {
        passTime(nanoseconds, [&] { return acquisition.memory()->last() >= picture || !acquisition.isAcquiring(); });
    }
}

void Board::forget(const FrameMemory& memory) {
    if (running_->acquisition.memory().get() == &memory) {
        running_->acquisition.forgetMemory();
        runtime_.put(dmaStatus, 0);
    }
}

} // namespace qelm::virtual_board
