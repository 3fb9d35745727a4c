"""A running server for the tests of its API and its page."""

import http.client
import json
import os
import pathlib
import shlex
import signal
import socket
import subprocess
import time

import pytest

# The tool as the build made it, with the emulator in front where one is needed.
TOOL = shlex.split(os.environ["QELM_TOOL"])


class Refused(Exception):
    def __init__(self, status, error):
        super().__init__(f"{status}: {error}")
        self.status = status
        self.error = error


class Server:
    """`qelm serve` with settings of the test's."""

    def __init__(self, *arguments):
        self.process = subprocess.Popen(
            [*TOOL, "serve", "--json", *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        text = ""
        while not text.endswith("\n}\n"):
            line = self.process.stdout.readline()
            if not line:
                break
            text += line
        self.started = json.loads(text)
        if "port" not in self.started:
            raise RuntimeError(f"the server did not start: {self.started}")
        self.port = self.started["port"]
        self.token = self.started["token"]
        self.url = self.started["url"]

    def raw(self, method, path, body=None, headers=None, token=True):
        """@returns status, headers, bytes"""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60)
        try:
            all_headers = {"Authorization": f"Bearer {self.token}"} if token else {}
            all_headers.update(headers or {})
            connection.request(method, path, body=body, headers=all_headers)
            answer = connection.getresponse()
            return answer.status, answer.headers, answer.read()
        finally:
            connection.close()

    def call(self, method, path, body=None, headers=None):
        status, answer_headers, content = self.raw(method, path, body, headers)
        if status != 200:
            raise Refused(status, json.loads(content).get("error", {}) if content.startswith(b"{") else content)
        if answer_headers["Content-Type"].startswith("application/json"):
            return json.loads(content)
        return content

    def get(self, path):
        return self.call("GET", path)

    def post(self, path, body=None):
        return self.call("POST", path, json.dumps(body or {}), {"Content-Type": "application/json"})

    def send(self, method, path, content):
        return self.call(method, path, content, {"Content-Type": "application/octet-stream"})

    def set(self, *settings, **more):
        pairs = [*settings, *more.items()]
        return self.post("/api/parameters", {"set": [{"name": name, "value": value} for name, value in pairs]})

    def value(self, name):
        return self.get(f"/api/parameters/{name}")["value"]

    def stream(self, **options):
        return Stream(self, **options)

    def stop(self):
        """@returns the exit status"""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGINT)
        try:
            return self.process.wait(20)
        except subprocess.TimeoutExpired:
            self.process.kill()
            raise


def eventually(holds, seconds=20):
    """Waits until it holds. Where slowness would be the fault, `seconds` says how much of it is the machine's."""
    end = time.monotonic() + seconds
    while not holds():
        assert time.monotonic() < end, "it did not come to hold"
        time.sleep(0.05)


class StreamEnded(Exception):
    """The server ended the stream: in order, or by closing the connection of a reader that is too slow."""


class Stream:
    """The records of /api/stream."""

    NAMES = ["hello", "frame", "statistics", "parameters", "events", "log"]

    def __init__(self, server, buffer=None):
        """@param buffer bytes that the system takes while nobody reads, roughly; the server's side has more"""
        self.server = server
        self.connection = http.client.HTTPConnection("127.0.0.1", server.port, timeout=30)
        if buffer is not None:
            self.connection.sock = socket.socket()
            self.connection.sock.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, buffer)
            self.connection.sock.settimeout(30)
            self.connection.sock.connect(("127.0.0.1", server.port))
        self.connection.request("GET", "/api/stream", headers={"Authorization": f"Bearer {server.token}"})
        self.answer = self.connection.getresponse()
        assert self.answer.status == 200
        kind, hello, _ = self.record()
        assert kind == "hello"
        self.number = hello["stream"]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.connection.close()

    def _read(self, count):
        content = b""
        while len(content) < count:
            try:
                piece = self.answer.read(count - len(content))
            except (http.client.IncompleteRead, ConnectionError) as error:
                raise StreamEnded from error
            if not piece:
                raise StreamEnded
            content += piece
        return content

    def record(self):
        """@returns name, JSON, data"""
        header = self._read(12)
        assert header[1:4] == b"\0\0\0"
        length, data_length = int.from_bytes(header[4:8], "little"), int.from_bytes(header[8:12], "little")
        return self.NAMES[header[0]], json.loads(self._read(length)), self._read(data_length)

    def next(self, name, timeout=20):
        """The next record of that name."""
        end = time.monotonic() + timeout
        while time.monotonic() < end:
            kind, content, data = self.record()
            if kind == name:
                return content, data
        raise AssertionError(f"no record \"{name}\" came")

    def credit(self):
        self.server.post(f"/api/credit/{self.number}")


@pytest.fixture
def start():
    """Starts servers with arguments; they end with the test."""
    servers = []

    def make(*arguments):
        servers.append(Server(*arguments))
        return servers[-1]

    yield make
    for server in servers:
        server.stop()


SMALL = ("FG_CAMERA_WIDTH=256", "FG_CAMERA_HEIGHT=128", "FG_WIDTH=256",
         "FG_HEIGHT=128", "FG_TRIGGER_FRAMESPERSECOND=50")


@pytest.fixture(scope="module")
def server():
    """One server for tests that leave it as they found it."""
    one = Server(*SMALL)
    yield one
    one.stop()


@pytest.fixture
def running(server):
    """The shared server while somebody looks, with a first frame."""
    with server.stream() as stream:
        stream.next("frame")
        yield server
