#include "configuration/keys.h"

#include "configuration/numbers.h"

namespace qelm::configuration {

std::optional<ConfigurationValue> readKey(ConfigurationText& text, const ConfigurationKey& key) {
    const auto value = text.value(portSection(configurationPort), key.name);
    if (!value || value->find(missingMark) != value->npos) {
        return std::nullopt;
    }
    switch (key.type) {
    case KeyType::integer:
        return integerValue(*value);
    case KeyType::number:
        return numberValue(*value);
    case KeyType::text:
        break;
    }
    return std::string(*value);
}

} // namespace qelm::configuration
