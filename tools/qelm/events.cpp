#include "steps.h"

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace qelm::tool {
namespace {

/** Calls a control of the virtual board, which knows the board and whatever the option parser let through. */
void require(int32_t code, const char* attempt) {
    if (code != 0) {
        throw host::AppletError(code, attempt);
    }
}

/** Lets virtual time pass, in pieces that the board takes. */
void advance(const host::VirtualBoardFunctions& control, VirtualBoard* board, uint64_t nanoseconds) {
    constexpr uint64_t piece = 1000000000;
    while (nanoseconds != 0) {
        const uint64_t next = std::min(nanoseconds, piece);
        require(control.advance(board, next), "letting virtual time pass failed");
        nanoseconds -= next;
    }
}

void drive(const host::VirtualBoardFunctions& control, VirtualBoard* board, const EventsOptions& options) {
    for (uint32_t pulse = 0; pulse < options.pulses; ++pulse) {
        require(control.setInput(board, options.pin, 1), "driving the pin failed");
        advance(control, board, options.width * 1000);
        require(control.setInput(board, options.pin, 0), "driving the pin failed");
        advance(control, board, (options.period - options.width) * 1000);
    }
    advance(control, board, options.wait * 1000);
}

/** The frame grabber's name of an event; for those that have none the design's. */
std::string nameOf(const host::Board& board, const VirtualBoardEvent& event) {
    const char* name = board.applet()->Fg_getEventName(board, event.mask);
    return name == nullptr ? event.name : name;
}

std::string hexadecimal(uint64_t mask) {
    std::ostringstream text;
    text << "0x" << std::hex << mask;
    return text.str();
}

std::string microseconds(uint64_t nanoseconds) {
    std::ostringstream text;
    text << nanoseconds / 1000 << '.' << std::setfill('0') << std::setw(3) << nanoseconds % 1000 << " \u00b5s";
    return text.str();
}

} // namespace

int events(const CommonOptions& options, const EventsOptions& eventsOptions) {
    const host::Applet applet = loadApplet(options);
    const host::VirtualBoardFunctions* control = applet.virtualBoard();
    if (control == nullptr) {
        throw std::runtime_error("only a virtual board has pins to drive, and " + applet.file().string() +
                                 " runs on the libraries of another board");
    }
    Session session(applet);
    VirtualBoard* board = session.board().virtualBoard();
    std::vector<Step> settings;
    std::vector<Step> readings;
    for (const std::string& text : eventsOptions.steps) {
        Step step = parseStep(session, text);
        (step.value ? settings : readings).push_back(std::move(step));
    }
    require(control->recordEvents(board, 1), "recording events failed");
    Json values = Json::array();
    const auto runAll = [&](const std::vector<Step>& steps) {
        for (size_t position = 0; position < steps.size(); ++position) {
            const Outcome outcome = run(session, steps[position], Tracing::off);
            values.push_back(json(steps[position], outcome));
            if (!options.json) {
                std::cout << text(steps[position], outcome) << '\n';
            }
            if (outcome.error) {
                printFailure(outcome, steps.size() - position - 1);
                return false;
            }
        }
        return true;
    };
    bool succeeded = runAll(settings);
    if (succeeded) {
        drive(*control, board, eventsOptions);
    }
    size_t count = 0;
    require(control->eventCount(board, &count), "reading the events failed");
    Table table;
    Json list = Json::array();
    for (size_t position = 0; position < count; ++position) {
        VirtualBoardEvent event{};
        require(control->eventAt(board, position, &event), "reading the events failed");
        const std::string name = nameOf(session.board(), event);
        table.add({microseconds(event.nanoseconds), hexadecimal(event.mask), name});
        list.push_back(
            {{"nanoseconds", event.nanoseconds}, {"mask", event.mask}, {"name", name}, {"designName", event.name}});
    }
    if (!options.json) {
        table.print();
    }
    succeeded = succeeded && runAll(readings);
    if (options.json) {
        print(Json{{"steps", values}, {"events", list}});
    }
    return succeeded ? 0 : 1;
}

} // namespace qelm::tool
