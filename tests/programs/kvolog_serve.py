"""`kvolog serve` with real clients: what they write arrives whole, and no one disturbs the others."""

import gzip
import mmap
import signal

import pytest
from conftest import SANITIZED
from logservice import *


def test_a_line_is_one_line_in_whatever_pieces_it_comes(serve):
    serve(env={"TZ": "WEST3:30"})
    longest, umlaut = 8191 * "x", 8190 * "x" + "ü"
    written = {"plain  text ": "plain  text ", "": "", "two\nlines\r\tand \x1b[31m red \x7f":
               r"two\nlines\r\tand \x1b[31m red \x7f", "C:\\new\\x41": r"C:\\new\\x41", b"a\0b": r"a\x00b",
               "Größe \u4e2d \u009b31m": r"Größe 中 \xc2\x9b31m", longest: longest,
               umlaut.encode()[:8191]: 8190 * "x", (8189 * "x" + "中").encode()[:8191]: 8189 * "x"}
    stream = hello("brelka-Web Co\nntent", 65535)
    for text in written:
        stream += line(text, FATAL, 200, 1700000000, 42, 65535)
    for piece in (1, 22, 4096, 100000):
        sender = Sender(None)
        for at in range(0, len(stream), piece):
            sender.send(stream[at:at + piece])
        sender.send(line("cut")[:20]).socket.close()
        await_text("ended within a record")
        assert texts()[:-1] == list(written.values())
        for entry in entries()[:-1]:
            assert (entry.time, entry.level, entry.identity, entry.session, entry.thread) == (
                "2023-11-14T18:43:20.000042-03:30", "FATAL", r"brelka-Web\x20Co\nntent", "65535", "65535")
        os.truncate(LOG, 0)


def test_who_sends_nonsense_is_dropped_with_a_word(serve):
    service = serve()
    idle, unread = Sender(None), [Sender(None) for _ in range(300)]
    good = Sender("brelka-good").line("before")
    h = hello("brelka-bad")
    cases = [
        (b"GET / HTTP/1.1\r\n\r\n", "not registered, sent a record of the unknown type 8276"),
        (line("x"), "a line before the registration"), (h + h, "brelka-bad, sent a second registration"),
        (record(3, 2, 3 * b"\0"), "a record of type 2 with the length 3"),
        (record(7, 2, b"12b\0ela"), "an identity that ends nowhere"),
        (h + record(18, 1, 18 * b"\1"), "a record of type 1 with the length 18"),
        (h + record(8211, 1), "a record of type 1 with the length 8211"),
        (h + line("x", 0), "a line of level 0"), (h + line("x", 6), "a line of level 6"),
        (h + line("x", seconds=-1), "a line of second -1"), (h + line("x", end=b"x"), "a line that ends nowhere"),
        (h + line("x", micro=1000000), "a line of microsecond 1000000"),
    ]
    for stream, note in cases:
        assert Sender(None).send(stream).hung_up(), note
        await_text(note + (" and was dropped" if "registered" not in note else ""))
    service.signal(signal.SIGSTOP)
    for sender in unread:
        sender.send(hello() + line("in time"))
    time.sleep(5.5)  # longer than a registration may take
    service.signal(signal.SIGCONT)
    assert idle.hung_up()
    await_text("not registered, did not register and was dropped")
    wait_until(lambda: texts().count("in time") == len(unread))
    good.line("after", FATAL, YRAFT_WIN)
    await_text(" after\n")
    assert entries()[-1][1:4] == ("FATAL", "YRAFT_WIN", "brelka-good") and len(entries()) == 3 + len(unread) + len(cases)


def test_what_was_sent_before_the_end_is_taken_in(serve):
    service = serve()
    early = Sender("brelka-early").line("first")
    await_text("first")
    service.signal(signal.SIGSTOP)
    for _ in range(20):  # more than is read at once
        early.line(8000 * "e")
    Sender("brelka-late").line("late")
    service.signal(signal.SIGINT)
    service.signal(signal.SIGCONT)
    assert service.wait() == 0
    assert len(entries()) == 22 and "late" in texts()
    with pytest.raises(OSError):
        early.line("nobody hears it")


def test_a_dead_service_is_replaced_and_a_living_one_is_not(kvolog, serve):
    LOG.write_text("tor")  # by somebody who was cut off
    first = serve(setup=lambda: os.umask(0o077))
    assert SOCKET.stat().st_mode & 0o777 == 0o666  # for everyone
    second = kvolog("serve")
    assert second.status == 1 and "already" in second.err
    Sender().line("still there")
    await_text("still there")
    assert re.fullmatch("tor\n2.* still there\n", LOG.read_text())
    first.signal(signal.SIGKILL)
    assert first.wait() == 128 + signal.SIGKILL and SOCKET.exists()
    assert serve().stop() == 0
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

    # The configuration's own file gives way to another one, and changes without a sound.
    new = CONFIG.with_name("new")
    shutil.copy(CONFIG, new)
    kvolog("output", other / "wrong.log")
    new.rename(CONFIG)
    with open(CONFIG, "r+b") as file, mmap.mmap(file.fileno(), 1076) as mapped:
        mapped[808:834] = b"/var/log/other/right.log\0\0"
    wait_until((other / "right.log").exists)


