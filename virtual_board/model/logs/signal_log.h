#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qelm::virtual_board {

/** The changes of a board's signals over virtual time, while they are recorded. */
class SignalLog {
  public:
    struct Change {
        std::uint64_t nanoseconds;
        std::uint32_t signal;
        std::uint32_t value;
    };

    /** Recording is off at first and starts with an empty list. */
    void record(bool record) {
        recording_ = record;
        if (record) {
            changes_.clear();
            values_.clear();
        }
    }
    bool isRecording() const { return recording_; }

    /** The values of all signals at this time; the first ones all count as changes. */
    template <std::size_t count>
    void add(const std::array<std::uint32_t, count>& values, std::uint64_t nanoseconds) {
        const bool isFirst = values_.empty();
        values_.resize(count);
        for (std::size_t signal = 0; signal < count; ++signal) {
            if (isFirst || values_[signal] != values[signal]) {
                values_[signal] = values[signal];
                changes_.push_back({nanoseconds, static_cast<std::uint32_t>(signal), values[signal]});
            }
        }
    }
    const std::vector<Change>& changes() const { return changes_; }

  private:
    bool recording_ = false;
    std::vector<std::uint32_t> values_;
    std::vector<Change> changes_;
};

} // namespace qelm::virtual_board
