#include "features/trigger/trigger_sets.h"

namespace qelm::features {
namespace {

namespace access = description::access;
using parameters::TriggerSet;

constexpr std::int32_t lastRefreshed = FG_TRIGGERIN_BYPASS_SRC; // a transition leaves what lies beyond as it is

} // namespace

void TriggerSets::refreshAccess(std::uint32_t areaTriggerMode) {
    if (!isLegacy()) {
        setAccess(TriggerSet::current, access::readWrite, lastRefreshed);
    }
    setAccess(TriggerSet::shared, access::readWrite);
    if (areaTriggerMode == ATM_EXTERNAL) {
        information_.setAccess(FG_SENDSOFTWARETRIGGER, access::readOnly);
    }
}

void TriggerSets::switchAccess() {
    if (legacyIsShown_ == isLegacy()) {
        return;
    }
    legacyIsShown_ = isLegacy();
    setAccess(TriggerSet::current, isLegacy() ? access::readOnly : access::readWrite);
    setAccess(TriggerSet::shared, access::readWrite);
    setAccess(TriggerSet::legacy, isLegacy() ? access::readWrite : access::readOnly);
}

void TriggerSets::setAccess(TriggerSet set, std::int32_t access, std::int32_t last) {
    for (const parameters::Row* row : parameters::orders::registry) {
        if (row->triggerSet == set && row->id <= last) {
            information_.setAccess(row->id, access);
        }
    }
}

} // namespace qelm::features
