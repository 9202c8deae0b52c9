"""A render node made of the real server and the scripted host, and a master to use it. Bytes of text
are shown as Latin-1, one character each, because any byte may stand in a path or a message."""

import importlib
import json
import os
import re
import shlex
import shutil
import signal
import socket
import struct
import subprocess
import time
from pathlib import Path

DISCOVERY, LOOPBACK, MASTER = 19666, 19667, 19668
PATIENCE = 60
SERVER = shlex.split(os.environ["ORVANE_SERVER"])
HOST = Path(os.environ["ORVANE_HOST"])
platform = importlib.import_module("on_win32" if SERVER[0] == "wine" else "on_posix")
seen = platform.seen
STAMP = re.compile(r"^\d{4}-\d\d-\d\d/\d\d:\d\d:\d\d   ", re.M)
# All texts that may have more than one line; strangers choose how theirs go on.
LONG_TEXTS = re.compile(r"Running command:\necho .*\n|Closed loopback connection\n\n\n|"
                        r"(?s:Got bogus master connection: .*|WARNING: A local application .*\n)")

PLUGIN_ANSWER = "<OrvaneDrLocal><HandshakeInit>init</HandshakeInit></OrvaneDrLocal>"
ONLINE = ["connect", "hear", "say " + PLUGIN_ANSWER]
END_RENDER = b"<OrvaneDrCommand>\n\t<Command>EndRender</Command>\n</OrvaneDrCommand>\n\0"
DUMP_EXR = END_RENDER.replace(b"EndRender", b"DumpExr")
PING = b"<OrvaneDrDiscovery><Request>2014</Request></OrvaneDrDiscovery>\0"
REPLY = b"<OrvaneDrDiscovery>\n\t<Reply>ok</Reply>\n</OrvaneDrDiscovery>\n\0"
WELCOME = b"<OrvaneDrRemote>\n\t<HandshakeResponse>ok</HandshakeResponse>\n</OrvaneDrRemote>\n\0"


def eventually(condition, what="", seconds=PATIENCE):
    deadline = time.monotonic() + seconds
    while not (result := condition()):
        assert time.monotonic() < deadline, f"in vain: {what() if callable(what) else what}"
        time.sleep(0.02)
    return result


