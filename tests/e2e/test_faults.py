"""Peers that break off, stall or flood at any byte, disks that fail, hosts that hang: what follows
must be a whole job. With ORVANE_THOROUGH set, every byte instead of a sample."""

import os
import random
import re
import signal
import socket
import subprocess
import threading
from pathlib import Path

import pytest
from harness import (
    DISCOVERY, DUMP_EXR, END_RENDER, LOOPBACK, ONLINE, PATIENCE, PING,
    PLUGIN_ANSWER, REPLY, WELCOME, Master, Peer, eventually, image, request, scene_bytes, seen,
    whole_job)

THOROUGH = "ORVANE_THOROUGH" in os.environ
SCENE, SIZE = image(200), 300
PLAN = [*ONLINE, f"dump dumpA.exr {SIZE}", "hear", "close"]
SAYS = request() + scene_bytes(SCENE) + END_RENDER
HEARS = len(WELCOME + DUMP_EXR) + 8 + SIZE
ANSWER = PLUGIN_ANSWER.encode() + b"\0"


def cut(peer):
    peer.link.close()


def reset(peer):
    peer.reset()


def half_close(peer):
    peer.link.shutdown(socket.SHUT_WR)
    read_to_end(peer)


def flood(peer):
    try:
        peer.send(b"\xff" * 3_000_000)
    except ConnectionError:
        pass


def read_to_end(peer):
    try:
        while peer.link.recv(100_000):
            pass
    except ConnectionError:
        pass


def positions(size, few, *seed):
    return range(size) if THOROUGH else sorted(random.Random(str(seed)).sample(range(size), few))


@pytest.mark.parametrize("fault", [cut, reset, half_close, flood])
def test_master_that_breaks_off(node, fault):
    node.ready(*PLAN)
    for sent in positions(len(SAYS) + 1, 4, fault.__name__):
        with Master() as master:
            master.send(SAYS[:sent])
            fault(master)
        whole_job()
    for heard in positions(HEARS, 2, fault.__name__, "heard"):
        with Master() as master:
            master.send(SAYS[: -len(END_RENDER)])
            master.receive(heard)
            fault(master)
        whole_job()
    node.stop()
    assert node.scenes() == []


def test_master_that_stalls(node):
    node.ready(*PLAN)
    handshake, scene = len(request()), len(scene_bytes(SCENE))
    for sent in positions(handshake, 1, "handshake"):
        with Master() as master:
            master.send(SAYS[:sent])
            assert master.dropped()
        whole_job()
    # The scene's rest is waited for 45 seconds; then the host is to see what came.
    for sent in positions(scene, 1, "scene")[:: 40 if THOROUGH else 1]:
        with Master() as master:
            master.send(SAYS[: handshake + sent])
            master.receive(HEARS)
        whole_job()
    node.stop()


@pytest.mark.parametrize("fault", [cut, reset, half_close, flood, read_to_end])
def test_plugin_that_breaks_off(node, fault):
    node.ready("await go", *PLAN)
    # All of it but the zero byte is as good as whole.
    sample = positions(len(ANSWER) - 1, 6, fault.__name__)
    if fault == read_to_end:
        sample = sample[::5]  # each is waited for
    with Master() as master:
        master.job(SCENE)
        node.started_host()
        for said in [ANSWER[:-1].ljust(65537), *(ANSWER[:sent] for sent in sample)]:
            # A system may keep a connection to itself that is reset before it is accepted.
            with Peer(LOOPBACK).greeted() as plugin:
                plugin.send(said)
                fault(plugin)
        node.allow(2014, "go")
        assert master.image() == image(SIZE)
        master.send(END_RENDER)
        assert master.at_end()
    assert node.final_log().count("WARNING: A local application") >= min(len(sample), 20)


