"""What type checkers find in programs that use the package."""

import os
import pathlib
import subprocess

PROGRAM = """
import qelm

with qelm.Board(camera="sensor=typical") as board:
    reveal_type(board["FG_WIDTH"])
    reveal_type(board["FG_PROCESSING_GAIN"])
    reveal_type(board["FG_FORMAT"])
    reveal_type(board.params.FG_FORMAT)
    board["FG_WIDTH"] = "wide"
    board.params.FG_WIDHT = 512
    board["FG_FORMAT"] = "FG_GRAY16"
    for frame in board.frames(limit=2):
        reveal_type(frame.number)
"""


def test_types_of_parameters_are_known(tmp_path):
    program = tmp_path / "program.py"
    program.write_text(PROGRAM)
    config = pathlib.Path(__file__).parent / "mypy.ini"
    done = subprocess.run(
        ["mypy", "--config-file", config, program], capture_output=True, text=True, env=os.environ, timeout=240
    )
    lines = [line.split(":", 2)[1:] for line in done.stdout.splitlines() if "program.py:" in line]
    found = {int(number): text.strip() for number, text in lines}
    assert 'Revealed type is "builtins.int"' in found[5]
    assert 'Revealed type is "builtins.float"' in found[6]
    assert 'Revealed type is "qelm.enumerations.PixelFormat"' in found[7]
    assert 'Revealed type is "qelm.enumerations.PixelFormat"' in found[8]
    assert found[10].startswith("error") and "FG_WIDHT" in found[10]
    assert 'Revealed type is "builtins.int"' in found[13]
    assert sorted(found) == [5, 6, 7, 8, 10, 13]
