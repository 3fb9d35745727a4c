#include "set_up.h"
#include "steps.h"

#include <iostream>

namespace qelm::tool {
namespace {

/** Prints or collects what was recorded, step by step. */
class TraceReport {
  public:
    TraceReport(bool asJson, bool withReads) : asJson_(asJson), withReads_(withReads) {}

    void add(const std::string& title, Json object, const std::vector<host::TracedCall>& calls) {
        Json& recorded = object["calls"] = Json::array();
        for (const host::TracedCall& call : calls) {
            if (call.isWrite || withReads_) {
                recorded.push_back({{"call", call.call},
                                    {"target", call.target},
                                    {"value", call.value},
                                    {"write", call.isWrite},
                                    {"result", call.result}});
            }
        }
        if (!asJson_) {
            printText(title, calls);
        }
        steps_.push_back(std::move(object));
    }

    void finish() const {
        if (asJson_) {
            print(Json{{"steps", steps_}});
        }
    }

  private:
    void printText(const std::string& title, const std::vector<host::TracedCall>& calls) const {
        std::cout << title << '\n';
        for (const host::TracedCall& call : calls) {
            if (call.isWrite || withReads_) {
                std::cout << (call.isWrite ? "    " : "    read ") << call.text() << '\n';
            }
        }
    }

    bool asJson_;
    bool withReads_;
    Json steps_ = Json::array();
};

} // namespace

int trace(const CommonOptions& options, const TraceOptions& traceOptions) {
    const host::Applet applet = loadApplet(options);
    if (applet.virtualBoard() == nullptr) {
        throw std::runtime_error("only a virtual board records what reaches its design, and " + applet.file().string() +
                                 " runs on the libraries of another board");
    }
    if (traceOptions.startUp) {
        applet.virtualBoard()->traceStart();
    }
    Session session = startSession(applet, options);
    TraceReport report(options.json, traceOptions.reads);
    std::vector<Step> steps; // all of them are read before the first is done
    for (const std::string& step : traceOptions.steps) {
        steps.push_back(parseStep(session, step));
    }
    if (traceOptions.startUp) {
        report.add("start-up", Json{{"name", "start-up"}}, session.board().trace());
    }
    int status = 0;
    for (size_t position = 0; position < steps.size() && status == 0; ++position) {
        const Outcome outcome = run(session, steps[position], Tracing::on);
        report.add(text(steps[position], outcome), json(steps[position], outcome), outcome.calls);
        if (outcome.error) {
            printFailure(outcome, steps.size() - position - 1);
            status = 1;
        }
    }
    report.finish();
    return status;
}

} // namespace qelm::tool
