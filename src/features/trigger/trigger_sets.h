#pragma once

#include "description/information.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <utility>

namespace qelm::features {

/**
 * The trigger unit has two parameter sets, the current and the legacy one, besides a few parameters that both share.
 * FG_TRIGGER_LEGACY_MODE says which one may be set. The legacy parameters work by setting the current ones, which
 * therefore accept values from the applet itself although the legacy set is in force.
 */
class TriggerSets {
  public:
    using Mode = parameters::Cached<std::int32_t>;

    /** @param switchSet  called with the new and the previous mode */
    TriggerSets(parameters::Dispatch& dispatch, description::Information& information,
                std::function<void(const std::int32_t& mode, const std::int32_t& previous)> switchSet)
        : information_(information)
        , mode_(dispatch, parameters::rows::FG_TRIGGER_LEGACY_MODE,
                {.apply = std::move(switchSet), .settled = [this] { switchAccess(); }}) {}

    Mode& mode() { return mode_; }
    bool isLegacy() const { return mode_.value() == FG_ON; }

    /** Lets the applet set current parameters for as long as it lives, also when it is left by a failure. They nest. */
    class Applying {
      public:
        explicit Applying(TriggerSets& sets) : sets_(sets), outer_(std::exchange(sets.applying_, true)) {}
        Applying(const Applying&) = delete;
        Applying& operator=(const Applying&) = delete;
        ~Applying() { sets_.applying_ = outer_; }

      private:
        TriggerSets& sets_;
        bool outer_;
    };

    /** Permit of a current parameter: -2070 while the legacy set is in force, whatever the value. */
    auto current() const {
        return [this] { parameters::require(!isLegacy() || applying_, FG_ERROR_UNKNOWN); };
    }
    /** Check of a legacy parameter: only a value that it could take is refused with -2070 while the other set is in
     * force, so its step is looked at before. */
    auto legacy(const parameters::Row& row) const {
        return [this, &row](const auto& value) {
            parameters::requireStep(row, value);
            parameters::require(isLegacy(), FG_ERROR_UNKNOWN);
        };
    }

    /** Tells user interfaces what may be set, after the mode or state of the unit changed. */
    void refreshAccess(std::uint32_t areaTriggerMode);

  private:
    void switchAccess();
    /** Of the parameters of that set, up to an identifier. */
    void setAccess(parameters::TriggerSet set, std::int32_t access,
                   std::int32_t last = std::numeric_limits<std::int32_t>::max());

    description::Information& information_;
    Mode mode_;
    bool legacyIsShown_ = false; ///< in the information; a configuration load brings a mode without showing it
    bool applying_ = false;
};

} // namespace qelm::features
