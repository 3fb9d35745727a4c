#include "frames.h"

#include <algorithm>

namespace py = pybind11;

namespace qelm::python {
namespace {

constexpr std::int32_t timedOut = -2110; // of the runtime's blocking wait

} // namespace

Frames::Frames(std::shared_ptr<Board> board, std::int64_t limit, double timeout, std::size_t places, bool newest)
    : board_(std::move(board))
    , timeout_(timeout)
    , newest_(newest) {
    const py::gil_scoped_release release;
    board_->use([&](const host::Board& opened) {
        acquisition_.emplace(opened, host::AcquisitionOptions{.pictures = limit, .places = places});
    });
    board_->add(this);
}

Frames::~Frames() {
    close();
}

host::Frame Frames::next() {
    constexpr double piece = 0.05; // of the board's time, until Python is asked for signals
    for (double left = timeout_;;) {
        bool ended = false;
        std::optional<host::Frame> frame;
        {
            const py::gil_scoped_release release;
            board_->use([&](const host::Board&) {
                const std::lock_guard lock(mutex_);
                ended = !acquisition_ || acquisition_->isFinished();
                if (!ended) {
                    const double now = std::min(left, piece);
                    frame = newest_ ? acquisition_->newest(now) : acquisition_->next(now);
                }
            });
        }
        if (ended) {
            throw py::stop_iteration();
        }
        if (frame) {
            return *std::move(frame);
        }
        if (PyErr_CheckSignals() != 0) {
            throw py::error_already_set();
        }
        left -= piece;
        if (left <= 0) {
            Refusal refusal("no frame came within the time allowed; does the trigger unit run, and does the camera "
                            "answer it?");
            refusal.type = "Timeout";
            refusal.code = timedOut;
            throw refusal;
        }
    }
}

void Frames::close() {
    const py::gil_scoped_release release;
    board_->whileOpen([this] { end(); });
    board_->remove(this);
}

void Frames::end() {
    const std::lock_guard lock(mutex_);
    if (acquisition_) {
        lost_ = acquisition_->lost();
        skipped_ = acquisition_->skipped();
        acquisition_.reset();
    }
}

std::uint64_t Frames::lost() const {
    const py::gil_scoped_release release;
    const std::lock_guard lock(mutex_);
    return acquisition_ ? acquisition_->lost() : lost_;
}

std::uint64_t Frames::skipped() const {
    const py::gil_scoped_release release;
    const std::lock_guard lock(mutex_);
    return acquisition_ ? acquisition_->skipped() : skipped_;
}

} // namespace qelm::python
