"""The server's API and its security rules, against the running program."""

import concurrent.futures
import json
import pathlib
import re
import socket
import struct
import subprocess
import threading
import time

import pytest

from conftest import Refused, SMALL, StreamEnded, eventually


def status_of(server, method, path, body=None, headers=None, token=True):
    return server.raw(method, path, body, headers, token)[0]


# Security


@pytest.mark.parametrize("path", ["/api/board", "/api/parameters", "/api/stream", "/api/nothing"])
def test_api_wants_the_token(server, path):
    assert status_of(server, "GET", path, token=False) == 401
    assert status_of(server, "GET", path, headers={"Authorization": "Bearer " + "0" * 32}) == 401
    assert status_of(server, "GET", path, headers={"Authorization": server.token}) == 401


@pytest.mark.parametrize("headers, status", [
    ({"Host": "evil.example"}, 403),
    ({"Host": "127.0.0.1.evil.example:80"}, 403),
    ({"Host": "localhost"}, 200),
    ({"Host": "[::1]:99"}, 200),
    ({"Origin": "http://evil.example"}, 403),
    ({"Origin": "null"}, 403),
    ({"Host": "localhost:7", "Origin": "http://localhost:7"}, 200),
    ({"Host": "localhost:7", "Origin": "http://localhost:8"}, 403),
    ({"Sec-Fetch-Site": "cross-site"}, 403),
    ({"Sec-Fetch-Site": "same-site"}, 403),
    ({"Sec-Fetch-Site": "same-origin"}, 200),
])
def test_other_hosts_and_origins_are_refused(server, headers, status):
    assert status_of(server, "GET", "/api/board", headers=headers) == status
    assert status_of(server, "GET", "/", headers=headers, token=False) == status


def test_the_page_loads_nothing_from_elsewhere(server):
    status, headers, content = server.raw("GET", "/", token=False)
    assert status == 200 and b"<html" in content
    policy = dict(part.strip().split(" ", 1) for part in headers["Content-Security-Policy"].split(";"))
    assert policy["default-src"] == "'none'"
    for kind in ("script-src", "style-src", "connect-src"):
        assert policy[kind] == "'self'"
    assert headers["X-Content-Type-Options"] == "nosniff"
    assert headers["Referrer-Policy"] == "no-referrer"
    assert headers["Set-Cookie"] is None
    assert headers["Access-Control-Allow-Origin"] is None
    assert b"http://" not in content and b"https://" not in content


@pytest.mark.parametrize("method, path, body, headers, status", [
    ("POST", "/api/parameters", "{}", {"Content-Type": "text/plain"}, 415),
    ("POST", "/api/parameters", "{}", {}, 415),
    ("POST", "/api/parameters", "[]", {"Content-Type": "application/json"}, 400),
    ("POST", "/api/parameters", "{", {"Content-Type": "application/json"}, 400),
    ("POST", "/api/parameters", '{"set": [{"name": 3}]}', {"Content-Type": "application/json"}, 400),
    ("GET", "/api/nothing", None, {}, 404),
    ("DELETE", "/api/board", None, {}, 405),
    ("PUT", "/", "x", {}, 405),
    ("GET", "/api/%zz", None, {}, 400),
    pytest.param("PUT", "/api/configuration", b"x" * (4 * 1024 * 1024 + 1), {}, 413, id="large file"),
    pytest.param("POST", "/api/parameters", b"x" * (1024 * 1024 + 1), {"Content-Type": "application/json"}, 413,
                 id="large JSON"),
    ("GET", "/api/board", None, {"X-Long": "x" * 20000}, 431),
])
def test_what_is_no_request(server, method, path, body, headers, status):
    assert status_of(server, method, path, body, headers) == status


def test_rubbish_ends_its_connection_alone(server):
    for rubbish in (b"\0\1\2\3" * 100, b"GET / HTTP/9.9\r\n\r\n", b"POST /api/time HTTP/1.1\r\nContent-Length: -1\r\n\r\n"):
        with socket.create_connection(("127.0.0.1", server.port), timeout=10) as connection:
            connection.sendall(rubbish)
            connection.shutdown(socket.SHUT_WR)
            while connection.recv(4096):
                pass
    assert server.get("/api/board")["acquiring"]


