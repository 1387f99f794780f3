# SPDX-License-Identifier: GPL-3.0-or-later
"""A file server that does not answer: the window moves, says so, and closes at once."""

import signal
import time

import pytest
from processes import eventually, program

HANGS = "its file system is slow or does not answer."
NO_ANSWER = "the file system does not answer"


@pytest.fixture
def server(plain_desk):
    plain_desk.file = plain_desk.folder / "run.slow.csv"
    plain_desk.hangs = plain_desk.folder / "run.slow.csv.hangs"
    plain_desk.place("Tank1", 0, 0, 18000, 3000, UserFormat="0.0")
    return plain_desk


def start(desk, options=""):
    return desk.meter("Tank", f"{desk.file}{options}", LD_PRELOAD=program("slow_files.so"))


def ends_at_once(meter):
    begin = time.monotonic()
    meter.send_signal(signal.SIGTERM)
    meter.ends()
    assert time.monotonic() - begin < 1.5


@pytest.mark.parametrize("options", ["", "?loop", "?follow"])
def test_opening(server, options):
    server.file.write_text("Time [s],U\n" + "".join(f"{i},{i % 7}\n" for i in range(90)))
    server.hangs.touch()
    meter = start(server, options)
    eventually(lambda: HANGS in meter.said())
    server.hangs.unlink()
    server.goes_on(meter)
    server.hangs.touch()  # what is in memory goes on
    ends_at_once(meter)
    server.hangs.touch()
    meter = start(server, options)
    eventually(lambda: HANGS in meter.said())
    ends_at_once(meter)


def test_playing(server):
    """A long file, played so fast that every look needs another part of it."""
    server.file.write_text("U\n" + "".join(f"{i % 9},{'x' * 99}\n" for i in range(400_000)))
    meter = start(server, "?rate=10000")
    server.goes_on(meter)
    server.hangs.touch()
    eventually(lambda: f"No new data for 2 s: {NO_ANSWER}." in meter.said())
    window = server.screen.window(meter)
    server.hangs.unlink()
    eventually(lambda: "The reading is live again." in meter.said())
    server.hangs.touch()
    eventually(lambda: meter.said().count(NO_ANSWER) == 2)
    server.screen.close(window)
    begin = time.monotonic()
    assert meter.ends() == 0
    assert time.monotonic() - begin < 1.5
