"""What only Windows has: its desktop, folders, services, installer, libraries, and masters of both
kinds."""

import os
import re
import shlex
import signal
import socket
import subprocess
from pathlib import Path

import harness
import pytest
import test_job
from conftest import node, undamaged  # noqa: F401, fixtures
from desktop import ERROR, TITLE, Session, xdo
from farm import PlayedNode, announced, exr, finish, start_render, told_to_end, value_of
from harness import (DISCOVERY, END_RENDER, LOOPBACK, MASTER, ONLINE, PATIENCE, SERVER, Master,
                     eventually, image, platform, seen)
from on_win32 import wine

ROOT = Path(__file__).parents[2]
DESKTOP = shlex.split(os.environ["ORVANE_DESKTOP"])
MASTERS = [shlex.split(master) for master in os.environ["ORVANE_MASTERS"].split(":")]
NAME = "Orvane DR Server"
PASS = exr(1, width=8, height=8, kind=1)


@pytest.mark.parametrize("master", MASTERS, ids=["windows", "linux"])
def test_job_of_the_command_line_master(node, master):
    node.ready(*ONLINE, "mark online", "hear", "close")
    (node.folder / "a scene.max").write_bytes(b"scene")
    with subprocess.Popen([*master, "render", "--server", "127.0.0.1", "--host-version", "2014",
                           "--images", "3", "--output", "my images", "a scene.max"],
                          cwd=node.folder, stdout=subprocess.PIPE, text=True) as process:
        eventually((node.host(2014) / "online").exists, node.log)
        for number in range(3):
            (node.data / "new").write_bytes(PASS)
            dump = (node.data / "new").rename(node.data / f"dump{number}.exr")
            eventually(lambda: not dump.exists(), node.log)
        said = process.stdout.read()
    assert process.returncode == 0, said
    images = node.folder / "my images"
    assert sorted(path.name for path in images.iterdir()) == [
        "image-0001.exr", "image-0002.exr", "image-0003.exr", "result.exr", "result.png"]
    assert (images / "image-0003.exr").read_bytes() == PASS
    assert node.heard_by_host().endswith(END_RENDER)


def test_ctrl_c_ends_a_render_on_many_nodes_in_order(tmp_path):
    def part(link):
        link.sendall(announced(exr(3)))
        told_to_end(link)
        link.sendall(announced(exr(5)))

    nodes = [PlayedNode(part), PlayedNode(part)]
    with platform.world(tmp_path):
        render = start_render(tmp_path, "--nodes", ",".join(node.address for node in nodes),
                              "--images", "100")
        images = 0
        while images < 2:
            line = render.stdout.readline()
            assert line, render.stderr.read()
            images += '"event":"image"' in line
        render.send_signal(signal.SIGINT)
        status, events, _ = finish(render)
    for played in nodes:
        played.close()
    assert status == 13 and events[-1]["status"] == 13
    assert value_of(tmp_path / "out/result.exr") == 4
    assert sum(path.name.startswith("node-") for path in (tmp_path / "out").iterdir()) == 4


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


def dos(path):
    return "Z:" + str(path).replace("/", "\\")


class FarFromItsHosts(harness.Node):
    """The configuration can name folders of the code page only, and hosts are in such."""

    def host(self, year):
        return Path(os.environ["WINEPREFIX"]).parent / f"3ds Max {year}"


@pytest.mark.parametrize("where", ["letters", "share", "depth"])
def test_any_folder(node, tmp_path, monkeypatch, where):
    folder = tmp_path / ("Nöde 1" if where == "share" else "Łódź 日本")
    if where == "depth":
        # As deep as a current folder may be; what lies below it is beyond the old limit.
        folder = folder / ("x" * 200)
        folder = folder.with_name("x" * (200 + 256 - len(dos(folder))))
    if where == "share":
        share = tmp_path / "wine/dosdevices/unc/node/share"
        share.parent.mkdir(parents=True)
        share.symlink_to(tmp_path)
        monkeypatch.setattr(
            harness, "SERVER", [*SERVER, "--folder", "\\\\node\\share\\" + folder.name])
    with FarFromItsHosts(folder) as odd:
        odd.ready(*ONLINE, "dump dumpA.exr 1000", "hear", "close")
        with Master() as master:
            assert master.job().image() == image(1000)
            if where != "depth":  # which Wine's interpreter does not reach
                # Others may take the log away meanwhile; another one is begun.
                old = odd.data / "old.txt"
                wine("cmd", "/c", "ren", dos(odd.data / "DrLog.txt"), old.name)
                assert old.exists()
                wine("cmd", "/c", "del", dos(old))
                eventually(lambda: not old.exists() and (odd.data / "DrLog.txt").exists())
            master.send(END_RENDER)
            assert master.at_end()
        assert "No job can bring images" not in odd.final_log()


