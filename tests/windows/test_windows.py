"""What only Windows has: its desktop, its code pages, its installer, and masters of both kinds."""

import os
import shlex
import struct
import subprocess

import harness
import pytest
import test_job
from conftest import node, undamaged  # noqa: F401, fixtures
from desktop import ERROR, TITLE, Session, xdo
from harness import END_RENDER, ONLINE, Master, eventually, image, platform
from on_win32 import wine

DESKTOP = shlex.split(os.environ["ORVANE_DESKTOP"])
MASTERS = [shlex.split(master) for master in os.environ["ORVANE_MASTERS"].split(":")]
NAME = "Orvane DR Server"


def exr(side=8):
    """A small OpenEXR image: uncompressed, three channels of 16-bit floats, all of them 1."""
    def attribute(name, kind, value):
        return f"{name}\0{kind}\0".encode() + struct.pack("<i", len(value)) + value

    box = struct.pack("<4i", 0, 0, side - 1, side - 1)
    channels = b"".join(struct.pack("<2si4xii", name + b"\0", 1, 1, 1) for name in (b"B", b"G", b"R"))
    header = struct.pack("<ii", 20000630, 2) + b"".join([
        attribute("channels", "chlist", channels + b"\0"),
        attribute("compression", "compression", b"\0"),
        attribute("dataWindow", "box2i", box),
        attribute("displayWindow", "box2i", box),
        attribute("lineOrder", "lineOrder", b"\0"),
        attribute("pixelAspectRatio", "float", struct.pack("<f", 1)),
        attribute("screenWindowCenter", "v2f", bytes(8)),
        attribute("screenWindowWidth", "float", struct.pack("<f", 1))]) + b"\0"
    line = struct.pack("<e", 1) * 3 * side
    first = len(header) + 8 * side
    return header + b"".join(
        struct.pack("<q", first + y * (8 + len(line))) for y in range(side)) + b"".join(
        struct.pack("<ii", y, len(line)) + line for y in range(side))


@pytest.mark.parametrize("master", MASTERS, ids=["windows", "linux"])
def test_job_of_the_command_line_master(node, master):
    node.ready(*ONLINE, "mark online", "hear", "close")
    (node.folder / "a scene.max").write_bytes(b"scene")
    with subprocess.Popen([*master, "render", "--server", "127.0.0.1", "--host-version", "2014",
                           "--images", "3", "--output", "my images", "a scene.max"],
                          cwd=node.folder, stdout=subprocess.PIPE, text=True) as process:
        eventually((node.host(2014) / "online").exists, node.log)
        for number in range(3):
            (node.data / "new").write_bytes(exr())
            dump = (node.data / "new").rename(node.data / f"dump{number}.exr")
            eventually(lambda: not dump.exists(), node.log)
        said = process.stdout.read()
    assert process.returncode == 0, said
    images = node.folder / "my images"
    assert sorted(path.name for path in images.iterdir()) == [
        "image-0001.exr", "image-0002.exr", "image-0003.exr", "result.exr", "result.png"]
    assert (images / "image-0003.exr").read_bytes() == exr()
    assert node.heard_by_host().endswith(END_RENDER)


def test_other_code_page(node, tmp_path, monkeypatch):
    """A Cyrillic node: its folder's letters are in no path of code page 1252."""
    subprocess.run(["localedef", "-i", "ru_RU", "-f", "UTF-8", tmp_path / "ru_RU.UTF-8"], check=True)
    monkeypatch.setenv("LOCPATH", str(tmp_path))
    monkeypatch.setenv("LC_ALL", "ru_RU.UTF-8")
    subprocess.run(["wineserver", "-k"])
    subprocess.run(["wineserver", "-w"])
    monkeypatch.setattr(platform, "CODE_PAGE", "cp1251")
    with harness.Node(tmp_path / "Узел 1") as cyrillic:
        test_job.test_two_whole_jobs(cyrillic)


@pytest.fixture
def session(tmp_path):
    with Session(tmp_path / "session") as made:
        yield made


def test_window(session, node, tmp_path, monkeypatch):
    monkeypatch.setattr(harness, "SERVER", DESKTOP)
    node.ready(*ONLINE, "dump dumpA.exr 65537", "gone dumpA.exr", "hear", "close")
    session.in_front(TITLE)
    with harness.Node(tmp_path / "second") as second:
        second.configure("2016 C:/nowhere")
        second.spawn()
        for _ in ("loopback", "masters"):
            box = session.in_front(ERROR)
            session.press("Return")
            eventually(lambda: box not in session.windows(ERROR))
        assert second.ended() == 1
        assert "Cannot bind to discovery port (UDP 19666)" in second.log()
    for way in ("icon", "menu"):
        session.press("alt+F9")
        session.shows(TITLE, 0)
        icon = eventually(lambda: xdo("search", "--onlyvisible", "--name", "YXTrayEmbedder"))[0]
        session.click(icon, 8, 8, button=1 if way == "icon" else 3)
        if way == "menu":
            session.click(session.shows(""), 40, 10)
        session.in_front(TITLE)
    # The close box during a job.
    with Master() as master:
        master.job()
        assert master.image() == image(65537)
        # What is in front is the host's console.
        xdo("windowactivate", session.shows(TITLE))
        window = session.in_front(TITLE)
        session.press("alt+F4")
        eventually(lambda: "DR is running" in session.copied(window, 300, 300))
        master.send(END_RENDER)
        assert master.at_end()
    assert node.ended() == 0 and node.errors() == ""


def test_installer(session, node, tmp_path):
    drive = tmp_path / "wine/drive_c"
    programs = drive / "Program Files" / NAME
    start_menu = drive / "ProgramData/Microsoft/Windows/Start Menu/Programs"
    shortcuts = [start_menu / f"{NAME}.lnk", start_menu / "StartUp" / f"{NAME}.lnk"]
    setup = ["wine", os.environ["ORVANE_SETUP"], "/S"]
    assert subprocess.run(setup).returncode == 0
    assert all(path.exists() for path in shortcuts)
    assert sorted(path.name for path in programs.iterdir()) == [
        "README.txt", "dr-master.exe", "dr-server-headless.exe", "dr-server.exe", "libraries.txt",
        "uninstall.exe"]

    # The program would keep a pipe open that it is started with.
    subprocess.run(["wine", "start", "/unix", shortcuts[1]], check=True, stdout=subprocess.DEVNULL)
    session.in_front(TITLE)
    (log,) = eventually(lambda: list(drive.glob("users/*/AppData/Local/drData/DrLog.txt")))
    # Neither replaced nor removed while it runs.
    assert subprocess.run(setup).returncode != 0
    session.in_front(TITLE)
    session.press("alt+F4")
    session.shows(TITLE, 0)

    wine(str(programs / "uninstall.exe"), "/S")
    eventually(lambda: not programs.exists(), lambda: list(programs.iterdir()))
    assert not any(path.exists() for path in shortcuts)
    assert NAME not in wine("reg", "query", r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall")
    assert b"DR server started\r\n" in log.read_bytes()
