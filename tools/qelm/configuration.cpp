#include "configuration.h"

#include "platform/number_text.h"

#include <algorithm>
#include <stdexcept>

namespace qelm::tool {
namespace {

/** The text that a configuration file would hold. */
std::string savedText(const host::Value& value) {
    if (const auto* number = std::get_if<double>(&value)) {
        return platform::numberText(*number);
    }
    if (const auto* text = std::get_if<std::string>(&value)) {
        return *text;
    }
    return std::to_string(std::get<uint32_t>(value));
}

const host::Parameter* findParameter(const Session& session, int32_t id) {
    const auto& all = session.parameters();
    const auto found = std::ranges::find(all, id, &host::Parameter::id);
    return found == all.end() ? nullptr : &*found;
}

} // namespace

std::optional<host::Value> savedValue(persistence::Fg_ConfigFileParser& parser,
                                      const persistence::ConfigurationKey& key) {
    const auto value = persistence::readKey(parser, key);
    if (!value) {
        return std::nullopt;
    }
    if (const auto* integer = std::get_if<int32_t>(&*value)) {
        return static_cast<uint32_t>(*integer);
    }
    if (const auto* number = std::get_if<double>(&*value)) {
        return *number;
    }
    return std::get<std::string>(*value);
}

bool isSame(const std::optional<host::Value>& left, const std::optional<host::Value>& right) {
    return left && right ? savedText(*left) == savedText(*right) : left.has_value() == right.has_value();
}

std::string text(const Difference& difference) {
    const auto side = [&](const std::optional<host::Value>& value) -> std::string {
        if (!value) {
            return "-";
        }
        return difference.parameter == nullptr ? savedText(*value) : host::formatValue(*difference.parameter, *value);
    };
    const bool hasUnit = difference.parameter != nullptr && difference.after && !difference.parameter->unit.empty();
    return difference.name + ": " + side(difference.before) + " -> " + side(difference.after) +
           (hasUnit ? " " + difference.parameter->unit : "");
}

Json json(const Difference& difference) {
    Json object{{"name", difference.name}};
    if (difference.parameter == nullptr) {
        object["old"] = valueJson(difference.before);
        object["new"] = valueJson(difference.after);
    } else {
        addValue(object, "old", *difference.parameter, difference.before);
        addValue(object, "new", *difference.parameter, difference.after);
    }
    return object;
}

std::vector<Difference> readBefore(const Session& session) {
    std::vector<Difference> values;
    for (const auto& key : persistence::configurationKeys) {
        if (const host::Parameter* parameter = findParameter(session, key.id)) {
            values.push_back({key.name, parameter, session.read({parameter})});
        }
    }
    return values;
}

std::vector<Difference> keepChanged(const Session& session, std::vector<Difference> values) {
    for (Difference& value : values) {
        value.after = session.read({value.parameter});
    }
    std::erase_if(values, [](const Difference& value) { return isSame(value.before, value.after); });
    return values;
}

void requireConfigurationFile(const std::string& file) {
    persistence::Fg_ConfigFileParser parser(nullptr, nullptr, true);
    if (!parser.checkFileExist(file.c_str())) {
        throw std::runtime_error("there is no file \"" + file + "\" that could be read");
    }
    if (!parser.checkFileType(file.c_str())) {
        throw std::runtime_error("\"" + file + "\" is not a configuration file: its name has to contain \".kcf\"");
    }
}

} // namespace qelm::tool
