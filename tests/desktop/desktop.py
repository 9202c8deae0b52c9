"""A desktop session without a screen: an X server and a window manager whose task bar has a
notification area. The user's hands are xdotool's, so all that arrives are real events."""

import os
import subprocess
from pathlib import Path

from conftest import mount
from harness import eventually

TITLE = "Orvane Renderer DrServer | 1.1.1"
ICON = "dr-server"  # how the toolkit calls the window of a tray icon, and of a tool tip or menu
ERROR = "Orvane DR Server Error"


def said_by(*command):
    return subprocess.run(command, capture_output=True, check=False).stdout.decode()


def xdo(*command):
    return said_by("xdotool", *map(str, command)).split()


class Session:
    def __init__(self, folder, preferences=""):
        self.folder = folder
        folder.mkdir()
        (folder / "prefoverride").write_text(preferences)
        os.environ.update(HOME=str(folder), ICEWM_PRIVCFG=str(folder))
        os.environ.pop("WAYLAND_DISPLAY", None)
        self.processes = []

    def __enter__(self):
        # Other servers on this machine have the same number in networks of their own.
        sockets = Path("/tmp/.X11-unix")
        sockets.mkdir(exist_ok=True)
        mount("none", sockets, "tmpfs")
        reader, writer = os.pipe()
        self.run("Xvfb", "-ac", "-displayfd", str(writer), "-nolisten", "tcp",
                 "-screen", "0", "1024x768x24", pass_fds=[writer])
        os.close(writer)
        with os.fdopen(reader) as display:
            os.environ["DISPLAY"] = ":" + display.readline().strip()
        self.run("icewm")
        eventually(lambda: "window id" in said_by("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"),
                   lambda: "a window manager, " + (self.folder / "output").read_text())
        if "ShowTaskBar=0" not in (self.folder / "prefoverride").read_text():
            eventually(lambda: xdo("search", "--onlyvisible", "--name", "^TaskBar$"), "a task bar")
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            process.kill()
            process.wait()

    def run(self, *command, **options):
        with open(self.folder / "output", "a") as output:
            self.processes.append(
                subprocess.Popen(command, stdout=output, stderr=output, **options))

    def lose_display(self):
        self.processes[0].terminate()

    def windows(self, title):
        """The visible windows of servers that have this title, the youngest last."""
        found = xdo("search", "--onlyvisible", "--class", "dr-server")
        return [window for window in found
                if " ".join(xdo("getwindowname", window)) == title]

    def shows(self, title, count=1):
        """Waits until there are so many windows of a title; answers the youngest."""
        eventually(lambda: len(self.windows(title)) == count,
                   lambda: f"{count} of {title}, there is {self.windows(title)}")
        return (self.windows(title) or [None])[-1]

    def in_front(self, title):
        window = self.shows(title)
        eventually(lambda: xdo("getactivewindow") == [window], title + " in front")
        return window

    def press(self, *keys):
        xdo("key", "--delay", 100, *keys)

    def click(self, window, x, y, button=1):
        xdo("mousemove", "--window", window, x, y, "click", button)

    def copied(self, window, x, y):
        """The text that a user gets who clicks there, selects everything and copies it."""
        self.click(window, x, y)
        self.press("ctrl+a", "ctrl+c")
        return said_by("xclip", "-o", "-selection", "clipboard")

    def minimise(self):
        """To the notification area; answers the icon there."""
        self.in_front(TITLE)
        xdo("mousemove", 900, 600)  # away from what has a tool tip
        self.press("alt+F9")
        self.shows(TITLE, 0)
        return self.shows(ICON)

    def choose(self, icon, *keys):
        """Opens the icon's menu and works it with the keyboard."""
        self.click(icon, 8, 8, button=3)
        self.shows(ICON, 2)
        self.press(*keys, "Return")
