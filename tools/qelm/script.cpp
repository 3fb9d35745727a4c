#include "script.h"

#include "qelm/host/numbers.h"
#include "qelm/host/parameters.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace qelm::tool {
namespace {

constexpr std::pair<std::string_view, StepKind> stepNames[] = {
    {"set", StepKind::set},     {"get", StepKind::get},   {"load", StepKind::load},     {"camera", StepKind::camera},
    {"scene", StepKind::scene}, {"wait", StepKind::wait}, {"pulse", StepKind::pulse},   {"acquire", StepKind::acquire},
    {"stop", StepKind::stop},   {"grab", StepKind::grab}, {"expect", StepKind::expect},
};
constexpr std::string_view comparisons[] = {"==", "!=", "<", "<=", ">", ">="};
constexpr double longestTime = 3600e9; // nanoseconds

/** One line, taken apart. */
class LineParser {
  public:
    LineParser(const std::string& name, std::size_t line, std::string_view text) : name_(name), line_(line) {
        split(text);
    }
    bool empty() const { return words_.empty(); }

    ScriptLine parse() {
        ScriptLine step{line_, kindNamed(words_.front())};
        for (const std::string& word : words_) {
            step.text += (step.text.empty() ? "" : " ") + word;
        }
        words_.erase(words_.begin());
        switch (step.kind) {
        case StepKind::set:
            need(1, "settings, as in \"set FG_WIDTH=512\"");
            break;
        case StepKind::get:
            need(1, "names, as in \"get FG_WIDTH\"");
            break;
        case StepKind::load:
        case StepKind::camera:
        case StepKind::scene:
            needOne();
            break;
        case StepKind::wait:
            parseWait(step);
            break;
        case StepKind::pulse:
            parseCount(step);
            parseOptions(step, false);
            break;
        case StepKind::acquire:
        case StepKind::stop:
            break;
        case StepKind::grab:
            parseCount(step);
            parseOptions(step, true);
            break;
        case StepKind::expect:
            parseExpectation();
            break;
        }
        const bool takesWords = step.kind != StepKind::wait && step.kind != StepKind::pulse &&
                                step.kind != StepKind::acquire && step.kind != StepKind::stop;
        if (!takesWords && !words_.empty()) {
            fail("\"" + words_.front() + "\" is too much");
        }
        step.words = std::move(words_);
        return step;
    }

  private:
    [[noreturn]] void fail(const std::string& sentence) const { throw ScriptError(atLine(name_, line_, sentence)); }

    void split(std::string_view text) {
        std::string word;
        bool inWord = false, quoted = false;
        for (const char letter : text) {
            const bool isBlank = letter == ' ' || letter == '\t' || letter == '\r';
            if (!quoted && !inWord && letter == '#') {
                break;
            }
            if (letter == '"') {
                quoted = !quoted;
                inWord = true;
            } else if (!quoted && isBlank) {
                if (std::exchange(inWord, false)) {
                    words_.push_back(std::exchange(word, {}));
                }
            } else {
                inWord = true;
                word += letter;
            }
        }
        if (quoted) {
            fail("a quotation mark is missing");
        }
        if (inWord) {
            words_.push_back(word);
        }
    }

    StepKind kindNamed(const std::string& word) const {
        const auto* found = std::ranges::find(stepNames, word, &std::pair<std::string_view, StepKind>::first);
        if (found != std::end(stepNames)) {
            return found->second;
        }
        std::vector<std::string_view> names;
        std::string all;
        for (const auto& [name, kind] : stepNames) {
            names.push_back(name);
            all += (all.empty() ? "" : ", ") + std::string(name);
        }
        const std::string_view nearest = host::nearestName(word, names);
        fail("there is no step \"" + word + "\"; " +
             (nearest.empty() ? "the steps are " + all : "did you mean \"" + std::string(nearest) + "\"?"));
    }

    void need(std::size_t count, const char* what) const {
        if (words_.size() < count) {
            fail(std::string("this step needs ") + what);
        }
    }
    void needOne() const {
        if (words_.size() != 1) {
            fail("this step needs one word behind it; quotes hold blanks together");
        }
    }

