import numpy
import pytest
import qelm

SIZE = 64


@pytest.fixture
def board():
    with qelm.Board() as opened:
        yield opened


@pytest.fixture
def small(board):
    """A board whose pictures are small, with a noisy camera that follows its settings."""
    board.update(FG_WIDTH=SIZE, FG_HEIGHT=SIZE, FG_CAMERA_WIDTH=SIZE, FG_CAMERA_HEIGHT=SIZE)
    return board


@pytest.fixture
def ramp():
    """A grey ramp of the camera's size."""
    return numpy.tile(numpy.arange(SIZE, dtype=numpy.uint8) * 3 + 20, (SIZE, 1))
