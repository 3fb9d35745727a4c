#include "qelm/host/text.h"

namespace qelm::host {

std::string systemText(const std::string& utf8) {
    return utf8;
}

std::string utf8Text(const std::string& system) {
    return system;
}

std::string systemFileName(const std::filesystem::path& file) {
    return file.string();
}

} // namespace qelm::host
