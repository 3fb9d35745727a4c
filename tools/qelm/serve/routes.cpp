#include "serve/api.h"

namespace qelm::server {

std::span<const Route> routes() {
    using enum BodyKind;
    constexpr std::uint64_t largestTable = 1U << 20U;
    constexpr std::uint64_t largestConfiguration = 4U << 20U;
    constexpr std::uint64_t largestScene = 64U << 20U;
    static constexpr Route all[] = {
        {"GET", "/api/board", none, getBoard},
        {"POST", "/api/time", json, postTime},
        {"POST", "/api/acquisition", json, postAcquisition},
        {"GET", "/api/statistics", none, getStatistics},
        {"POST", "/api/record", json, postRecord},
        {"GET", "/api/parameters", none, getParameters},
        {"POST", "/api/parameters", json, postParameters},
        {"POST", "/api/parameters/reset", json, postReset},
        {"GET", "/api/parameters/*", none, getParameter},
        {"GET", "/api/snapshot", none, getSnapshot},
        {"GET", "/api/pixel", none, getPixel},
        {"GET", "/api/profile", none, getProfile},
        {"GET", "/api/histogram", none, getHistogram},
        {"GET", "/api/stream.mjpeg", none, getJpegStream},
        {"GET", "/api/stream.png", none, getPngStream},
        {"GET", "/api/stream", none, getStream},
        {"POST", "/api/view/*", json, postView},
        {"POST", "/api/credit/*", json, postCredit},
        {"POST", "/api/pulses", json, postPulses},
        {"POST", "/api/trigger", json, postTrigger},
        {"GET", "/api/signals", none, getSignals},
        {"GET", "/api/signals.svg", none, getSignalsPicture},
        {"GET", "/api/lut", none, getLut},
        {"POST", "/api/lut", json, postLut},
        {"GET", "/api/lut/file", none, getLutFile},
        {"PUT", "/api/lut/file", file, putLutFile, largestTable},
        {"POST", "/api/shading/black", json, postBlack},
        {"POST", "/api/shading/gray", json, postGray},
        {"POST", "/api/shading/compute", json, postCompute},
        {"POST", "/api/shading/off", json, postShadingOff},
        {"GET", "/api/shading/map", none, getShadingMap},
        {"GET", "/api/configuration", none, getConfiguration},
        {"POST", "/api/configuration/check", file, postConfigurationCheck, largestConfiguration},
        {"PUT", "/api/configuration", file, putConfiguration, largestConfiguration},
        {"GET", "/api/camera", none, getCamera},
        {"POST", "/api/camera", json, postCamera},
        {"PUT", "/api/scene", file, putScene, largestScene},
    };
    return all;
}

} // namespace qelm::server
