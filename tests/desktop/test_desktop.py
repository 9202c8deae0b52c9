import os
import signal
import subprocess
import tempfile
from pathlib import Path
from urllib.parse import unquote_to_bytes

import harness
import pytest
from conftest import node, undamaged  # noqa: F401, fixtures
from desktop import ERROR, ICON, TITLE, Session, xdo
from harness import END_RENDER, ONLINE, Master, eventually, image, scene_bytes
from test_node import test_command_line  # noqa: F401

LOG = (300, 300)
CHECK_BOX = (20, 14)
LINK = (200, 40)
RENDERING = [*ONLINE, "dump dumpA.exr 65537", "gone dumpA.exr", "hear", "close"]


@pytest.fixture
def session(tmp_path):
    with Session(tmp_path / "session") as made:
        yield made


def retained(node):
    return len(list((node.data / "retainedImages").glob("*.exr")))


def render(node, during=lambda: None):
    before = node.log().count("Ready for new connection")
    with Master() as master:
        master.job()
        assert master.image() == image(65537)
        during()
        master.send(END_RENDER)
        assert master.at_end()
    node.wait_for("Ready for new connection", before + 1)


def test_window_and_tray_icon(session, node):
    (node.folder / "xdg-open").write_text(f'#!/bin/sh\necho "$@" > "{node.folder}/opened"\n')
    (node.folder / "xdg-open").chmod(0o755)
    os.environ["PATH"] = f"{node.folder}:" + os.environ["PATH"]
    node.ready(*RENDERING)
    window = session.in_front(TITLE)
    assert session.windows(ICON) == []
    render(node)
    assert retained(node) == 0
    shown = node.output().encode("latin-1").decode()
    session.reads(window, *LOG, shown)

    session.click(window, *LINK)
    eventually((node.folder / "opened").exists)
    url = (node.folder / "opened").read_text().strip()
    assert unquote_to_bytes(url) == b"file://" + os.fsencode(node.folder) and url.isascii()

    # Left click, first entry, and the keyboard from the second entry back to the first, which shows
    # that there are two.
    ways = [lambda icon: session.click(icon, 8, 8), lambda icon: session.choose(icon, "Down"),
            lambda icon: session.choose(icon, "Down", "Down", "Down")]
    for back in ways:
        back(session.minimise())
        session.in_front(TITLE)
        session.shows(ICON, 0)

    session.click(window, *CHECK_BOX)
    render(node)
    assert retained(node) == 1
    session.click(window, *CHECK_BOX)
    # "Quit" waits for the job, and the log goes on in the meantime.
    with Master() as master:
        master.job()
        assert master.image() == image(65537)
        session.choose(session.minimise(), "Down", "Down")
        session.shows(ICON, 0)
        master.send(END_RENDER)
        assert master.at_end()
    assert node.ended() == 0 and node.errors() == ""
    assert retained(node) == 1 and node.log().endswith("Ready for new connection\n")
    written = (node.data / "DrLog.txt").read_bytes().decode("latin-1")
    assert written == node.output()


def test_ended_while_a_menu_is_open(session, node):
    """Nobody is there to dismiss it; the job is finished all the same."""
    node.ready(*RENDERING)
    with Master() as master:
        master.job()
        assert master.image() == image(65537)
        session.open_menu(session.minimise())
        node.server.send_signal(signal.SIGTERM)
        master.send(END_RENDER)
        assert master.at_end()
    assert node.ended() == 0 and node.errors() == ""
    assert node.log().endswith("Ready for new connection\n")


def test_closing_while_a_master_sends_its_scene(session, node):
    node.ready(*RENDERING)
    with Master() as master:
        master.shake().send(scene_bytes(b"half", 8))
        node.wait_for("Downloading")
        window = session.in_front(TITLE)
        session.press("alt+F4")
        # It answers until the end, and being closed once more changes nothing.
        eventually(lambda: "Downloading" in session.copied(window, *LOG), "the log")
        session.press("alt+F4")
        node.server.send_signal(signal.SIGTERM)
        eventually(lambda: "Downloading" in session.copied(window, *LOG), "the log")
        master.send(b"half")
        assert master.image() == image(65537)
        master.send(END_RENDER)
        assert master.at_end()
    assert node.ended() == 0 and node.errors() == ""
    node.start()
    session.in_front(TITLE)
    node.stop(signal.SIGTERM)


def test_boxes_at_start(session, node, tmp_path):
    node.ready(*RENDERING)
    session.in_front(TITLE)
    with harness.Node(tmp_path / "second") as second:
        second.configure("2016 /nowhere")
        second.spawn()
        for port in ("loopback port (TCP 19667)", "the remote connection port (TCP 19668)"):
            box = session.in_front(ERROR)
            session.reads(box, 100, 14, (
                f"Cannot bind to {port}.\n\nThis probably means that some other application is already "
                "using this port (probably another instance of DR Server) - shut it down first."))
            xdo("key", "--window", box, "Return")
            eventually(lambda: box not in session.windows(ERROR))
        assert second.ended() == 1 and second.errors() == ""
        assert "Cannot bind to discovery port (UDP 19666)" in second.log()
    render(node)
    node.stop(signal.SIGTERM)

    # A file is in the place of the folder, then only the log cannot be written.
    for name, text in {
        "first": "Fatal error: Cannot create default config file.\n\nThis probably means that you "
                 "need to run the application as administrator, or clear some space on HDD.\n\n"
                 "Reason: Cannot open/read/write file '{}/DrConfig-1.00.txt'",
        "third": "Cannot write in folder '{}/'. The server will now close. Try running it again as "
                 "administrator."}.items():
        with harness.Node(tmp_path / name) as bad:
            if name == "first":
                bad.data.write_text("")
            else:
                bad.configure("2016 /nowhere")
                (bad.data / "DrLog.txt").mkdir()
            bad.spawn()
            box = session.in_front(ERROR)
            session.reads(box, 100, 14, text.format(bad.data))
            session.press("Return")
            assert bad.ended() == 1 and bad.errors() == ""


def test_failed_worker(session):
    """A job that cannot have a thread: the box comes first, then the end."""
    folder = Path(tempfile.mkdtemp())
    folder.chmod(0o777)
    somebody = ["setpriv", "--reuid=54321", "--clear-groups"]  # limits are not for root
    if int(Path("/proc/self/uid_map").read_text().split()[2]) == 1:
        somebody = []  # in a namespace of an ordinary user, who has no others
    with harness.Node(folder / "node") as node:
        node.configure(f"2014 {node.install(2014)}")
        for path in (node.folder, node.data):
            path.chmod(0o777)
        server, harness.SERVER = harness.SERVER, somebody + harness.SERVER
        try:
            node.start()
        finally:
            harness.SERVER = server
        session.in_front(TITLE)
        subprocess.run(
            [*somebody, "prlimit", "--pid", str(node.server.pid), "--nproc=1"], check=True)
        with Master() as master:
            master.job()
            box = session.in_front("WTF")
            session.reads(box, 220, 14, "cannot create a thread: Resource temporarily unavailable")
            assert node.server.poll() is None
            session.press("Return")
            assert node.ended() == -signal.SIGABRT


def test_without_notification_area_and_without_display(tmp_path, node):
    with Session(tmp_path / "plain", "ShowTaskBar=0\n") as session:
        node.ready(*RENDERING)
        window = session.in_front(TITLE)
        session.press("alt+F9")
        session.shows(TITLE, 0)
        xdo("windowactivate", window)
        session.in_front(TITLE)
        render(node, session.lose_display)
        assert node.ended() == 0
    assert node.log().endswith("Ready for new connection\n")
