#pragma once

#include <exception>

/**
 * What happens on Ctrl-C, and when the system asks the program to end: the verb stops at its next step; one that takes
 * long is not waited for. Either way no unfinished or temporary file stays.
 */
namespace qelm::tool {

/** Unwinds a verb that was asked to end. */
class Interrupted : public std::exception {
  public:
    explicit Interrupted(int status) : status_(status) {}
    const char* what() const noexcept override { return "interrupted"; }
    /** What the program exits with: 128 and the signal's number, as shells have it; 130 for Ctrl-C. */
    int status() const { return status_; }

  private:
    int status_;
};

/** Once, before any other thread is started. */
void watchForInterruption();
/** Between the steps of a verb. @throws Interrupted when it has been asked to end */
void checkForInterruption();

} // namespace qelm::tool
