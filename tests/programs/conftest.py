# SPDX-License-Identifier: GPL-3.0-or-later
"""Private X displays with and without a window manager, a private accessibility bus, and a desk for
each test with its own home folder.

All of it ends with the test, and also when the test process dies. VANTOSCOPE_BIN names the folders
of the programs, parted by colons; without it they are those of the release build.
VANTOSCOPE_MANAGER is another window manager than openbox, as a command.
"""

import contextlib
import os
import pathlib
import socket
import tempfile

import pytest
from desk import Desk, listen
from processes import Program, answers, eventually
from screen import Screen


@pytest.fixture(scope="session")
def environment():
    """What every program sees, with a session bus on which the accessibility bus starts when it is
    first asked for."""
    with tempfile.TemporaryDirectory(prefix="vantoscope-") as folder:
        address = f"unix:path={folder}/bus"
        common = {"PATH": os.environ["PATH"], "HOME": folder, "XDG_RUNTIME_DIR": folder,
                  "LANG": "C.UTF-8", "DBUS_SESSION_BUS_ADDRESS": address,
                  "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
                  "TSAN_OPTIONS": os.environ.get("TSAN_OPTIONS", "")}
        bus = Program(["dbus-daemon", "--session", "--nofork", f"--address={address}"], common)
        eventually(lambda: answers(socket.AF_UNIX, f"{folder}/bus"))
        listen(common)
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
