#pragma once

#include "model/acquisition/frame_memory.h"
#include "model/design.h"
#include "model/locked_board.h"
#include "virtual_board.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace qelm::virtual_board {

/** What the design image loader gives out. */
struct DesignImage {
    std::shared_ptr<const Design> design;
    std::int32_t number = 0;
};

/** What the runtime's init functions give out. */
struct RuntimeHandle {
    std::shared_ptr<VirtualBoard> board;
    std::shared_ptr<const Design> design;
    std::int32_t designNumber = 0;
    std::atomic<std::int32_t> lastError{ok};
};

/** Memory for pictures of one board. */
struct FrameAllocation {
    std::shared_ptr<VirtualBoard> board;
    std::shared_ptr<FrameMemory> memory;
};

/** Things given out by address: owns them, knows which are still out, and counts them. */
template <typename Thing, typename Owner = std::shared_ptr<Thing>>
class GivenOut {
  public:
    Thing* give(Owner thing) {
        Thing* address = thing.get();
        const std::lock_guard guard(mutex_);
        things_.emplace(address, std::move(thing));
        return address;
    }
    /** @return the thing at this address, or null when none is out there */
    Owner find(const void* address) {
        const std::lock_guard guard(mutex_);
        const auto place = things_.find(address);
        return place == things_.end() ? Owner{} : place->second;
    }
    /** @return what was taken back, or null */
    Owner takeBack(const void* address) {
        const std::lock_guard guard(mutex_);
        const auto place = things_.find(address);
        if (place == things_.end()) {
            return Owner{};
        }
        Owner thing = std::move(place->second);
        things_.erase(place);
        return thing;
    }
    std::int32_t count() {
        const std::lock_guard guard(mutex_);
        return static_cast<std::int32_t>(things_.size());
    }

  private:
    std::mutex mutex_;
    std::unordered_map<const void*, Owner> things_;
};

/** The one model of this process. */
struct Process {
    GivenOut<VirtualBoard> boards;
    GivenOut<DesignImage> images;
    GivenOut<RuntimeHandle> handles;
    GivenOut<void, Pixels> pixels;
    GivenOut<FrameAllocation> frames;
    std::atomic<std::int32_t> startUpError{ok}; /**< of the latest init function */

    static Process& instance();
};

} // namespace qelm::virtual_board
