#pragma once

#include "model/camera/camera_error.h"

#include <cstdint>
#include <span>
#include <string>

namespace qelm::virtual_board {

/** What `action` says when it is refused; nothing when it is not. */
template <class Action>
std::string refusal(Action action) {
    try {
        action();
    } catch (const CameraError& error) {
        return error.what();
    }
    return {};
}

inline constexpr std::uint64_t noPixels = 0xCBF29CE484222325U;

/** FNV-1a over pixels, for those that have to be the same on every platform. */
inline std::uint64_t fingerprint(std::span<const std::uint16_t> pixels, std::uint64_t before = noPixels) {
    for (const std::uint16_t pixel : pixels) {
        before = (before ^ pixel) * 0x100000001B3U;
    }
    return before;
}

} // namespace qelm::virtual_board
