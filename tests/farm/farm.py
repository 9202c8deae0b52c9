"""A network of render nodes: each a real server in a network namespace of its own, all on one
bridge; and the pictures that they send, whose values are known."""

import ctypes
import itertools
import json
import os
import shlex
import signal
import socket
import struct
import subprocess
import threading
import zlib

import pytest
from conftest import bring_up_loopback
from harness import (
    DUMP_EXR, END_RENDER, HOST, MASTER, ONLINE, PATIENCE, SERVER, WELCOME, Node, platform,
    seen)

MASTER_PROGRAM = shlex.split(os.environ["ORVANE_MASTER"])
NETWORK = "10.7.0."
LIBC = ctypes.CDLL(None)
NEW_NETWORK = 0x40000000


def ip(*lines, inside=None):
    enter = ["nsenter", "-t", str(inside), "-n"] if inside else []
    subprocess.run([*enter, "ip", "-batch", "-"], input="\n".join(lines), text=True, check=True)


class FarmNode(Node):
    """A node with an address of its own; the number tells it from the others."""

    links = itertools.count()

    def __init__(self, folder, number):
        super().__init__(folder)
        self.number = number
        self.address = f"{NETWORK}{number + 10}"

    def spawn(self):
        def own_network():
            LIBC.unshare(NEW_NETWORK)
            bring_up_loopback()

        with open(self.folder / "out", "wb") as out, open(self.folder / "err", "wb") as err:
            self.server = subprocess.Popen(SERVER, cwd=self.folder, stdin=subprocess.DEVNULL,
                                           stdout=out, stderr=err, preexec_fn=own_network)
        self.plug_in(0, self.address)

    def plug_in(self, card, address):
        # A network goes some time after its last process; its names are not free before that.
        pid, link = self.server.pid, f"veth{next(self.links)}"
        ip(f"link add {link} type veth peer name card{card} netns {pid}",
           f"link set {link} master bridge{card} up")
        ip(f"addr add {address}/24 broadcast + dev card{card}", f"link set card{card} up", inside=pid)

    def install(self, year, *plan):
        folder = self.host(year)
        if not folder.exists():
            folder.mkdir()
            (folder / "3dsmaxcmd.exe").symlink_to(HOST)
        self.plan(year, *plan)
        return folder

    def gets(self, images, pace=20, year=2014):
        """A host with these images, which it sends at a pace in milliseconds."""
        folder = self.install(year, *ONLINE, f"passes {pace}", "close")
        for number, image in enumerate(images, 1):
            (folder / f"pass{number}").write_bytes(image)
        self.configure(f"{year} {seen(folder)}")

    def dumped(self, year=2014):
        """How many images its host has dumped."""
        count = self.host(year) / "passes.txt"
        return int(count.read_text() or 0) if count.exists() else 0

    def freeze(self):
        self.server.send_signal(signal.SIGSTOP)

    def kill(self):
        self.server.kill()
        self.server.wait()
        self.server = None


class Farm:
    """Nodes that end with the test, and one network card of ours on their bridge."""

    def __init__(self, folder):
        self.folder = folder
        self.nodes = []
        self.bridges = []
        self.add_bridge(0, NETWORK)

    def add_bridge(self, card, network):
        self.bridges.append(card)
        ip(f"link add bridge{card} type bridge", f"addr add {network}1/24 broadcast + dev bridge{card}",
           f"link set bridge{card} up")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for node in self.nodes:
            if node.server:
                node.server.kill()
                node.server.wait()
        ip(*(f"link del bridge{card}" for card in self.bridges))

    def node(self):
        self.nodes.append(FarmNode(self.folder / f"node {len(self.nodes)}", len(self.nodes)))
        return self.nodes[-1]

    def nodes_that_send(self, count, images, pace=20, started=None):
        """Node n's image i has the value of pixel_value(n, i); all, or so many, are started."""
        made = [self.node() for _ in range(count)]
        for node in made:
            node.gets([exr(pixel_value(node.number, i)) for i in range(images)], pace)
        for node in made[:started]:
            node.spawn()
        for node in made[:started]:
            node.wait_for("Available 3dsmax versions:")
        return made


@pytest.fixture
def farm(tmp_path):
    with Farm(tmp_path) as made:
        yield made


def pixel_value(node, image):
    """No two alike, and sums of thousands are exact in 32-bit floats."""
    return node * 512 + image


