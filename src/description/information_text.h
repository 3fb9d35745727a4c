#pragma once

#include "description/information.h"

#include <string>

namespace qelm::description {

/**
 * All that is known about a parameter, a line "Key: value" for each fact. Keys that stand for several facts stand
 * several times ("Entry: FG_ON = 1 (On)"). Numbers read back as the same values, in every locale.
 */
std::string informationText(const ParameterNode& node);

} // namespace qelm::description
