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

/** Objects handed out by address as C handles: owns them, finds them, and counts those not taken back. */
template <typename Object, typename Owner = std::shared_ptr<Object>>
class Handles {
  public:
    Object* give(Owner object) {
        Object* address = object.get();
        const std::lock_guard guard(mutex_);
        objects_.emplace(address, std::move(object));
        return address;
    }
    /** @return the object at this address, or null when there is none */
    Owner find(const void* address) {
        const std::lock_guard guard(mutex_);
        const auto place = objects_.find(address);
        return place == objects_.end() ? Owner{} : place->second;
    }
    /** @return what was taken back, or null */
    Owner takeBack(const void* address) {
        const std::lock_guard guard(mutex_);
        const auto place = objects_.find(address);
        if (place == objects_.end()) {
            return Owner{};
        }
        Owner object = std::move(place->second);
        objects_.erase(place);
        return object;
    }
    std::int32_t count() {
        const std::lock_guard guard(mutex_);
        return static_cast<std::int32_t>(objects_.size());
    }

  private:
    std::mutex mutex_;
    std::unordered_map<const void*, Owner> objects_;
};

/** The one model of this process. */
struct Process {
    Handles<VirtualBoard> boards;
    Handles<DesignImage> images;
    Handles<RuntimeHandle> handles;
    Handles<void, Pixels> pixels;
    Handles<FrameAllocation> frames;
    std::atomic<std::int32_t> startUpError{ok}; /**< of the latest init function */

    static Process& instance();
};

} // namespace qelm::virtual_board