def test_too_many_connections_are_turned_away(start):
    server = start(*SMALL)
    idle = [socket.create_connection(("127.0.0.1", server.port), timeout=10) for _ in range(16)]
    eventually(lambda: status_of(server, "GET", "/api/board") == 503)
    for connection in idle:
        connection.close()
    eventually(lambda: status_of(server, "GET", "/api/board") == 200)


# Parameters


def test_parameters_are_described_as_they_are_now(server):
    everything = {one["name"]: one for one in server.get("/api/parameters")["parameters"]}
    assert len(everything) > 100
    width = everything["FG_WIDTH"]
    assert (width["value"], width["start"], width["minimum"], width["maximum"], width["increment"], width["unit"]) == (
        256, 256, 16, 256, 16, "pixel")
    assert {"name": "FG_GRAY16", "value": 1} == {
        key: entry[key] for entry in everything["FG_FORMAT"]["entries"] if entry["name"] == "FG_GRAY16"
        for key in ("name", "value")}
    assert server.get("/api/parameters/FG_WIDTH") == width
    with pytest.raises(Refused) as refused:
        server.get("/api/parameters/FG_WITDH")
    assert refused.value.status == 404 and "FG_WIDTH" in refused.value.error["sentence"]


def test_a_set_tells_what_changed_and_what_was_written(server):
    answer = server.set(FG_WIDTH=128)
    changed = {one["name"]: one for one in answer["changed"]}
    assert changed["FG_WIDTH"]["value"] == 128
    assert changed["FG_XOFFSET"]["maximum"] == 128  # a partner's limit follows
    assert any(write.endswith("Buffer_0_ROI_X_Length=128") for write in answer["writes"])
    answer = server.post("/api/parameters/reset", {"names": ["FG_WIDTH"]})
    assert server.value("FG_WIDTH") == 256


def test_settings_are_made_wholly_or_not_at_all(server):
    with pytest.raises(Refused) as refused:
        server.set(("FG_WIDTH", 128), ("FG_XOFFSET", 64), ("FG_HEIGHT", 5000))
    error = refused.value.error
    assert refused.value.status == 409
    assert (error["code"], error["name"], error["parameter"], error["value"]) == (
        -6000, "FG_ERROR_OUT_OF_RANGE", "FG_HEIGHT", 128)
    assert error["allowed"].startswith("2 to 128")
    assert "FG_HEIGHT = 5000 was refused" in error["sentence"]
    assert (server.value("FG_WIDTH"), server.value("FG_XOFFSET")) == (256, 0)
    with pytest.raises(Refused):
        server.set(("FG_WIDTH", 128), ("FG_HEIGHT", "many"))
    assert server.value("FG_WIDTH") == 256


@pytest.mark.parametrize("name, value, status", [
    ("FG_WITDH", 1, 404),
    ("FG_WIDTH", "many", 400),
    ("FG_WIDTH", None, 400),
    ("FG_WIDTH", {"value": 3}, 400),
    ("FG_CAMSTATUS", 1, 409),
    ("FG_FORMAT", "FG_COLOUR", 409),
    # Names of files would be read and written with the rights of whoever runs the server.
    ("FG_LUT_SAVE_FILE", "table.lut", 409),
    ("FG_LUT_CUSTOM_FILE", "/etc/passwd", 409),
    ("FG_SHADING_BLACK_FILENAME", "black.tif", 409),
])
def test_refused_settings_leave_everything(server, name, value, status):
    before = server.get("/api/parameters")["revision"]
    with pytest.raises(Refused) as refused:
        server.set((name, value))
    assert refused.value.status == status
    assert refused.value.error["sentence"]
    assert server.get("/api/parameters")["revision"] == before


def test_two_pages_follow_each_other(server):
    with server.stream() as one, server.stream() as other:
        server.set(FG_IMG_SELECT_PERIOD=3)
        for page in (one, other):
            content, _ = page.next("parameters")
            while content["origin"] != "FG_IMG_SELECT_PERIOD":
                content, _ = page.next("parameters")
            assert "FG_IMG_SELECT_PERIOD" in [entry["name"] for entry in content["changed"]]
            assert content["writes"]
    server.set(FG_IMG_SELECT_PERIOD=1)


