#include "persistence/fg_config_file_parser.h"

#include "configuration/numbers.h"
#include "platform/whole_file.h"
#include "zantor_obvelline_qx4_rk/error_codes.h"

#include <cstring>
#include <utility>

namespace qelm::persistence {
namespace {

using configuration::ConfigurationText;
using configuration::headerSection;
using configuration::missingMark;
using configuration::portSection;

constexpr const char* fileType = ".kcf";
constexpr std::int32_t notANumber = -1;

std::int32_t found(const std::optional<std::string_view>& value, std::string& destination) {
    if (!value) {
        destination.replace(0, missingMark.size(), missingMark);
        return FG_ERROR_KEY_NOT_FOUND;
    }
    destination = *value;
    return 0;
}

} // namespace

Fg_ConfigFileParser::Fg_ConfigFileParser(DllLog* log, const char* fileName, bool readOnly) : log_(log) {
    report("Fg_ConfigFileParser::Fg_ConfigFileParser");
    if (checkFileType(fileName) && checkFileExist(fileName)) {
        file_ = std::fopen(fileName, readOnly ? "r" : "r+");
    }
}

Fg_ConfigFileParser::~Fg_ConfigFileParser() {
    report("Fg_ConfigFileParser::~Fg_ConfigFileParser");
    if (!saved_ && file_ != nullptr) { // a saved file that was not closed is not wanted
        std::fclose(file_);
    }
}

void Fg_ConfigFileParser::report(const char* method) {
    if (log_ != nullptr) {
        log_->info(method);
    }
}

bool Fg_ConfigFileParser::checkFileType(const char* path) {
    report("Fg_ConfigFileParser::checkFileType");
    const bool matches = path != nullptr && std::strstr(path, fileType) != nullptr;
    report(matches ? "File type ok" : "File type not ok");
    return matches;
}

bool Fg_ConfigFileParser::checkFileExist(const char* path) {
    report("Fg_ConfigFileParser::checkFileExist");
    std::FILE* file = path == nullptr ? nullptr : std::fopen(path, "r");
    report(file != nullptr ? "Config File exist" : "Config File don't exist");
    return file != nullptr && std::fclose(file) == 0;
}

bool Fg_ConfigFileParser::setSaveFile(const char* path) {
    report("Fg_ConfigFileParser::setSaveFile");
    const char* failure = "Config File is Invalid";
    if (checkFileType(path)) {
        close();
        complete_ = true;
        file_ = saved_.emplace(path, "w").stream();
        if (file_ != nullptr) {
            return true;
        }
        saved_.reset();
        failure = "Config File: fopen failed";
    }
    if (log_ != nullptr) {
        log_->error(failure);
    }
    return false;
}

bool Fg_ConfigFileParser::close() {
    contents_.reset();
    std::FILE* file = std::exchange(file_, nullptr);
    if (saved_) {
        complete_ = complete_ && saved_->finish();
        saved_.reset();
    } else if (file != nullptr) {
        complete_ = std::fclose(file) == 0 && complete_;
    }
    return complete_;
}

void Fg_ConfigFileParser::write(std::initializer_list<std::string_view> parts) {
    if (file_ == nullptr) {
        return;
    }
    contents_.reset();
    for (const std::string_view part : parts) {
        complete_ = std::fwrite(part.data(), 1, part.size(), file_) == part.size() && complete_;
    }
    complete_ = std::fflush(file_) == 0 && complete_;
}

void Fg_ConfigFileParser::writeConfigFileHeader() {
    report("Fg_ConfigFileParser::writeConfigFileHeader");
    write({headerSection, "\nConfigFileVersion=2.0;\n"});
}

void Fg_ConfigFileParser::writeConfigFile(const char* key, const char* text) {
    report("Fg_ConfigFileParser::writeConfigFile");
    write({key, "='", text, "';\n"});
}

void Fg_ConfigFileParser::writeConfigFileValue(const char* key, const char* value) {
    report("Fg_ConfigFileParser::writeConfigFileValue");
    write({key, "=", value, ";\n"});
}

void Fg_ConfigFileParser::writeConfigFileIntKey(const char* key, std::int32_t value) {
    report("Fg_ConfigFileParser::writeConfigFileIntKey");
    writeConfigFileValue(key, std::to_string(value).c_str());
}

void Fg_ConfigFileParser::writeConfigFileUInt64Key(const char* key, std::uint64_t value) {
    report("Fg_ConfigFileParser::writeConfigFileUInt64Key");
    writeConfigFileValue(key, std::to_string(value).c_str());
}

void Fg_ConfigFileParser::wrtiteConfigFileDoubleKey(const char* key, double value) {
    report("Fg_ConfigFileParser::wrtiteConfigFileDoubleKey");
    writeConfigFileValue(key, configuration::numberText(value).c_str());
}

void Fg_ConfigFileParser::writePortSection(std::uint32_t port) {
    report("Fg_ConfigFileParser::writePortSection");
    write({"\n", portSection(port), "\n"});
}

ConfigurationText& Fg_ConfigFileParser::contents() {
    if (!contents_) {
        std::string text;
        if (file_ != nullptr) {
            std::rewind(file_);
            if (!platform::readRest(file_, ConfigurationText::largestText, text)) {
                text.clear();
            }
            std::fseek(file_, 0, SEEK_END); // where a write may follow
        }
        contents_.emplace(std::move(text));
    }
    return *contents_;
}

std::int32_t Fg_ConfigFileParser::parseKeyFromLine(std::string_view key, std::string& destination) {
    report("Fg_ConfigFileParser::parseKeyFromLine");
    return found(contents().valueInLineWith(key), destination);
}

std::int32_t Fg_ConfigFileParser::parseKey(std::string_view section, std::string_view key, std::string& destination) {
    report("Fg_ConfigFileParser::parseKey");
    return found(contents().value(section, key), destination);
}

std::optional<std::string_view> Fg_ConfigFileParser::numberText(std::string_view section, std::string_view key) {
    const auto text = contents().value(section, key);
    return text && text->find(missingMark) == text->npos ? text : std::nullopt;
}

std::int32_t Fg_ConfigFileParser::parseIntKey(std::string_view section, std::string_view key,
                                              std::int32_t& destination) {
    report("Fg_ConfigFileParser::parseIntKey");
    const auto text = numberText(section, key);
    return text ? getIntValue(*text, destination) : notANumber;
}

std::int32_t Fg_ConfigFileParser::parseIntKey(std::string_view section, std::string_view key,
                                              std::uint64_t& destination) {
    report("Fg_ConfigFileParser::parseIntKey");
    const auto text = numberText(section, key);
    return text ? getIntValue(*text, destination) : notANumber;
}

std::int32_t Fg_ConfigFileParser::parseDoubleKey(std::string_view section, std::string_view key, double& destination) {
    report("Fg_ConfigFileParser::parseDoubleKey");
    const auto text = numberText(section, key);
    return text ? getDoubleValue(*text, destination) : notANumber;
}

std::int32_t Fg_ConfigFileParser::parseIntKeyFromHeader(std::string_view key, std::int32_t& destination) {
    report("Fg_ConfigFileParser::parseIntKeyFromHeader");
    return parseIntKey(headerSection, key, destination);
}

std::int32_t Fg_ConfigFileParser::parsePortIntKey(std::uint32_t port, const char* key, std::int32_t& destination) {
    report("Fg_ConfigFileParser::parsePortIntKey");
    return key == nullptr ? notANumber : parseIntKey(portSection(port), key, destination);
}

std::int32_t Fg_ConfigFileParser::parsePortUInt64Key(std::uint32_t port, const char* key, std::uint64_t& destination) {
    report("Fg_ConfigFileParser::parsePortUInt64Key");
    return key == nullptr ? notANumber : parseIntKey(portSection(port), key, destination);
}

std::int32_t Fg_ConfigFileParser::parsePortKey(std::uint32_t port, const char* key, std::string& destination) {
    report("Fg_ConfigFileParser::parsePortKey");
    return key == nullptr ? notANumber : parseKey(portSection(port), key, destination);
}

std::int32_t Fg_ConfigFileParser::parsePortDoubleKey(std::uint32_t port, const char* key, double& destination) {
    report("Fg_ConfigFileParser::parsePortDoubleKey");
    return key == nullptr ? notANumber : parseDoubleKey(portSection(port), key, destination);
}

std::int32_t Fg_ConfigFileParser::getIntValue(std::string_view text, std::int32_t& destination) {
    report("Fg_ConfigFileParser::getIntValue");
    destination = configuration::integerValue(text);
    return 0;
}

std::int32_t Fg_ConfigFileParser::getIntValue(std::string_view text, std::uint64_t& destination) {
    report("Fg_ConfigFileParser::getIntValue");
    destination = configuration::wideIntegerValue(text).value_or(destination);
    return 0;
}

std::int32_t Fg_ConfigFileParser::getDoubleValue(std::string_view text, double& destination) {
    report("Fg_ConfigFileParser::getDoubleValue");
    destination = configuration::numberValue(text);
    return 0;
}

} // namespace qelm::persistence
