#include "persistence/configuration.h"

#include "parameters/parameter_kinds.h"
#include "persistence/configuration_keys.h"
#include "zantor_obvelline_qx4_rk/enumerations.h"

#include <algorithm>
#include <string>

namespace qelm::persistence {
namespace {

using parameters::OnFailure;
using parameters::Parameter;

void write(Fg_ConfigFileParser& parser, const ConfigurationKey& key, Parameter& parameter) {
    switch (key.type) {
    case KeyType::integer: {
        std::int32_t value = 0;
        parameter.get(&value);
        parser.writeConfigFileIntKey(key.name, value);
        break;
    }
    case KeyType::number: {
        double value = 0.0;
        parameter.get(&value);
        parser.wrtiteConfigFileDoubleKey(key.name, value);
        break;
    }
    case KeyType::text:
        // Not through the getter, which copies out more than any room would be sure to hold.
        parser.writeConfigFile(key.name, dynamic_cast<parameters::Remembered<std::string>&>(parameter).value().c_str());
        break;
    }
}

/** Reads a key and hands the value over as parameters take it. @return false when it is missing */
template <typename Use>
bool read(Fg_ConfigFileParser& parser, const ConfigurationKey& key, Use use) {
    const auto value = readKey(parser, key);
    if (!value) {
        return false;
    }
    if (const auto* text = std::get_if<std::string>(&*value)) {
        use(text->c_str());
    } else if (const auto* number = std::get_if<double>(&*value)) {
        use(number);
    } else {
        use(&std::get<std::int32_t>(*value));
    }
    return true;
}

bool keep(Fg_ConfigFileParser& parser, const ParameterOf& parameterOf) {
    return std::ranges::all_of(configurationKeys, [&](const ConfigurationKey& key) {
        const auto assign = [&](const void* value) { parameterOf(key.id).assign(value); };
        return key.loading == KeyLoading::applyOnly || read(parser, key, assign);
    });
}

bool apply(Fg_ConfigFileParser& parser, const ParameterOf& parameterOf) {
    return forEachAppliedKey([&](const ConfigurationKey& key) {
        const auto set = [&](const void* value) { parameterOf(key.id).set(value, OnFailure::swallow); };
        return read(parser, key, set);
    });
}

} // namespace

void storeParameters(Fg_ConfigFileParser& parser, const ParameterOf& parameterOf) {
    parser.writePortSection(configurationPort);
    for (const ConfigurationKey& key : configurationKeys) {
        try {
            write(parser, key, parameterOf(key.id));
        } catch (...) { // NOLINT(bugprone-empty-catch): the other keys are worth saving all the same
        }
    }
}

bool applyParameters(Fg_ConfigFileParser& parser, const ParameterOf& parameterOf) {
    try {
        if (!keep(parser, parameterOf) || !apply(parser, parameterOf)) {
            return false;
        }
        const std::int32_t applySettings = FG_APPLY;
        parameterOf(FG_SHADING_APPLY_SETTINGS).set(&applySettings, OnFailure::swallow);
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace qelm::persistence
