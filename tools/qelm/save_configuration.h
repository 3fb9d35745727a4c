#pragma once

#include "session.h"

#include <filesystem>

namespace qelm::tool {

/**
 * Saves all settings of a board. Warns of names in them that a load would read differently, and writes nothing then if
 * --strict was given.
 *
 * @throws AppletError also for a name without ".kcf", FileError, std::runtime_error
 */
void saveConfiguration(const CommonOptions& options, const Session& session, const std::filesystem::path& file);

} // namespace qelm::tool
