"""Whole jobs, byte by byte and line by line."""

import contextlib
import re
import socket
import threading
from pathlib import Path

from harness import (DUMP_EXR, END_RENDER, LOOPBACK, ONLINE, PLUGIN_ANSWER, Master, Peer, image,
                     platform, request, seen)

CAMERA = "Cam\xe9ra 1\x80 & more"


def command_line(node, frame, camera=""):
    data = seen(node.data)
    option = f' -camera: "{camera}" ' if camera else ""
    return (
        f'echo Starting 3ds max DR... && "{seen(node.host(2014))}/3dsmaxcmd.exe"'
        f' "{data}//received_scene_N.max" -o:"{data}//dr_out.png" -frames:{frame}'
        f" -continueOnError -gammaCorrection:1 -rfw:1 -sf -v:5 {option}"
        f' >> "{data}//MaxLog.txt"'
    )


def relayed(node, name, size):
    path = f"{seen(node.data)}//{name}"
    return [
        f"Started EXR dump ({size} bytes, filename: {path})",
        "Finished EXR dump after N s",
        f"Removed file: {path}",
    ]


def masked(log):
    """Numbers that differ from run to run; the line that another thread writes; the build's date."""
    log = re.sub(r"(in|after) \d+ s", r"\1 N s", log)
    log = re.sub(r"received_scene_\d+", "received_scene_N", log)
    log = re.sub(r"build [A-Z][a-z]{2} [ \d]\d \d{4} on", "build DATE on", log)
    lines = log.split("\n")
    lines.remove("Starting UDP socket, local hostname: 0.0.0.0")
    return lines


def test_two_whole_jobs(node):
    leftover = node.data / "dumpOld.exr"
    no_dumps = [node.data / name for name in ("dumpC.EXR", "dumpB.exr.tmp", "adump.exr")]
    host = node.install(2014,
        "print Rendering", "await stranger-gone", *ONLINE,
        "dump dump.exr 0", "gone dump.exr",
        "dump dumpA.exr 65537", "gone dumpA.exr",
        "dump dump with blanks.exr 2000000", "gone dump with blanks.exr",
        "hear", "hear", "dump dumpLast.exr 300000", "say nobody reads this", "close",
        "await master-late", "exit 7")
    node.configure("# comment", f"2014 {seen(host)}", "retainEXR=true")
    leftover.write_bytes(b"of an earlier job")
    for path in no_dumps:
        path.write_bytes(b"not a dump")
    (node.data / "dumpFolder.exr").mkdir()
    node.start()
    stale = [Peer(LOOPBACK) for _ in range(3)]

    scene = image(70000)
    with Master() as master:
        master.job(scene, frame="1-5,7", camera=CAMERA.replace("&", "&amp;"))
        start = node.started_host()
        assert all(peer.at_end() for peer in stale)
        with Peer(LOOPBACK).greeted() as stranger:
            stranger.send(PLUGIN_ANSWER.replace("init<", "Init<").encode() + b"\0")
            assert stranger.at_end()
        (saved,) = node.scenes()
        assert saved.read_bytes() == scene
        node.allow(2014, "stranger-gone")
        sizes = [0, 65537, 2000000]
        assert [master.image() for _ in sizes] == [image(size) for size in sizes]
        master.send(END_RENDER + b"<Other/>\0" + END_RENDER)
        node.wait_for("Closed loopback connection")
        # Input that the server never reads must not cost the image that is under way.
        master.send(END_RENDER)
        node.allow(2014, "master-late")
        node.wait_for("Ready for new connection")
        assert master.image() == image(300000)
        assert master.at_end()

    data = seen(node.data)
    assert [text for word, text in start if word == "argument"] == [
        seen(saved).replace("drData/", "drData//"), f"-o:{data}//dr_out.png", "-frames:1-5,7",
        "-continueOnError", "-gammaCorrection:1", "-rfw:1", "-sf", "-v:5", "-camera:", CAMERA]
    assert ["folder", seen(node.folder)] in start
    assert node.heard_by_host() == (
        f"<OrvaneDrLocal>\n\t<HandshakeResponse>ok</HandshakeResponse>\n"
        f"\t<DumpFilename>{data}/</DumpFilename>\n\t<FrameName>1-5,7</FrameName>\n"
        f"\t<HostVersion>max2014</HostVersion>\n"
        f"\t<CameraName>{CAMERA.replace('&', '&amp;')}</CameraName>\n"
        f"</OrvaneDrLocal>\n\0").encode("latin-1") + 2 * END_RENDER
    copies = sorted((node.data / "retainedImages").iterdir())
    assert all(re.fullmatch(r"\d{4}-\d\d-\d\d \d\d-\d\d-\d\d( [234])?\.exr", copy.name) for copy in copies)
    assert sorted(copy.stat().st_size for copy in copies) == sorted([*sizes, 300000])

    receipt = node.receipt("completed", "DR is finished")
    assert [receipt[key] for key in (
        "master", "releaseAsked", "releaseUsed", "frames", "camera", "sceneBytes", "images",
        "imageBytes", "hostExit")] == [
            "127.0.0.1", 2014, 2014, "1-5,7", CAMERA.encode("latin-1").decode(platform.CODE_PAGE),
            len(scene), 4, sum(sizes) + 300000, 7]
    assert receipt["start"] < receipt["firstImage"] <= receipt["lastImage"] <= receipt["end"]
    assert all(seconds >= 0 for seconds in receipt["seconds"].values()) and "hostOutput" not in receipt

    # The next master finds the node as new, and a host that is gone before it is heard.
    node.plan(2014, "print Again")
    with Master() as master:
        master.job(version="mAx2012", frame="")
        assert master.at_end()
    receipt = node.receipt("host-never-came", "Got no response from 3ds max, aborting")
    assert (receipt["releaseAsked"], receipt["images"], receipt["hostOutput"]) == (2012, 0, ["Again"])
    assert node.scenes() == [] and not leftover.exists()
    assert all(path.exists() for path in no_dumps) and (node.data / "dumpFolder.exr").is_dir()
    assert (node.data / "MaxLog.txt").read_text() == "Rendering\nAgain\n"
    node.stop()

    one_line = request(version="max2014", frame="1-5,7", camera=CAMERA.replace("&", "&amp;"))
    shaken = [text[:-1].decode("latin-1").replace("\r", " ").replace("\n", " ")
              for text in (one_line, request(version="mAx2012", frame=""))]
    assert masked(node.log()) == [
        "DR server started",
        "Running Orvane DrServer build DATE on ports UDP19666, TCP19668, loopback TCP19667",
        "Available 3dsmax versions:",
        f"2014: {seen(host)}",
        "Accepted remote connection from 127.0.0.1",
        f"Handshake: {shaken[0]}",
        "Downloading 3ds max 2014 scene to render with 3ds max 2014",
        "Downloaded scene: 70,000 bytes in N s",
        "Running command:", command_line(node, "1-5,7", CAMERA),
        f"Removed file: {data}//dumpOld.exr",
        "WARNING: A local application connected to DR server, but did not follow required protocol."
        " This could some other application in this computer is using port TCP 19667. Received"
        f' response is: "{PLUGIN_ANSWER.replace("init<", "Init<")}"',
        "3ds max is online after N seconds",
        "DR is running",
        *relayed(node, "dump.exr", "0"),
        *relayed(node, "dumpA.exr", "65,537"),
        *relayed(node, "dump with blanks.exr", "2,000,000"),
        *2 * ["Got END signal from remote side, forwarding to 3ds max"],
        *relayed(node, "dumpLast.exr", "300,000"),
        "DR is finished",
        "Closed loopback connection", "", "",
        "3ds max ended with exit code 7",
        "Ready for new connection",
        "Accepted remote connection from 127.0.0.1",
        f"Handshake: {shaken[1]}",
        "Downloading 3ds max 2012 scene to render with 3ds max 2014",
        "Downloaded scene: 5 bytes in N s",
        "Running command:", command_line(node, ""),
        "Got no response from 3ds max, aborting",
        "DR is finished",
        "Closed loopback connection", "", "",
        "Ready for new connection",
        "No image came. The last lines of this job in MaxLog.txt:",
        "MaxLog> Again",
        "",
    ]
    assert (node.data / "DrLog.txt").read_bytes().decode("latin-1") == node.output()


