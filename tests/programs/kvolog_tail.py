"""`kvolog tail` on a log that a real service writes."""

import gzip
import signal

import pytest
from conftest import SANITIZED
from logservice import *


def last_words(out):
    return [one.split()[-1] for one in out.splitlines()]


def aged(level, text, micro=0):
    return f"2026-11-24T20:08:10.{micro:06}+01:00 {level} YRAFT brelka-old 17 4711 {text}\n"


def test_it_shows_the_lines_that_matter(kvolog, serve):
    serve()
    agent = Sender("brelka-vcagent").line("a", VERBOSE, YRAFT).line("b", INFO).line("c", WARNING, LOCALISE)
    agent.line("d", ERROR, YRAFT_WIN)
    await_text(" d\n")
    Sender("brelka-Web Content").line("e", FATAL, ALL).line("f")
    await_text(" f\n")
    with open(LOG, "a") as log:
        log.write("foreign\n")
    for words, expected in [("", "a b c d e f foreign"), ("-n 3", "e f foreign"), ("-n0", ""), ("--class yraft", "a b d f"),
                            ("--class 187", "b f"), ("--level warning", "c d e f"), ("--level=5", "e"),
                            ("--identity *Web?C*", "e f"), ("-n 1 -c YRAFT -l info -i brelka-vc*", "d"), ("-g (c|f)$", "c f"),
                            ("-n all --grep brelka-vc -l err", "d"), ("--since 1h", "a b c d e f"), ("--until 1h", ""),
                            ("-S 2000-01-01 -U 2030-01-01 -n 2", "e f"), (str(LOG), "a b c d e f foreign")]:
        done = kvolog("tail", *words.split())
        assert done.status == 0 and last_words(done.out) == expected.split(), (words, done.out, done.err)
        assert "\033" not in done.out


def test_it_follows_across_rollovers_and_into_another_file(kvolog, serve, start):
    kvolog("rollover", 1, 100)
    serve()
    tail = start(KVOLOG, "tail", "-f")
    sender = Sender().line("start")
    wait_until(lambda: last_words(tail.out) == ["start"])
    for n in range(1000):
        sender.line(8000 * "x" + f" {n}")
    expected = ["start", *map(str, range(1000))]
    wait_until(lambda: tail.out.endswith(" 999\n"))
    other = LOG.parent / "other.log"
    kvolog("output", other)
    wait_until(other.exists)
    sender.line("moved", seconds=int(time.time()) + 1)  # not before the move, by a clock of whole seconds
    wait_until(lambda: tail.out.endswith("moved\n"))
    assert last_words(tail.out) == expected + ["moved"]
    kvolog("output", LOG)
    assert last_words(kvolog("tail", "-n", 500).out) == expected[-500:]  # of many files


def test_it_prints_json_and_reads_old_and_packed_files(kvolog, serve):
    serve()
    Sender("brelka x").line("a\tb\\", ERROR)
    await_text("a")
    shown = json.loads(kvolog("tail", "--json").out)
    assert shown.pop("time") == entries()[0].time
    assert shown == {"level": "ERROR", "class": "YRAFT_RW", "identity": "brelka x", "pid": os.getpid(),
                     "uid": os.getuid(), "session": 17, "thread": 4711, "text": "a\tb\\"}
    with gzip.open(LOG.with_name("fsr.log.2.gz"), "wt") as packed:
        packed.write("".join(aged("INFO", n, n) for n in range(1000)))
    LOG.with_name("fsr.log.1").write_text("".join(aged("INFO", n, n) for n in range(1000, 2000)))
    numbers = [str(n) for n in range(2000)]
    assert last_words(kvolog("tail", "-n", "all").out) == numbers + [r"a\tb\\"]
    assert last_words(kvolog("tail", "-n", "1502").out) == numbers[499:] + [r"a\tb\\"]
    assert last_words(kvolog("tail", "-n", "1", "-i", "brelka-old", "--until", "2026-12-01").out) == ["1999"]
    assert last_words(kvolog("tail", "-n", "3", LOG.with_name("fsr.log.2.gz")).out) == numbers[997:1000]
    old = json.loads(kvolog("tail", "--json", "-n1", LOG.with_name("fsr.log.1")).out)
    assert (old["identity"], old["pid"], old["uid"]) == ("brelka-old", None, None)


def test_it_finds_a_time_in_a_large_log(kvolog):
    with open(LOG, "w") as log:
        for n in range(86400):
            log.write(f"2026-11-24T{n // 3600:02}:{n // 60 % 60:02}:{n % 60:02}.500000+00:00 INFO ALL x 0 0 {n}\n")
            log.write(f" not {n} of\nours\n" if n % 7 == 0 else "")
    found = kvolog("tail", "--since", "2026-11-24 16:40:00", "--until", "2026-11-24T16:40:09", env={"TZ": "UTC"})
    assert last_words(found.out) == [str(n) for n in range(60000, 60009)]


def test_it_says_where_lines_are_missing(kvolog, start):
    LOG.write_text("one\n")
    tail = start(KVOLOG, "tail", "-f")
    wait_until(lambda: tail.out == "one\n")
    tail.signal(signal.SIGSTOP)
    for n in range(3):  # rolled over faster than it is read
        LOG.rename(LOG.with_name("fsr.log.1"))
        LOG.write_text(f"{n}\n")
    tail.signal(signal.SIGCONT)
    wait_until(lambda: tail.out == "one\n2\n")
    assert tail.err == "kvolog tail: lines may be missing here\n"


@pytest.mark.skipif(SANITIZED, reason="a sanitizer takes memory of its own")
def test_a_long_log_takes_little_memory(kvolog, start, tmp_path):
    text = aged("INFO", 40 * "x")
    LOG.write_text(2000000 * text)
    shown = tmp_path / "shown"
    shown.touch()
    tail = start("sh", "-c", f"exec {KVOLOG} tail -f -n 1999999 >{shown}")
    wait_until(lambda: shown.stat().st_size == 1999999 * len(text))
    peak = re.search(r"VmHWM:\s*(\d+)", pathlib.Path(f"/proc/{tail.pid}/status").read_text())[1]
    assert int(peak) < 20 << 10  # KiB


def test_it_reads_a_file_that_is_emptied_moved_or_not_finished(kvolog, start):
    LOG.write_text("one\ntw")
    tail = start(KVOLOG, "tail", "-f")
    wait_until(lambda: tail.out == "one\n")
    shown = "one\n"
    for step, more in [(lambda log: log.write("o\nthr"), "two\n"),
                       (lambda log: (log.truncate(8), log.write("three\n")), "three\n"),
                       (lambda log: (log.truncate(0), log.write("emptied\n")), "emptied\n"),
                       (lambda log: (LOG.rename(LOG.with_name("elsewhere")), log.write("late\n"), log.flush(),
                                     LOG.write_text("new\n")), "late\nnew\n")]:
        with open(LOG, "a") as log:
            step(log)
        shown += more
        wait_until(lambda: tail.out == shown)


def test_it_is_coloured_on_a_terminal(kvolog, start):
    LOG.write_text(aged("ERROR", "text") + "\033]0;foreign\a \xc2\x9b31m\n")
    assert "\033" in kvolog("tail").out
    for colours in (True, False):
        tail = start(KVOLOG, "tail", columns=200, env={"TERM": "xterm", "NO_COLOR": "" if colours else "1"})
        assert tail.wait() == 0 and r"\x1b]0;foreign\x07" in tail.out
        assert ("\033[31mERROR\033[0m YRAFT brelka" if colours else " ERROR YRAFT brelka") in tail.out
        assert ("\033" in tail.out) == colours
