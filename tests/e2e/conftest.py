"""Every worker gets a network and a file system view of its own: the server's ports are fixed, and
the machine's /etc is not for tests to write."""

import ctypes
import fcntl
import os
import socket
import struct
import tempfile
from pathlib import Path

import pytest

from harness import Node, platform

FAILED = pytest.StashKey()
LIBC = ctypes.CDLL(None, use_errno=True)
NEW_MOUNTS, NEW_USER, NEW_NETWORK = 0x00020000, 0x10000000, 0x40000000
BIND, MOVE, RECURSIVE, PRIVATE = 0x1000, 0x2000, 0x4000, 0x40000


def must(result):
    if result != 0:
        raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()))


def mount(source, target, kind="", flags=0, options=""):
    must(LIBC.mount(source.encode(), str(target).encode(), kind.encode(), flags, options.encode()))


def become_root_of_own_namespace():
    user, group = os.getuid(), os.getgid()
    must(LIBC.unshare(NEW_USER))
    Path("/proc/self/setgroups").write_text("deny")
    Path("/proc/self/uid_map").write_text(f"0 {user} 1")
    Path("/proc/self/gid_map").write_text(f"0 {group} 1")


def bring_up_loopback():
    with socket.socket() as any_socket:
        set_flags, up_and_running = 0x8914, 0x41
        fcntl.ioctl(any_socket, set_flags, struct.pack("16sh22x", b"lo", up_and_running))


def isolate_worker():
    must(LIBC.unshare(NEW_NETWORK | NEW_MOUNTS))
    bring_up_loopback()
    mount("none", "/", flags=RECURSIVE | PRIVATE)
    own_etc = Path(tempfile.mkdtemp(prefix="etc-"))
    mount("none", own_etc, "tmpfs")
    (own_etc / "real").mkdir()
    mount("/etc", own_etc / "real", flags=BIND | RECURSIVE)
    for entry in (own_etc / "real").iterdir():
        if entry.name != "orvane":
            (own_etc / entry.name).symlink_to(f"/etc/real/{entry.name}")
    mount(str(own_etc), "/etc", flags=MOVE)
    own_etc.rmdir()


def pytest_configure(config):
    config.addinivalue_line("markers", "linux: needs Linux's files, signals or shell")
    workers = getattr(config.option, "numprocesses", None)
    if not hasattr(config, "workerinput") and os.geteuid() != 0:
        become_root_of_own_namespace()
    if hasattr(config, "workerinput") or not workers:
        isolate_worker()


@pytest.fixture(autouse=True)
def undamaged(capfd):
    """Of the programs that a test starts by itself."""
    yield
    out, err = capfd.readouterr()
    print(out, err)  # for the report
    assert not platform.reports_damage(err)


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    report = (yield).get_result()
    if report.failed:
        item.stash[FAILED] = True


@pytest.fixture
def node(request, tmp_path):
    """A render node with blanks and letters of all kinds in its path; ended with the test."""
    with platform.world(tmp_path), Node(tmp_path / "Rénder Nöde 1€") as made:
        yield made
        if FAILED in request.node.stash and made.server:
            print(made.output(), made.errors())
