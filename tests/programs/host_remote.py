"""yraft-host and another machine: an OpenSSH server and a WebDAV server of the test's own, on loopback."""

import os
import pathlib
import signal
import socket
import subprocess

import pytest

from conftest import some, wait_until
from screen import *


def run(*words):
    return subprocess.run([str(word) for word in words], check=True, capture_output=True, text=True).stdout


def free_port():
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


def serve(start, port, *command):
    server = start(*command)
    wait_until(lambda: not server.running() or socket.socket().connect_ex(("127.0.0.1", port)) == 0)
    assert server.running(), server.err + server.out
    return server


def serve_ssh(desk, start, tmp_path):
    """The URL of the folder `files`, for a user whose key the server knows; the server's key is at `key`."""
    if pathlib.Path("/proc/self/uid_map").read_text().split()[2] == "1":
        pytest.skip("an SSH server changes to a user that only root can become")
    os.makedirs("/run/sshd", exist_ok=True)
    folder, port = desk.home / ".ssh", free_port()
    folder.mkdir(mode=0o700)
    for key in (tmp_path / "host", folder / "id_ed25519"):
        run("ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", key)
    options = ["ListenAddress=127.0.0.1", f"HostKey={tmp_path}/host", f"AuthorizedKeysFile={folder}/id_ed25519.pub",
               "StrictModes=no", "UsePAM=no", "PidFile=none", "PermitRootLogin=yes", "Subsystem=sftp internal-sftp"]
    desk.known = folder / "known_hosts"
    desk.server_key = f"[127.0.0.1]:{port} " + (tmp_path / "host.pub").read_text()
    desk.sshd = serve(start, port, "/usr/sbin/sshd", "-D", "-e", "-f", "/dev/null", "-p", port,
                      *(word for option in options for word in ("-o", option)))
    return f"sftp://127.0.0.1:{port}{desk.files}"


ssh = pytest.fixture(serve_ssh)


@pytest.fixture
def dav(desk, start, tmp_path, monkeypatch):
    """The URL of the same folder through a server that asks for a password, which stands in ~/.netrc."""
    port, pem = free_port(), tmp_path / "server.pem"
    run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", 1, "-subj", "/CN=localhost",
        "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", pem, "-out", tmp_path / "cert")
    pem.write_text(pem.read_text() + (tmp_path / "cert").read_text())
    (tmp_path / "users").write_text("user:secret\n")
    (desk.home / ".netrc").write_text("machine 127.0.0.1 login user password secret\n")
    config = tmp_path / "lighttpd.conf"
    config.write_text(f"""server.document-root = "{desk.files}"
server.bind = "127.0.0.1"
server.port = {port}
server.modules = ("mod_auth", "mod_authn_file", "mod_webdav", "mod_openssl")
server.upload-dirs = ("{tmp_path}")
ssl.engine = "enable"
ssl.pemfile = "{pem}"
webdav.activate = "enable"
auth.backend = "plain"
auth.backend.plain.userfile = "{tmp_path}/users"
auth.require = ("/" => ("method" => "basic", "realm" => "files", "require" => "valid-user"))
""")
    serve(start, port, "/usr/sbin/lighttpd", "-D", "-f", config)
    monkeypatch.setenv("SSL_CERT_FILE", str(tmp_path / "cert"))
    return f"https://127.0.0.1:{port}"


def test_files_go_to_an_ssh_server_and_come_back(desk, ssh):
    names = ["a b.txt", "ü \"quoted\".bin", "empty"]
    for name in names:
        (desk.home / name).write_bytes(some(0 if name == "empty" else 3000000))
        os.utime(desk.home / name, (1e9, 1e9))
    (desk.files / "a b.txt").write_text("old")
    program = desk.start("upload", "--to", ssh, *names, cwd=desk.home)
    accept("File Transfer$", "Escape")  # a server that was never met
    assert program.wait() == 2 and desk.names() == ["a b.txt"]
    program = desk.start("upload", "--to", ssh, *names, cwd=desk.home)
    accept("File Transfer$", "alt+y")
    ends(program, 0, 'a b.txt: 3000000 bytes, kept as a b (2).txt\nü "quoted".bin: 3000000 bytes\nempty: 0 bytes\n')
    assert desk.server_key.split()[2] in desk.known.read_text()
    contents = {"a b.txt": b"old", "a b (2).txt": some(3000000), names[1]: some(3000000), "empty": b""}
    assert contents == {path.name: path.read_bytes() for path in desk.files.iterdir()}
    assert [path.stat().st_mtime for path in desk.files.iterdir()].count(1e9) == 3
    back = desk.home / "back"
    back.mkdir()
    program = desk.start("upload", "--to", back, ssh + "/a%20b%20(2).txt", ssh + "/empty", ssh + "/nowhere")
    close_box()
    assert program.wait() == 1 and "nowhere: no such folder or file on the server" in program.err
    assert {path.name: path.read_bytes() for path in back.iterdir()} == {"a b (2).txt": some(3000000), "empty": b""}
    desk.known.write_text(desk.server_key.split()[0] + " " + (desk.home / ".ssh/id_ed25519.pub").read_text())
    ends(desk.start("upload", "--to", ssh, back / "empty"), 2, "",  # it is not itself
         f"{ssh}: the key of 127.0.0.1 is not the one in ~/.ssh/known_hosts")


