# SPDX-License-Identifier: GPL-3.0-or-later
"""A user at a screen: a home folder, the programs started there, and what they say."""

import contextlib
import os
import pathlib
import signal
import subprocess

import gi
from processes import Program, eventually, program, settles

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

TWIPS_PER_PIXEL = 15
DIALOG = "Vanto Scope Configuration"
MESSAGE = "Vanto Scope"


def listen(environment):
    """Makes this process the screen reader of that session bus. It can be one of one bus only."""
    os.environ.update(environment)
    for name in ("DISPLAY", "WAYLAND_DISPLAY", "AT_SPI_BUS_ADDRESS"):
        os.environ.pop(name, None)
    assert Atspi.init() == 0
    Atspi.get_desktop(0).set_cache_mask(Atspi.Cache.NONE)


class Desk:
    def __init__(self, folder, environment, screen):
        self.folder, self.screen = folder, screen
        self.environment = {**environment, "HOME": str(folder),
                            "XDG_CONFIG_HOME": f"{folder}/.config"}
        if screen:
            self.environment["DISPLAY"] = screen.name
            screen.park_pointer()
        self.settings_file = folder / ".config/vantoscope/Vantoscope.ini"
        self._started = []

    def start(self, *arguments, stdin=subprocess.DEVNULL, **environment):
        self._started.append(Program(arguments, {**self.environment, **environment}, stdin))
        return self._started[-1]

    def meter(self, name, device="sim", index=0, **environment):
        meter = self.start(program("vantoscope"), f"-d{device}", f"-n{name}", f"-i{index}",
                           **environment)
        meter.title = name.replace("_", " ")
        return meter

    def open_dialog(self, meter):
        """As a user: the button comes with the pointer, its click brings the dialog."""
        window = self.screen.window(meter, meter.title)
        eventually(lambda: not self.screen.managed or any(self.screen.frame(window)))

        def dialogs():
            return [w for pid, title, w in self.screen.windows()
                    if (pid, title) == (meter.pid, DIALOG)]

        def opens():
            x, y, *_ = self.screen.client(window)
            self.screen.point(x + 24, y + 24)
            eventually(lambda: self.button_is(meter, "SHOWING", "Settings"))
            self.screen.click(x + 24, y + 24)
            with contextlib.suppress(AssertionError):
                return eventually(dialogs, limit=3)

        dialog = eventually(opens)[0]
        eventually(lambda: self.screen.has_keyboard(dialog))
        return dialog

    def settle(self, meter, place):
        """The window of a meter that has come to stand at that outer rectangle."""
        window = self.screen.window(meter)
        seen = settles(lambda: self.screen.outer(window), place)
        assert seen == place, seen
        return window

    def configure(self, section, **keys):
        """Adds a section to the settings file; a _ in a key stands for a blank."""
        self.settings_file.parent.mkdir(parents=True, exist_ok=True)
        with self.settings_file.open("a") as file:
            print(f"[{section}]", *(f"{k.replace('_', ' ')}={v}" for k, v in keys.items()),
                  sep="\n", file=file)

    def place(self, section, left, top, width, height, border=5, **keys):
        """As configure(), with the outer rectangle in twips."""
        self.configure(section, Window_Left=left, Window_Top=top, Window_Width=width,
                       Window_Height=height, BorderStyle=border, **keys)

    def settings(self, section):
        """The keys and values of a section, none if it is not there."""
        text = self.settings_file.read_text() if self.settings_file.exists() else ""
        body = f"\n{text}".partition(f"\n[{section}]\n")[2].partition("\n[")[0]
        pairs = [line.partition("=") for line in body.splitlines() if "=" in line]
        return {key.strip(): value.strip() for key, _, value in pairs}

    def number(self, section, key):
        return int(self.settings(section)[key])

    def processes(self):
        """Every process that was started here or by one that was, as {pid: its words}."""
        found = {}
        home = f"HOME={self.folder}".encode()
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                if home in (process / "environ").read_bytes().split(b"\0"):
                    words = (process / "cmdline").read_bytes().decode().split("\0")[:-1]
                    if words:  # else it is a zombie
                        found[int(process.name)] = words
        return found

    def spoken(self, process, title=""):
        """What a screen reader is told of the windows whose titles begin so: every object in them
        as (role, name, object), parents first."""
        found = []

        def collect(parent):
            role, said = parent.get_role_name().removeprefix("push "), parent.get_name()
            if role == "text" and "Value" in parent.get_interfaces():  # the reading, not its channel
                role, said = "reading", Atspi.Text.get_text(parent, 0, -1)
            found.append((role, said, parent))
            for child in _children(parent):
                collect(child)

        for application in _children(Atspi.get_desktop(0)):
            with contextlib.suppress(GLib.Error):
                if application.get_process_id() == process.pid:
                    for window in _children(application):
                        if window.get_name().startswith(title):
                            collect(window)
        return found

    def says(self, process, what, title=""):
        """Waits until a window of the process holds a text with `what` in it; gives the text."""
        def look():
            return [name for _, name, _ in self.spoken(process, title) if what in name]
        try:
            return eventually(look)[0]
        except AssertionError:
            heard = [name for _, name, _ in self.spoken(process, title)]
            raise AssertionError(f"{what!r} is not in {heard}: {process.said()}") from None

    def find(self, process, role, name, title=""):
        """The object of that role and name in the windows whose titles begin so."""
        def look():
            return [found for r, n, found in self.spoken(process, title) if (r, n) == (role, name)]
        return eventually(look)[0]

    def button_is(self, process, state, name):
        """Whether the button of that name is SHOWING or FOCUSED."""
        return any((r, n) == ("button", name) and found.get_state_set().contains(
            getattr(Atspi.StateType, state)) for r, n, found in self.spoken(process))

    def reading(self, meter):
        """The number that a meter shows."""
        readings = [n for r, n, _ in self.spoken(meter) if r == "reading"]
        return readings[0] if readings else None

    def shows(self, meter, text):
        """Waits until the reading of a meter is `text`."""
        try:
            eventually(lambda: self.reading(meter) == text)
        except AssertionError:
            raise AssertionError(f"{self.reading(meter)!r} is not {text!r}") from None

    def goes_on(self, meter):
        """Waits until the reading of a meter changes."""
        before = eventually(lambda: self.reading(meter))
        eventually(lambda: self.reading(meter) not in (before, None))

    def end(self):
        for started in reversed(self._started):
            started.end()
        for pid in self.processes():  # those of a group belong to init
            with contextlib.suppress(ProcessLookupError):
                os.kill(pid, signal.SIGKILL)


def _children(parent):
    with contextlib.suppress(GLib.Error):
        return [c for i in range(parent.get_child_count()) if (c := parent.get_child_at_index(i))]
    return []
