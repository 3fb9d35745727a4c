#include "session.h"

namespace qelm::tool {

host::Applet loadApplet(const CommonOptions& options) {
    return host::Applet(options.applet.empty() ? host::Applet::defaultFile() : options.applet);
}

void Session::change(const std::string& assignment) {
    host::writeValue(board_, host::parseAssignment(parameters_, assignment));
}

void Session::useFile(const char* parameter, const std::filesystem::path& file) {
    host::writeValue(board_, {host::parseReference(parameters_, parameter), file.string()});
}

std::optional<host::Value> Session::read(const host::Reference& reference) const {
    try {
        return host::readValue(board_, reference);
    } catch (const host::AppletError&) {
        return std::nullopt;
    }
}

} // namespace qelm::tool
