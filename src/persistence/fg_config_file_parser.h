#pragma once

#include "configuration/text.h"
#include "persistence/dll_log.h"
#include "platform/whole_file.h"

#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace qelm::persistence {

/**
 * Reads or writes one configuration file (".kcf"): sections of key lines "KEY=VALUE;", texts between single quotes.
 *
 *     [Kamerasektion]
 *
 *     ConfigFileVersion=2.0;
 *     Typ='Zantor_Obvelline_Qx4_RK';
 *
 *     [Port A]
 *     FG_WIDTH=1024;
 *
 * The file is read once, at the first look-up; what the look-ups answer is what reading it anew for each of them would
 * yield (see configuration::ConfigurationText). Numbers are written and read with a decimal point, whatever the locale.
 * Keys hold no
 * "=".
 *
 * Look-ups that find nothing write "Error" over the start of their destination. Those that take a number then answer
 * -1 and leave it as it was, and so they do when a value that was found holds "Error".
 */
class Fg_ConfigFileParser {
  public:
    /**
     * Opens a file that has the right type and exists, to be read alone or to be changed as well; otherwise the parser
     * stays without one.
     *
     * @param log what the parser reports to, or null; it must outlive the parser
     * @param fileName may be null
     */
    Fg_ConfigFileParser(DllLog* log, const char* fileName, bool readOnly);
    Fg_ConfigFileParser(const Fg_ConfigFileParser&) = delete;
    Fg_ConfigFileParser& operator=(const Fg_ConfigFileParser&) = delete;
    ~Fg_ConfigFileParser();

    /** Whether the path contains ".kcf", wherever that is; false for null. */
    bool checkFileType(const char* path);
    /** Whether the file can be opened for reading; false for null. */
    bool checkFileExist(const char* path);
    /**
     * Begins a new file, which takes the place of an older one when it is closed; a parser that goes without closing
     * it leaves the older one. @return false when its type is wrong or it cannot be begun
     */
    bool setSaveFile(const char* path);
    /** Flushes and closes the file. @return whether all that was written has reached it; else a saved file is dropped
     */
    bool close();

    void writeConfigFileHeader();
    /** A text, between single quotes. */
    void writeConfigFile(const char* key, const char* text);
    void writeConfigFileValue(const char* key, const char* value);
    void writeConfigFileIntKey(const char* key, std::int32_t value);
    void writeConfigFileUInt64Key(const char* key, std::uint64_t value);
    void wrtiteConfigFileDoubleKey(const char* key, double value);
    void writePortSection(std::uint32_t port);

    /** Looks in the whole file for a line with the key anywhere in it. @return 0 or -8000 */
    std::int32_t parseKeyFromLine(std::string_view key, std::string& destination);
    /** Looks behind the section's line. @return 0 or -8000 */
    std::int32_t parseKey(std::string_view section, std::string_view key, std::string& destination);
    /** @return 0 or -1 */
    std::int32_t parseIntKey(std::string_view section, std::string_view key, std::int32_t& destination);
    std::int32_t parseIntKey(std::string_view section, std::string_view key, std::uint64_t& destination);
    std::int32_t parseDoubleKey(std::string_view section, std::string_view key, double& destination);
    std::int32_t parseIntKeyFromHeader(std::string_view key, std::int32_t& destination);

    /* In the section of a port. @return as above; -1 for a null key */
    std::int32_t parsePortIntKey(std::uint32_t port, const char* key, std::int32_t& destination);
    std::int32_t parsePortUInt64Key(std::uint32_t port, const char* key, std::uint64_t& destination);
    std::int32_t parsePortKey(std::uint32_t port, const char* key, std::string& destination);
    std::int32_t parsePortDoubleKey(std::uint32_t port, const char* key, double& destination);

    /** The decimal number that the text begins with, 0 when there is none; what does not fit becomes the nearest limit.
     *  @return 0 */
    std::int32_t getIntValue(std::string_view text, std::int32_t& destination);
    /** Likewise, and a negative number wraps around; without a number the destination stays as it is. @return 0 */
    std::int32_t getIntValue(std::string_view text, std::uint64_t& destination);
    /** The floating-point number that the text begins with, 0 when there is none. @return 0 */
    std::int32_t getDoubleValue(std::string_view text, double& destination);

  private:
    void report(const char* method);
    void write(std::initializer_list<std::string_view> parts);
    configuration::ConfigurationText& contents();
    /** The value for a numeric destination, unless it is missing or holds "Error". */
    std::optional<std::string_view> numberText(std::string_view section, std::string_view key);

    std::FILE* file_ = nullptr; // of its own, or of the file being saved
    std::optional<platform::FileReplacement> saved_;
    DllLog* log_;
    std::optional<configuration::ConfigurationText> contents_; // read at the first look-up, again after a write
    bool complete_ = true;                                     // every write has succeeded so far
};

} // namespace qelm::persistence