def test_floods_during_a_job(node):
    node.ready("await go")
    enough = threading.Event()

    def keep_sending(peer, data):
        try:
            while not enough.is_set():
                peer.send(data)
        except OSError:
            pass

    with Master() as master, Peer(LOOPBACK) as plugin:
        master.job(SCENE)
        node.started_host()
        plugin.link.close()  # was drained, or is as good as
        with Peer(LOOPBACK) as plugin:
            plugin.send(ANSWER)
            node.wait_for("DR is running")
            flooding = threading.Thread(target=keep_sending, args=(plugin, bytes(65536)))
            flooding.start()
            master.send((END_RENDER + b"<Other/>\0") * 5000)
            for number in range(20):
                node.put_dump(f"dump{number}.exr", image(50_000 + number))
                assert master.image() == image(50_000 + number)
            heard = plugin.receive(1000)
            enough.set()
            flooding.join()
            plugin.reset()
        node.allow(2014, "go")
        assert master.at_end() and END_RENDER in heard
    for _ in range(300):
        with Master() as stranger:
            stranger.send(request(version="max2017")[:-1].ljust(60_000) + b"\0")
            stranger.receive(len(WELCOME))
    log = node.final_log()
    refused = [receipt for receipt in node.receipts() if receipt["outcome"] == "refused"]
    assert len(refused) < 150 and sum(receipt.get("jobs", 1) for receipt in refused) == 300
    assert len(log) < 300_000 and log.count("Got END signal") <= 40


def test_datagrams_of_all_kinds(node):
    node.ready("exit 0")
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sock:
        sock.settimeout(PATIENCE)
        sock.connect(("127.0.0.1", DISCOVERY))
        for _ in range(100):
            for cut_at in range(len(PING) - 1):
                sock.send(PING[:cut_at])
            sock.send(bytes(random.Random(cut_at).randbytes(60_000)))
        eventually(all_datagrams_taken)  # or the system drops the ping
        for _ in range(2):
            sock.send(PING)
            assert sock.recv(1000) == REPLY
    node.wait_for("Left out")
    assert node.final_log().count("Got discovery ping\n") < 60


def all_datagrams_taken():
    """As the system counts what waits in the server's socket."""
    bound_and_waiting = rf": \w+:{DISCOVERY:04X} \w+:0000 \w+ \w+:(\w+)"
    (waiting,) = re.findall(bound_and_waiting, Path("/proc/self/net/udp").read_text())
    return int(waiting, 16) == 0


@pytest.mark.linux
def test_disk_that_fails(node):
    node.data.mkdir()
    subprocess.run(["mount", "-t", "tmpfs", "-o", "size=1m", "none", node.data], check=True)
    node.configure(f"2014 {seen(node.install(2014, *ONLINE, 'dump dumpA.exr 400000', 'hear', 'close'))}",
                   "RetainEXR = true")
    node.start()
    filler = node.data / "of-others"
    filler.write_bytes(bytes(500_000))
    whole_job(size=400_000)  # the copy has no room, the image has
    assert list((node.data / "retainedImages").iterdir()) == []
    filler.unlink()
    node.put_dump("dumpLeft.exr", b"cannot be deleted for now")
    subprocess.run(["mount", "--bind", node.data, node.data], check=True)
    subprocess.run(["mount", "-o", "remount,bind,ro", node.data], check=True)
    with Master() as master:
        master.job(SCENE)
        assert master.dropped()
    subprocess.run(["umount", node.data], check=True)
    os.mkfifo(node.data / "dumpPipe.exr")
    (node.data / "dumpNowhere.exr").symlink_to("/nowhere")
    whole_job(size=400_000)
    assert "Cannot open/read/write file" in node.final_log()
    assert len(list((node.data / "retainedImages").iterdir())) == 1


@pytest.mark.linux
def test_host_that_ignores_everything(node):
    node.ready(*ONLINE, "await nothing")
    with Master() as master:
        master.job(SCENE).send(END_RENDER)
        node.wait_for("Got END signal")
    node.wait_for("Still waiting for 3ds max to end, for 30 s; no other master is served until it does")
    node.server.send_signal(signal.SIGTERM)
    with pytest.raises(subprocess.TimeoutExpired):
        node.server.wait(3)
    node.kill_host()
    assert node.ended() == 0 and node.scenes() == []
