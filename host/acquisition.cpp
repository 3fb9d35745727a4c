#include "qelm/host/acquisition.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace qelm::host {
namespace {

constexpr std::int64_t timedOut = -2110; // of the runtime's blocking wait
constexpr double longestWait = 1e6;      // seconds

std::string sizeText(std::size_t bytes) {
    return std::to_string(bytes) + " bytes";
}

} // namespace

std::shared_ptr<std::byte[]> PictureMemory::take(std::int64_t number, std::shared_ptr<std::byte[]> replacement) {
    const std::optional<HeldPicture> picture = find(number);
    if (!picture) {
        return nullptr;
    }
    std::copy_n(picture->bytes.begin(), std::min(picture->bytes.size(), bytesPerPlace()), replacement.get());
    return find(number) ? replacement : nullptr; // not when the runtime has written into it meanwhile
}

/** Places on a virtual board, which lets them be exchanged. */
class Acquisition::BoardMemory : public PictureMemory {
  public:
    BoardMemory(const Board& board, FramePool& pool, std::size_t places)
        : control_(*board.applet().virtualBoard())
        , bytes_(pool.bytes()) {
        std::vector<void*> addresses;
        for (std::size_t i = 0; i < places; ++i) {
            addresses.push_back(ring_.emplace_back(pool.take()).get());
        }
        handle_ = control_.useFrames(board.virtualBoard(), bytes_, places, addresses.data());
        if (handle_ == nullptr) {
            throw std::invalid_argument(
                "the board takes no memory for pictures: it is closed, or no place was asked for");
        }
        control_.getLosses(board.virtualBoard(), &before_);
    }
    ~BoardMemory() override { control_.freeFrames(handle_); }
    BoardMemory(const BoardMemory&) = delete;
    BoardMemory& operator=(const BoardMemory&) = delete;

    void* handle() const override { return handle_; }
    std::size_t places() const override { return ring_.size(); }
    std::size_t bytesPerPlace() const override { return bytes_; }

    std::optional<HeldPicture> find(std::int64_t number) const override {
        const void* bytes = nullptr;
        std::size_t size = 0;
        VirtualBoardFrameInfo info{};
        if (control_.frameInfo(handle_, number, &info) != 0 || control_.picture(handle_, number, &bytes, &size) != 0) {
            return std::nullopt;
        }
        return HeldPicture{.bytes = {static_cast<const std::byte*>(bytes), size},
                           .size = info.bytes,
                           .timestamp = info.nanoseconds,
                           .triggerTime = info.triggerNanoseconds,
                           .lost = info.losses.overflows - before_.overflows,
                           .missing = info.losses.missingFrames - before_.missingFrames};
    }

    std::shared_ptr<std::byte[]> take(std::int64_t number, std::shared_ptr<std::byte[]> replacement) override {
        if (control_.exchangePlace(handle_, number, replacement.get()) != 0) {
            return nullptr;
        }
        return std::exchange(ring_[static_cast<std::size_t>(number - 1) % ring_.size()], std::move(replacement));
    }

    std::int64_t wait(std::int64_t number, std::uint64_t nanoseconds) const {
        return control_.waitForPicture(handle_, number, nanoseconds);
    }

  private:
    const VirtualBoardFunctions& control_;
    std::size_t bytes_;
    std::vector<std::shared_ptr<std::byte[]>> ring_;
    void* handle_ = nullptr;
    VirtualBoardLosses before_{}; // the acquisition
};

Acquisition::Acquisition(const Board& board, const AcquisitionOptions& options)
    : board_(board)
    , options_(options)
    , format_(frameFormat(board))
    , memory_(options.memory) {
    if (memory_ == nullptr) {
        if (board.virtualBoard() == nullptr) {
            throw std::logic_error("an acquisition from another than a virtual board needs the memory of its runtime");
        }
        pool_.emplace(format_.bytes(), options.places);
        own_ = std::make_unique<BoardMemory>(board, *pool_, options.places);
        memory_ = own_.get();
    } else {
        if (memory_->bytesPerPlace() < format_.bytes()) {
            throw FrameSizeError("a picture has " + sizeText(format_.bytes()) + ", and a place of the memory " +
                                 sizeText(memory_->bytesPerPlace()));
        }
        pool_.emplace(memory_->bytesPerPlace(), memory_->places());
    }
    const std::int32_t code =
        board.applet()->Fg_AcquireEx(board, options.dma, options.pictures, options.flag, memory_->handle());
    if (code < 0) {
        throw AppletError(code, "starting the acquisition was refused");
    }
}

Acquisition::~Acquisition() {
    if (isRunning_) {
        board_.applet()->Fg_stopAcquireEx(board_, options_.dma, memory_->handle(), 0);
    }
}

