#include "model/image_path/tap_sorting.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace qelm::virtual_board {
namespace {

constexpr std::size_t groupSize = 8;
constexpr std::uint32_t taps = 4;
constexpr std::size_t halfLineLimit = frameLimit / 2;

/** One line of each camera tap, black from its pixels on. */
struct TapLines {
    alignas(16) std::array<std::array<std::uint16_t, halfLineLimit>, taps> of{};
};

template <LinkFormat format>
void takeFromPorts(const LinkWord* words, std::size_t count, TapLines& lines) {
    constexpr unsigned toTwelveBits = 12 - bitsOf(format);
    std::uint16_t* const __restrict tap0 = lines.of[0].data();
    std::uint16_t* const __restrict tap1 = lines.of[1].data();
    std::uint16_t* const __restrict tap2 = lines.of[2].data();
    std::uint16_t* const __restrict tap3 = lines.of[3].data();
    for (std::size_t x = 0; x < count; ++x) {
        const TapPixels pixels = fromPorts(words[x], format);
        tap0[x] = static_cast<std::uint16_t>(pixels[0] << toTwelveBits);
        tap1[x] = static_cast<std::uint16_t>(pixels[1] << toTwelveBits);
        tap2[x] = static_cast<std::uint16_t>(pixels[2] << toTwelveBits);
        tap3[x] = static_cast<std::uint16_t>(pixels[3] << toTwelveBits);
    }
}

auto takerFor(LinkFormat format) {
    switch (format) {
    case LinkFormat::bits8:
        return takeFromPorts<LinkFormat::bits8>;
    case LinkFormat::bits10:
        return takeFromPorts<LinkFormat::bits10>;
    case LinkFormat::bits12:
        break;
    }
    return takeFromPorts<LinkFormat::bits12>;
}

/** Fills a half line of the frame. */
void place(const std::uint16_t* pixels, std::size_t count, bool mirror, bool mirrorGroup, std::uint32_t rightLeftLast,
           std::uint16_t* halfLine, std::size_t groups) {
    const std::size_t filled = (count + groupSize - 1) / groupSize; // the last one with black behind its pixels
    if (filled < groups || (mirror && rightLeftLast != groups - 1)) {
        std::fill_n(halfLine, groups * groupSize, std::uint16_t{0});
    }
    for (std::size_t group = 0; group < filled; ++group) {
        const std::size_t target = mirror ? rightLeftLast - group : group; // wraps around to more than there are
        if (target >= groups) {
            continue;
        }
        const std::uint16_t* const from = pixels + group * groupSize;
        std::uint16_t* const to = halfLine + target * groupSize;
        if (mirrorGroup) {
            std::reverse_copy(from, from + groupSize, to);
        } else {
            std::copy_n(from, groupSize, to);
        }
    }
}

/** Where the half line goes that is the count-th of its half image. */
std::optional<std::size_t> position(const TapSorting& sorting, bool topDown, std::uint32_t count,
                                    std::size_t halfLines) {
    if (count >= sorting.append) {
        return std::nullopt;
    }
    const std::uint32_t counted = sorting.divisor > 0 ? count % sorting.divisor : count;
    std::int64_t number = counted;
    if (!topDown) {
        const std::int64_t firstRow = (std::int64_t{sorting.split} + 1) / 2;
        number = 2 * (firstRow + sorting.lastLine - counted / 2) + counted % 2;
    }
    const bool inside = number >= 0 && number < static_cast<std::int64_t>(halfLines);
    return inside ? std::optional(static_cast<std::size_t>(number)) : std::nullopt;
}

} // namespace

void sortTaps(const LinkFrame& link, const TapSorting& sorting, SortedFrame& frame) {
    frame.width = std::min(sorting.imageWidth, frameLimit / 16) * 16;
    frame.height = std::min(sorting.imageHeight / 2, frameLimit);
    frame.pixels.resize(std::size_t{frame.width} * frame.height);
    const std::size_t halfLines = std::size_t{frame.height} * 2;
    const std::size_t length = frame.width / 2;

    std::vector<LinkWord> words(link.clocks());
    TapLines lines;
    const auto take = takerFor(sorting.format);
    const std::size_t taken = std::min({words.size(), std::size_t{sorting.lineLength}, halfLineLimit});
    std::vector<bool> filled(halfLines);

    const std::uint32_t wanted = std::min(link.lines(), sorting.append / 2 + sorting.append % 2);
    for (std::uint32_t line = 0; line < wanted; ++line) {
        link.line(line, words);
        take(words.data(), taken, lines);
        for (std::uint32_t tap = 0; tap < taps; ++tap) {
            const std::uint32_t count = 2 * line + tap % 2;
            if (const auto target = position(sorting, sorting.topDown[tap] != 0, count, halfLines)) {
                place(lines.of[sorting.select[tap] % taps].data(), taken, sorting.mirror[tap] != 0,
                      sorting.mirrorGroup[tap] != 0, sorting.rightLeftLast, frame.pixels.data() + *target * length,
                      length / groupSize);
                filled[*target] = true;
            }
        }
    }
    for (std::size_t number = 0; number < halfLines; ++number) {
        if (!filled[number]) {
            std::fill_n(frame.pixels.begin() + static_cast<std::ptrdiff_t>(number * length), length, std::uint16_t{0});
        }
    }
}

} // namespace qelm::virtual_board
