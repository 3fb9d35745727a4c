// The board as a whole, its time, its parameters.

#include "serve/api.h"

#include "qelm/host/text.h"

namespace qelm::server {
namespace {

constexpr double nanosecondsPerMicrosecond = 1e3;

} // namespace

Json timeJson(const host::Pace& pace) {
    return {{"factor", pace.factor},
            {"paused", pace.paused},
            {"achieved", pace.achieved},
            {"microseconds", static_cast<double>(pace.time) / nanosecondsPerMicrosecond}};
}

Json changeJson(const ServedBoard::Change& change) {
    return {{"changed", change.changed}, {"writes", change.writes}};
}

Answer getBoard(ServedBoard& served, const Call& /*call*/) {
    constexpr std::int32_t name = 0x1050;
    constexpr std::int32_t version = 0x1060;
    const host::Applet& applet = served.applet();
    return {jsonResponse({{"applet",
                           {{"name", applet.infoText(name)},
                            {"version", applet.infoText(version)},
                            {"file", applet.file().filename().string()}}},
                          {"camera", served.cameraJson()},
                          {"acquiring", served.live().acquiring()},
                          {"problem", served.live().problem()},
                          {"time", timeJson(served.live().pace())},
                          {"revision", served.revision()}})};
}

Answer postTime(ServedBoard& served, const Call& call) {
    constexpr std::int64_t longestStep = 10'000'000; // µs
    if (call.has("factor")) {
        served.live().setFactor(call.real("factor"));
    }
    if (call.has("paused")) {
        served.live().setPaused(call.flag("paused"));
    }
    if (call.has("step")) {
        if (!served.live().pace().paused) {
            throw ApiError(409, "Time is stepped while it is paused.");
        }
        served.live().step(static_cast<std::uint64_t>(call.integer("step", 1, longestStep)) * 1000);
    }
    served.feed().notify();
    return {jsonResponse(timeJson(served.live().pace()))};
}

Answer postAcquisition(ServedBoard& served, const Call& call) {
    served.live().acquire(call.flag("running"));
    return {jsonResponse({{"acquiring", served.live().acquiring()}})};
}

Answer getParameters(ServedBoard& served, const Call& /*call*/) {
    return {jsonResponse(served.parameters())};
}

Answer getParameter(ServedBoard& served, const Call& call) {
    return {jsonResponse(served.parameter(call.name))};
}

Answer postParameters(ServedBoard& served, const Call& call) {
    const auto list = call.json.find("set");
    if (list == call.json.end() || !list->is_array()) {
        throw ApiError(400, R"("set" has to be a list of {"name": ..., "value": ...}.)");
    }
    std::vector<std::pair<std::string, Json>> settings;
    for (const Json& setting : *list) {
        if (!setting.is_object() || !setting.contains("name") || !setting["name"].is_string() ||
            !setting.contains("value")) {
            throw ApiError(400, R"("set" has to be a list of {"name": ..., "value": ...}.)");
        }
        settings.emplace_back(setting["name"].get<std::string>(), setting["value"]);
    }
    return {jsonResponse(changeJson(served.set(settings)))};
}

Answer postReset(ServedBoard& served, const Call& call) {
    const auto list = call.json.find("names");
    if (list == call.json.end() || !list->is_array()) {
        throw ApiError(400, R"("names" has to be a list of names.)");
    }
    std::vector<std::string> names;
    for (const Json& name : *list) {
        if (!name.is_string()) {
            throw ApiError(400, R"("names" has to be a list of names.)");
        }
        names.push_back(name.get<std::string>());
    }
    return {jsonResponse(changeJson(served.reset(names)))};
}

} // namespace qelm::server
