#include "configuration.h"

#include "output_file.h"
#include "temporary_folder.h"

#include "configuration/numbers.h"
#include "qelm/host/text.h"

#include <algorithm>
#include <stdexcept>

namespace qelm::tool {
namespace {

/** The text that a configuration file would hold. */
std::string savedText(const host::Value& value) {
    if (const auto* number = std::get_if<double>(&value)) {
        return configuration::numberText(*number);
    }
    if (const auto* text = std::get_if<std::string>(&value)) {
        return *text;
    }
    return std::to_string(std::get<std::uint32_t>(value));
}

const host::Parameter* findParameter(const Session& session, std::int32_t id) {
    const auto& all = session.parameters();
    const auto found = std::ranges::find(all, id, &host::Parameter::id);
    return found == all.end() ? nullptr : &*found;
}

} // namespace

const configuration::ConfigurationKey& configurationKey(std::int32_t id) {
    return *std::ranges::find(configuration::configurationKeys, id, &configuration::ConfigurationKey::id);
}

std::string_view bareValue(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    text = text.substr(0, text.find_last_not_of(" \t\r\n;") + 1);
    if (text.size() >= 2 && text.starts_with('\'') && text.ends_with('\'')) {
        text = text.substr(1, text.size() - 2);
    }
    return text;
}

ConfigurationFile::ConfigurationFile(const std::filesystem::path& file, bool beside) : name_(file) {
    if (file.string().find(".kcf") == std::string::npos) {
        throw std::runtime_error("\"" + file.string() +
                                 "\" is not a configuration file: its name has to contain \".kcf\"");
    }
    text_ = readFile(file, configuration::ConfigurationText::largestText);
    writeCopy();
    if (beside) {
        for (const configuration::ConfigurationKey* key : fileKeys()) {
            if (const std::filesystem::path relative = relativeName(*key); !relative.empty()) {
                replaceText(*key, std::filesystem::absolute(file).parent_path() / relative);
            }
        }
    }
}

std::vector<const configuration::ConfigurationKey*> ConfigurationFile::fileKeys() {
    std::vector<const configuration::ConfigurationKey*> keys;
    for (const configuration::ConfigurationKey& key : configuration::configurationKeys) {
        const bool isReference = key.id == FG_SHADING_BLACK_FILENAME || key.id == FG_SHADING_GRAY_FILENAME;
        const bool isTable = key.id == FG_LUT_TYPE && isSame(value(key), std::uint32_t{LUT_TYPE_CUSTOM});
        if (isReference || isTable) {
            keys.push_back(&configurationKey(isTable ? FG_LUT_CUSTOM_FILE : key.id));
        }
    }
    return keys;
}

std::filesystem::path ConfigurationFile::relativeName(const configuration::ConfigurationKey& key) {
    const auto text = value(key);
    const std::filesystem::path name = host::pathOf(text ? std::get<std::string>(*text) : std::string());
    return name.is_relative() ? name : std::filesystem::path();
}

void ConfigurationFile::writeCopy() {
    static int count = 0;
    const std::filesystem::path copy = temporaryFolder().path() / (std::to_string(++count) + ".kcf");
    writeTemporaryFile(copy, text_);
    copy_ = host::systemFileName(copy);
    contents_.emplace(text_);
}

std::optional<std::string> ConfigurationFile::header(std::string_view key) const {
    // Not as a load finds it, which takes the first line that has the key anywhere.
    const configuration::ConfigurationText lines(text_);
    for (size_t position = 0; position < lines.size();) {
        const auto line = lines.lineAt(position);
        position = line.next;
        if (line.text.starts_with('[') && !line.text.starts_with("[Kamerasektion]")) {
            break;
        }
        if (line.text.starts_with(key) && line.text.substr(key.size()).starts_with('=')) {
            return host::utf8Text(std::string(bareValue(line.text.substr(key.size() + 1))));
        }
    }
    return std::nullopt;
}

std::optional<host::Value> ConfigurationFile::value(const configuration::ConfigurationKey& key) {
    const auto value = configuration::readKey(*contents_, key);
    if (!value) {
        return std::nullopt;
    }
    if (const auto* integer = std::get_if<std::int32_t>(&*value)) {
        return static_cast<std::uint32_t>(*integer);
    }
    if (const auto* number = std::get_if<double>(&*value)) {
        return *number;
    }
    return host::utf8Text(std::get<std::string>(*value));
}

void ConfigurationFile::replaceText(const configuration::ConfigurationKey& key, const std::filesystem::path& file) {
    const std::string start = std::string("\n") + key.name + "=";
    for (size_t position = 0; (position = text_.find(start, position)) != text_.npos;) {
        const size_t begin = position + start.size();
        const std::string line = "'" + host::systemFileName(file) + "';";
        text_.replace(begin, std::min(text_.find('\n', begin), text_.size()) - begin, line);
        position = begin + line.size();
    }
    writeCopy();
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
    for (const auto& key : configuration::configurationKeys) {
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

} // namespace qelm::tool
