// What a software trigger pulse costs beside the bare write of its command through the runtime. Bursts of 2040 pulses
// go to a board in the same state either way: triggers come from the queue, which is emptied between bursts, outside
// the time taken. The two take turns, so that whatever else the machine does meets both; the fastest burst of each
// counts.

#include "runtime.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <string>

namespace {

using namespace qelm::host;
using Clock = std::chrono::steady_clock;

constexpr std::uint32_t pulses = 2040;
const std::string unit = "Device1_Process1_Trigger_TriggerCam0_";

template <typename Action>
double secondsOf(Action&& action) {
    const auto start = Clock::now();
    action();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void softwareTriggerBurst(benchmark::State& state) {
    const Applet applet;
    Board board(applet);
    board.change(FG_AREATRIGGERMODE, std::uint32_t{ATM_SOFTWARE});
    board.change(FG_TRIGGERQUEUE_MODE, std::int32_t{FG_ON});
    board.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});

    const qelm::bench::Runtime runtime(applet);
    const std::int32_t command = runtime.idOf((unit + "TriggerMode_SoftwareTrigger_Mode").c_str());
    const auto write = [&](const char* name, std::uint32_t value) {
        if (runtime.set(runtime.idOf((unit + name).c_str()), &value) != 0) {
            state.SkipWithError("a design write was refused");
        }
    };
    write("Generators_EnableQueue_Select", 1);
    write("Generators_Queue_QueueFullValue_Number", pulses);
    write("Generators_Queue_QueueEnabled_Select", 1);
    write("PulseFormGenerators_Enable_Select", 1);

    double fastestBare = std::numeric_limits<double>::max();
    double fastestBurst = fastestBare;
    for (auto _ : state) {
        fastestBare = std::min(fastestBare, secondsOf([&] {
                                   for (std::uint32_t i = 0; i < pulses; ++i) {
                                       const std::uint32_t value = 2;
                                       benchmark::DoNotOptimize(runtime.set(command, &value));
                                   }
                               }));
        write("Generators_ClearQueuePulse_Mode", 1);
        write("Generators_ClearQueuePulse_Mode", 0);
        const double seconds = secondsOf([&] { board.change(FG_SENDSOFTWARETRIGGER, pulses); });
        fastestBurst = std::min(fastestBurst, seconds);
        board.change(FG_TRIGGERSTATE, std::uint32_t{TS_SYNC_STOP});
        board.change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
        state.SetIterationTime(seconds);
    }
    state.counters["bare_ns"] = fastestBare / pulses * 1e9;
    state.counters["pulse_ns"] = fastestBurst / pulses * 1e9;
    state.counters["bares"] = fastestBurst / fastestBare;
}
BENCHMARK(softwareTriggerBurst)->Iterations(500)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace
