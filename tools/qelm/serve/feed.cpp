#include "serve/feed.h"

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

std::optional<std::vector<Record>> Feed::take(std::uint64_t& position) const {
    const std::lock_guard guard(mutex_);
    if (position < first_) {
        return std::nullopt;
    }
    const auto start = static_cast<std::ptrdiff_t>(position - first_);
    position = first_ + records_.size();
    return std::vector<Record>(records_.begin() + start, records_.end());
}

void Feed::wait(std::uint64_t& seen, std::chrono::milliseconds most) const {
    std::unique_lock lock(mutex_);
    news_.wait_for(lock, most, [&] { return generation_ != seen; });
    seen = generation_;
}

} // namespace qelm::server
