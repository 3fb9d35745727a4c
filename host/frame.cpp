#include "qelm/host/frame.h"

#include <cstring>
#include <mutex>
#include <stdexcept>
#include <utility>
#include <vector>

namespace qelm::host {

FrameFormat frameFormat(const Board& board) {
    FrameFormat format{board.get<std::int32_t>(FG_WIDTH), board.get<std::int32_t>(FG_HEIGHT)};
    if (board.get<std::int32_t>(FG_FORMAT) == FG_GRAY16) {
        format.bits = 16;
        format.fullScale = board.get<std::int32_t>(FG_BITALIGNMENT) == FG_LEFT_ALIGNED ? 4095U << 4 : 4095U;
    }
    return format;
}

std::uint16_t Frame::pixel(std::int32_t x, std::int32_t y) const {
    if (x < 0 || y < 0 || x >= format().width || y >= format().height) {
        throw std::out_of_range("the picture has no pixel " + std::to_string(x) + ", " + std::to_string(y));
    }
    const std::byte* row = memory_.get() + static_cast<std::size_t>(y) * format().bytesPerRow();
    if (format().bits == 8) {
        return std::to_integer<std::uint16_t>(row[x]);
    }
    const std::byte* low = row + static_cast<std::size_t>(x) * 2;
    return static_cast<std::uint16_t>(std::to_integer<unsigned>(low[0]) | std::to_integer<unsigned>(low[1]) << 8);
}

struct FramePool::Store {
    Store(std::size_t bytes_, std::size_t limit_) : bytes(bytes_), limit(limit_) { spares.reserve(limit); }

    const std::size_t bytes;
    const std::size_t limit;
    std::mutex mutex;
    bool closed = false;
    std::vector<std::unique_ptr<std::byte[]>>
        spares; // never beyond the room that was reserved: giving back cannot fail
};

FramePool::FramePool(std::size_t bytes, std::size_t spares) : store_(std::make_shared<Store>(bytes, spares)) {}

FramePool::~FramePool() {
    const std::lock_guard lock(store_->mutex);
    store_->closed = true;
    store_->spares.clear();
}

std::shared_ptr<std::byte[]> FramePool::take() {
    std::unique_ptr<std::byte[]> buffer;
    {
        const std::lock_guard lock(store_->mutex);
        if (!store_->spares.empty()) {
            buffer = std::move(store_->spares.back());
            store_->spares.pop_back();
        }
    }
    if (buffer == nullptr) {
        buffer = std::make_unique_for_overwrite<std::byte[]>(store_->bytes);
    }
    // Should the shared pointer fail to be made, it calls the deleter itself.
    return {buffer.release(), [store = store_](std::byte* bytes) {
                std::unique_ptr<std::byte[]> returned(bytes);
                const std::lock_guard lock(store->mutex);
                if (!store->closed && store->spares.size() < store->limit) {
                    store->spares.push_back(std::move(returned));
                }
            }};
}

std::size_t FramePool::bytes() const {
    return store_->bytes;
}

std::size_t FramePool::spares() const {
    const std::lock_guard lock(store_->mutex);
    return store_->spares.size();
}

} // namespace qelm::host
