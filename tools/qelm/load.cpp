#include "configuration.h"

#include <iostream>

namespace qelm::tool {

int load(const CommonOptions& options, const std::string& file) {
    const host::Applet applet = loadApplet(options);
    Session session(applet);
    std::vector<Difference> values = readBefore(session);
    const int32_t code = applet->Fg_loadConfig(session.board(), file.c_str());
    values = keepChanged(session, std::move(values));
    Json changes = Json::array();
    for (const Difference& change : values) {
        changes.push_back(json(change));
        if (!options.json) {
            std::cout << text(change) << '\n';
        }
    }
    if (options.json) {
        print(Json{{"file", file}, {"result", code}, {"changes", changes}});
    } else if (values.empty() && code == 0) {
        std::cout << "Nothing changed\n";
    }
    if (code < 0) {
        const auto advice = code == FG_ERROR_CONFIGURATION ? (values.empty() ? "" : "What changed before stays. ") +
                                                                 std::string("\"qelm check ") + file + "\" tells why."
                                                           : std::string();
        throw host::AppletError(code, "loading \"" + file + "\" failed", advice);
    }
    return 0;
}

} // namespace qelm::tool
