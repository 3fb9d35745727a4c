#include "progress.h"

#include "console.h"

#include <chrono>
#include <iostream>

namespace qelm::tool {

Progress::Progress(std::string text) : text_(std::move(text)) {
    if (errorsGoToTerminal()) {
        thread_ = std::thread([this] { show(); });
    }
}

Progress::~Progress() {
    if (thread_.joinable()) {
        {
            const std::lock_guard lock(mutex_);
            finished_ = true;
        }
        finishing_.notify_one();
        thread_.join();
    }
}

void Progress::show() {
    using namespace std::chrono_literals;
    std::unique_lock lock(mutex_);
    int seconds = 0;
    while (!finishing_.wait_for(lock, 1s, [this] { return finished_; })) {
        std::cerr << '\r' << text_ << " ... " << ++seconds << " s" << std::flush;
    }
    if (seconds > 0) {
        std::cerr << '\r' << std::string(text_.size() + 16, ' ') << '\r' << std::flush;
    }
}

} // namespace qelm::tool
