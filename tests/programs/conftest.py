"""What the tests of the finished programs stand on: private X displays with and without a window
manager, a private accessibility bus, and a desk for each test with its own home folder.

All of it ends with the test, and also when the test process dies. VANTOSCOPE_BIN names the folders
of the programs, parted by colons; without it they are those of the release build.
"""

import contextlib
import ctypes
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import tempfile
import time

import gi
import pytest
from Xlib import XK, X, display, error, protocol
from Xlib.ext import xtest

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
PROGRAMS = os.environ.get("VANTOSCOPE_BIN", str(REPOSITORY / "build/release/bin"))
TWIPS_PER_PIXEL = 15
DIALOG = "Vanto Scope Configuration"
MESSAGE = "Vanto Scope"

LIMIT = 30  # seconds that a busy machine may take for anything
_PAUSE = 0.01  # between two looks
_libc = ctypes.CDLL(None)


def program(name):
    """The path of one of the programs under test."""
    path = shutil.which(name, path=PROGRAMS)
    assert path, f"{name} is not in {PROGRAMS}; build it, or name its folder in VANTOSCOPE_BIN"
    return os.path.abspath(path)


def eventually(condition, limit=LIMIT):
    """Looks again and again until `condition()` is true, and gives what it gave."""
    end = time.monotonic() + limit
    while not (value := condition()):
        assert time.monotonic() < end, f"not so within {limit} s, at last {value!r}"
        time.sleep(_PAUSE)
    return value


def at_rest(look, seconds=0.35, limit=LIMIT):
    """What `look()` gives once it has given the same for `seconds`."""
    last, since, end = look(), time.monotonic(), time.monotonic() + limit
    while time.monotonic() - since < seconds:
        assert time.monotonic() < end, f"no rest within {limit} s, at last {last!r}"
        time.sleep(_PAUSE)
        if (now := look()) != last:
            last, since = now, time.monotonic()
    return last


def settles(look, value):
    """Waits for `look()` to give `value` and to stay so for a while; what it gives then."""
    with contextlib.suppress(AssertionError):
        eventually(lambda: look() == value, limit=10)
    return at_rest(look)


def answers(family, address):
    """Whether a server listens there."""
    with contextlib.suppress(OSError), socket.socket(family) as client:
        client.connect(address)
        return True


class Program(subprocess.Popen):
    """A child process with captured output that dies with this one."""

    def __init__(self, arguments, environment, **options):
        self._out, self._err = tempfile.TemporaryFile(), tempfile.TemporaryFile()
        super().__init__([str(a) for a in arguments], env=environment, stdin=subprocess.DEVNULL,
                         stdout=self._out, stderr=self._err,
                         preexec_fn=lambda: _libc.prctl(1, signal.SIGKILL), **options)

    def printed(self):
        return os.pread(self._out.fileno(), 1 << 20, 0).decode()

    def said(self):
        """Without what depends on the fonts and frames at hand: whether a reading fits its window."""
        lines = os.pread(self._err.fileno(), 1 << 20, 0).decode().splitlines(keepends=True)
        fits = ("The window is too narrow for the whole reading.\n", "The reading is whole again.\n")
        return "".join(line for line in lines if not line.endswith(fits))

    def ends(self, limit=LIMIT):
        """Its exit code, or minus the signal."""
        try:
            return self.wait(limit)
        except subprocess.TimeoutExpired:
            return f"still runs after {limit} s"

    def end(self):
        self.kill()
        self.wait()
        self._out.close()
        self._err.close()


class Screen:
    """An X server of its own, seen through the eyes and hands of its user."""

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
        """Openbox shows itself before it listens, so it is ready when it answers."""
        self._environment = {**self._environment, "DISPLAY": self.name}
        self._start("openbox", "--sm-disable")
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
        colors = memoryview(image.data).cast("I")
        return {color & 0xFFFFFF: colors.tolist().count(color) for color in set(colors)}

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

    def _tell_manager(self, window, kind, *data):
        self.root.send_event(
            protocol.event.ClientMessage(window=window, client_type=self.x.intern_atom(kind),
                                         data=(32, [*data, *[0] * (5 - len(data))])),
            event_mask=X.SubstructureRedirectMask | X.SubstructureNotifyMask)
        self.x.flush()


