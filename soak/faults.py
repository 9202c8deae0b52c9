"""The work of scripts/soak --faults: what docs/FAULTS.md says, where it takes minutes, a machine of
its own or another user's rights. Each case has a node to itself."""

import fcntl
import os
import re
import resource
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from apart import run_apart
from harness import (
    DISCOVERY, END_RENDER, LOOPBACK, MASTER, ONLINE, PATIENCE, PING, PLUGIN_ANSWER, SERVER,
    WELCOME, Master, Node, Peer, eventually, image, request, scene_bytes, whole_job)

YEAR = 2014
PLAN = [*ONLINE, "dump dumpA.exr 300", "hear", "close"]
SOMEBODY = ["setpriv", "--reuid=54321", "--clear-groups"]
UNREADABLE = "Sending file to remote side failed: Cannot open/read/write file"


def bogus_masters(count):
    for _ in range(count):
        with Master() as master:
            master.send(b"x" * 3000 + b"\0")
            assert master.dropped()


def still_runs(node):
    node.server.send_signal(signal.SIGTERM)
    try:
        node.server.wait(4)
    except subprocess.TimeoutExpired:
        return True
    return False


def halted_output(node):
    node.configure(f"{YEAR} {node.install(YEAR, *PLAN)}")
    reader, writer = os.pipe()
    fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, 4096)
    node.spawn(stdout=writer)
    os.close(writer)
    file = node.data / "DrLog.txt"
    eventually(lambda: file.exists() and "Available" in file.read_text("latin-1"))
    bogus_masters(10)
    whole_job()
    assert still_runs(node)
    with open(reader, "rb") as output:
        assert output.read() == file.read_bytes()
    assert node.ended() == 0 and b"DR is finished" in file.read_bytes()


def full_disk(node):
    node.data.mkdir()
    subprocess.run(["mount", "-t", "tmpfs", "-o", "size=1m", "none", node.data], check=True)
    node.ready(*PLAN)
    try:
        with open(node.data / "of-others", "ab", buffering=0) as filler:
            while True:
                filler.write(bytes(4096))
    except OSError:
        bogus_masters(3)
    node.wait_for("Got bogus", 3)
    (node.data / "of-others").unlink()
    whole_job()
    node.stop()
    file = (node.data / "DrLog.txt").read_text("latin-1")
    subprocess.run(["umount", node.data], check=True)
    assert file.count("Got bogus") < 3 and file.endswith("Ready for new connection\n")


def too_many_pings(node):
    def answers(source, times):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sock:
            sock.bind((source, 0))
            sock.settimeout(2)
            for number in range(times):
                sock.sendto(PING, ("127.0.0.1", DISCOVERY))
                if number % 10 == 0:
                    time.sleep(0.05)
            try:
                return any(sock.recv(1000) for _ in range(4))
            except TimeoutError:
                return False

    node.ready(*PLAN)
    assert answers("127.0.0.1", 700) and not answers("127.0.0.1", 1) and answers("127.0.0.2", 1)
    for number in range(5000):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as forger:
            forger.bind((f"127.1.{number // 250}.{number % 250}", 0))
            forger.sendto(PING, ("127.0.0.1", DISCOVERY))
        time.sleep(0.02 if number % 100 == 0 else 0)
    assert answers("127.0.0.3", 1)
    assert "Not replying to more than 500 discovery pings in 10 seconds from 127.0.0.1" in node.final_log()


def gone_before_the_answer(node):
    node.ready(*PLAN)
    for _ in range(1000):
        master = Master()
        master.send(request(version="max2017"))
        master.reset()
    whole_job()
    assert "Error writing response\n" in node.final_log()


def file_too_large(node):
    node.ready(*PLAN)
    resource.prlimit(node.server.pid, resource.RLIMIT_FSIZE, (200_000, 200_000))
    with Master() as master:
        master.shake().send(scene_bytes(bytes(300_000)))
        assert master.dropped()
    whole_job()
    assert "Cannot open/read/write file" in node.final_log() and node.scenes() == []


def killed_at_any_moment(node):
    node.configure(f"{YEAR} {node.install(YEAR)}")
    for number in range(16):
        node.plan(YEAR, "connect", "leave")
        node.start()
        with Master() as master:
            # Every other one is killed in the middle of a scene.
            master.send(request() + scene_bytes(bytes(100_000), 100_000 * (1 + number % 2)))
            time.sleep(number / 10)
            node.server.kill()
            node.ended()
        node.plan(YEAR, *PLAN)
        node.start()
        whole_job()
        node.stop()
    log = (node.data / "DrLog.txt").read_text("latin-1")
    assert re.search("Removed file: .*//received_scene_", log) and node.scenes() == []


def no_process_left(node):
    SERVER[:0] = SOMEBODY
    node.ready(*PLAN)
    whole_job()
    subprocess.run([*SOMEBODY, "prlimit", "--pid", str(node.server.pid), "--nproc=1"], check=True)
    with Master() as master:
        master.job()
        assert master.at_end()
    assert re.search("Cannot start the command interpreter: .+\nGot no response", node.final_log())
    assert node.receipts()[-1]["outcome"] == "host-not-started"


def host_hangs_and_is_killed(node):
    node.ready("await nothing")
    with Master() as master, Master() as other:
        master.job()
        node.started_host()
        other.send(request(version="max2017"))
        other.link.settimeout(8)
        try:
            assert not other.receive(1)
        except TimeoutError:
            node.kill_host()
        assert master.at_end()
        assert other.receive(len(WELCOME)) == WELCOME
    assert "Got no response from 3ds max, aborting" in node.final_log()


