// What a board does in virtual time: its trigger unit and its pictures.
#include "model/board.h"

#include <algorithm>
#include <utility>

using namespace qelm::virtual_board;

namespace {

constexpr std::uint64_t nanosecondsPerSecond = 1'000'000'000;
constexpr std::uint64_t longestAdvance = 3600 * nanosecondsPerSecond;

// Parameters that the runtime serves, as far as acquisition moves them.
enum RuntimeId : std::int32_t {
    cameraStatus = 2000,
    extendedCameraStatus = 2050,
    transferLength = 5210,
    dmaStatus = 24092
};

} // namespace

template <typename IsDone>
void VirtualBoard::passTime(std::uint64_t nanoseconds, IsDone&& isDone) {
    const std::uint64_t end = trigger_->nanoseconds() + nanoseconds;
    while (!isDone()) {
        const std::uint64_t next = std::min({trigger_->nextNanoseconds(), acquisition_->next(), end});
        const std::uint64_t now = trigger_->nanoseconds();
        if (next > now) {
            trigger_->advance(next - now);
        }
        acquisition_->followLines();
        acquisition_->run();
        seeSignals();
        const bool moreIsDue = std::min(trigger_->nextNanoseconds(), acquisition_->next()) <= end;
        if (next == end && !moreIsDue) {
            break;
        }
    }
    setStatus(transferLength, acquisition_->transferred());
    setStatus(dmaStatus, acquisition_->isAcquiring() ? 1 : 0);
}

void VirtualBoard::seeSignals() {
    if (!signals_.isRecording()) {
        return;
    }
    std::array<std::uint32_t, VIRTUAL_BOARD_SIGNAL_COUNT> values{};
    for (std::size_t i = 0; i < TriggerUnit::pinCount; ++i) {
        values[VIRTUAL_BOARD_SIGNAL_INPUT + i] = trigger_->input(i);
    }
    values[VIRTUAL_BOARD_SIGNAL_QUEUE] = trigger_->queued();
    for (std::size_t i = 0; i < TriggerUnit::generatorCount; ++i) {
        values[VIRTUAL_BOARD_SIGNAL_GENERATOR + i] = trigger_->generated(i);
    }
    for (std::size_t i = 0; i < TriggerUnit::cameraControlCount; ++i) {
        values[VIRTUAL_BOARD_SIGNAL_CONTROL + i] = trigger_->cameraControl(i).level;
    }
    for (std::size_t i = 0; i < TriggerUnit::outputCount; ++i) {
        values[VIRTUAL_BOARD_SIGNAL_OUTPUT + i] = trigger_->output(i).level;
    }
    values[VIRTUAL_BOARD_SIGNAL_EXPOSURE] = acquisition_->isExposing();
    values[VIRTUAL_BOARD_SIGNAL_FRAME] = acquisition_->isSending();
    signals_.see(values, trigger_->nanoseconds());
}

// -- The trigger unit -----------------------------------------------------------------------------------------------

std::int32_t VirtualBoard::setInput(std::uint32_t pin, bool level) {
    return whileOpen([&] {
        if (pin >= TriggerUnit::pinCount) {
            return unknown;
        }
        trigger_->setPin(pin, level);
        acquisition_->followLines();
        seeSignals();
        return ok;
    });
}

std::int32_t VirtualBoard::advance(std::uint64_t nanoseconds) {
    return whileOpen([&] {
        if (nanoseconds > longestAdvance) {
            return outOfRange;
        }
        passTime(nanoseconds, [] { return false; });
        return ok;
    });
}

std::int32_t VirtualBoard::time(std::uint64_t& nanoseconds) {
    return whileOpen([&] {
        nanoseconds = trigger_->nanoseconds();
        return ok;
    });
}

std::int32_t VirtualBoard::cameraControl(std::uint32_t line, TriggerUnit::Line& state) {
    return whileOpen([&] {
        if (line >= TriggerUnit::cameraControlCount) {
            return unknown;
        }
        state = trigger_->cameraControl(line);
        return ok;
    });
}

std::int32_t VirtualBoard::triggerOutput(std::uint32_t line, TriggerUnit::Line& state) {
    return whileOpen([&] {
        if (line >= TriggerUnit::outputCount) {
            return unknown;
        }
        state = trigger_->output(line);
        return ok;
    });
}

std::int32_t VirtualBoard::recordEvents(bool record) {
    return whileOpen([&] {
        events_->record(record);
        return ok;
    });
}

std::int32_t VirtualBoard::eventCount(std::size_t& count) {
    return whileOpen([&] {
        count = events_->events().size();
        return ok;
    });
}

std::int32_t VirtualBoard::eventAt(std::size_t place, VirtualBoardEvent& event) {
    return whileOpen([&] {
        if (place >= events_->events().size()) {
            return unknown;
        }
        const RaisedEvent& raised = events_->events()[place];
        const std::uint64_t mask = raised.position < 64 ? std::uint64_t{1} << raised.position : 0;
        event = {design_->event(raised.position)->name, mask, raised.nanoseconds};
        return ok;
    });
}

std::int32_t VirtualBoard::recordSignals(bool record) {
    return whileOpen([&] {
        signals_.record(record);
        seeSignals();
        return ok;
    });
}

