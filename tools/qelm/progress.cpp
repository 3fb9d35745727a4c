#include "progress.h"

#include "console.h"

#include <chrono>
#include <iostream>

namespace qelm::tool {
namespace {

constexpr std::size_t barWidth = 40;

void clearLine(std::size_t width) {
    std::cerr << '\r' << std::string(width, ' ') << '\r' << std::flush;
}

} // namespace

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
        clearLine(text_.size() + 16);
    }
}

ProgressBar::ProgressBar(std::string text, std::uint64_t steps) : text_(std::move(text)), steps_(steps) {}

ProgressBar::~ProgressBar() {
    if (shown_) {
        clearLine(text_.size() + barWidth + 32);
    }
}

void ProgressBar::advance() {
    ++done_;
    if (Clock::now() < next_ || !errorsGoToTerminal()) {
        return;
    }
    next_ = Clock::now() + std::chrono::milliseconds(100);
    shown_ = true;
    const auto filled = static_cast<std::size_t>(done_ * barWidth / steps_);
    std::cerr << '\r' << text_ << " [" << std::string(filled, '#') << std::string(barWidth - filled, '.') << "] "
              << done_ << " of " << steps_ << std::flush;
}

} // namespace qelm::tool
