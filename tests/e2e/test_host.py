"""The host's processes: how they are started, what becomes of what they say, and how they end."""

import os
import signal

import pytest
from harness import END_RENDER, ONLINE, Master, Node, eventually, image, platform, seen, whole_job

PLAN = [*ONLINE, "dump dumpA.exr 300", "hear", "close"]


def host_log(node):
    return (node.data / "MaxLog.txt").read_text("latin-1").replace("\r\n", "\n")


@pytest.mark.parametrize("stage", ["loading", "rendering", "ending"])
def test_server_killed_with_the_host_and_all_that_it_started(node, stage):
    host = node.host(2014)
    linger = "shell " + platform.LINGER.format(seen(host))
    plan = {"loading": [], "rendering": ONLINE, "ending": [*ONLINE, "close"]}[stage]
    node.ready(linger, *plan, "mark there", "hang")
    with Master() as master:
        master.job()
        eventually((host / "there").exists, node.log)
        if stage == "ending":
            node.wait_for("Closed loopback connection")
        assert len(node.host_processes()) >= 3
        node.server.kill()
        node.ended()
    eventually(lambda: not node.host_processes(), node.host_processes)
    node.plan(2014, *PLAN)
    node.start()
    whole_job()
    node.stop()


@pytest.mark.parametrize("stage", ["loading", "ending"])
def test_host_that_nobody_needs_and_that_does_not_end(node, stage):
    plan = {"loading": [], "ending": [*ONLINE, "close"]}[stage]
    host = node.install(2014, *plan, "mark there", "hang")
    node.configure(f"2014 {seen(host)}", "hostpatience = 1", "HostPriority = LOW")
    node.start()
    with Master() as master:
        master.job()
        eventually((host / "there").exists, node.log)
        if stage == "ending":
            node.wait_for("Closed loopback connection")
        else:
            # It is listened to already.
            master.send(bytes(1000) + b"x" * 70_000)
            node.wait_for("Refused a message of the master")
    node.wait_for("Ready for new connection")
    assert node.host_processes() == []
    node.plan(2014, *PLAN)
    whole_job()
    ended = "Ended 3ds max: it had not ended by itself for 1 s\n"
    assert ended + {"loading": "Got no", "ending": "Ready"}[stage] in node.final_log()


def test_end_signals_while_the_host_loads(node):
    node.configure(
        f"2014 {seen(node.install(2014, 'await go', *ONLINE, 'hear', 'hear', *PLAN[3:4], 'close'))}",
        "HostPatience=1")
    node.start()
    with Master() as master:
        master.job().send(2 * END_RENDER)
        node.started_host()
        node.allow(2014, "go")
        assert master.image() == image(300)
        assert master.at_end()
    assert node.heard_by_host().endswith(2 * END_RENDER)
    forwarded = "Got END signal from remote side, forwarding to 3ds max\n"
    assert "DR is running\n" + 2 * forwarded in node.final_log()


@pytest.mark.linux
def test_host_below_normal_priority(node):
    host = node.install(2014, "mark there", "hang")
    node.configure(f"2014 {seen(host)}", "HostPriority = low", "HostPatience = 1")
    node.start()
    with Master() as master:
        master.job()
        eventually((host / "there").exists, node.log)
        own, *of_host = (os.getpriority(os.PRIO_PROCESS, process)
                         for process in [node.server.pid, *node.host_processes()])
        assert own == os.getpriority(os.PRIO_PROCESS, 0) and of_host == 2 * [max(own, 10)]
    node.wait_for("Ready for new connection")


@pytest.mark.linux
def test_login_manager_is_asked_to_keep_the_machine_awake(node):
    inhibitor = node.folder / "systemd-inhibit"
    inhibitor.write_text(
        f'#!/bin/sh\necho "$@" >> "{node.folder}/asked"\n[ $1 = --what=idle ] || exit 1\nexec cat\n')
    inhibitor.chmod(0o755)
    node.configure(f"2014 {seen(node.install(2014, *ONLINE, 'await go', *PLAN[3:]))}")
    node.start(env={**os.environ, "PATH": f"{node.folder}:{os.environ['PATH']}"})
    with Master() as master:
        master.job()
        node.wait_for("DR is running")
        asked = node.folder / "asked"
        eventually(lambda: asked.exists() and "--what=idle " in asked.read_text())
        node.allow(2014, "go")
        assert master.image() == image(300)
        master.send(END_RENDER)
        assert master.at_end()
    assert asked.read_text().startswith("--what=idle:sleep ")


def test_what_a_host_leaves_behind(node):
    node.ready("shell " + platform.LINGER.format(seen(node.host(2014))), *PLAN)
    whole_job()
    assert "connection\n\n\nEnded processes that 3ds max had left behind\nReady" in node.final_log()
    assert node.host_processes() == []


def test_crash_and_what_is_said_before(node):
    crash, code = platform.CRASH
    node.ready("print Loading", "complain of a plug-in", "input", crash)
    with Master() as master:
        master.job()
        assert master.at_end()
    receipt = node.receipt("host-crashed", f"3ds max ended with exit code {code}")
    assert receipt["hostExit"] == int(code, 0) and receipt["hostOutput"][:2] == ["Loading", "of a plug-in"]
    assert (f"3ds max ended with exit code {code}\nGot no response from 3ds max, aborting\n"
            in node.final_log())
    assert host_log(node).startswith("Loading\nof a plug-in\n")


