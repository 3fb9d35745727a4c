#pragma once

#include <optional>
#include <string>

namespace qelm::platform {

/** An empty file with a name of its own in the system's temporary directory, deleted with the object. */
class TemporaryFile {
  public:
    /** @return nothing when there is no such folder or no file can be created in it */
    static std::optional<TemporaryFile> create();

    TemporaryFile(TemporaryFile&& other) noexcept : path_(std::move(other.path_)) { other.path_.clear(); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    TemporaryFile& operator=(TemporaryFile&&) = delete;
    ~TemporaryFile();

    const std::string& path() const { return path_; }

  private:
    explicit TemporaryFile(std::string path) : path_(std::move(path)) {}

    std::string path_; // empty: moved from
};

} // namespace qelm::platform
