#include "qelm/host/live_board.h"

#include "qelm/host/errors.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace qelm::host {
namespace {

using namespace std::chrono_literals;

constexpr auto tick = 4ms;                              // of the wall clock
constexpr std::uint64_t longestSlice = 20'000'000;      // ns of the board at a time, so that commands need not wait
constexpr std::uint64_t recordingSlice = 1'000'000;     // no more pictures than the ring has places
constexpr std::uint64_t longestStep = 10'000'000'000;   // ns
constexpr std::uint64_t longestPeriod = 60'000'000'000; // ns
constexpr std::uint64_t signalMemory = 20'000'000'000;  // ns of signals that are kept
constexpr std::size_t mostChanges = 200'000;
constexpr std::size_t mostEvents = 10'000;
constexpr std::size_t mostRecorded = 2'000; // in the board's own lists, before they are emptied
constexpr std::size_t ringMemory = std::size_t{512} << 20U;
constexpr std::size_t mostPlaces = 8;

void require(std::int32_t code, const char* attempt) {
    if (code < 0) {
        throw AppletError(code, attempt);
    }
}

const VirtualBoardFunctions& controlOf(const Applet& applet) {
    if (applet.virtualBoard() == nullptr) {
        throw std::logic_error("only a virtual board's time can follow the wall clock");
    }
    return *applet.virtualBoard();
}

} // namespace

LiveBoard::LiveBoard(Board& board, std::function<void()> news)
    : board_(board)
    , control_(controlOf(board_.applet()))
    , news_(news ? std::move(news) : [] {})
    , valuesBefore_(VIRTUAL_BOARD_SIGNAL_COUNT) {
    require(control_.recordSignals(board_.virtualBoard(), 1), "recording the signals failed");
    require(control_.recordEvents(board_.virtualBoard(), 1), "recording the events failed");
    require(control_.getTime(board_.virtualBoard(), &time_), "reading the time failed");
    changesFrom_ = time_;
    thread_ = std::thread([this] { live(); });
}

