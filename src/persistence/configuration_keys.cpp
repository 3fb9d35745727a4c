#include "persistence/configuration_keys.h"

namespace qelm::persistence {

std::optional<ConfigurationValue> readKey(Fg_ConfigFileParser& parser, const ConfigurationKey& key) {
    ConfigurationValue value;
    bool found = false;
    switch (key.type) {
    case KeyType::integer:
        found = parser.parsePortIntKey(configurationPort, key.name, value.emplace<std::int32_t>()) == 0;
        break;
    case KeyType::number:
        found = parser.parsePortDoubleKey(configurationPort, key.name, value.emplace<double>()) == 0;
        break;
    case KeyType::text: {
        auto& text = value.emplace<std::string>();
        found = parser.parsePortKey(configurationPort, key.name, text) == 0 && text.find("Error") == text.npos;
        break;
    }
    }
    return found ? std::optional(std::move(value)) : std::nullopt;
}

} // namespace qelm::persistence