def old(number, end=""):
    return LOG.with_name(f"fsr.log.{number}{end}")


def fill(sender, mebibytes, first=0):
    for n in range(first, first + mebibytes * 131):
        sender.line(f"{n} " + 8000 * "x")


def test_old_files_hold_whole_lines_and_only_its_own_go(kvolog, serve):
    kvolog("rollover", 1, 4)
    for number in (5, 6):
        old(number).write_text("logrotate's")
    old(0, ".gz").write_text("somebody's")
    service = serve()
    sender = Sender()
    fill(sender, 7)
    await_text(f"{7 * 131 - 1} xx")
    files = [LOG, *map(old, range(1, 5))]
    numbers = [int(entry.text.split()[0]) for file in reversed(files) for entry in entries(file)]
    assert numbers == list(range(7 * 131))[-len(numbers):] and len(numbers) > 4 * 129
    assert all((1 << 20) - 8200 < file.stat().st_size <= 1 << 20 for file in files[1:])
    kvolog("rollover", 1, 2)
    wait_until(lambda: not old(4).exists() and not old(3).exists())
    kvolog("rollover", 1, 2, "--compress")
    wait_until(lambda: old(1, ".gz").exists() and old(2, ".gz").exists() and not old(1).exists())
    assert all((1 << 20) - 8200 < len(gzip.open(old(number, ".gz")).read()) <= 1 << 20 for number in (1, 2))
    kvolog("rollover", "off")
    wait_until(lambda: not kvolog.shown("status")["rolls"])
    fill(sender, 3)
    wait_until(lambda: LOG.stat().st_size > 3 << 20)
    assert service.stop() == 0
    assert old(5).read_text() == old(6).read_text() == "logrotate's" and old(0, ".gz").exists()


def test_what_is_no_regular_file_is_not_touched(kvolog, serve):
    precious = LOG.with_name("precious")
    precious.write_text("precious\n")
    LOG.symlink_to(precious)
    service = serve()
    Sender().line("waits")
    wait_until(lambda: "it is a symbolic link; trying again" in service.err)
    os.mkfifo(pipe := LOG.with_name("pipe"))
    pipe.rename(LOG)
    time.sleep(0.4)
    LOG.unlink()
    await_text("waits")
    assert LOG.stat().st_mode & 0o777 == 0o640
    CONFIG.unlink()
    CONFIG.symlink_to(precious)
    assert "no regular file" in kvolog("set", "ALL", "1").err
    assert precious.read_text() == "precious\n"
    CONFIG.unlink()


def test_a_log_that_was_removed_comes_back_within_a_second(serve):
    serve()
    for remove in (LOG.unlink, lambda: shutil.rmtree(LOG.parent)):
        Sender().line("one")
        await_text("one")
        remove()
        wait_until(LOG.exists, 1)


def test_its_status_names_who_logs(kvolog, serve):
    service = serve()
    sender = Sender("brelka-vcagent").line("one").line("two", FATAL)
    await_text("two")
    status = kvolog.shown("status")
    assert (status["pid"], status["output"], status["lost"], status["stalled"]) == (service.pid, str(LOG), 0, False)
    size = len(hello("brelka-vcagent") + 2 * line("one"))
    assert [list(one.values()) for one in status["clients"]] == [
        [os.getpid(), os.getuid(), "brelka-vcagent", 17, 2, size, 0]]
    assert re.search(rf"\n *{os.getpid()} +{os.getuid()} +brelka-vcagent +17 +2 +{size} ", kvolog("status").out)
    sender.socket.close()
    wait_until(lambda: kvolog.shown("status")["clients"] == [])

    # Who asks for more than there is room for, and reads none of it, holds nobody.
    crowd = [Sender(31 * "\1") for _ in range(900)]
    lazy = [Sender(None).send(b"\0\0\3\0") for _ in range(3 if SANITIZED else 20)]
    Sender("brelka-other").line("at once")
    wait_until(lambda: "at once" in LOG.read_text(), 60 if SANITIZED else 15)
    assert len(kvolog.shown("status")["clients"]) == len(crowd) and lazy


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


def test_a_full_disk_costs_lines_that_are_counted_and_cuts_none(serve, run):
    assert run("mount", "-t", "tmpfs", "-o", "size=64k", "tmpfs", LOG.parent).status == 0
    service = serve()
    sender = Sender()
    fill(sender, 60)
    wait_until(lambda: "No space left on device; trying again" in service.err)
    run("mount", "-o", "remount,size=200m", LOG.parent)
    await_text("are missing here")
    assert service.err.count("No space") == 1
    kept = [int(one.removesuffix(" " + 8000 * "x")) for one in texts() if one.endswith("x")]
    missing = next(int(one.split()[0]) for one in texts() if "are missing here" in one)
    assert len(kept) + missing == 60 * 131 and kept == sorted(kept) and len(kept) > 3000
    assert service.stop() == 1 and "lines were lost" in service.err
    run("umount", LOG.parent)
