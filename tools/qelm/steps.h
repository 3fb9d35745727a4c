#pragma once

#include "output.h"
#include "session.h"

#include <optional>
#include <string>
#include <vector>

/** One set or get after the other on one board, with what came of each: `set` and `trace` are made of these. */
namespace qelm::tool {

struct Step {
    host::Reference reference;
    std::optional<host::Value> value{}; ///< what to set; nothing to get
};

struct Outcome {
    std::optional<host::Value> before{};
    std::optional<host::Value> after{};
    std::vector<host::TracedCall> calls{}; ///< of the set or get itself, where traced
    std::optional<host::AppletError> error{};
};

enum class Tracing { off, on };

/** @param text "NAME=VALUE" or, for a get, "NAME" */
Step parseStep(const Session& session, const std::string& text);
Outcome run(Session& session, const Step& step, Tracing tracing);

/** "FG_WIDTH: 1024 -> 512 pixel", "FG_WIDTH = 512 pixel", "FG_WIDTH: refused, stays 512 pixel" */
std::string text(const Step& step, const Outcome& outcome);
Json json(const Step& step, const Outcome& outcome);

/** "NAME=VALUE" each; all are read before the first is done. Those of the region take an order that is accepted. */
std::vector<Step> parseAssignments(const Session& session, const std::vector<std::string>& texts);

struct StepsOutcome {
    Json json = Json::array(); ///< of each step that was done
    bool succeeded = true;
};

/** Runs steps until one is refused, which is reported; prints each, unless the results are asked for as JSON. */
StepsOutcome runAll(const CommonOptions& options, Session& session, const std::vector<Step>& steps);

/** Reports the error of a step and how many stay undone for it. */
void printFailure(const Outcome& outcome, size_t undone);

} // namespace qelm::tool
