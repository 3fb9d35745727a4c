#pragma once

#include "parameters/parameter.h"
#include "persistence/fg_config_file_parser.h"

#include <cstdint>
#include <functional>

/**
 * What a configuration file holds of the parameters: the section of port 0 with a key per parameter. The file's frame,
 * which says whose configuration it is, belongs to the applet.
 */
namespace qelm::persistence {

/** Answers the parameter of an identifier; throws when there is none. */
using ParameterOf = std::function<parameters::Parameter&(std::int32_t id)>;

/** Writes every key with the value that the parameter's getter answers, or the remembered one when it fails. */
void storeParameters(Fg_ConfigFileParser& parser, const ParameterOf& parameterOf);

/**
 * Reads all keys, keeping their values without a check; then applies them through the setters, where a refused value
 * stays kept; at last has the shading coefficients computed.
 *
 * @return false when a key is missing; what was kept and applied before it stays
 */
bool applyParameters(Fg_ConfigFileParser& parser, const ParameterOf& parameterOf);

} // namespace qelm::persistence