_KEY_OF = {"#": "numbersign", ".": "period", "-": "minus", "+": "plus", "*": "asterisk"}


class Desk:
    """A user at a screen: a home folder, the programs started there, and what they say."""

    def __init__(self, folder, environment, screen):
        self.folder, self.screen = folder, screen
        self.environment = {**environment, "HOME": str(folder),
                            "XDG_CONFIG_HOME": f"{folder}/.config"}
        if screen:
            self.environment["DISPLAY"] = screen.name
            screen.park_pointer()
        self.settings_file = folder / ".config/vantoscope/Vantoscope.ini"
        self._started = []

    def start(self, *arguments, **environment):
        self._started.append(Program(arguments, {**self.environment, **environment}))
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

        def opens():
            x, y, *_ = self.screen.client(window)
            self.screen.point(x + 24, y + 24)
            eventually(lambda: self.button_is(meter, "SHOWING", "Settings"))
            self.screen.click(x + 24, y + 24)
            with contextlib.suppress(AssertionError):
                return eventually(lambda: self._dialog_of(meter), limit=3)

        dialog = eventually(opens)[0]
        eventually(lambda: self.screen.has_keyboard(dialog))
        return dialog

    def _dialog_of(self, meter):
        return [w for pid, name, w in self.screen.windows() if (pid, name) == (meter.pid, DIALOG)]

    def settle(self, meter, place):
        """The window of a meter that has come to stand at that outer rectangle."""
        window = self.screen.window(meter)
        assert settles(lambda: self.screen.outer(window), place) == place
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
            found.append((parent.get_role_name().removeprefix("push "), parent.get_name(), parent))
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
        """Whether the button of that name is SHOWING, FOCUSED or in another state of its bus."""
        return any((r, n) == ("button", name) and found.get_state_set().contains(
            getattr(Atspi.StateType, state)) for r, n, found in self.spoken(process))

    def reading(self, meter):
        """The number that a meter shows."""
        labels = [n for r, n, _ in self.spoken(meter) if r == "label"]
        return labels[0] if labels else None

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


@pytest.fixture(scope="session")
def environment():
    """What every program sees, with a session bus on which the accessibility bus starts when it is
    first asked for. A process knows one accessibility bus only, so all its tests share this one."""
    with tempfile.TemporaryDirectory(prefix="vantoscope-") as folder:
        address = f"unix:path={folder}/bus"
        common = {"PATH": os.environ["PATH"], "HOME": folder, "XDG_RUNTIME_DIR": folder,
                  "LANG": "C.UTF-8", "DBUS_SESSION_BUS_ADDRESS": address,
                  "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}
        bus = Program(["dbus-daemon", "--session", "--nofork", f"--address={address}"], common)
        eventually(lambda: answers(socket.AF_UNIX, f"{folder}/bus"))
        os.environ.update(common)
        for name in ("DISPLAY", "WAYLAND_DISPLAY", "AT_SPI_BUS_ADDRESS"):
            os.environ.pop(name, None)
        assert Atspi.init() == 0
        Atspi.get_desktop(0).set_cache_mask(Atspi.Cache.NONE)
        yield common
        bus.end()


def _screen(environment, managed):
    screen = Screen(environment, managed)
    yield screen
    screen.end()


@pytest.fixture(scope="session")
def managed_screen(environment):
    yield from _screen(environment, True)


@pytest.fixture(scope="session")
def bare_screen(environment):
    yield from _screen(environment, False)


@pytest.fixture
def own_screen(environment):
    """One that a test may end."""
    yield from _screen(environment, False)


@pytest.fixture
def make_desk(environment):
    """Makes a desk at a screen, or at none."""
    with contextlib.ExitStack() as stack:
        def make(screen):
            folder = stack.enter_context(tempfile.TemporaryDirectory(
                prefix="vantoscope-", ignore_cleanup_errors=True))
            desk = Desk(pathlib.Path(folder), environment, screen)
            stack.callback(desk.end)
            return desk
        yield make


@pytest.fixture
def desk(make_desk, managed_screen):
    return make_desk(managed_screen)


@pytest.fixture
def plain_desk(make_desk, bare_screen):
    """Without a window manager."""
    return make_desk(bare_screen)


@pytest.fixture(params=["managed_screen", "bare_screen"])
def each_desk(request, make_desk):
    return make_desk(request.getfixturevalue(request.param))
