# SPDX-License-Identifier: GPL-3.0-or-later
"""Tables that somebody is writing: through a pipe, on standard input, into files that are rotated,
and on a file system that hangs."""

import os
import signal
import subprocess
import time

import pytest
from desk import MESSAGE
from network import Network
from processes import eventually, program

HEADER = "Time [s],Level [m]\n"
# Reads as the system does, but not while there is a file of the name in HANG.
HANG = r"""
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>
ssize_t pread(int file, void* to, size_t size, off_t from) {
  while (access(getenv("HANG"), F_OK) == 0) usleep(10000);
  return ((ssize_t(*)(int, void*, size_t, off_t))dlsym(RTLD_NEXT, "pread"))(file, to, size, from);
}
ssize_t pread64(int file, void* to, size_t size, off_t from) { return pread(file, to, size, from); }
"""


def rows(first, last):
    return "".join(f"{i / 10},{i}\n" for i in range(first, last + 1))


@pytest.fixture
def pipe(plain_desk):
    for name in ("Tank", "Far", "Wide"):
        plain_desk.place(f"{name}1", 0, 0, 9000, 3000, UserFormat="0.0")
    path = plain_desk.folder / "pipe"
    os.mkfifo(path)
    return path


@pytest.mark.parametrize("way", ["pipe", "standard input"])
def test_a_stream_is_shown_until_its_writer_closes_it(plain_desk, pipe, way):
    if way == "pipe":
        meter, named = plain_desk.meter("Tank", pipe), f"'{pipe}'"
        plain_desk.says(meter, f"The stream {named} has sent nothing yet.", MESSAGE)
        writer = pipe.open("w")
    else:
        ends, named = os.pipe(), "on standard input"
        meter, writer = plain_desk.meter("Tank", "-", stdin=ends[0]), os.fdopen(ends[1], "w")
        os.close(ends[0])
    with writer:
        print(HEADER + rows(0, 9), end="", file=writer, flush=True)
        plain_desk.shows(meter, "9.0")
        print(rows(10, 12), end="", file=writer, flush=True)
        plain_desk.shows(meter, "12.0")
    assert meter.ends() == 0
    said = f"vantoscope: Tank Level: The stream {named} has ended: its writer closed it.\n"
    assert meter.said().replace("Channel 1", "Level").endswith(said)
    assert len(plain_desk.settings("Tank1")) == 24


def test_who_waits_for_a_stream_can_give_up(plain_desk, pipe):
    meter = plain_desk.meter("Tank", pipe)
    plain_desk.find(meter, "button", "Cancel").do_action(0)
    assert meter.ends() == 1
    assert meter.said().splitlines()[-1] == (
        f"vantoscope: The stream '{pipe}' has sent nothing yet.")


def test_a_pipe_goes_on_with_the_next_writer(plain_desk, pipe):
    meter = plain_desk.meter("Tank", f"{pipe}?follow=rotate")
    for first in (0, 20):
        with pipe.open("w") as writer:
            writer.write(HEADER + rows(first, first + 9))
        plain_desk.shows(meter, f"{first + 9}.0")


@pytest.mark.parametrize("device", ["-", "pipe"])
def test_a_stream_is_shared_by_a_host_and_not_by_a_group(plain_desk, pipe, device):
    device = str(pipe) if device == "pipe" else device
    meter = plain_desk.meter("Group", device, -1)
    plain_desk.says(meter, "Only one meter can read the stream", MESSAGE)
    assert len([w for w in plain_desk.processes().values() if "-nGroup" in w]) == 1
    assert f"telvixd --from {device} --to" in meter.said() and meter.said().count("\n") == 1
    net = Network(plain_desk)
    ends = os.pipe()
    host = plain_desk.start(program("telvixd"), "--from", device, "--to", net.tcp, stdin=ends[0])
    os.close(ends[0])
    with os.fdopen(ends[1], "w") if device == "-" else pipe.open("w") as writer:
        print(rows(0, 9), end="", file=writer, flush=True)
        eventually(lambda: "publishing" in host.said())
        meters = [net.meter(name) for name in ("Tank", "Far")]

        def goes_on():
            print("1,77", file=writer, flush=True)
            return all(plain_desk.reading(meter) == "77.0" for meter in meters)
        eventually(goes_on)
    assert host.ends() == 0
    assert host.said().endswith("has ended: its writer closed it.\n")


@pytest.mark.parametrize("option", ["follow", "follow=rotate"])
@pytest.mark.parametrize("how, end", [("rename", "is gone"), ("copytruncate", "was truncated")])
def test_a_file_is_rotated(plain_desk, pipe, option, how, end):
    path = pipe.with_name("run.csv")
    path.write_text(HEADER + rows(0, 9))
    meter = plain_desk.meter("Tank", f"{path}?{option}")
    plain_desk.shows(meter, "9.0")
    if how == "rename":
        path.rename(f"{path}.1")
    else:
        os.truncate(path, 0)
    if option == "follow":
        assert meter.ends() == 0
        assert meter.said().endswith(f": The recording '{path}' {end}.\n")
        return
    if how == "rename":
        with open(f"{path}.1", "a") as old:
            old.write(rows(10, 12))
        plain_desk.shows(meter, "12.0")
        eventually(lambda: ": its path leads to no file." in meter.said())
    with path.open("a") as new:
        new.write(HEADER + rows(20, 29))
    plain_desk.shows(meter, "29.0")
    assert meter.poll() is None


@pytest.mark.parametrize("ending", ["SIGTERM", "window"])
def test_a_file_system_that_hangs_holds_nobody(desk, ending):
    """The meter says so, moves, and closes at once; it goes on when the file system does."""
    (desk.folder / "hang.c").write_text(HANG)
    subprocess.run(["cc", "-shared", "-fPIC", "-o", desk.folder / "hang.so",
                    desk.folder / "hang.c"], check=True)
    path, switch = desk.folder / "run.csv", desk.folder / "hangs"
    path.write_text(HEADER + rows(0, 9))
    desk.place("Tank1", 1500, 1500, 9000, 3000, UserFormat="0.0")
    hanging = {"LD_PRELOAD": str(desk.folder / "hang.so"), "HANG": str(switch)}
    meter = desk.meter("Tank", f"{path}?follow", **hanging)
    desk.shows(meter, "9.0")

    def hangs():
        switch.touch()
        eventually(lambda: ": its file system does not answer." in meter.said())
    hangs()
    switch.unlink()
    with path.open("a") as file:
        file.write(rows(10, 12))
    desk.shows(meter, "12.0")
    hangs()
    window = desk.screen.window(meter, "Tank")
    desk.screen.place(window, (300, 300, 500, 150))
    desk.settle(meter, (300, 300, 500, 150))
    begin = time.monotonic()
    if ending == "window":
        desk.screen.close(window)
    else:
        meter.send_signal(signal.SIGTERM)
    assert meter.ends() == 0
    assert time.monotonic() - begin < 2
    assert desk.number("Tank1", "Window Left") == 4500
    late = desk.meter("Tank", f"{path}?follow", **hanging)
    desk.says(late, "does not answer.", MESSAGE)
    desk.find(late, "button", "Cancel").do_action(0)
    assert late.ends() == 1
