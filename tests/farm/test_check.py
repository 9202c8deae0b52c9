"""What dr-master check says of a node, from afar and on the node itself."""

import json
import os
import signal

from conftest import node  # noqa: F401, a fixture
from farm import farm  # noqa: F401, a fixture
from farm import start_master
from harness import END_RENDER, ONLINE, PATIENCE, Master, eventually, image


def check(folder, *arguments):
    """The exit status and, by subject, whether it is in order, the text and the remedy."""
    process = start_master(folder, "check", "--json", *map(str, arguments))
    out, errors = process.communicate(timeout=PATIENCE)
    assert errors == ""
    return process.returncode, json.loads(out)["checks"]


def test_why_a_master_does_not_get_a_node(farm, tmp_path):
    node = farm.node()
    node.configure("2014 /nowhere")
    node.start()
    status, found = check(tmp_path, node.address)
    assert status == 0 and found["masters"]["text"].startswith("find this node and get it")
    os.kill(node.server.pid, signal.SIGSTOP)
    status, found = check(tmp_path, node.address)
    assert status == 4 and "hangs" in found["masters"]["text"] and not found["masters"]["ok"]
    os.kill(node.server.pid, signal.SIGCONT)
    exclusive = farm.node()
    exclusive.configure("2014 /nowhere", "Masters = 192.0.2.1")
    exclusive.start()
    status, found = check(tmp_path, exclusive.address)
    assert status == 5 and "leaves them out" in found["masters"]["text"]
    status, found = check(tmp_path, "127.0.0.1")
    assert status == 3 and "no DR server listens there" in found["masters"]["text"]


def test_local_check(node, tmp_path):
    status, found = check(tmp_path, "--local", tmp_path)
    assert status == 3 and "DrConfig-1.00.txt" in found["folder"]["text"]
    node.ready("print No licence", "exit 3")
    with Master() as master:
        master.job()
        assert master.at_end()
    for folder in (node.folder, node.data):
        status, found = check(tmp_path, "--local", folder)
        assert status == 10 and found["server"]["text"] == "runs, and is free for a master"
        assert found["jobs"]["outcomes"] == {"host-never-came": 1}
        assert found["failure"]["text"].endswith("Got no response from 3ds max, aborting")
        assert found["failure"]["remedy"].endswith("\nNo licence")
    node.plan(2014, *ONLINE, "dump dumpA.exr 300", "gone dumpA.exr", "mark there", "hear", "close")
    with Master() as master:
        master.job()
        eventually((node.host(2014) / "there").exists)
        status, found = check(tmp_path, "--local", node.folder)
        assert "serves the master at 127.0.0.1 since 20" in found["server"]["text"]
        assert master.image() == image(300)
        master.send(END_RENDER)
        assert master.at_end()
    status, found = check(tmp_path, "--local", node.folder)
    assert status == 0 and found["failure"]["ok"] and found["jobs"]["images"] == 1
    node.stop()
    status, found = check(tmp_path, "--local", node.folder)
    assert status == 3 and "was told to end" in found["server"]["text"]
