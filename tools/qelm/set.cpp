#include "set_up.h"
#include "steps.h"

#include <algorithm>
#include <iostream>

namespace qelm::tool {
namespace {

/** What the parameters hold in the end, each once: later steps may have moved what earlier ones set. */
void addFinalValues(const Session& session, const std::vector<Step>& steps, Table& table, Json& objects) {
    std::vector<std::string> done;
    for (const Step& step : steps) {
        const std::string name = step.reference.text();
        if (std::ranges::find(done, name) != done.end()) {
            continue;
        }
        done.push_back(name);
        const std::optional<host::Value> value = session.read(step.reference);
        table.add({name, "= " + valueText(*step.reference.parameter, value)});
        addValue(objects.emplace_back(Json{{"name", name}}), "value", *step.reference.parameter, value);
    }
}

} // namespace

int set(const CommonOptions& options, const std::vector<std::string>& assignments) {
    const host::Applet applet = loadApplet(options);
    Session session = startSession(applet, options);
    const std::vector<Step> steps = parseAssignments(session, assignments);
    const StepsOutcome changes = runAll(options, session, steps);
    Table table;
    Json values = Json::array();
    addFinalValues(session, steps, table, values);
    if (options.json) {
        print(Json{{"changes", changes.json}, {"values", values}});
    } else if (steps.size() > 1) {
        std::cout << '\n';
        table.print();
    }
    return changes.succeeded ? 0 : 1;
}

} // namespace qelm::tool
