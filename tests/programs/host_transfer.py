"""Transfers of yraft-host as a person makes them: real windows, real keys, real files."""

import itertools
import json
import os
import pathlib
import random
import re
import resource
import signal
import time

import pytest

from conftest import BUILD, LIBC, wait_until
from screen import *

def some(size):
    return random.Random(size).randbytes(size)


def poor_disk(**more):
    return {"LD_PRELOAD": str(BUILD / "tests/poor_disk.so"), "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") +
            ":verify_asan_link_order=0", **more}


def as_ordinary_user():
    """Although the test may be root, file modes bind what it starts."""
    for right in (1, 2):  # CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH
        LIBC.prctl(24, right, 0, 0, 0)  # PR_CAPBSET_DROP


def test_a_download_brings_every_file_that_fits_and_replaces_none(desk):
    long = "x" * 251 + ".txt"
    names = [b"a b.txt", "über.txt".encode(), b"line\nfeed", b"b\xff.bin", b"esc\x1b\xc2\x9b\xe2\x80\xae[", b"empty",
             long.encode()]
    for name in (*names, b"large"):
        path = os.path.join(os.fsencode(desk.home), name)
        pathlib.Path(os.fsdecode(path)).write_bytes(some({b"empty": 0, b"large": 900000}.get(name, 300000)))
        os.utime(path, (1e9, 1e9))
    os.setxattr(desk.home / "a b.txt", "user.origin", b"camera")
    (desk.home / "empty").chmod(0o751)
    for name in ("a b.txt", long):
        (desk.files / name).write_text("old")
    program = desk.download(setup=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (500000, 500000)))
    accept_all()
    close_box()
    ends(program, 1, err=f"{desk.home}/large: cannot be written: File too large\nyraft-host: 7 of 8 files arrived")
    assert (desk.files / "a b.txt").read_text() == (desk.files / long).read_text() == "old"
    arrived = {os.fsencode(path.name): path for path in desk.files.iterdir() if path.stat().st_size != 3}
    assert set(arrived) == {b"a b (2).txt", (long[:247] + " (2).txt").encode(), *names[1:-1]}
    for name, path in arrived.items():
        assert path.read_bytes() == some(0 if name == b"empty" else 300000) and path.stat().st_mtime == 1e9
        assert path.stat().st_mode & 0o777 == (0o751 if name == b"empty" else 0o644)
    assert os.getxattr(desk.files / "a b (2).txt", "user.origin") == b"camera"
    assert {"a b.txt: 300000 bytes, kept as a b (2).txt", "line?feed: 300000 bytes",
            "esc???[: 300000 bytes"} <= set(program.out.splitlines())


def test_an_upload_brings_what_can_be_read_and_says_what_cannot(desk):
    (desk.files / "folder/below").mkdir(parents=True)
    for name, content in {"note.txt": b"new", "[a,b]": some(1000), "folder/below/1": b"1", "secret": b"", "sparse": b""}.items():
        (desk.files / name).write_bytes(content)
    (desk.files / "secret").chmod(0)
    os.truncate(desk.files / "sparse", 1 << 30)
    (desk.home / "note.txt").write_text("old")
    program = desk.start("upload", "note.txt", "../files/note.txt", "[a,b]", "/proc/version", "sparse",
                         "nowhere", "secret", "/dev/null", "folder", cwd=desk.files, setup=as_ordinary_user)
    accept_folder()
    close_box()
    ends(program, 1, err="""nowhere: cannot be opened: No such file or directory
yraft-host: secret: cannot be opened: Permission denied
yraft-host: /dev/null: is a folder, a device, a pipe or a socket, not a file
yraft-host: 6 of 9 files arrived""")
    contents = {"note.txt": b"old", "note (2).txt": b"new", "note (3).txt": b"new", "[a,b]": some(1000),
                "version": pathlib.Path("/proc/version").read_bytes(), "folder/below/1": b"1"}
    assert contents == {name: (desk.home / name).read_bytes() for name in contents}
    assert (desk.home / "sparse").stat().st_size == 1 << 30 and (desk.home / "sparse").stat().st_blocks < 100


@pytest.mark.parametrize("keys, number", [
    (["Tab", "Tab", "space"], None), ([], signal.SIGINT), (["Tab", "space"], signal.SIGTERM), ([], signal.SIGHUP)])
def test_a_transfer_that_is_ended_keeps_whole_files_only(desk, keys, number):
    (desk.home / "1").write_bytes(some(1000))
    with open(desk.home / "2", "wb") as large:  # 6 GiB, with bytes at 60 % only
        large.truncate(6 << 30)
        large.seek(3600 << 20)
        large.write(some(4000000))
    program = desk.download("--rate", 200000)
    accept_all()
    wait_until(lambda: "1" in desk.names())  # it does not wait for the large one
    wait_until(lambda: windows(PROGRESS + "58"))
    press(PROGRESS, *keys)
    if number:
        program.signal(number)
    ends(program, 1, "1: 1000 bytes\n", "cancelled; 1 of 2 files arrived")
    assert desk.names() == ["1"]


