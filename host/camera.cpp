#include "qelm/host/camera.h"

#include "qelm/host/values.h"

#include <sstream>
#include <stdexcept>
#include <string_view>

namespace qelm::host {
namespace {

constexpr std::string_view match = "match";
constexpr std::string_view geometryPrefix = "Geometry_";

/** What camera and board have to agree about. */
struct Link {
    // As a virtual camera comes.
    std::string width = "1024", height = "1024", geometry = "2XE_2YE", bits = "8";

    std::string text() const { return width + " x " + height + " pixels, taps " + geometry + ", " + bits + " bits"; }
    bool operator==(const Link&) const = default;
};

std::string geometryOf(const Board& board) {
    const auto value = board.get<std::int32_t>(FG_DEVICETAPGEOMETRY);
    const EnumerationEntry* entry = findParameter(fixedParameters(), "FG_DEVICETAPGEOMETRY").findEntry(value);
    return entry != nullptr ? entry->name.substr(geometryPrefix.size()) : std::to_string(value);
}

std::string bitsOf(const Board& board) {
    switch (board.get<std::int32_t>(FG_CAMERA_LINK_CAMTYPE)) {
    case FG_CL_MEDIUM_10_BIT:
        return "10";
    case FG_CL_MEDIUM_12_BIT:
        return "12";
    default:
        return "8";
    }
}

Link settingsOf(const Board& board) {
    return {std::to_string(board.get<std::uint32_t>(FG_CAMERA_WIDTH)),
            std::to_string(board.get<std::uint32_t>(FG_CAMERA_HEIGHT)), geometryOf(board), bitsOf(board)};
}

/** As the camera reads them: the last of each key counts. */
Link linkOf(const std::string& options) {
    Link link;
    std::istringstream stream(options);
    for (std::string option; std::getline(stream, option, ',');) {
        const size_t equals = option.find('=');
        const std::string key = option.substr(0, equals);
        std::string value = equals == option.npos ? std::string() : option.substr(equals + 1);
        if (key == "width") {
            link.width = value;
        } else if (key == "height") {
            link.height = value;
        } else if (key == "bits") {
            link.bits = value;
        } else if (key == "geometry") {
            link.geometry = value.starts_with(geometryPrefix) ? value.substr(geometryPrefix.size()) : value;
        }
    }
    return link;
}

} // namespace

CameraMatch matchCamera(const Board& board, const std::string& options) {
    const Link settings = settingsOf(board);
    CameraMatch result{options, {}};
    if (options.empty() || options == match || options.starts_with("match,")) {
        const bool isOdd = std::stoul(settings.height) % 2 != 0; // which no camera with two taps above each other has
        result.options = "geometry=" + settings.geometry + ",bits=" + settings.bits + ",width=" + settings.width +
                         ",height=" + (isOdd ? std::to_string(std::stoul(settings.height) - 1) : settings.height);
        result.options += options.size() > match.size() ? options.substr(match.size()) : "";
    }
    if (const Link camera = linkOf(result.options); !(camera == settings)) {
        result.mismatch = "the camera sends " + camera.text() + ", but the board is set to " + settings.text() +
                          ": pictures will be cut, black or scrambled";
    }
    return result;
}

void connectCamera(const Board& board, const std::string& options, const std::string& scene) {
    const VirtualBoardFunctions* control = board.applet().virtualBoard();
    if (control == nullptr) {
        throw std::logic_error("only a virtual board is connected to a camera that can be chosen");
    }
    char problem[512] = "";
    if (control->connectCamera(board.virtualBoard(), options.c_str(), scene.c_str(), problem, sizeof problem) != 0) {
        throw std::runtime_error(problem[0] != '\0' ? problem : "the camera could not be connected");
    }
}

} // namespace qelm::host
