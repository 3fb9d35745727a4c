// What the console's server does for each picture it sends: reducing it to a screen, and its histogram.

#include "serve/view.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>

namespace {

using namespace qelm;

/** Noise of 12 bits, so that neighbouring values differ. */
host::Frame noise(std::int32_t side) {
    const host::FrameFormat format{.width = side, .height = side, .bits = 16, .fullScale = 4095};
    const std::shared_ptr<std::byte[]> bytes(new std::byte[format.bytes()]);
    std::minstd_rand random(1);
    for (std::size_t i = 0; i < format.bytes(); i += 2) {
        const auto value = static_cast<std::uint16_t>(random() % 4096);
        bytes.get()[i] = static_cast<std::byte>(value & 255U);
        bytes.get()[i + 1] = static_cast<std::byte>(value >> 8U);
    }
    return host::Frame({.format = format}, bytes);
}

void reduceFrame(benchmark::State& state) {
    const host::Frame frame = noise(static_cast<std::int32_t>(state.range(0)));
    const server::View view = server::fittingView(
        {.outWidth = 1024, .outHeight = 1024, .reduce = static_cast<server::Reduction>(state.range(1))},
        frame.format());
    for (auto _ : state) {
        benchmark::DoNotOptimize(server::reduce(frame, view));
    }
    state.SetLabel(std::string(server::reductionName(view.reduce)));
}
BENCHMARK(reduceFrame)->ArgsProduct({{1024, 2048, 8192}, {0, 1, 2}})->Unit(benchmark::kMillisecond);

void histogram(benchmark::State& state) {
    const host::Frame frame = noise(static_cast<std::int32_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(server::histogramOf(frame));
    }
}
BENCHMARK(histogram)->Arg(1024)->Arg(8192)->Unit(benchmark::kMillisecond);

} // namespace
