"""The server as a Linux program."""

import os
import shutil
import signal
import subprocess
from contextlib import contextmanager
from pathlib import Path

REGISTRY = Path("/etc/orvane/registry.ini")
STOPS = [signal.SIGTERM, signal.SIGINT]
STREAMS = ["0", "1", "2"]  # all that a host inherits
LINE_END = "\n"
CODE_PAGE = "cp1252"
LINGER = 'setsid "{}/3dsmaxcmd.exe" linger &'
CRASH = ["crash", "139"]
ODD_FOLDER = """a $HOME `touch x` "b" 'c' \\$d\\e & f;g"""
REFUSED_IN_QUOTES = ["$(touch x)", "`touch x`", "a\\"]
ODD_CAMERA = "a;b|c>d*e'f%g#h!(i)~ && touch x"  # but the interpreter leaves it alone within quotes


@contextmanager
def world(_folder):
    """Where servers run in a test; nothing of it is left."""
    yield
    shutil.rmtree(REGISTRY.parent, ignore_errors=True)


def reports_damage(_errors):
    """The sanitizers end a program that damages its memory."""
    return False


@contextmanager
def kept(path):
    """The file cannot be deleted."""
    subprocess.run(["mount", "--bind", path, path], check=True)
    yield
    subprocess.run(["umount", path], check=True)


def seen(path):
    """A path as it stands in the server's texts."""
    return os.fsencode(path).decode("latin-1")


def register(text):
    """Makes this all that the registry holds of hosts and of us."""
    REGISTRY.parent.mkdir(exist_ok=True)
    REGISTRY.write_text(text)
