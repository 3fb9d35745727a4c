// Runs a script of steps on one board: settings, pulses, pictures, and what is expected of them.

#include "camera.h"
#include "interruption.h"
#include "levels.h"
#include "output_file.h"
#include "picture_writer.h"
#include "script.h"
#include "set_up.h"
#include "steps.h"
#include "triggers.h"

#include "qelm/host/numbers.h"
#include "qelm/host/text.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <sstream>

namespace qelm::tool {
namespace {

constexpr std::size_t largestScript = std::size_t{1} << 20;
constexpr std::size_t places = 64; // pictures that a running acquisition keeps until they are grabbed
constexpr double usualTimeout = 10;

/** What an expectation can be about besides parameters: results of what was grabbed. */
enum class Result { pictures, number, lost, missing, minimum, maximum, mean, nonUniformity };
constexpr std::pair<std::string_view, Result> resultNames[] = {
    {"pictures", Result::pictures}, {"number", Result::number},
    {"lost", Result::lost},         {"missing", Result::missing},
    {"minimum", Result::minimum},   {"maximum", Result::maximum},
    {"mean", Result::mean},         {"non_uniformity", Result::nonUniformity},
};
constexpr std::string_view eventsPrefix = "events.";

const std::pair<std::string_view, Result>* findResult(std::string_view name) {
    const auto* found = std::ranges::find(resultNames, name, &std::pair<std::string_view, Result>::first);
    return found == std::end(resultNames) ? nullptr : found;
}

bool compare(double left, std::string_view comparison, double right) {
    return comparison == "=="   ? left == right
           : comparison == "!=" ? left != right
           : comparison == "<"  ? left < right
           : comparison == "<=" ? left <= right
           : comparison == ">"  ? left > right
                                : left >= right;
}

double asNumber(const host::Value& value) {
    return std::visit(
        [](const auto& plain) -> double {
            using Plain = std::decay_t<decltype(plain)>;
            if constexpr (std::is_same_v<Plain, LutEntry>) {
                return plain.value;
            } else if constexpr (std::is_same_v<Plain, std::string>) {
                return 0;
            } else {
                return static_cast<double>(plain);
            }
        },
        value);
}

class Run {
  public:
    Run(const CommonOptions& options, const RunOptions& runOptions, const host::Applet& applet)
        : options_(options)
        , name_(runOptions.file.string())
        , lines_(parseScript(name_, readFile(runOptions.file, largestScript)))
        , control_(*applet.virtualBoard())
        , session_(startSession(applet, options))
        , camera_(runOptions.camera)
        , stimulus_(control_, session_.board()) {
        for (const ScriptLine& line : lines_) { // all of them, before the first one does anything
            located(line, [&] { check(line); });
        }
        require(control_.recordEvents(session_.board().virtualBoard(), 1), "recording events failed");
        connectCamera(session_, camera_);
        requireNoWarnings(options);
    }

    /** @return whether all expectations were met */
    bool run() {
        for (const ScriptLine& line : lines_) {
            checkForInterruption();
            located(line, [&] { perform(line); });
        }
        if (options_.json) {
            print(Json{{"file", name_}, {"steps", steps_}, {"expectations", expectations_}, {"failed", failed_}});
        } else {
            std::cout << lines_.size() << (lines_.size() == 1 ? " step, " : " steps, ") << expectations_
                      << (expectations_ == 1 ? " expectation, " : " expectations, ")
                      << (failed_ == 0 ? "none" : std::to_string(failed_)) << " failed\n";
        }
        return failed_ == 0;
    }

  private:
    template <class Work>
    void located(const ScriptLine& line, Work&& work) {
        try {
            work();
        } catch (const Interrupted&) {
            throw;
        } catch (const ScriptError&) {
            throw;
        } catch (const std::exception& error) {
            throw ScriptError(atLine(name_, line.line, error.what()));
        }
    }

    static PictureTarget targetOf(const ScriptLine& line) {
        return {.file = host::pathOf(line.words.front()), .pictures = line.count.value_or(1)};
    }

    /** Whether names and values can be. */
    void check(const ScriptLine& line) {
        switch (line.kind) {
        case StepKind::set:
            parseAssignments(session_, line.words);
            settings_.insert(settings_.end(), line.words.begin(), line.words.end());
            break;
        case StepKind::get:
            for (const std::string& word : line.words) {
                host::parseReference(session_.parameters(), word);
            }
            break;
        case StepKind::grab:
            if (!line.words.empty()) {
                checkPictureTarget(targetOf(line));
            }
            break;
        case StepKind::expect:
            checkExpectation(line.words);
            break;
        default:
            break;
        }
    }

    /** Events that the frame grabber knows; those of the design alone are not to be had by name before they came. */
    void checkEvent(const std::string& name) const {
        if (name.find('_') != name.npos && !name.starts_with("FG_")) {
            return;
        }
        std::vector<std::string_view> names;
        for (std::uint64_t mask = 1; mask != 0; mask <<= 1) {
            if (const char* known = session_.board().applet()->Fg_getEventName(session_.board(), mask)) {
                names.emplace_back(known);
            }
        }
        if (std::ranges::find(names, name) == names.end()) {
            const std::string_view nearest = host::nearestName(name, names);
            throw std::runtime_error("there is no event \"" + name + "\"" +
                                     (nearest.empty() ? "" : "; did you mean " + std::string(nearest) + "?"));
        }
    }

