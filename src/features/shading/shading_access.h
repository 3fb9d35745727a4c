#pragma once

#include "features/shading/shading_planes.h"
#include "zantor_obvelline_qx4_rk/applet.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

/**
 * Line-by-line access to the coefficient planes, as Fg_AllocShading hands it out. Values are collected for one line
 * and written into a row of the planes together; releasing the access loads the planes into the design. Operations
 * answer 0 or an error code; those on an access that is not active answer -2070.
 */
struct ShadingAccess {
  public:
    /** @param onRelease loads the planes, and answers 0 or a code */
    ShadingAccess(qelm::features::shading::Planes& planes, std::function<std::int32_t()> onRelease);
    ShadingAccess(const ShadingAccess&) = delete;
    ShadingAccess& operator=(const ShadingAccess&) = delete;

    std::int32_t setSubValue(std::int32_t x, std::int32_t channel, float value);
    std::int32_t setMultValue(std::int32_t x, std::int32_t channel, float value);
    std::int32_t setDefective(std::int32_t x, std::int32_t channel, bool defective);
    std::int32_t lineCount() const;
    std::int32_t activate();
    std::int32_t release();
    /** Rows outside the planes are accepted up to line 8192 and downwards without end, as callers expect; what they
     *  would hold is dropped. */
    std::int32_t writeLine(std::int32_t line);

  private:
    /** What has been set of a pixel. */
    struct Pending {
        std::optional<float> subValue{};
        std::optional<float> multValue{};
        std::optional<bool> defective{};
    };

    /** @return 0, or -2070 when the access is not active or there is no such pixel */
    template <typename T>
    std::int32_t set(std::int32_t x, std::int32_t channel, std::optional<T> Pending::*member, T value);

    static constexpr std::int32_t width_ = qelm::features::shading::planeLimit; ///< pixels per line
    static constexpr std::int32_t maxLine_ = qelm::features::shading::planeLimit;
    static constexpr std::int32_t channels_ = 1;

    qelm::features::shading::Planes& planes_;
    std::function<std::int32_t()> onRelease_;
    std::vector<Pending> pending_; ///< the line being built
    bool active_ = false;
};
