#pragma once

#include "configuration/keys.h"
#include "parameters/dispatch.h"
#include "persistence/fg_config_file_parser.h"

/**
 * What a configuration file holds of the parameters: the section of port 0 with a key per parameter. The file's frame,
 * which says whose configuration it is, belongs to the applet.
 */
namespace qelm::persistence {

/** The value of a key, looked up through the parser; nothing when it is missing or holds the mark of a missing one. */
std::optional<configuration::ConfigurationValue> readKey(Fg_ConfigFileParser& parser,
                                                         const configuration::ConfigurationKey& key);

/** Writes every key with the value that the parameter's getter answers, or the cached one when it fails. */
void storeParameters(Fg_ConfigFileParser& parser, const parameters::Dispatch& dispatch);

/**
 * Reads all keys, keeping their values without a check; then applies them through the setters, where a refused value
 * stays kept; at last has the shading coefficients computed.
 *
 * @return false when a key is missing; what was kept and applied before it stays
 */
bool applyParameters(Fg_ConfigFileParser& parser, const parameters::Dispatch& dispatch);

} // namespace qelm::persistence
