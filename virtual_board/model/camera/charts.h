#pragma once

#include <cstdint>
#include <span>
#include <string_view>

/** The pictures that a virtual camera has of its own. */
namespace qelm::virtual_board::charts {

using Draw = void (*)(std::span<std::uint16_t> pixels, std::uint32_t width, std::uint32_t height);

std::span<const std::string_view> names();
/** @return null for a name that is none of these */
Draw find(std::string_view name);

} // namespace qelm::virtual_board::charts
