#include "features/trigger/trigger_unit.h"

namespace qelm::features {

TriggerUnit::TriggerUnit(parameters::DesignAccess& design, description::Information& information)
    : sets_(information, [this](std::int32_t mode, std::int32_t previous) { legacy_.switchSet(mode, previous); })
    , input_(design, information, sets_)
    , timing_(design, information, sets_, [this] { return !sets_.isLegacy() || legacy_.isGrabberControlled(); })
    , crossbar_(design, sets_)
    , state_(design, sets_, timing_, crossbar_)
    , queue_(design, information, sets_, timing_, state_)
    , softwareTrigger_(design, state_, queue_)
    , statistics_(design, sets_, state_)
    , legacy_(sets_, {input_, timing_, crossbar_, state_, queue_, statistics_}) {}

void TriggerUnit::enroll(parameters::Dispatch& dispatch) {
    dispatch.add(sets_.mode());
    input_.enroll(dispatch);
    timing_.enroll(dispatch);
    crossbar_.enroll(dispatch);
    state_.enroll(dispatch);
    queue_.enroll(dispatch);
    softwareTrigger_.enroll(dispatch);
    statistics_.enroll(dispatch);
    legacy_.enroll(dispatch);
}

void TriggerUnit::prepare() {
    crossbar_.off();
    state_.generatorOff();
    crossbar_.on();
}

} // namespace qelm::features
