#pragma once

#include <filesystem>
#include <system_error>

namespace qelm::tool {

/**
 * The run's own folder for temporary files, gone with the run whatever ends it. The applet's go there, too: it asks the
 * environment for the folder. Where none can be made, the environment stays as it is.
 */
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /** @throws FileError when none could be made */
    const std::filesystem::path& path() const;

  private:
    std::filesystem::path path_;
    std::filesystem::path parent_;
    std::error_code error_;
};

/** The one of this run; made when first asked for. */
const TemporaryFolder& temporaryFolder();

} // namespace qelm::tool
