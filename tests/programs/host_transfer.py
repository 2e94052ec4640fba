"""Transfers of yraft-host as a person makes them: real windows, real keys, real files."""

import itertools
import os
import pathlib
import re
import resource
import signal
import time

import pytest

from conftest import as_ordinary_user, some, wait_until
from screen import *


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


def test_a_pause_holds_until_the_window_is_closed_and_comes_back(desk):
    name = "日本語 " + "x" * 60
    (desk.home / name).write_bytes(some(600000))
    program = desk.download("--rate", "50K", columns=50)
    accept_all()
    wait_until(lambda: windows(PROGRESS + "[1-9]"))
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
