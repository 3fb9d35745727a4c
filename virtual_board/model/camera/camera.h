#pragma once

#include "model/camera/camera_link.h"
#include "model/camera/camera_options.h"
#include "model/camera/scene.h"
#include "model/camera/sensor.h"

#include <cstdint>

namespace qelm::virtual_board {

/** An image as the camera sends it. Camera and scene have to live as long. */
class CameraFrame : public LinkFrame {
  public:
    /**
     * @param sensor    of a size that a camera can have
     * @param number    of the frame, from 0
     * @param exposure  factor for the scene's light; 1 sends the scene as it is
     */
    CameraFrame(const Scene& scene, const Sensor& sensor, Geometry geometry, LinkFormat format, std::uint64_t number,
                double exposure)
        : scene_(&scene)
        , sensor_(&sensor)
        , geometry_(geometry)
        , format_(format)
        , number_(number)
        , exposure_(exposure) {}

    std::uint32_t lines() const override { return sensor_->height() / 2; }
    std::uint32_t clocks() const override { return sensor_->width() / 2; }
    void line(std::uint32_t index, std::span<LinkWord> words) const override;

  private:
    const Scene* scene_;
    const Sensor* sensor_;
    Geometry geometry_;
    LinkFormat format_;
    std::uint64_t number_;
    double exposure_;
};

/** A camera with its scene, set up once. */
class Camera {
  public:
    /** @throws CameraError for options that no camera can have and for a scene that cannot be had */
    explicit Camera(const CameraOptions& options);

    const CameraOptions& options() const { return options_; }
    /**
     * @param number        of the frame, from 0; the options' first frame comes on top
     * @param exposureTime  in nanoseconds
     */
    CameraFrame frame(std::uint64_t number, std::uint64_t exposureTime) const;

  private:
    CameraOptions options_;
    Scene scene_;
    Sensor sensor_;
};

} // namespace qelm::virtual_board
