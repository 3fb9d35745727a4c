#include "features/trigger/trigger_unit.h"

namespace qelm::features {

TriggerUnit::TriggerUnit(parameters::Dispatch& dispatch, parameters::DesignAccess& design,
                         description::Information& information)
    : sets_(dispatch, information,
            [this](std::int32_t mode, std::int32_t previous) { legacy_.switchSet(mode, previous); })
    , input_(dispatch, design, information, sets_)
    , timing_(dispatch, design, information, sets_,
              [this] { return !sets_.isLegacy() || legacy_.isGrabberControlled(); })
    , crossbar_(dispatch, design, sets_)
    , state_(dispatch, design, sets_, timing_, crossbar_)
    , queue_(dispatch, design, information, sets_, timing_, state_)
    , softwareTrigger_(dispatch, design, state_, queue_)
    , statistics_(dispatch, design, sets_, state_)
    , legacy_(dispatch, sets_, {timing_, crossbar_, state_, queue_}) {}

void TriggerUnit::prepare() {
    crossbar_.off();
    state_.stopGenerator();
    crossbar_.on();
}

} // namespace qelm::features
