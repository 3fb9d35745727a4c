// Automatic shading correction over two images of 8192 x 8192 pixels of 16 bits, from decoded images to filled planes,
// beside the memory that must move and the plain loop.

#include "../tests/features/plain_shading.h"

#include "features/shading/shading_planes.h"
#include "vendor/nuvpix.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <vector>

namespace {

namespace shading = qelm::features::shading;
using shading::InstructionSet;
using shading::planeLimit;
using shading::Planes;
using shading::planeSize;
using shading::ReferenceImage;

/** A camera's view of a grey wall, or noise over the whole range. */
class Images {
  public:
    explicit Images(bool noise) : gray_(planeSize), black_(planeSize) {
        std::mt19937 random(1);
        for (std::size_t i = 0; i < planeSize; ++i) {
            const auto value = static_cast<std::uint32_t>(random());
            const auto low = static_cast<std::uint16_t>(value & 0xFFFF);
            const auto high = static_cast<std::uint16_t>(value >> 16);
            gray_[i] = noise ? high : static_cast<std::uint16_t>(30000 + i % planeLimit * 2 + (high & 0x7FF));
            black_[i] = noise ? low : static_cast<std::uint16_t>(600 + (low & 0x7F));
        }
        planes.allocate();
        std::memset(planes.offsets().data(), 1, planeSize * 2);
        std::memset(planes.gains().data(), 1, planeSize * 2);
    }
    ReferenceImage gray() const { return {gray_.data(), planeLimit, planeLimit, 16}; }
    ReferenceImage black() const { return {black_.data(), planeLimit, planeLimit, 16}; }

    Planes planes;

  private:
    std::vector<std::uint16_t> gray_, black_;
};

Images& images(bool noise) {
    static std::unique_ptr<Images> kept;
    static bool keptNoise = false;
    if (!kept || keptNoise != noise) {
        kept.reset();
        kept = std::make_unique<Images>(noise);
        keptNoise = noise;
    }
    return *kept;
}

enum class Target { fixed, largest, mean };

/** Reads both images as often as the mode needs and writes both planes. */
void moveMemory(benchmark::State& state, bool noise, int reads) {
    Images& data = images(noise);
    for (auto _ : state) {
        for (int read = 1; read < reads; ++read) {
            for (const void* pixels : {data.gray().pixels, data.black().pixels}) {
                const auto* words = static_cast<const std::uint64_t*>(pixels);
                std::uint64_t sums[8] = {};
                for (std::size_t i = 0; i < planeSize / 4; i += 8) {
                    for (std::size_t k = 0; k < 8; ++k) {
                        sums[k] |= words[i + k];
                    }
                }
                benchmark::DoNotOptimize(sums);
            }
        }
        std::memcpy(data.planes.offsets().data(), data.black().pixels, planeSize * 2);
        std::memcpy(data.planes.gains().data(), data.gray().pixels, planeSize * 2);
        benchmark::ClobberMemory();
    }
}

void compute(benchmark::State& state, bool noise, InstructionSet instructions, Target mode, bool defects) {
    if (instructions == InstructionSet::avx2 && shading::bestInstructionSet() != instructions) {
        state.SkipWithError("this processor has no AVX2");
        return;
    }
    Images& data = images(noise);
    for (auto _ : state) {
        shading::CoefficientSettings settings{.target = 1.0};
        if (mode == Target::largest) {
            settings.target = shading::largestSignal(data.gray(), data.black(), instructions);
        } else if (mode == Target::mean) {
            settings.target = shading::meanSignal(data.gray(), data.black(), instructions);
        }
        if (defects) {
            settings.defectThreshold = 4095;
        }
        shading::computeCoefficients(data.gray(), data.black(), settings, data.planes.offsets(), data.planes.gains(),
                                     instructions);
        benchmark::ClobberMemory();
    }
}

void plainLoop(benchmark::State& state) {
    Images& data = images(false);
    for (auto _ : state) {
        const double target = shading::plain::largestSignal(data.gray(), data.black());
        shading::plain::computeCoefficients(data.gray(), data.black(), {.target = target}, data.planes.offsets(),
                                            data.planes.gains());
        benchmark::ClobberMemory();
    }
}

constexpr auto sse2 = InstructionSet::baseline;
constexpr auto avx2 = InstructionSet::avx2;

// A plane as the coefficient image that the design loads, beside the same bytes written plainly. Both go to the
// system's temporary directory, over the file that is there.
const std::string planeFile = (std::filesystem::temp_directory_path() / "qelm_shading_benchmark.tiff").string();

void coefficientImage(benchmark::State& state) {
    const auto plane = images(false).planes.offsets();
    for (auto _ : state) {
        if (writeImage(planeFile.c_str(), plane.data(), 2 * planeLimit, planeLimit, 8, 1) != 0) {
            state.SkipWithError("the file cannot be written");
        }
    }
    std::filesystem::remove(planeFile);
}

void plainBytes(benchmark::State& state) {
    const auto plane = images(false).planes.offsets();
    for (auto _ : state) {
        std::FILE* file = std::fopen(planeFile.c_str(), "wb");
        if (file == nullptr || std::fwrite(plane.data(), 1, plane.size_bytes(), file) != plane.size_bytes()) {
            state.SkipWithError("the file cannot be written");
        }
        if (file != nullptr) {
            std::fclose(file);
        }
    }
    std::filesystem::remove(planeFile);
}

BENCHMARK_CAPTURE(moveMemory, read_once, false, 1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compute, full_range_sse2, false, sse2, Target::fixed, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compute, full_range_avx2, false, avx2, Target::fixed, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(moveMemory, read_twice, false, 2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compute, maximum_sse2, false, sse2, Target::largest, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compute, maximum_avx2, false, avx2, Target::largest, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compute, mean_sse2, false, sse2, Target::mean, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compute, mean_avx2, false, avx2, Target::mean, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compute, maximum_defects_sse2, false, sse2, Target::largest, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compute, maximum_defects_avx2, false, avx2, Target::largest, true)->Unit(benchmark::kMillisecond);
BENCHMARK(plainLoop)->Unit(benchmark::kMillisecond);
BENCHMARK(plainBytes)->Unit(benchmark::kMillisecond);
BENCHMARK(coefficientImage)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(moveMemory, noise_read_twice, true, 2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compute, noise_maximum_sse2, true, sse2, Target::largest, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compute, noise_maximum_avx2, true, avx2, Target::largest, false)->Unit(benchmark::kMillisecond);

} // namespace