void Acquisition::stop() {
    if (!std::exchange(isRunning_, false)) {
        return;
    }
    const std::int32_t code = board_.applet()->Fg_stopAcquireEx(board_, options_.dma, memory_->handle(), 0);
    if (code < 0) {
        throw AppletError(code, "stopping the acquisition was refused");
    }
}

std::int64_t Acquisition::last() const {
    const std::int64_t number = board_.applet()->Fg_getLastPicNumberEx(board_, options_.dma, memory_->handle());
    if (number < 0) {
        throw AppletError(static_cast<std::int32_t>(number), "asking for the last picture's number was refused");
    }
    return number;
}

std::uint64_t Acquisition::lost() const {
    if (board_.virtualBoard() == nullptr) {
        return lost_; // the number of that status is the runtime's own
    }
    return static_cast<std::uint64_t>(
        std::max<std::int64_t>(0, board_.applet()->Fg_getStatusEx(board_, VIRTUAL_BOARD_STATUS_PICTURES_LOST, 0,
                                                                  options_.dma, memory_->handle())));
}

bool Acquisition::hasCome(std::int64_t code, std::int64_t number) const {
    if (code < 0 && code != timedOut) {
        throw AppletError(static_cast<std::int32_t>(code), "waiting for a picture was refused");
    }
    return code >= number;
}

bool Acquisition::wait(std::int64_t number, double timeout) const {
    if (last() >= number) {
        return true;
    }
    if (!isRunning_ || !(timeout > 0)) {
        return false;
    }
    timeout = std::min(timeout, longestWait);
    const double seconds = own_ ? std::floor(timeout) : std::ceil(timeout);
    if (seconds > 0 && hasCome(board_.applet()->Fg_getLastPicNumberBlockingEx(
                                   board_, number, options_.dma, static_cast<std::int32_t>(seconds), memory_->handle()),
                               number)) {
        return true;
    }
    return own_ && timeout > seconds &&
           hasCome(own_->wait(number, static_cast<std::uint64_t>(std::llround((timeout - seconds) * 1e9))), number);
}

void Acquisition::skipTo(std::int64_t number) {
    skipped_ += static_cast<std::uint64_t>(std::max<std::int64_t>(0, number - 1 - taken_));
    taken_ = std::max(taken_, number - 1);
}

FrameInformation Acquisition::informationOf(const HeldPicture& picture, std::int64_t number) const {
    return {.format = format_,
            .number = number,
            .lost = picture.lost,
            .missing = picture.missing,
            .skipped = skipped_,
            .timestamp = picture.timestamp,
            .triggerTime = picture.triggerTime};
}

std::optional<Frame> Acquisition::takeFrom(std::int64_t number) {
    skipTo(number);
    const std::optional<HeldPicture> picture = memory_->find(number);
    if (!picture) {
        skipTo(number + 1);
        return std::nullopt;
    }
    if (picture->size != format_.bytes()) {
        taken_ = number;
        throw FrameSizeError("picture " + std::to_string(number) +
                             (picture->size < format_.bytes() ? " is smaller" : " is larger") + " than the " +
                             sizeText(format_.bytes()) +
                             " of the settings at the start of the acquisition: they were "
                             "changed meanwhile");
    }
    const FrameInformation information = informationOf(*picture, number);
    std::shared_ptr<std::byte[]> memory = memory_->take(number, pool_->take());
    if (memory == nullptr) {
        skipTo(number + 1);
        return std::nullopt;
    }
    taken_ = number;
    lost_ = picture->lost;
    return Frame(information, std::move(memory));
}

std::optional<Frame> Acquisition::next(double timeout) {
    while (!isFinished() && wait(taken_ + 1, timeout)) {
        const std::int64_t oldest = last() - static_cast<std::int64_t>(memory_->places()) + 1;
        if (std::optional<Frame> frame = takeFrom(std::max(taken_ + 1, oldest))) {
            return frame;
        }
    }
    return std::nullopt;
}

std::optional<Frame> Acquisition::newest(double timeout) {
    while (!isFinished() && wait(taken_ + 1, timeout)) {
        if (std::optional<Frame> frame = takeFrom(last())) {
            return frame;
        }
    }
    return std::nullopt;
}

std::optional<FrameInformation> Acquisition::copyNext(std::span<std::byte> destination, double timeout) {
    if (destination.size() < format_.bytes()) {
        throw FrameSizeError("a picture has " + sizeText(format_.bytes()) + ", and the memory for it " +
                             sizeText(destination.size()));
    }
    const std::optional<Frame> frame = next(timeout);
    if (!frame) {
        return std::nullopt;
    }
    std::ranges::copy(frame->bytes(), destination.begin());
    return frame->information();
}

} // namespace qelm::host