    void checkExpectation(const std::vector<std::string>& words) {
        if (words.front() == "refused") {
            host::parseReference(session_.parameters(), words[1].substr(0, words[1].find('=')));
            if (words[1].find('=') == std::string::npos) {
                host::parseAssignment(session_.parameters(), words[1]); // says what is missing
            }
        } else if (findResult(words[0]) != nullptr || words[0].starts_with(eventsPrefix)) {
            double number = 0;
            if (host::parseNumber(words[2], number) != std::errc{}) {
                throw std::runtime_error("\"" + words[2] + "\" is no number");
            }
            if (words[0].starts_with(eventsPrefix)) {
                checkEvent(words[0].substr(eventsPrefix.size()));
            }
        } else {
            const host::Assignment expected = host::parseAssignment(session_.parameters(), words[0] + "=" + words[2]);
            if (std::holds_alternative<std::string>(expected.value) && words[1] != "==" && words[1] != "!=") {
                throw std::runtime_error(words[0] + " is a text: it can be == or !=");
            }
        }
    }

    void perform(const ScriptLine& line) {
        switch (line.kind) {
        case StepKind::set:
            for (const Step& step : parseAssignments(session_, line.words)) {
                access(line, step);
            }
            break;
        case StepKind::get:
            for (const std::string& word : line.words) {
                access(line, {host::parseReference(session_.parameters(), word)});
            }
            break;
        case StepKind::load:
            loadConfiguration(session_, host::pathOf(line.words.front()), options_.setUp.beside);
            requireNoWarnings(options_);
            report(line, line.text);
            break;
        case StepKind::camera:
        case StepKind::scene:
            (line.kind == StepKind::camera ? camera_.options : camera_.scene) = line.words.front();
            connectCamera(session_, camera_);
            requireNoWarnings(options_);
            report(line, line.text);
            break;
        case StepKind::wait:
            stimulus_.pass(line.nanoseconds);
            report(line, line.text);
            break;
        case StepKind::pulse:
            for (std::uint32_t i = 0; i < line.count.value_or(1); ++i) {
                stimulus_.pulse(line.pulses);
            }
            report(line, line.text);
            break;
        case StepKind::acquire:
            begin();
            report(line, line.text);
            break;
        case StepKind::stop:
            if (!acquisition_) {
                throw std::runtime_error("nothing is being acquired");
            }
            came_ = acquisition_->last();
            acquisition_.reset();
            report(line, line.text);
            break;
        case StepKind::grab:
            grab(line);
            break;
        case StepKind::expect:
            expect(line);
            break;
        }
    }

    void access(const ScriptLine& line, const Step& step) {
        const Outcome outcome = tool::run(session_, step, Tracing::off);
        if (outcome.error) {
            throw host::AppletError(*outcome.error);
        }
        report(line, text(step, outcome), json(step, outcome));
    }

    void begin() {
        if (acquisition_) {
            throw std::runtime_error("pictures are being acquired already");
        }
        acquisition_.emplace(session_.board(), host::AcquisitionOptions{.places = places});
    }

    /** From the running acquisition as they come, or else from one of its own, with the triggers that it needs. */
    void grab(const ScriptLine& line) {
        const std::uint32_t count = line.count.value_or(1);
        const double timeout = line.nanoseconds == 0 ? usualTimeout : static_cast<double>(line.nanoseconds) * 1e-9;
        const bool isRunning = acquisition_.has_value();
        if (!isRunning) {
            startTriggers(session_, options_, settings_);
            begin();
        }
        std::unique_ptr<PictureWriter> writer;
        if (!line.words.empty()) {
            writer = makePictureWriter(control_, targetOf(line), settingsJson(session_));
        }
        Triggers triggers(control_, session_, line.pulses, timeout);
        for (std::uint32_t i = 0; i < count; ++i) {
            checkForInterruption();
            const std::optional<host::Frame> frame =
                isRunning ? acquisition_->next(timeout) : triggers.await(*acquisition_);
            if (!frame) {
                throw std::runtime_error("picture " + std::to_string(acquisition_->last() + 1) +
                                         " did not come in time");
            }
            last_ = frame;
            levels_ = levelsOf(*frame);
            const std::string file = writer ? writer->write(*frame) : "";
            reportPicture(line, file);
        }
        if (writer) {
            writer->finish();
        }
        came_ = acquisition_->last();
        if (!isRunning) {
            acquisition_.reset();
        }
    }