def test_worked_example_of_the_documentation(node):
    text = (Path(__file__).parents[2] / "docs/PROTOCOL.md").read_text()
    block = text.split("<!-- worked example: begin -->")[1].split("<!-- worked example: end -->")[0]
    steps = re.findall(r"^([MSP])>([MSP]) (.*)$", block, re.M)
    assert len(steps) == 9
    node.ready("await end")
    peers = {"M": Master()}
    for sender, receiver, escaped in steps:
        data = escaped.encode().decode("unicode_escape").encode("latin-1")
        data = data.replace(b"/srv/node", seen(node.folder).encode("latin-1"))
        if receiver == "P" and "P" not in peers:
            node.started_host()
            peers["P"] = Peer(LOOPBACK)
        if sender != "S":
            peers[sender].send(data)
        else:
            if data == DUMP_EXR:
                (node.data / "new").write_bytes(b"image")
                (node.data / "new").rename(node.data / "dump1.exr")
            assert peers[receiver].receive(len(data)) == data
    peers["P"].link.close()
    node.allow(2014, "end")
    assert peers["M"].at_end()


def test_flood_of_local_connections(node):
    """Some program that connects again and again does not hold up a job."""
    node.ready(*ONLINE, "dump dumpA.exr 10", "hear")
    enough = threading.Event()

    def flood():
        while not enough.wait(0.02):
            with contextlib.suppress(OSError):  # a full queue; the system's own retries take seconds
                socket.create_connection(("127.0.0.1", LOOPBACK), timeout=0.1).close()

    flooding = threading.Thread(target=flood)
    flooding.start()
    try:
        with Master() as master:
            master.job()
            assert master.image() == image(10)
            enough.set()
            master.send(END_RENDER)
            assert master.at_end()
    finally:
        enough.set()
        flooding.join()
    assert "DR is finished" in node.final_log()


def test_silent_local_stranger(node):
    node.ready("await stranger-gone", *ONLINE, "close")
    with Master() as master:
        master.job()
        node.started_host()
        with Peer(LOOPBACK).greeted() as stranger:
            assert stranger.at_end()
        node.allow(2014, "stranger-gone")
        assert master.at_end()
    assert 'Received response is: ""\n3ds max is online after' in node.final_log()
