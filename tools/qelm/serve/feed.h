#pragma once

#include "output.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/** What every page is told: changed parameters and log lines, and that something new is to be had. */
namespace qelm::server {

using Json = tool::Json;

/** The kinds of records in a stream. */
enum class RecordType : std::uint8_t { hello, frame, statistics, parameters, events, log };

struct Record {
    RecordType type;
    Json json;
};

/**
 * Records in the order in which they were added, for any number of readers, each with a position of its own. Those that
 * 200 others followed are forgotten. All functions may be called from any thread.
 */
class Feed {
  public:
    void add(RecordType type, Json json);
    /** Wakes the readers: a frame or an event has come. */
    void notify();

    /** The position of the next record. */
    std::uint64_t end() const;
    /** The records from `position` on, which becomes the next one's; none when some of them are forgotten. */
    std::optional<std::vector<Record>> take(std::uint64_t& position) const;
    /** Waits until something came since `seen`, which becomes the newest, or the time is over. */
    void wait(std::uint64_t& seen, std::chrono::milliseconds most) const;

  private:
    static constexpr std::size_t mostRecords = 200;

    mutable std::mutex mutex_;
    mutable std::condition_variable news_;
    std::deque<Record> records_;
    std::uint64_t first_ = 0; // the position of records_.front()
    std::uint64_t generation_ = 0;
};

} // namespace qelm::server
