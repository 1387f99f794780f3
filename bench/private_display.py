# SPDX-License-Identifier: GPL-3.0-or-later
"""A private X server with a window manager and a session bus, and what a benchmark sees of it."""

import contextlib
import mmap
import os
import re
import struct
import subprocess
import tempfile
import time

REPOSITORY = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PROGRAMS = os.environ.get("VANTOSCOPE_BIN", os.path.join(REPOSITORY, "build/release/bin"))
METER = os.path.join(PROGRAMS, "vantoscope")
WIDTH, HEIGHT = 2600, 2000


class Screen:
    """The frame buffer of the X server, read without asking it."""

    def __init__(self, folder):
        with open(os.path.join(folder, "Xvfb_screen0"), "rb") as file:
            self.bytes = mmap.mmap(file.fileno(), 0, prot=mmap.PROT_READ)
        header = struct.unpack(">25I", self.bytes[:100])
        self.line = header[12]
        self.first = header[0] + 12 * header[19]

    def painted(self, x, y, width, height):
        """More than one shade of green inside the rectangle."""
        first = None
        for row in range(max(y, 0), min(y + height, HEIGHT)):
            start = self.first + row * self.line + max(x, 0) * 4
            greens = self.bytes[start + 1 : start + max(0, min(width, WIDTH - x)) * 4 : 4]
            first = first or greens[:1]
            if greens.count(first) < len(greens):
                return True
        return False


def windows(name):
    """Client rectangles of all mapped windows whose name or class holds `name`."""
    tree = subprocess.run(["xwininfo", "-root", "-tree"], capture_output=True, text=True).stdout
    found = []
    for line in tree.splitlines():
        match = re.search(r'^\s+(0x\w+) (.*?)  (\d+)x(\d+)\+-?\d+\+-?\d+  \+(-?\d+)\+(-?\d+)$', line)
        if match and name in match[2] and int(match[3]) > 20 and int(match[4]) > 5:
            found.append((match[1], *(int(match[i]) for i in (5, 6, 3, 4))))
    return found


def cpu_seconds(pid):
    """Of all its threads, to the microsecond."""
    used = 0
    for task in os.listdir(f"/proc/{pid}/task"):
        with open(f"/proc/{pid}/task/{task}/schedstat", encoding="ascii") as file:
            used += int(file.read().split()[0])
    return used / 1e9


def wake_ups(pid):
    """How often its threads have waited for something so far."""
    count = 0
    for task in os.listdir(f"/proc/{pid}/task"):
        with open(f"/proc/{pid}/task/{task}/status", encoding="utf-8") as file:
            count += sum(int(line.split()[1]) for line in file if line.startswith("voluntary"))
    return count


@contextlib.contextmanager
def private_display(bus=True):
    """The screen and a home folder, for the programs that this process starts. A session without a
    `bus` is one over ssh, or on a bare X server."""
    with tempfile.TemporaryDirectory() as folder, contextlib.ExitStack() as started:
        def start(words, **options):
            process = subprocess.Popen(words, stderr=subprocess.DEVNULL, **options)
            started.callback(process.wait)
            started.callback(process.terminate)
            return process

        reader, writer = os.pipe()
        start(["Xvfb", "-displayfd", str(writer), "-screen", "0", f"{WIDTH}x{HEIGHT}x24", "-fbdir",
               folder, "-nolisten", "tcp"], pass_fds=[writer])
        os.close(writer)
        os.environ.update(DISPLAY=f":{os.read(reader, 16).decode().strip()}", HOME=folder,
                          XDG_CONFIG_HOME=folder, XDG_RUNTIME_DIR=folder)
        for variable in ("WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS"):
            os.environ.pop(variable, None)
        start(["openbox", "--sm-disable"])
        if bus:
            daemon = start(["dbus-daemon", "--session", "--nofork", "--print-address=1"],
                           stdout=subprocess.PIPE, text=True)
            os.environ["DBUS_SESSION_BUS_ADDRESS"] = daemon.stdout.readline().strip()
        time.sleep(1)
        yield Screen(folder), folder
