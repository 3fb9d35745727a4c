#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace qelm::virtual_board {

/** A parameter that the acquisition runtime serves without the design. */
struct RuntimeParameter {
    std::int32_t id;
    const char* name;
    bool writable;
    std::uint32_t minimum, maximum, powerOn;
};

inline constexpr RuntimeParameter runtimeParameters[] = {
#define RUNTIME_PARAMETER(id, name, writable, minimum, maximum, powerOn)                                               \
    {id, #name, writable, minimum, maximum, powerOn},
#include "model/libraries/runtime_parameters.inc"
};
inline constexpr std::size_t runtimeParameterCount = sizeof runtimeParameters / sizeof runtimeParameters[0];

/** Those that acquisition moves. */
enum RuntimeStatus : std::int32_t {
    cameraStatus = 2000,
    extendedCameraStatus = 2050,
    transferLength = 5210,
    dmaStatus = 24092
};

/** @return the row with this id, or null */
const RuntimeParameter* runtimeParameter(std::int32_t id);

/** One board's values of these parameters. */
class RuntimeValues {
  public:
    RuntimeValues();

    std::uint32_t get(const RuntimeParameter& parameter) const { return values_[indexOf(parameter)]; }
    /** As an application sets it. @return a code: access and limits apply */
    std::int32_t set(const RuntimeParameter& parameter, std::uint32_t value);
    /** As the hardware changes it: nothing is refused. */
    void put(const RuntimeParameter& parameter, std::uint32_t value) { values_[indexOf(parameter)] = value; }
    void put(RuntimeStatus status, std::uint32_t value) { put(*runtimeParameter(status), value); }

  private:
    static std::size_t indexOf(const RuntimeParameter& parameter) {
        return static_cast<std::size_t>(&parameter - runtimeParameters);
    }

    std::array<std::uint32_t, runtimeParameterCount> values_{};
};

} // namespace qelm::virtual_board
