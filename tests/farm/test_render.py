"""Stills on many nodes: what comes together, and what goes wrong on the way."""

import json
import signal

import pytest
from farm import farm  # noqa: F401, a fixture
from farm import finish, kept_images, pixel_value, start_render, value_of


def check_mean(folder, events):
    """The result is the mean of all images that came, each counted once; answers how many."""
    kept = kept_images(folder)
    values = [value for of_node in kept.values() for value in of_node]
    (last,) = [event for event in events if event["event"] == "result" and event["last"]]
    assert last["images"] == len(values) == len(set(values))
    assert value_of(folder / "out/result.exr") == pytest.approx(sum(values) / len(values), rel=1e-6)
    assert not list((folder / "out").glob(".*"))
    return kept


def all_dumped(nodes):
    return {node.address: [pixel_value(node.number, i) for i in range(node.dumped())]
            for node in nodes}


def test_still_while_nodes_die_freeze_and_come(farm, tmp_path):
    nodes = farm.nodes_that_send(33, 300, pace=200, started=32)
    killed, frozen, late = nodes[:3], nodes[3:5], nodes[32]
    render = start_render(tmp_path, "--nodes", "all", "--images", "100000", "--silence", "4",
                          "--last-images", "5")
    events = []

    def whose(kind):
        return {event["node"] for event in events if event["event"] == kind}

    def read_until(condition):
        while not condition():
            events.append(json.loads(render.stdout.readline()))

    read_until(lambda: len(whose("image")) == 32)
    for node in killed:
        node.kill()
    for node in frozen:
        node.freeze()
    late.start()
    read_until(lambda: late.address in whose("image") and len(whose("leftOut")) == 5)
    render.send_signal(signal.SIGINT)
    status, rest, errors = finish(render)
    events += rest
    assert status == 13, errors
    kept = check_mean(tmp_path, events)
    dumped = all_dumped(nodes)
    for node in killed + frozen:
        assert set(kept.pop(node.address)) <= set(dumped.pop(node.address))
    assert kept == dumped
    assert whose("leftOut") == {node.address for node in killed + frozen}


def test_still_on_three_nodes(farm, tmp_path):
    nodes = farm.nodes_that_send(3, 20)
    names = ",".join(node.address for node in nodes)
    status, events, errors = finish(start_render(tmp_path, "--nodes", names, "--images", "20"))
    assert (status, errors) == (0, "")
    kept = check_mean(tmp_path, events)
    assert sum(map(len, kept.values())) >= 20
    assert kept == all_dumped(nodes)
