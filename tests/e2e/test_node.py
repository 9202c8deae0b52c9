"""A node's life: what it reads and writes at start, how it is found, how it ends."""

import contextlib
import os
import re
import resource
import signal
import socket
import subprocess
from pathlib import Path

import pytest
from harness import (
    DISCOVERY, END_RENDER, LOOPBACK, MASTER, ONLINE, PATIENCE, REPLY, SERVER, Master, Node, eventually,
    image, platform, seen)

CAPTION = "Orvane DR Server Error\n"


def port_in_use(what, port):
    return (
        f"{CAPTION}Cannot bind to {what} (TCP {port}).\n\nThis probably means that some other"
        " application is already using this port (probably another instance of DR Server) - shut it"
        " down first.\n")


def ping(year, before=""):
    return (f"<OrvaneDrDiscovery>{before}<Request>{year}</Request></OrvaneDrDiscovery>").encode()


def finds_node(sock, year=2014):
    """Sends one ping; the replies have come when a later ping's are there."""
    sock.sendto(ping(year) + b"\0", ("127.0.0.1", DISCOVERY))
    replies = [sock.recvfrom(1000) for _ in range(4)]
    return set(replies) == {(REPLY, ("127.0.0.1", DISCOVERY))}


def test_discovery_and_a_second_server(node, tmp_path):
    node.ready("exit 0")
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sock:
        sock.settimeout(PATIENCE)
        assert finds_node(sock)
        ignored = [
            ping(2013), ping(2017), ping(" 2014"), ping("2014 "), b"\x80garbage<", b"\0" + ping(2014),
            ping(2014).replace(b"Discovery", b"Remote"), ping(2014, before=" " * 250), ping(2014) * 2]
        for text in ignored:
            sock.sendto(text, ("127.0.0.1", DISCOVERY))
        assert finds_node(sock)
        sock.setblocking(False)
        with pytest.raises(BlockingIOError):
            sock.recv(1000)

        with Node(tmp_path / "second") as second:
            second.spawn()
            assert second.ended() == 1
            assert second.errors() == port_in_use("loopback port", LOOPBACK) + port_in_use(
                "the remote connection port", MASTER)
            assert "Cannot bind to discovery port (UDP 19666)\n" in second.log()
        sock.setblocking(True)
        assert finds_node(sock)
    log = node.final_log()
    assert log.count("Replying to discovery ping from 127.0.0.1\n") == 3
    # The one that begins with a zero is as good as empty.
    assert log.count("Got discovery ping\n") == 3 + len(ignored) - 1


def log_of_start(node):
    """Without the line that another thread writes at any time."""
    return node.final_log().replace("Starting UDP socket, local hostname: 0.0.0.0\n", "")


