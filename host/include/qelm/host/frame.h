#pragma once

#include "qelm/host/board.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

/** Pictures as objects that live as long as somebody looks at them. */
namespace qelm::host {

/** The shape of a picture: rows without gaps, from the top down; pixels of 16 bits have the low byte first. */
struct FrameFormat {
    std::int32_t width = 0;        ///< pixels of a row
    std::int32_t height = 0;       ///< rows
    std::int32_t bits = 8;         ///< that a pixel takes: 8 or 16
    std::uint32_t fullScale = 255; ///< what white is: 255, 4095 (12 bits, right-aligned) or 65520 (left-aligned)

    std::size_t pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
    std::size_t bytesPerRow() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(bits) / 8; }
    std::size_t bytes() const { return bytesPerRow() * static_cast<std::size_t>(height); }
    bool operator==(const FrameFormat&) const = default;
};

/** What the board's settings (FG_WIDTH, FG_HEIGHT, FG_FORMAT, FG_BITALIGNMENT) make now. @throws AppletError */
FrameFormat frameFormat(const Board& board);

/** What is known about a picture. Times are nanoseconds of the board's clock. */
struct FrameInformation {
    FrameFormat format{};
    std::int64_t number = 0;                  ///< from 1, since the start of the acquisition
    std::uint64_t lost = 0;                   ///< frames that the board had no room for since the start, up to this one
    std::uint64_t missing = 0;                ///< triggers that the camera did not answer with a frame, likewise
    std::uint64_t skipped = 0;                ///< pictures that came before this one, but were left out or overwritten
    std::optional<std::uint64_t> timestamp{}; ///< when the camera had sent the frame
    std::optional<std::uint64_t> triggerTime{}; ///< when its exposure began
};

/**
 * A picture. Copies share its pixels, which never change; the last copy gives their memory back. May outlive the
 * acquisition, the board and the applet, and may be handed to any thread.
 */
class Frame {
  public:
    Frame(const FrameInformation& information, std::shared_ptr<const std::byte[]> memory)
        : information_(information)
        , memory_(std::move(memory)) {}

    const FrameInformation& information() const { return information_; }
    const FrameFormat& format() const { return information_.format; }
    std::int64_t number() const { return information_.number; }
    /** All pixels: format().bytes() bytes. */
    std::span<const std::byte> bytes() const { return {memory_.get(), format().bytes()}; }
    /** @param x, y from the upper left corner @throws std::out_of_range */
    std::uint16_t pixel(std::int32_t x, std::int32_t y) const;
    /** Keeps the pixels there for somebody who knows no Frame. */
    const std::shared_ptr<const std::byte[]>& memory() const { return memory_; }

  private:
    FrameInformation information_;
    std::shared_ptr<const std::byte[]> memory_;
};

/**
 * Memory for frames of one size. A buffer comes back with its last reference and is handed out again; when none is
 * there, a new one is made, so that nobody ever waits for a buffer and none is in two hands. Safe from any thread.
 */
class FramePool {
  public:
    /** @param spares as many buffers as are kept for their next use at most; the others are freed */
    FramePool(std::size_t bytes, std::size_t spares);
    /** Buffers that are still out stay valid and are freed by their last reference. */
    ~FramePool();
    FramePool(const FramePool&) = delete;
    FramePool& operator=(const FramePool&) = delete;

    /** @return a buffer with whatever is in it @throws std::bad_alloc */
    std::shared_ptr<std::byte[]> take();
    std::size_t bytes() const;
    /** How many buffers wait for their next use now. */
    std::size_t spares() const;

  private:
    struct Store;
    std::shared_ptr<Store> store_;
};

} // namespace qelm::host
