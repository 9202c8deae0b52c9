"""Nodes that are wrong, slow, hostile or gone, and renders that end before their time. The nodes are
played here, each on a loopback address of its own."""

import json
import signal
import socket
import struct
import threading
import time

import pytest
from farm import PlayedNode, announced, exr, finish, start_render, told_to_end, value_of
from harness import DUMP_EXR, PATIENCE, eventually


def sending(*images):
    """A part: these images, and an end in order."""
    def part(link):
        for image in images:
            link.sendall(announced(image))
        told_to_end(link)
    return part


def wide(side):
    """A small file whose header asks for a large picture, and whose table of lines is empty."""
    return exr(1, width=side, height=1, data=b"").replace(
        struct.pack("<4i", 0, 0, side - 1, 0),
        struct.pack("<4i", 0, 0, side - 1, side - 1)) + bytes(8 * side)


SMALL = exr(1)
HOSTILE = {
    "announces an image without a size": announced(b"", -5),
    "announces an image of": announced(b"", 1 << 62),
    "its size or channels": announced(exr(7, width=8)),
    "width of the data window": announced(wide(100_000)),
    "too many pixels": announced(wide(60_000)),
    "cannot be used": announced(b"../../../etc/passwd"),
    "cannot be used: ": announced(SMALL[:-10]),
    "cannot be used: Cannot": announced(b""),
    "within an image of": announced(SMALL[:-10], len(SMALL)),
    "messages that mean nothing": DUMP_EXR.replace(b"DumpExr", b"Surprise") * 1000,
    "connection was lost": b"<" * 1_000_000,
    "ended the job": b"",
}


def test_hostile_nodes(tmp_path):
    begun = threading.Event()

    def hostile(data):
        def part(link):
            begun.wait(PATIENCE)
            link.sendall(data)
            link.shutdown(socket.SHUT_WR)
            time.sleep(1)
        return part

    def good(link):
        for value in range(1, 31):
            link.sendall(announced(exr(value)))
            begun.wait(PATIENCE)
            time.sleep(0.1)
        assert told_to_end(link)

    nodes = [PlayedNode(good)]
    nodes += [PlayedNode(hostile(data)) for data in HOSTILE.values()]
    process = start_render(tmp_path, "--nodes", ",".join(node.address for node in nodes),
                           "--images", "30")
    events = []
    for line in process.stdout:
        events.append(json.loads(line))
        if events[-1]["event"] == "image":
            begun.set()
    assert process.wait() == 0
    assert value_of(tmp_path / "out/result.exr") == pytest.approx(15.5)
    said = {event["node"]: event["text"] for event in events if event["event"] == "leftOut"}
    for node, text in zip(nodes[1:], HOSTILE):
        assert text in said[node.address], (text, said[node.address])
    assert {path.name.rsplit("-", 1)[0] for path in (tmp_path / "out").iterdir()} == {
        f"node-{nodes[0].address}", "result.exr", "result.png"}


def test_first_image_is_the_odd_one(tmp_path):
    """One node of three has another size set, and is the quickest."""
    begun = threading.Event()

    def usual(link):
        begun.wait(PATIENCE)
        sending(exr(4), exr(6))(link)

    nodes = [PlayedNode(sending(exr(9, width=8))), PlayedNode(usual), PlayedNode(usual)]
    process = start_render(tmp_path, "--nodes", ",".join(node.address for node in nodes),
                           "--images", "4")
    wait_for_images(process, 1)
    begun.set()
    status, events, _ = finish(process)
    assert status == 0 and value_of(tmp_path / "out/result.exr") == 5
    assert any("the mean begins anew" in event.get("text", "") for event in events)


def wait_for_images(process, count):
    """Reads the master's events until so many images have come."""
    for line in process.stdout:
        event = json.loads(line)
        if event["event"] == "image" and event["images"] >= count:
            return
    raise AssertionError(process.stderr.read())