def plugin_is_gone_at_once(node):
    node.ready("await go")
    with Master() as master:
        master.job()
        node.started_host()
        with Peer(LOOPBACK) as plugin:
            plugin.send(PLUGIN_ANSWER.encode() + b"\0")
            while plugin.receive(1) != b"\0":
                pass
        node.allow(YEAR, "go")
        assert master.at_end()
    assert re.search("3ds max is online .*\nDR is running\nDR is finished\n", node.final_log())


def master_does_not_read(node):
    node.ready(*ONLINE, "dump dumpBig.exr 60000000", "leave")
    with Master() as master, Master() as other:
        master.job()
        other.send(request(version="max2017"))
        other.link.settimeout(2 * PATIENCE)
        assert other.receive(len(WELCOME)) == WELCOME
    assert "Sending file to remote side failed: 1\n" in node.final_log()


def cable_is_cut(node):
    def ip(*arguments, there=False):
        inside = ["nsenter", "--target", str(elsewhere.pid), "--net"] if there else []
        subprocess.run([*inside, "ip", *arguments], check=True)

    elsewhere = subprocess.Popen(["unshare", "--net", sys.executable, "-c", (
        "import socket, sys, time; sys.stdin.readline(); master = socket.socket();"
        f" master.connect(('10.99.0.1', {MASTER})); master.sendall({request() + scene_bytes(b'scene')!r});"
        " time.sleep(1000)")], stdin=subprocess.PIPE)
    namespace = Path(f"/proc/{elsewhere.pid}/ns/net")
    eventually(lambda: namespace.readlink() != Path("/proc/self/ns/net").readlink())
    ip("link", "add", "here", "type", "veth", "peer", "there")
    ip("link", "set", "there", "netns", str(elsewhere.pid))
    ip("address", "add", "10.99.0.1/24", "dev", "here")
    ip("address", "add", "10.99.0.2/24", "dev", "there", there=True)
    ip("link", "set", "here", "up")
    ip("link", "set", "there", "up", there=True)
    node.ready(*ONLINE, "leave")
    elsewhere.stdin.write(b"\n")
    elsewhere.stdin.flush()
    node.wait_for("DR is running")
    ip("link", "set", "there", "down", there=True)
    eventually(lambda: "DR is finished" in node.log(), seconds=3 * PATIENCE)
    elsewhere.kill()
    node.stop()


def message_without_end(node):
    node.ready(*ONLINE, "leave")
    with Master() as master:
        master.job()
        node.wait_for("DR is running")
        try:
            for _ in range(PATIENCE):
                master.send(b"x")
                time.sleep(0.5)
        except ConnectionError:
            pass
        assert master.dropped()
    assert ("Refused a message of the master and closed its connection: it was not complete after 5 s\n"
            in node.final_log())


def images_of_others(node):
    SERVER[:0] = SOMEBODY
    node.ready(*ONLINE, "await go", "hear", "close")
    with Master() as master:
        master.job()
        node.wait_for("DR is running")
        node.data.chmod(0o1777)  # only a file's owner may delete it
        node.put_dump("dumpUnreadable.exr", b"", mode=0, owner=54321)
        node.put_dump("dumpA.exr", image(5), owner=54321)
        assert master.image() == image(5)
        node.put_dump("dumpOfRoot.exr", image(6))
        assert master.image() == image(6)
        node.wait_for("Waiting for file deletion: ", 6)
        assert still_runs(node)
        (node.data / "dumpOfRoot.exr").unlink()
        master.send(END_RENDER)
        node.allow(YEAR, "go")
        assert master.at_end()
    assert node.ended() == 0
    assert node.log().count(UNREADABLE) == 1 and node.log().count("Image not sent: ") == 1


def folder_is_deleted(node):
    node.ready(*ONLINE, "await go", "hear", "close")
    with Master() as master:
        master.job()
        node.wait_for("DR is running")
        shutil.rmtree(node.data)
        time.sleep(3)  # more than a pass
        node.data.mkdir()
        node.put_dump("dumpA.exr", image(9))
        assert master.image() == image(9)
        master.send(END_RENDER)
        node.allow(YEAR, "go")
        assert master.at_end()
    node.stop()
    assert not (node.data / "DrLog.txt").exists()


def master_does_not_close(node):
    node.ready(*PLAN)
    with Master() as master:
        master.job()
        assert master.image() == image(300)
        master.send(END_RENDER)
        assert master.at_end()
        whole_job()


def run(case):
    with tempfile.TemporaryDirectory(prefix="faults-") as folder:
        os.chmod(folder, 0o777)
        os.umask(0)
        with Node(Path(folder) / "node") as node:
            globals()[case](node)
    print(f"fault {case}: as told")


CASES = [halted_output, full_disk, too_many_pings, gone_before_the_answer, file_too_large,
         killed_at_any_moment, no_process_left, host_hangs_and_is_killed, plugin_is_gone_at_once,
         master_does_not_read, cable_is_cut, message_without_end, images_of_others, folder_is_deleted,
         master_does_not_close]

if len(sys.argv) == 2:
    run(sys.argv[1])
else:
    wrong = run_apart(__file__, [case.__name__ for case in CASES])
    for case in wrong:
        print(f"soak: WRONG: {case}")
    sys.exit(1 if wrong else 0)
