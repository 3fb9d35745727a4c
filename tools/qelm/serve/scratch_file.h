#pragma once

#include "serve/served_board.h"

#include <filesystem>
#include <string>
#include <system_error>

namespace qelm::server {

/** A new name in the run's private folder; what is written there goes with the object, unless it is kept. */
class ScratchFile {
  public:
    ScratchFile(ServedBoard& served, const std::string& ending) : path_(served.newFile(ending)) {}
    ~ScratchFile() {
        if (!kept_) {
            std::error_code ignored;
            std::filesystem::remove(path_, ignored);
        }
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    const std::filesystem::path& path() const { return path_; }
    /** For a file that a setting names: it stays until the server ends. */
    void keep() { kept_ = true; }

  private:
    std::filesystem::path path_;
    bool kept_ = false;
};

} // namespace qelm::server
