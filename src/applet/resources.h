#pragma once

#include <cstdint>
#include <span>

/** The data blocks inside the library. */
namespace qelm::applet {

/** The design image, handed to the design image loader as it is. */
std::span<const std::uint8_t> embeddedDesignImage();
/** A PNG image of 32 by 32 pixels. */
std::span<const std::uint8_t> iconImage();

} // namespace qelm::applet
