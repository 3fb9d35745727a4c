"""The acquisition applet on a virtual board: parameters, pictures, triggers, shading correction.

    with qelm.Board(camera="sensor=typical", scene="chart") as board:
        board["FG_WIDTH"] = 512
        frame = board.snap()
        frame.array.mean()

docs/python.md begins with the first picture.
"""

from qelm import enumerations
from qelm._board import Board
from qelm._errors import Error, SettingsWarning, Timeout, UnknownName
from qelm._lut import LookupTable
from qelm._parameters import Parameters
from qelm._qelm import Call, Entry, Event, Frame, Frames, Parameter, SignalChange
from qelm._records import SIGNALS, Recording, Trace
from qelm._shading import Shading
from qelm.enumerations import *  # noqa: F403: the IntEnum classes

__all__ = [
    "SIGNALS",
    "Board",
    "Call",
    "Entry",
    "Error",
    "Event",
    "Frame",
    "Frames",
    "LookupTable",
    "Parameter",
    "Parameters",
    "Recording",
    "SettingsWarning",
    "Shading",
    "SignalChange",
    "Timeout",
    "Trace",
    "UnknownName",
    "enumerations",
]
__all__ += enumerations.__all__
