#pragma once

#include "output.h"
#include "session.h"

#include "configuration/keys.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/** What the verbs about configuration files share. */
namespace qelm::tool {

/** The key that holds a parameter's value. */
const configuration::ConfigurationKey& configurationKey(std::int32_t id);

/** A value as it stands behind "=" on a line, without quotes, semicolon and the blanks around it. */
std::string_view bareValue(std::string_view text);

/** A configuration file, read once. Loads go to a copy of it, whose name suits whatever reads it. */
class ConfigurationFile {
  public:
    /**
     * @param beside  relative names in it are meant from its folder, not from the current one
     * @throws FileError, or std::runtime_error when its name is none of a configuration
     */
    explicit ConfigurationFile(const std::filesystem::path& file, bool beside = false);
    ConfigurationFile(const ConfigurationFile&) = delete;
    ConfigurationFile& operator=(const ConfigurationFile&) = delete;

    const std::filesystem::path& name() const { return name_; }
    const std::string& text() const { return text_; }
    /** The copy's name in the system's encoding. */
    const std::string& copy() const { return copy_; }
    /** The value of a key of the header, at the beginning of a line; nothing when it is missing. */
    std::optional<std::string> header(std::string_view key) const;
    /** The text as a load looks into it. */
    configuration::ConfigurationText& contents() { return *contents_; }
    /** A value in the form that parameters take, texts in UTF-8; nothing when the key is missing. */
    std::optional<host::Value> value(const configuration::ConfigurationKey& key);

    /** The keys that name files which a load reads. */
    std::vector<const configuration::ConfigurationKey*> fileKeys();
    /** The name that such a key holds, when it is relative; empty otherwise. */
    std::filesystem::path relativeName(const configuration::ConfigurationKey& key);

  private:
    void writeCopy();
    void replaceText(const configuration::ConfigurationKey& key, const std::filesystem::path& file);

    std::filesystem::path name_;
    std::string text_;
    std::string copy_;
    std::optional<configuration::ConfigurationText> contents_;
};

/** What a parameter, or a key of the header, holds on either side. */
struct Difference {
    std::string name;
    const host::Parameter* parameter; ///< null for a key of the header
    std::optional<host::Value> before{};
    std::optional<host::Value> after{};
};

/** Whether both print alike, which is what a configuration file keeps of them. */
bool isSame(const std::optional<host::Value>& left, const std::optional<host::Value>& right);

/** "FG_WIDTH: 1024 -> 512 pixel" */
std::string text(const Difference& difference);
Json json(const Difference& difference);

/** The values of all parameters that a configuration holds, in its order. */
std::vector<Difference> readBefore(const Session& session);
/** Adds the values of now and keeps what differs. */
std::vector<Difference> keepChanged(const Session& session, std::vector<Difference> values);

} // namespace qelm::tool
