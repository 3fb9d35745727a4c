#pragma once

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
#include "model/runtime_parameters.inc"
};
inline constexpr std::size_t runtimeParameterCount = sizeof runtimeParameters / sizeof runtimeParameters[0];

/** @return the row with this id, or null */
const RuntimeParameter* runtimeParameter(std::int32_t id);

} // namespace qelm::virtual_board
