"""Parameters, configurations, the lookup table, shading correction, and what happens on a board."""

import enum
import pathlib
import threading

import numpy
import pytest
import qelm


def test_values_are_of_the_parameter_s_type(board):
    board["FG_WIDTH"] = 512
    board["FG_PROCESSING_GAIN"] = 2  # a whole number is a number
    board["FG_SHADING_BLACK_FILENAME"] = pathlib.Path("black.tif")
    assert board["FG_WIDTH"] == 512 and type(board["FG_WIDTH"]) is int
    assert board["FG_PROCESSING_GAIN"] == 2.0 and type(board["FG_PROCESSING_GAIN"]) is float
    assert board["FG_SHADING_BLACK_FILENAME"] == "black.tif"
    assert board.params.FG_WIDTH == 512
    board.params.FG_WIDTH = numpy.uint16(256)
    assert board["FG_WIDTH"] == 256


@pytest.mark.parametrize("value", [qelm.enumerations.PixelFormat.FG_GRAY16, "FG_GRAY16", 1])
def test_enumerations_take_values_names_and_numbers(board, value):
    board["FG_FORMAT"] = value
    assert board["FG_FORMAT"] is qelm.enumerations.PixelFormat.FG_GRAY16
    assert isinstance(board.params.FG_FORMAT, enum.IntEnum)


def test_what_is_known_follows_other_parameters(board):
    assert board.info("FG_WIDTH").maximum == 1024
    board.update(FG_WIDTH=512, FG_XOFFSET=64)
    info = board.info("FG_WIDTH")
    assert (info.minimum, info.maximum, info.step, info.unit, info.writable) == (16, 960, 16, "pixel", True)
    assert [(entry.name, entry.value) for entry in board.info("FG_FORMAT").entries] == [
        ("FG_GRAY", 3),
        ("FG_GRAY16", 1),
    ]
    assert not board.info("FG_APPLET_ID").writable
    assert "FG_WIDTH" in board and "FG_WIDHT" not in board
    assert len(board.names()) == len(set(board)) > 130


def test_a_refusal_says_why(board):
    with pytest.raises(qelm.Error, match="FG_WIDTH = 5000 was refused") as caught:
        board["FG_WIDTH"] = 5000
    error = caught.value
    assert (error.code, error.name, error.parameter) == (-6000, "FG_ERROR_OUT_OF_RANGE", "FG_WIDTH")
    assert error.allowed == "16 to 1024 pixel in steps of 16"
    assert board["FG_WIDTH"] == 1024
    with pytest.raises(qelm.Error, match="FG_GRAY16") as caught:
        board["FG_FORMAT"] = "FG_GRAY15"
    assert caught.value.allowed == "FG_GRAY (3) or FG_GRAY16 (1)"


@pytest.mark.parametrize("number", [-1, 2**32, 2**64, 10**30])
def test_numbers_beyond_the_type_are_refused_not_cut(board, number):
    with pytest.raises((qelm.Error, TypeError), match="FG_WIDTH"):
        board["FG_WIDTH"] = number
    assert board["FG_WIDTH"] == 1024


@pytest.mark.parametrize(
    "name, value",
    [("FG_WIDTH", 512.0), ("FG_WIDTH", None), ("FG_WIDTH", "wide"), ("FG_FORMAT", 1.0), ("FG_PROCESSING_GAIN", [1])],
)
def test_wrong_types_are_type_errors(board, name, value):
    before = board[name]
    with pytest.raises(TypeError, match=name):
        board[name] = value
    assert board[name] == before


def test_unknown_names_suggest_the_nearest(board):
    for attempt in (
        lambda: board["FG_WIDHT"],
        lambda: board.params.FG_WIDHT,
        lambda: setattr(board.params, "FG_WIDHT", 1),
        lambda: board.info("FG_WIDHT"),
        lambda: board.update(FG_WIDHT=1),
    ):
        with pytest.raises(qelm.UnknownName, match="Did you mean FG_WIDTH"):
            attempt()
    assert issubclass(qelm.UnknownName, (KeyError, AttributeError))
    with pytest.raises(AttributeError):
        board.FG_WIDTH = 512
    with pytest.raises(AttributeError):
        board.params.FG_APPLET_ID = 1


