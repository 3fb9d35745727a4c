"""The lookup table as a sequence."""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from typing import TYPE_CHECKING, Any, SupportsIndex, overload

from qelm import _qelm

if TYPE_CHECKING:
    import numpy


class LookupTable:
    """The 4096 entries of the lookup table, 0 to 4095 each: `board.lut[:] = curve`.

    Written entries take effect at once when FG_LUT_TYPE is LUT_TYPE_CUSTOM.
    """

    __slots__ = ("_board",)

    SIZE = 4096

    def __init__(self, board: _qelm.Board) -> None:
        self._board = board

    def __len__(self) -> int:
        return self.SIZE

    def __iter__(self) -> Iterator[int]:
        return iter(self._board._lookup_table())

    @overload
    def __getitem__(self, index: SupportsIndex) -> int: ...
    @overload
    def __getitem__(self, index: slice) -> list[int]: ...
    def __getitem__(self, index: SupportsIndex | slice) -> int | list[int]:
        return self._board._lookup_table()[index]

    @overload
    def __setitem__(self, index: SupportsIndex, value: int) -> None: ...
    @overload
    def __setitem__(self, index: slice, value: Sequence[int] | numpy.ndarray[Any, Any]) -> None: ...
    def __setitem__(self, index: Any, value: Any) -> None:
        if not isinstance(index, slice):
            position = range(self.SIZE)[index]
            self._board._set_lookup_table(position, [_entry(value)])
            return
        positions = range(self.SIZE)[index]
        values = [_entry(each) for each in value]
        if len(values) != len(positions):
            raise ValueError(f"{len(positions)} entries take as many values, not {len(values)}")
        if positions.step == 1:
            self._board._set_lookup_table(positions.start, values)
            return
        table = self._board._lookup_table()
        table[index] = values
        self._board._set_lookup_table(0, table)

    def __array__(self, dtype: Any = None, copy: bool | None = None) -> numpy.ndarray[Any, Any]:
        import numpy

        return numpy.array(self._board._lookup_table(), dtype=numpy.uint16 if dtype is None else dtype)


def _entry(value: Any) -> int:
    number = value.__index__() if hasattr(value, "__index__") else value
    if not isinstance(number, int):
        raise TypeError(f"an entry of the lookup table is a whole number, not {type(value).__name__}")
    if not 0 <= number <= 0xFFFF_FFFF:
        raise ValueError(f"an entry of the lookup table is 0 to 4095, not {number}")
    return number
