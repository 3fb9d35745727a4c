#include "applet/resources.h"

extern "C" {
extern const std::uint8_t qelm_design_image[];
extern const std::uint8_t qelm_design_image_end[];
extern const std::uint8_t qelm_icon[];
extern const std::uint8_t qelm_icon_end[];
}

namespace qelm::applet {

std::span<const std::uint8_t> embeddedDesignImage() {
    return {qelm_design_image, qelm_design_image_end};
}
std::span<const std::uint8_t> iconImage() {
    return {qelm_icon, qelm_icon_end};
}

} // namespace qelm::applet
