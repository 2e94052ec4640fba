"""What a log service owes those who rely on it: no restart and no stall loses a line, no user keeps others
from logging or lies about who wrote."""

import ctypes
import fcntl
import resource
import signal
import threading

import pytest
from conftest import LIBC, as_user
from logservice import *

SOCKET_ROOM = int(open("/proc/sys/net/core/wmem_max").read())  # older kernels give less


class Manager:
    """What systemd does for the service: it listens, keeps descriptors, and starts the service again."""

    def __init__(self, start, tmp_path):
        self.start, self.path, self.store, self.service = start, str(tmp_path / "notify"), {}, None
        self.inbox = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.inbox.bind(self.path)
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(str(SOCKET))
        self.listener.listen(64)
        self.ready, self.kept = threading.Event(), threading.Event()
        threading.Thread(target=self.attend, daemon=True).start()

    def attend(self):
        while True:
            text, descriptors, _, _ = socket.recv_fds(self.inbox, 4096, 2)
            state = dict(one.split("=", 1) for one in text.decode().splitlines())
            if "FDSTORE" in state:
                self.store.setdefault(state["FDNAME"], []).extend(descriptors)
                self.kept.set()
            if "FDSTOREREMOVE" in state:
                for fd in self.store.pop(state["FDNAME"]):
                    os.close(fd)
            if "READY" in state:
                self.ready.set()

    def run(self):
        self.ready.clear()
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as ours:  # comes behind all that a dead one has sent
            ours.sendto(b"READY=1", self.path)
        assert self.ready.wait(30)
        self.ready.clear()
        given = [("kvologd.socket", self.listener.fileno()), *((name, fd) for name in self.store for fd in self.store[name])]
        names, kept = zip(*((name, fcntl.fcntl(fd, fcntl.F_DUPFD, 300)) for name, fd in given))
        moves = " ".join(f"{3 + i}<&{fd}" for i, fd in enumerate(kept))
        self.service = self.start(
            "bash", "-c", f"exec {moves}; export LISTEN_PID=$$; exec {KVOLOG} serve", pass_fds=kept,
            env={"LISTEN_FDS": str(len(kept)), "LISTEN_FDNAMES": ":".join(names), "NOTIFY_SOCKET": self.path})
        for fd in kept:
            os.close(fd)
        assert self.ready.wait(30), self.service.err


@pytest.fixture
def manager(kvolog, start, tmp_path):
    return Manager(start, tmp_path)


@pytest.mark.parametrize("end", [signal.SIGKILL, signal.SIGTERM])
def test_ten_restarts_under_load_lose_and_repeat_nothing(manager, start, end):
    writers = start_writers(start, 8, 10000, 4000)  # who comes before the service waits for it
    manager.run()
    wait_until(lambda: len(manager.store) == 1 + len(writers))
    for n in range(10):
        if n % 3 == 1:  # it dies when it has just got a client
            manager.kept.clear()
            writers += start_writers(start, 1, 10000, 4000, len(writers))
            assert manager.kept.wait(30)
        elif n % 3:  # else it dies before it has read all that its predecessor had
            await_text(f" {n * 600}\n")
        manager.service.signal(end)
        manager.service.wait()
        manager.run()
    wait_until(lambda: [*manager.store] == ["inbox"], 60)  # nothing of those who have ended
    check_whole(manager.service, writers, 10000)
    assert SOCKET.exists()


WAITING = re.compile(r"(202 \S+ 0x189|232|230|7) ")  # for a condition, in epoll_wait, clock_nanosleep or poll


@contextlib.contextmanager
def stalled(service, thread="kvolog-writer"):
    """A disk that hangs, say: the thread does not come back. It is stopped where it waits, as elsewhere it may hold
    what the other thread needs."""
    tasks = pathlib.Path(f"/proc/{service.pid}/task")
    task = next(task for task in tasks.iterdir() if (task / "comm").read_text() == f"{thread}\n")
    number = int(task.name)

    def trace(request):
        return LIBC.ptrace(ctypes.c_long(request), number, None, None) == 0

    def stopped():
        assert trace(0x4207)  # PTRACE_INTERRUPT
        os.waitpid(number, 0x40000000)  # __WALL
        waits = WAITING.match((task / "syscall").read_text())
        assert waits or trace(7)  # PTRACE_CONT
        return waits

    assert trace(0x4206)  # PTRACE_SEIZE
    wait_until(stopped)
    yield
    if not trace(17):  # PTRACE_DETACH; it was killed meanwhile
        os.waitpid(number, 0x40000000)


