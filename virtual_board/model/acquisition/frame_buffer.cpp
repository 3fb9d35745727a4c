#include "model/acquisition/frame_buffer.h"

#include <utility>

namespace qelm::virtual_board {

std::vector<std::byte> FrameBuffer::take(std::size_t bytes) {
    std::vector<std::byte> room = std::exchange(spare_, {});
    room.resize(bytes);
    return room;
}

void FrameBuffer::add(Picture picture) {
    used_ += picture.bytes.size();
    pictures_.push_back(std::move(picture));
}

void FrameBuffer::removeFront() {
    used_ -= pictures_.front().bytes.size();
    spare_ = std::move(pictures_.front().bytes);
    pictures_.pop_front();
}

void FrameBuffer::clear() {
    pictures_.clear();
    spare_ = {};
    used_ = 0;
}

std::uint32_t FrameBuffer::percent() const {
    return static_cast<std::uint32_t>((used_ * 100 + capacity - 1) / capacity);
}

} // namespace qelm::virtual_board
