#pragma once

#include "model/board.h"
#include "model/codes.h"
#include "model/design.h"
#include "virtual_board.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <type_traits>

/**
 * What hosts and applets hold of a board: it hands out the parts to one caller at a time. A closed board keeps its
 * place as long as a runtime handle refers to it and answers -2001.
 */
struct VirtualBoard {
  public:
    using Board = qelm::virtual_board::Board;
    using Design = qelm::virtual_board::Design;

    explicit VirtualBoard(const std::shared_ptr<const Design>& design) : board_(std::make_unique<Board>(design)) {}

    /** Gives everything back that the board holds. */
    void close() {
        const std::lock_guard guard(mutex_);
        board_.reset();
    }

    /** What work(Board&) answers, a code or a count of 64 bits: -2001 when the board is closed. */
    template <typename Work>
    auto whileOpen(Work&& work) {
        const std::lock_guard guard(mutex_);
        return board_ ? work(*board_) : Answer<Work>{qelm::virtual_board::invalidBoard};
    }
    /** The same for a caller who knows a design: places in another one, which was loaded since, mean other things. */
    template <typename Work>
    auto whileRunning(const Design& design, Work&& work) {
        const std::lock_guard guard(mutex_);
        const bool runs = board_ && board_->design().get() == &design;
        return runs ? work(*board_) : Answer<Work>{qelm::virtual_board::invalidBoard};
    }

    /** Null once closed. */
    std::shared_ptr<const Design> design() {
        const std::lock_guard guard(mutex_);
        return board_ ? board_->design() : nullptr;
    }
    /** Keeps the board from its memory for pictures, which lives on when it is closed. */
    std::unique_lock<std::mutex> lock() { return std::unique_lock(mutex_); }

  private:
    template <typename Work>
    using Answer = std::invoke_result_t<Work, Board&>;

    std::mutex mutex_;
    std::unique_ptr<Board> board_; // null once closed
};