def test_an_upload_into_the_folder_that_was_shown_is_obeyed(desk):
    for i in range(5000):
        (desk.files / f"{i}").write_bytes(b"x" * 4096)
    program = desk.start("upload", "--rate", "1M", *desk.files.iterdir())
    accept_folder()
    wait_until(lambda: len(os.listdir(desk.home)) > 500)
    press(PROGRESS, "Tab", "Tab", "space")
    assert program.wait() == 1 and len(os.listdir(desk.home)) < 5000


def test_a_poor_disk_takes_what_it_can(desk):
    for name in ("a:b", "hole", "1"):
        (desk.home / name).write_bytes(some(3000))
    os.truncate(desk.home / "hole", 100000)
    (desk.files / ".yraft-1-1-old.part").touch()  # of a process that is gone
    (desk.files / "1").write_text("old")
    program = desk.download(env=poor_disk())
    accept_all()
    close_box()
    assert (program.wait(), program.out) == (1, "1: 3000 bytes, kept as 1 (2)\nhole: 100000 bytes\n")
    assert "a:b: the folder takes no ':' in a name\n" in program.err
    assert (desk.files / "hole").read_bytes() == some(3000) + bytes(97000)
    assert desk.names() == ["1", "1 (2)", "hole"]


@pytest.mark.parametrize("keys, number, status", [
    (["Tab", "space", "Tab", "space"], 0, 1), ([], signal.SIGINT, 1), ([], signal.SIGINT, 128 + signal.SIGINT)])
def test_a_slow_disk_is_no_reason_not_to_obey(desk, tmp_path, keys, number, status):
    """Cancel and a first Ctrl+C before the file is on the disk drop it; a second one does not wait."""
    (desk.files / "1").write_bytes(some(3000))
    disk = poor_disk(YRA_SYNC_SECONDS="60" if status > 1 else "8", YRA_SYNC_MARK=str(tmp_path / "mark"))
    program = desk.start("upload", "--rate", 3000, desk.files / "1", env=disk)
    accept_folder()
    wait_until((tmp_path / "mark").exists)
    press(PROGRESS, *keys)
    if number:
        program.signal(number)
    if status > 1:
        wait_until(lambda: program.signal(number) or not program.running())
    assert program.wait() == status and not (desk.home / "1").exists()


def test_a_pause_holds_until_the_window_is_closed_and_comes_back(desk):
    name = "日本語 " + "x" * 60
    (desk.home / name).write_bytes(some(600000))
    program = desk.download("--rate", "100K", columns=50)
    accept_all()
    window = press(PROGRESS, "Tab", "space")
    wait_until(lambda: "KiB  paused" in program.out)
    stands_still(window)

    def came_back():
        if windows(PROGRESS) == [window]:
            face(PROGRESS)
            xdotool("key", "alt+F4")  # the window manager's own
        return windows(PROGRESS) not in ([], [window])

    wait_until(came_back)
    assert program.wait() == 0 and (desk.files / name).read_bytes() == some(600000)
    lines = re.findall(r"\r\x1b\[K([^\r]+)(?=\r\x1b\[K)", program.out)
    assert lines and all(len(line) + line.count("日") * 3 <= 50 and line.endswith("...") for line in lines)
    assert f"\r\x1b[K{name}: 600000 bytes\r\n" in program.out


def test_an_upload_goes_into_the_folder_that_is_clicked_and_none_that_takes_nothing(desk):
    (desk.home / "Alpha/Beta").mkdir(parents=True)
    (desk.home / "Zeta").mkdir()
    (desk.files / "1").write_text("1")
    for folder in (desk.home, desk.files):
        folder.chmod(0o500)
    ends(desk.download(setup=as_ordinary_user), 2, "", f"{desk.files}: Permission denied")
    program = desk.start("upload", desk.files / "1", cwd="/", setup=as_ordinary_user)
    accept_folder()
    close_box()
    chooser, pauses = face(FOLDER), itertools.count(1)

    def entered():
        xdotool("mousemove", "--window", chooser, "350", "98", "click", "--repeat", "2", "--delay", "50", "1")
        time.sleep(0.3 * next(pauses))  # no third click of a double one, nor one that has a folder read anew
        return desk.home / "Alpha/Beta" in map(pathlib.Path.readlink, pathlib.Path(f"/proc/{program.pid}/task").glob("*/cwd"))

    wait_until(entered)
    accept_folder()
    ends(program, 0, "1: 1 bytes\n", f"{desk.home}: Permission denied")
    assert (desk.home / "Alpha/Beta/1").exists()


@pytest.mark.parametrize("options, mode, status", [([], "ab", 1), ([], "r+b", 1), (["--as-it-is", "--json"], "ab", 0)])
def test_a_file_that_changes_is_taken_where_that_is_asked_for_and_grows(desk, options, mode, status):
    (desk.home / "log").write_bytes(some(200000))
    program = desk.download("--rate", 40000, *options)
    accept_all()
    wait_until(lambda: windows(PROGRESS))
    with open(desk.home / "log", mode) as file:
        file.write(b"more")
    if status:
        close_box()
    assert (program.wait(), desk.names()) == (status, [] if status else ["log"])
    if options:
        assert (desk.files / "log").read_bytes() == some(200000) and json.loads(program.out) == [
            {"source": str(desk.home / "log"), "path": str(desk.files / "log"), "bytes": 200000}]
