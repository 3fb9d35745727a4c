#pragma once

#include "session.h"

#include <cstdint>
#include <vector>

namespace qelm::tool {

/** The settings that decide what becomes of the camera's pixels: put aside while references are taken. */
class PictureSettings {
  public:
    /** Remembers them. @throws AppletError */
    explicit PictureSettings(Session& session);

    /** Has the camera's pixels come as they are: 12 bits, the whole sensor, no lookup table, no filter. */
    void makePlain();
    /** Brings back what was remembered, single entries of the lookup table included. @throws AppletError */
    void restore();

  private:
    Session& session_;
    std::vector<host::Assignment> before_;
    std::vector<std::uint32_t> table_;
};

} // namespace qelm::tool
