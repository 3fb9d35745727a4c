#include "configuration.h"
#include "steps.h"

#include <iostream>

namespace qelm::tool {

int save(const CommonOptions& options, const std::string& file, const std::vector<std::string>& assignments) {
    const host::Applet applet = loadApplet(options);
    Session session(applet);
    const StepsOutcome changes = runAll(options, session, parseAssignments(session, assignments));
    if (!changes.succeeded) {
        printError("\"" + file + "\" was not written");
        return 1;
    }
    if (const int32_t code = applet->Fg_saveConfig(session.board(), file.c_str()); code < 0) {
        const bool typed = file.find(".kcf") != file.npos;
        throw host::AppletError(code, "saving \"" + file + "\" failed",
                                typed ? "" : "The name of a configuration file has to contain \".kcf\".");
    }
    if (options.json) {
        print(Json{{"file", file}, {"changes", changes.json}});
    } else {
        std::cout << "Saved " << std::size(persistence::configurationKeys) << " settings in " << file << '\n';
    }
    return 0;
}

} // namespace qelm::tool
