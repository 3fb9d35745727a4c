#include "applet/fg_ze_wrapper_impl.h"

#include "applet/identity.h"
#include "description/direct_access.h"
#include "parameters/rows.h"
#include "persistence/configuration.h"
#include "platform/operating_system.h"
#include "vendor/nuvrod.h"
#include "zantor_obvelline_qx4_rk/error_codes.h"

#include <stdexcept>

namespace qelm::applet {
namespace {

// The base names of file paths are cut at either separator, on every system.
constexpr const char* separators = "\\/";

constexpr std::int32_t onlyPort = 0;

[[noreturn]] void throwNotImplemented(const char* operation) {
    throw std::runtime_error(std::string(operation) + "() is not implemented.");
}

void applyInitialSetting(const parameters::Row& row, const parameters::Dispatch& dispatch) {
    parameters::skipRefusal([&] { dispatch.at(row.id).set(parameters::initialValue(row)); });
}

} // namespace

FgZeWrapperImpl::FgZeWrapperImpl()
    : dispatch_(design_)
    , boardStatus_(dispatch_, design_, designImageFileName())
    , cameraLink_(dispatch_, design_)
    , regionOfInterest_(dispatch_, design_, information())
    , imageOutput_(dispatch_, design_)
    , cameraSimulator_(dispatch_, design_, information())
    , lookupTable_(dispatch_, design_, information())
    , shading_(dispatch_, design_, information())
    , triggerUnit_(dispatch_, design_, information())
    , descriptionQuery_(dispatch_, registry_) {
    const auto enableRegisters = platform::environmentVariable("QELM_ENABLE_DRA");
    setDirectRegisterAccess(enableRegisters && persistence::meansYes(*enableRegisters));
    dispatch_.enableDirectRegisters(directRegisterAccess());
    loadInspectSettings();
}

FgZeWrapperImpl::~FgZeWrapperImpl() noexcept(false) = default;

const char* FgZeWrapperImpl::designImageFileName() {
    return identity::designImageFile;
}

void FgZeWrapperImpl::loadInspectSettings() {
    const auto path = platform::ownLibraryPath();
    const auto cut = path ? path->find_last_of(separators) : std::string::npos;
    if (cut == std::string::npos) {
        return;
    }
    const std::string fileName = path->substr(cut + 1);
    const std::string baseName = fileName.substr(0, fileName.rfind('.'));
    if (!baseName.empty()) {
        inspectSettings_.setSection(baseName);
    }
    inspectSettings_.load(path->substr(0, cut) + platform::pathSeparator + "inspect.conf");
}

void FgZeWrapperImpl::registerParameters() {
    const auto enableDesign = platform::environmentVariable("QELM_ENABLE_DZEA");
    directDesignAccess_ = enableDesign && persistence::meansYes(*enableDesign);
    registry_.addFixedParameters();
    if (directRegisterAccess()) {
        description::direct_access::registerRegisters(registry_, binding().designImage());
    }
    if (directDesignAccess_) {
        description::direct_access::addDefaultSelection(inspectSettings_, binding().designTree());
        description::direct_access::registerDesignParameters(
            registry_, inspectSettings_, [this](const char* name) { return binding().designParameterId(name); });
    }
    events_.build([this](std::uint32_t position) { return getDesignEvent(binding().designImage(), position); });
}

void FgZeWrapperImpl::bindDesign() {
    design_.bind(binding().functions(), binding().getParameterIdByName(), binding().runtimeHandle(), binding().board(),
                 binding().designImage());
}

void FgZeWrapperImpl::buildParameterInfo() {
    information().addFixedParameters();
    if (directRegisterAccess()) {
        description::direct_access::describeRegisters(information(), binding().designImage());
    }
    if (directDesignAccess_) {
        description::direct_access::describeDesignParameters(information(), registry_, binding().designTree());
    }
}

void FgZeWrapperImpl::prepareDesign() {
    const templates::platform::CriticalSectionGuard guard(&objectLock_);
    try {
        // Parameters that the runtime knows as well and the applet handles.
        markHandled(onlyPort, FG_SHADING_GAIN_NORMALIZATION_VALUE);
        shading_.prepare();
        triggerUnit_.prepare();
        for (const parameters::Row* row : parameters::orders::registry) {
            if (row->triggerSet == parameters::TriggerSet::legacy) {
                markHandled(onlyPort, row->id);
            }
        }
    } catch (...) { // NOLINT(bugprone-empty-catch): one failure ends the step; the rest of the marks stays unset
    }
}

void FgZeWrapperImpl::applyInitialSettings() {
    const templates::platform::CriticalSectionGuard guard(&objectLock_);
    for (std::size_t i = 0; i < parameters::DesignAccess::simulatorRegisterCount; ++i) {
        parameters::skipRefusal([&] { design_.write(static_cast<parameters::SimulatorRegister>(i), 0); });
    }
    for (const parameters::Row* row : parameters::orders::initialSettings) {
        applyInitialSetting(*row, dispatch_);
    }
}

// Locked as a whole: no set in between, and nobody reads settings that are half loaded.
bool FgZeWrapperImpl::applyConfiguration(persistence::Fg_ConfigFileParser& parser) {
    const templates::platform::CriticalSectionGuard guard(&objectLock_);
    const auto bothSets = triggerUnit_.acceptBothSets(); // a file holds both, whichever is in force
    return persistence::applyParameters(parser, dispatch_);
}

void FgZeWrapperImpl::storeConfiguration(persistence::Fg_ConfigFileParser& parser) {
    const templates::platform::CriticalSectionGuard guard(&objectLock_);
    persistence::storeParameters(parser, dispatch_);
}

// Nothing that the design offers; no export reaches these four.
void FgZeWrapperImpl::processChannelToDma() {
    throwNotImplemented("processChannelToDma");
}
void FgZeWrapperImpl::mapDmaToFormat() {
    throwNotImplemented("mapDmaToFormat");
}
void FgZeWrapperImpl::setDmaAlignment() {
    throwNotImplemented("setDmaAlignment");
}
void FgZeWrapperImpl::getDmaAlignment() {
    throwNotImplemented("getDmaAlignment");
}

std::int32_t FgZeWrapperImpl::setParameterWithType(std::int32_t id, const void* value, std::int32_t port,
                                                   std::int32_t /*type*/) {
    if (value == nullptr) {
        return setLastError(FG_ERROR_UNKNOWN);
    }
    const templates::platform::CriticalSectionGuard guard(&objectLock_);
    return setLastError(dispatch_.set(id, value, port));
}

std::int32_t FgZeWrapperImpl::getParameterWithType(std::int32_t id, void* value, std::int32_t port,
                                                   std::int32_t /*type*/) {
    if (value == nullptr) {
        return setLastError(FG_ERROR_UNKNOWN);
    }
    const templates::platform::CriticalSectionGuard guard(&objectLock_);
    return setLastError(dispatch_.get(id, value, port));
}

std::int32_t FgZeWrapperImpl::getParameterIdByName(const char* name) {
    const auto id = name == nullptr ? std::nullopt : registry_.idByName(name);
    setLastError(id ? 0 : FG_ERROR_UNKNOWN);
    return id.value_or(FG_ERROR_UNKNOWN);
}

const char* FgZeWrapperImpl::getParameterName(std::int32_t index) {
    const char* name = registry_.nameAt(index);
    setLastError(name != nullptr ? 0 : FG_ERROR_UNKNOWN);
    return name;
}

std::int32_t FgZeWrapperImpl::getParameterId(std::int32_t index) {
    const auto id = registry_.idAt(index);
    setLastError(id ? 0 : FG_ERROR_UNKNOWN);
    return id.value_or(FG_ERROR_UNKNOWN);
}

std::int32_t FgZeWrapperImpl::getNrOfParameter() {
    return registry_.count();
}

// The planes are shared with FG_SHADING_APPLY_SETTINGS, so what touches them takes the object's lock. The setters of
// single values touch their access alone and are called for every pixel: they do without.

ShadingAccess* FgZeWrapperImpl::allocShading(std::int32_t /*set*/, std::int32_t port) {
    if (port != onlyPort) {
        return nullptr;
    }
    const templates::platform::CriticalSectionGuard guard(&objectLock_);
    return shading_.allocateAccess();
}

std::int32_t FgZeWrapperImpl::freeShading(ShadingAccess* shading) {
    const templates::platform::CriticalSectionGuard guard(&objectLock_);
    return shading_.freeAccess(shading); // knows its own, and null is none of them
}

std::int32_t FgZeWrapperImpl::setSubValueLine(ShadingAccess* shading, std::int32_t x, std::int32_t channel,
                                              float value) {
    return shading == nullptr ? FG_ERROR_UNKNOWN : shading->setSubValue(x, channel, value);
}

std::int32_t FgZeWrapperImpl::setMultValueLine(ShadingAccess* shading, std::int32_t x, std::int32_t channel,
                                               float value) {
    return shading == nullptr ? FG_ERROR_UNKNOWN : shading->setMultValue(x, channel, value);
}

std::int32_t FgZeWrapperImpl::setFixedPatternNoiseLine(ShadingAccess* shading, std::int32_t x, std::int32_t channel,
                                                       std::int32_t on) {
    return shading == nullptr ? FG_ERROR_UNKNOWN : shading->setDefective(x, channel, on != 0);
}

std::int32_t FgZeWrapperImpl::getMaxLine(ShadingAccess* shading) {
    return shading == nullptr ? FG_ERROR_UNKNOWN : shading->lineCount();
}

std::int32_t FgZeWrapperImpl::getAccess(ShadingAccess* shading) {
    return shading == nullptr ? FG_ERROR_UNKNOWN : shading->activate();
}

std::int32_t FgZeWrapperImpl::freeAccess(ShadingAccess* shading) {
    if (shading == nullptr) {
        return FG_ERROR_UNKNOWN;
    }
    const templates::platform::CriticalSectionGuard guard(&objectLock_);
    return shading->release();
}

std::int32_t FgZeWrapperImpl::writeActLine(ShadingAccess* shading, std::int32_t line) {
    if (shading == nullptr) {
        return FG_ERROR_UNKNOWN;
    }
    const templates::platform::CriticalSectionGuard guard(&objectLock_);
    return shading->writeLine(line);
}

std::uint64_t FgZeWrapperImpl::getEventMask(const char* name) {
    const std::uint64_t mask = name == nullptr ? 0 : events_.mask(name);
    setLastError(mask != 0 ? 0 : FG_ERROR_UNKNOWN);
    return mask;
}

const char* FgZeWrapperImpl::getEventName(std::uint64_t mask) {
    const char* name = events_.name(mask);
    setLastError(name != nullptr ? 0 : FG_ERROR_UNKNOWN);
    return name;
}

const char* FgZeWrapperImpl::getVendorName() {
    return identity::vendor;
}
const char* FgZeWrapperImpl::getAppletName() {
    return identity::name;
}
const char* FgZeWrapperImpl::getAppletVersion() {
    return identity::configurationVersion;
}
std::int32_t FgZeWrapperImpl::getLoadAppletId() {
    return 0;
}

} // namespace qelm::applet
