#include "persistence/configuration.h"

#include "parameters/parameter.h"
#include "zantor_obvelline_qx4_rk/enumerations.h"

#include <algorithm>
#include <string>
#include <variant>

namespace qelm::persistence {
namespace {

using configuration::appliedKeys;
using configuration::ConfigurationKey;
using configuration::configurationKeys;
using configuration::configurationPort;
using configuration::ConfigurationValue;
using configuration::KeyLoading;
using configuration::KeyType;
using parameters::Parameter;
using parameters::Value;

/** What a get answers, or what was set last where the design does not answer: a load needs every key. */
Value valueOf(Parameter& parameter) {
    try {
        return parameter.get({});
    } catch (std::int32_t) {
        return parameter.cached();
    }
}

void write(Fg_ConfigFileParser& parser, const ConfigurationKey& key, const Value& value) {
    switch (key.type) {
    case KeyType::integer:
        parser.writeConfigFileIntKey(key.name, parameters::valueAs<std::int32_t>(value));
        break;
    case KeyType::number:
        parser.wrtiteConfigFileDoubleKey(key.name, std::get<double>(value));
        break;
    case KeyType::text:
        parser.writeConfigFile(key.name, std::get<std::string>(value).c_str());
        break;
    }
}

/** Reads a key and hands its value over. @return false when it is missing */
template <typename Use>
bool read(Fg_ConfigFileParser& parser, const ConfigurationKey& key, Use use) {
    const auto value = readKey(parser, key);
    if (value) {
        use(std::visit([](const auto& typed) -> Value { return typed; }, *value));
    }
    return value.has_value();
}

bool store(Fg_ConfigFileParser& parser, const parameters::Dispatch& dispatch) {
    return std::ranges::all_of(configurationKeys, [&](const ConfigurationKey& key) {
        const auto storeValue = [&](const Value& value) { dispatch.at(key.id).store(value); };
        return key.loading == KeyLoading::applyOnly || read(parser, key, storeValue);
    });
}

bool apply(Fg_ConfigFileParser& parser, const parameters::Dispatch& dispatch) {
    return std::ranges::all_of(appliedKeys, [&](const ConfigurationKey* key) {
        Parameter& parameter = dispatch.at(key->id);
        const auto set = [&](const Value& value) { parameters::skipRefusal([&] { parameter.set(value); }); };
        return read(parser, *key, set);
    });
}

} // namespace

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
        found = parser.parsePortKey(configurationPort, key.name, text) == 0 &&
                text.find(configuration::missingMark) == text.npos;
        break;
    }
    }
    return found ? std::optional(std::move(value)) : std::nullopt;
}

void storeParameters(Fg_ConfigFileParser& parser, const parameters::Dispatch& dispatch) {
    parser.writePortSection(configurationPort);
    for (const ConfigurationKey& key : configurationKeys) {
        write(parser, key, valueOf(dispatch.at(key.id)));
    }
}

bool applyParameters(Fg_ConfigFileParser& parser, const parameters::Dispatch& dispatch) {
    try {
        if (!store(parser, dispatch) || !apply(parser, dispatch)) {
            return false;
        }
        parameters::skipRefusal([&] { dispatch.at(FG_SHADING_APPLY_SETTINGS).set(std::int32_t{FG_APPLY}); });
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace qelm::persistence
