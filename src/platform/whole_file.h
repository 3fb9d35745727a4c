#pragma once

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

/** Files read and written in one piece; their bytes are taken as they are on every system. */
namespace qelm::platform {

enum class ReadOutcome { done, cannotOpen, cannotRead };

/** Reads a file of at most `limit` bytes; what is larger, or a folder, cannot be read. */
ReadOutcome readWholeFile(const std::string& path, std::size_t limit, std::string& content);

/** Reads what is left of a stream, at most `limit` bytes. @return false when there is more, or it cannot be read */
bool readRest(std::FILE* stream, std::size_t limit, std::string& content);

/**
 * New content for a file, which takes the place of the older one when it is complete: until then the older one stays
 * as it is. It grows in a file beside it. What no file can take the place of, such as a device, is written directly.
 */
class FileReplacement {
  public:
    /** @param mode of std::fopen, to write: "w" or "wb" */
    FileReplacement(const std::string& path, const char* mode);
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;
    /** Drops what was written, unless it was finished. */
    ~FileReplacement();

    /** Where to write; null when there is no place to. */
    std::FILE* stream() const { return stream_; }
    /** Closes the stream. @return whether all that was written is in place; otherwise nothing is left of it */
    bool finish();

  private:
    bool close();

    std::optional<std::string> target_; // what to replace
    std::string written_;               // beside it; empty when the file is written directly
    std::FILE* stream_ = nullptr;
};

/** Creates the file or replaces what it held. @return whether all of it was written */
bool writeWholeFile(const std::string& path, std::string_view content);

} // namespace qelm::platform
