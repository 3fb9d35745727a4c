#include "configuration.h"
#include "steps.h"

#include <iostream>

namespace qelm::tool {

int save(const CommonOptions& options, const std::string& file, const std::vector<std::string>& assignments) {
    const host::Applet applet = loadApplet(options);
    Session session(applet);
    std::vector<Step> steps; // all of them are read before the first is done
    for (const std::string& assignment : assignments) {
        host::Assignment read = host::parseAssignment(session.parameters(), assignment);
        steps.push_back({read.reference, std::move(read.value)});
    }
    Json changes = Json::array();
    for (size_t position = 0; position < steps.size(); ++position) {
        const Outcome outcome = run(session, steps[position], Tracing::off);
        changes.push_back(json(steps[position], outcome));
        if (!options.json) {
            std::cout << text(steps[position], outcome) << '\n';
        }
        if (outcome.error) {
            printFailure(outcome, steps.size() - position - 1);
            printError("\"" + file + "\" was not written");
            return 1;
        }
    }
    if (const int32_t code = applet->Fg_saveConfig(session.board(), file.c_str()); code < 0) {
        const bool typed = file.find(".kcf") != file.npos;
        throw host::AppletError(code, "saving \"" + file + "\" failed",
                                typed ? "" : "The name of a configuration file has to contain \".kcf\".");
    }
    if (options.json) {
        print(Json{{"file", file}, {"changes", changes}});
    } else {
        std::cout << "Saved " << std::size(persistence::configurationKeys) << " settings in " << file << '\n';
    }
    return 0;
}

} // namespace qelm::tool
