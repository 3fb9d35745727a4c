#include "serve/view.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

namespace qelm::server {
namespace {

static_assert(std::endian::native == std::endian::little, "pixels lie in memory as this computer has its numbers");

constexpr std::pair<std::string_view, Reduction> reductions[] = {
    {"nearest", Reduction::nearest}, {"mean", Reduction::mean}, {"max", Reduction::maximum}};

template <class Pixel>
const Pixel* row(const host::Frame& frame, std::int32_t y) {
    // Frames lie in memory made with new, which suits every pixel.
    return reinterpret_cast<const Pixel*>(frame.bytes().data() +
                                          static_cast<std::size_t>(y) * frame.format().bytesPerRow());
}

/** The first of the pixels that become pixel `position` of `count`. */
std::int32_t firstOf(std::int32_t position, std::int32_t length, std::int32_t count) {
    return static_cast<std::int32_t>(static_cast<std::int64_t>(position) * length / count);
}

template <class Pixel>
void takeNearest(const host::Frame& frame, const View& view, std::uint16_t* out) {
    for (std::int32_t y = 0; y < view.outHeight; ++y) {
        const Pixel* const pixels = row<Pixel>(frame, view.y + firstOf(y, view.height, view.outHeight)) + view.x;
        for (std::int32_t x = 0; x < view.outWidth; ++x) {
            *out++ = pixels[firstOf(x, view.width, view.outWidth)];
        }
    }
}

// Rows are taken together first, two at a time in loops that the compiler vectorises, then their columns.

/** Calls `fold` with pointers to the view's rows from `first` to before `last`: with two, or with one. */
template <class Pixel>
void foldRows(const host::Frame& frame, const View& view, std::int32_t first, std::int32_t last, const auto& fold) {
    const auto pixels = [&](std::int32_t y) { return row<Pixel>(frame, view.y + y) + view.x; };
    std::int32_t y = first;
    for (; y + 1 < last; y += 2) {
        fold(pixels(y), pixels(y + 1));
    }
    if (y < last) {
        fold(pixels(y));
    }
}

template <class Pixel>
void takeMean(const host::Frame& frame, const View& view, std::uint16_t* out) {
    const auto width = static_cast<std::size_t>(view.width);
    std::vector<std::uint32_t> sums(width);
    const auto add = [to = sums.data(), width](const auto* __restrict... rows) {
        for (std::size_t x = 0; x < width; ++x) {
            to[x] += (std::uint32_t{rows[x]} + ...);
        }
    };
    for (std::int32_t y = 0; y < view.outHeight; ++y) {
        const std::int32_t first = firstOf(y, view.height, view.outHeight);
        const std::int32_t last = firstOf(y + 1, view.height, view.outHeight);
        std::ranges::fill(sums, 0U);
        foldRows<Pixel>(frame, view, first, last, add);
        for (std::int32_t x = 0; x < view.outWidth; ++x) {
            const std::int32_t left = firstOf(x, view.width, view.outWidth);
            const std::int32_t right = firstOf(x + 1, view.width, view.outWidth);
            std::uint64_t sum = 0;
            for (std::int32_t column = left; column < right; ++column) {
                sum += sums[static_cast<std::size_t>(column)];
            }
            const auto pixels = static_cast<std::uint64_t>(right - left) * static_cast<std::uint64_t>(last - first);
            *out++ = static_cast<std::uint16_t>((sum + pixels / 2) / pixels);
        }
    }
}

template <class Pixel>
void takeMaximum(const host::Frame& frame, const View& view, std::uint16_t* out) {
    const auto width = static_cast<std::size_t>(view.width);
    std::vector<Pixel> largest(width);
    const auto raise = [to = largest.data(), width](const auto* __restrict... rows) {
        for (std::size_t x = 0; x < width; ++x) {
            ((to[x] = std::max(to[x], rows[x])), ...);
        }
    };
    for (std::int32_t y = 0; y < view.outHeight; ++y) {
        std::ranges::fill(largest, Pixel{0});
        foldRows<Pixel>(frame, view, firstOf(y, view.height, view.outHeight),
                        firstOf(y + 1, view.height, view.outHeight), raise);
        for (std::int32_t x = 0; x < view.outWidth; ++x) {
            *out++ = *std::max_element(largest.begin() + firstOf(x, view.width, view.outWidth),
                                       largest.begin() + firstOf(x + 1, view.width, view.outWidth));
        }
    }
}

template <class Pixel>
void take(const host::Frame& frame, const View& view, std::uint16_t* out) {
    switch (view.reduce) {
    case Reduction::nearest:
        return takeNearest<Pixel>(frame, view, out);
    case Reduction::mean:
        return takeMean<Pixel>(frame, view, out);
    case Reduction::maximum:
        return takeMaximum<Pixel>(frame, view, out);
    }
}

/** Counts into several tables in turn: equal neighbours would wait for each other in one. */
template <class Pixel>
void count(const host::Frame& frame, unsigned shift, std::vector<std::uint64_t>& counts) {
    constexpr std::size_t tables = 4;
    const std::size_t values = counts.size();
    std::vector<std::uint32_t> partial(tables * values);
    const std::size_t pixels = frame.format().pixels();
    const Pixel* const first = row<Pixel>(frame, 0);
    const auto last = static_cast<unsigned>(values - 1);
    for (std::size_t i = 0; i < pixels; ++i) {
        ++partial[i % tables * values + std::min<unsigned>(first[i] >> shift, last)];
    }
    for (std::size_t value = 0; value < values; ++value) {
        for (std::size_t table = 0; table < tables; ++table) {
            counts[value] += partial[table * values + value];
        }
    }
}

} // namespace

std::string_view reductionName(Reduction reduction) {
    return std::ranges::find(reductions, reduction, &std::pair<std::string_view, Reduction>::second)->first;
}

bool readReduction(std::string_view name, Reduction& reduction) {
    const auto* found = std::ranges::find(reductions, name, &std::pair<std::string_view, Reduction>::first);
    if (found == std::end(reductions)) {
        return false;
    }
    reduction = found->second;
    return true;
}

View fittingView(View view, const host::FrameFormat& format) {
    view.x = std::clamp(view.x, 0, format.width - 1);
    view.y = std::clamp(view.y, 0, format.height - 1);
    const auto fit = [](std::int32_t wanted, std::int32_t most) { return wanted <= 0 ? most : std::min(wanted, most); };
    view.width = fit(view.width, format.width - view.x);
    view.height = fit(view.height, format.height - view.y);
    view.outWidth = fit(view.outWidth, view.width);
    view.outHeight = fit(view.outHeight, view.height);
    const std::int64_t pixels = std::int64_t{view.outWidth} * view.outHeight;
    if (pixels > mostViewPixels) {
        const double scale = std::sqrt(static_cast<double>(mostViewPixels) / static_cast<double>(pixels));
        view.outWidth = std::max(1, static_cast<std::int32_t>(view.outWidth * scale));
        view.outHeight =
            std::max(1, static_cast<std::int32_t>(std::min<std::int64_t>(
                            static_cast<std::int32_t>(view.outHeight * scale), mostViewPixels / view.outWidth)));
    }
    return view;
}

std::vector<std::uint16_t> reduce(const host::Frame& frame, const View& view) {
    std::vector<std::uint16_t> values(static_cast<std::size_t>(view.outWidth) *
                                      static_cast<std::size_t>(view.outHeight));
    if (frame.format().bits == 16) {
        take<std::uint16_t>(frame, view, values.data());
    } else {
        take<std::uint8_t>(frame, view, values.data());
    }
    return values;
}

Histogram histogramOf(const host::Frame& frame) {
    constexpr std::uint32_t mostValues = 4096; // the board's pixels have 12 bits
    Histogram histogram;
    histogram.full = frame.format().fullScale;
    unsigned shift = 0;
    while ((histogram.full >> shift) >= mostValues) {
        ++shift;
    }
    histogram.step = 1U << shift;
    histogram.counts.resize((histogram.full >> shift) + 1);
    if (frame.format().bits == 16) {
        count<std::uint16_t>(frame, shift, histogram.counts);
    } else {
        count<std::uint8_t>(frame, shift, histogram.counts);
    }
    double sum = 0.0;
    bool any = false;
    for (std::size_t i = 0; i < histogram.counts.size(); ++i) {
        if (const std::uint64_t pixels = histogram.counts[i]; pixels != 0) {
            const auto value = static_cast<std::uint32_t>(i) * histogram.step;
            histogram.minimum = std::exchange(any, true) ? histogram.minimum : value;
            histogram.maximum = value;
            histogram.pixels += pixels;
            sum += static_cast<double>(pixels) * value;
        }
    }
    histogram.mean = histogram.pixels == 0 ? 0.0 : sum / static_cast<double>(histogram.pixels);
    histogram.saturated = histogram.counts.back();
    return histogram;
}

std::vector<std::uint16_t> profile(const host::Frame& frame, std::int32_t x0, std::int32_t y0, std::int32_t x1,
                                   std::int32_t y1) {
    const std::int32_t steps = std::max(std::abs(x1 - x0), std::abs(y1 - y0));
    std::vector<std::uint16_t> values;
    values.reserve(static_cast<std::size_t>(steps) + 1);
    const auto between = [steps](std::int32_t from, std::int32_t to, std::int32_t i) {
        return steps == 0 ? from
                          : static_cast<std::int32_t>(std::lround(from + static_cast<double>(to - from) * i / steps));
    };
    for (std::int32_t i = 0; i <= steps; ++i) {
        values.push_back(frame.pixel(between(x0, x1, i), between(y0, y1, i)));
    }
    return values;
}

std::vector<std::uint8_t> reduceToBytes(const host::Frame& frame, const View& view) {
    const std::vector<std::uint16_t> values = reduce(frame, view);
    const unsigned shift = static_cast<unsigned>(std::bit_width(frame.format().fullScale)) - 8;
    std::vector<std::uint8_t> bytes(values.size());
    std::ranges::transform(values, bytes.begin(),
                           [shift](std::uint16_t value) { return static_cast<std::uint8_t>(value >> shift); });
    return bytes;
}

} // namespace qelm::server
