"""`kvolog serve` with real clients: what they write arrives whole, and no one disturbs the others."""

import gzip
import signal

import pytest
from conftest import as_user
from logservice import *

PROCESSES, LINES = 8, 20000


def numbered(prefix="Function: "):
    """The texts of each process's lines, by its number, in the order of the log."""
    found = collections.defaultdict(list)
    for text in texts():
        assert text.startswith(prefix), text
        process, number = text.removeprefix(prefix).split()
        found[int(process)].append(int(number))
    return dict(found)


def test_every_line_of_every_process_arrives_once_and_in_its_order(serve, start):
    service = serve()
    writers = [start(TRACE_WRITER, process, LINES) for process in range(PROCESSES)]
    assert [writer.wait() for writer in writers] == PROCESSES * [0]
    assert service.stop() == 0
    assert numbered() == {process: list(range(LINES)) for process in range(PROCESSES)}
    assert not SOCKET.exists()
    serve()
    Sender("brelka-late").line("after the restart")
    await_text("after the restart")
    assert len(entries()) == PROCESSES * LINES + 1


def test_a_stream_is_read_the_same_in_whatever_pieces(serve):
    serve()
    wait_until(LOG.exists)
    longest = 8191 * "x"
    stream = (hello("i" * 31, 65535) + line("one") + line("") + line(longest) + line("a\0b") +
              line("t", FATAL, 200, 253370764799, 999999, 65535) + line("cut")[:20])
    for piece in (1, 3, 22, 4096, 100000):
        os.truncate(LOG, 0)
        sender = Sender(None)
        for at in range(0, len(stream), piece):
            sender.send(stream[at:at + piece])
        sender.close()
        await_text("ended within a record")
        assert texts()[:5] == ["one", "", longest, r"a\x00b", "t"]
        last = entries()[4]
        assert last.time[:3] + last.time[19:26] == "999.999999"
        assert (last.level, last.identity, last.session, last.thread) == ("FATAL", 31 * "i", "65535", "65535")


def test_who_sends_nonsense_is_dropped_with_a_word(serve):
    service = serve()
    good = Sender("brelka-good").line("before")
    h = hello("brelka-bad")
    cases = [
        (b"GET / HTTP/1.1\r\n\r\n", "not registered, sent a record of the unknown type 8276"),
        (line("x"), "a line before the registration"), (h + h, "brelka-bad, sent a second registration"),
        (h + record(19, 3, 19 * b"\0"), "a record of the unknown type 3"),
        (record(0, 2), "a record of type 2 with the length 0"),
        (record(3, 2, 3 * b"\0"), "a record of type 2 with the length 3"),
        (record(35, 2, 35 * b"i"), "a record of type 2 with the length 35"),
        (record(6, 2, b"12brel"), "an identity that ends nowhere"),
        (record(7, 2, b"12b\0ela"), "an identity that ends nowhere"),
        (h + record(18, 1, 18 * b"\1"), "a record of type 1 with the length 18"),
        (h + record(8211, 1), "a record of type 1 with the length 8211"),
        (h + line("x", 0), "a line of level 0"), (h + line("x", 6), "a line of level 6"),
        (h + line("x", seconds=-1), "a line of second -1"),
        (h + line("x", seconds=2**63 - 1), "a line of second 9223372036854775807"),
        (h + line("x", micro=1000000), "a line of microsecond 1000000"),
        (h + line("x", end=b"x"), "a line that ends nowhere"),
    ]
    for stream, note in cases:
        assert Sender(None).send(stream).hung_up(), note
        await_text(note + (" and was dropped" if "registered" not in note else ""))
    good.line("after\nall\x1b[2J", FATAL, YRAFT_WIN)
    await_text(r" after\nall\x1b[2J")
    assert entries()[-1][1:4] == ("FATAL", "YRAFT_WIN", "brelka-good")
    assert len(entries()) == 2 + len(cases) and service.running()


def test_a_line_stays_one_line_and_says_its_time(serve):
    serve(env={"TZ": "IST-5:30"})
    written = {"plain  text ": "plain  text ", "": "", "two\nlines\r\tand \x1b[31m red \x7f":
               r"two\nlines\r\tand \x1b[31m red \x7f", "C:\\new\\x41": r"C:\\new\\x41",
               "Größe \u4e2d \u009b31m": r"Größe 中 \xc2\x9b31m"}
    sender = Sender("brelka-Web Co\nntent")
    for text in written:
        sender.line(text, seconds=1700000000, micro=42)
    sender.line("end")
    await_text(" end\n")
    for entry, text in zip(entries(), written.values()):
        assert (entry.time, entry.identity, entry.text) == (
            "2023-11-15T03:43:20.000042+05:30", r"brelka-Web\x20Co\nntent", text)


