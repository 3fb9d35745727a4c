#include "camera_match.h"

#include "output.h"

#include <sstream>
#include <string_view>

namespace qelm::tool {
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

std::string valueOf(const Session& session, const char* name) {
    const host::Reference reference = host::parseReference(session.parameters(), name);
    const host::Value value = host::readValue(session.board(), reference);
    const std::uint32_t number = std::get<std::uint32_t>(value);
    const host::EnumerationEntry* entry = reference.parameter->findEntry(static_cast<std::int32_t>(number));
    return entry != nullptr ? entry->name : std::to_string(number);
}

Link settingsOf(const Session& session) {
    Link link{valueOf(session, "FG_CAMERA_WIDTH"),
              valueOf(session, "FG_CAMERA_HEIGHT"),
              valueOf(session, "FG_DEVICETAPGEOMETRY"),
              {}};
    if (link.geometry.starts_with(geometryPrefix)) {
        link.geometry.erase(0, geometryPrefix.size());
    }
    switch (session.board().get<std::int32_t>(FG_CAMERA_LINK_CAMTYPE)) {
    case FG_CL_MEDIUM_10_BIT:
        link.bits = "10";
        break;
    case FG_CL_MEDIUM_12_BIT:
        link.bits = "12";
        break;
    default:
        link.bits = "8";
    }
    return link;
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

std::string matchedCamera(const Session& session, const std::string& options) {
    const Link settings = settingsOf(session);
    std::string matched = options;
    if (options.empty() || options == match || options.starts_with("match,")) {
        const bool isOdd = std::stoul(settings.height) % 2 != 0; // which no camera with two taps above each other has
        matched = "geometry=" + settings.geometry + ",bits=" + settings.bits + ",width=" + settings.width +
                  ",height=" + (isOdd ? std::to_string(std::stoul(settings.height) - 1) : settings.height);
        matched += options.size() > match.size() ? options.substr(match.size()) : "";
    }
    if (const Link camera = linkOf(matched); !(camera == settings)) {
        printWarning("the camera sends " + camera.text() + ", but the board is set to " + settings.text() +
                     ": pictures will be cut, black or scrambled; \"--camera match\" takes the settings");
    }
    return matched;
}

} // namespace qelm::tool
