# SPDX-License-Identifier: GPL-3.0-or-later
"""Child processes that die with the test, and waiting for what they do."""

import contextlib
import ctypes
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import time

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
PROGRAMS = os.environ.get("VANTOSCOPE_BIN", str(REPOSITORY / "build/release/bin"))
LIMIT = 30  # seconds that a busy machine may take for anything
_PAUSE = 0.02  # between two looks
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

    def __init__(self, arguments, environment, stdin=subprocess.DEVNULL, **options):
        self._out, self._err = tempfile.TemporaryFile(), tempfile.TemporaryFile()
        super().__init__([str(a) for a in arguments], env=environment, stdin=stdin,
                         stdout=self._out, stderr=self._err,
                         preexec_fn=lambda: _libc.prctl(1, signal.SIGKILL), **options)

    def printed(self):
        return os.pread(self._out.fileno(), 1 << 20, 0).decode()

    def said(self):
        """Without what depends on the fonts and frames at hand: whether a reading fits its window."""
        text = os.pread(self._err.fileno(), 1 << 20, 0).decode()
        text = text.replace(" The window is too narrow for the whole reading.", "")
        return re.sub(r"^vantoscope: .*?:( The reading is whole again\.)?\n", "", text, flags=re.M)

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
