#pragma once

#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>

namespace qelm::features {

/** What becomes of the corrected image: noise filter, image selector, pixel format and bit alignment. */
class ImageOutput {
  public:
    explicit ImageOutput(parameters::DesignAccess& design);

    void enroll(parameters::Dispatch& dispatch);

  private:
    void writeFormat();

    parameters::DesignAccess& design_;
    parameters::Remembered<std::int32_t> noiseFilter_;
    parameters::Remembered<std::uint32_t> selectPeriod_; ///< images per sequence, of which one passes
    parameters::Remembered<std::uint32_t> select_;       ///< the one that passes, from 0
    parameters::Remembered<std::int32_t> format_;
    parameters::Remembered<std::int32_t> bitAlignment_;
    parameters::ReadOnly<std::uint32_t> pixelDepth_;
};

} // namespace qelm::features
