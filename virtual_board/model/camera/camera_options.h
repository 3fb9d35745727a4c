#pragma once

#include "model/camera/camera_link.h"
#include "model/camera/sensor.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qelm::virtual_board {

/**
 * The order in which the four taps send an image. In all three, taps 1 and 2 are the left and right half of the upper
 * lines, sent from the first one down; taps 3 and 4 those of the lower lines, from the last one up.
 */
enum class Geometry {
    outerToMiddle, /**< Geometry_2XE_2YE: left taps rightward, right taps leftward */
    leftToRight,   /**< Geometry_2X_2YE: all rightward */
    middleToOuter, /**< Geometry_2XM_2YE: left taps leftward, right taps rightward */
};

/** What a virtual camera is set to. At first it fits an applet that has just started. */
struct CameraOptions {
    static constexpr std::uint32_t largestSide = 8192;

    Geometry geometry = Geometry::outerToMiddle;
    LinkFormat format = LinkFormat::bits8;
    std::uint32_t width = 1024, height = 1024;
    std::string scene = "chart"; /**< name of a chart, or the path of an image file */
    SensorSettings sensor;
    bool isTriggered = true;       /**< else it sends frame after frame */
    std::uint32_t triggerLine = 0; /**< camera-control line, 0 to 3 */
    bool isActiveLow = true;       /**< the trigger line's sense */
    /** In microseconds; without it the trigger's width is the exposure time, and a free-running camera has none. */
    std::optional<double> exposure;
    /** The exposure time, in microseconds, that shows the scene as it is; without it every one does. */
    std::optional<double> nominalExposure;
    std::uint64_t firstFrame = 0;            /**< its number: read noise differs from frame to frame */
    double pixelClock = 80;                  /**< in MHz */
    std::uint32_t lineGap = 0, frameGap = 0; /**< in clocks, after each line and each frame */

    /**
     * Reads "key=value,key=value" on top of the defaults; a key that stands twice keeps its last value, and "-"
     * in a key is as good as "_". The scene is not looked for yet.
     *
     * @throws CameraError for unknown keys and values, with those that there are
     */
    static CameraOptions parse(std::string_view text);
    /** The keys that parse knows, one to a line with what they mean. */
    static std::string help();

    /** @throws CameraError for a size that the link cannot send: a width that is no multiple of 16, an odd height */
    void check() const;

    /** How long a frame with its gaps takes on the link, in nanoseconds, rounded up. */
    std::uint64_t readoutTime() const;
    /** What an exposure of so many nanoseconds makes of the scene's light. */
    double exposureFactor(std::uint64_t exposureTime) const;
};

} // namespace qelm::virtual_board
