#pragma once

#include "persistence/fg_config_file_parser.h"
#include "zantor_obvelline_qx4_rk/parameter_ids.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

/** The keys of a configuration file, from configuration_keys.inc. */
namespace qelm::persistence {

enum class KeyType : std::uint8_t { integer, number, text };
enum class KeyLoading : std::uint8_t { both, first, keepOnly, applyOnly };

struct ConfigurationKey {
    const char* name;
    std::int32_t id; ///< of the parameter
    KeyType type;
    KeyLoading loading;
};

/** In file order. */
inline constexpr ConfigurationKey configurationKeys[] = {
#define CONFIGURATION_KEY(parameter, type, loading) {#parameter, parameter, KeyType::type, KeyLoading::loading},
#include "persistence/configuration_keys.inc"
};

/** The port whose section holds them; files may have sections for others. */
inline constexpr std::uint32_t configurationPort = 0;

/** An integer, a number or a text. */
using ConfigurationValue = std::variant<std::int32_t, double, std::string>;

/** The value of a key; nothing when it is missing or, as a text too, holds "Error", the mark of a missing one. */
std::optional<ConfigurationValue> readKey(Fg_ConfigFileParser& parser, const ConfigurationKey& key);

/** Calls use(key) for every key that a load applies, in that order, as long as it answers true. */
template <typename Use>
bool forEachAppliedKey(Use&& use) {
    for (const bool first : {true, false}) {
        for (const ConfigurationKey& key : configurationKeys) {
            const bool applied = key.loading != KeyLoading::keepOnly && (key.loading == KeyLoading::first) == first;
            if (applied && !use(key)) {
                return false;
            }
        }
    }
    return true;
}

} // namespace qelm::persistence
