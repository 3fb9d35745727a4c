#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace qelm::parameters {

/**
 * The vocabulary of parameters of one applet: the fixed ones and, behind them, the direct-access ones. Built once at
 * start-up, read without a lock afterwards. Lookups answer nothing when they find nothing.
 */
class Registry {
  public:
    /** Registers the fixed parameters, at the indices from 0 on. */
    void addFixedParameters();
    /** Registers a raw register at the next index. */
    void addDirectRegister(const std::string& name, std::int32_t id);
    /** Registers a design parameter at the next index; idByName and idAt do not find it. */
    void addDirectDesign(const std::string& name, std::int32_t id);

    std::optional<std::int32_t> idByName(std::string_view name) const;
    /** @return the name, valid as long as the registry lives, or null */
    const char* nameAt(std::int32_t index) const;
    std::optional<std::int32_t> idAt(std::int32_t index) const;
    std::optional<std::int32_t> directDesignId(std::string_view name) const;
    /** The number of indices. */
    std::int32_t count() const { return static_cast<std::int32_t>(names_.size()); }
    /** The description of a fixed parameter, or null. */
    const char* description(const std::string& name) const;

  private:
    std::map<std::string, std::int32_t, std::less<>> ids_; // what idByName finds
    std::map<std::string, std::int32_t, std::less<>> directDesign_;
    std::map<std::int32_t, std::string> names_;       // by index
    std::map<std::string, const char*> descriptions_; // of the fixed parameters
};

} // namespace qelm::parameters
