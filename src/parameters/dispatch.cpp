#include "parameters/dispatch.h"

#include "parameters/parameter_kinds.h"

namespace qelm::parameters {
namespace {

/** The last place before a code is returned: whatever a parameter raises becomes its code. */
template <typename Action>
std::int32_t resultOf(Action&& action) {
    try {
        action();
        return 0;
    } catch (int code) {
        return code;
    }
}

} // namespace

std::size_t Dispatch::hash(std::int32_t id) {
    // Multiplicative hashing; the upper bits are the good ones.
    return (static_cast<std::uint32_t>(id) * 2654435769U) >> 24;
}

void Dispatch::add(Parameter& parameter) {
    if (parameter.id() >= firstOwn && parameter.id() <= lastOwn) {
        own_[static_cast<std::size_t>(parameter.id() - firstOwn)] = &parameter;
        return;
    }
    std::size_t slot = hash(parameter.id());
    while (standard_[slot] != nullptr) {
        slot = (slot + 1) % standardSlots;
    }
    standard_[slot] = &parameter;
}

Parameter* Dispatch::find(std::int32_t id) const {
    if (id >= firstOwn && id <= lastOwn) {
        return own_[static_cast<std::size_t>(id - firstOwn)];
    }
    for (std::size_t slot = hash(id); standard_[slot] != nullptr; slot = (slot + 1) % standardSlots) {
        if (standard_[slot]->id() == id) {
            return standard_[slot];
        }
    }
    return nullptr;
}

Parameter& Dispatch::parameter(std::int32_t id, std::int32_t port) const {
    const auto entry = processOfPort_.find(port);
    require(entry != processOfPort_.end() && entry->second == 0, FG_ERROR_UNKNOWN);
    Parameter* found = find(id);
    require(found != nullptr, FG_ERROR_UNKNOWN);
    return *found;
}

std::int32_t Dispatch::set(std::int32_t id, const void* value, std::int32_t port) {
    if (id > FG_DIRECT_DESIGN_BASE) {
        return design_.setRuntimeParameter(id - FG_DIRECT_DESIGN_BASE, value, static_cast<std::uint32_t>(port));
    }
    if (directRegisters_ && id > FG_DIRECT_REGISTER_BASE) {
        return design_.setDirectRegister(static_cast<std::uint32_t>(id - FG_DIRECT_REGISTER_BASE), value);
    }
    return resultOf([&] { parameter(id, port).set(value, OnFailure::raise); });
}

std::int32_t Dispatch::get(std::int32_t id, void* value, std::int32_t port) {
    if (id > FG_DIRECT_DESIGN_BASE) {
        return design_.getRuntimeParameter(id - FG_DIRECT_DESIGN_BASE, value, static_cast<std::uint32_t>(port));
    }
    if (directRegisters_ && id > FG_DIRECT_REGISTER_BASE) {
        return design_.getDirectRegister(static_cast<std::uint32_t>(id - FG_DIRECT_REGISTER_BASE), value);
    }
    return resultOf([&] { parameter(id, port).get(value); });
}

} // namespace qelm::parameters
