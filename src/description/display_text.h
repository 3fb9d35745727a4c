#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qelm::description {

/**
 * Text of unknown encoding as UTF-8 that every reader takes: bytes that are no UTF-8 count as Latin-1, tabs and line
 * breaks become blanks, other control characters and what is no character at all become U+FFFD.
 */
std::string displayText(std::string_view bytes);

/** The longest start of a UTF-8 text that has at most that many bytes and ends with a whole character. */
std::string_view cutText(std::string_view text, std::size_t limit);

} // namespace qelm::description
