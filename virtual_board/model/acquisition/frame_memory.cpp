#include "model/acquisition/frame_memory.h"

#include <algorithm>

namespace qelm::virtual_board {

FrameMemory::FrameMemory(std::size_t bytesPerPicture, std::size_t pictures)
    : bytesPerPicture_(bytesPerPicture)
    , own_(bytesPerPicture * pictures)
    , places_(pictures) {
    for (std::size_t i = 0; i < pictures; ++i) {
        places_[i].bytes = own_.data() + i * bytesPerPicture;
    }
}

FrameMemory::FrameMemory(std::size_t bytesPerPicture, std::span<void* const> places)
    : bytesPerPicture_(bytesPerPicture)
    , places_(places.size()) {
    for (std::size_t i = 0; i < places.size(); ++i) {
        places_[i].bytes = static_cast<std::byte*>(places[i]);
    }
}

void FrameMemory::add(const Picture& picture) {
    ++last_;
    Place& place = places_[placeOf(last_)];
    place.size = std::min(picture.bytes.size(), bytesPerPicture_);
    place.info = picture.info;
    std::copy_n(picture.bytes.begin(), place.size, place.bytes);
}

FrameMemory::Transferred FrameMemory::picture(std::int64_t number) const {
    const auto kept = static_cast<std::int64_t>(places_.size());
    if (number < 1 || number > last_ || number <= last_ - kept) {
        return {};
    }
    const Place& found = places_[placeOf(number)];
    return {found.bytes, found.size, found.info};
}

bool FrameMemory::exchangePlace(std::int64_t number, std::byte* place) {
    if (!own_.empty() || picture(number).bytes == nullptr) {
        return false;
    }
    places_[placeOf(number)].bytes = place;
    return true;
}

} // namespace qelm::virtual_board
