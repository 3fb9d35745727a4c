#include "set_up.h"

#include "load_report.h"
#include "lookup_table_file.h"
#include "output_file.h"
#include "steps.h"

#include <stdexcept>

namespace qelm::tool {

ConfigurationFile openToLoad(const std::filesystem::path& name, bool beside) {
    try {
        return ConfigurationFile(name, beside);
    } catch (const FileError& error) {
        throw host::AppletError(FG_ERROR_FILE_NOT_FOUND, "loading \"" + name.string() + "\" failed",
                                host::Reason{error.what()});
    }
}

void loadConfiguration(Session& session, const std::filesystem::path& name, bool beside) {
    ConfigurationFile file = openToLoad(name, beside);
    const LoadReport report(session, file);
    for (const Finding& finding : report.findings()) {
        printWarning(finding.text(file));
    }
    if (report.code() < 0) {
        throw host::AppletError(report.code(), "loading \"" + name.string() + "\" failed");
    }
    for (const configuration::ConfigurationKey* key : report.overruled()) {
        const host::Reference reference = host::parseReference(session.parameters(), key->name);
        host::writeValue(session.board(), {reference, *file.value(*key)});
        printError("note: " + std::string(key->name) + " was set again after the load, as the file means it");
    }
}

Session startSession(const host::Applet& applet, const CommonOptions& options) {
    Session session(applet);
    if (!options.setUp.load.empty()) {
        loadConfiguration(session, options.setUp.load, options.setUp.beside);
        requireNoWarnings(options);
    }
    makeSettings(session, options.setUp.settings);
    return session;
}

void makeSettings(Session& session, const std::vector<std::string>& settings) {
    for (const Step& step : parseAssignments(session, settings)) {
        host::writeValue(session.board(), {step.reference, *step.value});
        warnOfLookupTable(session, *step.reference.parameter);
    }
}

void requireNoWarnings(const CommonOptions& options) {
    if (options.strict && !warnings().empty()) {
        throw std::runtime_error("not done, because of the warning" + std::string(warnings().size() == 1 ? "" : "s") +
                                 " before and --strict");
    }
}

} // namespace qelm::tool
