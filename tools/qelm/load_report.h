#pragma once

#include "configuration.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/** What a load of a configuration file refuses, changes, only keeps or ignores: loads themselves say nothing of it. */
namespace qelm::tool {

struct Finding {
    size_t line; ///< 0: the file as a whole
    std::string verdict;
    std::string sentence;

    /** "setup.kcf:15: refused: ..." */
    std::string text(const ConfigurationFile& file) const;
    Json json() const;
};

/** Loads a file and finds out what became of it, on a virtual board with the help of others beside it. */
class LoadReport {
  public:
    LoadReport(Session& session, ConfigurationFile& file);

    /** Of Fg_loadConfig. */
    std::int32_t code() const { return code_; }
    /** In the order of their lines. */
    const std::vector<Finding>& findings() const { return findings_; }
    /** The keys whose values the design does not have at the end of a load, though it would take them. */
    const std::vector<const configuration::ConfigurationKey*>& overruled() const { return overruled_; }

  private:
    using Key = configuration::ConfigurationKey;
    struct Applied {
        std::vector<host::TracedCall> calls;
        bool accepted = false;
    };

    void add(size_t line, const char* verdict, std::string sentence);
    void refuseFile(std::string sentence);
    void readLines();
    void readLine(size_t number, std::string_view line, bool inSection);
    void checkText(size_t number, const Key& key, std::string_view written);
    void checkHeader();
    void checkKeys();
    void checkFileNames();
    void checkLookupTable();
    void load();
    void checkSettings();
    void checkLegacySettings();
    void checkOverruled(Session& session, const std::map<const Key*, Applied>& applied);
    bool runsByGenerator() const;
    Applied apply(Session& session, const Key& key, std::vector<const Key*>* unknown);
    std::string whatHolds(const Key& key, const std::optional<host::Value>& value);
    void sort();

    Session& session_;
    const host::Applet& applet_;
    ConfigurationFile& file_;
    std::int32_t code_ = 0;
    bool loadable_ = true;
    bool coefficientsLoaded_ = false;
    std::map<const Key*, size_t> lines_;
    std::vector<Finding> findings_;
    std::vector<const Key*> overruled_;
    std::vector<const Key*> otherSet_; // of the trigger parameters, which a set refuses
    std::optional<Session> fresh_;     // made when first needed
};

} // namespace qelm::tool
