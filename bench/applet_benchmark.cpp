// What a get and a set of a parameter cost beyond what any implementation of them must do.
//
// The floor of a get: an uncontended lock and unlock of a recursive mutex, a call through a pointer as into a library,
// a virtual call to whoever knows the value. The floor of a set has the runtime's typed set of the same design
// parameter besides, on the same kind of virtual board. Floor and subject take turns in short batches, so that whatever
// else the machine does meets both; the fastest batch of each counts.

#include "runtime.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <limits>
#include <mutex>

namespace {

using namespace qelm::host;
using qelm::bench::Runtime;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr int batches = 2000;
constexpr int batch = 500; // calls; short enough to fit between two interruptions

template <typename Action>
double secondsOfBatch(Action&& action) {
    const auto start = Clock::now();
    for (int i = 0; i < batch; ++i) {
        action();
    }
    return Seconds(Clock::now() - start).count();
}

/** Times `subject` beside `floor`; the counters tell one call of each, and their quotient. */
template <typename Floor, typename Subject>
void measure(benchmark::State& state, Floor&& floor, Subject&& subject) {
    double fastestFloor = std::numeric_limits<double>::max();
    double fastestSubject = fastestFloor;
    for (auto _ : state) {
        fastestFloor = std::min(fastestFloor, secondsOfBatch(floor));
        const double seconds = secondsOfBatch(subject);
        fastestSubject = std::min(fastestSubject, seconds);
        state.SetIterationTime(seconds / batch);
    }
    state.counters["floor_ns"] = fastestFloor / batch * 1e9;
    state.counters["subject_ns"] = fastestSubject / batch * 1e9;
    state.counters["floors"] = fastestSubject / fastestFloor;
}

/** The least that a get or set goes through. */
class Door {
  public:
    virtual ~Door() = default;
    virtual std::int32_t pass(std::int32_t id, void* value) = 0;
};

class Cell final : public Door {
  public:
    std::int32_t pass(std::int32_t, void* value) override {
        const std::lock_guard guard(mutex_);
        std::memcpy(value, &value_, sizeof value_);
        return 0;
    }

  private:
    std::recursive_mutex mutex_;
    std::uint32_t value_ = 512;
};

class DesignCell final : public Door {
  public:
    DesignCell(const Runtime& runtime, const char* name) : runtime_(runtime), id_(runtime.idOf(name)) {}

    std::int32_t pass(std::int32_t, void* value) override {
        const std::lock_guard guard(mutex_);
        std::memcpy(&value_, value, sizeof value_);
        return runtime_.set(id_, &value_);
    }

  private:
    std::recursive_mutex mutex_;
    const Runtime& runtime_;
    std::int32_t id_;
    std::uint32_t value_ = 0;
};

std::int32_t pass(Door* door, std::int32_t id, void* value) {
    return door->pass(id, value);
}
std::int32_t (*volatile exportedPass)(Door*, std::int32_t,
                                      void*) = pass; // volatile: the compiler must not see through it

void getCached(benchmark::State& state) {
    const Applet applet;
    const Board board(applet);
    Cell cell;
    std::uint32_t value = 0;
    measure(
        state, [&] { benchmark::DoNotOptimize(exportedPass(&cell, FG_WIDTH, &value)); },
        [&] { benchmark::DoNotOptimize(applet->Fg_getParameterWithType(board, FG_WIDTH, &value, 0, 2)); });
}
BENCHMARK(getCached)->Iterations(batches)->UseManualTime();

void setWithOneDesignWrite(benchmark::State& state) {
    const Applet applet;
    const Board board(applet);
    const Runtime runtime(applet);
    DesignCell cell(runtime, "Device1_Process0_NoiseFilter_Select_Value");
    std::uint32_t value = 1;
    if (exportedPass(&cell, FG_NOISEFILTER, &value) != 0 ||
        applet->Fg_setParameterWithType(board, FG_NOISEFILTER, &value, 0, 2) != 0) {
        state.SkipWithError("a set was refused");
    }
    measure(
        state,
        [&] {
            value ^= 1U;
            benchmark::DoNotOptimize(exportedPass(&cell, FG_NOISEFILTER, &value));
        },
        [&] {
            value ^= 1U;
            benchmark::DoNotOptimize(applet->Fg_setParameterWithType(board, FG_NOISEFILTER, &value, 0, 2));
        });
}
BENCHMARK(setWithOneDesignWrite)->Iterations(batches)->UseManualTime();

void setRefused(benchmark::State& state) {
    const Applet applet;
    const Board board(applet);
    const std::uint32_t value = 2;
    for (auto _ : state) {
        benchmark::DoNotOptimize(applet->Fg_setParameterWithType(board, FG_NOISEFILTER, &value, 0, 2));
    }
}
BENCHMARK(setRefused);

} // namespace