@pytest.fixture
def session(tmp_path):
    with Session(tmp_path / "session", screen="2048x1536") as made:
        yield made


def test_window(session, node, tmp_path, monkeypatch):
    monkeypatch.setattr(harness, "SERVER", DESKTOP)
    with harness.Node(tmp_path / "second") as second, socket.socket(type=socket.SOCK_DGRAM) as pings:
        pings.bind(("", DISCOVERY))
        with socket.create_server(("", LOOPBACK)), socket.create_server(("", MASTER)):
            second.configure("2016 C:/nowhere")
            second.spawn()
            for _ in ("loopback", "masters"):
                box = session.in_front(ERROR)
                session.press("Return")
                eventually(lambda: box not in session.windows(ERROR))
            assert second.ended() == 1
        assert "Cannot bind to discovery port (UDP 19666)" in second.log()
    node.ready(*ONLINE, "dump dumpA.exr 65537", "gone dumpA.exr", "hear", "close")
    session.in_front(TITLE)
    for way in ("icon", "menu", "another start"):
        session.press("alt+F9")
        session.shows(TITLE, 0)
        if way == "another start":
            assert subprocess.run([*DESKTOP, "--autostart"]).returncode == 0
            session.shows(TITLE, 0)
            assert subprocess.run(DESKTOP).returncode == 0
        else:
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


def size_of(window):
    facts = dict(line.split("=") for line in xdo("getwindowgeometry", "--shell", window))
    return int(facts["WIDTH"]), int(facts["HEIGHT"])


def test_window_is_as_large_on_a_finer_screen(session, node, monkeypatch):
    monkeypatch.setattr(harness, "SERVER", DESKTOP)
    sizes = []
    for dpi in (96, 192):
        wine("reg", "add", r"HKCU\Control Panel\Desktop", "/v", "LogPixels", "/t", "REG_DWORD",
             "/d", str(dpi), "/f")
        subprocess.run(["wineserver", "-k"])
        subprocess.run(["wineserver", "-w"])
        node.configure()
        node.start()
        sizes.append(size_of(session.in_front(TITLE)))
        assert subprocess.run([*DESKTOP, "--stop", str(PATIENCE)]).returncode == 0
        assert node.ended() == 0
    assert all(1.8 < fine / coarse < 2.2 for coarse, fine in zip(*sizes)), sizes


def state_of_service():
    query = subprocess.run(["wine", "sc", "query", "OrvaneDrServer"], capture_output=True, text=True)
    found = re.search(r"STATE .*  ([A-Z_]+)", query.stdout)
    return found and found[1]


def service_folder(tmp_path):
    return tmp_path / "wine/drive_c/ProgramData" / NAME


def test_service(session, node, tmp_path):
    with harness.Node(service_folder(tmp_path)) as service:
        service.configure(f"2014 {seen(service.install(2014, *ONLINE, 'hear', 'close'))}")
        log = service.data / "DrLog.txt"
        assert subprocess.run([*SERVER, "--install-service"]).returncode == 0
        eventually(lambda: log.exists() and b"2014: " in log.read_bytes())
        # Another user's window leaves the work to it, silently if only the logon wanted it.
        assert subprocess.run([*DESKTOP, "--autostart"]).returncode == 0
        with subprocess.Popen(DESKTOP) as desktop:
            session.in_front(NAME)
            session.press("Return")
            assert desktop.wait(PATIENCE) == 0
        with Master() as master:
            master.job()
            eventually(lambda: b"DR is running" in log.read_bytes())
            # Asked to stop, it ends its job first, and says so to the service manager meanwhile.
            with subprocess.Popen(["wine", "net", "stop", "OrvaneDrServer"]):
                eventually(lambda: state_of_service() == "STOP_PENDING", state_of_service)
                assert subprocess.run([*SERVER, "--stop", "0"]).returncode == 3
                master.send(END_RENDER)
                assert master.at_end()
        assert subprocess.run([*SERVER, "--stop", str(PATIENCE)]).returncode == 0
        eventually(lambda: state_of_service() == "STOPPED", state_of_service)
        wine("net", "start", "OrvaneDrServer")
        assert subprocess.run([*SERVER, "--remove-service"]).returncode == 0
        assert state_of_service() is None and log.exists()
        assert subprocess.run([*SERVER, "--service"]).returncode == 1


@pytest.mark.parametrize("program", [harness.SERVER, DESKTOP], ids=["headless", "desktop"])
def test_end_of_the_session_during_a_job(session, node, program, monkeypatch):
    monkeypatch.setattr(harness, "SERVER", program)
    node.ready(*ONLINE, "mark there", "hang")
    with Master() as master:
        master.job()
        eventually((node.host(2014) / "there").exists, node.log)
        wine("wineboot", "--end-session")
        assert master.at_end()
    assert node.ended() == 0 and node.host_processes() == [] and node.scenes() == []
    log = (node.data / "DrLog.txt").read_text("latin-1").replace("\r", "")
    assert "Ending 3ds max: there are only seconds left\n" in log
    assert node.receipt("stopped", "Ending 3ds max: there are only seconds left")["hostEndedByServer"]
    assert log.endswith("Ready for new connection\n")


