#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace qelm::virtual_board {

/** CRC-32 as zlib computes it. */
inline std::uint32_t crc32(const unsigned char* bytes, std::size_t length) {
    static constexpr auto table = [] {
        std::array<std::uint32_t, 256> result{};
        for (std::uint32_t i = 0; i < result.size(); ++i) {
            std::uint32_t value = i;
            for (int bit = 0; bit < 8; ++bit) {
                value = (value & 1) != 0 ? (value >> 1) ^ 0xEDB88320U : value >> 1;
            }
            result[i] = value;
        }
        return result;
    }();
    std::uint32_t value = ~0U;
    for (std::size_t i = 0; i < length; ++i) {
        value = (value >> 8) ^ table[(value ^ bytes[i]) & 0xFF];
    }
    return ~value;
}

} // namespace qelm::virtual_board
