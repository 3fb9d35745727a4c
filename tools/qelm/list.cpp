#include "output.h"
#include "session.h"

#include <algorithm>

namespace qelm::tool {
namespace {

char lowerCase(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool contains(std::string_view text, std::string_view part) {
    const auto same = [](char left, char right) { return lowerCase(left) == lowerCase(right); };
    return !std::ranges::search(text, part, same).empty() || part.empty();
}

std::string accessText(const host::Parameter& parameter) {
    return parameter.isWritable() ? "" : "read-only";
}

Json describe(const host::Parameter& parameter, const std::optional<host::Value>& value) {
    Json object{{"name", parameter.name}, {"id", parameter.id}, {"kind", host::kindName(parameter.kind)}};
    addValue(object, "value", parameter, value);
    if (!parameter.unit.empty()) {
        object["unit"] = parameter.unit;
    }
    object["writable"] = parameter.isWritable();
    if (parameter.hasRange()) {
        object["minimum"] = parameter.minimum;
        object["maximum"] = parameter.maximum;
        object["increment"] = parameter.increment;
    }
    for (const host::EnumerationEntry& entry : parameter.entries) {
        object["entries"].push_back({{"name", entry.name}, {"value", entry.value}, {"text", entry.text}});
    }
    object["category"] = parameter.category;
    object["displayName"] = parameter.displayName;
    object["description"] = parameter.description;
    return object;
}

} // namespace

int list(const CommonOptions& options, const std::string& filter) {
    const host::Applet applet = loadApplet(options);
    const Session session(applet);
    Json objects = Json::array();
    Table table;
    table.add({"ID", "NAME", "VALUE", "ACCESS", "TAKES"});
    for (const host::Parameter& registered : session.parameters()) {
        if (!contains(registered.name, filter) && !contains(registered.category, filter)) {
            continue;
        }
        const host::Parameter parameter = host::withCurrentLimits(session.board(), registered);
        // A table of 4096 entries has no one value.
        const std::optional<host::Value> value =
            parameter.kind == host::ParameterKind::lutEntry ? std::nullopt : session.read({&parameter});
        objects.push_back(describe(parameter, value));
        table.add({std::to_string(parameter.id), parameter.name, valueText(parameter, value), accessText(parameter),
                   parameter.isWritable() ? parameter.allowedValues() : ""});
    }
    if (objects.empty()) {
        printError("no parameter or category has \"" + filter + "\" in its name; \"qelm list\" shows them all");
        return 1;
    }
    if (options.json) {
        print(objects);
    } else {
        table.print();
    }
    return 0;
}

} // namespace qelm::tool
