#pragma once

#include "zantor_obvelline_qx4_rk/enumerations.h"

#include <cstdint>
#include <span>

namespace qelm::parameters {

struct Enumerator {
    const char* text; ///< what user interfaces show
    std::int32_t value;
    const char* name; ///< symbolic name
};

/** The values of an enumerated parameter in the order in which they are offered; parameters share enumerations. */
class Enumeration {
  public:
    constexpr explicit Enumeration(std::span<const Enumerator> entries) : entries_(entries) {}

    constexpr std::span<const Enumerator> entries() const { return entries_; }
    /** @return the first entry with the value, or null */
    constexpr const Enumerator* find(std::int32_t value) const {
        for (const Enumerator& entry : entries_) {
            if (entry.value == value) {
                return &entry;
            }
        }
        return nullptr;
    }

  private:
    std::span<const Enumerator> entries_;
};

} // namespace qelm::parameters
