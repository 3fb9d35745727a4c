#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/**
 * The formulas of the shading correction, from reference images to coefficient planes. Signals are parts of full
 * scale: a sample divided by the largest one of its depth, in double precision. Every result equals that of a plain
 * loop over the pixels that computes in double precision, whatever the instruction set.
 */
namespace qelm::features::shading {

/** Planes have as many rows and columns, row after row. */
inline constexpr std::int32_t planeLimit = 8192;
inline constexpr std::size_t planeSize = std::size_t{planeLimit} * planeLimit;
using Plane = std::span<std::uint16_t, planeSize>;

inline constexpr std::uint16_t noOffset = 0;
inline constexpr std::uint16_t defectiveOffset = 65535; ///< marks a pixel that the noise filter is to replace
inline constexpr std::uint16_t unityGain = 4096;

/** A reference image: rows of width samples of 8 or 16 bits without padding. An absent image has neither rows nor
 *  columns. */
struct ReferenceImage {
    const void* pixels = nullptr;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t bitsPerSample = 16;

    bool absent() const { return pixels == nullptr; }
};

enum class InstructionSet { baseline, avx2 };
/** The largest one that the processor offers. */
InstructionSet bestInstructionSet();

/** The largest signal of the grey image less the black image's, and at least 0. Looks at the whole grey image. */
double largestSignal(const ReferenceImage& gray, const ReferenceImage& black,
                     InstructionSet instructions = bestInstructionSet());
/** The mean signal of the grey image less the black image's. Looks at the whole grey image. */
double meanSignal(const ReferenceImage& gray, const ReferenceImage& black,
                  InstructionSet instructions = bestInstructionSet());

/** What becomes of the planes. */
struct CoefficientSettings {
    /** With a value, pixels of both images are defective when black is above it or grey further than it below full
     *  scale, in samples of the images' own depths; full scale is the black image's. */
    std::optional<std::uint32_t> defectThreshold{};
    /** The signal to which gains lift every pixel of the grey image, 0 to 1; without it all gains stay 1. */
    std::optional<double> target{};
};

/**
 * Fills both planes: where the black image has no pixel the offset is 0, where the grey one has none the gain is 1.
 * Images may be larger than the planes.
 */
void computeCoefficients(const ReferenceImage& gray, const ReferenceImage& black, const CoefficientSettings& settings,
                         Plane offsets, Plane gains, InstructionSet instructions = bestInstructionSet());

/** Fixed point with `scale` steps to 1, rounded and limited to 16 bits; what is not a number becomes 0. */
std::uint16_t toFixedPoint(float value, float scale);

} // namespace qelm::features::shading
