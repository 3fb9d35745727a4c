#pragma once

#include <condition_variable>
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

} // namespace qelm::tool
