#pragma once

#include "configuration/text.h"
#include "parameters/rows.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <variant>

/** The keys of a configuration file, as the rows of their parameters say. */
namespace qelm::configuration {

enum class KeyType : std::uint8_t { integer, number, text };
/** What a load does with the value: keep it without a check, apply it through the parameter's setter, or both. */
enum class KeyLoading : std::uint8_t { both, keepOnly, applyOnly };

struct ConfigurationKey {
    const char* name;
    std::int32_t id; ///< of the parameter
    KeyType type;
    KeyLoading loading;
};

constexpr ConfigurationKey keyOf(const parameters::Row& row) {
    using parameters::ConfigurationUse;
    using parameters::ValueType;
    return {row.name, row.id,
            row.type == ValueType::text      ? KeyType::text
            : row.type == ValueType::float64 ? KeyType::number
                                             : KeyType::integer,
            row.configuration == ConfigurationUse::kept      ? KeyLoading::keepOnly
            : row.configuration == ConfigurationUse::applied ? KeyLoading::applyOnly
                                                             : KeyLoading::both};
}

/** In file order. */
inline constexpr auto configurationKeys = [] {
    std::array<ConfigurationKey, std::size(parameters::orders::configuration)> keys{};
    std::ranges::transform(parameters::orders::configuration, keys.begin(),
                           [](const parameters::Row* row) { return keyOf(*row); });
    return keys;
}();

/** Those that a load applies, in that order. */
inline constexpr auto appliedKeys = [] {
    std::array<const ConfigurationKey*, std::size(parameters::orders::load)> keys{};
    std::ranges::transform(parameters::orders::load, keys.begin(), [](const parameters::Row* row) {
        return &*std::ranges::find(configurationKeys, row->id, &ConfigurationKey::id);
    });
    return keys;
}();

/** The port whose section holds them; files may have sections for others. */
inline constexpr std::uint32_t configurationPort = 0;

/** An integer, a number or a text. */
using ConfigurationValue = std::variant<std::int32_t, double, std::string>;

/** The value of a key; nothing when it is missing or, as a text too, holds "Error", the mark of a missing one. */
std::optional<ConfigurationValue> readKey(ConfigurationText& text, const ConfigurationKey& key);

} // namespace qelm::configuration
