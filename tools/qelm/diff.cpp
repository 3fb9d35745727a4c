#include "configuration.h"
#include "output_file.h"

#include <iostream>
#include <stdexcept>

namespace qelm::tool {
namespace {

constexpr int incomparable = 2;
constexpr const char* headerKeys[] = {"ConfigFileVersion", "Hersteller",   "Typ",
                                      "Version",           "LoadAppletId", "AktivePort"};

std::optional<host::Value> headerValue(const ConfigurationFile& file, const char* key) {
    const auto text = file.header(key);
    return text ? std::optional<host::Value>(*text) : std::nullopt;
}

/** Two files without settings would be the same whatever they are. */
void requireSettings(ConfigurationFile& file) {
    for (const auto& key : configuration::configurationKeys) {
        if (file.value(key)) {
            return;
        }
    }
    throw std::runtime_error("\"" + file.name().string() + "\" holds no settings");
}

int compare(const CommonOptions& options, const std::filesystem::path& left, const std::filesystem::path& right) {
    ConfigurationFile leftFile(left);
    ConfigurationFile rightFile(right);
    requireSettings(leftFile);
    requireSettings(rightFile);
    std::vector<Difference> differences;
    for (const char* key : headerKeys) {
        differences.push_back({key, nullptr, headerValue(leftFile, key), headerValue(rightFile, key)});
    }
    for (const auto& key : configuration::configurationKeys) {
        differences.push_back(
            {key.name, host::findFixedParameter(key.name), leftFile.value(key), rightFile.value(key)});
    }
    std::erase_if(differences, [](const Difference& pair) { return isSame(pair.before, pair.after); });
    Json objects = Json::array();
    for (const Difference& difference : differences) {
        objects.push_back(json(difference));
        if (!options.json) {
            std::cout << text(difference) << '\n';
        }
    }
    if (options.json) {
        print(objects);
    } else if (differences.empty()) {
        std::cout << "The files hold the same settings\n";
    }
    return differences.empty() ? 0 : 1;
}

} // namespace

int diff(const CommonOptions& options, const std::filesystem::path& left, const std::filesystem::path& right) {
    try {
        return compare(options, left, right);
    } catch (const std::runtime_error& error) {
        printError(error.what());
        if (options.json) {
            printFailureDocument(error);
        }
        return incomparable;
    }
}

} // namespace qelm::tool
