#pragma once

#include "session.h"
#include "verbs.h"

#include <string>

namespace qelm::tool {

/**
 * The options of the camera to connect. Without any, and for "match", size, taps and bits are those that the board is
 * set to; what follows "match," is added. A camera that is chosen otherwise and does not fit the settings is warned
 * about, both sides named.
 */
std::string matchedCamera(const Session& session, const std::string& options);

} // namespace qelm::tool
