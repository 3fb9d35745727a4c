#pragma once

#include <string>
#include <string_view>

/** Floating-point numbers as text with a decimal point, whatever the process's locale. */
namespace qelm::platform {

/** 12 significant digits, as "%.12g" writes them; at most 19 characters. */
std::string numberText(double value);

/** The number that the text begins with, blanks before it aside; 0 when there is none. Too large becomes infinite. */
double numberValue(std::string_view text);

} // namespace qelm::platform
