"""The server as a Windows program, in Wine."""

import os
import re
import shutil
import signal
import subprocess
from contextlib import contextmanager
from pathlib import Path

STOPS = [signal.SIGINT]  # Wine makes it Ctrl+C; the other signals end a program at once
STREAMS = None  # not to be seen here
LINE_END = "\r\n"
LINGER = 'start /b "" "{}/3dsmaxcmd.exe" linger'
CRASH = ["exit 3221225477", "0xC0000005"]  # Wine would start its debugger
ODD_FOLDER = "a ^b^ & c;d (e) 'f' !g!"  # Wine expands again what it has expanded, so no %
CODE_PAGE = "cp1252"
REFUSED_IN_QUOTES = ["%PATH%"]
ODD_CAMERA = "a;b|c>d*e'f$g#h!(i)~^ && touch x\\y"  # but the interpreter leaves it alone within quotes
HOST_KEYS = ["HKLM\\SOFTWARE\\Autodesk", "HKLM\\SOFTWARE\\Orvane"]
PREFIX = Path(__file__).parents[1] / "windows/fresh-prefix"


@contextmanager
def world(folder):
    """A Wine of its own: its server makes the sockets, so it must live in the test's network."""
    os.environ["WINEPREFIX"] = str(folder / "wine")
    subprocess.run([PREFIX, folder / "wine"], check=True)
    # Keeps Wine's own services alive, and what they have to say away from our programs' errors.
    with subprocess.Popen(["wine", "cmd"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL) as keeper:
        keeper.stdout.readline()
        yield
        subprocess.run(["wineserver", "-k"])
    subprocess.run(["wineserver", "-w"])
    shutil.rmtree(folder / "wine")


def reports_damage(errors):
    """Wine's heap checks only say what they found."""
    return ":heap:" in errors


@contextmanager
def kept(_path):
    """The file cannot be deleted: the host has opened it."""
    yield


def seen(path):
    """A path as it stands in the server's texts: its folder is Windows', the rest is its own."""
    folder, slash, rest = str(path).partition("/drData")
    return ("Z:" + folder.replace("/", "\\") + slash + rest).encode(CODE_PAGE).decode("latin-1")


def wine(*command):
    return subprocess.run(["wine", *command], check=True, capture_output=True, text=True).stdout


def register(text):
    """Makes this all that the registry holds of hosts and of us."""
    for key in HOST_KEYS:
        subprocess.run(["wine", "reg", "delete", key, "/reg:64", "/f"], capture_output=True)
    for section in re.findall(r"(^\[[^[]*)", text, re.M):
        key, *values = section.splitlines()
        for name, value in (line.split("=") for line in values):
            kind = "REG_DWORD" if value.strip().isdigit() else "REG_SZ"
            wine("reg", "add", "HKLM\\" + key.strip("[]").replace("/", "\\"), "/reg:64", "/f",
                 "/v", name.strip(), "/t", kind, "/d", value.strip())