def test_an_update_is_all_or_nothing(board):
    with board.trace() as trace, pytest.raises(qelm.Error, match="FG_WIDTH = 1000"):
        board.update({"FG_HEIGHT": 512, "FG_YOFFSET": 64, "FG_FORMAT": "FG_GRAY16", "FG_WIDTH": 1000})
    assert (board["FG_HEIGHT"], board["FG_YOFFSET"], board["FG_FORMAT"]) == (1024, 0, 3)
    heights = [write for write in trace.writes if "ROI_Y_Length" in write]
    assert [height.split("=")[1] for height in heights] == ["512", "1024"]  # there and back
    board.update({"FG_WIDTH": 512, "FG_XOFFSET": 64}, FG_HEIGHT=500)
    assert (board["FG_WIDTH"], board["FG_XOFFSET"], board["FG_HEIGHT"]) == (512, 64, 500)


def test_temporary_values_go_back(board):
    with pytest.raises(ZeroDivisionError), board.temporarily(FG_WIDTH=512, FG_XOFFSET=512):
        assert (board["FG_WIDTH"], board["FG_XOFFSET"]) == (512, 512)
        1 / 0  # noqa: B018
    assert (board["FG_WIDTH"], board["FG_XOFFSET"]) == (1024, 0)


def test_configurations_are_saved_and_loaded(board, tmp_path):
    file = tmp_path / "Gerät 図.kcf"
    board.update(FG_WIDTH=512, FG_XOFFSET=64)
    board.save(file)
    with qelm.Board() as other:
        other.load(file)
        assert (other["FG_WIDTH"], other["FG_XOFFSET"]) == (512, 64)
    with pytest.raises(qelm.Error, match="missing.kcf"):
        board.load(tmp_path / "missing.kcf")
    with pytest.raises(qelm.Error, match="saving") as caught:
        board.save(tmp_path / "nowhere" / "file.kcf")
    assert caught.value.code == -5001


def test_values_that_a_load_does_not_apply_are_told(board, tmp_path):
    file = tmp_path / "damaged.kcf"
    board.save(file)
    text = file.read_text()
    assert "FG_WIDTH=1024" in text
    file.write_text(text.replace("FG_WIDTH=1024", "FG_WIDTH=9000"))
    with pytest.warns(qelm.SettingsWarning, match="FG_WIDTH = 9000 was not applied"):
        board.load(file)
    with pytest.raises(qelm.Error, match="FG_WIDTH = 9000"):
        board.load(file, strict=True)


def test_the_lookup_table_is_a_sequence(small):
    small["FG_LUT_TYPE"] = "LUT_TYPE_CUSTOM"
    small.lut[:] = numpy.arange(4096)[::-1]
    assert len(small.lut) == 4096
    assert (small.lut[0], small.lut[-1], small.lut[1:4]) == (4095, 0, [4094, 4093, 4092])
    small.lut[5] = 7
    small.lut[0:4:2] = [1, 2]
    assert list(small.lut)[:6] == [1, 4094, 2, 4092, 4091, 7]
    assert numpy.asarray(small.lut).dtype == numpy.uint16
    wrong = [(0, 4096, qelm.Error), (0, -1, ValueError), (0, 1.5, TypeError), (4096, 0, IndexError)]
    for index, value, kind in [*wrong, (slice(3), [1], ValueError)]:
        with pytest.raises(kind):
            small.lut[index] = value
    with pytest.raises(qelm.Error):
        small.lut[0:2] = [3, 5000]
    assert small.lut[0] == 1  # none of them


def test_the_lookup_table_reaches_the_picture(small):
    plain = small.snap().array
    small["FG_LUT_TYPE"] = "LUT_TYPE_CUSTOM"
    small.lut[:] = range(4095, -1, -1)
    assert numpy.array_equal(small.snap().array, 255 - plain)


