#include "configuration.h"

#include <iostream>

namespace qelm::tool {
namespace {

std::optional<host::Value> headerText(persistence::Fg_ConfigFileParser& parser, const char* key) {
    std::string text;
    return parser.parseKeyFromLine(key, text) == 0 ? std::optional<host::Value>(text) : std::nullopt;
}

} // namespace

int diff(const CommonOptions& options, const std::string& left, const std::string& right) {
    requireConfigurationFile(left);
    requireConfigurationFile(right);
    persistence::Fg_ConfigFileParser leftFile(nullptr, left.c_str(), true);
    persistence::Fg_ConfigFileParser rightFile(nullptr, right.c_str(), true);
    std::vector<Difference> differences;
    for (const char* key : {"Hersteller", "Typ", "Version"}) {
        differences.push_back({key, nullptr, headerText(leftFile, key), headerText(rightFile, key)});
    }
    for (const auto& key : persistence::configurationKeys) {
        differences.push_back(
            {key.name, host::findFixedParameter(key.name), savedValue(leftFile, key), savedValue(rightFile, key)});
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

} // namespace qelm::tool
