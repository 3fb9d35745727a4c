#pragma once

#include "configuration.h"
#include "session.h"
#include "verbs.h"

#include <filesystem>

/** What the verbs that start a board share: the file that is loaded first, and the settings that follow. */
namespace qelm::tool {

/** @param beside relative names in the file are meant from its folder @throws AppletError when it cannot be read */
ConfigurationFile openToLoad(const std::filesystem::path& file, bool beside);

/**
 * Loads a file, warns of what became of it, and sets again what the file means and a load leaves out.
 *
 * @throws AppletError when it cannot be loaded
 */
void loadConfiguration(Session& session, const std::filesystem::path& file, bool beside);

/**
 * Starts the applet on a board, loads the file of --load, of which it does what the file means, and makes the settings
 * of --set.
 *
 * @throws AppletError for what is refused, std::runtime_error for what --strict does not let pass
 */
Session startSession(const host::Applet& applet, const CommonOptions& options);

/** Makes settings, "NAME=VALUE" each, arranged as `parseAssignments` does. @throws AppletError, SyntaxError */
void makeSettings(Session& session, const std::vector<std::string>& settings);

/** Before a verb does what is to be done. @throws std::runtime_error when there were warnings and --strict was given */
void requireNoWarnings(const CommonOptions& options);

} // namespace qelm::tool
