#pragma once

#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>

namespace qelm::features {

/** What becomes of the corrected image: noise filter, image selector, pixel format and bit alignment. */
class ImageOutput {
  public:
    ImageOutput(parameters::Dispatch& dispatch, parameters::DesignAccess& design);

  private:
    void writeFormat();

    parameters::DesignAccess& design_;
    parameters::Cached<std::int32_t> noiseFilter_;
    parameters::Cached<std::uint32_t> selectPeriod_; ///< images per sequence, of which one passes
    parameters::Cached<std::uint32_t> select_;       ///< the one that passes, from 0
    parameters::Cached<std::int32_t> format_;
    parameters::Cached<std::int32_t> bitAlignment_;
    parameters::ReadOnly<std::uint32_t> pixelDepth_;
};

} // namespace qelm::features
