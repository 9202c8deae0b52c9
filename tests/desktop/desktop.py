"""A desktop session without a screen: an X server and a window manager whose task bar has a
notification area. The user's hands are xdotool's, so all that arrives are real events."""

import os
import subprocess
import time
from pathlib import Path

from conftest import mount
from harness import eventually

TITLE = "Orvane Renderer DrServer | " + os.environ["ORVANE_VERSION"]
ICON = "dr-server"  # how the toolkit calls the window of a tray icon, and of a tool tip or menu
ERROR = "Orvane DR Server Error"


def said_by(*command):
    return subprocess.run(command, capture_output=True, check=False).stdout.decode()


def xdo(*command):
    return said_by("xdotool", *map(str, command)).split()


class Session:
    def __init__(self, folder, preferences="", screen="1024x768"):
        self.folder = folder
        self.screen = screen
        folder.mkdir()
        (folder / "prefoverride").write_text(preferences)
        os.environ.update(HOME=str(folder), ICEWM_PRIVCFG=str(folder))
        os.environ.pop("WAYLAND_DISPLAY", None)
        self.processes = []

    def __enter__(self):
        # Other servers on this machine have the same number in networks of their own: these folders
        # hold sockets, and a keymap while a server starts.
        for folder in ("/tmp/.X11-unix", "/var/lib/xkb"):
            Path(folder).mkdir(exist_ok=True)
            mount("none", folder, "tmpfs")
        reader, writer = os.pipe()
        # Without a reset, which throws out whoever connects when the last one has just left.
        self.run("Xvfb", "-ac", "-noreset", "-displayfd", str(writer), "-nolisten", "tcp",
                 "-screen", "0", self.screen + "x24", pass_fds=[writer])
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
        def seen():
            search = subprocess.run(["xdotool", "search", "--onlyvisible", "--class", "dr-server"],
                                    capture_output=True, check=False)
            # It complains when a window went away while it looked.
            return None if search.stderr else [search.stdout.decode().split()]

        (windows,) = eventually(seen, "windows that stay while they are looked at")
        return [window for window in windows if " ".join(xdo("getwindowname", window)) == title]

    def shows(self, title, count=1):
        """Waits until there are so many windows of a title; answers the youngest."""
        def as_many():
            found = self.windows(title)
            return len(found) == count and (found or [None])

        return eventually(as_many, lambda: f"{count} of {title}, not {self.windows(title)}")[-1]

    def in_front(self, title):
        window = self.shows(title)
        eventually(lambda: xdo("getactivewindow") == [window],
                   lambda: f"{title} in front, it is {xdo('getactivewindow', 'getwindowname')}")
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

    def reads(self, window, x, y, text):
        """Waits until that is this text."""
        eventually(lambda: self.copied(window, x, y) == text, lambda: self.copied(window, x, y))

    def minimise(self):
        """To the notification area; answers the icon there, which has shown its tool tip."""
        self.in_front(TITLE)
        xdo("mousemove", 900, 600)  # away from what has a tool tip
        self.press("alt+F9")
        self.shows(TITLE, 0)
        icon = self.shows(ICON)
        moved = 0

        def tip():
            # A hand is never quite still, and an icon does not notice everything when it is new.
            nonlocal moved
            if time.monotonic() > moved + 2:
                moved = time.monotonic()
                for x in (7, 8):
                    xdo("mousemove", "--window", icon, x, 8)
            return len(self.windows(ICON)) == 2

        eventually(tip, "a tool tip")
        xdo("mousemove", 500, 300)
        return self.shows(ICON)

    def open_menu(self, icon):
        self.click(icon, 8, 8, button=3)
        # A tool tip may come as well.
        eventually(lambda: any("POPUP_MENU" in said_by("xprop", "-id", window, "_NET_WM_WINDOW_TYPE")
                               for window in self.windows(ICON)), "a menu")

    def choose(self, icon, *keys):
        """Opens the icon's menu and works it with the keyboard."""
        self.open_menu(icon)
        self.press(*keys, "Return")
