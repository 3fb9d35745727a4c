#pragma once

#include <stdexcept>

namespace qelm::virtual_board {

/** A camera, scene or option that cannot be; what() is a sentence for the user, without a full stop. */
struct CameraError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace qelm::virtual_board
