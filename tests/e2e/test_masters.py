"""Masters that are wrong, slow, hostile or gone, and scenes that do not arrive whole."""

import os
import re
import shutil
import socket
import struct
import subprocess
import time

import pytest
from harness import (
    DUMP_EXR, END_RENDER, ONLINE, WELCOME, Master, eventually, image, platform, request,
    scene_bytes, seen)

BOGUS = "Got bogus master connection: "


def with_elements(count):
    """A handshake that is in order but for its number of elements."""
    return request().replace(b"</OrvaneDrRemote>", b"<x/>" * count + b"</OrvaneDrRemote>")


def padded(size):
    return request()[:-1].ljust(size) + b"\0"


def test_requests_that_no_host_may_see(node):
    node.configure(f"2014 {seen(node.install(2014, 'exit 0'))}", "2016 /nowhere")
    node.start()
    unsupported = {"max2017": 2017, "max2010": 2010, "maxabc": 0, "ma": 0, "": 0, "max-7": -7}
    for version in unsupported:
        with Master() as master:
            assert master.shake(version=version).at_end()
    frames = ["1;touch x", "1 2", "$(touch x)", "\xe9"]
    cameras = [*platform.REFUSED_IN_QUOTES, 'a" ; touch x ; "', "a\x07", "a\x81"]
    for fields in [{"frame": f} for f in frames] + [{"camera": c} for c in cameras]:
        with Master() as master:
            master.job(**fields)
            assert master.at_end()
    node.wait_for("Refused job: ", len(frames + cameras))
    log = node.log()
    assert [line for line in log.split("\n") if line.startswith("Unsup")] == [
        f"Unsupported 3ds max version: {number}" for number in unsupported.values()]
    assert log.count("Refused job: FrameName") == len(frames)
    assert log.count("Refused job: CameraName") == len(cameras)
    assert "Downloading" not in log and node.scenes() == []
    assert [receipt["line"].split(":")[0] for receipt in node.receipts()] == (
        len(unsupported) * ["Unsupported 3ds max version"] + len(frames + cameras) * ["Refused job"])
    assert node.figures()['jobs_total{outcome="refused"}'] == len(node.receipts())
    assert not (node.folder / "x").exists() and not (node.host(2014) / "record.txt").exists()

    with Master() as master:
        master.job(camera=platform.ODD_CAMERA.replace("&", "&amp;"))
        assert ["argument", platform.ODD_CAMERA] in node.started_host()
        assert master.at_end()
    with Master() as master:
        master.job(version="max2015")
        assert master.at_end()
    log = node.final_log()
    assert "2015 scene to render with 3ds max 2016" in log
    assert log.count("Got no response from 3ds max, aborting") == 2
    assert re.search("3ds max ended with exit code [1-9].*\nGot no response", log)
    # The interpreter's own words.
    assert len((node.data / "MaxLog.txt").read_bytes()) > 10
    assert not (node.folder / "x").exists()


def test_bogus_masters(node):
    node.ready("exit 0")
    texts = [
        request(init="Init"), request(init="init "), request(init=" init"), request(init=""),
        request(root="OrvaneDrLocal"), request()[:-1] + request(), b"\0", b"no XML \x01\x1b\xc2\x9b\xff\0",
        b"<a>" * 300 + b"\0", with_elements(247), padded(65537), padded(70000)[:-1],
    ]
    for text in texts:
        with Master() as master:
            master.send(text)
            assert master.dropped()
    with Master() as master:
        master.send(b"<OrvaneDr")
        master.link.shutdown(socket.SHUT_WR)
        assert master.dropped()
    Master().link.close()
    Master().reset()
    node.wait_for("Ready for new connection", len(texts) + 2)
    log = node.log()
    for text in texts[:-2]:
        shown = text[:-1].decode("latin-1").replace("\x1b", "?").replace("\xc2\x9b", "\xc2?")
        assert BOGUS + shown + "\nReady for new connection" in log
    # A system may keep a connection to itself that is reset before it is accepted.
    assert log.count(BOGUS + "\n") in (2, 3) and BOGUS + "<OrvaneDr\n" in log
    assert "Accepted" not in log and "Handshake: " not in log
    for text in (with_elements(246), padded(65536)):
        with Master() as master:
            master.send(text)
            assert master.receive(len(WELCOME)) == WELCOME


@pytest.mark.parametrize("sent", [b"", b"<OrvaneDrRemote>", None], ids=["silent", "stalled", "drip"])
def test_slow_masters(node, sent):
    """Nobody waits behind them, and they are dropped all the same."""
    node.ready()
    with Master() as slow, Master() as other:

        def drip():
            time.sleep(0.3)
            slow.link.send(b"z")

        slow.send(sent or b"")
        other.shake(version="max2017")
        if sent is None:
            with pytest.raises(ConnectionError):
                eventually(drip)
        else:
            assert slow.dropped()
        assert other.at_end()
    before, after = node.final_log().split(BOGUS)
    assert "Unsupported" in before
    assert after.startswith("zzz" if sent is None else sent.decode() + "\nReady")


