#include "parameters/registry.h"

#include "parameters/rows.h"

namespace qelm::parameters {
namespace {

std::optional<std::int32_t> find(const std::map<std::string, std::int32_t, std::less<>>& ids, std::string_view name) {
    const auto entry = ids.find(name);
    return entry == ids.end() ? std::nullopt : std::optional(entry->second);
}

} // namespace

void Registry::addFixedParameters() {
    for (const Row* row : orders::registry) {
        ids_.emplace(row->name, row->id);
        names_.emplace(count(), row->name);
        descriptions_.emplace(row->name, row->description);
    }
}

void Registry::addDirectRegister(const std::string& name, std::int32_t id) {
    ids_.emplace(name, id);
    names_.emplace(count(), name);
}

void Registry::addDirectDesign(const std::string& name, std::int32_t id) {
    directDesign_.emplace(name, id);
    names_.emplace(count(), name);
}

std::optional<std::int32_t> Registry::idByName(std::string_view name) const {
    return find(ids_, name);
}

std::optional<std::int32_t> Registry::directDesignId(std::string_view name) const {
    return find(directDesign_, name);
}

const char* Registry::nameAt(std::int32_t index) const {
    const auto entry = names_.find(index);
    return entry == names_.end() ? nullptr : entry->second.c_str();
}

std::optional<std::int32_t> Registry::idAt(std::int32_t index) const {
    const auto entry = names_.find(index);
    return entry == names_.end() ? std::nullopt : idByName(entry->second);
}

const char* Registry::description(const std::string& name) const {
    const auto entry = descriptions_.find(name);
    return entry == descriptions_.end() ? nullptr : entry->second;
}

} // namespace qelm::parameters
