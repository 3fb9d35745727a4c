#pragma once

#include "board.h"

#include "qelm/host/acquisition.h"

#include <memory>
#include <mutex>
#include <optional>

namespace qelm::python {

/** A running acquisition: an iterator over its frames. Ends with its last frame, `close`, or the board. */
class Frames {
  public:
    /** @param timeout of each frame, in seconds of the board's time; @param newest leave out all but the newest */
    Frames(std::shared_ptr<Board> board, std::int64_t limit, double timeout, std::size_t places, bool newest);
    ~Frames();
    Frames(const Frames&) = delete;
    Frames& operator=(const Frames&) = delete;

    /** @throws pybind11::stop_iteration, Refusal as qelm.Timeout */
    host::Frame next();
    void close();
    std::uint64_t lost() const;
    std::uint64_t skipped() const;
    /** Called by the board when it is closed. */
    void end();

  private:
    std::shared_ptr<Board> board_;
    double timeout_;
    bool newest_;
    mutable std::mutex mutex_;
    std::optional<host::Acquisition> acquisition_;
    std::uint64_t lost_ = 0; // as it was at the end
    std::uint64_t skipped_ = 0;
};

} // namespace qelm::python
