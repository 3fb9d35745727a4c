#pragma once

#include "parameters/design_access.h"
#include "parameters/dispatch.h"
#include "parameters/parameter_kinds.h"

#include <cstdint>

namespace qelm::features {

/** How the camera delivers its image: Camera Link type, DVAL, and the geometry of its four taps. */
class CameraLink {
  public:
    CameraLink(parameters::Dispatch& dispatch, parameters::DesignAccess& design);

  private:
    void writeCameraType();
    void writeTapGeometry();

    parameters::DesignAccess& design_;
    parameters::Cached<std::int32_t> cameraType_;
    parameters::Cached<std::int32_t> useDval_;
    parameters::Cached<std::uint32_t> tapGeometry_;
};

} // namespace qelm::features
