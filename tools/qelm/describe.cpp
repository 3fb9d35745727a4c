#include "output.h"
#include "set_up.h"

#include "parameters/reference.h"

#include <algorithm>

namespace qelm::tool {

namespace {

std::string notesOf(const host::Parameter& parameter) {
    const auto* found = std::ranges::find(parameters::notes, parameter.name, &parameters::Notes::name);
    return found == std::end(parameters::notes) ? std::string() : std::string(found->text);
}

} // namespace

int describe(const CommonOptions& options, const std::string& name) {
    const host::Applet applet = loadApplet(options);
    const Session session = startSession(applet, options);
    const host::Parameter& parameter = host::findParameter(session.parameters(), name);
    const std::optional<host::Value> value = session.readWhole(parameter);
    if (options.json) {
        Json json = parameterJson(parameter, value);
        json["notes"] = notesOf(parameter);
        print(json);
        return 0;
    }
    Table table;
    const auto add = [&table](const char* label, const std::string& text) {
        if (!text.empty()) {
            table.add({label, text});
        }
    };
    add("Name:", parameter.name);
    add("Shown as:", parameter.displayName);
    add("Category:", parameter.category);
    add("Identifier:", std::to_string(parameter.id));
    add("Kind:", std::string(host::kindName(parameter.kind)));
    add("Access:", std::string(accessText(parameter)));
    add("Value:", valueText(parameter, value));
    if (parameter.entries.empty()) {
        add("Range:", parameter.allowedValues());
    }
    for (const host::EnumerationEntry& entry : parameter.entries) {
        add(&entry == &parameter.entries.front() ? "Entries:" : "",
            entry.name + " = " + std::to_string(entry.value) + ", \"" + entry.text + "\"");
    }
    add("Description:", parameter.description);
    add("Notes:", notesOf(parameter));
    table.print();
    return 0;
}

} // namespace qelm::tool