std::int32_t VirtualBoard::signalChangeCount(std::size_t& count) {
    return whileOpen([&] {
        count = signals_.changes().size();
        return ok;
    });
}

std::int32_t VirtualBoard::signalChangeAt(std::size_t place, VirtualBoardSignalChange& change) {
    return whileOpen([&] {
        if (place >= signals_.changes().size()) {
            return unknown;
        }
        const SignalLog::Change& seen = signals_.changes()[place];
        change = {seen.nanoseconds, seen.signal, seen.value};
        return ok;
    });
}

// -- Pictures -------------------------------------------------------------------------------------------------------

std::int32_t VirtualBoard::connectCamera(std::shared_ptr<const Camera> camera) {
    return whileOpen([&] {
        camera_ = std::move(camera);
        acquisition_->connect(camera_);
        setStatus(cameraStatus, camera_ ? 1 : 0);
        setStatus(extendedCameraStatus, camera_ ? 1 : 0);
        seeSignals();
        return ok;
    });
}

std::int32_t VirtualBoard::setTransferRate(std::uint64_t bytesPerSecond) {
    return whileOpen([&] {
        if (bytesPerSecond == 0) {
            return outOfRange;
        }
        acquisition_->setTransferRate(bytesPerSecond);
        return ok;
    });
}

std::int32_t VirtualBoard::acquire(const Design& design, const std::shared_ptr<FrameMemory>& memory,
                                   std::int64_t pictures) {
    return whileHolding(design, [&] {
        if (pictures < 1 && pictures != Acquisition::endless) {
            return outOfRange;
        }
        if (!acquisition_->start(memory, pictures)) {
            return acquiring;
        }
        setStatus(dmaStatus, 1);
        return ok;
    });
}

std::int32_t VirtualBoard::stopAcquiring(const Design& design, const std::shared_ptr<FrameMemory>& memory) {
    return whileHolding(design, [&] {
        if (acquisition_->memory() != memory) {
            return notAcquiring;
        }
        acquisition_->stop();
        setStatus(dmaStatus, 0);
        return ok;
    });
}

void VirtualBoard::forget(const std::shared_ptr<FrameMemory>& memory) {
    whileOpen([&] {
        if (acquisition_->memory() == memory) {
            acquisition_->forgetMemory();
            setStatus(dmaStatus, 0);
        }
        return ok;
    });
}

std::int64_t VirtualBoard::lastPicture(const Design& design, const std::shared_ptr<FrameMemory>& memory) {
    return whileHolding(design, [&]() -> std::int64_t {
        return acquisition_->memory() == memory ? memory->last() : static_cast<std::int64_t>(notAcquiring);
    });
}

std::int64_t VirtualBoard::waitForPicture(const Design& design, const std::shared_ptr<FrameMemory>& memory,
                                          std::int64_t picture, std::int32_t seconds) {
    return whileHolding(design, [&]() -> std::int64_t {
        if (acquisition_->memory() != memory) {
            return notAcquiring;
        }
        if (seconds < 0) {
            return outOfRange;
        }
        const auto isDone = [&] { return memory->last() >= picture || !acquisition_->isAcquiring(); };
        // Without a source nothing can come: the time passes at once.
        if (acquisition_->hasSource()) {
            passTime(std::min(static_cast<std::uint64_t>(seconds) * nanosecondsPerSecond, longestAdvance), isDone);
        }
        return memory->last() >= picture ? memory->last() : static_cast<std::int64_t>(timedOut);
    });
}

std::int64_t VirtualBoard::acquisitionStatus(const Design& design, std::int32_t parameter) {
    return whileHolding(design, [&]() -> std::int64_t {
        switch (parameter) {
        case VIRTUAL_BOARD_STATUS_ACQUIRING:
            return acquisition_->isAcquiring() ? 1 : 0;
        case VIRTUAL_BOARD_STATUS_PICTURES_ACQUIRED:
            return acquisition_->memory() == nullptr ? 0 : acquisition_->memory()->last();
        case VIRTUAL_BOARD_STATUS_PICTURES_LOST:
            return static_cast<std::int64_t>(acquisition_->lost());
        default:
            return unknown;
        }
    });
}

std::int32_t VirtualBoard::picture(const FrameMemory& memory, std::int64_t number, const void*& bytes,
                                   std::size_t& size) {
    const std::lock_guard guard(mutex_);
    const FrameMemory::Transferred picture = memory.picture(number);
    bytes = picture.bytes;
    size = picture.size;
    return picture.bytes == nullptr ? unknown : ok;
}

std::int32_t VirtualBoard::frameInfo(const FrameMemory& memory, std::int64_t number, VirtualBoardFrameInfo& info) {
    const std::lock_guard guard(mutex_);
    const FrameMemory::Transferred picture = memory.picture(number);
    if (picture.bytes == nullptr) {
        return unknown;
    }
    info = picture.info;
    return ok;
}

std::int32_t VirtualBoard::losses(VirtualBoardLosses& losses) {
    return whileOpen([&] {
        losses = acquisition_->losses();
        return ok;
    });
}
