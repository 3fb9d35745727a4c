#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

namespace qelm::tool {

/**
 * While it lives, tells on a terminal that work goes on: nothing for the first second, then the text and the seconds.
 * The applet says nothing about how far it is, so neither does this.
 */
class Progress {
  public:
    explicit Progress(std::string text);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

  private:
    void show();

    std::string text_;
    std::mutex mutex_;
    std::condition_variable finishing_;
    bool finished_ = false;
    std::thread thread_; // last: it uses the others
};

/** A bar for work that consists of steps: on a terminal, once a second of it has passed. */
class ProgressBar {
  public:
    ProgressBar(std::string text, std::uint64_t steps);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void advance();

  private:
    using Clock = std::chrono::steady_clock;

    std::string text_;
    std::uint64_t steps_;
    std::uint64_t done_ = 0;
    Clock::time_point next_ = Clock::now() + std::chrono::seconds(1);
    bool shown_ = false;
};

} // namespace qelm::tool
