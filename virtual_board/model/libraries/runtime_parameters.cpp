#include "model/libraries/runtime_parameters.h"

#include "model/codes.h"

#include <algorithm>
#include <iterator>

namespace qelm::virtual_board {

const RuntimeParameter* runtimeParameter(std::int32_t id) {
    const auto* row =
        std::lower_bound(std::begin(runtimeParameters), std::end(runtimeParameters), id,
                         [](const RuntimeParameter& parameter, std::int32_t wanted) { return parameter.id < wanted; });
    return row != std::end(runtimeParameters) && row->id == id ? row : nullptr;
}

RuntimeValues::RuntimeValues() {
    for (const RuntimeParameter& parameter : runtimeParameters) {
        put(parameter, parameter.powerOn);
    }
}

std::int32_t RuntimeValues::set(const RuntimeParameter& parameter, std::uint32_t value) {
    if (!parameter.writable) {
        return notPermitted;
    }
    if (value < parameter.minimum || value > parameter.maximum) {
        return outOfRange;
    }
    put(parameter, value);
    return ok;
}

} // namespace qelm::virtual_board