def test_a_transfer_to_a_server_is_obeyed_and_outlives_its_connection(desk, ssh):
    desk.known.write_text(desk.server_key)
    (desk.home / "1").write_bytes(some(4000000))
    transfer = "upload", "--to", ssh, "--rate", 500000, desk.home / "1"
    program = desk.start(*transfer)
    wait_until(lambda: windows(PROGRESS + "[1-9]"))
    stands_still(press(PROGRESS, "Tab", "space"))  # a pause, and the connection ends in it
    # Newer servers hold the connection in a child's child.
    run("sh", "-c", f"pkill -KILL -P {desk.sshd.pid},$(pgrep -d, -P {desk.sshd.pid})")
    press(PROGRESS, "space")
    ends(program, 0, "1: 4000000 bytes\n")
    assert (desk.files / "1").read_bytes() == some(4000000) and desk.sshd.err.count("Accepted publickey") > 1
    program = desk.start(*transfer)
    wait_until(lambda: windows(PROGRESS + "[1-9]"))
    program.signal(signal.SIGINT)
    ends(program, 1, "", "cancelled; 0 of 1 file arrived")
    assert desk.names() == ["1"]


def test_a_transfer_goes_on_where_one_before_was_killed_unless_the_file_has_changed(desk, ssh):
    desk.known.write_text(desk.server_key)
    for place, changes in ((ssh, False), (desk.files, False), (ssh, True), (desk.files, True)):
        (desk.home / "1").write_bytes(some(60000000))
        transfer = "upload", "--to", place, "--resume", desk.home / "1"
        program = desk.start(*transfer, "--rate", "10M")
        part = wait_until(lambda: [path for path in desk.files.iterdir() if path.stat().st_size > 25000000])[0]
        program.signal(signal.SIGKILL)
        program.wait()
        with open(desk.home / "1" if changes else part, "r+b") as file:
            file.write(b"not sent again")
        ends(desk.start(*transfer), 0, "1: 60000000 bytes\n")
        assert (desk.files / "1").read_bytes() == b"not sent again" + some(60000000)[14:]
        assert os.listxattr(desk.files / "1") == [] and (changes or desk.names() == ["1"])
        for path in desk.files.iterdir():  # a server keeps what nobody goes on with
            path.unlink()


def test_files_go_to_a_webdav_server_and_come_back(desk, dav):
    (desk.home / "folder/below").mkdir(parents=True)
    (desk.home / "folder/below/1").write_bytes(some(1000))
    (desk.home / "a b").write_bytes(some(3000000))
    (desk.files / "a b").write_text("old")
    ends(desk.start("upload", "--to", dav, desk.home / "a b", desk.home / "folder"), 0,
         "a b: 3000000 bytes, kept as a b (2)\nfolder/below/1: 1000 bytes\n")
    assert (desk.files / "folder/below/1").read_bytes() == some(1000)
    assert (desk.files / "a b (2)").read_bytes() == some(3000000) and desk.names() == ["a b", "a b (2)", "folder"]
    ends(desk.start("upload", "--to", desk.home, dav + "/a%20b%20(2)"), 0, "a b (2): 3000000 bytes\n")
    assert (desk.home / "a b (2)").read_bytes() == some(3000000)
    program = desk.start("upload", "--to", dav, desk.home / "a b", env={"SSL_CERT_FILE": None})  # its certificate is not known
    assert program.wait() == 2 and "127.0.0.1 is not trusted" in program.err
    (desk.home / ".netrc").unlink()
    ends(desk.start("upload", "--to", dav, desk.home / "a b"), 2, "",
         f"{dav}: permission denied by the server")
