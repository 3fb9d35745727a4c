"""Pictures: what they hold, how long they live, and how an acquisition ends."""

import gc
import subprocess
import sys
import threading
import time

import numpy
import pytest
import qelm


def test_a_frame_is_an_array_without_a_copy(small):
    small.update(FG_FORMAT="FG_GRAY16", FG_WIDTH=48)
    frame = small.snap()
    assert (frame.width, frame.height, frame.bits) == (48, 64, 16)
    assert frame.array.shape == (64, 48) and frame.array.dtype == numpy.uint16
    assert frame.array.base is frame
    assert numpy.shares_memory(frame.array, numpy.asarray(frame))
    with pytest.raises(ValueError):
        frame.array[0, 0] = 1
    with pytest.raises(ValueError):
        frame.array.setflags(write=True)
    with memoryview(frame) as view:
        assert (view.shape, view.format, view.readonly) == ((64, 48), "H", True)
        assert view[3, 5] == frame.array[3, 5]


def test_the_picture_is_the_scene(small, ramp, tmp_path):
    file = tmp_path / "ramp.png"
    small._write_picture(str(file), ramp)
    with qelm.Board(scene=file) as board:
        board.update(FG_WIDTH=64, FG_HEIGHT=64, FG_CAMERA_WIDTH=64, FG_CAMERA_HEIGHT=64)
        assert numpy.array_equal(board.snap().array, ramp)


def test_frames_carry_number_and_time(small):
    frames = list(small.frames(limit=5))
    assert [frame.number for frame in frames] == [1, 2, 3, 4, 5]
    assert len({b.timestamp - a.timestamp for a, b in zip(frames, frames[1:])}) <= 2  # evenly, to the clock's tick
    assert all(frame.trigger_time < frame.timestamp for frame in frames)
    assert {(frame.lost, frame.missing, frame.skipped) for frame in frames} == {(0, 0, 0)}


def test_frames_outlive_the_board_and_never_change(small):
    frames = []
    acquisition = small.frames(places=2)
    for frame in acquisition:
        frames.append((frame.array, frame.array.copy()))
        if len(frames) == 12:  # more than there are places: what is held is replaced, not overwritten
            break
    small.close()
    del frame, acquisition
    gc.collect()
    for array, copy in frames:
        assert numpy.array_equal(array, copy)
    assert len({array.ctypes.data for array, _ in frames}) == 12


def test_memory_goes_back_with_the_last_reference(small):
    addresses = set()
    for frame in small.frames(limit=50):
        addresses.add(frame.array.ctypes.data)
    assert len(addresses) < 15


def test_a_timeout_is_one_in_every_sense(small):
    small.update(FG_AREATRIGGERMODE="ATM_EXTERNAL")
    with small.frames(timeout=0.2) as frames:
        before = small.time
        with pytest.raises(TimeoutError) as caught:
            next(frames)
        assert isinstance(caught.value, qelm.Timeout) and isinstance(caught.value, qelm.Error)
        assert caught.value.code == -2110
        assert 200_000_000 <= small.time - before < 260_000_000
        small.pulse()
        assert next(frames).number == 1  # goes on


def test_one_acquisition_at_a_time(small):
    with small.frames() as frames:
        next(frames)
        with pytest.raises(qelm.Error) as caught:
            small.snap()
        assert caught.value.code == -2115
    assert small.snap().number == 1
    with pytest.raises(StopIteration):
        next(frames)
    for wrong in ({"limit": 0}, {"timeout": -1}, {"timeout": float("nan")}, {"places": 0}):
        with pytest.raises(ValueError):
            small.frames(**wrong)


def test_a_picture_of_another_size_is_an_error_not_a_cut_picture(small):
    with small.frames() as frames:
        next(frames)
        small["FG_WIDTH"] = 32
        with pytest.raises(qelm.Error):
            for _ in range(4):  # those that are on their way still fit
                next(frames)


def test_leaving_while_another_thread_waits(small):
    small.update(FG_AREATRIGGERMODE="ATM_EXTERNAL")
    ended = []

    def wait():
        try:
            for _ in small.frames(timeout=1e6):
                pass
        except qelm.Error as error:
            ended.append(str(error))

    thread = threading.Thread(target=wait)
    thread.start()
    time.sleep(0.2)
    small.close()
    thread.join(30)
    assert not thread.is_alive() and ended == ["the board is closed"]


def test_the_interpreter_goes_on_while_a_frame_is_waited_for(small):
    small.update(FG_AREATRIGGERMODE="ATM_EXTERNAL")
    counted = 0
    thread = threading.Thread(target=lambda: pytest.raises(qelm.Error, lambda: small.snap(timeout=1e6)))
    thread.start()
    end = time.monotonic() + 0.2
    while time.monotonic() < end:
        counted += 1
    small.close()
    thread.join()
    assert counted > 1000


def test_control_c_ends_a_wait():
    program = """
import os, signal, threading, qelm
with qelm.Board() as board:
    board["FG_AREATRIGGERMODE"] = "ATM_EXTERNAL"
    threading.Timer(0.2, lambda: os.kill(os.getpid(), signal.SIGINT)).start()
    try:
        board.snap(timeout=1e6)
    except KeyboardInterrupt:
        print("interrupted", board["FG_WIDTH"])
"""
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, timeout=60)
    assert done.stdout == "interrupted 1024\n", done.stderr


def test_the_camera_follows_the_settings_or_is_warned_about():
    with qelm.Board(camera="sensor=ideal", scene="white") as board:
        board.update(FG_WIDTH=64, FG_HEIGHT=32, FG_CAMERA_WIDTH=64, FG_CAMERA_HEIGHT=32)
        assert (board.snap().array == 255).all()
    with qelm.Board(camera="width=512,height=512") as board:
        with pytest.warns(qelm.SettingsWarning, match="512 x 512 .* 1024 x 1024"):
            board.frames().close()


def test_the_state_of_the_trigger_unit_is_the_program_s(small):
    assert small["FG_TRIGGERSTATE"] == qelm.enumerations.TriggerState.TS_SYNC_STOP
    small["FG_TRIGGERSTATE"] = "TS_SYNC_STOP"
    with pytest.raises(qelm.Timeout):
        small.snap(timeout=0.3)


def test_big_frames():
    with qelm.Board(scene="white") as board:
        board.update(FG_CAMERA_WIDTH=8192, FG_CAMERA_HEIGHT=8192)
        board.update(FG_WIDTH=8192, FG_HEIGHT=8192, FG_FORMAT="FG_GRAY16")
        board["FG_TRIGGER_FRAMESPERSECOND"] = 1.0
        frame = board.snap(timeout=10)
    assert frame.array.shape == (8192, 8192) and frame.array.nbytes == 2**27
    assert frame.array[0, 0] == frame.array[8191, 8191] == 255 << 8


def test_numpy_comes_only_with_an_array():
    program = """
import sys, qelm
with qelm.Board() as board:
    frame = board.snap()
    assert len(bytes(memoryview(frame))) == 1024 * 1024
    assert "numpy" not in sys.modules
    frame.array
    assert "numpy" in sys.modules
"""
    subprocess.run([sys.executable, "-c", program], check=True, timeout=60)
