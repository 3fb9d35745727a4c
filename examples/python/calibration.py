#!/usr/bin/env python3
"""Calibrates a bad sensor, and judges the correction by frames that it has not seen."""

import qelm

SIZE = 384
CAMERA = "sensor=typical,vignetting=70,gain=4"
FRAMES = 8


def open_board(scene, first_frame=0):
    board = qelm.Board(camera=f"{CAMERA},first_frame={first_frame}", scene=scene)
    board.update(FG_WIDTH=SIZE, FG_HEIGHT=SIZE, FG_CAMERA_WIDTH=SIZE, FG_CAMERA_HEIGHT=SIZE)
    return board


def take(scene):
    """Frames of an even scene, which are averaged for a reference."""
    with open_board(scene) as board:
        return list(board.frames(limit=FRAMES))


def non_uniformity(frame):
    """The spread of the pixels, in percent of their mean."""
    return 100 * frame.array.std() / frame.array.mean()


def main():
    black, gray = take("black"), take("gray")
    with open_board("gray", first_frame=1000) as board:
        before = non_uniformity(board.snap())
        level = board.shading.calibrate(black, gray, threshold=245)
        after = non_uniformity(board.snap())
        print(f"normalisation value {level:.1f}; non-uniformity {before:.2f} % before, {after:.2f} % after")
        board.save("calibrated.kcf")


if __name__ == "__main__":
    main()
