// The image path of the virtual board on one core: crop, offset and gain, 3 x 3 median, lookup table, 8-bit output;
// beside the same steps with OpenCV. And sorting of taps, beside a copy of the frame.

#include "model/image_path/image_path.h"
#include "model/image_path/tap_sorting.h"

#include <opencv2/imgproc.hpp>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <time.h>

namespace {

using namespace qelm::virtual_board;

constexpr std::uint32_t cropped = 16; // columns and rows of the frame that are left of and above the region

/** A frame with noise and what it is corrected with. */
struct Data {
    explicit Data(std::uint32_t regionSize)
        : size(regionSize)
        , offsets(planeSize)
        , gains(planeSize)
        , picture(std::size_t{size} * size) {
        std::mt19937 random(1);
        frame.width = frame.height = std::min(size + cropped, frameLimit);
        frame.pixels.resize(std::size_t{frame.width} * frame.height);
        for (std::size_t i = 0; i < frame.pixels.size(); ++i) {
            frame.pixels[i] =
                static_cast<std::uint16_t>((i / frame.width * 7 + i % frame.width * 3 + random() % 300) % 4096);
        }
        for (std::size_t i = 0; i < planeSize; ++i) {
            const auto value = static_cast<std::uint32_t>(random());
            offsets[i] = static_cast<std::uint16_t>(400 + value % 512);
            gains[i] = static_cast<std::uint16_t>(4000 + (value >> 16) % 1024);
        }
        for (std::uint32_t i = 0; i < table.size(); ++i) {
            table[i] = 4095 - i;
        }
    }

    ImagePathSettings settings() const {
        const std::uint32_t first = frame.width - size;
        const auto buffer = [&](const std::vector<std::uint16_t>& plane) {
            return CoefficientBuffer{
                .xOffset = first / 4, .xLength = size / 4, .yOffset = first, .yLength = size, .plane = plane.data()};
        };
        return {.region = {first, first, size, size},
                .offsets = buffer(offsets),
                .gains = buffer(gains),
                .enableOffset = true,
                .enableGain = true,
                .median = true,
                .lookupTable = table};
    }

    static constexpr std::size_t planeSize = CoefficientBuffer::planeLimit * CoefficientBuffer::planeLimit;
    std::uint32_t size;
    SortedFrame frame;
    std::vector<std::uint16_t> offsets, gains;
    std::array<std::uint32_t, 4096> table{};
    std::vector<std::byte> picture;
};

/** The same with whole-image functions, into images that are kept from frame to frame. */
class WithOpenCv {
  public:
    explicit WithOpenCv(Data& source) {
        const ImagePathSettings settings = source.settings();
        const auto whole = [](std::vector<std::uint16_t>& pixels, int width) {
            return cv::Mat(static_cast<int>(pixels.size()) / width, width, CV_16U, pixels.data());
        };
        const auto size = static_cast<int>(source.size);
        const cv::Rect region(static_cast<int>(settings.region.x), static_cast<int>(settings.region.y), size, size);
        frame_ = whole(source.frame.pixels, static_cast<int>(source.frame.width))(region);
        offsets_ = whole(source.offsets, CoefficientBuffer::planeLimit)(region);
        gains_ = whole(source.gains, CoefficientBuffer::planeLimit)(region);
        for (std::size_t i = 0; i < table_.size(); ++i) {
            table_[i] = static_cast<std::uint8_t>(settings.lookupTable[i] >> 4);
        }
        picture.create(size, size, CV_8U);
    }

    void process() {
        cv::addWeighted(frame_, 16, offsets_, -1, 0, signal_);
        cv::multiply(signal_, gains_, corrected_, 1.0 / 65536);
        cv::min(corrected_, 4095, corrected_);
        cv::medianBlur(corrected_, medians_, 3);
        for (int y = 0; y < medians_.rows; ++y) {
            const auto* const row = medians_.ptr<std::uint16_t>(y);
            auto* const out = picture.ptr<std::uint8_t>(y);
            for (int x = 0; x < medians_.cols; ++x) {
                out[x] = table_[row[x]];
            }
        }
    }

    cv::Mat picture;

  private:
    cv::Mat frame_, offsets_, gains_, signal_, corrected_, medians_;
    std::array<std::uint8_t, 4096> table_{};
};

int largestDifference(const cv::Mat& picture, const std::vector<std::byte>& other) {
    int largest = 0;
    for (int y = 0; y < picture.rows; ++y) {
        for (int x = 0; x < picture.cols; ++x) {
            const auto here =
                std::to_integer<int>(other[static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.cols) +
                                           static_cast<std::size_t>(x)]);
            largest = std::max(largest, std::abs(picture.at<std::uint8_t>(y, x) - here));
        }
    }
    return largest;
}

