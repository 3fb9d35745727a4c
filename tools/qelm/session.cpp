#include "session.h"

namespace qelm::tool {

host::Applet loadApplet(const CommonOptions& options) {
    return host::Applet(options.applet.empty() ? host::Applet::defaultFile() : options.applet);
}

std::optional<host::Value> Session::read(const host::Reference& reference) const {
    try {
        return host::readValue(board_, reference);
    } catch (const host::AppletError&) {
        return std::nullopt;
    }
}

} // namespace qelm::tool
