// Pulses, the software trigger, and the signals of the trigger unit.

#include "serve/api.h"

#include "signal_names.h"
#include "stimulus.h"
#include "timing_diagram.h"

namespace qelm::server {
namespace {

constexpr std::int64_t longestSpan = 20'000'000; // µs

std::uint64_t spanOf(const Call& call) {
    constexpr std::int64_t usual = 1'000'000;
    return static_cast<std::uint64_t>(call.request.query.contains("last") ? call.number("last", 1, longestSpan)
                                                                          : usual) *
           1000;
}

/** Per signal its changes; of all, so that a page's rows stay where they are. */
std::vector<tool::Signal> signalsOf(const host::LiveSignals& live) {
    std::vector<tool::Signal> signals(VIRTUAL_BOARD_SIGNAL_COUNT);
    for (std::uint32_t i = 0; i < signals.size(); ++i) {
        signals[i] = {tool::signalName(i), {{live.from, live.before[i]}}, i != VIRTUAL_BOARD_SIGNAL_QUEUE};
    }
    for (const VirtualBoardSignalChange& change : live.changes) {
        signals[change.signal].changes.push_back({change.nanoseconds, change.value});
    }
    return signals;
}

} // namespace

Answer postPulses(ServedBoard& served, const Call& call) {
    constexpr std::int64_t mostPins = 8;
    constexpr std::int64_t mostPulses = 1000;
    constexpr std::int64_t longestPeriod = 1'000'000; // µs
    tool::PulseOptions pulses;
    pulses.pin = static_cast<std::uint32_t>(call.integer("pin", 0, mostPins - 1, 0));
    pulses.pulses = static_cast<std::uint32_t>(call.integer("count", 1, mostPulses, 1));
    pulses.period = static_cast<std::uint64_t>(call.integer("period", 2, longestPeriod, 1000));
    pulses.width = static_cast<std::uint64_t>(
        call.integer("width", 1, static_cast<std::int64_t>(pulses.period) - 1,
                     std::min<std::int64_t>(100, static_cast<std::int64_t>(pulses.period) / 2)));
    served.live().pulse(pulses.pin, pulses.pulses, pulses.width * 1000, pulses.period * 1000);
    return {jsonResponse({{"microseconds", static_cast<double>(served.live().pace().time) / 1e3 +
                                               static_cast<double>(pulses.pulses * pulses.period)}})};
}

Answer postTrigger(ServedBoard& served, const Call& /*call*/) {
    return {jsonResponse(changeJson(served.set({{"FG_SENDSOFTWARETRIGGER", 1}})))};
}

Answer getSignals(ServedBoard& served, const Call& call) {
    const host::LiveSignals live = served.live().signals(spanOf(call));
    Json list = Json::array();
    for (const tool::Signal& signal : signalsOf(live)) {
        Json changes = Json::array();
        for (const tool::SignalChange& change : signal.changes) {
            changes.push_back({static_cast<double>(change.nanoseconds) / 1e3, change.value});
        }
        list.push_back({{"name", signal.name}, {"isLevel", signal.isLevel}, {"changes", changes}});
    }
    return {jsonResponse({{"from", static_cast<double>(live.from) / 1e3},
                          {"to", static_cast<double>(live.to) / 1e3},
                          {"signals", list}})};
}

Answer getSignalsPicture(ServedBoard& served, const Call& call) {
    const host::LiveSignals live = served.live().signals(spanOf(call));
    std::vector<tool::Signal> signals = signalsOf(live);
    std::erase_if(signals, [](const tool::Signal& signal) { return signal.changes.size() < 2; });
    if (live.to == live.from) {
        throw ApiError(409, "No time has passed yet.");
    }
    return {{.contentType = "image/svg+xml",
             .body = tool::draw({.title = "The last moments",
                                 .signals = std::move(signals),
                                 .marks = {},
                                 .origin = live.from,
                                 .from = live.from,
                                 .to = live.to})}};
}

} // namespace qelm::server
