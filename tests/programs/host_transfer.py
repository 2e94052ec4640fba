"""Transfers of yraft-host as a person makes them: real windows, real keys, real files."""

import json
import os
import pathlib
import random
import re
import signal
import subprocess
import time

import pytest

from conftest import BUILD, LIBC, wait_until
from screen import *

POOR_DISK = BUILD / "tests/poor_disk.so"


def some(size):
    return random.Random(size).randbytes(size)


def poor_disk(**more):
    return {"LD_PRELOAD": str(POOR_DISK), "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") +
            ":verify_asan_link_order=0", **more}


def as_ordinary_user():
    """Although the test may be root, file modes bind what it starts."""
    for right in (1, 2):  # CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH
        LIBC.prctl(24, right, 0, 0, 0)  # PR_CAPBSET_DROP


def test_a_download_brings_every_file_and_replaces_none(desk):
    long = "x" * 251 + ".txt"
    names = [b"a b.txt", "über.txt".encode(), b"line\nfeed", b"b\xff.bin", b"esc\x1b\xc2\x9b\xe2\x80\xae[", b"empty",
             long.encode()]
    for name in names:
        path = os.path.join(os.fsencode(desk.home), name)
        pathlib.Path(os.fsdecode(path)).write_bytes(b"" if name == b"empty" else some(300000))
        os.utime(path, (1e9, 1e9))
    os.setxattr(desk.home / "a b.txt", "user.origin", b"camera")
    (desk.home / "empty").chmod(0o751)
    (desk.files / "a b.txt").write_text("old")
    (desk.files / long).write_text("old")
    program = desk.download()
    accept_all()
    ends(program, 0)
    assert (desk.files / "a b.txt").read_text() == (desk.files / long).read_text() == "old"
    arrived = {os.fsencode(path.name): path for path in desk.files.iterdir() if path.stat().st_size != 3}
    assert set(arrived) == {b"a b (2).txt", (long[:247] + " (2).txt").encode(), *names[1:-1]}
    for name, path in arrived.items():
        assert path.read_bytes() == (b"" if name == b"empty" else some(300000))
        assert path.stat().st_mtime == 1e9
        assert path.stat().st_mode & 0o777 == (0o751 if name == b"empty" else 0o644)
    assert os.getxattr(desk.files / "a b (2).txt", "user.origin") == b"camera"
    assert {"a b.txt: 300000 bytes, kept as a b (2).txt", "line?feed: 300000 bytes",
            "esc???[: 300000 bytes"} <= set(program.out.splitlines())


def test_an_upload_brings_what_can_be_read_and_says_what_cannot(desk):
    (desk.files / "note.txt").write_text("new")
    (desk.files / "[a,b]").write_bytes(some(1000))
    (desk.files / "secret").touch(mode=0)
    with open(desk.files / "sparse", "wb") as sparse:
        sparse.truncate(1 << 30)
    (desk.home / "note.txt").write_text("old")
    (desk.files / "folder/below").mkdir(parents=True)
    (desk.files / "folder/below/1").write_text("1")
    program = desk.start("upload", "note.txt", "../files/note.txt", "[a,b]", "/proc/version", "sparse",
                         "nowhere", "secret", "/dev/null", "folder", cwd=desk.files, setup=as_ordinary_user)
    accept_folder()
    close_box()
    assert program.wait() == 1
    contents = {name: (desk.home / name).read_bytes()
                for name in ("note.txt", "note (2).txt", "note (3).txt", "[a,b]", "version", "folder/below/1")}
    assert contents == {"note.txt": b"old", "note (2).txt": b"new", "note (3).txt": b"new",
                        "[a,b]": some(1000), "version": pathlib.Path("/proc/version").read_bytes(), "folder/below/1": b"1"}
    assert (desk.home / "sparse").stat().st_size == 1 << 30 and (desk.home / "sparse").stat().st_blocks < 100
    for line in ("nowhere: cannot be opened: No such file or directory", "is a folder, a device, a pipe or a socket, not a file",
                 "secret: cannot be opened: Permission denied", "6 of 9 files arrived"):
        assert line in program.err


ENDINGS = [(["Tab", "Tab", "space"], None), ([], signal.SIGINT), (["Tab", "space"], signal.SIGTERM), ([], signal.SIGHUP)]


@pytest.mark.parametrize("keys, number", ENDINGS)
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
    (desk.files / "many").mkdir()
    for i in range(5000):
        (desk.files / f"many/{i}").write_bytes(b"x" * 4096)
    program = desk.start("upload", "--rate", "1M", *(desk.files / "many").iterdir(), env={"HOME": str(desk.home)})
    accept_folder()
    wait_until(lambda: len(os.listdir(desk.home)) > 500)
    press(PROGRESS, "Tab", "Tab", "space")
    assert program.wait() == 1 and len(os.listdir(desk.home)) < 5000