def test_configuration_from_the_registry(node):
    platform.register(
        "# installed\n[SOFTWARE/Autodesk/3dsMax/15.0/MAX-1:409]\n"
        "Installdir=C:\\Program Files\\Autodesk\\3ds Max 2013\\\n"
        "[software\\autodesk\\3DSMAXDESIGN\\16.0\\max-1:407]\nINSTALLDIR = D:\\Design\n"
        "[SOFTWARE/Autodesk/3dsMaxDesign/17.0]\nInstalldir=/design/neutral\n"
        "[SOFTWARE/Autodesk/3dsMax/17.0/MAX-1:409]\nInstalldir=/plain/english\n"
        "[SOFTWARE/Autodesk/3dsMaxDesign/18.0/MAX-1:804]\nInstalldir=/design/chinese\n"
        "[SOFTWARE/Autodesk/3dsMax/18.0/MAX-1:804]\nInstalldir=/plain/chinese\n"
        "[SOFTWARE/Autodesk/3dsMax/12.0]\nInstalldir=/too/old\n")
    found = {2013: "C:/Program Files/Autodesk/3ds Max 2013/", 2014: "D:/Design",
             2015: "/design/neutral", 2016: "/plain/chinese"}
    node.start()
    file = node.data / "DrConfig-1.00.txt"
    default = (
        "RetainEXR = false\n#Here are 3dsmax versions found on this computer. Uncomment any of the"
        " line and change the path to override the path to 3dsmax.\n")
    written = default + "".join(f"#{y} {f}\n" for y, f in found.items())
    assert file.read_bytes() == written.encode().replace(b"\n", platform.LINE_END.encode())
    log = log_of_start(node)
    assert ("Cannot read the config file, default one will be created\n"
            "Creating default DrConfig-1.00.txt: found 4 3ds max versions\n") in log
    assert log.endswith("Available 3dsmax versions:\n" + "".join(
        f"{year}: {folder}\n" for year, folder in found.items()))

    # The file overrides the registry, as far as it is in order; a year alone removes a host. Some
    # editors put a mark first.
    file.write_text("\ufeff" + default + "2013\n2011 /added\n2017 /unknown\n2014 /never read\n")
    node.start()
    shown = {2011: "/added", **found}
    del shown[2013]
    log = log_of_start(node)
    assert "Error in the config file\n" in log and log.endswith("versions:\n" + "".join(
        f"{year}: {folder}\n" for year, folder in shown.items()))

    platform.register("")
    file.unlink()
    node.start()
    assert file.read_bytes() == default.encode().replace(b"\n", platform.LINE_END.encode())
    log = log_of_start(node)
    assert log.endswith("Available 3dsmax versions:\n")
    assert (
        "Warning: no 3ds max versions detected on the machine. You can add them by hand in the"
        " config.txt file. Example syntax: 2013 C:/Program Files/Autodesk/3ds max 2013\n") in log


def test_command_line(node, tmp_path):
    def answer(*arguments):
        told = subprocess.run([*SERVER, *arguments], cwd=node.folder, timeout=PATIENCE,
                              capture_output=True, text=True)
        return told.returncode, told.stdout, told.stderr

    status, usage, errors = answer("--help")
    assert (status, errors) == (0, "") and "--folder PATH" in usage
    status, version, errors = answer("--version")
    assert (status, errors) == (0, "") and re.fullmatch(r"dr-server\S* \d+\.\d+\.\d+\n", version)
    for wrong in [["--halp"], ["node"], ["--version=1"], ["--folder"]]:
        status, said, errors = answer(*wrong)
        assert (status, said) == (2, "") and errors.endswith("\n" + usage)
    status, said, errors = answer("--folder", "no such folder")
    assert (status, said) == (1, "") and "'no such folder'" in errors
    assert list(node.folder.iterdir()) == []


def test_another_folder(node, tmp_path):
    node.configure("2014 /somewhere")
    node.spawn(arguments=["--folder", node.folder.name], cwd=tmp_path)
    node.wait_for("2014: /somewhere")
    node.stop()
    assert (node.data / "DrLog.txt").exists() and not (tmp_path / "drData").exists()


@pytest.mark.linux
def test_server_without_a_window_needs_no_toolkit():
    libraries = subprocess.run(["ldd", *SERVER], check=True, capture_output=True, text=True).stdout
    assert "libstdc++" in libraries and "wx" not in libraries


@pytest.mark.linux
def test_what_is_no_file(node):
    """Whatever stands where a file should be: the start does not hang, and nothing is lost."""
    platform.REGISTRY.parent.mkdir()
    os.mkfifo(platform.REGISTRY)
    node.configure("2014 /somewhere", "LogMegabytes = 10", "LogMegabytes = ten")
    node.start()
    log = log_of_start(node)
    assert f"Cannot look for installed hosts: Cannot open/read/write file '{platform.REGISTRY}'\n" in log
    assert "Line 3 is not understood: LogMegabytes = ten\n" in log

    config = node.data / "DrConfig-1.00.txt"
    settings = config.read_bytes()
    config.chmod(0)
    node.spawn("setpriv", "--bounding-set=-all")  # root who is not above permissions
    node.wait_for(f"The config file cannot be read, and is left as it is: {seen(config)}\n")
    node.stop()
    assert config.read_bytes() == settings

    config.unlink()
    for make in (os.mkfifo, os.mkdir):
        make(config)
        node.spawn()
        assert node.ended() == 1
        assert "Fatal error: Cannot create default config file." in node.errors()
        config.rmdir() if config.is_dir() else config.unlink()


