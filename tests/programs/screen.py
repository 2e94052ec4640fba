"""The user in front of the screen of tools/screen, and yraft-host on it. Import all of it."""

import os
import subprocess
import time

import pytest

from conftest import BUILD, wait_until

HOST = BUILD / "tools/yraft-host/yraft-host"
OPEN, PICK, FOLDER, BOX = "Select Files to Download", "Open:", "Select Upload Folder", "File Transfer Error"
PROGRESS = "File transfer: "


def xdotool(*words):
    return subprocess.run(["xdotool", *words], capture_output=True, text=True, timeout=30).stdout.split()


def windows(title):
    return xdotool("search", "--onlyvisible", "--name", title)


def stands_still(window):
    """Waits until a window's title has not changed for half a second."""
    name = lambda: xdotool("getwindowname", window)
    wait_until(lambda: name() == [time.sleep(0.5), name()][1])


def face(title):
    """Waits for a window and makes it the active one."""

    def is_active():
        found = windows(title)
        if not found:
            return None
        xdotool("windowactivate", found[-1])
        return found[-1] if xdotool("getactivewindow") == found[-1:] else None

    return wait_until(is_active)


def press(title, *keys):
    """Presses keys in a window; sent to it, none counts as typed before it came up."""
    window = face(title)
    xdotool("key", "--window", window, *keys)
    return window


def accept(title, *keys, patience=0.1):
    """Presses keys until a dialog is gone: one that has just come up may take no notice."""
    window = face(title)
    wait_until(lambda: not windows(title) or time.sleep(patience) or xdotool("key", "--window", window, *keys))


def accept_all(title=OPEN):
    accept(title, "ctrl+a", "alt+o", patience=1)  # its list fills file by file, on a busy machine slowly


def accept_folder(title=FOLDER):
    accept(title, "alt+s")


def close_box():
    """The box that tells what did not go well."""
    accept(BOX, "Escape")


class Desk:
    """A user's home, a folder beside it, and yraft-host started in them."""

    def __init__(self, root, start):
        self.home, self.files = root / "home", root / "files"
        self._start = start
        for folder in (self.home, self.files, self.home / ".local/share"):
            folder.mkdir(parents=True)

    def start(self, *words, env=None, **how):
        environment = {"HOME": str(self.home), "XDG_DATA_HOME": str(self.home / ".local/share"), "TERM": "xterm",
                       "GDK_CORE_DEVICE_EVENTS": "1"}  # GTK 3 hears no sent key without
        return self._start(HOST, *words, env={**environment, **(env or {})}, **how)

    def download(self, *words, **how):
        return self.start("download", "--to", self.files, *words, **how)

    def names(self):
        return sorted(os.listdir(self.files))


@pytest.fixture
def desk(tmp_path, start):
    return Desk(tmp_path, start)


def ends(program, status, out=None, err=""):
    """Expects an end and what was said until then."""
    assert (program.wait(), program.err) == (status, f"yraft-host: {err}\n" if err else "")
    assert out is None or program.out == out
