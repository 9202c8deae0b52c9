"""dr-master with nodes whose hosts only sleep, so that what it adds itself is seen; and its memory.
Called by run-lines in a network namespace: farm.py PROGRAMS SHORT FOLDER."""

import os
import signal
import sys
from pathlib import Path

programs, short, folder = Path(sys.argv[1]), sys.argv[2] == "1", Path(sys.argv[3])
tests = Path(__file__).resolve().parent.parent / "tests"
sys.path[:0] = [str(tests / "farm"), str(tests / "e2e")]
os.environ.update(ORVANE_SERVER=str(programs / "dr-server-headless"),
                  ORVANE_MASTER=str(programs / "dr-master"),
                  ORVANE_HOST=str(programs.parent / "tests/scripted-host/3dsmaxcmd.exe"))

import json  # noqa: E402

from farm import Farm, PlayedNode, announced, exr, finish, start_render, told_to_end  # noqa: E402

PACE = 250  # milliseconds that a host sleeps for an image
SECONDS = 4 if short else 20
IMAGES = 60 if short else 2000


def row(what, figure, reference, ratio, goal, met):
    print(what, figure, reference, ratio, goal, met, sep="\t", flush=True)


def images_per_second(count):
    place = folder / f"{count} nodes"
    place.mkdir()
    with Farm(place) as farm:
        nodes = farm.nodes_that_send(count, (SECONDS + 30) * 1000 // PACE, PACE)
        render = start_render(place, "--nodes", ",".join(node.address for node in nodes),
                              "--images", "1000000", "--keep-mb", "0")
        sending, times = set(), []
        begun = None
        for line in render.stdout:
            event = json.loads(line)
            if event["event"] != "image":
                continue
            sending.add(event["node"])
            if begun is None and len(sending) == count:
                begun = event["seconds"]
            elif begun is not None:
                times.append(event["seconds"])
                if times[-1] >= begun + SECONDS:
                    break
        render.send_signal(signal.SIGINT)
        finish(render)
    return len([time for time in times if time <= begun + SECONDS]) / SECONDS


def peak_memory(process):
    status = Path(f"/proc/{process.pid}/status").read_text()
    return int(status.split("VmHWM:")[1].split()[0]) / 1000


def memory():
    """Of a master that takes full-HD pictures of 16-bit floats; in MB, and how many it took."""
    image = exr(0.5, width=1920, height=1080, kind=1)

    def part(link):
        for _ in range(IMAGES):
            link.sendall(announced(image))
        told_to_end(link)

    nodes = [PlayedNode(part) for _ in range(4)]
    render = start_render(folder, "--nodes", ",".join(node.address for node in nodes),
                          "--images", str(IMAGES), "--keep-mb", "0", "--last-images", "5")
    peak = 0
    for line in render.stdout:
        event = json.loads(line)
        if event["event"] in ("image", "result"):
            peak = max(peak, peak_memory(render))
        if event["event"] == "result" and event["last"]:
            break
    finish(render)
    return peak


one = images_per_second(1)
row("images of 1 node whose host sleeps", f"{one:.2f}/s", f"{1000 / PACE:.2f}/s host alone",
    f"{one * PACE / 1000:.3f}", "-", "-")
for count in (8, 32):
    rate = images_per_second(count)
    ratio = rate / one / count
    row(f"images of {count} such nodes", f"{rate:.1f}/s", f"{count} times one node", f"{ratio:.3f}",
        ">= 0.95", "yes" if ratio >= 0.95 else "NO")
megabytes = memory()
row(f"memory with {IMAGES} images of 1080p half floats", f"{megabytes:.0f} MB", "-", "-",
    "< 400 MB", "yes" if megabytes < 400 else "NO")
