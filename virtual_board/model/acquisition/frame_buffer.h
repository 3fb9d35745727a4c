#pragma once

#include "virtual_board_frames.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace qelm::virtual_board {

/** A picture on its way into the host's memory. */
struct Picture {
    std::vector<std::byte> bytes;
    VirtualBoardFrameInfo info;
};

/** The design's frame buffer: pictures wait here in their order until they are transferred. Their room is bounded. */
class FrameBuffer {
  public:
    static constexpr std::size_t capacity = std::size_t{512} << 20; /**< bytes */

    /** Whether there is room for a picture of so many bytes. */
    bool fits(std::size_t bytes) const { return bytes <= capacity - used_; }
    /** Memory for such a picture, to be filled and then added. */
    std::vector<std::byte> take(std::size_t bytes);
    void add(Picture picture);

    bool empty() const { return pictures_.empty(); }
    const Picture& front() const { return pictures_.front(); }
    void removeFront();
    void clear();

    /** 0 to 100; nothing waits at 0. */
    std::uint32_t percent() const;

  private:
    std::deque<Picture> pictures_;
    std::vector<std::byte> spare_; // the memory of the picture that left last
    std::size_t used_ = 0;
};

} // namespace qelm::virtual_board
