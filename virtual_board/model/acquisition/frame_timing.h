#pragma once

#include <cstdint>
#include <limits>
#include <optional>

namespace qelm::virtual_board {

inline constexpr std::uint64_t nanosecondsPerSecond = 1'000'000'000;

/** When a camera exposes and sends. Times in ns. */
struct CameraTiming {
    bool freeRun = false;                  /**< exposes again as soon as a frame is sent; else when triggered */
    std::optional<std::uint64_t> exposure; /**< nothing: as long as the trigger is active */
    std::uint64_t readout = 0;             /**< what sending a frame takes */
};

/**
 * The camera's, or the simulator's, way through time: idle, exposing, sending. A trigger that comes while it is not
 * idle is ignored, as cameras do that cannot expose while they send.
 */
class FrameTiming {
  public:
    static constexpr std::uint64_t never = std::numeric_limits<std::uint64_t>::max();

    enum class Step { none, frameStarts, frameEnds };

    /** Begins anew; a free-running one exposes at once. */
    void start(const CameraTiming& timing, std::uint64_t now);
    void stop();

    /** The trigger's level now. */
    void follow(bool active, std::uint64_t now);
    /** When the next step is due; never while there is none. */
    std::uint64_t next() const { return changes_; }
    /** Does the step that is due at `now`, if one is. */
    Step run(std::uint64_t now);

    bool isExposing() const { return phase_ == Phase::exposing; }
    bool isSending() const { return phase_ == Phase::sending; }
    /** Of the frame that is being sent. */
    std::uint64_t exposed() const { return exposed_; }
    /** When that frame's exposure began. */
    std::uint64_t exposedFrom() const { return exposedFrom_; }

  private:
    enum class Phase { idle, exposing, sending };

    void expose(std::uint64_t now);

    CameraTiming timing_;
    Phase phase_ = Phase::idle;
    std::uint64_t changes_ = never;
    std::uint64_t exposureStarted_ = 0;
    std::uint64_t exposedFrom_ = 0, exposed_ = 0;
    bool active_ = false;
};

} // namespace qelm::virtual_board
