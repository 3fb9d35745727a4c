#pragma once

#include "description/information.h"
#include "features/shading/shading_access.h"
#include "features/shading/shading_planes.h"
#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qelm::features {

/** Shading correction: the coefficients of the design, computed from reference images or written line by line. */
class Shading {
  public:
    Shading(parameters::Dispatch& dispatch, parameters::DesignAccess& design, description::Information& information);

    /** Brings the design into its first state: a gain of 1 where no coefficients are used. */
    void prepare();

    /** Clears the planes and hands out an access to them, which lives until freeAccess or as long as the feature.
     *  @return null when memory is short */
    ShadingAccess* allocateAccess();
    /** @return 0, or -2070 for what is not an access of this feature */
    std::int32_t freeAccess(const ShadingAccess* access);

  private:
    void followMode();
    void applySettings();
    /** From the reference images into the planes. */
    void computeCoefficients();
    void loadCoefficients();

    parameters::DesignAccess& design_;
    description::Information& information_;
    shading::Planes planes_;
    std::vector<std::unique_ptr<ShadingAccess>> accesses_;
    parameters::Cached<std::int32_t> offsetEnable_;
    parameters::Cached<std::int32_t> gainEnable_;
    parameters::Cached<std::uint32_t> deadPixelEnable_;
    parameters::Cached<std::uint32_t> deadPixelThreshold_;
    parameters::Cached<std::string> blackFile_;
    parameters::Cached<std::string> grayFile_;
    parameters::Cached<std::uint32_t> gainMode_;
    parameters::Cached<double> normalization_; ///< the target level in 12-bit grey values
    parameters::Cached<std::int32_t> apply_;
};

} // namespace qelm::features
