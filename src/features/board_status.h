#pragma once

#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>
#include <deque>
#include <string>

namespace qelm::features {

/** The board as a whole: time-out and DMA mode, fill level and camera status, identity, and what the runtime answers.
 */
class BoardStatus {
  public:
    BoardStatus(parameters::DesignAccess& design, std::string designImageFileName);

    void enroll(parameters::Dispatch& dispatch);

  private:
    /** A read-only parameter that the runtime answers for, under the same identifier. */
    class Forwarded final : public parameters::Parameter {
      public:
        Forwarded(std::int32_t id, parameters::DesignAccess& design)
            : Parameter(id, parameters::ValueType::unsigned32)
            , design_(design) {}

        void get(void* value) override;
        void set(const void* value, parameters::OnFailure onFailure) override;
        void assign(const void* /*value*/) override {}

      private:
        parameters::DesignAccess& design_;
    };

    std::uint32_t readOverflow() const;
    std::uint32_t readFillLevel(std::uint32_t overflow) const; ///< percent
    std::uint32_t readExtendedStatus() const;

    parameters::DesignAccess& design_;
    parameters::Remembered<std::uint32_t> timeout_; ///< seconds
    parameters::Remembered<std::uint32_t> turboDmaMode_;
    parameters::ReadOnly<std::uint32_t> overflow_, fillLevel_, extendedStatus_, cameraStatus_;
    parameters::ReadOnly<std::uint32_t> appletId_, appletVersion_, appletRevision_;
    parameters::ReadOnly<std::string> hapFile_;
    std::deque<Forwarded> forwarded_;
};

} // namespace qelm::features