def test_installer(session, node, tmp_path):
    drive = tmp_path / "wine/drive_c"
    programs = drive / "Program Files" / NAME
    start_menu = drive / "ProgramData/Microsoft/Windows/Start Menu/Programs"
    shortcuts = [start_menu / f"{NAME}.lnk", start_menu / "StartUp" / f"{NAME}.lnk"]

    def run(program, *switches):
        """The exit code, and what it writes into its log."""
        log = drive / "setup.log"
        log.unlink(missing_ok=True)
        status = subprocess.run(["wine", program, "/S", "/LOG=C:\\setup.log", *switches]).returncode
        return status, log.read_text("latin-1")

    def setup(*switches):
        return run(os.environ["ORVANE_SETUP"], *switches)

    def uninstall(*switches):
        return run(programs / "uninstall.exe", *switches)

    status, log = setup("/REMOTE=10.1.0.0/16,LocalSubnet")
    assert status == 0 and log.count("remoteip=10.1.0.0/16,LocalSubnet: 0\n") == 4, log
    assert all(path.exists() for path in shortcuts)
    assert sorted(path.name for path in programs.iterdir()) == [
        "README.txt", "dr-master.exe", "dr-server-headless.exe", "dr-server.exe", "libraries.txt",
        "uninstall.exe"]

    # The program would keep a pipe open that it is started with.
    subprocess.run(["wine", "start", "/unix", shortcuts[1]], check=True, stdout=subprocess.DEVNULL)
    session.in_front(TITLE)
    (log,) = eventually(lambda: list(drive.glob("users/*/AppData/Local/drData/DrLog.txt")))
    # An upgrade ends it, and starts it again.
    assert setup()[0] == 0
    eventually(lambda: log.read_bytes().count(b"DR server started") == 2)
    session.in_front(TITLE)

    with harness.Node(service_folder(tmp_path)) as service:
        service.configure(f"2014 {seen(service.install(2014, *ONLINE, 'hear', 'close'))}")
        status, log = setup("/SERVICE", "/NOSTARTMENU", "/ACCOUNT=NT AUTHORITY\\NetworkService")
        assert (status, state_of_service()) == (0, "RUNNING"), log
        assert not any(path.exists() for path in shortcuts)
        assert log.count("remoteip=10.1.0.0/16,LocalSubnet: 0\n") == 4
        session.shows(TITLE, 0)
        with Master() as master:
            master.job()
            for attempt in (setup, uninstall):
                status, log = attempt("/WAIT=0")
                assert status == 3 and "A job still runs" in log, log
            master.send(END_RENDER)
            assert master.at_end()
        assert setup()[0] == 0 and state_of_service() == "RUNNING"
        assert "NetworkService" in wine(
            "reg", "query", r"HKLM\SYSTEM\CurrentControlSet\Services\OrvaneDrServer")
        assert setup("/SERVICE", "/ACCOUNT=nobody here")[0] == 11
        assert uninstall()[0] == 0
        assert state_of_service() is None
        eventually(lambda: not programs.exists(), lambda: list(programs.iterdir()))
        assert NAME not in wine(
            "reg", "query", r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall")
        assert (service.data / "DrLog.txt").exists()


def test_no_older_library_unless_it_is_named(tmp_path):
    """An archive that lists a security update without having it, as apt sees that."""
    sources = {"libpng-dev": "libpng1.6", "libimath-dev": "imath", "libopenexr-dev": "openexr",
               "libwxgtk3.2-dev": "wxwidgets3.2"}
    listed = "".join(f"Package: {p}\nSource: {s}\nVersion: 1.0-1+deb12u9\n" for p, s in sources.items())
    answers = {"apt-cache": f"[ $1 = show ] && echo '{listed}' || echo Version: 1.0-1+deb12u9",
               "apt-get": "case \"$*\" in *' source '*) exit 100 ;; esac"}
    for name, answer in answers.items():
        (tmp_path / name).write_text(f"#!/bin/sh\n{answer}\n")
        (tmp_path / name).chmod(0o755)
    environment = {**os.environ, "PATH": f"{tmp_path}:{os.environ['PATH']}",
                   "ORVANE_CACHE": str(tmp_path / "cache")}
    built = subprocess.run([ROOT / "scripts/windows-dependencies"], env=environment,
                           capture_output=True, text=True)
    assert built.returncode == 1
    assert "libpng1.6: the archive lists 1.0-1+deb12u9" in built.stderr
