"""What happened on a board, as it is asked for."""

from __future__ import annotations

from collections.abc import Iterator
from types import TracebackType
from typing import Callable, Generic, Self, TypeVar

from qelm import _qelm

_Record = TypeVar("_Record")

SIGNALS: tuple[str, ...] = (
    *(f"input {pin}" for pin in range(8)),
    "queue",
    *(f"generator {number}" for number in range(4)),
    *(f"camera control {line}" for line in range(4)),
    *(f"output {line}" for line in range(8)),
    "exposure",
    "frame",
)
"""The names of the signals, by their numbers."""


class Closing:
    """A context manager that closes at its end."""

    __slots__ = ()

    def __enter__(self) -> Self:
        return self

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        self.close()

    def close(self) -> None:
        """Closes; doing so again does nothing."""
        raise NotImplementedError


class Recording(Closing, Generic[_Record]):
    """What has been recorded since it was started. Iterating yields what came since the iteration before.

    A context manager that stops the recording at its end.
    """

    __slots__ = ("_read", "_record", "_position")

    def __init__(self, read: Callable[[int], list[_Record]], record: Callable[[bool], None]) -> None:
        self._read = read
        self._record = record
        self._position = 0
        record(True)

    def __iter__(self) -> Iterator[_Record]:
        for record in self._read(self._position):
            self._position += 1
            yield record

    def close(self) -> None:
        """Stops recording and forgets what was recorded."""
        self._record(False)


class Trace(Closing):
    """The calls of the applet into the vendor libraries since the trace was started: `list(trace)`.

    There is one trace for all boards of the process; this shows the calls of its own board. A context manager that
    stops the tracing at its end; what was traced until then stays.
    """

    __slots__ = ("_board", "_calls")

    def __init__(self, board: _qelm.Board) -> None:
        self._board = board
        self._calls: list[_qelm.Call] | None = None
        board._start_trace()

    def __iter__(self) -> Iterator[_qelm.Call]:
        return iter(self._board._trace() if self._calls is None else self._calls)

    @property
    def writes(self) -> list[str]:
        """What changed the board, as "target=value"."""
        return [f"{call.target}={call.value}" for call in self if call.is_write]

    def close(self) -> None:
        """Stops tracing."""
        if self._calls is None:
            self._calls = self._board._trace() if self._board.is_open else []
            self._board._stop_trace()
