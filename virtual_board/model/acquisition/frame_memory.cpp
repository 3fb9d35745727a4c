#include "model/acquisition/frame_memory.h"

#include <algorithm>

namespace qelm::virtual_board {

void FrameMemory::add(const std::vector<std::byte>& picture) {
    ++last_;
    const std::size_t size = std::min(picture.size(), bytesPerPicture_);
    std::copy_n(picture.begin(), size, bytes_.begin() + static_cast<std::ptrdiff_t>(place(last_) * bytesPerPicture_));
    sizes_[place(last_)] = size;
}

FrameMemory::Picture FrameMemory::picture(std::int64_t number) const {
    const auto kept = static_cast<std::int64_t>(sizes_.size());
    if (number < 1 || number > last_ || number <= last_ - kept) {
        return {};
    }
    return {bytes_.data() + place(number) * bytesPerPicture_, sizes_[place(number)]};
}

} // namespace qelm::virtual_board
