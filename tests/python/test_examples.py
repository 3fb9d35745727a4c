"""The examples do what they say."""

import os
import pathlib
import re
import subprocess
import sys

import pytest

FOLDER = pathlib.Path(os.environ["QELM_EXAMPLES"])


def run(example, folder):
    done = subprocess.run(
        [sys.executable, FOLDER / example], capture_output=True, text=True, cwd=folder, timeout=240
    )
    assert done.returncode == 0, done.stderr
    assert done.stderr == ""
    return [float(number) for number in re.findall(r"-?\d+(?:\.\d+)?", done.stdout)], done.stdout


def test_photon_transfer_finds_the_sensor_s_own_values(tmp_path):
    _, text = run("photon_transfer.py", tmp_path)
    lines = text.splitlines()
    assert len(lines) == 2
    for line in lines:
        gain, black, noise, offset, non_uniformity, sensitivity = map(float, re.findall(r"\d+\.\d+", line))
        assert black == pytest.approx(64, abs=0.5)
        assert noise == pytest.approx(6, rel=0.02)
        assert offset == pytest.approx(5, rel=0.05)
        assert non_uniformity == pytest.approx(1.5, rel=0.03)
        assert sensitivity == pytest.approx(2.048, rel=0.01)


def test_calibration_leaves_what_noise_explains(tmp_path):
    (level, before, after), _ = run("calibration.py", tmp_path)
    assert before > 15 and after < 1
    assert (tmp_path / "calibrated.kcf").stat().st_size > 1000


def test_the_queue_spreads_a_burst(tmp_path):
    numbers, text = run("trigger_experiment.py", tmp_path)
    waiting, *times, events = numbers
    assert waiting >= 2
    assert times == [0, 25, 50, 75, 100, 125]
