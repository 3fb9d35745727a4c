#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qelm::virtual_board {

/** The memory that pictures are transferred to: so many places, used in turn. Pictures count from 1. */
class FrameMemory {
  public:
    struct Picture {
        const std::byte* bytes = nullptr; /**< null when the picture is not, or no longer, there */
        std::size_t size = 0;             /**< of what the transfer filled */
    };

    /** @throws std::bad_alloc */
    FrameMemory(std::size_t bytesPerPicture, std::size_t pictures)
        : bytesPerPicture_(bytesPerPicture)
        , bytes_(bytesPerPicture * pictures)
        , sizes_(pictures, 0) {}

    std::int64_t last() const { return last_; }
    void clear() { last_ = 0; }

    /** Takes the next picture; what exceeds its place is cut off. */
    void add(const std::vector<std::byte>& picture);
    Picture picture(std::int64_t number) const;

  private:
    std::size_t place(std::int64_t number) const { return static_cast<std::size_t>(number - 1) % sizes_.size(); }

    std::size_t bytesPerPicture_;
    std::vector<std::byte> bytes_;
    std::vector<std::size_t> sizes_;
    std::int64_t last_ = 0;
};

} // namespace qelm::virtual_board