    /** "20ms", "1.5s", "300us", "8ns" */
    std::uint64_t time(std::string_view text) const {
        constexpr std::pair<std::string_view, double> units[] = {{"ns", 1}, {"us", 1e3}, {"ms", 1e6}, {"s", 1e9}};
        for (const auto& [unit, nanoseconds] : units) {
            double number = 0;
            if (text.ends_with(unit) &&
                host::parseNumber(text.substr(0, text.size() - unit.size()), number) == std::errc{}) {
                if (!(number >= 0) || number * nanoseconds > longestTime) {
                    fail("\"" + std::string(text) + "\" is out of range: a time is at most an hour");
                }
                return static_cast<std::uint64_t>(std::llround(number * nanoseconds));
            }
        }
        fail("\"" + std::string(text) + "\" is no time: it needs a unit, as in 20ms (ns, us, ms, s)");
    }
    /** Pulses are driven in whole microseconds. */
    std::uint64_t microseconds(std::string_view text) const {
        const std::uint64_t nanoseconds = time(text);
        if (nanoseconds % 1000 != 0) {
            fail("\"" + std::string(text) + "\": pulses are driven in whole microseconds");
        }
        return nanoseconds / 1000;
    }

    void parseWait(ScriptLine& step) {
        if (words_.size() == 2) { // "20 ms"
            words_.front() += words_.back();
            words_.pop_back();
        }
        if (words_.size() != 1) {
            fail("this step needs a time, as in \"wait 20ms\"");
        }
        step.nanoseconds = time(words_.front());
        words_.clear();
    }

    void parseCount(ScriptLine& step) {
        std::uint32_t count = 0;
        if (words_.empty() || host::parseNumber(words_.front(), count) == std::errc::invalid_argument) {
            return;
        }
        if (host::parseNumber(words_.front(), count) != std::errc{} || count < 1 || count > 1'000'000) {
            fail("\"" + words_.front() + "\" is out of range: 1 to 1000000");
        }
        step.count = count;
        words_.erase(words_.begin());
    }

    void parseOptions(ScriptLine& step, bool isGrab) {
        step.pulses.period = isGrab ? 100'000 : step.pulses.period;
        std::vector<std::string> files;
        for (const std::string& word : words_) {
            const std::size_t equals = word.find('=');
            const std::string key = word.substr(0, equals);
            const std::string value = equals == word.npos ? "" : word.substr(equals + 1);
            if (equals != word.npos && key == "pin") {
                if (host::parseNumber(value, step.pulses.pin) != std::errc{} || step.pulses.pin > 7) {
                    fail("\"" + word + "\": pins are 0 to 7");
                }
            } else if (equals != word.npos && key == "period") {
                step.pulses.period = microseconds(value);
            } else if (equals != word.npos && key == "width") {
                step.pulses.width = microseconds(value);
            } else if (isGrab && equals != word.npos && key == "timeout") {
                step.nanoseconds = time(value);
            } else if (isGrab && files.empty() && word.find('.') != word.npos) {
                files.push_back(word);
            } else {
                fail("\"" + word + "\" is neither pin=N, period=TIME nor width=TIME" +
                     (isGrab ? ", nor timeout=TIME, nor a picture's file name" : ""));
            }
        }
        if (step.pulses.width > step.pulses.period) {
            fail("a pulse cannot be wider than its period");
        }
        words_ = std::move(files);
    }

    /** "refused NAME=VALUE", or a subject, a comparison and a value, blanks between them or not. */
    void parseExpectation() {
        if (!words_.empty() && words_.front() == "refused") {
            if (words_.size() != 2) {
                fail("\"expect refused\" needs one setting, as in \"expect refused FG_WIDTH=8\"");
            }
            return;
        }
        if (words_.size() == 1) {
            const std::size_t from = words_.front().find_first_of("=!<>");
            const std::size_t to = words_.front().find_first_not_of("=!<>", from);
            if (from != std::string::npos && to != std::string::npos) {
                const std::string whole = words_.front();
                words_ = {whole.substr(0, from), whole.substr(from, to - from), whole.substr(to)};
            }
        }
        if (words_.size() == 3 && words_[1] == "=") {
            words_[1] = "==";
        }
        if (words_.size() != 3 || std::ranges::find(comparisons, words_[1]) == std::end(comparisons)) {
            fail("an expectation is a parameter or result, one of == != < <= > >=, and a value, as in "
                 "\"expect FG_WIDTH == 512\"");
        }
    }

    const std::string& name_;
    std::size_t line_;
    std::vector<std::string> words_;
};

} // namespace

std::string atLine(const std::string& name, std::size_t line, const std::string& sentence) {
    return name + ":" + std::to_string(line) + ": " + sentence;
}

std::vector<ScriptLine> parseScript(const std::string& name, std::string_view text) {
    std::vector<ScriptLine> lines;
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        if (LineParser parser(name, number, line); !parser.empty()) {
            lines.push_back(parser.parse());
        }
    }
    return lines;
}

} // namespace qelm::tool