def test_a_service_or_a_disk_that_stands_still_costs_no_line(manager, start):
    manager.run()
    writers = start_writers(start, 4, 9000, 3000)
    await_text("w3 10\n")
    if SOCKET_ROOM >= 4 << 20:
        manager.service.signal(signal.SIGSTOP)
        time.sleep(1.5)
        manager.service.signal(signal.SIGCONT)
    with contextlib.ExitStack() as stack:
        with stalled(manager.service):
            Sender().line("what the disk is to take")
            time.sleep(1.5)  # longer than a client waits
            stack.enter_context(stalled(manager.service, "kvolog"))
            size = LOG.stat().st_size
        wait_until(lambda: LOG.stat().st_size > size)  # and it dies before it knows
        manager.service.signal(signal.SIGKILL)
    manager.service.wait()
    manager.run()
    check_whole(manager.service, writers, 9000)


def test_a_process_says_once_that_it_logs_nothing_more(serve, start):
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as syslog:
        syslog.bind("/dev/log")
        service = serve()
        [writer] = start_writers(start, 1, 500, 1000)
        await_text("w0 10\n")
        service.signal(signal.SIGKILL)
        assert writer.wait() == 0
        assert syslog.recv(1000).decode() == (f"<12>brelka-trace_writer[{writer.pid}]: the log service is gone or "
                                              "stalled; this process logs nothing more")
        with pytest.raises(BlockingIOError):
            syslog.recv(1000, socket.MSG_DONTWAIT)
    os.unlink("/dev/log")


@needs_other_users
def test_no_user_keeps_a_service_from_starting(serve, run, start):
    serve().stop()
    assert run("flock", f"{SOCKET}.lock", "true", setup=as_user(NOBODY)).status == 66  # may not open it
    start("flock", SOCKET.parent, "sleep", 60, setup=as_user(NOBODY))
    wait_until(lambda: run("flock", "--nonblock", SOCKET.parent, "true").status == 1)
    serve()


@needs_other_users
@pytest.mark.parametrize("identity", [None, "brelka-crowd"])
def test_a_crowd_of_one_user_leaves_room_for_others(kvolog, serve, identity):
    serve("--user-connections", 40)
    crowd = []
    with as_nobody(), contextlib.suppress(ConnectionError):
        crowd += [Sender(identity) for _ in range(300)]
    Sender("brelka-other").line("still heard")
    await_text("still heard")
    await_text("user 65534 has 40 connections; more were turned away")
    assert "only root and processes of group 0" in kvolog("status", setup=as_user(NOBODY)).err


def test_who_finds_no_descriptor_left_waits(serve):
    serve(setup=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (40, 40)))
    Sender().line("its file is open")
    await_text("its file is open")
    crowd = [Sender() for _ in range(40)]
    Sender("brelka-late").line("heard in the end")
    await_text("who connects has to wait")
    crowd.clear()
    await_text("heard in the end")


@needs_other_users
def test_a_user_who_floods_the_log_loses_his_own_lines_only(serve):
    service = serve("--user-rate", 16)
    with as_nobody():
        flood = Sender("brelka-flood")
    root = Sender("brelka-root")
    for n in range(4000):
        flood.line(1000 * "x")
        root.line(1000 * "y")
    root.line("after")
    await_text(" after\n")
    await_text("user 65534 writes too much: ")
    written = collections.Counter(entry.identity for entry in entries())
    assert 60 * 16 * 1024 / 1200 < written["brelka-flood"] < 2000 and written["brelka-root"] == 4001
    assert service.stop() == 0


def test_a_line_says_who_wrote_it(serve):
    serve()
    Sender("kvologd").line("I am the service").line("of a class", cls=250)
    Sender("brelka[1,0]").line("I am another")
    Sender(None).send(b"nonsense")
    await_text("was dropped")
    found = {entry.text.split(",")[0]: entry for entry in wait_until(lambda: len(entries()) == 4 and entries())}
    me = (str(os.getpid()), str(os.getuid()))
    assert found["I am the service"][3:6] == ("(kvologd)", *me)
    assert found["I am another"][3:6] == ("brelka[1,0]", *me)
    assert found["of a class"].cls == "250"
    note = found[f"process {me[0]} of user {me[1]}"]
    assert note.identity == "kvologd" and note.pid != me[0]