@pytest.mark.parametrize("in_the_way", ["drData", "drData/DrLog.txt", "drData/DrConfig-1.00.txt"])
def test_folder_that_cannot_be_written(node, in_the_way):
    data = seen(node.data) + "/"
    config, log_file = (
        f"{CAPTION}Fatal error: Cannot create default config file.\n\nThis probably means that you"
        " need to run the application as administrator, or clear some space on HDD.\n\nReason: Cannot"
        f" open/read/write file '{data}DrConfig-1.00.txt'\n",
        f"{CAPTION}Cannot write in folder '{data}'. The server will now close. Try running it again"
        " as administrator.\n")
    if in_the_way == "drData":
        node.data.touch()
        expected = config + log_file
    elif in_the_way.endswith("DrLog.txt"):
        (node.folder / in_the_way).mkdir(parents=True)
        expected = log_file
    else:
        node.data.mkdir()
        (node.folder / in_the_way).symlink_to("no folder/no file")
        expected = config
    node.spawn()
    assert (node.ended(), node.errors()) == (1, expected)


@pytest.mark.parametrize("how", platform.STOPS)
def test_stop_during_a_job(node, how):
    node.ready(*ONLINE, "await stopping", "dump dumpA.exr 1000", "hear", "begin dumpLate.exr 500",
               "close", "await end", "complete")
    with Master() as master:
        master.job()
        node.wait_for("DR is running")
        node.server.send_signal(how)
        node.allow(2014, "stopping")
        assert master.image() == image(1000)
        master.send(END_RENDER)
        node.wait_for("Closed loopback connection")
        # As long as the host runs, the job is not over.
        master.link.settimeout(2)
        with pytest.raises(TimeoutError):
            master.at_end()
        assert node.server.poll() is None and node.scenes() != []
        master.link.settimeout(PATIENCE)
        node.allow(2014, "end")
        # Finished when nobody was to ask for it any more.
        assert master.image() == image(500)
        assert master.at_end()
    assert node.ended() == 0
    assert node.errors() == "" and node.scenes() == []
    late = f"{seen(node.data)}//dumpLate.exr"
    assert node.log().endswith(
        "DR is finished\nClosed loopback connection\n\n\n"
        f"Started EXR dump (500 bytes, filename: {late})\nFinished EXR dump after 0 s\n"
        f"Removed file: {late}\nReady for new connection\n")


def test_server_killed_while_the_host_runs(node):
    node.ready(*ONLINE, "mark online", "await end")
    with Master() as master:
        master.job()
        eventually((node.host(2014) / "online").exists)
        open_streams = [text.split()[0] for word, text in node.started_host() if word == "open"]
        assert platform.STREAMS in (None, sorted(open_streams))
        node.server.kill()
        assert node.ended() == -signal.SIGKILL
        assert master.dropped()
    node.start()
    receipt = node.receipt(
        "interrupted", "The server ended during this job; found at its next start")
    assert (receipt["master"], receipt["sceneBytes"]) == ("127.0.0.1", 5)
    assert node.figures()['jobs_total{outcome="interrupted"}'] == 1
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sock, Master() as master:
        sock.settimeout(PATIENCE)
        assert finds_node(sock)
        assert master.shake(version="max2017").at_end()
    assert len(node.receipts()) == 2
    node.allow(2014, "end")


