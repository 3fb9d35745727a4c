#include "load_report.h"

#include "output_file.h"
#include "set_up.h"

#include <iostream>

namespace qelm::tool {

int load(const CommonOptions& options, const std::filesystem::path& name) {
    ConfigurationFile file = openToLoad(name, options.setUp.beside);
    const host::Applet applet = loadApplet(options);
    Session session = startSession(applet, options);
    std::vector<Difference> values = readBefore(session);
    const LoadReport report(session, file);
    values = keepChanged(session, std::move(values));
    Json changes = Json::array();
    for (const Difference& change : values) {
        changes.push_back(json(change));
        if (!options.json) {
            std::cout << text(change) << '\n';
        }
    }
    Json findings = Json::array();
    for (const Finding& finding : report.findings()) {
        printWarning(finding.text(file));
        findings.push_back(finding.json());
    }
    if (options.json) {
        print(Json{{"file", name.string()}, {"result", report.code()}, {"changes", changes}, {"findings", findings}});
    } else if (values.empty() && report.code() == 0) {
        std::cout << "Nothing changed\n";
    }
    if (report.code() < 0) {
        throw host::AppletError(report.code(), "loading \"" + name.string() + "\" failed",
                                values.empty() ? "" : "What changed before stays.");
    }
    return 0;
}

} // namespace qelm::tool
