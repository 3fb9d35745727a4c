#include "output.h"
#include "session.h"

#include "qelm/host/descriptions.h"

#include <fstream>
#include <iostream>
#include <stdexcept>

namespace qelm::tool {

int xml(const CommonOptions& options, const std::filesystem::path& file) {
    const host::Applet applet = loadApplet(options);
    const Session session(applet);
    const std::string document = host::readDescriptionXml(session.board());
    if (file.empty()) {
        std::cout << document << std::flush;
        return 0;
    }
    std::ofstream stream(file, std::ios::binary);
    stream << document << std::flush;
    if (!stream) {
        throw std::runtime_error("the file \"" + file.string() + "\" cannot be written");
    }
    return 0;
}

} // namespace qelm::tool
