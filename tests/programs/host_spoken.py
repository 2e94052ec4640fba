"""What those hear who cannot see the dialogs: names, roles, relations and values, as the bus of assistive
technology carries them."""

import os

import gi
import pytest

from conftest import Program, wait_until
from screen import *

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi

NONE = "No such file or directory"  # without a German locale
CHOOSER = ["dialog", "file chooser"]  # by either toolkit


@pytest.fixture
def bus(tmp_path):
    """A session's bus of its own, on which the dialogs and this test speak."""
    os.environ.update(XDG_RUNTIME_DIR=str(tmp_path), GTK_MODULES="gail:atk-bridge")
    del os.environ["NO_AT_BRIDGE"]
    read, write = os.pipe()
    daemon = Program("dbus-daemon", "--session", "--nofork", f"--print-address={write}", pass_fds=(write,))
    os.close(write)
    with open(read) as address:
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = address.readline().strip()
    yield
    daemon.close()


def children(parent):
    return filter(None, map(parent.get_child_at_index, range(parent.get_child_count())))


def told(parent, role):
    """What a window tells of its widgets of a role, by their names."""
    found = {}
    for child in children(parent):
        found |= {child.get_name(): child} if child.get_role_name().removeprefix("push ") == role else told(child, role)
    return found


def has(accessible, state):
    return accessible.get_state_set().contains(state)


def heard(roles, name):
    """Waits for the active window, which is of one of these roles and begins with this name."""
    face(name)
    return wait_until(lambda: [window for program in children(Atspi.get_desktop(0)) for window in children(program)
                               if window.get_role_name() in roles and window.get_name().startswith(name) and
                               has(window, Atspi.StateType.ACTIVE)])[0]


def test_every_dialog_tells_what_it_shows_and_hears_its_mnemonics(desk, bus):
    (desk.home / "a_file").write_bytes(bytes(1000000))
    program = desk.start("message", "A_Title", "a_text")
    box = heard(["alert"], "A_Title")
    assert "a_text" in told(box, "label") and has(told(box, "button")["Close"], Atspi.StateType.FOCUSED)
    press("A_Title", "alt+c")
    ends(program, 0)
    program = desk.start("upload", "--to", desk.files, desk.home / "a_file", "nowhere", env={"LANG": "de_DE.UTF-8"})
    title = "Fehler bei der Dateiübertragung"
    box = told(heard(["alert"], title), "label")
    assert {"Angekommene Dateien: 1 von 2.", f"nowhere: lässt sich nicht öffnen: {NONE}"} <= box.keys()
    press(title, "Escape")
    ends(program, 1, err=f"nowhere: cannot be opened: {NONE}\nyraft-host: 1 of 2 files arrived")
    program = desk.download("--rate", 50000)
    assert {"Cancel", "Open"} <= told(heard(CHOOSER, OPEN), "button").keys()
    accept_all()
    window = heard(["frame"], PROGRESS)
    bar, label = told(window, "progress bar")["File transfer"], told(window, "label")["Downloading file 1 of 1\na_file"]
    [named] = bar.get_relation_set()
    assert (named.get_relation_type(), named.get_target(0)) == (Atspi.RelationType.LABELLED_BY, label)
    wait_until(lambda: 0.1 < Atspi.Value.get_current_value(bar) / Atspi.Value.get_maximum_value(bar) < 1)
    buttons = told(window, "button")
    assert [has(button, Atspi.StateType.FOCUSED) for button in (buttons["Pause"], buttons["Cancel"])] == [False] * 2
    press(PROGRESS, "alt+p")
    wait_until(lambda: buttons["Pause"].get_name() == "Resume")
    press(PROGRESS, "Tab", "Tab", "space")
    assert program.wait() == 1
