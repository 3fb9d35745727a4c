#pragma once

#include <cstdint>
#include <string>

namespace qelm::tool {

/** What users call a signal of the virtual board, counted as the parameters or the connector do. @param signal of
 * VIRTUAL_BOARD_SIGNAL_... */
std::string signalName(std::uint32_t signal);

} // namespace qelm::tool
