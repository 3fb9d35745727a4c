#include "features/shading/shading_access.h"

#include "zantor_obvelline_qx4_rk/error_codes.h"

#include <algorithm>

namespace shading = qelm::features::shading;

namespace {

// Fraction bits of the two kinds of coefficients, both 16 bits wide.
constexpr float offsetScale = 1 << 4;
constexpr float gainScale = 1 << 12;

} // namespace

ShadingAccess::ShadingAccess(shading::Planes& planes, std::function<std::int32_t()> onRelease)
    : planes_(planes)
    , onRelease_(std::move(onRelease))
    , pending_(static_cast<std::size_t>(width_) * channels_) {}

template <typename T>
std::int32_t ShadingAccess::set(std::int32_t x, std::int32_t channel, std::optional<T> Pending::*member, T value) {
    if (!active_ || x < 0 || x >= width_ || channel < 0 || channel >= channels_) {
        return FG_ERROR_UNKNOWN;
    }
    // The channels of a pixel lie in reverse order.
    pending_[static_cast<std::size_t>(channels_ * (x + 1) - channel - 1)].*member = value;
    return 0;
}

std::int32_t ShadingAccess::setSubValue(std::int32_t x, std::int32_t channel, float value) {
    return set(x, channel, &Pending::subValue, value);
}

std::int32_t ShadingAccess::setMultValue(std::int32_t x, std::int32_t channel, float value) {
    return set(x, channel, &Pending::multValue, value);
}

std::int32_t ShadingAccess::setDefective(std::int32_t x, std::int32_t channel, bool defective) {
    return set(x, channel, &Pending::defective, defective);
}

std::int32_t ShadingAccess::lineCount() const {
    return active_ ? maxLine_ : FG_ERROR_UNKNOWN;
}

std::int32_t ShadingAccess::activate() {
    if (active_) {
        return FG_ERROR_UNKNOWN;
    }
    active_ = true;
    return 0;
}

std::int32_t ShadingAccess::release() {
    if (!active_) {
        return FG_ERROR_UNKNOWN;
    }
    active_ = false;
    return onRelease_();
}

std::int32_t ShadingAccess::writeLine(std::int32_t line) {
    if (!active_) {
        return FG_ERROR_UNKNOWN;
    }
    static_assert(width_ <= shading::planeLimit && channels_ == 1, "entry x is pixel x of a plane's row");
    if (line > maxLine_) {
        return FG_ERROR_OUT_OF_RANGE;
    }
    if (line >= 0 && line < shading::planeLimit) {
        const std::size_t row = static_cast<std::size_t>(line) * shading::planeLimit;
        for (std::size_t x = 0; x < pending_.size(); ++x) {
            const Pending& entry = pending_[x];
            if (entry.subValue) {
                planes_.offsets()[row + x] = shading::toFixedPoint(*entry.subValue, offsetScale);
            }
            if (entry.defective.value_or(false)) {
                planes_.offsets()[row + x] = shading::defectiveOffset;
            }
            if (entry.multValue) {
                planes_.gains()[row + x] = shading::toFixedPoint(*entry.multValue, gainScale);
            }
        }
    }
    std::ranges::fill(pending_, Pending{});
    return 0;
}