def test_interrupted(tmp_path):
    """Once: in order, with the result. Twice: at once, and nothing half-done is left."""
    def endless(link):
        link.sendall(announced(exr(3)) + announced(exr(4)))
        told_to_end(link)
        if stubborn.is_set():
            # Half an image, and then not a word.
            link.sendall(announced(exr(5)[:-10], len(exr(5))))
            half_sent.set()
            link.recv(1)
        else:
            link.sendall(announced(exr(5)))

    stubborn, half_sent = threading.Event(), threading.Event()
    node = PlayedNode(endless)
    for arguments in (["--nodes", node.address], ["--server", node.address]):
        process = start_render(tmp_path, "--images", "100", *arguments)
        wait_for_images(process, 2)
        process.send_signal(signal.SIGINT)
        status, _, errors = finish(process)
        assert status == 13 and "Ended by Ctrl-C" in errors
        assert value_of(tmp_path / "out/result.exr") == 4
    stubborn.set()
    process = start_render(tmp_path, "--images", "100", "--nodes", node.address)
    wait_for_images(process, 2)
    process.send_signal(signal.SIGINT)
    assert half_sent.wait(PATIENCE)
    incoming = tmp_path / f"out/.dr-node-{node.address}.part"
    eventually(lambda: incoming.exists())
    process.send_signal(signal.SIGTERM)
    assert finish(process)[0] == 13
    assert sorted(path.name for path in (tmp_path / "out").iterdir() if path.name != ".dr-master.lock") == [
        f"node-{node.address}-0001.exr", f"node-{node.address}-0002.exr"]
    # Nor is what it left taken for somebody else's.
    stubborn.clear()
    process = start_render(tmp_path, "--images", "2", "--server", node.address)
    status, events, _ = finish(process)
    assert status == 0 and any("Removed 2 files" in event.get("text", "") for event in events)
    assert not (tmp_path / "out/.dr-master.lock").exists()


@pytest.mark.parametrize("last, goal", [
    ("silent", "--images=1"), ("endless", "--images=1"), ("dripping", "--seconds=1")])
def test_node_that_does_not_end(tmp_path, last, goal):
    """Told to end, it is silent, or sends on and on, or one image without end: the end comes, and
    the result is kept."""
    def part(link):
        link.sendall(announced(exr(6)))
        if last == "dripping":
            link.sendall(announced(b"", 1 << 20))
        while last == "dripping":
            link.sendall(b"x")
            time.sleep(0.1)
        while last == "endless":
            link.sendall(announced(exr(6)))
        link.settimeout(None)
        while link.recv(1000):
            pass

    node = PlayedNode(part)
    process = start_render(
        tmp_path, "--server", node.address, goal, "--last-images", "2", "--keep-mb", "0.1")
    ended, events, _ = finish(process)
    assert ended == 0 and "did not end its job" in [
        event for event in events if event["event"] == "remark"][-1]["text"]
    assert value_of(tmp_path / "out/result.exr") == 6
    assert sum(path.stat().st_size for path in (tmp_path / "out").glob("image-*")) <= 100_000


def test_one_folder_for_two_renders(tmp_path):
    node, other = PlayedNode(sending(exr(2))), PlayedNode(sending(exr(9)))
    first = start_render(tmp_path, "--server", node.address, "--images", "2")
    wait_for_images(first, 1)
    status, _, errors = finish(start_render(tmp_path, "--server", other.address))
    assert status == 14 and "Another render writes into the folder 'out'" in errors
    first.send_signal(signal.SIGINT)
    assert finish(first)[0] == 13 and value_of(tmp_path / "out/result.exr") == 2
    # What the first left does not mix with what comes now.
    (tmp_path / "out/mine.exr").write_bytes(b"mine")
    # Nor does it vanish before there is something new.
    status, events, _ = finish(start_render(tmp_path, "--server", "127.0.2.98"))
    assert (status, events[-1]["event"]) == (3, "end") and value_of(tmp_path / "out/result.exr") == 2
    status, events, _ = finish(start_render(tmp_path, "--server", other.address))
    assert status == 0 and any(
        "Removed 3 files of an earlier render" in event.get("text", "") for event in events)
    assert {path.name for path in (tmp_path / "out").iterdir()} == {
        "image-0001.exr", "mine.exr", "result.exr", "result.png"}
    # Somebody else's are nobody's to remove, whatever their names.
    stranger = tmp_path / "out/image-0044.exr"
    stranger.write_bytes(b"old")
    (tmp_path / "out/result.exr").unlink()
    status, events, _ = finish(start_render(tmp_path, "--server", other.address))
    assert status == 0 and any("2 images in the folder are not known" in event.get("text", "")
                               for event in events)
    assert stranger.read_bytes() == b"old" and value_of(tmp_path / "out/image-0002.exr") == 9


def test_no_node_left(tmp_path):
    """All go, and none comes back in time; what they sent is kept."""
    def part(link):
        link.sendall(announced(exr(8)))

    node = PlayedNode(part)
    status, events, errors = finish(start_render(
        tmp_path, "--nodes", f"{node.address},127.0.2.99", "--images", "9", "--patience", "5"))
    assert status == 15 and "No node took part for 5 s" in errors
    assert value_of(tmp_path / "out/result.exr") == 8
