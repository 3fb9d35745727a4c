// Tells what a load of a configuration file would refuse, change or ignore. The answers are the applet's own: the file
// is loaded on a virtual board of the tool's, up to where settings begin to depend on what the design holds, and then
// continued setting by setting, which tells the refusals that a load swallows.

#include "configuration.h"

#include "persistence/configuration_text.h"
#include "platform/whole_file.h"
#include "qelm/host/numbers.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <random>

namespace qelm::tool {
namespace {

namespace fs = std::filesystem;
using persistence::ConfigurationKey;
using persistence::ConfigurationText;
using persistence::KeyLoading;
using persistence::KeyType;

struct Finding {
    size_t line; ///< 0: the file as a whole
    std::string verdict;
    std::string sentence;
};

/** A file that is removed again. */
class TemporaryFile {
  public:
    explicit TemporaryFile(std::string_view text)
        : path_(fs::temp_directory_path() / ("qelm_check_" + std::to_string(std::random_device()()) + ".kcf")) {
        std::ofstream stream(path_);
        stream << text;
        if (!stream.flush()) {
            throw std::runtime_error("the temporary file " + path_.string() + " could not be written");
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        std::error_code ignored;
        fs::remove(path_, ignored);
    }
    std::string path() const { return path_.string(); }

  private:
    fs::path path_;
};

std::string readText(const std::string& file) {
    std::string text;
    if (platform::readWholeFile(file, ConfigurationText::largestText, text) != platform::ReadOutcome::done) {
        throw std::runtime_error("\"" + file + "\" is refused as a whole: it cannot be read, or is larger than " +
                                 std::to_string(ConfigurationText::largestText >> 20) + " MiB");
    }
    return text;
}

/** The beginning of a text, with what a terminal would take for commands replaced. */
std::string shown(std::string_view text) {
    constexpr size_t longest = 60;
    std::string result(text.substr(0, longest));
    std::ranges::replace_if(
        result, [](char c) { return (c >= 0 && c < ' ') || c == '\x7F'; }, '?');
    return result + (text.size() > longest ? "..." : "");
}

const ConfigurationKey* findKey(std::string_view name) {
    const auto* found = std::ranges::find(persistence::configurationKeys, name, &ConfigurationKey::name);
    return found == std::end(persistence::configurationKeys) ? nullptr : found;
}

class Check {
  public:
    Check(const host::Applet& applet, const std::string& file)
        : applet_(applet)
        , contents_(readText(file))
        , parser_(nullptr, file.c_str(), true) {
        readLines();
        checkHeader();
        checkKeys();
        if (loadable_) {
            checkSettings();
        }
        std::ranges::stable_sort(findings_, {}, &Finding::line);
    }

    const std::vector<Finding>& findings() const { return findings_; }
    bool loadable() const { return loadable_; }

  private:
    void add(size_t line, const char* verdict, std::string sentence) {
        findings_.push_back({line, verdict, std::move(sentence)});
    }
    void refuseFile(std::string sentence) {
        loadable_ = false;
        add(0, "refused", std::move(sentence));
    }

