"""Animations: each frame by one node, and again elsewhere when it fails."""

import json
import signal
import socket

from farm import PlayedNode, announced, exr, finish, start_render, told_to_end, value_of
from harness import MASTER


def frames_in(folder):
    return {int(path.stem[len("frame-"):]): value_of(path) for path in (folder / "out").glob("frame-*.exr")}


def by_outcome(events):
    """The table at the end."""
    outcomes = {}
    for frame in events[-1]["frames"]:
        outcomes.setdefault(frame["outcome"], {})[int(frame["frame"])] = frame
    return outcomes


class FrameNode(PlayedNode):
    """Two images for each frame, whose mean is the frame's number; closes in the middle of some."""

    def __init__(self, bad=()):
        self.bad = bad
        super().__init__(self.render)

    def render(self, link):
        link.sendall(announced(exr(self.frame - 1)))
        if self.frame not in self.bad:
            link.sendall(announced(exr(self.frame + 1)))
            assert told_to_end(link)


def test_frames_over_nodes(tmp_path):
    nodes = [FrameNode(), FrameNode(bad=range(3, 100)), FrameNode()]
    # Always busy: it takes connections and never answers.
    busy = socket.create_server(("127.0.2.4", MASTER))
    names = ",".join([*(node.address for node in nodes), "127.0.2.4", "127.0.2.5"])
    arguments = ["--nodes", names, "--frames", "1-6,3,20-30x5", "--images", "2"]
    status, events, _ = finish(start_render(tmp_path, *arguments))
    wanted = [1, 2, 3, 4, 5, 6, 20, 25, 30]
    assert status == 0 and frames_in(tmp_path) == {frame: frame for frame in wanted}
    table = by_outcome(events)["finished"]
    assert list(table) == wanted and all(table[frame]["images"] == 2 for frame in wanted)
    for frame in table.values():
        assert frame["retries"] == frame["nodes"][:-1].count(nodes[1].address) <= 1
        assert len(frame["nodes"]) == frame["retries"] + 1
    assert any(frame["retries"] for frame in table.values())
    # The same again, after something was lost.
    (tmp_path / "out/frame-0004.exr").unlink()
    status, events, _ = finish(start_render(tmp_path, *arguments))
    assert status == 0 and frames_in(tmp_path) == {frame: frame for frame in wanted}
    table = by_outcome(events)
    assert list(table["finished"]) == [4] and len(table["skipped"]) == 8
    busy.close()


def test_frame_that_nobody_can_render(tmp_path):
    nodes = [FrameNode(bad=[7]), FrameNode(bad=[7])]
    status, events, errors = finish(start_render(
        tmp_path, "--nodes", ",".join(node.address for node in nodes), "--frames", "7-8",
        "--images", "2"))
    assert status == 16 and "1 of 2 frames failed" in errors
    table = by_outcome(events)
    assert list(table["finished"]) == [8] and len(table["failed"][7]["nodes"]) == 3
    assert frames_in(tmp_path) == {8: 8}


def test_time_is_over_before_the_first_image(tmp_path):
    def part(link):
        if node.frame != 7:
            link.sendall(announced(exr(node.frame)))
        told_to_end(link)

    node = PlayedNode(part)
    status, events, _ = finish(start_render(
        tmp_path, "--server", node.address, "--frames", "7-8", "--seconds", "1"))
    assert status == 16 and frames_in(tmp_path) == {8: 8}
    assert by_outcome(events)["failed"][7]["retries"] == 2


def test_interrupted_animation(tmp_path):
    node = FrameNode()
    process = start_render(tmp_path, "--server", node.address, "--frames", "1-100000", "--images", "2")
    for line in process.stdout:
        event = json.loads(line)
        if event["event"] == "frame" and event["frame"] == "3":
            break
    process.send_signal(signal.SIGTERM)
    status, events, _ = finish(process)
    finished = by_outcome(events)["finished"]
    assert status == 13 and frames_in(tmp_path) == {frame: frame for frame in finished}
    assert not list((tmp_path / "out").glob(".*"))
