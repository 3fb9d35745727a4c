#include "qelm/host/numbers.h"

#include <array>

namespace qelm::host {

std::string formatNumber(double value) {
    std::array<char, 32> buffer{};
    // Plain notation for what is short that way: 62500000, not 6.25e+07.
    std::to_chars_result result = std::to_chars(buffer.data(), buffer.data() + 16, value, std::chars_format::fixed);
    if (result.ec != std::errc{}) {
        result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    }
    return {buffer.data(), result.ptr};
}

} // namespace qelm::host
