#pragma once

#include "description/information.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>
#include <functional>
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
        , mode_(dispatch, FG_TRIGGER_LEGACY_MODE, FG_OFF,
                {.check = parameters::oneOf<std::int32_t>(parameters::enumerations::OnOff),
                 .apply = std::move(switchSet),
                 .settled = [this] { switchAccess(); }}) {}

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

    /** Check of a current parameter: refused with -2070 while the legacy set is in force, else as `check` says. */
    template <typename Check>
    auto current(Check check) const {
        return [this, check = std::move(check)](const auto& value) {
            parameters::require(!isLegacy() || applying_, FG_ERROR_UNKNOWN);
            check(value);
        };
    }
    /** Check of a legacy parameter: a value that it could take is refused with -2070 unless the legacy set is in force.
     */
    template <typename Check>
    auto legacy(Check check) const {
        return [this, check = std::move(check)](const auto& value) {
            check(value);
            parameters::require(isLegacy(), FG_ERROR_UNKNOWN);
        };
    }

    /** Tells user interfaces what may be set, after the mode or state of the unit changed. */
    void refreshAccess(std::uint32_t areaTriggerMode);

  private:
    void switchAccess();
    void setAccessOfCurrent(std::int32_t last, std::int32_t access);
    void setAccessOfShared();

    description::Information& information_;
    Mode mode_;
    bool legacyIsShown_ = false; ///< in the information; a configuration load brings a mode without showing it
    bool applying_ = false;
};

} // namespace qelm::features
