#pragma once

#include "qelm/host/acquisition.h"
#include "qelm/host/board.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

/** A virtual board whose time follows the wall clock. */
namespace qelm::host {

/** How the board's time passes. */
struct Pace {
    double factor = 1.0; ///< board seconds per second, 0.01 to 100
    bool paused = false;
    double achieved = 0.0;  ///< what the last second came to: less than the factor on a computer that is too slow
    std::uint64_t time = 0; ///< nanoseconds of the board
};

/** A picture of the running acquisition. */
struct LiveFrame {
    Frame frame;
    std::uint64_t sequence = 0; ///< counts the pictures that have come, over acquisitions, from 1
    std::uint64_t lost = 0;     ///< pictures that the board has lost since the live board was made
    std::chrono::steady_clock::time_point ready{};
};

/** Signals and events of the last moments of the board's time. */
struct LiveSignals {
    std::uint64_t from = 0;                        ///< nanoseconds; before, changes are forgotten
    std::uint64_t to = 0;                          ///< the board's time
    std::vector<std::uint32_t> before;             ///< per signal the value at `from`
    std::vector<VirtualBoardSignalChange> changes; ///< after it, in their order
};

struct LiveEvent {
    std::string name;
    std::uint64_t nanoseconds;
};

/**
 * A virtual board with a life of its own: one thread owns it, lets its time pass, acquires pictures without end and
 * runs what others want done with the board, one command after the other. Time stands still while nobody looks. All
 * functions may be called from any thread.
 */
class LiveBoard {
  public:
    static constexpr double slowest = 0.01;
    static constexpr double fastest = 100.0;

    /**
     * Takes over a virtual board. Time is not paused, but nobody looks yet; nothing is acquired.
     *
     * @param board outlives the object, and nobody else uses it meanwhile but through `run`
     * @param news called by the board's thread after anything that others may want to see: a frame, an event, a
     *     changed pace; it must be quick and throw nothing
     * @throws std::logic_error for a board on other libraries than the virtual board's
     */
    explicit LiveBoard(Board& board, std::function<void()> news = {});
    /** Ends the thread; commands that wait fail. */
    ~LiveBoard();
    LiveBoard(const LiveBoard&) = delete;
    LiveBoard& operator=(const LiveBoard&) = delete;

    /**
     * Runs `command(board)` on the board's thread, between two steps of its time. A command may let time pass itself;
     * the wall clock goes on from there. @return, @throws as the command
     */
    template <class Command>
    std::invoke_result_t<Command, Board&> run(Command&& command) {
        using Result = std::invoke_result_t<Command, Board&>;
        std::packaged_task<Result()> task([&] { return command(board_); });
        std::future<Result> result = task.get_future();
        post([&task] { task(); });
        return result.get();
    }

    /** Keeps time passing as long as the result is held. */
    std::shared_ptr<void> look();

    /** @throws std::invalid_argument for a factor beyond the limits */
    void setFactor(double factor);
    void setPaused(bool paused);
    /** Lets so many nanoseconds pass at once: at most ten seconds. @throws std::invalid_argument */
    void step(std::uint64_t nanoseconds);
    Pace pace() const;

    /** Starts or ends the acquisition; it follows changes of the picture's size. @throws AppletError */
    void acquire(bool running);
    bool acquiring() const;
    /** Why the acquisition has ended by itself; empty when it has not. */
    std::string problem() const;
    std::optional<LiveFrame> newest() const;
    /** Called by the board's thread with every picture, none left out, until it returns false or the acquisition ends:
     * then with null. */
    void record(std::function<bool(const LiveFrame*)> sink);

    /** Pictures that have come since the live board was made, and how many in a second of the wall clock lately. */
    std::uint64_t frames() const;
    double framesPerSecond() const;

    /**
     * Drives a trigger input, 0 to 7: `count` pulses of `width` nanoseconds, one every `period`, from now on or after
     * those that are still to come.
     *
     * @throws std::invalid_argument for another input, or a width that is 0 or does not leave a gap
     */
    void pulse(std::uint32_t pin, std::uint32_t count, std::uint64_t width, std::uint64_t period);

    /** @param duration nanoseconds back from now */
    LiveSignals signals(std::uint64_t duration) const;
    /** Events from number `first` on, counted from 0; `first` becomes the next one's. The oldest are forgotten. */
    std::vector<LiveEvent> events(std::uint64_t& first) const;

  private:
    using Clock = std::chrono::steady_clock;

    void post(const std::function<void()>& command);
    void live();
    void passTime();
    void advance(std::uint64_t nanoseconds);
    void driveInputs(std::uint64_t until);
    void takeFrames();
    void followTime();
    void followFormat();
    void startAcquisition();
    void endAcquisition(const std::string& problem);
    void collectSignals();
    void collectEvents();
    void restartClock();
    bool timePasses() const { return viewers_ > 0 && !paused_; }

    Board& board_;
    const VirtualBoardFunctions& control_;
    std::function<void()> news_;

    /** The level of an input from some time on. */
    struct Edge {
        std::uint64_t time;
        std::uint32_t pin;
        std::int32_t level;
    };

    // Of the board's thread alone.
    std::deque<Edge> edges_; // still to come
    std::array<std::uint64_t, 8> pulsesEnd_{};
    std::optional<Acquisition> acquisition_;
    std::function<bool(const LiveFrame*)> sink_;
    std::size_t signalsSeen_ = 0;
    std::size_t eventsSeen_ = 0;
    std::uint64_t lostBefore_ = 0;   // in acquisitions that have ended
    std::uint64_t framesBefore_ = 0; // likewise
    Clock::time_point wallStart_{};
    std::uint64_t boardStart_ = 0;
    Clock::time_point measureStart_{};
    std::uint64_t measureTime_ = 0;
    std::uint64_t measureFrames_ = 0;

    mutable std::mutex mutex_; // guards what follows
    std::condition_variable wake_;
    std::condition_variable done_;
    std::deque<std::pair<const std::function<void()>*, bool*>> commands_;
    bool stop_ = false;
    int viewers_ = 0;
    double factor_ = 1.0;
    bool paused_ = false;
    bool clockIsStale_ = true;
    double achieved_ = 0.0;
    std::uint64_t time_ = 0;
    bool acquiring_ = false;
    std::string problem_;
    std::optional<LiveFrame> newest_;
    std::uint64_t sequence_ = 0; // of the newest frame
    double framesPerSecond_ = 0.0;
    std::deque<VirtualBoardSignalChange> changes_;
    std::vector<std::uint32_t> valuesBefore_; // of the signals before the first of changes_
    std::uint64_t changesFrom_ = 0;
    std::deque<LiveEvent> events_;
    std::uint64_t firstEvent_ = 0; // the number of events_.front()

    std::thread thread_;
};

} // namespace qelm::host
