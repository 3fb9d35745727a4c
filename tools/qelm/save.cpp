#include "configuration.h"
#include "save_configuration.h"
#include "set_up.h"
#include "steps.h"

#include <iostream>

namespace qelm::tool {

int save(const CommonOptions& options, const std::filesystem::path& file, const std::vector<std::string>& assignments) {
    const host::Applet applet = loadApplet(options);
    Session session = startSession(applet, options);
    const StepsOutcome changes = runAll(options, session, parseAssignments(session, assignments));
    if (!changes.succeeded) {
        printError("\"" + file.string() + "\" was not written");
        return 1;
    }
    saveConfiguration(options, session, file);
    if (options.json) {
        print(Json{{"file", file.string()}, {"changes", changes.json}});
    } else {
        std::cout << "Saved " << std::size(configuration::configurationKeys) << " settings in " << file.string()
                  << '\n';
    }
    return 0;
}

} // namespace qelm::tool