@pytest.mark.parametrize("how", ["reset", "truncated"])
def test_image_that_breaks_off(node, how):
    size = 60_000_000
    node.ready(*ONLINE, f"dump dumpBig.exr {size}", "leave", "exit 0")
    with Master() as master, Master() as waiting:
        master.job()
        waiting.send(request(version="max2017"))
        assert master.receive(len(DUMP_EXR) + 8) == DUMP_EXR + struct.pack("<q", size)
        if how == "reset":
            master.reset()
        else:
            os.truncate(node.data / "dumpBig.exr", size // 2)
            received = 0
            while part := master.link.recv(1 << 20):
                received += len(part)
            assert received <= size // 2
        assert waiting.receive(len(WELCOME)) == WELCOME
    path = f"{seen(node.data)}//dumpBig.exr"
    failure = "1" if how == "reset" else f"Cannot open/read/write file '{path}'"
    left = size if how == "reset" else size // 2
    (receipt,) = [made for made in node.receipts() if made["outcome"] != "refused"]
    assert (receipt["outcome"], receipt["images"]) == ("transfer-failed", 0)
    assert (
        f"Started EXR dump (60,000,000 bytes, filename: {path})\n"
        f"Sending file to remote side failed: {failure}\n"
        f"Started EXR dump ({left:,} bytes, filename: {path})\n"
        "File dump signal write failed: 1\n"
        f"DR is finished\nClosed loopback connection\n\n\nRemoved file: {path}\n"
        "Ready for new connection\nAccepted remote connection from 127.0.0.1\n") in node.final_log()


def test_half_written_image(node):
    node.ready(*ONLINE, "begin dumpHalf.exr 100000", "dump dumpWhole.exr 10", "gone dumpWhole.exr",
               "await go", "complete", "leave")
    with Master() as master:
        master.job()
        assert master.image() == image(10)
        node.allow(2014, "go")
        assert master.image() == image(100000)
        # A message without an end is as good as none: the job is over for this master.
        master.send(END_RENDER[:-1].ljust(70000))
        assert master.dropped()
    node.wait_for("Ready for new connection")
    assert "Got END signal" not in node.log()


@pytest.mark.parametrize("cause", ["beyond the disk", "disk full", "folder gone"])
def test_scene_that_cannot_be_written(node, cause):
    if cause == "disk full":
        node.data.mkdir()
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=1m", "none", node.data], check=True)
    node.ready("exit 0")
    if cause == "folder gone":
        shutil.rmtree(node.data)
    with Master() as master:
        master.shake()
        if cause == "folder gone":
            master.send(scene_bytes(b"scene"))
        elif cause == "disk full":
            half = bytes(400_000)
            master.send(scene_bytes(half, 2 * len(half)))
            eventually(lambda: node.scenes() and node.scenes()[0].stat().st_size > 300_000)
            (node.data / "of-others").write_bytes(bytes(450_000))
            master.send(half)
        else:
            master.send(scene_bytes(b"scene", 1 << 60))
        assert master.dropped()
    if cause != "folder gone":
        assert node.receipts()[-1]["outcome"] == "disk"
    with Master() as master:
        assert master.shake(version="max2017").at_end()
    assert re.search(
        r"2014\nCannot open/read/write file '.*/drData//received_scene_\d+\.max'\nReady", node.final_log())
    assert node.scenes() == [] and not (node.host(2014) / "record.txt").exists()


@pytest.mark.parametrize("number, kept", [(57, True), (58, False)])
def test_short_scene_on_a_developers_machine(node, number, kept):
    platform.register(f"[SOFTWARE/Orvane]\ndevelopmentVer={number}\n")
    node.ready("dump dumpA.exr 10", *ONLINE, "leave")
    sent = image(70000)
    with Master() as master:
        master.shake().send(struct.pack("<q", -1))
        assert master.image() == image(10)
    with Master() as master:
        master.shake().send(scene_bytes(sent, 40000000))
        master.link.shutdown(socket.SHUT_WR)
        assert master.at_end()
    log = node.final_log()
    assert "Downloaded scene: 131,072 bytes in" in log and "Downloaded scene: 0 bytes in" in log
    assert "DR is running" in log and "File dump signal write failed: 1" in log
    scenes = sorted(scene.read_bytes() for scene in node.scenes())
    # The last chunk is filled up with what the one before it left in the buffer.
    assert scenes == ([b"", sent + sent[4464:65536]] if kept else [])
    # Of the room that was taken for what was announced nothing is kept.
    assert all(scene.stat().st_blocks * 512 < 1000000 for scene in node.scenes())
    assert (node.data / "dumpA.exr").exists() == kept
