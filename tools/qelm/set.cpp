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
    Session session(applet);
    std::vector<Step> steps; // all of them are read before the first is done
    for (const std::string& assignment : assignments) {
        host::Assignment read = host::parseAssignment(session.parameters(), assignment);
        steps.push_back({read.reference, std::move(read.value)});
    }
    int status = 0;
    Json changes = Json::array();
    for (size_t position = 0; position < steps.size() && status == 0; ++position) {
        const Outcome outcome = run(session, steps[position], Tracing::off);
        changes.push_back(json(steps[position], outcome));
        if (!options.json) {
            std::cout << text(steps[position], outcome) << '\n';
        }
        if (outcome.error) {
            printFailure(outcome, steps.size() - position - 1);
            status = 1;
        }
    }
    Table table;
    Json values = Json::array();
    addFinalValues(session, steps, table, values);
    if (options.json) {
        print(Json{{"changes", changes}, {"values", values}});
    } else if (steps.size() > 1) {
        std::cout << '\n';
        table.print();
    }
    return status;
}

} // namespace qelm::tool
