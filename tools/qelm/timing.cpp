#include "camera.h"
#include "losses.h"
#include "output.h"
#include "output_file.h"
#include "set_up.h"
#include "signal_names.h"
#include "stimulus.h"
#include "timing_diagram.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace qelm::tool {
namespace {

/** The signals that did something, and always camera-control line 0, which the camera listens to. */
std::vector<Signal> recordedSignals(const host::VirtualBoardFunctions& control, VirtualBoard* board) {
    std::vector<Signal> signals(VIRTUAL_BOARD_SIGNAL_COUNT);
    std::size_t count = 0;
    require(control.signalChangeCount(board, &count), "reading the signals failed");
    for (size_t position = 0; position < count; ++position) {
        VirtualBoardSignalChange change{};
        require(control.signalChangeAt(board, position, &change), "reading the signals failed");
        signals[change.signal].changes.push_back({change.nanoseconds, change.value});
    }
    std::vector<Signal> lively;
    for (std::uint32_t i = 0; i < signals.size(); ++i) {
        if (signals[i].changes.size() > 1 || i == VIRTUAL_BOARD_SIGNAL_CONTROL) {
            signals[i].name = signalName(i);
            signals[i].isLevel = i != VIRTUAL_BOARD_SIGNAL_QUEUE;
            lively.push_back(std::move(signals[i]));
        }
    }
    return lively;
}

std::uint64_t timeOf(const host::VirtualBoardFunctions& control, VirtualBoard* board) {
    std::uint64_t nanoseconds = 0;
    require(control.getTime(board, &nanoseconds), "reading the time failed");
    return nanoseconds;
}

/** The losses so far, each kind with its moments. */
std::vector<Marks> recordedLosses(const host::VirtualBoardFunctions& control, VirtualBoard* board, Losses& losses) {
    std::vector<Marks> marks;
    std::size_t count = 0;
    require(control.eventCount(board, &count), "reading the events failed");
    for (std::size_t position = 0; position < count; ++position) {
        VirtualBoardEvent event{};
        require(control.eventAt(board, position, &event), "reading the events failed");
        const char* label = losses.add(event.name);
        if (label == nullptr) {
            continue;
        }
        const auto known = std::ranges::find(marks, label, &Marks::name);
        Marks& row = known != marks.end() ? *known : marks.emplace_back(Marks{label, {}});
        row.nanoseconds.push_back(event.nanoseconds);
    }
    return marks;
}

/** A little after the last change or loss, when there is one: what follows tells nothing. */
std::uint64_t endOfChanges(const TimingDiagram& diagram, std::uint64_t end) {
    std::uint64_t last = diagram.origin;
    for (const Signal& signal : diagram.signals) {
        last = std::max(last, signal.changes.back().nanoseconds);
    }
    for (const Marks& marks : diagram.marks) {
        last = std::max(last, marks.nanoseconds.back());
    }
    constexpr std::uint64_t margin = 20; // of the part before
    return last == diagram.origin ? end : std::min(end, last + (last - diagram.origin) / margin + 1);
}

void chooseRange(TimingDiagram& diagram, const TimingOptions& options, std::uint64_t end) {
    constexpr std::uint64_t microsecond = 1000;
    diagram.from = diagram.origin + options.from.value_or(0) * microsecond;
    diagram.to = options.to ? diagram.origin + *options.to * microsecond : endOfChanges(diagram, end);
    if (diagram.to > end || diagram.from >= diagram.to) {
        const auto text = [&](std::uint64_t moment) { return std::to_string((moment - diagram.origin) / microsecond); };
        throw std::runtime_error("there is nothing to draw from " + text(diagram.from) + " to " + text(diagram.to) +
                                 " \u00b5s: the run ended at " + text(end) + " \u00b5s" +
                                 (options.to ? "" : ", and nothing changed after " + text(diagram.to) + " \u00b5s"));
    }
}

Json json(const TimingDiagram& diagram) {
    Json signals = Json::array();
    for (const Signal& signal : diagram.signals) {
        Json changes = Json::array();
        for (const SignalChange& change : signal.changes) {
            changes.push_back({{"nanoseconds", change.nanoseconds}, {"value", change.value}});
        }
        signals.push_back({{"name", signal.name}, {"changes", changes}});
    }
    Json marks = Json::array();
    for (const Marks& row : diagram.marks) {
        marks.push_back({{"name", row.name}, {"nanoseconds", row.nanoseconds}});
    }
    return {{"signals", signals}, {"marks", marks}, {"from", diagram.from}, {"to", diagram.to}};
}

} // namespace

int timing(const CommonOptions& options, const TimingOptions& timingOptions) {
    const host::Applet applet = loadApplet(options);
    const host::VirtualBoardFunctions& control = requireVirtualBoard(applet, "shows its signals");
    if (showCameraHelp(options, control, timingOptions.camera)) {
        return 0;
    }
    if (timingOptions.output.empty()) {
        throw std::runtime_error("where to? give -o FILE.svg");
    }
    requireExtension(timingOptions.output, {".svg"});
    Session session = startSession(applet, options);
    VirtualBoard* board = session.board().virtualBoard();
    makeSettings(session, timingOptions.settings);
    TimingDiagram diagram;
    diagram.title = options.setUp.load.filename().string();
    for (const auto& settings : {options.setUp.settings, timingOptions.settings}) {
        for (const std::string& setting : settings) {
            diagram.title += (diagram.title.empty() ? "" : ", ") + setting;
        }
    }
    if (diagram.title.empty()) {
        diagram.title = "settings as at the start";
    }
    connectCamera(session, timingOptions.camera);
    requireNoWarnings(options);
    Losses losses(session);
    require(control.recordSignals(board, 1), "recording the signals failed");
    diagram.origin = timeOf(control, board);
    startTriggers(session, options, timingOptions.settings);
    Stimulus(control, session.board()).drive(timingOptions.pulses);
    const std::uint64_t end = timeOf(control, board);
    if (end == diagram.origin) {
        throw std::runtime_error("no time has passed: give --wait or --pulses");
    }
    diagram.signals = recordedSignals(control, board);
    diagram.marks = recordedLosses(control, board, losses);
    chooseRange(diagram, timingOptions, end);
    writeFile(timingOptions.output, draw(diagram));
    losses.warn();
    if (options.json) {
        Json document{{"start", diagram.origin}, {"end", end}};
        document.update(json(diagram));
        document["losses"] = losses.json();
        print(document);
    }
    return 0;
}

} // namespace qelm::tool
