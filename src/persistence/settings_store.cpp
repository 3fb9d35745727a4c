#include "persistence/settings_store.h"

#include <algorithm>
#include <fstream>

namespace qelm::persistence {
namespace {

using Guard = templates::platform::RecursiveMutexGuard;

std::string trimmed(const std::string& text) {
    constexpr const char* blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

} // namespace

bool meansYes(std::string text) {
    // ASCII letters alone: the words hold no others, and the process's locale must not matter.
    std::ranges::transform(text, text.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; });
    return text == "yes" || text == "true" || text == "on" || text == "1";
}

void SettingsStore::load(const std::string& path) {
    std::ifstream file(path);
    read(file);
}

void SettingsStore::read(std::istream& text) {
    const Guard guard(&mutex_);
    for (std::string line; std::getline(text, line);) {
        line.erase(std::min(line.find('#'), line.size()));
        const auto equals = line.find('=');
        if (equals == std::string::npos) {
            continue;
        }
        const std::string key = trimmed(line.substr(0, equals));
        if (!key.empty()) {
            store(key, trimmed(line.substr(equals + 1)));
        }
    }
}

std::optional<std::string> SettingsStore::value(const std::string& key) const {
    const Guard guard(&mutex_);
    const auto entry = values_.find(key);
    return entry == values_.end() ? std::nullopt : std::optional(entry->second);
}

void SettingsStore::addDefault(const std::string& key, const std::string& value) {
    const Guard guard(&mutex_);
    if (!values_.contains(key)) {
        store(key, value);
    }
}

std::vector<std::string> SettingsStore::keysWithPrefix(const std::string& prefix) const {
    const Guard guard(&mutex_);
    std::vector<std::string> keys;
    for (const std::string& key : order_) {
        if (key.starts_with(prefix)) {
            keys.push_back(key);
        }
    }
    return keys;
}

void SettingsStore::store(const std::string& key, std::string value) {
    const auto [entry, isNew] = values_.insert_or_assign(key, std::move(value));
    if (isNew) {
        order_.push_back(key);
    }
}

} // namespace qelm::persistence
