# SPDX-License-Identifier: GPL-3.0-or-later
"""An X server of its own, seen through the eyes and hands of its user."""

import collections
import contextlib
import os
import time

from processes import Program, at_rest, eventually
from Xlib import XK, X, display, error, protocol
from Xlib.ext import xtest

_KEY_OF = {"#": "numbersign", ".": "period", "-": "minus", "+": "plus", "*": "asterisk"}


class Screen:
    """Windows are those of python-xlib; places are pixels, as (x, y, width, height)."""

    def __init__(self, environment, managed):
        self.managed = managed
        self._programs = []
        self._environment = environment
        ready, tell = os.pipe()
        self.server = self._start(
            "Xvfb", "-displayfd", tell, "-screen", 0, "1280x960x24", "-nolisten", "tcp", "-noreset",
            "-dpi", 96, pass_fds=[tell])
        os.close(tell)
        with os.fdopen(ready) as number:
            self.name = ":" + number.readline().strip()
        self.x = display.Display(self.name)
        self.x.set_error_handler(lambda *_: None)  # a window may go at any moment
        self.root = self.x.screen().root
        if managed:
            self._start_manager()

    def _start(self, *arguments, **options):
        self._programs.append(Program(arguments, self._environment, **options))
        return self._programs[-1]

    def _start_manager(self):
        """It shows itself before it listens, so it is ready when it answers."""
        self._environment = {**self._environment, "DISPLAY": self.name}
        self._start(*os.environ.get("VANTOSCOPE_MANAGER", "openbox --sm-disable").split())
        probe = self.root.create_window(0, 0, 9, 9, 0, X.CopyFromParent)
        eventually(lambda: self.numbers(self.root, "_NET_SUPPORTING_WM_CHECK"))

        def answers():
            self._tell_manager(probe, "_NET_REQUEST_FRAME_EXTENTS")
            return self.numbers(probe, "_NET_FRAME_EXTENTS")

        eventually(answers)
        probe.destroy()

    def end(self):
        with contextlib.suppress(error.ConnectionClosedError, OSError):
            self.x.close()
        for started in reversed(self._programs):
            started.end()

    def numbers(self, window, name):
        with contextlib.suppress(error.XError):
            found = window.get_full_property(self.x.intern_atom(name), X.AnyPropertyType)
            return list(found.value) if found else []
        return []

    def windows(self):
        """Every mapped window that tells its process, as (pid, title, window), topmost last."""
        found = []

        def collect(parent, depth):
            for child in parent.query_tree().children:
                with contextlib.suppress(error.XError):
                    if child.get_attributes().map_state != X.IsViewable:
                        continue
                    if pid := self.numbers(child, "_NET_WM_PID"):
                        title = bytes(self.numbers(child, "_NET_WM_NAME")).decode()
                        found.append((pid[0], title, child))
                    elif depth > 1:
                        collect(child, depth - 1)

        collect(self.root, 3)
        return found

    def window(self, process, title=""):
        """The window of that process whose title begins so, once it is there."""
        def look():
            return [w for pid, name, w in self.windows()
                    if pid == process.pid and name.startswith(title)]
        try:
            return eventually(look)[-1]
        except AssertionError:
            raise AssertionError(f"no window {title!r}: {process.said()}") from None

    @contextlib.contextmanager
    def panel(self, width):
        """A panel at the left edge."""
        panel = self.root.create_window(0, 0, width, 960, 0, X.CopyFromParent)
        for name, kind, value in [
                ("_NET_WM_WINDOW_TYPE", "ATOM", [self.x.intern_atom("_NET_WM_WINDOW_TYPE_DOCK")]),
                ("_NET_WM_STRUT_PARTIAL", "CARDINAL", [width, 0, 0, 0, 0, 959, *[0] * 6])]:
            panel.change_property(self.x.intern_atom(name), self.x.intern_atom(kind), 32, value)
        panel.map()
        eventually(lambda: self.mapped(panel))
        eventually(lambda: not self.managed or self.numbers(self.root, "_NET_WORKAREA")[0] == width)
        try:
            yield
        finally:
            panel.destroy()
            self.x.sync()

    def mapped(self, window):
        with contextlib.suppress(error.XError):
            return window.get_attributes().map_state == X.IsViewable
        return False

    def client(self, window):
        """Its area without frame as (x, y, width, height) in pixels of the screen."""
        with contextlib.suppress(error.XError):
            size = window.get_geometry()
            corner = self.root.translate_coords(window, 0, 0)
            return corner.x, corner.y, size.width, size.height
        return 0, 0, 0, 0

    def frame(self, window):
        """The widths of its frame: left, right, top, bottom."""
        extents = self.numbers(window, "_NET_FRAME_EXTENTS") if self.managed else None
        return tuple(extents or (0, 0, 0, 0))

    def outer(self, window):
        x, y, width, height = self.client(window)
        left, right, top, bottom = self.frame(window)
        return x - left, y - top, width + left + right, height + top + bottom

    def opacity(self, window):
        """In 255ths, as in the settings."""
        value = self.numbers(window, "_NET_WM_WINDOW_OPACITY")
        return round(value[0] / 0xFFFFFFFF * 255) if value else 255

    def stays_on_top(self, window):
        return self.x.intern_atom("_NET_WM_STATE_ABOVE") in self.numbers(window, "_NET_WM_STATE")

    def is_above(self, window, other):
        order = [child.id for child in self.root.query_tree().children]

        def place(which):
            while (parent := which.query_tree().parent) != self.root:
                which = parent
            return order.index(which.id)

        return place(window) > place(other)

    def has_keyboard(self, window):
        focus = self.x.get_input_focus().focus
        with contextlib.suppress(error.XError):
            return focus == window or focus in window.query_tree().children
        return False

    def pixels(self, area):
        """How many pixels of the area have each colour, as 0xRRGGBB."""
        image = self.root.get_image(*area, X.ZPixmap, 0xFFFFFFFF)
        return collections.Counter(p & 0xFFFFFF for p in memoryview(image.data).cast("I"))

    def _fake(self, kind, detail=0, x=0, y=0):
        xtest.fake_input(self.x, kind, detail, x=x, y=y)
        self.x.sync()

    def point(self, x, y):
        self._fake(X.MotionNotify, x=x, y=y)

    def park_pointer(self):
        self.point(1279, 959)

    def press(self):
        self._fake(X.ButtonPress, 1)

    def release(self):
        self._fake(X.ButtonRelease, 1)

    def click(self, x, y):
        self.point(x, y)
        self.press()
        self.release()

    def double_click(self, x, y):
        self.click(x, y)
        time.sleep(0.04)  # a window manager swallows a press that comes too soon after another
        self.click(x, y)

    def swap_look(self, window, bare):
        """Double-clicks the reading until the look has changed."""
        def swaps():
            x, y, width, height = self.client(window)
            self.double_click(x + width * 3 // 4, y + height // 2)
            with contextlib.suppress(AssertionError):
                return eventually(lambda: (self.opacity(window) < 255) == bare, limit=3)
        eventually(swaps)

    def drag(self, window, start, end):
        """Drags a part of its frame; gives the outer rectangle that comes of it. The window manager
        may miss a press while it is busy, and follows once it has seen that this is a drag."""
        before = self.outer(window)
        middle = [(a + b) // 2 for a, b in zip(start, end)]

        def follows():
            self.point(*middle)
            self.point(*end)
            return self.outer(window) != before

        def takes_hold():
            self.point(*start)
            self.press()
            with contextlib.suppress(AssertionError):
                return eventually(follows, limit=1)
            self.release()

        eventually(takes_hold)
        carried = at_rest(lambda: self.outer(window))
        self.release()
        return carried

    def key(self, name, *held):
        """Presses and releases a key, by the name of its symbol, with others held down."""
        symbol = XK.string_to_keysym(name)
        code = self.x.keysym_to_keycode(symbol)
        assert code, name
        if self.x.keycode_to_keysym(code, 0) != symbol:
            held = (*held, "Shift_L")
        codes = [self.x.keysym_to_keycode(XK.string_to_keysym(n)) for n in held] + [code]
        for pressed in codes:
            self._fake(X.KeyPress, pressed)
        for pressed in reversed(codes):
            self._fake(X.KeyRelease, pressed)

    def keys(self, text):
        """Words such as "Tab", "Tab*3" or "'12.5'", which is typed."""
        for word in text.split():
            if word.startswith("'"):
                for letter in word.strip("'"):
                    self.key(_KEY_OF.get(letter, letter))
            else:
                name, _, times = word.partition("*")
                for _ in range(int(times or 1)):
                    self.key(name)

    def close(self, window):
        """What the close button of the frame does."""
        if self.managed:
            self._tell_manager(window, "_NET_CLOSE_WINDOW", X.CurrentTime, 2)
        else:
            deletion = [self.x.intern_atom("WM_DELETE_WINDOW"), X.CurrentTime, 0, 0, 0]
            window.send_event(protocol.event.ClientMessage(
                window=window, client_type=self.x.intern_atom("WM_PROTOCOLS"),
                data=(32, deletion)))
            self.x.flush()

    def maximise(self, window):
        sides = [self.x.intern_atom(f"_NET_WM_STATE_MAXIMIZED_{s}") for s in ("HORZ", "VERT")]
        self._tell_manager(window, "_NET_WM_STATE", 1, *sides, 2)

    def place(self, window, outer):
        """As a program that arranges windows does: the outer corner, and the size inside."""
        left, right, top, bottom = self.frame(window)
        corner_and_size = 0xF << 8 | 2 << 12 | X.NorthWestGravity
        self._tell_manager(window, "_NET_MOVERESIZE_WINDOW", corner_and_size, *outer[:2],
                           outer[2] - left - right, outer[3] - top - bottom)

    def resize(self, width, height):
        timings = [40, *(width + n for n in (0, 40, 80, 120)), *(height + n for n in (0, 1, 5, 9))]
        for words in (["--newmode", "new", *timings], ["--addmode", "screen", "new"],
                      ["--output", "screen", "--mode", "new"]):
            assert self._start("xrandr", "--display", self.name, *words).ends() == 0

    def _tell_manager(self, window, kind, *data):
        self.root.send_event(
            protocol.event.ClientMessage(window=window, client_type=self.x.intern_atom(kind),
                                         data=(32, [*data, *[0] * (5 - len(data))])),
            event_mask=X.SubstructureRedirectMask | X.SubstructureNotifyMask)
        self.x.flush()
