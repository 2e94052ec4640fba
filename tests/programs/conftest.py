"""What the tests of the programs share: a program under test, on a terminal where it has to be.

Each file of this folder is a test that tools/inside runs in a mount namespace of its own."""

import ctypes
import fcntl
import os
import pathlib
import pty
import random
import re
import resource
import signal
import subprocess
import tempfile
import termios
import time

import pytest

pytest.register_assert_rewrite("screen", "logservice")  # which say then what was there instead
BUILD = pathlib.Path(os.environ["YRA_BUILD"])
ROOT = pathlib.Path(__file__).parents[2]
SANITIZED = re.search(r"YRAFT_SANITIZE:\w+=\w", (BUILD / "CMakeCache.txt").read_text()) is not None
PATIENCE = 30  # seconds
LIBC = ctypes.CDLL(None, use_errno=True)
PR_SET_PDEATHSIG = 1
FILE_SIZE = 4 << 30  # no file that a program writes is endless


def some(size):
    return random.Random(size).randbytes(size)


def as_ordinary_user():
    """Although the test may be root, file modes bind what it starts."""
    for right in (1, 2):  # CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH
        LIBC.prctl(24, right, 0, 0, 0)  # PR_CAPBSET_DROP


def wait_until(condition, patience=PATIENCE):
    """Looks again and again until it is so, and answers what it then is."""
    end = time.monotonic() + patience
    while not (found := condition()):
        assert time.monotonic() < end, "waited in vain"
        time.sleep(0.002)
    return found


class Program(subprocess.Popen):
    """A program as a process: started, looked at while it runs, signalled, waited for.

    columns   its input, output and errors are a terminal of that width, and all its text is in `out`
    setup     runs in the new process before the program does
    env       what its environment has more; None for a variable that it has not
    """

    def __init__(self, *command, columns=0, setup=None, env=None, stdin=subprocess.DEVNULL, **how):
        self._files = [tempfile.TemporaryFile(), tempfile.TemporaryFile()]
        self._terminal, self._text = None, b""
        terminal = None
        if columns:
            self._terminal, terminal = pty.openpty()
            os.set_blocking(self._terminal, False)
            termios.tcsetwinsize(terminal, (25, columns))
            stdin = terminal

        def prepare():
            resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_SIZE, FILE_SIZE))
            if columns:
                fcntl.ioctl(0, termios.TIOCSCTTY)
            if setup:
                setup()
            LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)  # a change of the user would clear it

        out, err = [terminal, terminal] if columns else self._files
        environment = {k: v for k, v in {**os.environ, **(env or {})}.items() if v is not None}
        super().__init__([str(word) for word in command], stdin=stdin, stdout=out, stderr=err, env=environment,
                         start_new_session=bool(columns), preexec_fn=prepare, **how)
        if terminal is not None:
            os.close(terminal)

    def _read(self, file):
        return os.pread(file.fileno(), os.fstat(file.fileno()).st_size, 0).decode(errors="surrogateescape")

    @property
    def out(self):
        if self._terminal is None:
            return self._read(self._files[0])
        try:
            while data := os.read(self._terminal, 65536):
                self._text += data
        except OSError:  # nothing more now, or ever
            pass
        return self._text.decode(errors="replace")

    @property
    def err(self):
        return self._read(self._files[1])

    def running(self):
        self.out  # a full terminal would hold it
        return self.poll() is None

    signal = subprocess.Popen.send_signal

    def wait(self):
        """Its exit status; 128 and the number of the signal that killed it."""
        wait_until(lambda: not self.running())
        return self.returncode if self.returncode >= 0 else 128 - self.returncode

    def stop(self):
        self.signal(signal.SIGTERM)
        return self.wait()

    def close(self):
        if self.poll() is None:
            self.kill()
            super().wait()
        for file in self._files:
            file.close()
        if self._terminal is not None:
            os.close(self._terminal)


@pytest.fixture
def start():
    """Starts programs that end with the test: start(PROGRAM, ARGUMENT..., columns=...)."""
    assert os.path.ismount("/var"), "run it through tools/inside"
    programs = []

    def start_one(*command, **how):
        programs.append(Program(*command, **how))
        return programs[-1]

    yield start_one
    for program in reversed(programs):
        program.close()


@pytest.fixture
def run(start):
    """Runs a program to its end; its status, out and err are to be looked at."""

    def run_one(*command, **how):
        program = start(*command, **how)
        program.status = program.wait()
        return program

    return run_one


def as_user(uid):
    """For `setup`: the program belongs to an ordinary user."""
    return lambda: (os.setgroups([]), os.setresgid(uid, uid, uid), os.setresuid(uid, uid, uid))
