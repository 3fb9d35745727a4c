#include "model/acquisition/acquisition.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace qelm::virtual_board {
namespace {

CameraTiming timingOf(const CameraOptions& options) {
    CameraTiming timing{!options.isTriggered, std::nullopt, options.readoutTime()};
    if (options.exposure) {
        timing.exposure = static_cast<std::uint64_t>(std::llround(*options.exposure * 1000));
    } else if (timing.freeRun) {
        timing.exposure = 0;
    }
    return timing;
}

} // namespace

Acquisition::Acquisition(DesignWords& words, const SimulatorControl& simulator, EventLog& log, TriggerUnit& trigger,
                         const CoefficientPlanes& planes)
    : simulator_(simulator)
    , log_(log)
    , trigger_(trigger)
    , settings_(words, planes)
    , overflow_(words.at("Device1_Process0_Overflow_OverflowOccurred"))
    , fillLevel0_(words.at("Device1_Process0_Buffer_0_FrameBuffer_Buffer_0_FillLevel"))
    , fillLevel1_(words.at("Device1_Process0_Buffer_0_FrameBuffer_Buffer_1_FillLevel"))
    , clearOverflow_(words.parameter("Device1_Process0_Overflow_ClearOverflow_Mode"))
    , overflowEvent_(log.named("Device1_Process0_Overflow_Overflow"))
    , transferEvent_(log.named("Device1_Process0_OutputFormat_DmaStream_TransferDone")) {}

void Acquisition::connect(std::shared_ptr<const Camera> camera) {
    camera_ = std::move(camera);
    cameraFrames_ = 0;
    if (camera_) {
        cameraTiming_.start(timingOf(camera_->options()), trigger_.nanoseconds());
    } else {
        cameraTiming_.stop();
    }
    trigger_.awaitCamera(false); // what the one before owed does not count
    trigger_.awaitCamera(hasSource());
    followLines();
}

void Acquisition::written(const DesignParameter& parameter) {
    settings_.written(parameter);
    if (&parameter == clearOverflow_) {
        *overflow_ = 0;
    }
    followLines();
}

void Acquisition::registerWritten() {
    trigger_.awaitCamera(hasSource());
    if (!simulator_.runs()) {
        simulatorTiming_.stop();
    } else if (simulatorTiming_.next() == never) {
        // A frame that has begun keeps its time; the next one follows the registers.
        simulatorTiming_.start({true, 0, simulator_.registers().framePeriod()}, trigger_.nanoseconds());
    }
}

void Acquisition::followLines() {
    if (camera_) {
        const CameraOptions& options = camera_->options();
        const bool level = trigger_.cameraControl(options.triggerLine).level;
        cameraTiming_.follow(level != options.isActiveLow, trigger_.nanoseconds());
        cameraStep();
    }
}

std::uint64_t Acquisition::next() const {
    return std::min({cameraTiming_.next(), simulatorTiming_.next(), transferEnds_});
}

void Acquisition::run() {
    cameraStep();
    simulatorStep();
    if (transferEnds_ <= trigger_.nanoseconds()) {
        endTransfer();
    }
}

void Acquisition::cameraStep() {
    const std::uint64_t now = trigger_.nanoseconds();
    const FrameTiming::Step step = cameraTiming_.run(now);
    if (step == FrameTiming::Step::frameEnds) {
        ++cameraFrames_;
    }
    if (simulates()) { // nobody listens to the camera
        return;
    }
    if (step == FrameTiming::Step::frameStarts) {
        trigger_.frameStarted();
    } else if (step == FrameTiming::Step::frameEnds) {
        trigger_.frameEnded();
        arrive(camera_->frame(cameraFrames_ - 1, cameraTiming_.exposed()), cameraTiming_);
    }
}

void Acquisition::simulatorStep() {
    const FrameTiming::Step step = simulatorTiming_.run(trigger_.nanoseconds());
    if (step == FrameTiming::Step::frameStarts) {
        trigger_.frameStarted();
    } else if (step == FrameTiming::Step::frameEnds) {
        trigger_.frameEnded();
        arrive(SimulatorFrame(simulator_.registers(), simulatorFrames_), simulatorTiming_);
        ++simulatorFrames_;
        simulatorTiming_.stop();
        registerWritten();
    }
}

void Acquisition::arrive(const LinkFrame& frame, const FrameTiming& timing) {
    if (acquiring_) {
        take(frame, timing);
    } else {
        ++notAcquired_;
    }
}

void Acquisition::take(const LinkFrame& frame, const FrameTiming& timing) {
    if (!settings_.selects(arrived_++)) {
        return;
    }
    const ImagePathSettings settings = settings_.path();
    const std::size_t bytes = outputBytes(settings);
    if (!buffer_.fits(bytes)) {
        ++overflows_;
        *overflow_ = 1;
        log_.raise(overflowEvent_, trigger_.nanoseconds());
        return;
    }
    sortTaps(frame, settings_.taps(), sorted_);
    Picture picture{buffer_.take(bytes), {arrived_, trigger_.nanoseconds(), timing.exposedFrom(), bytes, losses()}};
    path_.process(sorted_, settings, picture.bytes);
    buffer_.add(std::move(picture));
    publish();
    beginTransfer();
}

void Acquisition::beginTransfer() {
    if (transferEnds_ == never && !buffer_.empty()) {
        const std::uint64_t bytes = buffer_.front().bytes.size();
        transferEnds_ = trigger_.nanoseconds() + bytes * nanosecondsPerSecond / bytesPerSecond_ + 1;
    }
}

void Acquisition::endTransfer() {
    transferEnds_ = never;
    memory_->add(buffer_.front());
    transferred_ = static_cast<std::uint32_t>(buffer_.front().bytes.size());
    buffer_.removeFront();
    publish();
    log_.raise(transferEvent_, trigger_.nanoseconds());
    if (memory_->last() == pictures_) {
        stop();
    } else {
        beginTransfer();
    }
}

/** The memory's two banks take alternate lines, so that they fill alike. */
void Acquisition::publish() {
    *fillLevel0_ = *fillLevel1_ = buffer_.percent();
}

bool Acquisition::start(std::shared_ptr<FrameMemory> memory, std::int64_t pictures) {
    if (acquiring_) {
        return false;
    }
    memory_ = std::move(memory);
    memory_->clear();
    pictures_ = pictures;
    arrived_ = 0;
    overflowsBefore_ = overflows_;
    *overflow_ = 0;
    acquiring_ = true;
    return true;
}

VirtualBoardLosses Acquisition::losses() const {
    return {trigger_.missingFrames(), overflows_, notAcquired_};
}

void Acquisition::forgetMemory() {
    stop();
    memory_.reset();
}

void Acquisition::stop() {
    acquiring_ = false;
    buffer_.clear();
    transferEnds_ = never;
    publish();
}

} // namespace qelm::virtual_board
