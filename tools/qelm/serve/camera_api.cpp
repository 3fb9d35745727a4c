// The virtual board's camera and what it looks at.

#include "serve/api.h"
#include "serve/scratch_file.h"

#include "camera.h"
#include "output_file.h"

namespace qelm::server {

Answer getCamera(ServedBoard& served, const Call& /*call*/) {
    Json scenes = {"chart", "ramp", "black", "gray", "white"};
    for (const std::string& name : served.uploadedScenes()) {
        scenes.push_back(name);
    }
    Json json = served.cameraJson();
    json["scenes"] = scenes;
    json["help"] = tool::cameraHelp(served.control());
    return {jsonResponse(json)};
}

Answer postCamera(ServedBoard& served, const Call& call) {
    tool::CameraChoice camera = served.camera();
    if (call.has("options")) {
        camera.options = call.string("options");
    }
    if (call.has("scene")) {
        camera.scene = call.string("scene");
    }
    served.connectCamera(camera);
    return getCamera(served, call);
}

Answer putScene(ServedBoard& served, const Call& call) {
    const std::string& bytes = call.request.body;
    const bool isPng = bytes.starts_with("\x89PNG");
    const bool isTiff =
        bytes.starts_with(std::string_view("II*\0", 4)) || bytes.starts_with(std::string_view("MM\0*", 4));
    if (!isPng && !isTiff) {
        throw ApiError(409, "The file is neither PNG nor TIFF.");
    }
    ScratchFile file(served, isPng ? ".png" : ".tiff");
    tool::writeTemporaryFile(file.path(), bytes);
    const std::string name = "sent " + file.path().stem().string();
    served.addScene(name, file.path());
    tool::CameraChoice camera = served.camera();
    const std::string before = camera.scene;
    camera.scene = name;
    try {
        served.connectCamera(camera);
    } catch (...) {
        served.removeScene(name);
        throw;
    }
    file.keep();
    return getCamera(served, call);
}

} // namespace qelm::server