    void readLines() {
        const std::string section = "[Port A]";
        bool inSection = false;
        bool isRest = false; // of a line that is too long
        size_t number = 1;
        for (size_t position = 0; position < contents_.size();) {
            const ConfigurationText::Line line = contents_.lineAt(position);
            const bool isCut = !line.endsWithLineFeed && line.next < contents_.size();
            if (isCut && !isRest) {
                add(number, "ignored",
                    "the line is longer than 255 characters: what follows counts as a line of its own");
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
            refuseFile("the section " + section + " is missing");
        }
    }

    void readLine(size_t number, std::string_view line, bool inSection) {
        if (line.find_first_not_of(" \t\r") == line.npos || line.starts_with('[')) {
            return;
        }
        const size_t equals = line.find('=');
        if (equals == line.npos) {
            add(number, "ignored", "\"" + shown(line) + "\" is neither a section nor KEY=VALUE;");
            return;
        }
        const std::string name(line.substr(0, equals));
        const ConfigurationKey* key = findKey(name);
        if (key == nullptr) {
            constexpr std::string_view headerKeys[] = {"ConfigFileVersion", "Hersteller",   "Typ",
                                                       "Version",           "LoadAppletId", "AktivePort"};
            if (std::ranges::find(headerKeys, name) == std::end(headerKeys)) {
                add(number, "ignored", "there is no key " + shown(name));
            }
        } else if (!inSection) {
            add(number, "ignored", name + " stands before the section [Port A]");
        } else if (const auto [first, isNew] = lines_.try_emplace(key, number); !isNew) {
            add(number, "ignored", name + " stands in line " + std::to_string(first->second) + " already");
        } else {
            checkText(number, *key, line.substr(equals + 1));
        }
    }

    /** Whether the value means what it looks like. */
    void checkText(size_t number, const ConfigurationKey& key, std::string_view written) {
        const auto value = savedValue(parser_, key);
        if (!value) {
            return; // reported with the keys that are missing
        }
        written = written.substr(0, written.rfind(';'));
        bool same = true;
        std::string reading;
        if (key.type == KeyType::text) {
            reading = std::get<std::string>(*value);
            same = written == "'" + reading + "'" || (reading.empty() && written.empty());
        } else if (key.type == KeyType::integer) {
            const auto read = static_cast<int32_t>(std::get<uint32_t>(*value));
            int32_t meant = 0;
            same = host::parseNumber(written, meant) == std::errc() && meant == read;
            reading = std::to_string(read);
        } else {
            double parsed = 0.0;
            same = host::parseNumber(written, parsed) == std::errc();
            reading = host::formatNumber(std::get<double>(*value));
        }
        if (!same) {
            add(number, "changed",
                std::string(key.name) + "=" + shown(written) + " is read as " +
                    (key.type == KeyType::text ? "'" + shown(reading) + "'" : reading));
        }
    }

    void checkHeader() {
        std::string text;
        int32_t activePort = 0;
        if (parser_.parseKeyFromLine("Hersteller", text) != 0) {
            refuseFile("the key Hersteller is missing");
        }
        const std::string name = applet_.infoText(appletNameRequest);
        if (parser_.parseKeyFromLine("Typ", text) != 0) {
            refuseFile("the key Typ is missing");
        } else if (text != name) {
            refuseFile("Typ is '" + shown(text) + "', not '" + name + "'");
        }
        if (parser_.parseIntKeyFromHeader("AktivePort", activePort) != 0) {
            refuseFile("the key AktivePort is missing");
        }
    }

    void checkKeys() {
        for (const ConfigurationKey& key : persistence::configurationKeys) {
            if (savedValue(parser_, key)) {
                continue;
            }
            loadable_ = false;
            const auto line = lines_.find(&key);
            if (line == lines_.end()) {
                add(0, "refused", std::string("the key ") + key.name + " is missing");
            } else {
                add(line->second, "refused",
                    std::string(key.name) + " counts as missing: a value must not hold \"Error\"");
            }
        }
    }

    void checkSettings();
    void apply(Session& session, const ConfigurationKey& key);

    static constexpr int32_t appletNameRequest = 0x1050; // of Info

    const host::Applet& applet_;
    ConfigurationText contents_;
    persistence::Fg_ConfigFileParser parser_;
    std::map<const ConfigurationKey*, size_t> lines_;
    std::vector<Finding> findings_;
    bool loadable_ = true;
};

/** The text with that key's lines made unknown to a load. */
std::string without(std::string text, std::string_view key) {
    for (size_t position = 0; (position = text.find(key, position)) != text.npos; position += key.size()) {
        text[position] = '#';
    }
    return text;
}

void Check::checkSettings() {
    Session session(applet_);
    // Without the first key that is not read in advance a load ends just before it.
    constexpr std::string_view stop = "FG_AREATRIGGERMODE=";
    const TemporaryFile beginning(without(contents_.text(), stop));
    applet_->Fg_loadConfig(session.board(), beginning.path().c_str());
    for (const ConfigurationKey* key : persistence::appliedKeys) {
        apply(session, *key);
    }
    const host::Reference shading = host::parseReference(session.parameters(), "FG_SHADING_APPLY_SETTINGS");
    try {
        host::writeValue(session.board(), {shading, uint32_t{FG_APPLY}});
    } catch (const host::AppletError& error) {
        add(0, "refused", std::string("the shading coefficients would not be computed: ") + error.what());
    }
    // Only kept by a load, unchecked: said last, since trying them may change others.
    for (const ConfigurationKey& key : persistence::configurationKeys) {
        if (key.loading == KeyLoading::keepOnly) {
            apply(session, key);
        }
    }
}

void Check::apply(Session& session, const ConfigurationKey& key) {
    const host::Reference reference = host::parseReference(session.parameters(), key.name);
    const auto value = savedValue(parser_, key);
    const size_t line = lines_.at(&key);
    try {
        host::writeValue(session.board(), {reference, *value});
    } catch (const host::AppletError& error) {
        if (error.code() == FG_ERROR_UNKNOWN) {
            return; // belongs to the set of trigger parameters that is not in force, as it should
        }
        add(line, "refused",
            std::string(error.what()) + (key.loading == KeyLoading::applyOnly
                                             ? ""
                                             : " The value is kept all the same, without reaching the design."));
        return;
    }
    const auto after = session.read(reference);
    if (!isSame(value, after)) {
        add(line, "changed",
            std::string(key.name) + ": " + valueText(*reference.parameter, value) + " becomes " +
                valueText(*reference.parameter, after));
    }
}

} // namespace

int check(const CommonOptions& options, const std::string& file) {
    requireConfigurationFile(file);
    const host::Applet applet = loadApplet(options);
    if (applet.virtualBoard() == nullptr) {
        throw std::runtime_error("a check needs the virtual board: it must not change a real one");
    }
    const Check check(applet, file);
    Json objects = Json::array();
    for (const Finding& finding : check.findings()) {
        const Json line = finding.line == 0 ? Json() : Json(finding.line);
        objects.push_back({{"line", line}, {"verdict", finding.verdict}, {"message", finding.sentence}});
        if (!options.json) {
            std::cout << file << (finding.line == 0 ? "" : ":" + std::to_string(finding.line)) << ": "
                      << finding.verdict << ": " << finding.sentence << '\n';
        }
    }
    if (options.json) {
        print(Json{{"file", file}, {"loads", check.loadable()}, {"findings", objects}});
    } else if (!check.loadable()) {
        std::cout << "A load would be refused\n";
    } else if (check.findings().empty()) {
        std::cout << "A load would take everything as it is\n";
    }
    return check.findings().empty() ? 0 : 1;
}

} // namespace qelm::tool
