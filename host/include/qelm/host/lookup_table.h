#pragma once

#include "qelm/host/board.h"

#include <cstdint>
#include <vector>

namespace qelm::host {

inline constexpr std::uint32_t lookupTableSize = 4096;    ///< entries, one for each value of 12 bits
inline constexpr std::uint32_t largestLookupValue = 4095; ///< of an entry

/** All entries, as FG_LUT_VALUE answers them. @throws AppletError */
std::vector<std::uint32_t> readLookupTable(const host::Board& board);

} // namespace qelm::host
