#include "output.h"
#include "output_file.h"
#include "set_up.h"

#include "qelm/host/descriptions.h"

#include <iostream>

namespace qelm::tool {

int xml(const CommonOptions& options, const std::filesystem::path& file) {
    const host::Applet applet = loadApplet(options);
    const Session session = startSession(applet, options);
    const std::string document = host::readDescriptionXml(session.board());
    if (!file.empty()) {
        writeFile(file, document);
    }
    if (options.json) {
        print(file.empty() ? Json{{"document", document}} : Json{{"file", file.string()}});
    } else if (file.empty()) {
        std::cout << document;
    }
    return 0;
}

} // namespace qelm::tool