LiveBoard::~LiveBoard() {
    {
        const std::lock_guard guard(mutex_);
        stop_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

void LiveBoard::post(const std::function<void()>& command) {
    if (std::this_thread::get_id() == thread_.get_id()) {
        command();
        return;
    }
    bool isDone = false;
    std::unique_lock lock(mutex_);
    if (stop_) {
        return; // the command's promise breaks
    }
    commands_.emplace_back(&command, &isDone);
    wake_.notify_all();
    done_.wait(lock, [&] { return isDone; });
}

std::shared_ptr<void> LiveBoard::look() {
    const auto change = [this](int difference) {
        const std::lock_guard guard(mutex_);
        viewers_ += difference;
        clockIsStale_ = true;
        wake_.notify_all();
    };
    change(1);
    return {static_cast<void*>(this), [change](void*) { change(-1); }};
}

void LiveBoard::setFactor(double factor) {
    if (!(factor >= slowest && factor <= fastest)) {
        throw std::invalid_argument("the factor of time is 0.01 to 100");
    }
    const std::lock_guard guard(mutex_);
    factor_ = factor;
    clockIsStale_ = true;
    wake_.notify_all();
}

void LiveBoard::setPaused(bool paused) {
    const std::lock_guard guard(mutex_);
    paused_ = paused;
    clockIsStale_ = true;
    wake_.notify_all();
}

void LiveBoard::step(std::uint64_t nanoseconds) {
    if (nanoseconds > longestStep) {
        throw std::invalid_argument("a step is ten seconds at most");
    }
    run([&](Board&) {
        for (std::uint64_t left = nanoseconds; left > 0;) {
            const std::uint64_t slice = std::min(left, sink_ ? recordingSlice : longestSlice);
            advance(slice);
            left -= slice;
        }
    });
}

Pace LiveBoard::pace() const {
    const std::lock_guard guard(mutex_);
    return {.factor = factor_, .paused = paused_, .achieved = timePasses() ? achieved_ : 0.0, .time = time_};
}

void LiveBoard::acquire(bool running) {
    run([&](Board&) {
        if (running && !acquisition_) {
            startAcquisition();
        } else if (!running) {
            endAcquisition({});
        }
    });
}

std::uint64_t LiveBoard::frames() const {
    const std::lock_guard guard(mutex_);
    return sequence_;
}

double LiveBoard::framesPerSecond() const {
    const std::lock_guard guard(mutex_);
    return framesPerSecond_;
}

bool LiveBoard::acquiring() const {
    const std::lock_guard guard(mutex_);
    return acquiring_;
}

std::string LiveBoard::problem() const {
    const std::lock_guard guard(mutex_);
    return problem_;
}

std::optional<LiveFrame> LiveBoard::newest() const {
    const std::lock_guard guard(mutex_);
    return newest_;
}

void LiveBoard::record(std::function<bool(const LiveFrame*)> sink) {
    run([&](Board&) {
        if (sink_) {
            sink_(nullptr);
        }
        sink_ = std::move(sink);
        if (!acquisition_ && sink_) {
            std::exchange(sink_, nullptr)(nullptr);
        }
    });
}

LiveSignals LiveBoard::signals(std::uint64_t duration) const {
    const std::lock_guard guard(mutex_);
    LiveSignals result;
    result.to = time_;
    result.from = std::max(time_ - std::min(time_, duration), changesFrom_);
    result.before = valuesBefore_;
    for (const VirtualBoardSignalChange& change : changes_) {
        if (change.nanoseconds <= result.from) {
            result.before[change.signal] = change.value;
        } else {
            result.changes.push_back(change);
        }
    }
    return result;
}

std::vector<LiveEvent> LiveBoard::events(std::uint64_t& first) const {
    const std::lock_guard guard(mutex_);
    const std::uint64_t end = firstEvent_ + events_.size();
    const std::uint64_t start = std::clamp(first, firstEvent_, end);
    first = end;
    return {events_.begin() + static_cast<std::ptrdiff_t>(start - firstEvent_), events_.end()};
}

void LiveBoard::live() {
    std::unique_lock lock(mutex_);
    while (!stop_) {
        const auto isWanted = [this] { return stop_ || !commands_.empty() || (timePasses() && clockIsStale_); };
        if (timePasses()) {
            wake_.wait_for(lock, tick, isWanted);
        } else {
            achieved_ = framesPerSecond_ = 0.0;
            wake_.wait(lock, [&] { return isWanted() || timePasses(); });
        }
        while (!commands_.empty() && !stop_) {
            const auto [command, isDone] = commands_.front();
            commands_.pop_front();
            lock.unlock();
            (*command)(); // a packaged task: throws nothing
            followTime();
            followFormat();
            lock.lock();
            *isDone = true;
            done_.notify_all();
        }
        const bool pass = timePasses() && !stop_;
        lock.unlock();
        if (pass) {
            passTime();
        }
        lock.lock();
    }
    for (const auto& [command, isDone] : commands_) {
        *isDone = true; // not run: the promise breaks
    }
    commands_.clear();
    done_.notify_all();
    lock.unlock();
    endAcquisition({});
}

/** Brings the board's time to where the wall clock wants it, or as far as commands let it. */
void LiveBoard::passTime() {
    double factor = 1.0;
    {
        const std::lock_guard guard(mutex_);
        factor = factor_;
        if (std::exchange(clockIsStale_, false)) {
            restartClock();
        }
    }
    const auto elapsed = std::chrono::duration<double, std::nano>(Clock::now() - wallStart_).count();
    std::uint64_t due = boardStart_ + static_cast<std::uint64_t>(elapsed * factor);
    // What a computer cannot catch up with is left out: the board becomes slower.
    const auto mostLag = static_cast<std::uint64_t>(100e6 * factor);
    if (due > time_ + mostLag) {
        due = time_ + static_cast<std::uint64_t>(20e6 * factor);
        wallStart_ = Clock::now();
        boardStart_ = due;
    }
    while (time_ < due) {
        advance(std::min(due - time_, sink_ ? recordingSlice : longestSlice));
        const std::lock_guard guard(mutex_);
        if (!commands_.empty() || stop_ || clockIsStale_) {
            break;
        }
    }
    const double measured = std::chrono::duration<double>(Clock::now() - measureStart_).count();
    if (measured >= 1.0) {
        const std::lock_guard guard(mutex_);
        achieved_ = static_cast<double>(time_ - measureTime_) * 1e-9 / measured;
        framesPerSecond_ = static_cast<double>(sequence_ - measureFrames_) / measured;
        measureStart_ = Clock::now();
        measureTime_ = time_;
        measureFrames_ = sequence_;
    }
}

/** The lock is held. */
void LiveBoard::restartClock() {
    wallStart_ = measureStart_ = Clock::now();
    boardStart_ = measureTime_ = time_;
    measureFrames_ = sequence_;
    achieved_ = factor_;
}

void LiveBoard::advance(std::uint64_t nanoseconds) {
    try {
        driveInputs(time_ + nanoseconds);
        std::uint64_t now = 0;
        require(control_.getTime(board_.virtualBoard(), &now), "reading the board's time failed");
        {
            const std::lock_guard guard(mutex_);
            time_ = now;
        }
        collectSignals();
        collectEvents();
        takeFrames();
    } catch (const std::exception& problem) {
        endAcquisition(problem.what());
        const std::lock_guard guard(mutex_);
        paused_ = true;
    }
}

/** Lets time pass until then, with the edges of the inputs on the way. */
void LiveBoard::driveInputs(std::uint64_t until) {
    std::uint64_t now = time_;
    const auto pass = [&](std::uint64_t end) {
        if (end > now) {
            require(control_.advance(board_.virtualBoard(), end - now), "letting the board's time pass failed");
            now = end;
        }
    };
    while (!edges_.empty() && edges_.front().time <= until) {
        const Edge edge = edges_.front();
        edges_.pop_front();
        pass(edge.time);
        require(control_.setInput(board_.virtualBoard(), edge.pin, edge.level), "driving the input failed");
    }
    pass(until);
}

void LiveBoard::pulse(std::uint32_t pin, std::uint32_t count, std::uint64_t width, std::uint64_t period) {
    if (pin >= pulsesEnd_.size() || width == 0 || width >= period || period > longestPeriod) {
        throw std::invalid_argument("a pulse goes to one of eight inputs and is shorter than its period, which is a "
                                    "minute at most");
    }
    run([&](Board&) {
        std::uint64_t start = std::max(time_, pulsesEnd_[pin]);
        for (std::uint32_t i = 0; i < count; ++i, start += period) {
            edges_.push_back({start, pin, 1});
            edges_.push_back({start + width, pin, 0});
        }
        pulsesEnd_[pin] = start;
        std::ranges::stable_sort(edges_, {}, &Edge::time);
    });
}

void LiveBoard::takeFrames() {
    while (acquisition_) {
        std::optional<Frame> frame;
        try {
            frame = sink_ ? acquisition_->next(0) : acquisition_->newest(0);
        } catch (const FrameSizeError&) {
            followFormat(); // a register was written around the applet
            continue;
        }
        if (!frame) {
            return;
        }
        const LiveFrame live{.frame = *frame,
                             .sequence = framesBefore_ + static_cast<std::uint64_t>(frame->number()),
                             .lost = lostBefore_ + frame->information().lost,
                             .ready = Clock::now()};
        {
            const std::lock_guard guard(mutex_);
            newest_ = live;
            sequence_ = live.sequence;
        }
        if (sink_ && !sink_(&live)) {
            sink_ = nullptr;
        }
        news_();
    }
}

/** A command may have let the board's time pass by itself: what is still to come is so much later. */
void LiveBoard::followTime() {
    std::uint64_t now = 0;
    if (control_.getTime(board_.virtualBoard(), &now) != 0 || now == time_) {
        return;
    }
    const std::uint64_t passed = now - time_;
    for (Edge& edge : edges_) {
        edge.time += passed;
    }
    for (std::uint64_t& end : pulsesEnd_) {
        end += end > time_ ? passed : 0;
    }
    const std::lock_guard guard(mutex_);
    time_ = now;
    clockIsStale_ = true;
}

/** Commands may have changed what pictures look like; the acquisition's are of one size. */
void LiveBoard::followFormat() {
    if (!acquisition_) {
        return;
    }
    try {
        if (frameFormat(board_) != acquisition_->format()) {
            lostBefore_ += acquisition_->lost();
            acquisition_.reset();
            startAcquisition();
        }
    } catch (const std::exception& problem) {
        endAcquisition(problem.what());
    }
}

void LiveBoard::startAcquisition() {
    framesBefore_ = sequence_;
    const std::size_t bytes = std::max<std::size_t>(frameFormat(board_).bytes(), 1);
    acquisition_.emplace(board_,
                         AcquisitionOptions{.places = std::clamp<std::size_t>(ringMemory / bytes, 2, mostPlaces)});
    const std::lock_guard guard(mutex_);
    acquiring_ = true;
    problem_.clear();
}

void LiveBoard::endAcquisition(const std::string& problem) {
    if (acquisition_) {
        lostBefore_ += acquisition_->lost();
        acquisition_.reset();
    }
    if (sink_) {
        std::exchange(sink_, nullptr)(nullptr);
    }
    {
        const std::lock_guard guard(mutex_);
        acquiring_ = false;
        problem_ = problem;
    }
    news_();
}

void LiveBoard::collectSignals() {
    VirtualBoard* const board = board_.virtualBoard();
    std::size_t count = 0;
    require(control_.signalChangeCount(board, &count), "reading the signals failed");
    const std::lock_guard guard(mutex_);
    for (; signalsSeen_ < count; ++signalsSeen_) {
        VirtualBoardSignalChange change{};
        if (control_.signalChangeAt(board, signalsSeen_, &change) == 0) {
            changes_.push_back(change);
        }
    }
    while (!changes_.empty() &&
           (changes_.size() > mostChanges || changes_.front().nanoseconds + signalMemory < time_)) {
        valuesBefore_[changes_.front().signal] = changes_.front().value;
        changesFrom_ = changes_.front().nanoseconds;
        changes_.pop_front();
    }
    if (count > mostRecorded) {
        require(control_.recordSignals(board, 1), "recording the signals failed");
        signalsSeen_ = 0; // the new list starts with the values of now, which say nothing new
        require(control_.signalChangeCount(board, &signalsSeen_), "reading the signals failed");
    }
}

void LiveBoard::collectEvents() {
    VirtualBoard* const board = board_.virtualBoard();
    std::size_t count = 0;
    require(control_.eventCount(board, &count), "reading the events failed");
    if (count == eventsSeen_) {
        return;
    }
    {
        const std::lock_guard guard(mutex_);
        for (; eventsSeen_ < count; ++eventsSeen_) {
            VirtualBoardEvent event{};
            if (control_.eventAt(board, eventsSeen_, &event) == 0) {
                events_.push_back({event.name, event.nanoseconds});
            }
        }
        for (; events_.size() > mostEvents; ++firstEvent_) {
            events_.pop_front();
        }
    }
    if (count > mostRecorded) {
        require(control_.recordEvents(board, 1), "recording the events failed");
        eventsSeen_ = 0;
    }
    news_();
}

} // namespace qelm::host