def image(size):
    """What the scripted host dumps."""
    start = size % 251
    return (bytes(range(251)) * (size // 251 + 2))[start : start + size]


class Node:
    """One folder in which a server runs, one server at a time, and the hosts that it lends."""

    def __init__(self, folder):
        self.folder = folder
        self.data = folder / "drData"
        self.server = None
        folder.mkdir(parents=True)

    def __enter__(self):
        return self

    def __exit__(self, failure, *_):
        if failure and self.server:
            print(self.log(), self.errors())
            self.server.kill()
        elif self.server:
            self.stop()

    def install(self, year, *plan):
        """Gives the node a host; answers its folder."""
        folder = self.host(year)
        folder.mkdir(exist_ok=True)
        shutil.copy(HOST, folder)
        self.plan(year, *plan)
        return folder

    def host(self, year):
        return self.folder / f"3ds Max {year}"

    def plan(self, year, *lines):
        for name in ("record.txt", "heard.bin"):
            (self.host(year) / name).unlink(missing_ok=True)
        (self.host(year) / "plan.txt").write_text("\n".join(lines) + "\n", "latin-1")

    def allow(self, year, name):
        """Lets the host go on that awaits this."""
        (self.host(year) / name).touch()

    def configure(self, *lines):
        self.data.mkdir(exist_ok=True)
        (self.data / "DrConfig-1.00.txt").write_text("\n".join(lines) + "\n", "latin-1")

    def ready(self, *plan, year=2014):
        """The usual start: one host, its plan, the server."""
        self.configure(f"{year} {seen(self.install(year, *plan))}")
        self.start()

    def spawn(self, *wrapper, arguments=(), **settings):
        with open(self.folder / "out", "wb") as out, open(self.folder / "err", "wb") as err:
            settings = {"cwd": self.folder, "stdin": subprocess.DEVNULL, "stdout": out, "stderr": err,
                        **settings}
            self.server = subprocess.Popen(
                [*wrapper, *SERVER, *arguments],
                pass_fds=[err.fileno()], **settings)  # one that the server knows nothing of

    def start(self, *wrapper, **settings):
        self.spawn(*wrapper, **settings)
        self.wait_for("Available 3dsmax versions:")

    def log(self):
        """All lines of this run without their stamps."""
        return STAMP.sub("", self.stamped_log())

    def stamped_log(self):
        return self.output().replace(platform.LINE_END, "\n")

    def output(self):
        return (self.folder / "out").read_bytes().decode("latin-1")

    def errors(self):
        return (self.folder / "err").read_text("latin-1")

    def wait_for(self, text, count=1):
        eventually(lambda: self.log().count(text) >= count, lambda: text + " in " + self.log())

    def ended(self):
        """The exit status of a server that ends by itself."""
        server, self.server = self.server, None
        status = server.wait(PATIENCE)
        before, *texts = STAMP.split(self.stamped_log())
        assert before == "" and all(
            text.find("\n") == len(text) - 1 or LONG_TEXTS.fullmatch(text) for text in texts)
        assert not platform.reports_damage(self.errors()), self.errors()
        return status

    def stop(self, how=platform.STOPS[0]):
        self.server.send_signal(how)
        assert (self.ended(), self.errors()) == (0, "")

    def final_log(self):
        self.stop()
        return self.log()

    def started_host(self, year=2014):
        """What the host noted of its start: pairs of a word and a text."""
        record = self.host(year) / "record.txt"
        eventually(record.exists, self.log)
        return [line.split(" ", 1) for line in record.read_text("latin-1").splitlines()]

    def heard_by_host(self, year=2014):
        return (self.host(year) / "heard.bin").read_bytes()

    def host_processes(self):
        """The numbers of all that belong to a host of this node, its interpreter included."""
        def command(process):
            try:
                return (process / "cmdline").read_bytes().replace(b"\\", b"/")
            except OSError:
                return b""

        # Other runs have the same tests.
        mark = seen(self.folder.parent).encode("latin-1").replace(b"\\", b"/")
        return [int(process.name) for process in Path("/proc").glob("[0-9]*")
                if mark in command(process) and b"3dsmaxcmd.exe" in command(process)]

    def kill_host(self):
        for process in self.host_processes():
            os.kill(process, signal.SIGKILL)

    def put_dump(self, name, data, mode=0o644, owner=-1):
        new = self.data / "unfinished"
        new.write_bytes(data)
        new.chmod(mode)
        os.chown(new, owner, -1)
        new.rename(self.data / name)

    def receipts(self):
        return [json.loads(line) for line in (self.data / "Jobs.jsonl").read_text("utf-8").splitlines()]

    def receipt(self, outcome, line):
        """The last job's, which must have ended like this."""
        last = self.receipts()[-1]
        assert (last["outcome"], last["line"].encode()) == (outcome, line.encode("latin-1")), last
        return last

    def figures(self):
        """What monitoring sees: values by name and labels."""
        lines = (self.data / "orvane_dr.prom").read_text().splitlines()
        values = dict(line.rsplit(" ", 1) for line in lines if not line.startswith("#"))
        return {name.removeprefix("orvane_dr_"): float(value) for name, value in values.items()}

    def scenes(self):
        return list(self.data.glob("received_scene_*"))


def request(version="max2014", frame="0", camera="", init="init", root="OrvaneDrRemote"):
    return (
        f"<{root}>\r\n<HandshakeInit>{init}</HandshakeInit>\r\n<FrameName>{frame}</FrameName>\n"
        f"<HostVersion>{version}</HostVersion>\n<CameraName>{camera}</CameraName></{root}>\n\0"
    ).encode("latin-1")


def scene_bytes(scene, announced=None):
    return struct.pack("<q", len(scene) if announced is None else announced) + scene


class Peer:
    """Takes little without reading: what the server has sent is for the most part still with it."""

    def __init__(self, port, source=""):
        self.link = socket.socket()
        self.link.bind((source, 0))
        self.link.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 65536)
        self.link.settimeout(PATIENCE)
        self.link.connect(("127.0.0.1", port))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.link.close()

    def send(self, data):
        self.link.sendall(data)

    def receive(self, size):
        data = b""
        while len(data) < size:
            part = self.link.recv(size - len(data))
            assert part, f"the server closed after {data[-100:]}"
            data += part
        return data

    def greeted(self):
        """Takes the server's first message: the connection is accepted."""
        while self.receive(1) != b"\0":
            pass
        return self

    def at_end(self):
        """True once the server has closed without sending anything more."""
        return self.link.recv(1) == b""

    def dropped(self):
        """The same for a server that does not care whether bytes are under way."""
        try:
            return self.at_end()
        except ConnectionError:
            return True

    def reset(self):
        self.link.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.link.close()


class Master(Peer):
    def __init__(self, source=""):
        super().__init__(MASTER, source)

    def shake(self, **fields):
        self.send(request(**fields))
        assert self.receive(len(WELCOME)) == WELCOME
        return self

    def job(self, scene=b"scene", **fields):
        self.shake(**fields).send(scene_bytes(scene))
        return self

    def image(self):
        assert self.receive(len(DUMP_EXR)) == DUMP_EXR
        (size,) = struct.unpack("<q", self.receive(8))
        return self.receive(size)


def whole_job(scene=b"scene", size=300):
    """With a host that dumps one image of this size."""
    with Master() as master:
        master.job(scene)
        assert master.image() == image(size)
        master.send(END_RENDER)
        assert master.at_end()
