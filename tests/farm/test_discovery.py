"""Nodes are found, each once, with all that they have."""

import signal

from farm import farm  # noqa: F401, a fixture
from farm import NETWORK, finish, start_master, start_render
from harness import PATIENCE, eventually


def lines_of(folder, *arguments):
    """The table of a discovery without its head: columns of text."""
    process = start_master(folder, *arguments)
    out, errors = process.communicate(timeout=PATIENCE)
    assert process.returncode == 0, errors
    return [line.split() for line in out.splitlines()[1:]]


def test_sixty_four_nodes_in_one_discovery(farm, tmp_path):
    nodes = [farm.node() for _ in range(64)]
    for node in nodes:
        node.configure("2014 /nowhere", "2016 /nowhere")
        node.spawn()
    for node in nodes:
        node.wait_for("Available 3dsmax versions:")
    found = lines_of(tmp_path, "discover")
    assert sorted(line[0] for line in found) == sorted(node.address for node in nodes)
    assert all(line[1:3] == ["2014", "2016"] and line[4] == "free" for line in found)
    # Without broadcasts, and for one release.
    found = lines_of(tmp_path, "discover", "--host-version", "2016", "--address", NETWORK + "0/26")
    assert sorted(line[0] for line in found) == sorted(node.address for node in nodes[:53])


def test_busy_node(farm, tmp_path):
    (node,) = farm.nodes_that_send(1, 1)
    render = start_render(tmp_path, "--server", node.address, "--images", "9")
    eventually(node.dumped)
    (found,) = lines_of(tmp_path, "watch", "--once")
    assert found[:2] == [node.address, "2014"] and found[-1] == "busy"
    render.send_signal(signal.SIGINT)
    assert finish(render)[0] == 13


def test_node_with_two_network_cards(farm, tmp_path):
    farm.add_bridge(1, "10.8.0.")
    both, one = farm.nodes_that_send(2, 30)
    both.plug_in(1, "10.8.0.10")
    found = lines_of(tmp_path, "discover")
    assert sorted(line[0] for line in found) == [both.address, one.address]
    status, events, errors = finish(start_render(tmp_path, "--nodes", "all", "--images", "9"))
    assert status == 0, errors
    assert {event["node"] for event in events if event["event"] == "node"} == {both.address, one.address}
