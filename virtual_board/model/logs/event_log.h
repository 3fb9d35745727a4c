#pragma once

#include "model/design.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace qelm::virtual_board {

/** An event that the design raised. */
struct RaisedEvent {
    std::uint64_t nanoseconds; /**< of virtual time */
    std::size_t position;      /**< in the design's list of events */
};

/** The events that a board's design raises, while they are recorded. */
class EventLog {
  public:
    static constexpr std::size_t noEvent = std::numeric_limits<std::size_t>::max();

    explicit EventLog(const Design& design) : design_(design) {}

    /** The position of an event in the design's list. */
    std::size_t named(const std::string& name) const {
        for (std::size_t position = 0; const DesignEvent* event = design_.event(position); ++position) {
            if (name == event->name) {
                return position;
            }
        }
        return noEvent;
    }

    /** Recording is off at first and starts with an empty list. */
    void record(bool record) {
        recording_ = record;
        if (record) {
            events_.clear();
        }
    }
    void raise(std::size_t event, std::uint64_t nanoseconds) {
        if (recording_ && event != noEvent) {
            events_.push_back({nanoseconds, event});
        }
    }
    const std::vector<RaisedEvent>& events() const { return events_; }

  private:
    const Design& design_;
    bool recording_ = false;
    std::vector<RaisedEvent> events_;
};

} // namespace qelm::virtual_board
