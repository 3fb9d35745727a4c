"""The board."""

from __future__ import annotations

import os
import warnings
from collections.abc import Iterator, Mapping
from contextlib import contextmanager
from typing import Any

from qelm import _qelm
from qelm._errors import Error, SettingsWarning
from qelm._lut import LookupTable
from qelm._parameters import Parameters
from qelm._records import Closing, Recording, Trace
from qelm._shading import Shading

_LINK_OPTIONS = frozenset({"geometry", "bits", "width", "height", "match"})


class Board(_qelm.Board, Closing):
    """A virtual board with the applet running on it; a context manager that closes it.

    `board["FG_WIDTH"]` reads a parameter, `board["FG_WIDTH"] = 512` sets it; `board.params.FG_WIDTH` is the same.
    Enumerations are read as IntEnum values and take those, their symbolic names and their numbers.

    The board's time passes while frames are waited for, in `pulse` and in `advance`, and not in between. Any thread may
    call everything; what waits lets other threads run.
    """

    __slots__ = ("_parameters",)

    def __init__(
        self, camera: str = "", scene: str | os.PathLike[str] = "chart", *, applet: str | os.PathLike[str] = ""
    ) -> None:
        """Starts the applet on a new board.

        Args:
            camera: what sends pictures: options as `qelm grab --camera help` lists them, "sensor=typical,mode=free".
                Size, taps and bits follow the settings of the board, unless the options name one of them.
            scene: what the camera looks at: "chart", "ramp", "black", "gray", "white", or a grey TIFF or PNG file
            applet: the applet's library, if not the one that comes with the package

        Raises:
            qelm.Error: the applet does not start, or no such camera can be
        """
        if not _LINK_OPTIONS.intersection(option.partition("=")[0] for option in camera.split(",")):
            camera = "match," + camera
        super().__init__(os.fspath(applet), camera, os.fspath(scene))
        self._parameters = Parameters(self)

    def __repr__(self) -> str:
        return f"<qelm.Board, {'open' if self.is_open else 'closed'}>"

    def __iter__(self) -> Iterator[str]:
        return iter(self.names())

    @property
    def params(self) -> Parameters:
        """The parameters as attributes: `board.params.FG_WIDTH = 512`."""
        return self._parameters

    @property
    def lut(self) -> LookupTable:
        """The lookup table: a sequence of 4096 numbers."""
        return LookupTable(self)

    @property
    def shading(self) -> Shading:
        """The shading correction."""
        return Shading(self)

    def update(self, values: Mapping[str, Any] | None = None, /, **more: Any) -> None:
        """Sets several parameters in their order: all of them, or none when one is refused.

        Raises:
            qelm.Error: as for the one that is refused; a note tells of values that could not be brought back
        """
        self._change({**(values or {}), **more})

    @contextmanager
    def temporarily(self, values: Mapping[str, Any] | None = None, /, **more: Any) -> Iterator[None]:
        """Sets parameters as `update` does, and brings the old values back at the end of the block."""
        before = self._change({**(values or {}), **more})
        try:
            yield
        finally:
            if self.is_open and (failures := self._bring_back(before)):
                raise failures[0]

    def snap(self, timeout: float = 1.0) -> _qelm.Frame:
        """Acquires one frame.

        Args:
            timeout: seconds of the board's time

        Raises:
            qelm.Timeout: none came
            qelm.Error: the board acquires already, or refuses to
        """
        with self.frames(limit=1, timeout=timeout) as frames:
            return next(frames)

    def frames(
        self, limit: int | None = None, timeout: float = 1.0, *, places: int = 4, newest: bool = False
    ) -> _qelm.Frames:
        """Starts to acquire: an iterator over the frames.

        The trigger unit is started, too, unless FG_TRIGGERSTATE has been set or a configuration loaded.

        Args:
            limit: ends after so many frames; None for no end
            timeout: for each frame, in seconds of the board's time; qelm.Timeout is raised when none comes
            places: frames that may come before the oldest that was not taken is overwritten
            newest: leaves out all but the newest frame, for those who are slower than the camera
        """
        if limit is not None and limit < 1:
            raise ValueError(f"a limit is at least one frame, not {limit}")
        if not timeout >= 0:
            raise ValueError(f"a timeout is not negative, as {timeout} is")
        if places < 1:
            raise ValueError(f"an acquisition has at least one place, not {places}")
        mismatch = self._prepare_acquisition()
        if mismatch:
            warnings.warn(mismatch, SettingsWarning, stacklevel=2)
        return _qelm.Frames(self, -1 if limit is None else limit, timeout, places, newest)

    def pulse(self, pin: int = 0, count: int = 1, *, width: float = 100e-6, period: float = 1e-3) -> None:
        """Drives pulses on a trigger input: high for `width` seconds of the board's time, then low to the period's end.

        Args:
            pin: trigger input 0 to 7
            count: number of pulses
            width, period: in seconds; width is less than the period
        """
        if not 0 < width < period:
            raise ValueError(f"a pulse of {width} s does not fit a period of {period} s")
        for _ in range(count):
            self.set_input(pin, True)
            self.advance(width)
            self.set_input(pin, False)
            self.advance(period - width)

    def events(self) -> Recording[_qelm.Event]:
        """Starts to record the events that the board raises; iterate over it to get those that have come."""
        return Recording(self._events_from, self._record_events)

    def signals(self) -> Recording[_qelm.SignalChange]:
        """Starts to record the trigger unit's signals; their values now come first. qelm.SIGNALS has their names."""
        return Recording(self._signals_from, self._record_signals)

    def trace(self) -> Trace:
        """Starts to trace the applet's calls into the vendor libraries: what reaches the design."""
        return Trace(self)

    def save(self, file: str | os.PathLike[str]) -> None:
        """Saves the settings as a configuration file; an older file is replaced as a whole."""
        self._save(os.fspath(file))

    def load(self, file: str | os.PathLike[str], *, strict: bool = False) -> None:
        """Loads a configuration file.

        A load itself says nothing of values that it cannot apply: they are kept and read back, but the design has
        others. Here they are warned about (qelm.SettingsWarning).

        Args:
            file: as `save` writes it
            strict: values that cannot be applied are an error; the settings that could be are in force all the same

        Raises:
            qelm.Error: the file cannot be read, or `strict` and something in it is refused
        """
        self._load(os.fspath(file))
        with open(file, encoding="latin-1") as opened:
            keys = {line.partition("=")[0].strip() for line in opened}
        for sentence in self._out_of_range(keys):
            if strict:
                raise Error(f"{os.fspath(file)}: {sentence}")
            warnings.warn(f"{os.fspath(file)}: {sentence}", SettingsWarning, stacklevel=2)

    def _out_of_range(self, keys: set[str]) -> list[str]:
        """Of the keys of a file, what a set would refuse, and the load therefore did not apply."""
        sentences = []
        for name in filter(keys.__contains__, self.names()):
            info = self.info(name)
            if not info.writable or (info.minimum is None and not info.entries):
                continue
            value = self[name]
            if info.entries:
                is_allowed = value in [entry.value for entry in info.entries]
            else:
                is_allowed = info.minimum <= value <= info.maximum
            if not is_allowed:
                sentences.append(
                    f"{name} = {value} was not applied, and the design has another value: {name} takes {info.allowed}"
                )
        return sentences

    def _change(self, values: Mapping[str, Any]) -> dict[str, Any]:
        before: dict[str, Any] = {}
        try:
            for name, value in values.items():
                old = self[name]
                self[name] = value
                before[name] = old
        except BaseException as error:
            for failure in self._bring_back(before):
                error.add_note(f"and {failure}")
            raise
        return before

    def _bring_back(self, before: Mapping[str, Any]) -> list[Error]:
        failures = []
        for name, value in reversed(list(before.items())):
            try:
                self[name] = value
            except Error as error:
                failures.append(error)
        return failures
