#include "camera.h"

#include "output.h"
#include "stimulus.h"

#include "qelm/host/camera.h"

#include <algorithm>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace qelm::tool {

void connectCamera(const Session& session, const CameraChoice& choice) {
    const host::CameraMatch camera = host::matchCamera(session.board(), choice.options);
    if (!camera.mismatch.empty()) {
        printWarning(camera.mismatch + "; \"--camera match\" takes the settings");
    }
    host::connectCamera(session.board(), camera.options, choice.scene);
}

std::string cameraHelp(const host::VirtualBoardFunctions& control) {
    return std::string("  match           (first)                                     "
                       "geometry, bits, width and height as the board is set to\n") +
           control.cameraHelp();
}

bool showCameraHelp(const CommonOptions& options, const host::VirtualBoardFunctions& control,
                    const CameraChoice& choice) {
    if (choice.options != "help") {
        return false;
    }
    const std::string help = cameraHelp(control);
    if (options.json) {
        Json lines = Json::array();
        std::istringstream stream(help);
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
        }
        print(Json{{"cameraOptions", lines}});
    } else {
        std::cout << help;
    }
    return true;
}

void startTriggers(Session& session, const CommonOptions& options, const std::vector<std::string>& settings) {
    const auto isAboutState = [](const std::string& text) {
        return text.starts_with("FG_TRIGGERSTATE") || text.starts_with("FG_TRIGGERMODE");
    };
    if (std::ranges::none_of(settings, isAboutState) && std::ranges::none_of(options.setUp.settings, isAboutState) &&
        session.board().get<std::uint32_t>(FG_TRIGGER_LEGACY_MODE) == FG_OFF) {
        session.board().change(FG_TRIGGERSTATE, std::uint32_t{TS_ACTIVE});
    }
}

} // namespace qelm::tool
