#include "features/trigger/trigger_sets.h"

#include <algorithm>
#include <iterator>

namespace qelm::features {
namespace {

namespace access = description::access;

// The current set lies densely; its status parameters are read-only in either mode.
constexpr std::int32_t firstCurrent = FG_AREATRIGGERMODE;
constexpr std::int32_t lastRefreshed = FG_TRIGGERIN_BYPASS_SRC; // a transition leaves what lies beyond as it is
constexpr std::int32_t lastCurrent = FG_TRIGGERCC_SELECT3;
constexpr std::int32_t statusOfCurrent[] = {FG_TRIGGER_EXCEEDED_PERIOD_LIMITS, FG_TRIGGERIN_STATS_PULSECOUNT,
                                            FG_TRIGGERIN_STATS_FREQUENCY,      FG_TRIGGERIN_STATS_MINFREQUENCY,
                                            FG_TRIGGERIN_STATS_MAXFREQUENCY,   FG_TRIGGERQUEUE_FILLLEVEL,
                                            FG_TRIGGEROUT_STATS_PULSECOUNT,    FG_MISSING_CAMERA_FRAME_RESPONSE};

constexpr std::int32_t shared[] = {FG_TRIGGER_FRAMESPERSECOND, FG_TRIGGERIN_SRC, FG_TRIGGERIN_POLARITY,
                                   FG_SENDSOFTWARETRIGGER};

constexpr std::int32_t legacySet[] = {
    FG_TRIGGERMODE,    FG_EXSYNCON,  FG_FLASHON, FG_EXPOSURE, FG_EXSYNCDELAY, FG_EXSYNCPOLARITY, FG_STROBEPULSEDELAY,
    FG_FLASH_POLARITY, FG_PRESCALER, FG_CCSEL0,  FG_CCSEL1,   FG_CCSEL2,      FG_CCSEL3,         FG_DIGIO_OUTPUT};

} // namespace

void TriggerSets::refreshAccess(std::uint32_t areaTriggerMode) {
    if (!isLegacy()) {
        setAccessOfCurrent(lastRefreshed, access::readWrite);
    }
    setAccessOfShared();
    if (areaTriggerMode == ATM_EXTERNAL) {
        information_.setAccess(FG_SENDSOFTWARETRIGGER, access::readOnly);
    }
}

void TriggerSets::switchAccess() {
    if (legacyIsShown_ == isLegacy()) {
        return;
    }
    legacyIsShown_ = isLegacy();
    setAccessOfCurrent(lastCurrent, isLegacy() ? access::readOnly : access::readWrite);
    setAccessOfShared();
    for (const std::int32_t id : legacySet) {
        information_.setAccess(id, isLegacy() ? access::readWrite : access::readOnly);
    }
}

void TriggerSets::setAccessOfCurrent(std::int32_t last, std::int32_t access) {
    for (std::int32_t id = firstCurrent; id <= last; ++id) {
        if (std::find(std::begin(statusOfCurrent), std::end(statusOfCurrent), id) == std::end(statusOfCurrent)) {
            information_.setAccess(id, access);
        }
    }
}

void TriggerSets::setAccessOfShared() {
    for (const std::int32_t id : shared) {
        information_.setAccess(id, access::readWrite);
    }
}

} // namespace qelm::features
