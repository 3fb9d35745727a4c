// The answers are the applet's own. Beside the board that the file is loaded on, another one loads it up to where
// settings begin to depend on what the design holds, and is then continued setting by setting, which tells the refusals
// that a load swallows.

#include "load_report.h"

#include "lookup_table_file.h"
#include "output_file.h"
#include "temporary_folder.h"

#include "configuration/text.h"
#include "qelm/host/numbers.h"
#include "qelm/host/text.h"

#include <algorithm>

namespace qelm::tool {
namespace {

namespace fs = std::filesystem;
using configuration::ConfigurationKey;
using configuration::ConfigurationText;
using configuration::KeyLoading;
using configuration::KeyType;

constexpr std::string_view section = "[Port A]";
constexpr std::int32_t appletNameRequest = 0x1050; // of Info

/** How many bytes the character at the beginning of the text has; 0 when a terminal had better not get it. */
size_t printableLength(std::string_view text) {
    const auto byte = [&](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    const unsigned first = byte(0);
    const auto continues = [&](size_t count) {
        for (size_t i = 1; i <= count; ++i) {
            if ((byte(i) & 0xC0U) != 0x80U) {
                return false;
            }
        }
        return true;
    };
    if (first < 0x80) {
        return first >= ' ' && first != 0x7F ? 1 : 0;
    }
    if (first >= 0xC2 && first < 0xE0 && continues(1)) {
        return first == 0xC2 && byte(1) < 0xA0 ? 0 : 2; // control characters
    }
    if (first >= 0xE0 && first < 0xF0 && continues(2)) {
        return 3;
    }
    return first >= 0xF0 && first < 0xF5 && continues(3) ? 4 : 0;
}

/** The beginning of a text in UTF-8; what is none, or a terminal would take for a command, as question marks. */
std::string shown(std::string_view text) {
    constexpr size_t longest = 60;
    std::string result;
    while (!text.empty() && result.size() < longest) {
        const size_t length = printableLength(text);
        result += length == 0 ? "?" : text.substr(0, length);
        text.remove_prefix(std::max<size_t>(length, 1));
    }
    return result + (text.empty() ? "" : "...");
}

std::string shownFromFile(std::string_view text) {
    return shown(host::utf8Text(std::string(text)));
}

const ConfigurationKey* findKey(std::string_view name) {
    const auto* found = std::ranges::find(configuration::configurationKeys, name, &ConfigurationKey::name);
    return found == std::end(configuration::configurationKeys) ? nullptr : found;
}

/** The text with that key's lines made unknown to a load. */
std::string without(std::string text, std::string_view key) {
    for (size_t position = 0; (position = text.find(key, position)) != text.npos; position += key.size()) {
        text[position] = '#';
    }
    return text;
}

/** A word of the design or a register, by the name in a trace; nothing when it cannot be read. */
std::optional<std::uint64_t> wordOf(const Session& session, std::string_view target) {
    const auto& control = *session.board().applet().virtualBoard();
    std::string name(target.substr(0, target.find('[')));
    std::uint32_t index = 0;
    if (name.size() < target.size()) {
        host::parseNumber(target.substr(name.size() + 1, target.size() - name.size() - 2), index);
    }
    std::uint32_t value = 0;
    if (control.getDesignValue(session.board().virtualBoard(), name.c_str(), index, &value) == 0) {
        return value;
    }
    std::uint64_t wide = 0;
    return control.getRegister(session.board().virtualBoard(), name.c_str(), &wide) == 0 ? std::optional(wide)
                                                                                         : std::nullopt;
}

} // namespace

std::string Finding::text(const ConfigurationFile& file) const {
    return file.name().string() + (line == 0 ? "" : ":" + std::to_string(line)) + ": " + verdict + ": " + sentence;
}

Json Finding::json() const {
    return {{"line", line == 0 ? Json() : Json(line)}, {"verdict", verdict}, {"message", sentence}};
}

LoadReport::LoadReport(Session& session, ConfigurationFile& file)
    : session_(session)
    , applet_(session.board().applet())
    , file_(file) {
    readLines();
    checkHeader();
    checkKeys();
    load();
    if (loadable_) {
        checkFileNames();
        checkLookupTable();
        checkSettings();
    }
    sort();
}

void LoadReport::add(size_t line, const char* verdict, std::string sentence) {
    findings_.push_back({line, verdict, std::move(sentence)});
}

void LoadReport::refuseFile(std::string sentence) {
    loadable_ = false;
    add(0, "refused", std::move(sentence));
}

void LoadReport::sort() {
    std::ranges::stable_sort(findings_, {}, &Finding::line);
    // Of lines that mean nothing a few are enough.
    constexpr size_t most = 10;
    const auto isIgnored = [](const Finding& finding) { return finding.verdict == "ignored"; };
    size_t count = 0;
    const auto isTooMuch = [&](const Finding& finding) { return isIgnored(finding) && ++count > most; };
    std::erase_if(findings_, isTooMuch);
    if (count > most) {
        add(0, "ignored", "and " + std::to_string(count - most) + " more lines");
    }
}

void LoadReport::readLines() {
    const ConfigurationText contents(file_.text());
    bool inSection = false;
    bool isRest = false; // of a line that is too long
    size_t number = 1;
    for (size_t position = 0; position < contents.size();) {
        const ConfigurationText::Line line = contents.lineAt(position);
        const bool isCut = !line.endsWithLineFeed && line.next < contents.size();
        if (isCut && !isRest && line.text.size() >= ConfigurationText::longestLine) {
            add(number, "ignored", "the line is longer than 255 characters: what follows counts as a line of its own");
        }
        const std::string_view text = line.text.substr(0, line.text.find('\n'));
        if (!isRest || findKey(text.substr(0, text.find('='))) != nullptr) {
            readLine(number, text, inSection);
        }
        inSection = inSection || line.text.find(section) != line.text.npos;
        isRest = isCut;
        number += isCut ? 0 : 1;
        position = line.next;
    }
    if (!inSection) {
        findings_.clear(); // what the lines are does not matter then
        refuseFile("this is no configuration: the section " + std::string(section) + " is missing" +
                   (contents.text().find('\0') == std::string::npos ? "" : ", and there are zero bytes in it"));
    }
}

void LoadReport::readLine(size_t number, std::string_view line, bool inSection) {
    if (line.find_first_not_of(" \t\r") == line.npos || line.starts_with('[')) {
        return;
    }
    const size_t equals = line.find('=');
    if (equals == line.npos) {
        add(number, "ignored", "\"" + shownFromFile(line) + "\" is neither a section nor KEY=VALUE;");
        return;
    }
    const std::string name(line.substr(0, equals));
    const ConfigurationKey* key = findKey(name);
    if (key == nullptr) {
        constexpr std::string_view headerKeys[] = {"ConfigFileVersion", "Hersteller",   "Typ",
                                                   "Version",           "LoadAppletId", "AktivePort"};
        if (std::ranges::find(headerKeys, name) == std::end(headerKeys)) {
            add(number, "ignored", "there is no key " + shownFromFile(name));
        }
    } else if (!inSection) {
        add(number, "ignored", name + " stands before the section " + std::string(section));
    } else if (const auto [first, isNew] = lines_.try_emplace(key, number); !isNew) {
        add(number, "ignored", name + " stands in line " + std::to_string(first->second) + " already");
    } else {
        checkText(number, *key, line.substr(equals + 1));
    }
}

/** Whether the value means what it looks like. */
void LoadReport::checkText(size_t number, const ConfigurationKey& key, std::string_view written) {
    const auto value = file_.value(key);
    if (!value) {
        return; // reported with the keys that are missing
    }
    written = written.substr(0, written.rfind(';'));
    bool same = true;
    std::string reading;
    if (key.type == KeyType::text) {
        reading = std::get<std::string>(*value);
        same = host::utf8Text(std::string(written)) == "'" + reading + "'" || (reading.empty() && written.empty());
    } else if (key.type == KeyType::integer) {
        const auto read = static_cast<std::int32_t>(std::get<std::uint32_t>(*value));
        std::int32_t meant = 0;
        same = host::parseNumber(written, meant) == std::errc() && meant == read;
        reading = std::to_string(read);
    } else {
        double parsed = 0.0;
        same = host::parseNumber(written, parsed) == std::errc();
        reading = host::formatNumber(std::get<double>(*value));
    }
    if (!same) {
        add(number, "changed",
            std::string(key.name) + "=" + shownFromFile(written) + " is read as " +
                (key.type == KeyType::text ? "'" + shown(reading) + "'" : reading));
    }
}

void LoadReport::checkHeader() {
    configuration::ConfigurationText& contents = file_.contents();
    if (!contents.valueInLineWith("Hersteller")) {
        refuseFile("the key Hersteller is missing");
    }
    const std::string name = applet_.infoText(appletNameRequest);
    if (const auto type = contents.valueInLineWith("Typ"); !type) {
        refuseFile("the key Typ is missing");
    } else if (*type != name) {
        refuseFile("Typ is '" + shownFromFile(*type) + "', not '" + name + "'");
    }
    const auto activePort = contents.value(configuration::headerSection, "AktivePort");
    if (!activePort || activePort->find(configuration::missingMark) != activePort->npos) {
        refuseFile("the key AktivePort is missing");
    }
}

void LoadReport::checkKeys() {
    if (file_.text().find(section) == std::string::npos) {
        return; // said already
    }
    std::vector<std::string> missing;
    for (const ConfigurationKey& key : configuration::configurationKeys) {
        if (file_.value(key)) {
            continue;
        }
        if (const auto line = lines_.find(&key); line == lines_.end()) {
            missing.emplace_back(key.name);
        } else {
            loadable_ = false;
            add(line->second, "refused", std::string(key.name) + " counts as missing: a value must not hold \"Error\"");
        }
    }
    if (missing.size() == 1) {
        refuseFile("the key " + missing.front() + " is missing");
    } else if (!missing.empty()) {
        refuseFile(std::to_string(missing.size()) + " keys are missing, the first is " + missing.front());
    }
}

void LoadReport::checkFileNames() {
    for (const ConfigurationKey* key : file_.fileKeys()) {
        const fs::path name = file_.relativeName(*key);
        const fs::path beside = fs::absolute(file_.name()).parent_path() / name;
        std::error_code ignored;
        if (name.empty() || !fs::exists(beside, ignored) || fs::equivalent(name, beside, ignored)) {
            continue;
        }
        add(lines_.at(key), fs::exists(name, ignored) ? "changed" : "refused",
            std::string(key->name) + "='" + name.string() + "' is looked for in the current folder" +
                (fs::exists(name, ignored) ? "" : ", where there is none") +
                ", not beside the configuration file, where there is one; --beside takes that");
    }
}

void LoadReport::checkLookupTable() {
    if (const std::string gap = lookupTableGap(session_); !gap.empty()) {
        const ConfigurationKey& key = configurationKey(FG_LUT_CUSTOM_FILE);
        add(lines_.at(&key), "changed", std::string(key.name) + ": " + gap);
    }
}

void LoadReport::load() {
    const auto* control = applet_.virtualBoard();
    if (control != nullptr) {
        control->traceStart();
    }
    code_ = applet_->Fg_loadConfig(session_.board(), file_.copy().c_str());
    if (control == nullptr) {
        return;
    }
    const std::vector<host::TracedCall> calls = session_.board().trace();
    control->traceStop();
    const auto isLoad = [](const host::TracedCall& call) {
        return call.isWrite && call.result == 0 && call.value == "1" && call.target.ends_with("_LoadCoefficients");
    };
    coefficientsLoaded_ = std::ranges::count_if(calls, isLoad) >= 2; // offsets and gains
}

void LoadReport::checkSettings() {
    if (applet_.virtualBoard() == nullptr) {
        return; // nothing may be tried on a real board
    }
    Session session(applet_);
    // Without the first key that is not read in advance a load ends just before it.
    constexpr std::string_view stop = "FG_AREATRIGGERMODE=";
    const fs::path beginning = temporaryFolder().path() / "beginning.kcf";
    writeTemporaryFile(beginning, without(file_.text(), stop));
    applet_->Fg_loadConfig(session.board(), host::systemFileName(beginning).c_str());
    fs::remove(beginning);
    std::map<const Key*, Applied> applied;
    for (const ConfigurationKey* key : configuration::appliedKeys) {
        applied[key] = apply(session, *key, &otherSet_);
    }
    checkOverruled(session, applied);
    if (isSame(file_.value(configurationKey(FG_TRIGGER_LEGACY_MODE)), std::uint32_t{FG_ON})) {
        checkLegacySettings();
    }
    if (!coefficientsLoaded_) {
        const host::Reference shading = host::parseReference(session.parameters(), "FG_SHADING_APPLY_SETTINGS");
        try {
            host::writeValue(session.board(), {shading, std::uint32_t{FG_APPLY}});
        } catch (const host::AppletError& error) {
            add(0, "refused", std::string("the shading coefficients are not computed: ") + error.what());
        }
    }
    // Only kept by a load, unchecked: said last, since trying them may change others.
    for (const ConfigurationKey& key : configuration::configurationKeys) {
        if (key.loading == KeyLoading::keepOnly) {
            apply(session, key, nullptr);
        }
    }
    const ConfigurationKey& replacement = configurationKey(FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE);
    if (isSame(file_.value(replacement), std::uint32_t{FG_ON})) {
        add(lines_.at(&replacement), "kept",
            std::string(replacement.name) +
                " is kept and the coefficients follow it, but a load does not switch the design's replacement on: set "
                "it after the load");
        overruled_.push_back(&replacement);
    }
}

/**
 * With the legacy mode on, a set refuses the parameters of the current set, whatever their values; a load does not. So
 * they are tried with the mode off.
 */
void LoadReport::checkLegacySettings() {
    Session session(applet_);
    const std::vector<const Key*> keys = std::move(otherSet_);
    for (const Key* key : keys) {
        apply(session, *key, nullptr);
    }
}

/**
 * Settings that the applet takes, and that a later one of the same load undoes. The rate and the queue's mode share
 * the generator's shortest period, where the rate is the one to have.
 */
void LoadReport::checkOverruled(Session& session, const std::map<const Key*, Applied>& applied) {
    for (const ConfigurationKey* next : configuration::appliedKeys) {
        const ConfigurationKey& key = *next;
        const Applied& own = applied.at(&key);
        const auto isUndone = [&](const host::TracedCall& call) {
            const auto word = wordOf(session, call.target);
            return call.isWrite && word && std::to_string(*word) != call.value;
        };
        if (key.id == FG_TRIGGERQUEUE_MODE || !own.accepted || std::ranges::none_of(own.calls, isUndone)) {
            continue;
        }
        std::map<std::string, std::optional<std::uint64_t>> before;
        for (const host::TracedCall& call : own.calls) {
            before[call.target] = wordOf(session, call.target);
        }
        const host::Reference reference = host::parseReference(session.parameters(), key.name);
        const auto value = file_.value(key);
        try {
            host::writeValue(session.board(), {reference, *value});
        } catch (const host::AppletError&) { // depends on what came later, as the design does
            continue;
        }
        for (const auto& [target, word] : before) {
            const auto now = wordOf(session, target);
            if (word == now || !word || !now) {
                continue;
            }
            const bool isRate = key.id == FG_TRIGGER_FRAMESPERSECOND;
            if (isRate && !runsByGenerator()) {
                break; // a start sets it again
            }
            add(lines_.at(&key), "changed",
                std::string(key.name) + " = " + valueText(*reference.parameter, value) +
                    (isRate ? " is told, but the trigger unit runs at its shortest period: the load switches the queue "
                              "off after it has set the rate"
                            : " is told, but a later key of the same load undoes it") +
                    " (" + target + " is " + std::to_string(*word) + ", not " + std::to_string(*now) +
                    "): set it again after the load");
            overruled_.push_back(&key);
            break;
        }
    }
}

/** Whether the trigger unit is active after the load, in the mode that follows the rate. */
bool LoadReport::runsByGenerator() const {
    const auto holds = [this](const char* name, std::uint32_t value) {
        return isSame(session_.read(host::parseReference(session_.parameters(), name)), value);
    };
    return holds("FG_AREATRIGGERMODE", ATM_GENERATOR) && holds("FG_TRIGGERSTATE", TS_ACTIVE);
}

LoadReport::Applied LoadReport::apply(Session& session, const Key& key, std::vector<const Key*>* unknown) {
    const host::Reference reference = host::parseReference(session.parameters(), key.name);
    const auto value = file_.value(key);
    const size_t line = lines_.at(&key);
    Applied result;
    session.board().clearTrace();
    try {
        host::writeValue(session.board(), {reference, *value});
        result.calls = session.board().trace();
        result.accepted = true;
    } catch (const host::AppletError& error) {
        if (error.code() != FG_ERROR_UNKNOWN) {
            add(line, "refused", std::string(error.what()) + whatHolds(key, value));
        } else if (unknown != nullptr) { // belongs to the set of trigger parameters that is not in force, as it should
            unknown->push_back(&key);
        }
    } catch (const host::EncodingError& error) {
        add(line, "refused", error.what());
    }
    applet_.virtualBoard()->traceStop();
    const auto after = session.read(reference);
    if (result.accepted && !isSame(value, after)) {
        add(line, "changed",
            std::string(key.name) + ": " + valueText(*reference.parameter, value) + " becomes " +
                valueText(*reference.parameter, after));
    }
    return result;
}

/** What a get answers after the load, and what the design has, where the value was refused. */
std::string LoadReport::whatHolds(const Key& key, const std::optional<host::Value>& value) {
    const host::Reference reference = host::parseReference(session_.parameters(), key.name);
    const auto after = session_.read(reference);
    if (!isSame(value, after)) {
        return " It stays " + valueText(*reference.parameter, after) + ".";
    }
    if (!fresh_) {
        fresh_.emplace(applet_);
    }
    // What the design has is told by the words that a set of this parameter writes.
    const auto before = fresh_->read(reference);
    std::vector<host::TracedCall> calls;
    if (before) {
        fresh_->board().clearTrace();
        try {
            host::writeValue(fresh_->board(), {reference, *before});
        } catch (const host::AppletError&) { // NOLINT(bugprone-empty-catch): then the words are not known
        }
        calls = fresh_->board().trace();
        applet_.virtualBoard()->traceStop();
    }
    std::erase_if(calls, [](const host::TracedCall& call) { return !call.isWrite; });
    const auto isUntouched = [&](const host::TracedCall& call) {
        return wordOf(*fresh_, call.target) == wordOf(session_, call.target);
    };
    const bool untouched = !calls.empty() && std::ranges::all_of(calls, isUntouched);
    return " A get answers it all the same; the design " +
           (untouched ? "goes on with " + valueText(*reference.parameter, before) : "does not have it") + ".";
}

} // namespace qelm::tool
