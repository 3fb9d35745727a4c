#pragma once

#include "zantor_obvelline_qx4_rk/error_codes.h"

#include <cstdint>

namespace qelm::virtual_board {

/** What the vendor libraries answer: the codes that the applet passes on, and the runtime's own for acquisition. */
inline constexpr std::int32_t ok = 0;
inline constexpr std::int32_t systemError = FG_ERROR_SYSTEM;         ///< the system refused memory or a file
inline constexpr std::int32_t notPermitted = FG_ERROR_NOT_AVAILABLE; ///< write to what is read-only, or the reverse
inline constexpr std::int32_t noDesignImage = FG_ERROR_DESIGN_IMAGE; ///< an init function's image handle is none
inline constexpr std::int32_t invalidBoard = FG_ERROR_INVALID_BOARD; ///< no such board or handle, or it was closed
inline constexpr std::int32_t unknown = FG_ERROR_UNKNOWN; ///< identifier, name or address, null, or an unfit type
inline constexpr std::int32_t fileNotFound = FG_ERROR_FILE_NOT_FOUND; ///< no coefficient file of the required form
inline constexpr std::int32_t notSupported = FG_ERROR_NOT_SUPPORTED;  ///< nothing this board can do
inline constexpr std::int32_t outOfRange = FG_ERROR_OUT_OF_RANGE;     ///< the design's limits do not admit the value
inline constexpr std::int32_t timedOut = -2110;                       ///< the picture waited for did not come in time
inline constexpr std::int32_t acquiring = -2115;                      ///< pictures are being acquired already
inline constexpr std::int32_t notAcquiring = -2116;                   ///< the memory takes part in no acquisition

} // namespace qelm::virtual_board
