"""`kvolog tail` on a log that a real service writes."""

from logservice import *


def last_words(out):
    return [one.split()[-1] for one in out.splitlines()]


def test_it_shows_the_lines_that_matter(kvolog, serve):
    serve()
    agent = Sender("brelka-vcagent").line("a", VERBOSE, YRAFT).line("b", INFO).line("c", WARNING, LOCALISE)
    agent.line("d", ERROR, YRAFT_WIN)
    await_text(" d\n")
    Sender("brelka-Web Content").line("e", FATAL, ALL).line("f")
    await_text(" f\n")
    with open(LOG, "a") as log:
        log.write("foreign\n")
    for words, expected in [("", "a b c d e f foreign"), ("-n 3", "e f foreign"), ("-n0", ""),
                            ("--class yraft", "a b d f"), ("--class 187", "b f"),
                            ("--class all", "a b c d e f foreign"), ("--level warning", "c d e f"),
                            ("--level=5", "e"), ("--identity brelka-vcagent", "a b c d"),
                            ("--identity *Web?C*", "e f"), ("-n 1 -c YRAFT -l info -i brelka-vc*", "d")]:
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
    assert last_words(tail.out) == expected
    other = LOG.parent / "other.log"
    kvolog("output", other)
    wait_until(other.exists)
    sender.line("moved")
    wait_until(lambda: last_words(tail.out) == expected + ["moved"])
    kvolog("output", LOG)
    assert last_words(kvolog("tail", "-n", 500).out) == expected[-500:]


def test_it_reads_a_file_that_is_emptied_moved_or_not_finished(kvolog, start):
    LOG.parent.mkdir(exist_ok=True)
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


def test_it_is_coloured_on_a_terminal(kvolog, serve, start):
    serve()
    Sender().line("text", ERROR)
    await_text(" text\n")
    for colours in (True, False):
        tail = start(KVOLOG, "tail", columns=200, env={"TERM": "xterm", "NO_COLOR": "" if colours else "1"})
        assert tail.wait() == 0
        assert ("\033[31mERROR\033[0m YRAFT_RW brelka" if colours else " ERROR YRAFT_RW brelka") in tail.out
        assert ("\033" in tail.out) == colours
