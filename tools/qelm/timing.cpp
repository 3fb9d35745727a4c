#include "camera.h"
#include "losses.h"
#include "output.h"
#include "output_file.h"
#include "set_up.h"
#include "stimulus.h"
#include "timing_diagram.h"

#include <iostream>
#include <stdexcept>

namespace qelm::tool {
namespace {

std::string nameOf(std::uint32_t signal) {
    const struct {
        std::uint32_t first;
        const char* name;
        bool isNumbered;
        std::uint32_t base; ///< the first one's number, as the parameters or the connector count
    } groups[] = {
        {VIRTUAL_BOARD_SIGNAL_FRAME, "frame", false, 0},
        {VIRTUAL_BOARD_SIGNAL_EXPOSURE, "exposure", false, 0},
        {VIRTUAL_BOARD_SIGNAL_OUTPUT, "output ", true, 0},
        {VIRTUAL_BOARD_SIGNAL_CONTROL, "camera control ", true, 0},
        {VIRTUAL_BOARD_SIGNAL_GENERATOR, "pulse form gen. ", true, 0},
        {VIRTUAL_BOARD_SIGNAL_QUEUE, "queue", false, 0},
        {VIRTUAL_BOARD_SIGNAL_INPUT, "input ", true, 0},
    };
    for (const auto& group : groups) {
        if (signal >= group.first) {
            return group.name + (group.isNumbered ? std::to_string(signal - group.first + group.base) : "");
        }
    }
    return {};
}

/** The signals that did something, and always camera-control line 0, which the camera listens to. */
std::vector<Signal> recordedSignals(const host::VirtualBoardFunctions& control, VirtualBoard* board) {
    std::vector<Signal> signals(VIRTUAL_BOARD_SIGNAL_COUNT);
    size_t count = 0;
    require(control.signalChangeCount(board, &count), "reading the signals failed");
    for (size_t position = 0; position < count; ++position) {
        VirtualBoardSignalChange change{};
        require(control.signalChangeAt(board, position, &change), "reading the signals failed");
        signals[change.signal].changes.push_back({change.nanoseconds, change.value});
    }
    std::vector<Signal> lively;
    for (std::uint32_t i = 0; i < signals.size(); ++i) {
        if (signals[i].changes.size() > 1 || i == VIRTUAL_BOARD_SIGNAL_CONTROL) {
            signals[i].name = nameOf(i);
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
    std::string title = options.setUp.load.filename().string();
    for (const auto& settings : {options.setUp.settings, timingOptions.settings}) {
        for (const std::string& setting : settings) {
            title += (title.empty() ? "" : ", ") + setting;
        }
    }
    connectCamera(session, timingOptions.camera);
    requireNoWarnings(options);
    Losses losses(session);
    require(control.recordSignals(board, 1), "recording the signals failed");
    const std::uint64_t start = timeOf(control, board);
    startTriggers(session, options, timingOptions.settings);
    Stimulus(control, session.board()).drive(timingOptions.pulses);
    const std::uint64_t end = timeOf(control, board);
    if (end == start) {
        throw std::runtime_error("no time has passed: give --wait or --pulses");
    }
    const std::vector<Signal> signals = recordedSignals(control, board);
    writeFile(timingOptions.output,
              timingDiagram(title.empty() ? "settings as at the start" : title, signals, start, end));
    losses.collect();
    losses.warn();
    if (options.json) {
        Json list = Json::array();
        for (const Signal& signal : signals) {
            Json changes = Json::array();
            for (const SignalChange& change : signal.changes) {
                changes.push_back({{"nanoseconds", change.nanoseconds}, {"value", change.value}});
            }
            list.push_back({{"name", signal.name}, {"changes", changes}});
        }
        print(Json{{"start", start}, {"end", end}, {"signals", list}, {"losses", losses.json()}});
    }
    return 0;
}

} // namespace qelm::tool
