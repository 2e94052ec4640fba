"""The log service, clients that write their own records, and what it wrote."""

import collections
import contextlib
import json
import os
import pathlib
import re
import shutil
import socket
import struct
import time

import pytest
from conftest import BUILD, ROOT, wait_until

KVOLOG = BUILD / "tools/kvolog/kvolog"
TRACE_WRITER = BUILD / "tests/trace_writer"
CONFIG = pathlib.Path("/var/qmz/.kvolog")
SOCKET = pathlib.Path("/var/qmz/.kvologd")
LOG = pathlib.Path("/var/log/qmz/fsr.log")
VERBOSE, INFO, WARNING, ERROR, FATAL, NONE = range(1, 7)
ALL, LOCALISE, YRAFT, YRAFT_RW, YRAFT_WIN = 0, 63, 175, 187, 188
NOBODY = 65534

needs_other_users = pytest.mark.skipif(
    open("/proc/self/uid_map").read().split()[2] == "1", reason="a namespace without other users")


@contextlib.contextmanager
def as_nobody():
    os.seteuid(NOBODY)
    try:
        yield
    finally:
        os.seteuid(0)


def record(length, kind, body=b""):
    return struct.pack("<HH", length, kind) + body


def hello(identity="brelka", session=17):
    body = struct.pack("<H", session) + identity.encode() + b"\0"
    return record(len(body), 2, body)


def line(text, level=WARNING, cls=YRAFT_RW, seconds=None, micro=0, thread=4711, end=b"\0"):
    seconds = int(time.time()) if seconds is None else seconds
    text = text if isinstance(text, bytes) else text.encode()
    body = struct.pack("<HHHqI", level, cls, thread, seconds, micro) + text + end
    return record(len(body), 1, body)


class Sender:
    """A client of the log service."""

    def __init__(self, identity="brelka"):
        self.socket = socket.socket(socket.AF_UNIX)
        for side in (socket.SO_RCVTIMEO, socket.SO_SNDTIMEO):  # settimeout() waits for more room than it needs
            self.socket.setsockopt(socket.SOL_SOCKET, side, struct.pack("ll", 30, 0))
        self.socket.connect(str(SOCKET))
        if identity is not None:
            self.send(hello(identity))

    def send(self, data):
        self.socket.sendall(data)
        return self

    def line(self, text, *args, **how):
        return self.send(line(text, *args, **how))

    def hung_up(self):
        with contextlib.suppress(ConnectionError):
            return self.socket.recv(1) == b""
        return True


Entry = collections.namedtuple("Entry", "time level cls identity pid uid session thread text")


def entries(path=LOG):
    """The lines of a log, taken apart."""
    shape = re.compile(r"(\S{32}) (\S+) (\S+) (\S+?)(?:\[(\d+),(\d+)\])? (\d+) (\d+) (.*)")
    with open(path, encoding="utf-8", errors="surrogateescape", newline="\n") as file:
        return [Entry(*shape.fullmatch(one.removesuffix("\n")).groups()) for one in file]


def texts(path=LOG):
    return [entry.text for entry in entries(path)]


def await_text(text, path=LOG):
    return wait_until(lambda: path.exists() and text in path.read_text(errors="replace"))


def start_writers(start, count, lines, rate=0, first=0):
    return [start(TRACE_WRITER, f"w{first + n}", lines, rate) for n in range(count)]


def check_whole(service, writers, lines):
    """All that they wrote has arrived once and in its order when the service has ended."""
    assert [writer.wait() for writer in writers] == len(writers) * [0]
    assert service.stop() == 0
    found = collections.defaultdict(list)
    for text in texts():
        if text.startswith("Function: "):
            found[text.split()[1]].append(int(text.split()[2]))
    for n in range(len(writers)):
        assert found[f"w{n}"] == list(range(lines)), n


@pytest.fixture
def kvolog(run):
    """Runs kvolog to its end, with a fresh configuration and no log before the first time."""
    for path in (CONFIG, SOCKET):
        path.unlink(missing_ok=True)
    shutil.rmtree(LOG.parent, ignore_errors=True)
    LOG.parent.mkdir()

    def run_kvolog(*words, **how):
        return run(KVOLOG, *words, **how)

    def shown(*words):
        done = run_kvolog(*words, "--json")
        assert done.status == 0, done.err
        return json.loads(done.out)

    run_kvolog.shown = shown
    run_kvolog("reset")
    return run_kvolog


@pytest.fixture
def serve(kvolog, start):
    """Starts a log service and waits until it listens."""

    def start_service(*words, **how):
        service = start(KVOLOG, "serve", *words, **how)
        wait_until(lambda: "listening" in service.err or not service.running())
        assert service.running(), service.err
        return service

    return start_service