# Pictures


def test_frames_come_as_they_are_asked_for(server):
    with server.stream() as stream:
        first, data = stream.next("frame")
        assert (first["width"], first["height"], first["bits"], first["full"]) == (256, 128, 8, 255)
        assert len(data) == 256 * 128 * 2
        stream.next("frame")
        # Two are under way and no credit has come: no third one, whatever the board acquires.
        end = time.monotonic() + 1.2
        while time.monotonic() < end:
            assert stream.record()[0] != "frame"
        stream.credit()
        third, _ = stream.next("frame")
        assert third["number"] > first["number"] + 10  # the newest, not the next


@pytest.mark.parametrize("reduction", ["nearest", "mean", "max"])
def test_views_are_reduced_on_the_server(server, reduction):
    with server.stream() as stream:
        stream.next("frame")
        server.post("/api/time", {"paused": True})
        try:
            time.sleep(0.1)
            raw = server.get("/api/snapshot?format=raw")
            server.post(f"/api/view/{stream.number}", {"x": 64, "y": 32, "width": 128, "height": 80, "outWidth": 32,
                                                      "outHeight": 16, "reduce": reduction})
            for _ in range(3):
                stream.credit()
            content, data = stream.next("frame")
            while content["view"]["outWidth"] != 32:
                content, data = stream.next("frame")
        finally:
            server.post("/api/time", {"paused": False})
    values = struct.unpack(f"<{32 * 16}H", data)
    for row in range(16):
        for column in range(32):
            block = [raw[(32 + row * 5 + y) * 256 + 64 + column * 4 + x] for y in range(5) for x in range(4)]
            expected = {"nearest": block[0], "max": max(block), "mean": (sum(block) + 10) // 20}[reduction]
            assert values[row * 32 + column] == expected


def test_pixel_profile_and_histogram_tell_the_true_values(running):
    running.post("/api/time", {"paused": True})
    try:
        time.sleep(0.1)
        raw = running.get("/api/snapshot?format=raw")
        assert running.get("/api/pixel?x=10&y=20")["value"] == raw[20 * 256 + 10]
        profile = running.get("/api/profile?x0=0&y0=5&x1=255&y1=5")["values"]
        assert profile == list(raw[5 * 256:6 * 256])
        histogram = running.get("/api/histogram")
        assert histogram["counts"] == [raw.count(value) for value in range(256)]
        assert (histogram["minimum"], histogram["maximum"]) == (min(raw), max(raw))
        assert histogram["mean"] == pytest.approx(sum(raw) / len(raw))
        assert histogram["saturated"] == raw.count(255)
    finally:
        running.post("/api/time", {"paused": False})
    for query in ("x=256&y=0", "x=0&y=128"):
        with pytest.raises(Refused):
            running.get(f"/api/pixel?{query}")
    with pytest.raises(Refused):
        running.get("/api/pixel?x=-1&y=0")


def test_12_bits_stay_12_bits(start):
    server = start(*SMALL, "FG_FORMAT=FG_GRAY16", "FG_CAMERA_LINK_CAMTYPE=FG_CL_MEDIUM_12_BIT", "--scene", "ramp")
    with server.stream() as stream:
        content, data = stream.next("frame")
        server.set(FG_BITALIGNMENT="FG_RIGHT_ALIGNED")
        for _ in range(4):
            stream.credit()
            content, data = stream.next("frame")
        assert (content["bits"], content["full"]) == (16, 4095)
        values = struct.unpack(f"<{len(data) // 2}H", data)
        assert len(set(values)) > 200 and max(values) > 3900
        histogram = server.get("/api/histogram")
        assert len(histogram["counts"]) == 4096 and histogram["maximum"] > 3900


def test_snapshots(running):
    for form, start_of_file in (("png", b"\x89PNG"), ("tiff", b"II*\0")):
        status, headers, content = running.raw("GET", f"/api/snapshot?format={form}")
        assert status == 200 and content.startswith(start_of_file)
        assert (headers["X-Frame-Width"], headers["X-Frame-Height"], headers["X-Frame-Bits"]) == ("256", "128", "8")
    assert len(running.get("/api/snapshot?format=raw")) == 256 * 128
    with pytest.raises(Refused):
        running.get("/api/snapshot?format=jpg")


def test_recording_leaves_no_frame_out(running):
    content = running.post("/api/record", {"frames": 7})
    assert content.startswith(b"II*\0")
    pages, offset = 0, struct.unpack_from("<I", content, 4)[0]
    while offset:
        pages += 1
        entries = struct.unpack_from("<H", content, offset)[0]
        offset = struct.unpack_from("<I", content, offset + 2 + entries * 12)[0]
    assert pages == 7
    with pytest.raises(Refused):
        running.post("/api/record", {"frames": 101})


def test_a_stream_for_players(server):
    for path, start_of_file in (("/api/stream.mjpeg", b"\xff\xd8"), ("/api/stream.png", b"\x89PNG")):
        with socket.create_connection(("127.0.0.1", server.port), timeout=20) as connection:
            connection.sendall(f"GET {path} HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer {server.token}\r\n\r\n"
                               .encode())
            content = b""
            while content.count(start_of_file) < 3:
                piece = connection.recv(65536)
                assert piece
                content += piece
        assert b"multipart/x-mixed-replace; boundary=picture" in content


# Time


def board_time(server):
    """@returns microseconds"""
    return server.get("/api/board")["time"]["microseconds"]


def test_time_stands_still_while_nobody_looks(start):
    server = start(*SMALL)
    before = board_time(server)
    time.sleep(0.5)
    assert board_time(server) == before
    with server.stream() as stream:
        stream.next("frame")
        eventually(lambda: board_time(server) > before + 300_000, seconds=3)


def test_pause_step_and_factor(running):
    running.post("/api/time", {"paused": True})
    try:
        before = board_time(running)
        assert running.post("/api/time", {"step": 12345})["microseconds"] == before + 12345
        time.sleep(0.2)
        assert board_time(running) == before + 12345
    finally:
        running.post("/api/time", {"paused": False})
    for wrong in ({"factor": 0}, {"factor": 101}, {"factor": "fast"}, {"step": 5}):
        with pytest.raises(Refused):
            running.post("/api/time", wrong)
    running.post("/api/time", {"factor": 0.01})
    before = board_time(running)
    time.sleep(0.5)
    passed = board_time(running) - before
    running.post("/api/time", {"factor": 1})
    assert 1_000 < passed < 60_000


# Trigger


def rises(server, name):
    """@returns the times at which a signal rose lately; its first entry is the level it had before"""
    signals = {one["name"]: one for one in server.get("/api/signals?last=2000000")["signals"]}
    return [at for at, level in signals[name]["changes"][1:] if level == 1]


def test_pulses_show_in_signals_and_events(start):
    server = start(*SMALL, "FG_AREATRIGGERMODE=ATM_EXTERNAL", "FG_TRIGGER_FRAMESPERSECOND=100")
    with server.stream() as stream:
        server.post("/api/pulses", {"pin": 0, "count": 5, "width": 500, "period": 12000})
        stream.next("frame")
        stream.next("events")
        end = board_time(server) + 300_000  # five times as long as the pulses take
        eventually(lambda: board_time(server) > end)
    rising = rises(server, "input 0")
    assert [round(later - earlier) for earlier, later in zip(rising, rising[1:])] == [12000] * 4
    assert len(rises(server, "frame")) == 5
    assert b"<svg" in server.get("/api/signals.svg?last=2000000")
    for wrong in ({"pin": 8}, {"count": 0}, {"width": 100, "period": 50}):
        with pytest.raises(Refused):
            server.post("/api/pulses", wrong)


def test_software_trigger(start):
    server = start(*SMALL, "FG_AREATRIGGERMODE=ATM_SOFTWARE", "FG_TRIGGER_FRAMESPERSECOND=100")
    with server.stream() as stream:
        server.post("/api/trigger")
        stream.next("frame")


# Lookup table


def test_lookup_table_entries_and_files(running):
    before = running.get("/api/lut")
    assert len(before["values"]) == 4096
    inverse = [4095 - value for value in range(4096)]
    running.post("/api/lut", {"first": 0, "values": inverse})
    assert running.get("/api/lut")["values"] == inverse
    content = running.get("/api/lut/file")
    running.post("/api/lut", {"first": 100, "values": [1, 2, 3]})
    assert running.get("/api/lut")["values"][99:104] == [3996, 1, 2, 3, 3992]
    running.send("PUT", "/api/lut/file", content)
    assert running.get("/api/lut")["values"] == inverse
    for wrong in ({"values": [4096]}, {"values": [-1]}, {"values": ["x"]}, {"first": 4095, "values": [1, 2]},
                  {"first": 4096, "values": []}):
        with pytest.raises(Refused):
            running.post("/api/lut", wrong)
    damaged = (b"", b"no table", content[:len(content) // 2], re.sub(rb"\n17,\d+;", b"", content))
    running.post("/api/lut", {"first": 100, "values": [1, 2, 3]})
    edited = running.get("/api/lut")
    for wrong in damaged:
        with pytest.raises(Refused):
            running.send("PUT", "/api/lut/file", wrong)
        assert running.get("/api/lut") == edited
    running.set(("FG_LUT_TYPE", "LUT_TYPE_PROCESSING"))
    with pytest.raises(Refused):
        running.send("PUT", "/api/lut/file", damaged[0])
    assert running.get("/api/lut") == before


# Configurations


def test_configuration_down_check_up(start):
    server = start(*SMALL)
    server.send("PUT", "/api/lut/file", server.get("/api/lut/file"))
    server.set(FG_WIDTH=128)
    content = server.get("/api/configuration")
    assert b"FG_WIDTH" in content
    server.post("/api/parameters/reset", {"names": ["FG_WIDTH"]})
    looked = server.send("POST", "/api/configuration/check", content)
    assert not any("left out" in finding for finding in looked["findings"])  # the table's file is the server's own
    assert {"name": "FG_WIDTH", "now": 256, "file": 128} in looked["differences"]
    assert server.value("FG_WIDTH") == 256
    loaded = server.send("PUT", "/api/configuration", content)
    assert "FG_WIDTH" in [one["name"] for one in loaded["changed"]]
    assert server.value("FG_WIDTH") == 128


def test_damaged_configurations_change_nothing(start):
    server = start(*SMALL)
    content = server.get("/api/configuration")
    before = server.get("/api/parameters")["parameters"]
    for damaged in (b"", b"\0\1\2rubbish", content[:50]):
        looked = server.send("POST", "/api/configuration/check", damaged)
        assert not looked["loadable"] and looked["findings"]
        with pytest.raises(Refused) as refused:
            server.send("PUT", "/api/configuration", damaged)
        assert refused.value.status == 409
    assert server.get("/api/parameters")["parameters"] == before


def test_configurations_must_not_name_files(start):
    server = start(*SMALL)
    lines = server.get("/api/configuration").decode().splitlines()
    for named in ("FG_SHADING_GRAY_FILENAME = /etc/passwd", "FG_SHADING_GRAY_FILENAME='/etc/passwd';"):
        evil = "\n".join(named if line.startswith("FG_SHADING_GRAY_FILENAME") else line for line in lines).encode()
        looked = server.send("POST", "/api/configuration/check", evil)
        assert [finding for finding in looked["findings"] if "FG_SHADING_GRAY_FILENAME" in finding]
        server.send("PUT", "/api/configuration", evil)
        assert server.value("FG_SHADING_GRAY_FILENAME") == ""


# Documentation


def test_the_documented_commands_work(start, tmp_path):
    server = start("--camera", "match,sensor=typical", "FG_TRIGGER_FRAMESPERSECOND=50")
    lines = (pathlib.Path(__file__).parents[2] / "docs/console.md").read_text(encoding="utf-8").splitlines()
    commands = [line.strip() for line in lines if line.startswith("    curl ")]
    assert len(commands) > 15
    prelude = f"""set -e
        curl() {{ command curl --fail --silent --show-error --max-time 60 "$@"; }}
        T="Authorization: Bearer {server.token}"; U=http://127.0.0.1:{server.port}
        J="Content-Type: application/json"; B="Content-Type: application/octet-stream"
        """
    with server.stream() as stream:
        stream.next("frame")
        for command in commands:
            done = subprocess.run(["bash", "-c", prelude + command], cwd=tmp_path, capture_output=True, text=True)
            assert done.returncode == 0, (command, done.stderr)
    assert "<svg" in (tmp_path / "timing.svg").read_text(encoding="utf-8")
    assert (tmp_path / "records").stat().st_size == 100000


# Camera


def test_camera_and_scenes(start):
    server = start(*SMALL)
    with server.stream() as stream:
        stream.next("frame")
        server.post("/api/camera", {"scene": "white"})
        for _ in range(6):
            stream.credit()
            stream.next("frame")
        assert server.get("/api/histogram")["minimum"] > 200
        picture = server.get("/api/snapshot?format=png")
        server.post("/api/camera", {"scene": "black"})
        answer = server.send("PUT", "/api/scene", picture)
        assert answer["scene"] in answer["scenes"]
        for _ in range(6):
            stream.credit()
            stream.next("frame")
        assert server.get("/api/histogram")["maximum"] > 200
    for wrong in ({"options": "colour=yes"}, {"scene": "/etc/passwd"}, {"scene": "nowhere"}):
        with pytest.raises(Refused) as refused:
            server.post("/api/camera", wrong)
        assert refused.value.status == 409
    with pytest.raises(Refused):
        server.send("PUT", "/api/scene", b"GIF89a")
    assert server.get("/api/camera")["scene"] == answer["scene"]


# Shading


def test_shading_wizard(start):
    server = start("--camera", "match,sensor=typical", "--scene", "gray", *SMALL)
    with server.stream():
        for kind in ("black", "gray"):
            taken = server.post(f"/api/shading/{kind}", {"frames": 4})
            assert (taken["frames"], taken["width"], taken["height"]) == (4, 256, 128)
        answer = server.post("/api/shading/compute", {"mode": "FG_MEAN_VALUE", "deadPixels": False})
        assert answer["after"]["nonUniformityPercent"] < answer["before"]["nonUniformityPercent"] / 2
        for kind in ("offset", "gain"):
            assert server.get(f"/api/shading/map?kind={kind}").startswith(b"\x89PNG")
        server.post("/api/shading/off")
        assert server.value("FG_SHADING_GAIN_ENABLE") == 0


# Load and end


def test_a_stalled_page_costs_the_board_nothing(start):
    server = start(*SMALL)
    with server.stream(), server.stream() as lively:  # the first one never reads
        before = server.get("/api/statistics")["frames"]
        # Well before the server gives up a reader that takes nothing.
        eventually(lambda: server.get("/api/statistics")["frames"] > before + 60, seconds=6)
        lively.next("frame")


def test_who_misses_changes_is_told_by_the_end_of_the_stream(start):
    server = start(*SMALL)
    with server.stream(buffer=4096) as stream:
        for number in range(600):
            server.set(FG_TRIGGER_LEGACY_MODE=["FG_ON", "FG_OFF"][number % 2])  # changes some sixty parameters
        revisions = []
        end = time.monotonic() + 20
        with pytest.raises(StreamEnded):
            while time.monotonic() < end:
                kind, content, _ = stream.record()
                if kind == "parameters" and content["origin"]:
                    revisions.append(content["revision"])
    assert revisions == list(range(1, len(revisions) + 1))


def test_many_at_a_time(running):
    def job(number):
        if number % 3 == 0:
            return running.get("/api/histogram")["pixels"]
        if number % 3 == 1:
            return running.set(FG_NOISEFILTER=["FG_ON", "FG_OFF"][number % 2]) and 1
        return len(running.get("/api/snapshot?format=raw"))

    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        assert all(pool.map(job, range(60)))
    running.set(FG_NOISEFILTER="FG_OFF")


def test_the_end_closes_streams(start):
    server = start(*SMALL)
    stream = server.stream()
    stream.next("frame")
    ended = threading.Thread(target=server.stop)
    ended.start()
    with pytest.raises(StreamEnded):
        while True:
            stream.record()
    ended.join(20)
    assert not ended.is_alive()
