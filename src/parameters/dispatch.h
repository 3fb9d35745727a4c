#pragma once

#include "parameters/design_access.h"
#include "parameters/parameter.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <unordered_set>

namespace qelm::parameters {

/**
 * Routes a get or set by identifier: to the runtime, to a raw register, or to the parameter of that identifier. Knows
 * no feature. Values have types from here on. Results are 0 or an error code; nothing that a parameter raises leaves
 * here.
 */
class Dispatch {
  public:
    explicit Dispatch(DesignAccess& design) : design_(design) {}

    /** Lets the parameter answer for its identifier. Throws std::logic_error when another one does. */
    void add(Parameter& parameter);
    /** Lets the runtime answer a get of the identifier, under the same identifier; it cannot be set. */
    void addAnsweredByRuntime(std::int32_t id) { answeredByRuntime_.insert(id); }
    /** Whether identifiers from 1000001 to 2000000 are raw registers. */
    void enableDirectRegisters(bool enable) { directRegisters_ = enable; }

    /** Only port 0 has parameters. */
    std::int32_t set(std::int32_t id, const void* value, std::int32_t port);
    std::int32_t get(std::int32_t id, void* value, std::int32_t port);

    /** The parameter of an identifier; throws -2070 when there is none. */
    Parameter& at(std::int32_t id) const;

  private:
    static constexpr std::size_t slotCount = 512; // far more than there are parameters

    static std::size_t slotOf(std::int32_t id) { return static_cast<std::uint32_t>(id) % slotCount; }
    Parameter* find(std::int32_t id) const;

    DesignAccess& design_;
    // By the lower bits of the identifier, in the next free slot when that one is taken: identifiers come in dense
    // rows.
    std::array<Parameter*, slotCount> slots_{};
    std::size_t count_ = 0;
    std::unordered_set<std::int32_t> answeredByRuntime_;
    bool directRegisters_ = false;
};

} // namespace qelm::parameters
