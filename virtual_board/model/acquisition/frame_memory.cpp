#include "model/acquisition/frame_memory.h"

#include <algorithm>

namespace qelm::virtual_board {

void FrameMemory::add(const Picture& picture) {
    ++last_;
    const std::size_t size = std::min(picture.bytes.size(), bytesPerPicture_);
    std::copy_n(picture.bytes.begin(), size,
                bytes_.begin() + static_cast<std::ptrdiff_t>(place(last_) * bytesPerPicture_));
    places_[place(last_)] = {size, picture.info};
}

FrameMemory::Transferred FrameMemory::picture(std::int64_t number) const {
    const auto kept = static_cast<std::int64_t>(places_.size());
    if (number < 1 || number > last_ || number <= last_ - kept) {
        return {};
    }
    const Place& found = places_[place(number)];
    return {bytes_.data() + place(number) * bytesPerPicture_, found.size, found.info};
}

} // namespace qelm::virtual_board
