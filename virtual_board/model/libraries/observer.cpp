#include "model/libraries/observer.h"

#include <cinttypes>
#include <cstdlib>
#include <string_view>

namespace qelm::virtual_board {

Observer& Observer::instance() {
    // Never destroyed: libraries may be called until the very end of the process.
    static Observer& observer = *new Observer;
    return observer;
}

Observer::Observer() {
    const char* file = std::getenv("QELM_VIRTUAL_BOARD_TRACE");
    if (file != nullptr && *file != '\0') {
        // Appending keeps what an earlier process of the same run has printed.
        output_ = std::string_view(file) == "-" ? stderr : std::fopen(file, "a");
        if (output_ == nullptr) {
            std::fprintf(stderr, "virtual board: the trace file %s cannot be opened\n", file);
        }
    }
    updateWatching();
}

void Observer::updateWatching() {
    watching_.store(recording_ || output_ != nullptr || !faults_.empty(), std::memory_order_relaxed);
}

std::optional<std::int32_t> Observer::fault(const Call& call) {
    const std::lock_guard guard(mutex_);
    std::optional<std::int32_t> result;
    for (Fault& fault : faults_) {
        if ((fault.board != nullptr && fault.board != call.board) ||
            (fault.function && *fault.function != call.function) || (fault.target && *fault.target != call.target)) {
            continue;
        }
        if (fault.skip > 0) {
            --fault.skip;
        } else if (fault.count > 0) {
            --fault.count;
            result = result.value_or(fault.code);
        }
    }
    return result;
}

void Observer::record(const Call& call, const CallValue& value, std::int64_t result) {
    const std::lock_guard guard(mutex_);
    if (output_ != nullptr) {
        print(call, value, result);
    }
    if (recording_) {
        Record& record = trace_.emplace_back(Record{call.function, call.target, value.text, {}});
        record.entry = {call.board,
                        record.function.c_str(),
                        record.target.c_str(),
                        record.value.c_str(),
                        value.number,
                        value.index,
                        call.isWrite ? 1 : 0,
                        result};
    }
}

void Observer::print(const Call& call, const CallValue& value, std::int64_t result) {
    std::fprintf(output_, "%s", call.function);
    if (!call.target.empty()) {
        std::fprintf(output_, " \"%s\"", call.target.c_str());
    }
    if (!value.text.empty()) {
        std::fprintf(output_, " %s %s", call.isWrite ? "=" : ":", value.text.c_str());
    }
    std::fprintf(output_, " -> %" PRId64 "\n", result);
    std::fflush(output_);
}

void Observer::startTrace() {
    const std::lock_guard guard(mutex_);
    trace_.clear();
    recording_ = true;
    updateWatching();
}

void Observer::stopTrace() {
    const std::lock_guard guard(mutex_);
    recording_ = false;
    updateWatching();
}

std::size_t Observer::traceLength() {
    const std::lock_guard guard(mutex_);
    return trace_.size();
}

const VirtualBoardTraceEntry* Observer::traceAt(std::size_t position) {
    const std::lock_guard guard(mutex_);
    return position < trace_.size() ? &trace_[position].entry : nullptr;
}

void Observer::addFault(VirtualBoard* board, const char* function, const char* target, std::uint32_t skip,
                        std::uint32_t count, std::int32_t code) {
    const auto optional = [](const char* text) {
        return text == nullptr ? std::nullopt : std::optional<std::string>(text);
    };
    const std::lock_guard guard(mutex_);
    faults_.push_back({board, optional(function), optional(target), skip, count, code});
    updateWatching();
}

void Observer::clearFaults() {
    const std::lock_guard guard(mutex_);
    faults_.clear();
    updateWatching();
}

void Observer::forget(const VirtualBoard* board) {
    const std::lock_guard guard(mutex_);
    std::erase_if(faults_, [board](const Fault& fault) { return fault.board == board; });
    updateWatching();
}

} // namespace qelm::virtual_board
