#include "configuration.h"
#include "output_file.h"
#include "set_up.h"
#include "steps.h"
#include "temporary_folder.h"

#include "configuration/text.h"
#include "qelm/host/text.h"

#include <iostream>

namespace qelm::tool {

namespace {

/** File names that a load would not read as they were saved. */
void warnOfTexts(const Session& session, const std::filesystem::path& copy) {
    ConfigurationFile saved(copy);
    for (const auto& key : configuration::configurationKeys) {
        if (key.type != configuration::KeyType::text) {
            continue;
        }
        const auto value = session.read(host::parseReference(session.parameters(), key.name));
        const auto read = saved.value(key);
        if (!isSame(value, read)) {
            printWarning(std::string(key.name) + " is saved as \"" + std::get<std::string>(*value) + "\", but a load " +
                         (read ? "reads \"" + std::get<std::string>(*read) + "\"" : "refuses the file for it") +
                         ": names with quotes, \";\", \"=\", line breaks or \"Error\", and long ones, do not last");
        }
    }
}

} // namespace

int save(const CommonOptions& options, const std::string& file, const std::vector<std::string>& assignments) {
    const host::Applet applet = loadApplet(options);
    Session session = startSession(applet, options);
    const StepsOutcome changes = runAll(options, session, parseAssignments(session, assignments));
    if (!changes.succeeded) {
        printError("\"" + file + "\" was not written");
        return 1;
    }
    if (file.find(".kcf") == file.npos) {
        throw host::AppletError(FG_ERROR_FILE_ACCESS, "saving \"" + file + "\" failed",
                                "The name of a configuration file has to contain \".kcf\".");
    }
    const std::filesystem::path copy = temporaryFolder().path() / "saved.kcf";
    if (const std::int32_t code = applet->Fg_saveConfig(session.board(), host::systemFileName(copy).c_str());
        code < 0) {
        throw host::AppletError(code, "saving \"" + file + "\" failed");
    }
    warnOfTexts(session, copy);
    requireNoWarnings(options);
    writeFile(file, readFile(copy, configuration::ConfigurationText::largestText));
    if (options.json) {
        print(Json{{"file", file}, {"changes", changes.json}});
    } else {
        std::cout << "Saved " << std::size(configuration::configurationKeys) << " settings in " << file << '\n';
    }
    return 0;
}

} // namespace qelm::tool
