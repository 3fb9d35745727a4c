#include "steps.h"

#include "interruption.h"
#include "lookup_table_file.h"
#include "region_order.h"

#include <iostream>

namespace qelm::tool {

Step parseStep(const Session& session, const std::string& text) {
    if (text.find('=') == std::string::npos) {
        return {host::parseReference(session.parameters(), text)};
    }
    host::Assignment assignment = host::parseAssignment(session.parameters(), text);
    return {assignment.reference, std::move(assignment.value)};
}

Outcome run(Session& session, const Step& step, Tracing tracing) {
    Outcome outcome;
    if (step.value) {
        outcome.before = session.read(step.reference);
    }
    if (tracing == Tracing::on) {
        session.board().clearTrace();
    }
    try {
        if (step.value) {
            host::writeValue(session.board(), {step.reference, *step.value});
            warnOfLookupTable(session, *step.reference.parameter);
        } else {
            outcome.after = host::readValue(session.board(), step.reference);
        }
    } catch (const host::AppletError& error) {
        outcome.error = error;
    }
    if (tracing == Tracing::on) {
        outcome.calls = session.board().trace();
    }
    if (step.value) {
        outcome.after = session.read(step.reference);
    }
    return outcome;
}

std::vector<Step> parseAssignments(const Session& session, const std::vector<std::string>& texts) {
    std::vector<Step> steps;
    for (const std::string& text : texts) {
        host::Assignment assignment = host::parseAssignment(session.parameters(), text);
        steps.push_back({assignment.reference, std::move(assignment.value)});
    }
    return arrangeRegion(session, std::move(steps));
}

StepsOutcome runAll(const CommonOptions& options, Session& session, const std::vector<Step>& steps) {
    StepsOutcome all;
    for (size_t position = 0; position < steps.size() && all.succeeded; ++position) {
        checkForInterruption();
        const Outcome outcome = run(session, steps[position], Tracing::off);
        all.json.push_back(json(steps[position], outcome));
        if (!options.json) {
            std::cout << text(steps[position], outcome) << '\n';
        }
        if (outcome.error) {
            printFailure(outcome, steps.size() - position - 1);
            all.succeeded = false;
        }
    }
    return all;
}

std::string text(const Step& step, const Outcome& outcome) {
    const host::Parameter& parameter = *step.reference.parameter;
    const std::string name = step.reference.text();
    const std::string after = valueText(parameter, outcome.after);
    if (outcome.error) {
        return name + ": refused" + (step.value ? ", stays " + after : "");
    }
    if (!step.value) {
        return name + " = " + after;
    }
    return name + ": " + (outcome.before ? host::formatValue(parameter, *outcome.before) : "-") + " -> " + after;
}

Json json(const Step& step, const Outcome& outcome) {
    const host::Parameter& parameter = *step.reference.parameter;
    Json object{{"name", step.reference.text()}};
    if (step.value) {
        addValue(object, "old", parameter, outcome.before);
        addValue(object, "new", parameter, outcome.after);
    } else {
        addValue(object, "value", parameter, outcome.after);
    }
    if (outcome.error) {
        object["error"] = {{"code", outcome.error->code()}, {"message", outcome.error->what()}};
    }
    return object;
}

void printFailure(const Outcome& outcome, size_t undone) {
    printError(outcome.error->what());
    if (undone != 0) {
        printError(undone == 1 ? "The one after it was not tried."
                               : "The " + std::to_string(undone) + " after it were not tried.");
    }
}

} // namespace qelm::tool
