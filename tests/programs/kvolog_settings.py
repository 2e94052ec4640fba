"""What kvolog shows and changes, against the file that every process of the agent has mapped."""

import signal

from logservice import *


def stored():
    words = struct.unpack("<202I256sIII", CONFIG.read_bytes())
    return words[0], words[1:202]


def do(kvolog, *words):
    done = kvolog(*words)
    assert (done.status, done.out, done.err) == (0, "", ""), words


def test_settings_go_round_and_back(kvolog, tmp_path):
    defaults = CONFIG.read_bytes()
    for words in ("set yraft 179 Info", "set 187 off", "set YRAFT_WIN debug", "flags +thread -0x400",
                  "flags set 0x40000", "output /srv/agent.log", "rollover 2000 0 --compress", "rollover off"):
        do(kvolog, *words.split())
    flags, levels = stored()
    assert (flags, [levels[id] for id in (YRAFT, 179, YRAFT_RW, YRAFT_WIN)]) == (0x71227, [2, 2, 6, 1])
    assert kvolog.shown("flags") == {"flags": 0x71227, "default": 0x627,
                                     "names": {"FUNCTION": False, "THREAD": True}}
    assert kvolog.shown("output") == {"output": "/srv/agent.log"} and kvolog("output").out == "/srv/agent.log\n"
    assert kvolog.shown("rollover") == {"rolls": False, "size": 2000, "count": 0, "compress": True}

    # All of it can be saved, and comes back without the file being shortened under those who read it.
    do(kvolog, "save", tmp_path / "saved")
    changed, inode = CONFIG.read_bytes(), CONFIG.stat().st_ino
    dry = kvolog("reset", "--dry-run").out
    assert "YRAFT: INFO -> INHERIT\n" in dry and "flags: 0x71227 -> 0x627\n" in dry
    assert "output: /srv/agent.log -> /var/log/qmz/fsr.log\nrollover: 2000 0 -> 200 2\n" in dry
    assert CONFIG.read_bytes() == changed
    do(kvolog, "reset")
    assert CONFIG.read_bytes() == defaults
    do(kvolog, "restore", tmp_path / "saved")
    for broken in (b"", changed[:1075], changed[:4] + b"\7" + changed[5:], bytes(1076)):
        (tmp_path / "broken").write_bytes(broken)
        assert "no saved configuration" in kvolog("restore", tmp_path / "broken").err
    assert (CONFIG.read_bytes(), CONFIG.stat().st_ino) == (changed, inode)


def test_levels_go_back_after_their_time(kvolog, start):
    do(kvolog, "set", "YRAFT", "ERROR")
    for end in (None, signal.SIGINT):
        setting = start(KVOLOG, "set", "YRAFT", "YRAFT_WIN", "debug", "--for", "1s" if end is None else "1h")
        wait_until(lambda: stored()[1][YRAFT_WIN] == VERBOSE and setting.err)
        if end:
            do(kvolog, "set", "YRAFT", "NONE")  # somebody's word in between stands
            setting.signal(end)
        assert setting.wait() == 0
        assert [stored()[1][id] for id in (YRAFT, YRAFT_WIN)] == [NONE if end else ERROR, 0]


def test_the_tree_shows_what_decides(kvolog):
    do(kvolog, "set", "YRAFT", "ERROR")
    rows = kvolog.shown("levels")
    assert len(rows) == 201 and rows[0]["parent"] is None and len(kvolog.shown("levels", "yraft")) == 14
    assert rows[187] == {"id": 187, "class": "YRAFT_RW", "displayName": "YraftRw", "parent": "YRAFT",
                         "configured": "INHERIT", "effective": "ERROR", "default": "INHERIT"}
    assert ("\n175    YRAFT                   ERROR       ERROR      INHERIT  *\n"
            "176      YRAFT_CMD             INHERIT     ERROR      INHERIT\n") in kvolog("levels").out
    do(kvolog, "set", "YRAFT", "INHERIT")
    assert "nothing of ALL is written" in kvolog("set", "ALL", "INHERIT").err
    assert kvolog.shown("levels", "YRAFT_RW")[0]["effective"] is None
    assert kvolog("names", "levels").out.split() == "INHERIT VERBOSE INFO WARNING ERROR FATAL NONE".split()


def test_a_refusal_says_why_and_changes_nothing(kvolog):
    cases = [
        ("set yraft_winn 1", 1, "did you mean YRAFT_WIN?"), ("set win 1", 1, "did you mean YRAFT_WIN?"),
        (["set", "", "1"], 1, "there is no class ''"), ("set YRAFT 7", 1, "they are 0 to 6"),
        ("set 201 1", 1, "there is no class 201; they are 0 to 200"), ("set YRAFT 1 --for 10", 2, "no span of time"),
        ("set YRAFT verbos", 1, "did you mean VERBOSE?"), ("set YRAFT", 2, "kvolog set: LEVEL is required"),
        ("flags set", 2, "BITS are required"), ("flags 0x400", 2, "starts with + or -"),
        ("flags --jsn", 2, "'--jsn' is no change of flags"), ("flags +0x400 -0x401", 2, "both set and cleared"),
        ("output agent.log", 1, "start with /"), ("output /var/log", 1, "is a folder, a link or a device"),
        (["output", "/" + 255 * "x"], 1, "256 bytes, the most is 255"), ("status", 1, "no log service listens"),
        ("rollover 2001 1", 1, "the size has to be 1 to 2000"), ("rollover 5 101", 1, "the count has to be 0 to 100"),
        ("rollover 5", 2, "SIZE requires COUNT"), ("rollover off 1", 2, "'off' is no number"),
        ("tail -g (", 2, "no regular expression"), ("tail --since soon", 2, "'soon' is no time"),
        ("tail /var/log", 1, "cannot read '/var/log': Is a directory"), ("tail -n many", 2, "no number"),
        ("tail --level none", 1, "no line has the level"), ("tell", 2, "not expected: tell"),
        ("", 2, "a command is missing"),
    ]
    before = CONFIG.read_bytes()
    for words, status, why in cases:
        done = kvolog(*(words.split() if isinstance(words, str) else words))
        assert (done.status, done.out) == (status, "") and why in done.err, (words, done.err)
    assert CONFIG.read_bytes() == before
    assert "kvologd.service writes below" in kvolog("output", "/opt/agent.log").err


@needs_other_users
def test_other_groups_may_look_and_not_touch(kvolog):
    def other(*words):
        return kvolog(*words, setup=lambda: os.setgid(NOBODY))

    assert other("levels").out == kvolog("levels").out
    for words in ("set ALL 1", "flags +1", "output /x", "rollover 1 1", "reset"):
        assert "only a process of group 0 may change" in other(*words.split()).err
    for size in (0, 5, 1076):  # what has no bytes is not mapped
        CONFIG.unlink()
        CONFIG.touch()
        os.truncate(CONFIG, size)
        assert other("levels").status == 1
    CONFIG.unlink()
    assert "does not exist yet" in other("serve").err


def test_the_units_are_understood_and_sandboxed(run, tmp_path):
    unit, sockets = tmp_path / "kvologd.service", tmp_path / "kvologd.socket"
    unit.write_text(re.sub("@.*@/kvolog", str(KVOLOG), (ROOT / "packaging/kvologd.service.in").read_text()))
    shutil.copy(ROOT / "packaging/kvologd.socket", sockets)
    verified = run("systemd-analyze", "verify", "--man=no", unit, sockets)
    assert (verified.status, verified.err) == (0, "")
    assert run("systemd-analyze", "security", "--offline=true", "--threshold=9", unit).status == 0