/** Processor time of this thread, which is the only one at work: on a busy machine others' time does not count. */
double secondsUsed() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/** The fastest of a few runs, the first of which finds the caches as others left them. */
double fastestOf(const std::function<void()>& action) {
    constexpr int runs = 3;
    double fastest = std::numeric_limits<double>::max();
    for (int i = 0; i < runs; ++i) {
        const double start = secondsUsed();
        action();
        benchmark::ClobberMemory();
        fastest = std::min(fastest, secondsUsed() - start);
    }
    return fastest;
}

struct Contender {
    std::string name;
    std::function<void()> frame;
    double fastest = std::numeric_limits<double>::max();
};

/** Contenders take turns, so that whatever else the machine does meets all. Counters tell the frames per second of each
 *  one's fastest frame, and how many times the first one's they are. */
void measure(benchmark::State& state, std::vector<Contender> contenders) {
    for (auto _ : state) {
        for (Contender& contender : contenders) {
            contender.fastest = std::min(contender.fastest, fastestOf(contender.frame));
        }
    }
    for (const Contender& contender : contenders) {
        state.counters[contender.name + "_fps"] = 1 / contender.fastest;
        if (&contender != &contenders.front()) {
            state.counters[contender.name + "_ratio"] = contenders.front().fastest / contender.fastest;
        }
    }
}

void imagePath(benchmark::State& state) {
    Data data(static_cast<std::uint32_t>(state.range(0)));
    const ImagePathSettings settings = data.settings();
    cv::setNumThreads(1);
    WithOpenCv openCv(data);
    ImagePath baseline(InstructionSet::baseline);
    ImagePath avx2(InstructionSet::avx2);
    std::vector<Contender> contenders{{"opencv", [&] { openCv.process(); }},
                                      {"baseline", [&] { baseline.process(data.frame, settings, data.picture); }}};
    if (bestInstructionSet() == InstructionSet::avx2) {
        contenders.push_back({"avx2", [&] { avx2.process(data.frame, settings, data.picture); }});
    }
    measure(state, std::move(contenders));
    // The product is rounded there and truncated here, so that levels next to each other may result.
    if (largestDifference(openCv.picture, data.picture) > 1) {
        state.SkipWithError("the pictures differ");
    }
}
BENCHMARK(imagePath)->Arg(1024)->Iterations(100)->Unit(benchmark::kMillisecond);
BENCHMARK(imagePath)->Arg(8192)->Iterations(8)->Unit(benchmark::kMillisecond);

/** A camera that sends the same line again and again. */
class SameLines final : public LinkFrame {
  public:
    explicit SameLines(std::uint32_t size) : lines_(size / 2), words_(size / 2) {
        std::mt19937_64 random(1);
        std::ranges::generate(words_, std::ref(random));
    }
    std::uint32_t lines() const override { return lines_; }
    std::uint32_t clocks() const override { return static_cast<std::uint32_t>(words_.size()); }
    void line(std::uint32_t, std::span<LinkWord> words) const override { std::ranges::copy(words_, words.begin()); }

  private:
    std::uint32_t lines_;
    std::vector<LinkWord> words_;
};

/** Sorting the taps of 2XE-2YE beside writing as many pixels, row by row from one that is at hand. */
void tapSorting(benchmark::State& state, LinkFormat format) {
    const auto size = static_cast<std::uint32_t>(state.range(0));
    const SameLines link(size);
    const TapSorting sorting{.format = format,
                             .topDown = {1, 1, 0, 0},
                             .mirror = {0, 1, 0, 1},
                             .mirrorGroup = {0, 1, 0, 1},
                             .select = {0, 1, 2, 3},
                             .imageWidth = size / 16,
                             .imageHeight = 2 * size,
                             .lineLength = size / 2,
                             .rightLeftLast = size / 16 - 1,
                             .divisor = size,
                             .split = size,
                             .append = size,
                             .lastLine = size / 2 - 1};
    SortedFrame frame;
    sortTaps(link, sorting, frame);
    const std::vector<std::uint16_t> row(size, 1);
    SortedFrame copied = frame;
    measure(state, {{"copy",
                     [&] {
                         for (std::size_t y = 0; y < size; ++y) {
                             std::memcpy(&copied.pixels[y * size], row.data(), size * sizeof(std::uint16_t));
                         }
                     }},
                    {"sorting", [&] { sortTaps(link, sorting, frame); }}});
}
BENCHMARK_CAPTURE(tapSorting, 8_bit, LinkFormat::bits8)->Arg(1024)->Iterations(50)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(tapSorting, 12_bit, LinkFormat::bits12)->Arg(1024)->Iterations(50)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(tapSorting, 12_bit, LinkFormat::bits12)->Arg(8192)->Iterations(5)->Unit(benchmark::kMillisecond);

} // namespace
