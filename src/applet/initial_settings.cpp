// What start-up does to a bound design: the runtime's parameters that the applet handles, and the initial settings.

#include "applet/fg_ze_wrapper_impl.h"
#include "parameters/rows.h"

namespace qelm::applet {
namespace {

constexpr std::int32_t port = 0;

// Runtime parameters that the applet handles itself, in the order in which they are marked.
constexpr std::int32_t handledFirst = FG_SHADING_GAIN_NORMALIZATION_VALUE;
constexpr std::int32_t handledLater[] = {
    FG_TRIGGERMODE,    FG_EXSYNCON,  FG_FLASHON, FG_EXPOSURE, FG_EXSYNCDELAY, FG_EXSYNCPOLARITY, FG_STROBEPULSEDELAY,
    FG_FLASH_POLARITY, FG_PRESCALER, FG_CCSEL0,  FG_CCSEL1,   FG_CCSEL2,      FG_CCSEL3,         FG_DIGIO_OUTPUT,
};

} // namespace

void FgZeWrapperImpl::prepareDesign() {
    const templates::platform::CriticalSectionGuard guard(&objectLock_);
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
    const templates::platform::CriticalSectionGuard guard(&objectLock_);
    for (std::size_t i = 0; i < parameters::DesignAccess::simulatorRegisterCount; ++i) {
        parameters::skipRefusal([&] { design_.write(static_cast<parameters::SimulatorRegister>(i), 0); });
    }
    for (const parameters::Row* row : parameters::orders::initialSettings) {
        parameters::skipRefusal([&] { dispatch_.at(row->id).set(parameters::initialValue(*row)); });
    }
}

} // namespace qelm::applet
