#include "serve/feed.h"

#include <algorithm>

namespace qelm::server {

void Feed::add(RecordType type, Json json) {
    {
        const std::lock_guard guard(mutex_);
        records_.push_back({type, std::move(json)});
        if (records_.size() > mostRecords) {
            records_.pop_front();
            ++first_;
        }
    }
    notify();
}

void Feed::notify() {
    {
        const std::lock_guard guard(mutex_);
        ++generation_;
    }
    news_.notify_all();
}

std::uint64_t Feed::end() const {
    const std::lock_guard guard(mutex_);
    return first_ + records_.size();
}

std::vector<Record> Feed::take(std::uint64_t& position) const {
    const std::lock_guard guard(mutex_);
    const std::uint64_t end = first_ + records_.size();
    const std::uint64_t start = std::clamp(position, first_, end);
    position = end;
    return {records_.begin() + static_cast<std::ptrdiff_t>(start - first_), records_.end()};
}

void Feed::wait(std::uint64_t& seen, std::chrono::milliseconds most) const {
    std::unique_lock lock(mutex_);
    news_.wait_for(lock, most, [&] { return generation_ != seen; });
    seen = generation_;
}

} // namespace qelm::server
