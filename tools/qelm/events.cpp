#include "camera.h"
#include "losses.h"
#include "region_order.h"
#include "set_up.h"
#include "steps.h"
#include "stimulus.h"

#include <iomanip>
#include <iostream>
#include <sstream>

namespace qelm::tool {
namespace {

/** The frame grabber's name of an event; for those that have none the design's. */
std::string nameOf(const host::Board& board, const VirtualBoardEvent& event) {
    const char* name = board.applet()->Fg_getEventName(board, event.mask);
    return name == nullptr ? event.name : name;
}

std::string hexadecimal(std::uint64_t mask) {
    std::ostringstream text;
    text << "0x" << std::hex << mask;
    return text.str();
}

std::string microseconds(std::uint64_t nanoseconds) {
    std::ostringstream text;
    text << nanoseconds / 1000 << '.' << std::setfill('0') << std::setw(3) << nanoseconds % 1000 << " \u00b5s";
    return text.str();
}

} // namespace

int events(const CommonOptions& options, const EventsOptions& eventsOptions) {
    const host::Applet applet = loadApplet(options);
    const host::VirtualBoardFunctions& control = requireVirtualBoard(applet, "has pins to drive");
    if (showCameraHelp(options, control, eventsOptions.camera)) {
        return 0;
    }
    Session session = startSession(applet, options);
    VirtualBoard* board = session.board().virtualBoard();
    std::vector<Step> settings;
    std::vector<Step> readings;
    for (const std::string& text : eventsOptions.steps) {
        Step step = parseStep(session, text);
        (step.value ? settings : readings).push_back(std::move(step));
    }
    settings = arrangeRegion(session, std::move(settings));
    Losses losses(session); // records the events
    StepsOutcome values = runAll(options, session, settings);
    if (values.succeeded) {
        connectCamera(session, eventsOptions.camera);
        requireNoWarnings(options);
        startTriggers(session, options, eventsOptions.steps);
        Stimulus(control, session.board()).drive(eventsOptions.pulses);
    }
    size_t count = 0;
    require(control.eventCount(board, &count), "reading the events failed");
    Table table;
    Json list = Json::array();
    for (size_t position = 0; position < count; ++position) {
        VirtualBoardEvent event{};
        require(control.eventAt(board, position, &event), "reading the events failed");
        const std::string name = nameOf(session.board(), event);
        losses.add(event.name);
        table.add({microseconds(event.nanoseconds), hexadecimal(event.mask), name});
        list.push_back(
            {{"nanoseconds", event.nanoseconds}, {"mask", event.mask}, {"name", name}, {"designName", event.name}});
    }
    if (!options.json) {
        table.print();
    }
    if (values.succeeded) {
        StepsOutcome read = runAll(options, session, readings);
        values.succeeded = read.succeeded;
        values.json.insert(values.json.end(), read.json.begin(), read.json.end());
    }
    losses.warn();
    if (options.json) {
        print(Json{{"steps", values.json}, {"events", list}, {"losses", losses.json()}});
    }
    return values.succeeded ? 0 : 1;
}

} // namespace qelm::tool
