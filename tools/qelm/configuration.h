#pragma once

#include "output.h"
#include "session.h"

#include "persistence/configuration_keys.h"

#include <optional>
#include <string>
#include <vector>

/** What the verbs about configuration files share. */
namespace qelm::tool {

/** A value as the file holds it, in the form that parameters take. */
std::optional<host::Value> savedValue(persistence::Fg_ConfigFileParser& parser,
                                      const persistence::ConfigurationKey& key);

/** What a parameter, or a key of the header, holds on either side. */
struct Difference {
    std::string name;
    const host::Parameter* parameter; ///< null for a key of the header
    std::optional<host::Value> before{};
    std::optional<host::Value> after{};
};

/** Whether both print alike, which is what a configuration file keeps of them. */
bool isSame(const std::optional<host::Value>& left, const std::optional<host::Value>& right);

/** "FG_WIDTH: 1024 -> 512 pixel" */
std::string text(const Difference& difference);
Json json(const Difference& difference);

/** The values of all parameters that a configuration holds, in its order. */
std::vector<Difference> readBefore(const Session& session);
/** Adds the values of now and keeps what differs. */
std::vector<Difference> keepChanged(const Session& session, std::vector<Difference> values);

/** @throws std::runtime_error when there is no such file, or its name is none of a configuration */
void requireConfigurationFile(const std::string& file);

} // namespace qelm::tool
