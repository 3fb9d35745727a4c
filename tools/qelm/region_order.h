#pragma once

#include "steps.h"

namespace qelm::tool {

/**
 * Settings of camera size, region and offset limit each other, so their order decides whether they are accepted. Where
 * the order given would be refused on the way to an end that holds, they change places among themselves; the others
 * stay where they are.
 *
 * @throws std::runtime_error when no order leads there: it names what does not fit into what
 */
std::vector<Step> arrangeRegion(const Session& session, std::vector<Step> steps);

} // namespace qelm::tool
