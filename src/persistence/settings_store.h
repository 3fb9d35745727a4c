#pragma once

#include "platform/recursive_mutex.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qelm::persistence {

/**
 * Key/value texts from a settings file of lines "key=value", where "#" begins a comment that runs to the end of the
 * line. Keys keep the order in which they came; a key that stands twice keeps its last value. Guarded by its mutex.
 */
class SettingsStore {
  public:
    /** Adds what the file holds; one that is missing, cannot be read or has more than 4 MiB changes nothing. */
    void load(const std::string& path);
    void read(std::string_view text);

    std::optional<std::string> value(const std::string& key) const;
    /** Stores a value unless the key has one. */
    void addDefault(const std::string& key, const std::string& value);
    /** The keys that start with the prefix, in order. */
    std::vector<std::string> keysWithPrefix(const std::string& prefix) const;

    const std::string& section() const { return section_; }
    void setSection(std::string section) { section_ = std::move(section); }

  private:
    void store(const std::string& key, std::string value) QELM_REQUIRES(mutex_);

    mutable templates::platform::RecursiveMutex mutex_;
    std::string section_ = "none";
    std::map<std::string, std::string> values_ QELM_GUARDED_BY(mutex_);
    std::vector<std::string> order_ QELM_GUARDED_BY(mutex_); // of the keys
};

/** Whether a switch's text, in any letter case, is exactly "yes", "true", "on" or "1". */
bool meansYes(std::string text);

} // namespace qelm::persistence