def test_folders_with_odd_names(tmp_path):
    with platform.world(tmp_path), Node(tmp_path / platform.ODD_FOLDER) as node:
        node.ready("print Loading", *PLAN)
        whole_job()
        node.stop()
        assert host_log(node) == "Loading\n" and not (node.folder / "x").exists()


def test_output_file_that_cannot_be_written(node):
    (node.data / "MaxLog.txt").mkdir(parents=True)
    node.ready("print Loading", *PLAN)
    whole_job()
    data = seen(node.data)
    assert (f"Cannot write {data}//MaxLog.txt; 3ds max writes into {data}//MaxLog-2.txt\n"
            in node.final_log())
    assert (node.data / "MaxLog-2.txt").read_text().startswith("Loading")


@pytest.mark.parametrize("how", ["released", "set aside", "stopped"])
def test_sent_image_that_cannot_be_deleted(node, how):
    """The image is large, so that it is being sent until it is read."""
    size, path = 8_000_000, node.data / "dumpHeld.exr"
    waiting, aside = "Waiting for file deletion: ", "Set aside an image that cannot be deleted: "
    node.ready(*ONLINE, f"dump {path.name} {size}", "await sending", f"hold {path.name}", "mark held",
               "await go", "release", "dump dumpNext.exr 300", "hear", "close")
    with Master() as master:
        master.job()
        node.wait_for("Started EXR dump")
        node.allow(2014, "sending")
        eventually((node.host(2014) / "held").exists)
        with platform.kept(path):
            assert master.image() == image(size)
            node.wait_for(waiting)
            if how == "stopped":
                node.server.send_signal(platform.STOPS[0])
            if how != "released":
                node.wait_for(aside)
            if how == "set aside":
                node.put_dump("dumpOther.exr", image(400))
                assert master.image() == image(400)
        node.allow(2014, "go")
        assert master.image() == image(300)
        master.send(END_RENDER)
        assert master.at_end()
    if how == "stopped":
        assert node.ended() == 0
    else:
        node.stop()
    assert not list(node.data.glob("dump*"))
    assert node.log().count(aside) == (how != "released") and node.log().count("Started EXR") <= 3


def test_names_that_are_used_again(node):
    count = 300
    node.ready(*ONLINE, f"series dumpA.exr {count} 1000", "hear", "close")
    with Master() as master:
        master.job()
        for number in range(count):
            assert master.image() == image(1000 + number)
        master.send(END_RENDER)
        assert master.at_end()
    assert not list(node.data.glob("dump*"))


@pytest.mark.linux
def test_image_renamed_over_the_one_being_sent(node):
    size = 8_000_000
    node.ready(*ONLINE, f"dump dumpA.exr {size}", "await sending", "dump dumpA.exr 300", "mark again",
               "hear", "close")
    with Master() as master:
        master.job()
        node.wait_for("Started EXR dump")
        node.allow(2014, "sending")
        eventually((node.host(2014) / "again").exists)
        assert master.image() == image(size)
        assert master.image() == image(300)
        node.put_dump("dump" + 247 * "n" + ".exr", image(400))
        assert master.image() == image(400)
        master.send(END_RENDER)
        assert master.at_end()
    assert not list(node.data.glob("dump*"))


@pytest.mark.linux
def test_server_whose_output_nobody_takes(node):
    node.configure(f"2014 {seen(node.install(2014, *PLAN))}")
    reader, writer = os.pipe()
    node.spawn(stdout=writer)
    os.close(writer)
    os.close(reader)
    file = node.data / "DrLog.txt"
    eventually(lambda: file.exists() and "Available" in file.read_text())
    whole_job()
    node.stop()


@pytest.mark.linux
def test_standard_streams_that_are_closed(node):
    node.configure(f"2014 {seen(node.install(2014, *PLAN))}")
    node.spawn("sh", "-c", 'exec "$@" <&- >&- 2>&-', "sh")
    file = node.data / "DrLog.txt"
    eventually(lambda: file.exists() and "Available" in file.read_text())
    opened = [os.readlink(f"/proc/{node.server.pid}/fd/{number}") for number in range(3)]
    assert opened == ["/dev/null"] * 3
    whole_job()
    node.stop()


@pytest.mark.linux
def test_terminal_and_signals_of_the_server_are_not_the_hosts(node):
    node.configure(f"2014 {seen(node.install(2014, *ONLINE, 'await go', *PLAN[3:], 'exit 7'))}")
    node.start(start_new_session=True, preexec_fn=lambda: signal.signal(signal.SIGCHLD, signal.SIG_IGN))
    with Master() as master:
        master.job()
        node.wait_for("DR is running")
        os.killpg(node.server.pid, signal.SIGINT)  # Ctrl-C
        node.allow(2014, "go")
        assert master.image() == image(300)
        master.send(END_RENDER)
        assert master.at_end()
    assert node.ended() == 0
    assert "3ds max ended with exit code 7\nReady" in node.log()
