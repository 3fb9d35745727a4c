#include "platform/number_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

namespace qelm::platform {

std::string numberText(double value) {
    constexpr int significantDigits = 12;
    std::array<char, 32> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general,
                                   significantDigits)
                         .ptr;
    return {buffer.data(), end};
}

double numberValue(std::string_view text) {
    constexpr std::string_view blanks = " \t\n\v\f\r";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') {
        text.remove_prefix(1);
    }
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) {
        // Too large or too small: in texts of a sane length the sign of the exponent tells.
        const std::string_view number(text.data(), end);
        const bool tooSmall = number.find("e-") != number.npos || number.find("E-") != number.npos;
        const double magnitude = tooSmall ? 0.0 : std::numeric_limits<double>::infinity();
        return number.starts_with('-') ? -magnitude : magnitude;
    }
    return value;
}

} // namespace qelm::platform
