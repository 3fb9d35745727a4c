#include "parameters/enumerations.h"

namespace qelm::parameters {

std::span<const Enumeration* const> allEnumerations() {
    static constexpr const Enumeration* all[] = {
#define FG_ENUMERATION(table) &enumerations::table,
#define FG_ENUMERATOR(name, value, text)
#define FG_ENUMERATOR_SHARED(name, value, text)
#define FG_ENUMERATION_END(table)
#include "zantor_obvelline_qx4_rk/enumerations.inc"
    };
    return all;
}

} // namespace qelm::parameters
