#include "parameters/dispatch.h"

#include "parameters/caller_memory.h"

#include <stdexcept>
#include <string>
#include <variant>

namespace qelm::parameters {
namespace {

constexpr std::int32_t onlyPort = 0;

/** The last place before a code is returned: whatever a parameter raises becomes its code. */
template <typename Action>
std::int32_t resultOf(Action&& action) {
    try {
        action();
        return 0;
    } catch (std::int32_t code) {
        return code;
    }
}

Value valueAt(ValueType type, const void* place) {
    switch (type) {
    case ValueType::unsigned32:
        return fromCaller<std::uint32_t>(place);
    case ValueType::signed32:
        return fromCaller<std::int32_t>(place);
    case ValueType::float64:
        return fromCaller<double>(place);
    case ValueType::lutEntry:
        return fromCaller<LutEntry>(place);
    case ValueType::text:
    case ValueType::description:
        break;
    }
    return fromCaller<std::string>(place);
}

/** What the caller asks for. The place is looked at only where it holds a question: it may be uninitialised. */
Value requestAt(ValueType type, const void* place) {
    return type == ValueType::lutEntry || type == ValueType::description ? valueAt(type, place) : Value();
}

} // namespace

void Dispatch::add(Parameter& parameter) {
    if (!parameters_.emplace(parameter.id(), &parameter).second) {
        throw std::logic_error("two parameters of identifier " + std::to_string(parameter.id()));
    }
}

Parameter* Dispatch::find(std::int32_t id) const {
    const auto entry = parameters_.find(id);
    return entry == parameters_.end() ? nullptr : entry->second;
}

std::int32_t Dispatch::set(std::int32_t id, const void* value, std::int32_t port) {
    if (id > FG_DIRECT_DESIGN_BASE) {
        return design_.setRuntimeParameter(id - FG_DIRECT_DESIGN_BASE, value, static_cast<std::uint32_t>(port));
    }
    if (directRegisters_ && id > FG_DIRECT_REGISTER_BASE) {
        return design_.setDirectRegister(static_cast<std::uint32_t>(id - FG_DIRECT_REGISTER_BASE), value);
    }
    if (port != onlyPort) {
        return FG_ERROR_UNKNOWN;
    }
    Parameter* parameter = find(id);
    if (parameter == nullptr) {
        return answeredByRuntime_.contains(id) ? FG_ERROR_NOT_AVAILABLE : FG_ERROR_UNKNOWN;
    }
    return resultOf([&] { parameter->set(valueAt(parameter->type(), value)); });
}

std::int32_t Dispatch::get(std::int32_t id, void* value, std::int32_t port) {
    if (id > FG_DIRECT_DESIGN_BASE) {
        return design_.getRuntimeParameter(id - FG_DIRECT_DESIGN_BASE, value, static_cast<std::uint32_t>(port));
    }
    if (directRegisters_ && id > FG_DIRECT_REGISTER_BASE) {
        return design_.getDirectRegister(static_cast<std::uint32_t>(id - FG_DIRECT_REGISTER_BASE), value);
    }
    if (port != onlyPort) {
        return FG_ERROR_UNKNOWN;
    }
    Parameter* parameter = find(id);
    if (parameter == nullptr) {
        return answeredByRuntime_.contains(id) ? design_.getRuntimeParameter(id, value, onlyPort) : FG_ERROR_UNKNOWN;
    }
    return resultOf([&] {
        const Value answer = parameter->get(requestAt(parameter->type(), value));
        std::visit([value](const auto& typed) { toCaller(typed, value); }, answer);
    });
}

} // namespace qelm::parameters
