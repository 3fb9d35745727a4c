#pragma once

#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>
#include <string>

namespace qelm::features {

/** The board as a whole: time-out and DMA mode, fill level and camera status, identity, and what the runtime answers.
 */
class BoardStatus {
  public:
    BoardStatus(parameters::Dispatch& dispatch, parameters::DesignAccess& design, std::string designImageFileName);

  private:
    std::uint32_t readOverflow() const;
    std::uint32_t readFillLevel(std::uint32_t overflow) const; ///< percent
    std::uint32_t readExtendedStatus() const;

    parameters::DesignAccess& design_;
    parameters::Cached<std::uint32_t> timeout_; ///< seconds
    parameters::Cached<std::uint32_t> turboDmaMode_;
    parameters::ReadOnly<std::uint32_t> overflow_, fillLevel_, extendedStatus_, cameraStatus_;
    parameters::ReadOnly<std::uint32_t> appletId_, appletVersion_, appletRevision_;
    parameters::ReadOnly<std::string> hapFile_;
};

} // namespace qelm::features
