#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

/** Files read and written in one piece; their bytes are taken as they are on every system. */
namespace qelm::platform {

enum class ReadOutcome { done, cannotOpen, cannotRead };

/** Reads a file of at most `limit` bytes; what is larger, or a folder, cannot be read. */
ReadOutcome readWholeFile(const std::string& path, std::size_t limit, std::string& content);

/** Reads what is left of a stream, at most `limit` bytes. @return false when there is more, or it cannot be read */
bool readRest(std::FILE* stream, std::size_t limit, std::string& content);

/** Creates the file or replaces what it held. @return whether all of it was written */
bool writeWholeFile(const std::string& path, std::string_view content);

} // namespace qelm::platform
