#pragma once

#include "model/acquisition/frame_buffer.h"
#include "virtual_board_frames.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qelm::virtual_board {

/** The memory that pictures are transferred to: so many places, used in turn. Pictures count from 1. */
class FrameMemory {
  public:
    /** A picture that has been transferred. */
    struct Transferred {
        const std::byte* bytes = nullptr; /**< null when the picture is not, or no longer, there */
        std::size_t size = 0;             /**< of what the transfer filled */
        VirtualBoardFrameInfo info{};
    };

    /** Memory of its own. @throws std::bad_alloc */
    FrameMemory(std::size_t bytesPerPicture, std::size_t pictures);
    /** In the caller's places. @throws std::bad_alloc */
    FrameMemory(std::size_t bytesPerPicture, std::span<void* const> places);

    std::int64_t last() const { return last_; }
    void clear() { last_ = 0; }

    /** Takes the next picture; what exceeds its place is cut off. */
    void add(const Picture& picture);
    Transferred picture(std::int64_t number) const;
    /** Of the caller's places. @return whether the picture was there, which the caller keeps */
    bool exchangePlace(std::int64_t number, std::byte* place);

  private:
    struct Place {
        std::byte* bytes = nullptr;
        std::size_t size = 0;
        VirtualBoardFrameInfo info{};
    };
    std::size_t placeOf(std::int64_t number) const { return static_cast<std::size_t>(number - 1) % places_.size(); }

    std::size_t bytesPerPicture_;
    std::vector<std::byte> own_; // empty when the places are the caller's
    std::vector<Place> places_;
    std::int64_t last_ = 0;
};

} // namespace qelm::virtual_board