def test_what_was_sent_before_the_end_is_taken_in(serve):
    service = serve()
    early = Sender("brelka-early").line("first")
    await_text("first")
    service.signal(signal.SIGSTOP)
    for _ in range(100):
        early.line("early")
    Sender("brelka-late").line("late")
    service.signal(signal.SIGINT)
    service.signal(signal.SIGCONT)
    assert service.wait() == 0
    assert len(entries()) == 102 and entries()[-1].identity == "brelka-late"
    with pytest.raises(OSError):
        early.line("nobody hears it")


def test_a_dead_service_is_replaced_and_a_living_one_is_not(kvolog, serve):
    first = serve(setup=lambda: os.umask(0o077))
    assert SOCKET.stat().st_mode & 0o777 == 0o666  # for everyone
    second = kvolog("serve")
    assert second.status == 1 and "already" in second.err
    Sender().line("still there")
    await_text("still there")
    first.signal(signal.SIGKILL)
    assert first.wait() == 128 + signal.SIGKILL and SOCKET.exists()
    third = serve()
    Sender().line("again")
    await_text("again")
    assert third.stop() == 0
    SOCKET.write_text("a file")
    assert kvolog("serve").status == 1 and SOCKET.exists()


def test_it_follows_the_configuration_and_its_file(kvolog, serve):
    service = serve()
    sender = Sender().line("one")
    await_text("one")
    LOG.rename(LOG.parent / "renamed")  # logrotate does
    service.signal(signal.SIGHUP)
    wait_until(LOG.exists)
    sender.line("two")
    await_text("two")
    assert texts() == ["two"] and texts(LOG.parent / "renamed") == ["one"]

    other = pathlib.Path("/var/log/other")
    other.write_text("a file in the way")
    kvolog("output", other / "agent.log")
    wait_until(lambda: "Not a directory" in service.err)
    sender.line("waits")
    other.unlink()
    await_text("waits", other / "agent.log")
    wait_until(lambda: "is written again" in service.err)

    # The configuration's own file gives way to another one, and is damaged.
    new = CONFIG.with_name("new")
    shutil.copy(CONFIG, new)
    kvolog("output", other / "wrong.log")
    new.rename(CONFIG)
    kvolog("output", other / "right.log")
    wait_until((other / "right.log").exists)
    os.truncate(CONFIG, 10)
    sender.line("while damaged")
    await_text("while damaged", other / "right.log")
    assert service.stop() == 0


def test_files_are_rolled_over_between_lines(kvolog, serve):
    kvolog("rollover", 1, 2)
    (LOG.parent).mkdir(exist_ok=True)
    LOG.write_text("whole\ntor")  # by somebody who was cut off
    service = serve()
    sender = Sender()
    for n in range(600):
        sender.line(f"{n} " + 8000 * "x")
    await_text("\n", LOG)
    assert service.stop() == 0
    files = [LOG, old(1), old(2)]
    numbers = [int(entry.text.split()[0]) for file in reversed(files) for entry in entries(file)]
    assert numbers == list(range(600))[-len(numbers):] and len(numbers) > 250
    assert all((1 << 20) - 8200 < file.stat().st_size <= 1 << 20 for file in files[1:])
    assert not old(3).exists()


def old(number, end=""):
    return LOG.with_name(f"fsr.log.{number}{end}")


def fill(sender, mebibytes):
    for n in range(mebibytes * 131):
        sender.line(f"{n} " + 8000 * "x")


def test_only_its_own_old_files_go(kvolog, serve):
    kvolog("rollover", 1, 4)
    LOG.parent.mkdir(exist_ok=True)
    for number in (5, 6):
        old(number).write_text("logrotate's")
    old(0, ".gz").write_text("somebody's")
    service = serve()
    sender = Sender()
    fill(sender, 6)
    wait_until(lambda: old(4).exists())
    kvolog("rollover", 1, 2)
    wait_until(lambda: not old(4).exists() and not old(3).exists())
    fill(sender, 2)
    kvolog("rollover", 1, 2, "--compress")
    time.sleep(0.6)  # a change counts when it was seen twice
    fill(sender, 3)
    wait_until(lambda: old(1, ".gz").exists() and old(2, ".gz").exists() and not old(1).exists())
    sizes = [len(gzip.open(old(number, ".gz")).read()) for number in (1, 2)]
    assert all((1 << 20) - 8200 < size <= 1 << 20 for size in sizes)
    kvolog("rollover", "off")
    time.sleep(0.6)
    before = LOG.stat().st_size
    fill(sender, 3)
    wait_until(lambda: LOG.stat().st_size > before + (3 << 20))
    assert service.stop() == 0
    assert old(5).read_text() == old(6).read_text() == "logrotate's" and old(0, ".gz").exists()


