#include "session.h"

#include "temporary_folder.h"

#include "qelm/host/system.h"
#include "qelm/host/text.h"

namespace qelm::tool {

host::Applet loadApplet(const CommonOptions& options) {
    // The applet looks at these when it is loaded and started; without the options the environment decides.
    if (options.directRegisters) {
        host::setEnvironment("QELM_ENABLE_DRA", "on");
    }
    if (options.directDesign) {
        host::setEnvironment("QELM_ENABLE_DZEA", "on");
    }
    temporaryFolder(); // before the applet looks for one
    return host::Applet(options.applet.empty() ? host::Applet::defaultFile() : options.applet);
}

void Session::change(const std::string& assignment) {
    host::writeValue(board_, host::parseAssignment(parameters_, assignment));
}

void Session::useFile(const char* parameter, const std::filesystem::path& file) {
    host::writeValue(board_,
                     {host::parseReference(parameters_, parameter), host::utf8Text(host::systemFileName(file))});
}

std::optional<host::Value> Session::read(const host::Reference& reference) const {
    try {
        return host::readValue(board_, reference);
    } catch (const host::AppletError&) {
        return std::nullopt;
    }
}

std::optional<host::Value> Session::readWhole(const host::Parameter& parameter) const {
    return parameter.kind == host::ParameterKind::lutEntry ? std::nullopt : read({&parameter});
}

} // namespace qelm::tool
