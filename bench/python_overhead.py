#!/usr/bin/env python3
"""What the Python package adds to the applet's own time: the best of several rounds each, in one table.

    PYTHONPATH=build/native/python bench/python_overhead.py

The export's own time is what bench/dispatch_benchmark reports for the same parameters.
"""

import subprocess
import sys
import timeit

import qelm

ROUNDS = 15


def best(statement, names, number):
    return min(timeit.repeat(statement, globals=names, number=number, repeat=ROUNDS)) / number * 1e6


def row(text, microseconds):
    print(f"{text:58}{microseconds:10.2f} µs")


def frames(width, height):
    with qelm.Board(camera="mode=free") as board:
        board.update(FG_CAMERA_WIDTH=8192, FG_CAMERA_HEIGHT=8192)
        board.update(FG_WIDTH=width, FG_HEIGHT=height, FG_CAMERA_WIDTH=max(width, 16), FG_CAMERA_HEIGHT=height)
        frame = board.snap(timeout=10)
        assert frame.array.shape == (height, width)
        return frame


def main():
    with qelm.Board() as board:
        names = {"board": board, "value": qelm.OnOff.FG_ON}
        row('board["FG_WIDTH"]', best('board["FG_WIDTH"]', names, 20000))
        row('board["FG_FORMAT"], an enumeration', best('board["FG_FORMAT"]', names, 20000))
        row('board["FG_PROCESSING_GAIN"], a floating-point number', best('board["FG_PROCESSING_GAIN"]', names, 20000))
        row("board.params.FG_WIDTH", best("board.params.FG_WIDTH", names, 20000))
        row('board["FG_TIMEOUT"] = 5', best('board["FG_TIMEOUT"] = 5', names, 20000))
        row('board["FG_FORMAT"] = "FG_GRAY"', best('board["FG_FORMAT"] = "FG_GRAY"', names, 20000))
    for width, height in ((16, 2), (8192, 8192)):
        row(f"frame.array, {width} x {height}", best("frame.array", {"frame": frames(width, height)}, 2000))
    interpreter = "import sys; sys.path[:0] = %r; " % sys.path
    start = "import time; t = time.perf_counter(); import qelm; print(time.perf_counter() - t); "
    times = [
        float(subprocess.check_output([sys.executable, "-c", interpreter + start + 'assert "numpy" not in sys.modules']))
        for _ in range(ROUNDS)
    ]
    row("import qelm, without NumPy", min(times) * 1e6)


if __name__ == "__main__":
    main()
