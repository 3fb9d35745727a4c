#include "persistence/settings_store.h"

#include "platform/whole_file.h"

#include <algorithm>

namespace qelm::persistence {
namespace {

using Guard = templates::platform::RecursiveMutexGuard;

constexpr std::size_t sizeLimit = std::size_t{4} << 20;

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

} // namespace

bool meansYes(std::string text) {
    // ASCII letters alone: the words hold no others, and the process's locale must not matter.
    std::ranges::transform(text, text.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; });
    return text == "yes" || text == "true" || text == "on" || text == "1";
}

void SettingsStore::load(const std::string& path) {
    std::string text;
    if (platform::readWholeFile(path, sizeLimit, text) == platform::ReadOutcome::done) {
        read(text);
    }
}

void SettingsStore::read(std::string_view text) {
    const Guard guard(&mutex_);
    while (!text.empty()) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        line = line.substr(0, line.find('#'));
        const auto equals = line.find('=');
        if (equals == line.npos) {
            continue;
        }
        const std::string_view key = trimmed(line.substr(0, equals));
        if (!key.empty()) {
            store(std::string(key), std::string(trimmed(line.substr(equals + 1))));
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
