#include "temporary_folder.h"

#include "console.h"
#include "output_file.h"

#include "qelm/host/system.h"
#include "qelm/host/text.h"

#include <random>

namespace qelm::tool {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
    parent_ = fs::temp_directory_path(error_);
    if (error_) {
        return;
    }
    const fs::path folder = parent_ / ("qelm-" + std::to_string(std::random_device()()));
    createUnfinished(folder, [&] { fs::create_directory(folder, error_); });
    if (error_) {
        removeUnfinished(folder);
        return;
    }
    path_ = folder;
    std::error_code ignored;
    fs::permissions(folder, fs::perms::owner_all, ignored);
    try {
        host::setEnvironment(temporaryFolderVariable, host::systemFileName(folder).c_str());
    } catch (const host::EncodingError&) { // NOLINT(bugprone-empty-catch): the applet uses the system's, then
    }
}

TemporaryFolder::~TemporaryFolder() {
    if (!path_.empty()) {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
        removeUnfinished(path_);
    }
}

const fs::path& TemporaryFolder::path() const {
    if (path_.empty()) {
        throw FileError(parent_, "used for temporary files", error_);
    }
    return path_;
}

const TemporaryFolder& temporaryFolder() {
    static const TemporaryFolder folder;
    return folder;
}

} // namespace qelm::tool
