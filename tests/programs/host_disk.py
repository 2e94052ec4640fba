"""Transfers of yraft-host from and to a disk that is slow or poor, and of files that change meanwhile."""

import json
import os
import signal

import pytest

from conftest import BUILD, some, wait_until
from screen import *


def poor_disk(**more):
    return {"LD_PRELOAD": str(BUILD / "tests/poor_disk.so"), "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") +
            ":verify_asan_link_order=0", **more}


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
