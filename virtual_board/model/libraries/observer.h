#pragma once

#include "model/codes.h"
#include "virtual_board.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace qelm::virtual_board {

/** What a call into a vendor library is, as far as it is known before the call runs. */
struct Call {
    VirtualBoard* board = nullptr;
    const char* function = "";
    std::string target;
    bool isWrite = false;
    bool canFail = true; ///< not so for functions that answer nothing
};

/** What a call carried in or out. */
struct CallValue {
    std::string text;
    std::uint64_t number = 0;
    std::uint32_t index = 0;
};

/** What a function of a vendor library answers, and the error that goes with it. */
template <typename Result>
struct Outcome {
    Result result{};
    std::int32_t error = ok;
};

/** An outcome of a function that answers its error code. */
inline Outcome<std::int32_t> code(std::int32_t error) {
    return {error, error};
}

/**
 * Sees every call into the vendor libraries of this process: records and prints them, and lets chosen ones fail.
 * While nobody asked for either, a call costs one relaxed load.
 */
class Observer {
  public:
    static Observer& instance();

    bool isWatching() const { return watching_.load(std::memory_order_relaxed); }
    /** @return the code with which the call has to fail, if it has to; counts the call for every fault it matches */
    std::optional<std::int32_t> fault(const Call& call);
    void record(const Call& call, const CallValue& value, std::int64_t result);

    void startTrace();
    void stopTrace();
    std::size_t traceLength();
    const VirtualBoardTraceEntry* traceAt(std::size_t position);

    void addFault(VirtualBoard* board, const char* function, const char* target, std::uint32_t skip,
                  std::uint32_t count, std::int32_t code);
    void clearFaults();
    /** Forgets the faults of a closed board, so that none hits a later board at its address. */
    void forget(const VirtualBoard* board);

  private:
    struct Record {
        std::string function, target, value;
        VirtualBoardTraceEntry entry;
    };
    struct Fault {
        VirtualBoard* board;
        std::optional<std::string> function, target;
        std::uint32_t skip, count;
        std::int32_t code;
    };

    Observer();
    void print(const Call& call, const CallValue& value, std::int64_t result);
    void updateWatching();

    std::atomic<bool> watching_{false};
    std::mutex mutex_;
    bool recording_ = false;
    std::deque<Record> trace_; // a deque, since entries are handed out by address
    std::vector<Fault> faults_;
    std::FILE* output_ = nullptr;
};

/** What a function answers when it fails with `error`: null, false, 0 where it is unsigned, or the error itself. */
template <typename Result>
Outcome<Result> failed(std::int32_t error) {
    if constexpr (std::is_pointer_v<Result> || std::is_unsigned_v<Result>) { // bool, too
        return {Result{}, error};
    } else {
        return {static_cast<Result>(error), error};
    }
}

/**
 * Runs one call into a vendor library and lets the observer record it or make it fail.
 *
 * @param describe  () -> Call; called only when somebody watches
 * @param value     (const Outcome&) -> CallValue; likewise, after the call
 * @param work      () -> Outcome<Result>; not called when the call has to fail
 */
template <typename Describe, typename Value, typename Work>
auto observe(Describe&& describe, Value&& value, Work&& work) noexcept {
    using Result = decltype(work().result);
    const auto run = [&]() -> Outcome<Result> {
        try {
            return work();
        } catch (const std::bad_alloc&) {
            return failed<Result>(systemError);
        }
    };
    Observer& observer = Observer::instance();
    if (!observer.isWatching()) [[likely]] {
        return run();
    }
    const Call call = describe();
    const std::optional<std::int32_t> fault = call.canFail ? observer.fault(call) : std::nullopt;
    const Outcome<Result> outcome = fault ? failed<Result>(*fault) : run();
    std::int64_t told = 0;
    if constexpr (std::is_pointer_v<Result>) {
        told = outcome.result != nullptr ? 1 : 0;
    } else {
        told = static_cast<std::int64_t>(outcome.result);
    }
    observer.record(call, value(outcome), told);
    return outcome;
}

} // namespace qelm::virtual_board
