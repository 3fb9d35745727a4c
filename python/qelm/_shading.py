"""Shading correction from references."""

from __future__ import annotations

import os
from collections.abc import Iterable
from typing import TYPE_CHECKING, Any, Union

from qelm import _qelm
from qelm._errors import Error

if TYPE_CHECKING:
    import numpy

    _Reference = Union[str, os.PathLike[str], _qelm.Frame, "numpy.ndarray[Any, Any]", Iterable[_qelm.Frame]]


class Shading:
    """The shading correction of a board: `board.shading`."""

    __slots__ = ("_board",)

    def __init__(self, board: _qelm.Board) -> None:
        self._board = board

    def calibrate(self, black: _Reference, gray: _Reference, *, threshold: int | None = None) -> float:
        """Computes and loads the coefficients, and switches the correction of offsets and gains on.

        Args:
            black: taken in the dark: the name of a picture file, a frame, an array of the shape (height, width), or
                several frames, which are averaged. A reference has the size of the camera, and is grabbed without any
                correction; of 16 bits it is left-aligned (FG_BITALIGNMENT=FG_LEFT_ALIGNED), 65535 being white.
            gray: likewise, taken of an even grey that fills the picture
            threshold: pixels that are further from the others than that, in counts of 4096, are marked as defective and
                replaced by their neighbours; None keeps FG_SHADING_DEAD_PIXEL_INTERPOLATION_THRESHOLD

        Returns:
            the normalisation value: the grey level that even light has from now on

        Raises:
            qelm.Error: a reference has not the size of the camera, or is refused
        """
        import tempfile  # slow to import, and seldom needed

        board = self._board
        with tempfile.TemporaryDirectory(prefix="qelm-") as folder:
            board["FG_SHADING_BLACK_FILENAME"] = self._file(black, os.path.join(folder, "black.tif"))
            board["FG_SHADING_GRAY_FILENAME"] = self._file(gray, os.path.join(folder, "gray.tif"))
            if threshold is not None:
                board["FG_SHADING_DEAD_PIXEL_INTERPOLATION_THRESHOLD"] = threshold
                board["FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE"] = "FG_ON"
            board["FG_SHADING_OFFSET_ENABLE"] = "FG_ON"
            board["FG_SHADING_GAIN_ENABLE"] = "FG_ON"
            board["FG_SHADING_APPLY_SETTINGS"] = "FG_APPLY"
        return float(board["FG_SHADING_GAIN_NORMALIZATION_VALUE"])

    def off(self) -> None:
        """Switches every correction off; the coefficients stay."""
        self._board["FG_SHADING_OFFSET_ENABLE"] = "FG_OFF"
        self._board["FG_SHADING_GAIN_ENABLE"] = "FG_OFF"
        self._board["FG_SHADING_DEAD_PIXEL_INTERPOLATION_ENABLE"] = "FG_OFF"

    def _file(self, reference: _Reference, file: str) -> str:
        if isinstance(reference, (str, os.PathLike)):
            return os.fspath(reference)
        picture = reference if isinstance(reference, _qelm.Frame) or hasattr(reference, "shape") else _mean(reference)
        with memoryview(picture) as view:  # type: ignore[arg-type]
            shape = view.shape or ()
            if len(shape) != 2:
                raise TypeError("a reference has the shape (height, width)")
            camera = (self._board["FG_CAMERA_HEIGHT"], self._board["FG_CAMERA_WIDTH"])
            if shape != camera:
                raise Error(
                    f"a reference of {shape[1]} x {shape[0]} pixels does not fit the camera of "
                    f"{camera[1]} x {camera[0]} (FG_CAMERA_WIDTH, FG_CAMERA_HEIGHT): it begins with the camera's first "
                    "pixel, whatever the region of interest is"
                )
            self._board._write_picture(file, view)
        return file


def _mean(frames: Iterable[Any]) -> numpy.ndarray[Any, Any]:
    import numpy

    total = None
    count = 0
    for frame in frames:
        array = numpy.asarray(frame)
        if total is None:
            total = numpy.zeros(array.shape, numpy.uint64)
            dtype = array.dtype
        elif array.shape != total.shape or array.dtype != dtype:
            raise TypeError("the frames of a reference are of one size and type")
        total += array
        count += 1
    if total is None:
        raise ValueError("a reference takes at least one frame")
    return ((total + count // 2) // count).astype(dtype)
