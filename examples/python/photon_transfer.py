#!/usr/bin/env python3
"""Measures a camera by its noise: a sweep over exposure and gain, and what it tells of the sensor.

The spread of each pixel from frame to frame is read noise, whatever the light is. The spread between the pixels' means
grows with the signal, as far as their responses differ: against the square of the signal its variance is a line, whose
slope is the square of that non-uniformity and whose beginning is the fixed pattern without light.
"""

import numpy
import qelm

SENSOR = {"black": 64, "noise": 6, "offset": 5, "gain": 1.5}  # counts of 4096; the gain's spread in percent
SIZE = 256
EXPOSURES = numpy.arange(100.0, 1001.0, 150.0)  # microseconds; the camera exposes for as long as its trigger lasts
GAINS = (1.0, 1.5)
FRAMES = 16


def measure(board):
    """Mean, temporal and spatial variance of the pixels, in counts."""
    stack = numpy.stack([frame.array for frame in board.frames(limit=FRAMES)]).astype(float)
    temporal = stack.var(axis=0, ddof=1).mean()
    spatial = stack.mean(axis=0).var(ddof=1) - temporal / FRAMES  # what is left of the noise in the means
    return stack.mean(), temporal, spatial


def main():
    options = ",".join(f"{name}={value}" for name, value in SENSOR.items())
    with qelm.Board(camera=f"sensor=ideal,nominal=1000,{options}", scene="gray") as board:
        board.update(
            FG_CAMERA_LINK_CAMTYPE="FG_CL_MEDIUM_12_BIT",
            FG_WIDTH=SIZE,
            FG_HEIGHT=SIZE,
            FG_CAMERA_WIDTH=SIZE,
            FG_CAMERA_HEIGHT=SIZE,
            FG_FORMAT="FG_GRAY16",
            FG_BITALIGNMENT="FG_RIGHT_ALIGNED",
            FG_LUT_TYPE="LUT_TYPE_PROCESSING",
        )
        for gain in GAINS:
            board["FG_PROCESSING_GAIN"] = gain
            points = []
            for exposure in EXPOSURES:
                board["FG_TRIGGER_PULSEFORMGEN0_WIDTH"] = exposure
                points.append(measure(board))
            mean, temporal, spatial = numpy.array(points).T
            sensitivity, black = numpy.polyfit(EXPOSURES, mean, 1)
            slope, beginning = numpy.polyfit((mean - black) ** 2, spatial, 1)
            # In front of the gain, as the sensor has it.
            print(
                f"gain {gain}: black {black / gain:.1f}, noise {(temporal.mean() ** 0.5) / gain:.2f}, "
                f"offset {beginning**0.5 / gain:.2f}, non-uniformity {100 * slope**0.5:.2f} %, "
                f"{sensitivity / gain:.3f} counts per microsecond"
            )


if __name__ == "__main__":
    main()