def exr(value, width=4, height=2, kind=2, data=None):
    """An OpenEXR image: uncompressed, three channels, all of them of one value."""
    def attribute(name, kind, value):
        return f"{name}\0{kind}\0".encode() + struct.pack("<i", len(value)) + value

    box = struct.pack("<4i", 0, 0, width - 1, height - 1)
    channels = b"".join(struct.pack("<2si4xii", name + b"\0", kind, 1, 1) for name in (b"B", b"G", b"R"))
    header = struct.pack("<ii", 20000630, 2) + b"".join([
        attribute("channels", "chlist", channels + b"\0"),
        attribute("compression", "compression", b"\0"),
        attribute("dataWindow", "box2i", box),
        attribute("displayWindow", "box2i", box),
        attribute("lineOrder", "lineOrder", b"\0"),
        attribute("pixelAspectRatio", "float", struct.pack("<f", 1)),
        attribute("screenWindowCenter", "v2f", bytes(8)),
        attribute("screenWindowWidth", "float", struct.pack("<f", 1))]) + b"\0"
    line = struct.pack({1: "<e", 2: "<f"}[kind], value) * 3 * width if data is None else data
    first = len(header) + 8 * height
    return header + b"".join(
        struct.pack("<q", first + y * (8 + len(line))) for y in range(height)) + b"".join(
        struct.pack("<ii", y, len(line)) + line for y in range(height))


def value_of(path):
    """The first sample of an image of the kind above, or of a result: one block of lines, whose
    bytes are deflated, differences, and dealt into two halves."""
    data = path.read_bytes()
    end = data.index(b"screenWindowWidth\0float\0") + 24 + 4 + 4 + 1
    deflated = b"compression\0compression\0\1\0\0\0\0" not in data
    (first,) = struct.unpack_from("<q", data, end)
    (size,) = struct.unpack_from("<i", data, first + 4)
    block = data[first + 8 : first + 8 + size]
    if deflated and size < 4 * 2 * 3 * 4:
        block = bytearray(zlib.decompress(block))
        for i in range(1, len(block)):
            block[i] = (block[i - 1] + block[i] - 128) % 256
        half = (len(block) + 1) // 2
        block = bytes(b for pair in zip(block[:half], block[half:]) for b in pair)
    return struct.unpack_from("<f", block)[0]


class PlayedNode(threading.Thread):
    """Takes one job after the other, and then does what `part` says with the connection."""

    numbers = itertools.count(1)

    def __init__(self, part):
        super().__init__(daemon=True)
        self.address = f"127.0.1.{next(self.numbers)}"
        self.part = part
        self.listener = socket.create_server((self.address, MASTER))
        self.start()

    def close(self):
        """Frees the port, which is any server's in the same network."""
        self.listener.shutdown(socket.SHUT_RDWR)
        self.join()
        self.listener.close()

    def run(self):
        while True:
            try:
                link, _ = self.listener.accept()
            except OSError:
                return  # closed
            with link:
                try:
                    self.play(link)
                except OSError:
                    pass  # the master has had enough

    def play(self, link):
        handshake = b""
        while not handshake.endswith(b"\0"):
            part = link.recv(65536)
            if not part:
                return  # only a look
            handshake += part
        self.frame = int(handshake.partition(b"<FrameName>")[2].partition(b"<")[0])
        link.sendall(WELCOME)
        (size,) = struct.unpack("<q", link.recv(8, socket.MSG_WAITALL))
        link.recv(size, socket.MSG_WAITALL)
        self.part(link)


def announced(image, size=None):
    return DUMP_EXR + struct.pack("<q", len(image) if size is None else size) + image


def told_to_end(link):
    """Waits for that, or for the master's going."""
    link.settimeout(PATIENCE)
    return link.recv(1000).endswith(END_RENDER)


def start_master(folder, *arguments):
    """A scene is there for it."""
    def heed_interrupts():
        # A shell's background jobs, of which the tests may be one, are started to ignore them.
        signal.signal(signal.SIGINT, signal.SIG_DFL)

    (folder / "scene.max").write_bytes(b"scene")
    return subprocess.Popen([*MASTER_PROGRAM, *arguments], cwd=folder, stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, text=True, preexec_fn=heed_interrupts)


def start_render(folder, *arguments):
    return start_master(folder, "render", "scene.max", "--host-version", "2014", "--output", "out",
                        "--json", *arguments)


def finish(process):
    """Its exit status, its events, as far as nobody has read them, and what it complained of."""
    watchdog = threading.Timer(PATIENCE, process.kill)
    watchdog.start()
    out, errors = process.stdout.read(), process.stderr.read()
    status = process.wait()
    watchdog.cancel()
    assert not platform.reports_damage(errors), errors
    return status, [json.loads(line) for line in out.splitlines()], errors


def kept_images(folder):
    """Values by the address of their node, ascending: a node sends in its folder's order."""
    values = {}
    for path in sorted((folder / "out").glob("node-*.exr")):
        node = path.name[len("node-"):].rsplit("-", 1)[0]
        values.setdefault(node, []).append(value_of(path))
    return {node: sorted(of_node) for node, of_node in values.items()}
