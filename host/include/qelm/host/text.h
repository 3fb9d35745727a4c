#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

/**
 * Text at the boundary. Everything here and above is UTF-8. What applets, the vendor libraries and the virtual board
 * take and give as char is in the system's encoding: the active code page on Windows, UTF-8 elsewhere.
 */
namespace qelm::host {

/** A text that the system's encoding cannot express; the sentence quotes it. */
class EncodingError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** @throws EncodingError */
std::string systemText(const std::string& utf8);
std::string utf8Text(const std::string& system);

/**
 * A file's path from its name in UTF-8. A plain conversion is for file names of literals alone: on Windows the standard
 * library takes the bytes of a narrow string for letters. Back it is `path.string()`, which is UTF-8 everywhere.
 */
inline std::filesystem::path pathOf(std::string_view utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

/**
 * The name of a file in the system's encoding; where that cannot express it, the short name of a file that exists.
 *
 * @throws EncodingError
 */
std::string systemFileName(const std::filesystem::path& file);

} // namespace qelm::host
