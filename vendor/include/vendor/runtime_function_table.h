#pragma once

#include "vendor/nuvrak5.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace qelm::vendor {

/** One function of the acquisition runtime: its name, its slot in the RuntimeFunctionTable and its type. */
template <typename Pointer>
struct RuntimeFunction {
    std::size_t slot;
    const char* name;
};

namespace runtime {
#define RUNTIME_FUNCTION(slot, name, result, parameters)                                                               \
    inline constexpr RuntimeFunction<result(*) parameters> name{slot, #name};
#include "vendor/runtime_functions.inc"
} // namespace runtime

/**
 * Function pointers into the acquisition runtime; a slot is null when the runtime does not export the function, so
 * every user checks its own.
 */
class RuntimeFunctionTable {
  public:
    static constexpr std::size_t slotCount = 108;

    /** Fills every slot from resolve(name), which answers an address or null. */
    template <typename Resolve>
    void fill(Resolve&& resolve) {
#define RUNTIME_FUNCTION(slot, name, result, parameters) slots_[slot] = resolve(#name);
#include "vendor/runtime_functions.inc"
    }

    template <typename Pointer>
    Pointer operator[](const RuntimeFunction<Pointer>& function) const {
        return reinterpret_cast<Pointer>(slots_[function.slot]);
    }

  private:
    std::array<void*, slotCount> slots_{};
};

using InitHandleSlaveAware = void* (*)(const char* hapFileName, void* board, void* designImage, std::int32_t isSlave);
using InitHandle = void* (*)(const char* hapFileName, void* board, void* designImage);
using GetParameterIdByName = std::int32_t (*)(void* handle, const char* name);
using GetDesignTree = const DesignNode* (*)(void* handle);

} // namespace qelm::vendor
