"""Who comes in, in which order, and who does not."""

import contextlib
import re
import socket

import pytest
from harness import (
    DISCOVERY, END_RENDER, ONLINE, PING, REPLY, WELCOME, Master, image, request, scene_bytes, seen)

LEFT = "Left before its turn: the master from 127.0.0.1\n"


def silent(stack, count, source=""):
    return [stack.enter_context(Master(source)) for _ in range(count)]


def is_there(master):
    """Whether the server still listens to it."""
    try:
        with master.shake(version="max2017"):
            return True
    except (AssertionError, ConnectionError):
        return False


def test_strangers_push_out_the_oldest_of_them(node):
    node.ready("exit 0")
    with contextlib.ExitStack() as stack:
        first, speaking, *others = silent(stack, 17, "127.0.0.2")
        assert first.dropped()
        speaking.send(request()[:20])
        # It has not been silent since.
        assert silent(stack, 1, "127.0.0.2") and others[0].dropped()
        assert all(is_there(other) for other in others[1:])
        speaking.send(request(version="max2017")[20:])
        assert speaking.receive(len(WELCOME)) == WELCOME
        speaking.link.close()

        crowd = [silent(stack, 16, f"127.0.0.{n}") for n in range(3, 7)]
        assert is_there(Master("127.0.0.7"))
        newest = silent(stack, 1, "127.0.0.8")
        assert crowd[0][0].dropped()
        assert all(is_there(other) for other in [*crowd[0][1:], *crowd[3], *newest])
    assert node.final_log().count("Unsupported") == 14 + 1 + 1 + 15 + 16 + 1


def test_strangers_who_have_begun_keep_nobody_out(node):
    node.ready("exit 0")
    with contextlib.ExitStack() as stack:
        first, *others = silent(stack, 16)
        for stranger in (first, *others):
            stranger.send(b"<")
        late = silent(stack, 1)[0]
        assert first.dropped() and is_there(late)


def test_masters_wait_in_order_and_may_leave(node):
    node.ready("await go")
    with contextlib.ExitStack() as stack:
        busy, closed, halved, reset, second, third = [
            stack.enter_context(Master(f"127.0.0.{10 + n}")) for n in range(6)]
        busy.job()
        node.started_host()
        for master in (closed, halved, reset):
            master.send(request())
        second.send(request(version="max2017"))
        third.send(request())
        closed.link.close()
        halved.link.shutdown(socket.SHUT_WR)
        reset.reset()
        node.wait_for("Left before its turn", 3)
        assert halved.at_end()
        node.allow(2014, "go")
        assert second.receive(len(WELCOME)) == WELCOME and second.at_end()
        third.receive(len(WELCOME))
        third.send(scene_bytes(b"scene"))
        assert third.at_end()
    log = node.final_log()
    assert log.count("Running command:") == 2
    assert re.findall("Accepted .* from (.*)", log) == ["127.0.0.10", "127.0.0.14", "127.0.0.15"]
    for n in (11, 12, 13):
        assert f"\nLeft before its turn: the master from 127.0.0.{n}\n" in log


@pytest.mark.linux  # Wine does not tell of an end behind bytes
def test_master_that_sends_its_scene_early_and_leaves(node):
    node.ready("await go")
    with Master() as busy, Master() as early:
        busy.job()
        node.started_host()
        early.send(request() + scene_bytes(b"scene"))
        early.link.close()
        node.wait_for(LEFT)
        node.allow(2014, "go")
        assert busy.at_end()
    assert node.final_log().count("Running command:") == 1


def test_master_that_has_left_when_it_is_its_turn(node):
    node.ready("exit 0")
    with Master() as gone:
        # Its end comes in one packet with its handshake.
        gone.link.setsockopt(socket.IPPROTO_TCP, socket.TCP_CORK, 1)
        gone.send(request())
        gone.link.shutdown(socket.SHUT_WR)
        assert gone.at_end()
    assert "Error writing response\nReady for new connection\n" in node.final_log()


def test_crowd_during_a_job(node):
    """Strangers, checks that give up, and masters that are too many: the next master is next."""
    node.ready("await go")
    with contextlib.ExitStack() as stack:
        stack.enter_context(Master()).job()
        node.started_host()
        for _ in range(6):
            with Master() as check:
                check.send(request())
        node.wait_for(LEFT, 6)
        good = stack.enter_context(Master("127.0.0.9"))
        good.send(request(version="max2017"))
        for _ in range(1000):
            Master().link.close()
        for _ in range(270):
            stack.enter_context(Master()).send(request(version="max2017"))
        node.wait_for("Too many masters wait: turned away the one from 127.0.0.1")
        node.allow(2014, "go")
        assert good.receive(len(WELCOME)) == WELCOME and good.at_end()
    log = node.final_log()
    assert "Left out" in log and len(log) < 200_000
    assert re.findall("Accepted .* from (.*)", log)[1] == "127.0.0.9"


def answers(ping, source):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sock:
        sock.bind((source, 0))
        sock.settimeout(2)
        sock.sendto(ping, ("127.0.0.1", DISCOVERY))
        with contextlib.suppress(TimeoutError):
            return sock.recv(1000)
    return None


@pytest.mark.parametrize("lines, in_force, error", [
    (["MASTERS = 127.0.0.2\t127.0.1.7/24"], "127.0.0.2 127.0.1.0/24", False),
    (["masters=127.0.0.2 127.0.0.0/33 127.0.1.0/24 127.0.0.1x"], "127.0.0.2 127.0.1.0/24", True),
    (["nonsense", "Masters = 127.0.0.2", "# Masters = 0.0.0.0/0", "Masters = 127.0.1.0/24"],
     "127.0.0.2 127.0.1.0/24", True)])
def test_masters_who_may_come(node, lines, in_force, error):
    node.configure(f"2014 {seen(node.install(2014, *ONLINE, 'dump dumpA.exr 10', 'hear', 'close'))}", *lines)
    node.start()
    for source in ("127.0.0.1", "127.0.0.3", "127.0.2.1"):
        with Master(source) as other:
            assert other.dropped()
        node.wait_for(f"Refused a connection from {source}: it is not among the masters")
        assert answers(PING, source) is None
    with Master("127.0.0.2") as master, Master("127.0.1.200") as waiting:
        master.job()
        waiting.send(request(version="max2017"))
        assert master.image() == image(10)  # the plug-in comes from 127.0.0.1
        master.send(END_RENDER)
        assert waiting.receive(len(WELCOME)) == WELCOME
    assert answers(PING, "127.0.1.200") == REPLY
    log = node.final_log()
    assert f"Masters that may come: {in_force}\n" in log
    assert ("Error in the config file\n" in log) == error
    assert "Refused a discovery ping from 127.0.2.1: it is not among the masters\n" in log


@pytest.mark.parametrize("line", ["Masters", "Masters =", "Masters = anybody", "My Masters = 0.0.0.0/0",
                                  "Master = 127.0.0.1"])
def test_masters_line_that_names_nobody(node, line):
    node.configure(line)
    node.start()
    with Master() as master:
        assert master.dropped()
    assert "No master may come: the config file does not say who\n" in node.final_log()
