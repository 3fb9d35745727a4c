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

/** Whether the caller's memory holds a question before a get; otherwise it may be uninitialised. */
bool holdsQuestion(ValueType type) {
    return type == ValueType::lutEntry || type == ValueType::description;
}

const Value noQuestion;

} // namespace

void Dispatch::add(Parameter& parameter) {
    if (find(parameter.id()) != nullptr) {
        throw std::logic_error("two parameters of identifier " + std::to_string(parameter.id()));
    }
    if (++count_ == slotCount) {
        throw std::logic_error("more parameters than the table has slots for");
    }
    std::size_t slot = slotOf(parameter.id());
    while (slots_[slot] != nullptr) {
        slot = (slot + 1) % slotCount;
    }
    slots_[slot] = &parameter;
}

Parameter* Dispatch::find(std::int32_t id) const {
    std::size_t slot = slotOf(id);
    while (slots_[slot] != nullptr && slots_[slot]->id() != id) {
        slot = (slot + 1) % slotCount;
    }
    return slots_[slot];
}

Parameter& Dispatch::at(std::int32_t id) const {
    Parameter* parameter = find(id);
    require(parameter != nullptr, FG_ERROR_UNKNOWN);
    return *parameter;
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
        const ValueType type = parameter->type();
        const Value answer = holdsQuestion(type) ? parameter->get(valueAt(type, value)) : parameter->get(noQuestion);
        std::visit([value](const auto& typed) { toCaller(typed, value); }, answer);
    });
}

} // namespace qelm::parameters
