#include "configuration/numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

namespace qelm::configuration {
namespace {

constexpr std::string_view blanks = " \t\n\v\f\r";

/** A decimal number without its sign, and whether it has one. */
struct Decimal {
    bool negative = false;
    std::optional<std::uint64_t> magnitude{}; ///< the largest one when it does not fit
};

/** The number that the text begins with, blanks before it aside. */
Decimal readDecimal(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    Decimal result;
    if (text.starts_with('-') || text.starts_with('+')) {
        result.negative = text.front() == '-';
        text.remove_prefix(1);
    }
    std::uint64_t magnitude = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), magnitude);
    if (error == std::errc::result_out_of_range) {
        magnitude = std::numeric_limits<std::uint64_t>::max();
    }
    if (end != text.data()) {
        result.magnitude = magnitude;
    }
    return result;
}

} // namespace

std::string numberText(double value) {
    constexpr int significantDigits = 12;
    std::array<char, 32> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general,
                                   significantDigits)
                         .ptr;
    return {buffer.data(), end};
}

double numberValue(std::string_view text) {
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

std::int32_t integerValue(std::string_view text) {
    using Limits = std::numeric_limits<std::int32_t>;
    const Decimal decimal = readDecimal(text);
    const std::uint64_t largest = static_cast<std::uint64_t>(Limits::max()) + (decimal.negative ? 1 : 0);
    const auto magnitude = static_cast<std::int64_t>(std::min(decimal.magnitude.value_or(0), largest));
    return static_cast<std::int32_t>(decimal.negative ? -magnitude : magnitude);
}

std::optional<std::uint64_t> wideIntegerValue(std::string_view text) {
    const Decimal decimal = readDecimal(text);
    return decimal.negative && decimal.magnitude ? 0 - *decimal.magnitude : decimal.magnitude;
}

} // namespace qelm::configuration
