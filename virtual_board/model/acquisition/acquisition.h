#pragma once

#include "model/acquisition/frame_buffer.h"
#include "model/acquisition/frame_memory.h"
#include "model/acquisition/frame_timing.h"
#include "model/acquisition/image_settings.h"
#include "model/acquisition/simulator_control.h"
#include "model/camera/camera.h"
#include "model/logs/event_log.h"
#include "model/trigger_unit.h"

#include <cstdint>
#include <memory>

namespace qelm::virtual_board {

/**
 * The way of a picture in virtual time: the camera or the simulator sends a frame, the image selector passes it or not,
 * the image path makes a picture of it, which waits in the frame buffer for its transfer into the host's memory.
 * Frames that come while nobody acquires are dropped.
 *
 * Not synchronised; the board's lock covers it.
 */
class Acquisition {
  public:
    static constexpr std::int64_t endless = -1;
    static constexpr std::uint64_t never = FrameTiming::never;

    /** All stay as long as this lives. */
    Acquisition(DesignWords& words, const SimulatorControl& simulator, EventLog& log, TriggerUnit& trigger,
                const CoefficientPlanes& planes);
    Acquisition(const Acquisition&) = delete;
    Acquisition& operator=(const Acquisition&) = delete;

    /** @param camera  null: nothing is connected any more */
    void connect(std::shared_ptr<const Camera> camera);
    const Camera* camera() const { return camera_.get(); }

    /** A parameter of the design was written; of a command, a pulse was issued. */
    void written(const DesignParameter& parameter);
    /** One of the simulator's registers may have been written. */
    void registerWritten();
    /** The trigger unit's lines may have changed. */
    void followLines();

    /** When something happens next by itself, in ns of virtual time. */
    std::uint64_t next() const;
    /** Does what is due now. */
    void run();
    /** Whether a frame can ever come. */
    bool hasSource() const { return camera_ != nullptr || simulates(); }

    /** @return whether it could start: one acquisition runs at a time */
    bool start(std::shared_ptr<FrameMemory> memory, std::int64_t pictures);
    void stop();
    /** Stops; the memory is no longer there. */
    void forgetMemory();
    bool isAcquiring() const { return acquiring_; }
    const std::shared_ptr<FrameMemory>& memory() const { return memory_; }
    std::uint64_t lost() const { return overflows_ - overflowsBefore_; } /**< since the start */
    VirtualBoardLosses losses() const;
    std::uint32_t transferred() const { return transferred_; } /**< bytes of the last transfer */

    /** What the bus to the host takes. */
    void setTransferRate(std::uint64_t bytesPerSecond) { bytesPerSecond_ = bytesPerSecond; }

    bool isExposing() const { return camera_ != nullptr && cameraTiming_.isExposing(); }
    bool isSending() const { return (simulates() ? simulatorTiming_ : cameraTiming_).isSending(); }

  private:
    bool simulates() const { return simulator_.isEnabled(); }
    void cameraStep();
    void simulatorStep();
    void arrive(const LinkFrame& frame, const FrameTiming& timing);
    void take(const LinkFrame& frame, const FrameTiming& timing);
    void beginTransfer();
    void endTransfer();
    void publish();

    const SimulatorControl& simulator_;
    EventLog& log_;
    TriggerUnit& trigger_;
    ImageSettings settings_;
    std::uint32_t *overflow_, *fillLevel0_, *fillLevel1_;
    const DesignParameter* clearOverflow_;
    std::size_t overflowEvent_, transferEvent_;

    std::shared_ptr<const Camera> camera_;
    FrameTiming cameraTiming_, simulatorTiming_;
    std::uint64_t cameraFrames_ = 0, simulatorFrames_ = 0; // sent so far

    bool acquiring_ = false;
    std::shared_ptr<FrameMemory> memory_;
    std::int64_t pictures_ = endless;
    std::uint64_t arrived_ = 0;                     // frames since the start
    std::uint64_t overflows_ = 0, notAcquired_ = 0; // frames since power-on
    std::uint64_t overflowsBefore_ = 0;             // the start
    SortedFrame sorted_;
    ImagePath path_;
    FrameBuffer buffer_;
    std::uint64_t bytesPerSecond_ = 900'000'000;
    std::uint64_t transferEnds_ = never;
    std::uint32_t transferred_ = 0;
};

} // namespace qelm::virtual_board
