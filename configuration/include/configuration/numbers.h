#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/** Numbers as text, with a decimal point whatever the process's locale. */
namespace qelm::configuration {

/** 12 significant digits, as "%.12g" writes them; at most 19 characters. */
std::string numberText(double value);

/** The number that the text begins with, blanks before it aside; 0 when there is none. Too large becomes infinite. */
double numberValue(std::string_view text);

/** The decimal number that the text begins with, blanks before it aside; 0 when there is none. What does not fit
 * becomes the nearest limit. */
std::int32_t integerValue(std::string_view text);
/** Likewise, and a negative number wraps around; nothing when there is none. */
std::optional<std::uint64_t> wideIntegerValue(std::string_view text);

} // namespace qelm::configuration
