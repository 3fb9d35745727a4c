#include "load_report.h"

#include <iostream>
#include <stdexcept>

namespace qelm::tool {

int check(const CommonOptions& options, const std::filesystem::path& name) {
    ConfigurationFile file(name, options.setUp.beside);
    const host::Applet applet = loadApplet(options);
    if (applet.virtualBoard() == nullptr) {
        throw std::runtime_error("a check needs the virtual board: it must not change a real one");
    }
    Session session(applet);
    const LoadReport report(session, file);
    Json objects = Json::array();
    for (const Finding& finding : report.findings()) {
        objects.push_back(finding.json());
        if (!options.json) {
            std::cout << finding.text(file) << '\n';
        }
    }
    const bool loads = report.code() == 0;
    if (options.json) {
        print(Json{{"file", name.string()}, {"loads", loads}, {"findings", objects}});
    } else if (!loads) {
        std::cout << "A load would be refused\n";
    } else if (report.findings().empty()) {
        std::cout << "A load would take everything as it is\n";
    }
    return report.findings().empty() && loads ? 0 : 1;
}

} // namespace qelm::tool
