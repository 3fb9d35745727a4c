#include "serve/served_board.h"

#include "serve/router.h"
#include "session.h"
#include "temporary_folder.h"

#include "qelm/host/camera.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>

namespace qelm::server {

bool ServedBoard::Known::operator==(const Known& other) const {
    return value == other.value && parameter.minimum == other.parameter.minimum &&
           parameter.maximum == other.parameter.maximum && parameter.wideMaximum == other.parameter.wideMaximum &&
           parameter.access == other.parameter.access;
}

ServedBoard::ServedBoard(tool::Session&& session, const tool::CameraChoice& camera)
    : session_(std::move(session))
    , live_(session_.board(), [this] { feed_.notify(); })
    , camera_(camera) {
    live_.run([&](host::Board& board) {
        for (const host::Parameter& parameter : session_.parameters()) {
            known_.push_back(readNow(parameter));
        }
        connected_ = host::matchCamera(board, camera.options).options;
    });
    for (const Known& known : known_) {
        start_.emplace(known.parameter.name, known.value);
    }
    live_.acquire(true);
}

std::filesystem::path ServedBoard::newFile(const std::string& ending) {
    return tool::temporaryFolder().path() / ("file-" + std::to_string(++files_) + ending);
}

ServedBoard::Known ServedBoard::readNow(const host::Parameter& parameter) const {
    const host::Parameter now = host::withCurrentLimits(session_.board(), parameter);
    return {now, session_.readWhole(now)};
}

Json ServedBoard::json(const Known& known) const {
    Json json = tool::parameterJson(known.parameter, known.value);
    const auto start = start_.find(known.parameter.name);
    if (start != start_.end() && known.parameter.isWritable()) {
        tool::addValue(json, "start", known.parameter, start->second);
    }
    json["allowed"] = known.parameter.allowedValues();
    // What pages would take for another number, or for none.
    const auto* wide = known.value ? std::get_if<std::uint64_t>(&*known.value) : nullptr;
    const auto* real = known.value ? std::get_if<double>(&*known.value) : nullptr;
    if (wide != nullptr || (real != nullptr && !std::isfinite(*real))) {
        json["exact"] = host::formatValue(known.parameter, *known.value);
    }
    return json;
}

const ServedBoard::Known& ServedBoard::find(const std::string& name) const {
    std::vector<std::string_view> names;
    for (const Known& known : known_) {
        if (known.parameter.name == name) {
            return known;
        }
        names.push_back(known.parameter.name);
    }
    const std::string_view nearest = host::nearestName(name, names);
    throw ApiError(404, "There is no parameter \"" + name + "\"." +
                            (nearest.empty() ? "" : " Did you mean " + std::string(nearest) + "?"));
}

Json ServedBoard::parameter(const std::string& name) {
    return live_.run([&](host::Board&) {
        publishChanges();
        return json(find(name));
    });
}

Json ServedBoard::parameters() {
    return live_.run([&](host::Board&) {
        publishChanges();
        Json list = Json::array();
        for (const Known& known : known_) {
            list.push_back(json(known));
        }
        return Json{{"revision", revision_.load()}, {"parameters", list}};
    });
}

Json ServedBoard::takeChanges() {
    Json changed = Json::array();
    for (Known& known : known_) {
        if (Known now = readNow(known.parameter); !(now == known)) {
            known = std::move(now);
            changed.push_back(json(known));
        }
    }
    return changed;
}

ServedBoard::Change ServedBoard::change(const std::string& origin, const std::function<void(host::Board&)>& command) {
    return live_.run([&](host::Board& board) {
        Change change;
        board.clearTrace();
        const auto finish = [&] {
            change.writes = board.writes();
            control().traceStop();
            followSettings();
            change.changed = takeChanges();
            if (!change.changed.empty() || !change.writes.empty()) {
                feed_.add(RecordType::parameters, {{"revision", ++revision_},
                                                   {"origin", origin},
                                                   {"changed", change.changed},
                                                   {"writes", change.writes}});
            }
        };
        try {
            command(board);
        } catch (...) {
            finish();
            throw;
        }
        finish();
        return change;
    });
}

host::Value ServedBoard::valueOf(const host::Parameter& parameter, const Json& json) const {
    if (parameter.kind == host::ParameterKind::fileName) {
        throw ApiError(409,
                       parameter.name + " is the name of a file on the server's computer, which pages must not choose: "
                                        "send the file instead.",
                       {{"parameter", parameter.name}});
    }
    if (parameter.kind == host::ParameterKind::lutEntry) {
        throw ApiError(409, parameter.name + " is set through /api/lut.", {{"parameter", parameter.name}});
    }
    const std::string text = json.is_string() ? json.get<std::string>() : json.dump();
    if (!json.is_string() && !json.is_number()) {
        throw ApiError(400, parameter.name + " takes a number or a text.", {{"parameter", parameter.name}});
    }
    std::vector<host::Parameter> one{parameter};
    return host::parseAssignment(one, parameter.name + "=" + text).value;
}

ServedBoard::Change ServedBoard::set(const std::vector<std::pair<std::string, Json>>& settings) {
    std::string origin;
    for (const auto& [name, value] : settings) {
        origin += (origin.empty() ? "" : ", ") + name;
    }
    return change(origin, [&](host::Board& board) {
        std::vector<host::Assignment> undo;
        for (const auto& [name, json] : settings) {
            const host::Parameter* parameter = nullptr;
            std::string sentence;
            Json details = {{"parameter", name}};
            unsigned status = 409;
            try {
                parameter = &find(name).parameter;
                const host::Value value = valueOf(*parameter, json);
                std::optional<host::Value> before;
                if (parameter->isWritable()) {
                    before = host::readValue(board, {parameter});
                }
                host::writeValue(board, {{parameter}, value});
                if (before) {
                    undo.push_back({{parameter}, *before});
                }
                continue;
            } catch (const host::AppletError& error) {
                sentence = error.what();
                details["code"] = error.code();
                details["name"] = host::errorName(error.code());
            } catch (const host::SyntaxError& error) {
                sentence = error.what();
                status = 400;
            } catch (const ApiError& error) {
                sentence = error.what();
                status = error.status();
            }
            for (auto earlier = undo.rbegin(); earlier != undo.rend(); ++earlier) {
                try {
                    host::writeValue(board, *earlier);
                } catch (const host::AppletError& error) {
                    sentence += std::string(" Taking back an earlier setting failed as well: ") + error.what();
                }
            }
            if (parameter != nullptr) {
                const host::Parameter now = host::withCurrentLimits(board, *parameter);
                details["allowed"] = now.allowedValues();
                details["value"] = tool::valueJson(host::readValue(board, {&now}));
            }
            throw ApiError(status, sentence, details);
        }
    });
}

ServedBoard::Change ServedBoard::reset(const std::vector<std::string>& names) {
    std::vector<std::pair<std::string, Json>> settings;
    for (const std::string& name : names) {
        const auto start = start_.find(name);
        if (start == start_.end() || !start->second) {
            throw ApiError(404, "There is no parameter \"" + name + "\" with a value at the start.");
        }
        settings.emplace_back(name, tool::valueJson(start->second));
    }
    return set(settings);
}

void ServedBoard::refresh() {
    live_.run([&](host::Board&) { publishChanges(); });
}

void ServedBoard::publishChanges() {
    if (Json changed = takeChanges(); !changed.empty()) {
        feed_.add(RecordType::parameters,
                  {{"revision", revision_.load()}, {"origin", ""}, {"changed", changed}, {"writes", Json::array()}});
    }
}

tool::CameraChoice ServedBoard::camera() const {
    const std::lock_guard guard(mutex_);
    return camera_;
}

void ServedBoard::connectCamera(const tool::CameraChoice& choice) {
    if (fileOf(choice.scene) == choice.scene && choice.scene.find_first_of("/\\.:") != std::string::npos) {
        throw ApiError(409, "\"" + choice.scene + "\" is neither a chart nor a picture that was sent.");
    }
    live_.run([&](host::Board& board) {
        connect(host::matchCamera(board, choice.options).options, choice.scene);
        const std::lock_guard guard(mutex_);
        camera_ = choice;
    });
}

std::string ServedBoard::fileOf(const std::string& scene) const {
    const std::lock_guard guard(mutex_);
    const auto sent = scenes_.find(scene);
    return sent == scenes_.end() ? scene : sent->second.string();
}

void ServedBoard::connect(const std::string& options, const std::string& scene) {
    try {
        host::connectCamera(session_.board(), options, fileOf(scene));
    } catch (const std::runtime_error& problem) {
        throw ApiError(409, problem.what());
    }
    connected_ = options;
}

void ServedBoard::followSettings() {
    const tool::CameraChoice choice = camera();
    const std::string options = host::matchCamera(session_.board(), choice.options).options;
    if (options != connected_) {
        try {
            connect(options, choice.scene);
        } catch (const ApiError& problem) { // the settings are none that a camera can have; the warning tells
            feed_.add(RecordType::log, {{"level", "warning"}, {"text", problem.what()}});
        }
    }
}

Json ServedBoard::cameraJson() {
    return live_.run([&](host::Board& board) {
        const tool::CameraChoice choice = camera();
        return Json{{"options", choice.options},
                    {"connected", connected_},
                    {"scene", choice.scene},
                    {"warning", host::matchCamera(board, connected_).mismatch}};
    });
}

void ServedBoard::addScene(const std::string& name, const std::filesystem::path& file) {
    const std::lock_guard guard(mutex_);
    scenes_[name] = file;
}

void ServedBoard::removeScene(const std::string& name) {
    const std::lock_guard guard(mutex_);
    scenes_.erase(name);
}

std::vector<std::string> ServedBoard::uploadedScenes() const {
    const std::lock_guard guard(mutex_);
    std::vector<std::string> names;
    for (const auto& [name, file] : scenes_) {
        names.push_back(name);
    }
    return names;
}

host::LiveFrame ServedBoard::newestFrame() const {
    std::optional<host::LiveFrame> frame = live_.newest();
    if (!frame) {
        const std::string problem = live_.problem();
        throw ApiError(409, problem.empty() ? "No picture has come yet." : "No picture has come: " + problem);
    }
    return *frame;
}

std::vector<host::Frame> ServedBoard::collect(std::size_t count) {
    constexpr std::chrono::milliseconds patience(20'000); // without a frame
    constexpr std::chrono::milliseconds interval(200);    // after which the end of the server is noticed
    struct Collection {
        std::mutex mutex;
        std::condition_variable came;
        std::vector<host::Frame> frames;
        bool ended = false;
    };
    // Shared: the board's thread may bring a frame after nobody waits any more.
    const auto collection = std::make_shared<Collection>();
    const std::shared_ptr<void> look = live_.look();
    live_.record([collection, count](const host::LiveFrame* frame) {
        const std::lock_guard guard(collection->mutex);
        if (frame == nullptr) {
            collection->ended = true;
        } else if (collection->frames.size() < count) {
            collection->frames.push_back(frame->frame);
        }
        collection->came.notify_all();
        return !collection->ended && collection->frames.size() < count;
    });
    std::unique_lock lock(collection->mutex);
    std::chrono::milliseconds waited(0);
    while (collection->frames.size() < count) {
        const std::size_t before = collection->frames.size();
        const bool came = collection->came.wait_for(
            lock, interval, [&] { return collection->ended || collection->frames.size() > before; });
        waited = came ? std::chrono::milliseconds(0) : waited + interval;
        if (ending_ || waited >= patience || (collection->ended && collection->frames.size() < count)) {
            collection->ended = true;
            throw ApiError(409, "Only " + std::to_string(collection->frames.size()) + " of " + std::to_string(count) +
                                    " pictures came: does the board's time pass, and does the camera get triggers?");
        }
    }
    return std::move(collection->frames);
}

std::shared_ptr<const Histogram> ServedBoard::histogram(const host::LiveFrame& frame) {
    const std::lock_guard guard(histogramMutex_);
    if (!histogram_ || histogramSequence_ != frame.sequence) {
        histogram_ = std::make_shared<const Histogram>(histogramOf(frame.frame));
        histogramSequence_ = frame.sequence;
    }
    return histogram_;
}

std::uint64_t ServedBoard::addView(const std::shared_ptr<ViewState>& view) {
    const std::lock_guard guard(mutex_);
    views_[nextView_] = view;
    return nextView_++;
}

void ServedBoard::removeView(std::uint64_t number) {
    const std::lock_guard guard(mutex_);
    views_.erase(number);
}

std::shared_ptr<ViewState> ServedBoard::view(std::uint64_t number) const {
    const std::lock_guard guard(mutex_);
    const auto found = views_.find(number);
    std::shared_ptr<ViewState> view = found == views_.end() ? nullptr : found->second.lock();
    if (!view) {
        throw ApiError(404, "There is no stream " + std::to_string(number) + ".");
    }
    return view;
}

} // namespace qelm::server
