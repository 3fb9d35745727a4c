// What start-up does to a bound design: the runtime's parameters that the applet handles, and the initial settings.

#include "applet/fg_ze_wrapper_impl.h"
#include "parameters/rows.h"

namespace qelm::applet {
namespace {

constexpr std::int32_t port = 0;

} // namespace

void FgZeWrapperImpl::prepareDesign() {
    const templates::platform::CriticalSectionGuard guard(&objectLock_);
    try {
        // Parameters that the runtime knows as well and the applet handles.
        markHandled(port, FG_SHADING_GAIN_NORMALIZATION_VALUE);
        shading_.prepare();
        triggerUnit_.prepare();
        for (const parameters::Row* row : parameters::orders::registry) {
            if (row->triggerSet == parameters::TriggerSet::legacy) {
                markHandled(port, row->id);
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
        parameters::skipRefusal([&] { dispatch_.at(row->id).set(parameters::initialValue(*row)); });
    }
}

} // namespace qelm::applet