def test_a_slow_disk_is_no_reason_not_to_obey(desk, tmp_path):
    """Cancel and a first Ctrl+C before the file is on the disk drop it; a second one does not wait."""
    mark = tmp_path / "mark"
    for name in ("a:b", "hole", "1"):
        (desk.home / name).write_bytes(some(3000))
    with open(desk.home / "hole", "ab") as file:
        file.truncate(100000)
    (desk.files / ".yraft-1-1-old.part").touch()
    (desk.files / "1").write_text("old")
    program = desk.download(env=poor_disk())
    accept_all()
    close_box()
    assert (program.wait(), program.out) == (1, "1: 3000 bytes, kept as 1 (2)\nhole: 100000 bytes\n")
    assert "a:b: the folder takes no ':' in a name\n" in program.err
    assert (desk.files / "hole").read_bytes() == some(3000) + bytes(97000)
    assert desk.names() == ["1", "1 (2)", "hole"]  # and what a process that is gone had left is gone
    disk = poor_disk(YRA_SYNC_SECONDS="2", YRA_SYNC_MARK=str(mark))
    for keys, signals in ((["Tab", "space", "Tab", "space"], 0), ([], 1), ([], 2)):
        mark.unlink(missing_ok=True)
        program = desk.start("upload", "--rate", 6000, desk.home / "1", env=disk)
        accept_folder()
        wait_until(mark.exists)
        started = time.monotonic()
        press(PROGRESS, *keys)
        for _ in range(signals):
            program.signal(signal.SIGINT)
            time.sleep(0.2)
        assert program.wait() == (1 if signals < 2 else 128 + signal.SIGINT)
        assert signals < 2 or time.monotonic() - started < 1.5
        assert not (desk.home / "1 (2)").exists()


def test_a_pause_holds_until_the_window_is_closed_and_comes_back(desk):
    name = "日本語 " + "x" * 60
    (desk.home / name).write_bytes(some(600000))
    program = desk.download("--rate", "100K", columns=50)
    accept_all()
    window = press(PROGRESS, "Tab", "space")
    wait_until(lambda: "KiB  paused" in program.out)
    before = title(window)
    time.sleep(0.3)
    assert title(window) == before and program.running()

    def came_back():
        if windows(PROGRESS) == [window]:
            face(PROGRESS)
            xdotool("key", "alt+F4")  # the window manager's own
        return windows(PROGRESS) not in ([], [window])

    wait_until(came_back)
    assert program.wait() == 0
    assert (desk.files / name).read_bytes() == some(600000)
    lines = re.findall(r"\r\x1b\[K([^\r]+)(?=\r\x1b\[K)", program.out)
    assert len(lines) >= 5
    for line in lines:
        assert len(line) + line.count("日") * 3 <= 50 and line.endswith("...")
    assert f"\r\x1b[K{name}: 600000 bytes\r\n" in program.out


def test_a_folder_that_takes_nothing_is_refused(desk):
    (desk.home / "1").write_text("1")
    desk.files.chmod(0o500)
    error = f"{desk.files}: Permission denied"
    ends(desk.download(setup=as_ordinary_user), 2, "", error)
    program = desk.start("upload", desk.home / "1", env={"HOME": str(desk.files)}, setup=as_ordinary_user)
    accept_folder()
    close_box()
    accept(FOLDER, "Escape")  # to choose again
    ends(program, 1, "", error + "\nyraft-host: nothing was chosen")


def test_an_upload_goes_into_the_folder_that_is_clicked(desk):
    (desk.home / "Alpha/Beta").mkdir(parents=True)
    (desk.home / "Zeta").mkdir()
    (desk.files / "1").write_text("1")
    program = desk.start("upload", desk.files / "1", cwd="/")
    chooser = face(FOLDER)
    for clicks in ("2", "1"):  # into Alpha, on Beta
        time.sleep(1)  # the list fills
        xdotool("mousemove", "--window", chooser, "350", "98", "click", "--repeat", clicks, "--delay", "50", "1")
    time.sleep(0.5)
    accept_folder()
    ends(program, 0, "1: 1 bytes\n")
    assert (desk.home / "Alpha/Beta/1").exists()


def test_a_full_disk_takes_no_part_of_a_file(desk):
    subprocess.run(["mount", "-t", "tmpfs", "-o", "size=1m", "tmpfs", desk.files], check=True)
    try:
        (desk.home / "1").write_bytes(some(2000000))
        (desk.home / "2").write_bytes(some(500000))
        program = desk.download()
        accept_all()
        close_box()
        assert program.wait() == 1
        assert desk.names() == ["2"] and (desk.files / "2").read_bytes() == some(500000)
        assert "/1: cannot be written: No space left on device" in program.err
    finally:
        subprocess.run(["umount", desk.files], check=True)


def test_a_file_that_changes_is_taken_where_that_is_asked_for_and_grows(desk):
    log = desk.home / "log"
    for options, mode, status, size in (([], "ab", 1, None), ([], "r+b", 1, None), (["--as-it-is", "--json"], "ab", 0, 200000)):
        log.write_bytes(some(200000))
        program = desk.download("--rate", 300000, *options)
        accept_all()
        wait_until(lambda: windows(PROGRESS))
        with open(log, mode) as file:
            file.write(b"more")
        if status:
            close_box()
        assert program.wait() == status
        assert [path.stat().st_size for path in desk.files.iterdir()] == ([size] if size else [])
    assert json.loads(program.out) == [{"source": str(log), "path": str(desk.files / "log"), "bytes": size}]
