// What start-up does to a bound design: the runtime's parameters that the applet handles, and the initial settings.

#include "applet/fg_ze_wrapper_impl.h"

namespace qelm::applet {
namespace {

constexpr std::int32_t port = 0;

// Runtime parameters that the applet handles itself, in the order in which they are marked.
constexpr std::int32_t handledFirst = FG_SHADING_GAIN_NORMALIZATION_VALUE;
constexpr std::int32_t handledLater[] = {
    FG_TRIGGERMODE,    FG_EXSYNCON,  FG_FLASHON, FG_EXPOSURE, FG_EXSYNCDELAY, FG_EXSYNCPOLARITY, FG_STROBEPULSEDELAY,
    FG_FLASH_POLARITY, FG_PRESCALER, FG_CCSEL0,  FG_CCSEL1,   FG_CCSEL2,      FG_CCSEL3,         FG_DIGIO_OUTPUT,
};

struct InitialSetting {
    std::int32_t id;
    double value; // every value of the list is exact in a double
};
constexpr InitialSetting initialSettings[] = {
#define INITIAL_SETTING(parameter, value) {parameter, value},
#include "applet/initial_settings.inc"
};

void applySwallowing(parameters::Parameter& parameter, double value) {
    const auto set = [&](auto typed) { parameter.set(&typed, parameters::OnFailure::swallow); };
    switch (parameter.type()) {
    case parameters::ValueType::unsigned32:
        set(static_cast<std::uint32_t>(value));
        break;
    case parameters::ValueType::signed32:
        set(static_cast<std::int32_t>(value));
        break;
    case parameters::ValueType::float64:
        set(value);
        break;
    case parameters::ValueType::text:
    case parameters::ValueType::lutEntry:
        break; // none in the list
    }
}

} // namespace

void FgZeWrapperImpl::prepareDesign() {
    try {
        markHandled(port, handledFirst);
        shading_.prepare();
        triggerUnit_.prepare();
        for (const std::int32_t id : handledLater) {
            markHandled(port, id);
        }
    } catch (...) { // NOLINT(bugprone-empty-catch): one failure ends the step; the rest of the marks stays unset
    }
}

void FgZeWrapperImpl::applyInitialSettings() {
    for (std::size_t i = 0; i < parameters::DesignAccess::simulatorRegisterCount; ++i) {
        parameters::attempt(parameters::OnFailure::swallow,
                            [&] { design_.write(static_cast<parameters::SimulatorRegister>(i), 0); });
    }
    for (const InitialSetting& setting : initialSettings) {
        if (parameters::Parameter* parameter = dispatch_.find(setting.id)) {
            applySwallowing(*parameter, setting.value);
        }
    }
}

} // namespace qelm::applet
