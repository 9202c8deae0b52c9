"""The work of scripts/soak: JOBS jobs with DUMPS images each against the real server, faults between
them, and a look at what the server holds before and after."""

import hashlib
import os
import random
import re
import socket
import sys
import tempfile
import threading
import time
from pathlib import Path

from harness import (
    DISCOVERY, END_RENDER, LOOPBACK, ONLINE, PING, Master, Node, Peer, image, request,
    scene_bytes)

JOBS, DUMPS = int(sys.argv[1]), int(sys.argv[2])
YEAR = 2014
# What may be wrong and is not.
LONGEST_GAP = 5.0  # seconds
MOST_GROWTH = 1024  # KiB between the tenth job and the end
WARM_UP = 10  # jobs

dice = random.Random("soak")


class Discovery(threading.Thread):
    """Looks for the node all the time and remembers the longest while in which it was not found."""

    def __init__(self):
        super().__init__(daemon=True)
        self.longest, self.answered, self.enough = 0.0, 0, threading.Event()

    def run(self):
        last = time.monotonic()
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sock:
            sock.settimeout(1)
            while not self.enough.is_set():
                sock.sendto(PING, ("127.0.0.1", DISCOVERY))
                try:
                    for _ in range(4):
                        sock.recv(1000)
                    self.answered += 1
                    self.longest = max(self.longest, time.monotonic() - last)
                    last = time.monotonic()
                except TimeoutError:
                    pass
                self.enough.wait(0.2)
        self.longest = max(self.longest, time.monotonic() - last)


class Held:
    """What the server holds at this moment."""

    def __init__(self, process):
        self.descriptors = len(os.listdir(f"/proc/{process}/fd"))
        status = Path(f"/proc/{process}/status").read_text()
        self.memory = int(re.search(r"VmRSS:\s*(\d+)", status)[1])
        self.threads = int(re.search(r"Threads:\s*(\d+)", status)[1])


def sizes():
    return [dice.choice([0, 1, 65536, 65537, dice.randrange(1_000_000)]) for _ in range(DUMPS)]


def plan(node, images, *end):
    dumps = [f"dump dump{number}.exr {size}" for number, size in enumerate(images)]
    node.plan(YEAR, *ONLINE, *dumps, *end)


def digest(data):
    return hashlib.sha256(data).hexdigest()


def healthy_job(node):
    """The images that came; the listing's order is the folder's own."""
    images = sizes()
    plan(node, images, "hear", "close")
    with Master() as master:
        master.job(image(dice.randrange(300_000)))
        received = sorted(digest(master.image()) for _ in images)
        master.send(END_RENDER)
        assert master.at_end()
    assert received == sorted(digest(image(size)) for size in images), "checksums differ"
    return len(received)


def broken_handshake(node):
    with Master() as master:
        master.send(request()[: dice.randrange(len(request()))])
        dice.choice([master.reset, master.link.close])()


def broken_scene(node):
    plan(node, [], "leave")
    with Master() as master:
        master.shake().send(scene_bytes(bytes(dice.randrange(100_000)), 200_000))
        dice.choice([master.reset, master.link.close])()


def broken_relay(node):
    plan(node, sizes(), "leave")
    with Master() as master:
        master.job()
        master.receive(dice.randrange(200))
        dice.choice([master.reset, master.link.close])()


def killed_host(node):
    plan(node, [10], "await nothing")
    with Master() as master:
        master.job()
        assert master.image() == image(10)
        node.kill_host()
        assert master.at_end()


def flood_of_datagrams(node):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sock:
        for _ in range(20_000):
            sock.sendto(dice.choice([b"", b"x" * 100, PING[:30]]), ("127.0.0.1", DISCOVERY))


def flood_of_masters(node):
    for _ in range(300):
        with Master() as master:
            master.send(dice.choice([b"", b"GET / HTTP/1.0\r\n\r\n\0", request(version="max2017"),
                                     b"y" * 70_000]))


def stranger_and_late_plugin(node):
    node.plan(YEAR, "await go", *ONLINE, "dump dumpA.exr 10", "hear", "close")
    (node.host(YEAR) / "go").unlink(missing_ok=True)
    with Master() as master:
        master.job()
        node.started_host()
        for data in (b"", b"GET / HTTP/1.0\r\n\r\n\0", b"y" * 70_000):
            with Peer(LOOPBACK) as stranger:
                try:
                    stranger.send(data)
                except ConnectionError:
                    pass
        node.allow(YEAR, "go")
        assert master.image() == image(10)
        master.send(END_RENDER)
        assert master.at_end()


FAULTS = [broken_handshake, broken_scene, broken_relay, killed_host, flood_of_datagrams,
          flood_of_masters, stranger_and_late_plugin]


def run(node):
    node.ready(year=YEAR)
    start = warm = Held(node.server.pid)
    discovery = Discovery()
    discovery.start()
    received, failed, faults = 0, [], 0
    began = time.monotonic()
    for number in range(1, JOBS + 1):
        try:
            received += healthy_job(node)
        except (OSError, AssertionError) as failure:
            failed.append(f"job {number}: {failure!r}")
        if number % 2 == 0:
            FAULTS[number // 2 % len(FAULTS)](node)
            faults += 1
        if number == WARM_UP:
            warm = Held(node.server.pid)
        if number % 50 == 0:
            print(f"soak: {number} of {JOBS} jobs", flush=True)
    seconds = time.monotonic() - began
    discovery.enough.set()
    discovery.join()
    # The connections of the last fault may still wait to be looked at.
    with Master() as master:
        assert master.shake(version="max2017").at_end()
    time.sleep(1)
    end = Held(node.server.pid)
    node.stop()
    sent = node.log().count("Finished EXR dump")
    print(
        f"jobs                     {JOBS}, {faults} faults between them, {seconds:.0f} s\n"
        f"images sent whole        {sent} (faulty jobs included)\n"
        f"images received          {received} of {JOBS * DUMPS}, checksums compared\n"
        f"descriptors              {start.descriptors} at the start, {end.descriptors} at the end\n"
        f"threads                  {start.threads} at the start, {end.threads} at the end\n"
        f"resident memory          {start.memory} KiB at the start, {warm.memory} KiB after"
        f" {min(WARM_UP, JOBS)} jobs, {end.memory} KiB at the end\n"
        f"discovery                {discovery.answered} answers, longest gap {discovery.longest:.2f} s\n"
        f"log                      {len(node.output()) // 1024} KiB\n"
        f"jobs failed unprovoked   {len(failed)}")
    wrong = failed
    if received != JOBS * DUMPS:
        wrong.append("images are missing")
    if end.descriptors > start.descriptors:
        wrong.append("descriptors stayed open")
    if end.threads > warm.threads:
        wrong.append("threads stayed")
    if JOBS > WARM_UP and end.memory > warm.memory + MOST_GROWTH:
        wrong.append("memory grew")
    if discovery.longest > LONGEST_GAP:
        wrong.append("discovery went unanswered too long")
    if node.scenes():
        wrong.append("scenes were left behind")
    return wrong


with tempfile.TemporaryDirectory(prefix="soak-") as folder:
    wrong = run(Node(Path(folder) / "node"))
for what in wrong:
    print(f"soak: WRONG: {what}")
sys.exit(1 if wrong else 0)