def test_receipts_and_figures(node):
    """How jobs end that are not the subject of another test, and what monitoring sees of them."""
    host = node.install(2014, *ONLINE, "mark online", "hear", "close")
    node.configure(f"2014 {seen(host)}", "2016 /nowhere", "LogMegabytes = 1")
    node.start()
    (node.data / "MaxLog.txt").write_bytes(b"x" * 999_999)
    assert node.figures()["up"] == 1 and node.figures()["busy"] == 0
    with Master() as master:
        master.job()
        eventually((host / "online").exists)
        assert node.figures()["busy"] == 1
        master.send(END_RENDER)
        assert master.at_end()
    assert node.receipt("no-image", "DR is finished")["hostExit"] == 0
    (host / "online").unlink()
    node.plan(2014, *[f"print line {number}" for number in range(30)], *ONLINE, "mark online", "leave")
    with Master() as master:
        master.job()
        eventually((host / "online").exists)
    node.wait_for("Ready for new connection", 2)
    receipt = node.receipt("master-left", "DR is finished")
    assert receipt["hostOutput"] == [f"line {number}" for number in range(10, 30)]
    node.wait_for("MaxLog> line 29\n")
    # Moved aside when nobody writes into it, and not before it is large.
    assert "line 29" in (node.data / "MaxLog.txt.1").read_text()
    assert not (node.data / "MaxLog.txt").exists() and not (node.data / "DrLog.txt.1").exists()
    figures = node.figures()
    assert (figures["busy"], figures["images_total"], figures["last_job_seconds"] > 0) == (0, 0, True)
    assert sum(value for name, value in figures.items() if name.startswith("jobs_total")) == 2
    assert any(re.fullmatch(r'info\{version="[\d.]+",releases="2014 2016"\}', name) for name in figures)
    checked = subprocess.run(["promtool", "check", "metrics"], capture_output=True, text=True,
                             input=(node.data / "orvane_dr.prom").read_text())
    assert (checked.returncode, checked.stdout, checked.stderr) == (0, "", "")
    node.stop()
    assert node.figures()["up"] == 0


def test_twenty_jobs_leave_nothing_open(node):
    def descriptors():
        found = {}
        for entry in Path(f"/proc/{node.server.pid}/fd").iterdir():
            with contextlib.suppress(FileNotFoundError):  # closed while this looks
                found[entry.name] = os.readlink(entry)
        return found

    node.ready(*ONLINE, "hear", "dump dumpA.exr 1000", "gone dumpA.exr", "close")
    before = {}
    for _ in range(21):
        with Master() as master:
            master.job().send(END_RENDER)
            assert master.image() == image(1000)
            assert master.at_end()
        # The first one brings a thread, and what a system gives to a thread.
        before = before or descriptors()
    eventually(lambda: len(descriptors()) <= len(before), lambda: (before, descriptors()))
    assert not (node.data / "retainedImages").exists()


@pytest.mark.linux
@pytest.mark.skipif("ORVANE_SANITIZED" in os.environ, reason="a sanitizer needs endless memory")
def test_fatal_error_of_a_worker(node):
    node.ready("exit 0")
    pages = int(Path(f"/proc/{node.server.pid}/statm").read_text().split()[0])
    limit = pages * resource.getpagesize() + 500_000  # no room for another thread's stack
    resource.prlimit(node.server.pid, resource.RLIMIT_AS, (limit, limit))
    with Master() as master:
        master.job()
        assert node.ended() == -signal.SIGABRT
    assert node.errors().startswith("WTF\n")


@pytest.mark.linux
def test_file_watches_used_up(node):
    node.configure(f"2014 {seen(node.install(2014, *ONLINE, 'dump dumpA.exr 10', 'hear', 'close'))}")
    node.start("unshare", "--user", "--map-root-user", "sh", "-c",
               'echo 0 > /proc/sys/user/max_inotify_watches && exec "$0" "$@"')
    for _ in range(2):
        with Master() as master:
            master.job()
            assert master.image() == image(10)
            master.send(END_RENDER)
            assert master.at_end()
    assert node.final_log().count("Cannot watch the data folder: images may take 2 seconds longer\n") == 1
