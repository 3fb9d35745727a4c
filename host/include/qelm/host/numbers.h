#pragma once

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

/** Numbers as text, whatever the locale. */
namespace qelm::host {

/** The shortest text that reads back as the same number. */
std::string formatNumber(double value);

/**
 * Reads a decimal number, or for integers a hexadecimal one with the prefix 0x; the whole text has to be the number.
 *
 * @return errc{} on success; invalid_argument for what is no number; result_out_of_range for one that does not fit
 */
template <class T>
std::errc parseNumber(std::string_view text, T& value) {
    std::from_chars_result result{};
    if constexpr (std::is_floating_point_v<T>) {
        result = std::from_chars(text.data(), text.data() + text.size(), value);
    } else {
        const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
        if (hexadecimal) {
            text.remove_prefix(2);
        }
        result = std::from_chars(text.data(), text.data() + text.size(), value, hexadecimal ? 16 : 10);
    }
    if (result.ec == std::errc{} && result.ptr != text.data() + text.size()) {
        return std::errc::invalid_argument;
    }
    return result.ec;
}

} // namespace qelm::host
