"""yraft-pack, on real trees."""

import os
import re

from conftest import BUILD, as_ordinary_user

PACK = BUILD / "tools/yraft-pack/yraft-pack"


def test_a_tree_fills_as_many_blocks_as_it_takes(run, tmp_path):
    (tmp_path / "sub").mkdir()
    sizes = [i % 10 for i in range(3000)]
    for i, size in enumerate(sizes):
        (tmp_path / "sub" / ("n" * (1 + i % 90) + str(i))).write_bytes(bytes(size))
    os.truncate(os.open(tmp_path / "large", os.O_CREAT | os.O_WRONLY), 5 << 30)
    (tmp_path / "two\nlines\x1b").write_text("x")
    (tmp_path / "link").symlink_to("large")
    program = run(PACK, tmp_path)
    sizes += [1, 5 << 30, 5 << 30]
    assert program.status == 0 and re.search(r"^ +1  .*/two\?lines\?$", program.out, re.M)
    assert sorted(map(int, re.findall(r"^ *(\d+)  ", program.out, re.M))) == sorted(sizes)
    assert f"blocks: 3003 files, {sum(sizes)} bytes in " in program.out
    assert 65000 < max(map(int, re.findall(r"^block .* files in (\d+) bytes", program.out, re.M))) <= 65535
    assert "\n " not in run(PACK, "--quiet", tmp_path).out
    assert run("/bin/sh", "-c", 'exec "$0" "$1" >/dev/full', PACK, tmp_path).status == 1


def test_what_cannot_be_read_is_told_and_the_rest_packed(run, tmp_path):
    (tmp_path / "file").write_text("ok")
    (tmp_path / "locked").mkdir(mode=0)
    for link, place in (("up", "."), ("self", "self"), ("dangling", "nowhere")):
        (tmp_path / link).symlink_to(place)
    deep = os.open(tmp_path, os.O_RDONLY)
    for _ in range(25):
        os.mkdir("d" * 200, dir_fd=deep)
        deep = os.open("d" * 200, os.O_RDONLY, dir_fd=deep)
    program = run(PACK, tmp_path, setup=as_ordinary_user)
    assert program.status == 1 and re.search("^ *2  .*/file$", program.out, re.M)
    for told in ("locked: cannot read the folder: Permission denied", f"up: leads back to {tmp_path}",
                 "self: cannot follow the link: Too many levels", "dangling: cannot follow the link: No such file",
                 "File name too long"):
        assert program.err.count(told) == 1
    for usage in ([tmp_path / "nowhere"], [tmp_path / "file"], ["--wrong"], []):
        assert run(PACK, *usage).status == 2
    assert run(PACK, "--help").status == 0