def test_what_is_no_regular_file_is_not_touched(kvolog, serve):
    LOG.parent.mkdir(exist_ok=True)
    precious = LOG.with_name("precious")
    precious.write_text("precious\n")
    LOG.symlink_to(precious)
    service = serve()
    Sender().line("waits")
    wait_until(lambda: "it is a symbolic link; trying again" in service.err)
    LOG.unlink()
    os.mkfifo(LOG)
    time.sleep(0.6)
    LOG.unlink()
    await_text("waits")
    assert precious.read_text() == "precious\n" and LOG.stat().st_mode & 0o777 == 0o640
    CONFIG.unlink()
    CONFIG.symlink_to(precious)
    assert "no regular file" in kvolog("set", "ALL", "1").err
    assert precious.read_text() == "precious\n"
    CONFIG.unlink()


@pytest.mark.parametrize("what", ["file", "folder"])
def test_a_log_that_was_removed_comes_back_within_a_second(serve, what):
    serve()
    sender = Sender().line("one")
    await_text("one")
    LOG.unlink() if what == "file" else shutil.rmtree(LOG.parent)
    wait_until(LOG.exists, 1)
    sender.line("two")
    await_text("two")


def test_the_journal_gets_priorities(kvolog, start, tmp_path):
    kvolog("output", "/var/qmz/.kvologd.lock/log")
    with open(tmp_path / "errors", "w") as errors:
        status = os.fstat(errors.fileno())
        script = f"exec {KVOLOG} serve 2>{tmp_path}/errors"
        start("sh", "-c", script, env={"JOURNAL_STREAM": f"{status.st_dev}:{status.st_ino}"})
        wait_until(lambda: "trying again" in (tmp_path / "errors").read_text())
    assert (tmp_path / "errors").read_text().count("<3>cannot open '/var/qmz/.kvologd.lock/log': Not a directory") == 1


def test_its_status_names_who_logs(kvolog, serve):
    service = serve()
    sender = Sender("brelka-vcagent").line("one").line("two", FATAL)
    await_text("two")
    status = kvolog.shown("status")
    assert (status["pid"], status["output"], status["lost"], status["stalled"]) == (service.pid, str(LOG), 0, False)
    assert status["clients"] == [{"pid": os.getpid(), "uid": os.getuid(), "identity": "brelka-vcagent",
                                  "session": 17, "lines": 2, "bytes": len(hello("brelka-vcagent") + 2 * line("one")),
                                  "dropped": 0}]
    shown = kvolog("status")
    assert f"{os.getpid()}  " in shown.out and "brelka-vcagent" in shown.out, shown.err
    sender.close()
    wait_until(lambda: kvolog.shown("status")["clients"] == [])


def test_lines_are_forwarded_to_a_syslog_that_reads(kvolog, serve):
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as syslog:
        syslog.bind("/dev/log")
        serve("--syslog")
        sender = Sender("brelka-vcagent").line("its process has sent it", cls=ALL).line("a\nb", FATAL)
        assert syslog.recv(1000).decode() == rf"<9>brelka-vcagent[{os.getpid()}]: YRAFT_RW a\nb"
        for n in range(1000):  # nobody reads
            sender.line(str(n))
        await_text(" 999\n")
        assert kvolog.shown("status")["notForwarded"] > 500
    os.unlink("/dev/log")


@needs_other_users
def test_its_status_is_not_for_everybody(kvolog, serve):
    serve()
    done = kvolog("status", setup=as_user(65534))
    assert done.status == 1 and "only root and processes of group 0" in done.err


def test_a_full_disk_costs_lines_that_are_counted_and_cuts_none(serve, run):
    LOG.parent.mkdir(exist_ok=True)
    assert run("mount", "-t", "tmpfs", "-o", "size=64k", "tmpfs", LOG.parent).status == 0
    service = serve()
    sender = Sender()
    text = 7900 * "x"
    for n in range(8000):
        sender.line(f"{n} {text}")
    wait_until(lambda: "No space left on device; trying again" in service.err)
    run("mount", "-o", "remount,size=200m", LOG.parent)
    await_text("are missing here")
    assert service.err.count("No space") == 1
    sender.line("8000 on")
    await_text("8000 on")
    found = texts()
    kept = [int(one.split()[0]) for one in found if one.endswith("x")]
    note = next(one for one in found if "are missing" in one)
    assert len(kept) + int(note.split()[0]) == 8000 and kept == sorted(kept)
    service.stop()
    run("umount", LOG.parent)


def test_a_service_manager_hears_when_it_listens(serve, tmp_path):
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
        manager.bind(str(tmp_path / "notify"))
        serve(env={"NOTIFY_SOCKET": str(tmp_path / "notify")})
        assert b"READY=1" in manager.recv(4096)
