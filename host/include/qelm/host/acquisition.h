#pragma once

#include "qelm/host/frame.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>

namespace qelm::host {

/** Memory is too small for a picture: of the caller's, or because the settings grew while pictures were acquired. */
class FrameSizeError : public std::length_error {
  public:
    using std::length_error::length_error;
};

/** What a runtime's memory holds of one picture. */
struct HeldPicture {
    std::span<const std::byte> bytes; ///< what its place holds
    std::size_t size = bytes.size();  ///< of the whole picture, which may be more
    std::optional<std::uint64_t> timestamp{};
    std::optional<std::uint64_t> triggerTime{};
    std::uint64_t lost = 0; ///< before this picture, since the start of the acquisition, as is `missing`
    std::uint64_t missing = 0;
};

/**
 * The memory that a runtime puts pictures into, one place after the other and then again from the first. On a virtual
 * board the acquisition makes its own. Elsewhere memory is the runtime's affair: the application allocates it there and
 * tells through this interface where the pictures lie.
 */
class PictureMemory {
  public:
    virtual ~PictureMemory() = default;

    /** The memory that Fg_AcquireEx takes. */
    virtual void* handle() const = 0;
    /** How many pictures are there at a time. */
    virtual std::size_t places() const = 0;
    /** The largest picture that a place takes, in bytes. */
    virtual std::size_t bytesPerPlace() const = 0;
    /** @return nothing when the picture has not come, or its place is taken again */
    virtual std::optional<HeldPicture> find(std::int64_t number) const = 0;
    /**
     * The pixels of a picture as memory of their own. Copies unless overridden.
     *
     * @param replacement memory of bytesPerPlace() that nobody else uses: filled and returned, or put in the picture's
     *     place, whose own is returned then
     * @return null when the picture's place was taken again
     */
    virtual std::shared_ptr<std::byte[]> take(std::int64_t number, std::shared_ptr<std::byte[]> replacement);
};

struct AcquisitionOptions {
    std::int64_t pictures = -1; ///< after so many the acquisition ends by itself; -1 for no end
    std::size_t places = 4;     ///< of the ring: so many pictures may come before the oldest is overwritten
    /** The runtime's; it must live as long as the acquisition. Null: the virtual board's, of so many places. */
    PictureMemory* memory = nullptr;
    std::uint32_t dma = 0;
    std::int32_t flag = VIRTUAL_BOARD_ACQUIRE_STANDARD; ///< of Fg_AcquireEx, as the runtime defines it
};

/**
 * A running acquisition, from its making to its end. The runtime fills a ring of places; what is taken from it is a
 * Frame with memory of its own, which the ring replaces instead of overwriting (on a real board the pixels are copied).
 *
 * The picture format is that of the settings when the acquisition starts: who changes FG_WIDTH, FG_HEIGHT, FG_FORMAT or
 * FG_BITALIGNMENT makes a new one. For one thread at a time; the board must outlive it.
 *
 * Timeouts are seconds of the board's time. On a virtual board it passes while this waits and ends with the picture;
 * a runtime that takes whole seconds waits up to the next one. 0 only looks.
 */
class Acquisition {
  public:
    static constexpr std::int64_t endless = -1;

    /**
     * Starts to acquire.
     *
     * @throws AppletError what the runtime refuses: -2115 when the board acquires already
     * @throws FrameSizeError when memory was given and a picture does not fit a place
     * @throws std::bad_alloc
     * @throws std::logic_error without memory where there is no virtual board
     */
    explicit Acquisition(const Board& board, const AcquisitionOptions& options = {});
    /** Stops. Frames stay. */
    ~Acquisition();
    Acquisition(const Acquisition&) = delete;
    Acquisition& operator=(const Acquisition&) = delete;

    const FrameFormat& format() const { return format_; }

    /**
     * The picture after the one taken last; what was overwritten meanwhile is left out and counted as skipped.
     *
     * @return nothing when none has come in time
     * @throws FrameSizeError for a picture of another size, since the settings changed; the next call goes on behind it
     * @throws AppletError what the runtime refuses: -2116 when the acquisition is no more
     */
    std::optional<Frame> next(double timeout);
    /** The newest picture that has not been taken; older ones are left out and counted as skipped. Else as `next`. */
    std::optional<Frame> newest(double timeout);
    /**
     * As `next`, into the caller's memory.
     *
     * @throws FrameSizeError when it is smaller than format().bytes(); the picture remains the next one
     */
    std::optional<FrameInformation> copyNext(std::span<std::byte> destination, double timeout);

    /** The number of the last picture that came, 0 at first. @throws AppletError */
    std::int64_t last() const;
    /** Whether all pictures that were asked for have been taken, or left out. */
    bool isFinished() const { return options_.pictures != endless && taken_ >= options_.pictures; }
    /** Frames that the board has lost since the start, its buffer being full; elsewhere those of the last picture. */
    std::uint64_t lost() const;
    /** Pictures that came and were left out: overwritten before they were taken, or older than the newest. */
    std::uint64_t skipped() const { return skipped_; }

    /** Stops now; what has come can still be taken. @throws AppletError */
    void stop();

  private:
    class BoardMemory;

    /** @return whether picture `number` has come in time */
    bool wait(std::int64_t number, double timeout) const;
    bool hasCome(std::int64_t code, std::int64_t number) const;
    /** Goes on to a picture; those between are skipped. */
    void skipTo(std::int64_t number);
    std::optional<Frame> takeFrom(std::int64_t number);
    FrameInformation informationOf(const HeldPicture& picture, std::int64_t number) const;

    const Board& board_;
    AcquisitionOptions options_;
    FrameFormat format_;
    std::optional<FramePool> pool_;
    std::unique_ptr<BoardMemory> own_;
    PictureMemory* memory_;
    bool isRunning_ = true;
    std::int64_t taken_ = 0; // the last picture that was handed out or left out
    std::uint64_t skipped_ = 0;
    std::uint64_t lost_ = 0; // before the last picture
};

} // namespace qelm::host