def test_shading_is_calibrated_from_arrays_frames_and_files(small, ramp, tmp_path):
    dark = numpy.zeros_like(ramp)
    level = small.shading.calibrate(dark, ramp)
    assert level > 0
    small._write_picture(str(tmp_path / "black.tif"), dark)
    small._write_picture(str(tmp_path / "gray.tif"), ramp)
    assert small.shading.calibrate(tmp_path / "black.tif", str(tmp_path / "gray.tif")) == level
    assert (small["FG_SHADING_OFFSET_ENABLE"], small["FG_SHADING_GAIN_ENABLE"]) == (1, 1)
    small.shading.off()
    assert (small["FG_SHADING_OFFSET_ENABLE"], small["FG_SHADING_GAIN_ENABLE"]) == (0, 0)
    frames = list(small.frames(limit=3))
    small.shading.calibrate(dark, frames)
    with pytest.raises(qelm.Error, match="does not fit the camera"):
        small.shading.calibrate(dark[:-2], ramp)
    with pytest.raises(TypeError):
        small.shading.calibrate(dark.astype(float), ramp)
    with pytest.raises(ValueError, match="at least one frame"):
        small.shading.calibrate([], ramp)


def test_what_happens_is_recorded(small):
    small.update(FG_AREATRIGGERMODE="ATM_EXTERNAL", FG_TRIGGERSTATE="TS_ACTIVE")
    with small.events() as events, small.signals() as signals:
        small.pulse(pin=0, count=3, width=1e-3, period=0.2)
        first = [event for event in events if event.name.endswith("InputEvents_Pin0")]
        assert [event.timestamp - first[0].timestamp for event in first] == [0, 200_000_000, 400_000_000]
        assert list(events) == []
        small.pulse(pin=0, period=0.2)
        assert any(event.name.endswith("InputEvents_Pin0") for event in events)
        exposure = qelm.SIGNALS.index("exposure")
        assert sum(change.signal == exposure and change.value for change in signals) == 4
    with pytest.raises(ValueError):
        small.pulse(width=1e-3, period=1e-3)
    with pytest.raises(qelm.Error):
        small.pulse(pin=8)
    before = small.time
    small.advance(0.5)
    assert small.time - before == 500_000_000


def test_calls_are_traced_and_fail_on_demand(board):
    with board.trace() as trace:
        board["FG_WIDTH"] = 512
    assert "Device1_Process0_Buffer_0_ROI_X_Length=512" in trace.writes
    board["FG_WIDTH"] = 256
    assert "Device1_Process0_Buffer_0_ROI_X_Length=256" not in trace.writes
    board.fail(target="Device1_Process0_Buffer_0_ROI_X_Length", code=-4711)
    with pytest.raises(qelm.Error) as caught:
        board["FG_WIDTH"] = 128
    assert caught.value.code == -4711 and board["FG_WIDTH"] == 256
    board.fail(call="Fg_setParameterWithType", count=1000)
    board.clear_faults()
    board["FG_WIDTH"] = 128


def test_two_boards_are_independent(board):
    with qelm.Board() as other:
        other["FG_WIDTH"] = 512
        assert board["FG_WIDTH"] == 1024
    assert board.is_open and not other.is_open
    with pytest.raises(qelm.Error, match="closed"):
        other["FG_WIDTH"]
    other.close()


@pytest.mark.parametrize(
    "arguments, sentence",
    [
        ({"camera": "width=17"}, "width"),
        ({"camera": "colour=red"}, "no camera option"),
        ({"scene": "nowhere.png"}, "nowhere.png"),
        ({"applet": "/nowhere/applet.so"}, "nowhere"),
    ],
)
def test_a_board_that_cannot_be_says_why(arguments, sentence):
    with pytest.raises(qelm.Error, match=sentence):
        qelm.Board(**arguments)


def test_threads_share_a_board(board):
    """Values of one thread never tear, and closing waits for calls that run."""
    failures = []

    def work(width):
        try:
            for _ in range(300):
                board["FG_WIDTH"] = width
                assert board["FG_WIDTH"] in (256, 512)
        except qelm.Error as error:
            if "closed" not in str(error):
                failures.append(error)
        except BaseException as error:
            failures.append(error)

    board["FG_WIDTH"] = 256
    threads = [threading.Thread(target=work, args=(width,)) for width in (256, 512, 256, 512)]
    for thread in threads:
        thread.start()
    threads[0].join()
    board.close()
    for thread in threads:
        thread.join()
    assert failures == []
