#pragma once

#include "parameters/design_access.h"
#include "parameters/parameter.h"

#include <array>
#include <cstdint>
#include <map>

namespace qelm::parameters {

/**
 * Routes a get or set by identifier: to the runtime, to a raw register, or to the parameter that a feature enrolled.
 * Knows no feature. Results are 0 or an error code; nothing that a parameter raises leaves here.
 */
class Dispatch {
  public:
    explicit Dispatch(DesignAccess& design) : design_(design) {}

    /** Lets the parameter answer for its identifier. The feature that owns it keeps it alive. */
    void add(Parameter& parameter);
    /** DMA port `port` is served by process `process`; only process 0 has parameters. */
    void mapPort(std::int32_t port, std::int32_t process) { processOfPort_[port] = process; }
    /** Whether identifiers from 1000001 to 2000000 are raw registers. */
    void enableDirectRegisters(bool enable) { directRegisters_ = enable; }

    std::int32_t set(std::int32_t id, const void* value, std::int32_t port);
    std::int32_t get(std::int32_t id, void* value, std::int32_t port);

    /** @return the parameter of a fixed identifier, or null when no feature answers for it */
    Parameter* find(std::int32_t id) const;

  private:
    static constexpr std::int32_t firstOwn = FG_LUT_CUSTOM_FILE; // the applet's own identifiers lie densely
    static constexpr std::int32_t lastOwn = FG_TRIGGER_LEGACY_MODE;
    static constexpr std::size_t standardSlots = 256; // power of two, at least twice the need

    static std::size_t hash(std::int32_t id);
    Parameter& parameter(std::int32_t id, std::int32_t port) const;

    DesignAccess& design_;
    std::array<Parameter*, lastOwn - firstOwn + 1> own_{};
    std::array<Parameter*, standardSlots> standard_{}; // open addressing, linear probing
    std::map<std::int32_t, std::int32_t> processOfPort_;
    bool directRegisters_ = false;
};

} // namespace qelm::parameters
