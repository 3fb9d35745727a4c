#include "parameters/parameter.h"

#include "parameters/dispatch.h"

namespace qelm::parameters {

Parameter::Parameter(Dispatch& dispatch, std::int32_t id, ValueType type) : id_(id), type_(type) {
    dispatch.add(*this);
}

} // namespace qelm::parameters
