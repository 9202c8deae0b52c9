"""The work of scripts/soak --closings: the server is told to stop TIMES times at every stage of a
job, under load. What a master was promised must still arrive, and the server must end in order."""

import random
import signal
import socket
import struct
import sys
import tempfile
import threading
import time
from pathlib import Path

from apart import run_apart
from harness import (
    DISCOVERY, DUMP_EXR, END_RENDER, ONLINE, PING, WELCOME, Master, Node, image,
    request, scene_bytes)

YEAR = 2014
SCENE = image(300_000)
DUMPS = {f"dump{number}.exr": 40_000 + number for number in range(5)}
WROTE = [f"dump {name} {size}" for name, size in DUMPS.items()]
PLAN = ["await go", *ONLINE, *WROTE, "hear", "close", "await end"]


def ping():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sock:
        while True:
            try:
                for _ in range(50):
                    sock.sendto(random.choice([PING, PING[:20]]), ("127.0.0.1", DISCOVERY))
            except OSError:
                pass  # no server now
            time.sleep(0.001)


def visit():
    """As a port scanner does."""
    while True:
        try:
            with Master() as stranger:
                stranger.send(b"GET / HTTP/1.0\r\n\r\n\0")
        except OSError:
            pass
        time.sleep(0.01)


class Closing:
    """One run of the server, up to a stage and to its end."""

    def __init__(self, node, stage):
        self.node, self.whole = node, 0
        for name in ("go", "end"):
            (node.host(YEAR) / name).unlink(missing_ok=True)
        node.plan(YEAR, *PLAN)
        if stage == "start":
            node.spawn()
            time.sleep(random.random() ** 3)  # mostly at the very beginning
            self.stop()
            # Before the program has taken over the signal the system ends it.
            assert node.ended() in (0, -signal.SIGTERM, -signal.SIGINT)
            return
        node.start()
        if stage == "waiting":
            self.stop(2)
        else:
            with Master() as self.master:
                getattr(self, stage)()
        self.check_end()

    def stop(self, longest=0.0):
        """Also while it stops already."""
        time.sleep(random.uniform(0, longest))
        for _ in range(random.choice([1, 1, 3])):
            self.node.server.send_signal(random.choice([signal.SIGTERM, signal.SIGINT]))
            time.sleep(random.choice([0, 0.1]))

    def check_end(self):
        node, self.stopped = self.node, time.monotonic()
        assert node.ended() == 0
        self.seconds = time.monotonic() - self.stopped
        assert node.errors() == ""
        assert node.scenes() == [] and not list(node.data.glob("dump*"))
        lines = node.output()
        assert (node.data / "DrLog.txt").read_bytes().decode("latin-1").endswith(lines)
        if self.whole:
            assert 0 < lines.find("DR is finished") < lines.rfind("Ready for new connection"), lines

    def go_on(self):
        for name in ("go", "end"):
            self.node.allow(YEAR, name)

    def take_images(self):
        received = sorted(self.master.image() for _ in DUMPS)
        assert received == sorted(map(image, DUMPS.values()))

    def rest(self):
        """What a master that was promised its images gets."""
        self.go_on()
        self.take_images()
        self.master.send(END_RENDER)
        assert self.master.at_end()
        self.whole = 1

    def rest_or_break(self):
        self.go_on()
        random.choice([self.rest, self.rest, self.master.reset, self.master.link.close])()

    def rest_if_welcome(self):
        """A master that was still in the queue is turned away."""
        try:
            welcome = self.master.link.recv(1)
        except ConnectionError:
            return
        if welcome:
            assert welcome + self.master.receive(len(WELCOME) - 1) == WELCOME
            self.master.send(scene_bytes(SCENE))
            self.rest()

    def handshake(self):
        size = random.randrange(1, len(request()))
        self.master.send(request()[:size])
        self.stop(0.1)
        try:
            self.master.send(request()[size:])
        except ConnectionError:
            return
        self.rest_if_welcome()

    def request(self):
        self.master.send(request())
        self.stop()
        self.rest_if_welcome()

    def download(self):
        self.master.shake().send(scene_bytes(SCENE[:100_000], len(SCENE)))
        self.stop(0.2)
        self.master.send(SCENE[100_000:])
        self.rest_or_break()

    def launch(self):
        self.master.job(SCENE)
        self.stop(1.2)
        self.rest_or_break()

    def host(self):
        self.master.job(SCENE)
        self.node.started_host()
        self.stop(0.5)
        self.rest_or_break()

    def relay(self):
        self.master.job(SCENE)
        self.node.allow(YEAR, "go")
        assert self.master.receive(len(DUMP_EXR)) == DUMP_EXR
        self.stop(0.02)
        (size,) = struct.unpack("<q", self.master.receive(8))
        images = [self.master.receive(size), *(self.master.image() for _ in list(DUMPS)[1:])]
        assert sorted(images) == sorted(map(image, DUMPS.values()))
        self.node.allow(YEAR, "end")
        if random.random() < 0.3:
            return self.master.reset()
        self.master.send(END_RENDER)
        assert self.master.at_end()
        self.whole = 1

    def end(self):
        self.master.job(SCENE)
        self.node.allow(YEAR, "go")
        self.take_images()
        self.master.send(END_RENDER)
        self.stop(0.5)
        self.go_on()
        assert self.master.at_end()
        self.whole = 1


STAGES = ["start", "waiting", "handshake", "request", "download", "launch", "host", "relay", "end"]


def run(stage, times):
    # A shell that works in the background has it ignored.
    signal.signal(signal.SIGINT, signal.default_int_handler)
    whole, longest = 0, 0.0
    with tempfile.TemporaryDirectory(prefix="closings-") as folder, Node(Path(folder) / "node") as node:
        node.configure(f"{YEAR} {node.install(YEAR)}")
        for load in (ping, visit):
            threading.Thread(target=load, daemon=True).start()
        for _ in range(times):
            closing = Closing(node, stage)
            whole += closing.whole
            longest = max(longest, getattr(closing, "seconds", 0))
    print(f"{stage:12} {times} closings, {whole} jobs whole, at most {longest:.1f} s to the end")


if len(sys.argv) == 3:
    run(sys.argv[1], int(sys.argv[2]))
else:
    wrong = run_apart(__file__, STAGES, sys.argv[1])
    for stage in wrong:
        print(f"soak: WRONG: closing at stage {stage}")
    sys.exit(1 if wrong else 0)