    void reportPicture(const ScriptLine& line, const std::string& file) {
        const host::FrameInformation& information = last_->information();
        std::ostringstream sentence;
        sentence << "picture " << information.number << (file.empty() ? "" : " " + file) << ": " << levels_.text()
                 << ", at " << static_cast<double>(information.timestamp.value_or(0)) * 1e-6 << " ms, "
                 << information.lost << " lost";
        Json object = informationJson(information);
        if (!file.empty()) {
            object["file"] = file;
        }
        object["minimum"] = levels_.minimum;
        object["maximum"] = levels_.maximum;
        object["mean"] = levels_.mean;
        object["nonUniformityPercent"] = levels_.nonUniformity();
        report(line, sentence.str(), std::move(object));
    }

    void expect(const ScriptLine& line) {
        ++expectations_;
        std::string found;
        const bool met =
            line.words.front() == "refused" ? expectRefusal(line.words[1], found) : expectValue(line.words, found);
        Json object{{"met", met}, {"found", found}};
        if (met) {
            report(line, line.text, std::move(object));
            return;
        }
        ++failed_;
        printError(atLine(name_, line.line, line.text + " failed: " + found));
        addJson(line, std::move(object));
    }

    bool expectRefusal(const std::string& assignment, std::string& found) {
        try {
            session_.change(assignment);
            found = assignment + " was accepted";
            return false;
        } catch (const host::AppletError& error) {
            found = error.what();
            return true;
        }
    }

    bool expectValue(const std::vector<std::string>& words, std::string& found) {
        const auto* result = findResult(words[0]);
        if (result == nullptr && !words[0].starts_with(eventsPrefix)) {
            const host::Assignment expected = host::parseAssignment(session_.parameters(), words[0] + "=" + words[2]);
            const host::Value value = host::readValue(session_.board(), expected.reference);
            found = words[0] + " is " + valueText(*expected.reference.parameter, value);
            if (const auto* text = std::get_if<std::string>(&value)) {
                return (*text == std::get<std::string>(expected.value)) == (words[1] == "==");
            }
            return compare(asNumber(value), words[1], asNumber(expected.value));
        }
        const double value =
            result != nullptr ? resultValue(result->second) : eventCount(words[0].substr(eventsPrefix.size()));
        found = words[0] + " is " + host::formatNumber(value);
        double expected = 0;
        host::parseNumber(words[2], expected);
        return compare(value, words[1], expected);
    }

    double resultValue(Result result) {
        if (result == Result::pictures) {
            return static_cast<double>(acquisition_ ? acquisition_->last() : came_);
        }
        if (!last_) {
            throw std::runtime_error("no picture was grabbed before this step");
        }
        const host::FrameInformation& information = last_->information();
        switch (result) {
        case Result::number:
            return static_cast<double>(information.number);
        case Result::lost:
            return static_cast<double>(acquisition_ ? acquisition_->lost() : information.lost);
        case Result::missing:
            return static_cast<double>(information.missing);
        case Result::minimum:
            return levels_.minimum;
        case Result::maximum:
            return levels_.maximum;
        case Result::mean:
            return levels_.mean;
        default:
            return levels_.nonUniformity();
        }
    }

    /** How often an event of that name, the frame grabber's or the design's, was raised since the start. */
    double eventCount(const std::string& name) {
        VirtualBoard* board = session_.board().virtualBoard();
        std::size_t count = 0;
        require(control_.eventCount(board, &count), "reading the events failed");
        std::size_t matching = 0;
        for (std::size_t position = 0; position < count; ++position) {
            VirtualBoardEvent event{};
            require(control_.eventAt(board, position, &event), "reading the events failed");
            const char* known = session_.board().applet()->Fg_getEventName(session_.board(), event.mask);
            matching += name == event.name || (known != nullptr && name == known) ? 1U : 0U;
        }
        return static_cast<double>(matching);
    }

    void report(const ScriptLine& line, const std::string& sentence, Json object = Json::object()) {
        if (!options_.json) {
            std::cout << atLine(name_, line.line, sentence) << '\n';
        }
        addJson(line, std::move(object));
    }
    void addJson(const ScriptLine& line, Json object) {
        if (options_.json) {
            Json step{{"line", line.line}, {"step", line.text}};
            step.update(object);
            steps_.push_back(std::move(step));
        }
    }

    const CommonOptions& options_;
    std::string name_;
    std::vector<ScriptLine> lines_;
    const host::VirtualBoardFunctions& control_;
    Session session_;
    CameraChoice camera_;
    std::vector<std::string> settings_; // of the whole script
    Stimulus stimulus_;
    std::optional<host::Acquisition> acquisition_;
    std::int64_t came_ = 0;
    std::optional<host::Frame> last_;
    Levels levels_;
    Json steps_ = Json::array();
    std::size_t expectations_ = 0, failed_ = 0;
};

} // namespace

int run(const CommonOptions& options, const RunOptions& runOptions) {
    const host::Applet applet = loadApplet(options);
    const host::VirtualBoardFunctions& control = requireVirtualBoard(applet, "runs scripts");
    if (showCameraHelp(options, control, runOptions.camera)) {
        return 0;
    }
    return Run(options, runOptions, applet).run() ? 0 : 1;
}

} // namespace qelm::tool
