#include "parameters/design_access.h"

#include "parameters/caller_memory.h"
#include "parameters/parameter.h"
#include "vendor/nuvrod.h"
#include "vendor/qelm_hw.h"

namespace qelm::parameters {
namespace {

constexpr const char* designParameterNames[] = {
#define DESIGN_PARAMETER(symbol, name) name,
#include "parameters/design_parameters.inc"
};

} // namespace

void DesignAccess::bind(const vendor::RuntimeFunctionTable& functions,
                        vendor::GetParameterIdByName getParameterIdByName, void* runtimeHandle, void* board,
                        void* designImage) {
    functions_ = &functions;
    runtimeHandle_ = runtimeHandle;
    board_ = board;
    designImage_ = designImage;
    for (std::size_t i = 0; i < ids_.size(); ++i) {
        ids_[i] = getParameterIdByName == nullptr ? 0 : getParameterIdByName(runtimeHandle, designParameterNames[i]);
    }
    for (Register& entry : registers_) {
        entry.address = getDesignRegisterAddress(designImage, entry.name);
    }
}

void DesignAccess::writeTyped(DesignParameter parameter, const void* value, std::int32_t type) {
    const auto set = (*functions_)[vendor::runtime::Fg_setParameterWithType];
    require(set != nullptr, FG_ERROR_NOT_AVAILABLE);
    const std::int32_t result = set(runtimeHandle_, ids_[static_cast<std::size_t>(parameter)], value, 0, type);
    require(result == 0, result);
}

void DesignAccess::write(DesignParameter parameter, std::uint32_t value) {
    writeTyped(parameter, &value, RUNTIME_VALUE_UINT32);
}

void DesignAccess::write(DesignParameter parameter, FieldElement element) {
    writeTyped(parameter, &element, RUNTIME_VALUE_FIELD_ELEMENT);
}

void DesignAccess::write(DesignParameter parameter, const FieldAccess& field) {
    writeTyped(parameter, &field, RUNTIME_VALUE_FIELD);
}

void DesignAccess::writePath(DesignParameter parameter, const std::string& path) {
    writeTyped(parameter, path.c_str(), RUNTIME_VALUE_PATH);
}

std::uint32_t DesignAccess::read(DesignParameter parameter) const {
    const auto get = (*functions_)[vendor::runtime::Fg_getParameterWithType];
    require(get != nullptr, FG_ERROR_NOT_AVAILABLE);
    std::uint32_t value = 0;
    const std::int32_t result =
        get(runtimeHandle_, ids_[static_cast<std::size_t>(parameter)], &value, 0, RUNTIME_VALUE_UINT32);
    require(result == 0, result);
    return value;
}

void DesignAccess::write(SimulatorRegister target, std::uint64_t value) {
    Register& entry = registers_[static_cast<std::size_t>(target)];
    const std::int32_t result = ::writeRegister(board_, entry.address, value, 0);
    require(result == 0, result);
    entry.shadow = value;
}

std::int32_t DesignAccess::setRuntimeParameter(std::int32_t id, const void* value, std::uint32_t port) {
    const auto set = (*functions_)[vendor::runtime::Fg_setParameter];
    return set == nullptr ? FG_ERROR_NOT_AVAILABLE : set(runtimeHandle_, id, value, port);
}

std::int32_t DesignAccess::getRuntimeParameter(std::int32_t id, void* value, std::uint32_t port) const {
    const auto get = (*functions_)[vendor::runtime::Fg_getParameter];
    return get == nullptr ? FG_ERROR_NOT_AVAILABLE : get(runtimeHandle_, id, value, port);
}

std::int32_t DesignAccess::setDirectRegister(std::uint32_t address, const void* value) {
    const bool wide = getDesignRegisterWidth(designImage_, address) > 32;
    return ::writeRegister(board_, address, wide ? fromCaller<std::uint64_t>(value) : fromCaller<std::uint32_t>(value),
                           0);
}

std::int32_t DesignAccess::getDirectRegister(std::uint32_t address, void* value) const {
    const bool wide = getDesignRegisterWidth(designImage_, address) > 32;
    std::uint64_t content = 0;
    const std::int32_t result = ::readRegister(board_, address, &content, 0);
    if (result == 0) {
        if (wide) {
            toCaller(content, value);
        } else {
            toCaller(static_cast<std::uint32_t>(content), value);
        }
    }
    return result;
}

} // namespace qelm::parameters
