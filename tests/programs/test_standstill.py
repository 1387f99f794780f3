# SPDX-License-Identifier: GPL-3.0-or-later
"""Who stands still is seen: the meter says within the limit plus a second that its data are old, and
why, and is live again at the first new value. The age in its sentence is by its own clock."""

import os
import re
import signal
import time

import pytest
from network import ROOT, Network
from processes import eventually, program

LIVE = "The reading is live again."
SILENT, NOTHING_NEW = "the host is silent", "the host has no new data"
NO_BROKER = "the broker does not answer"


@pytest.fixture
def recorder(plain_desk):
    """A child process that writes ten rows a second into `recorder.path`, and wide windows, for a
    reading that is cut is told in the same line."""
    for name in ("Tank", "Near", "Far", "Late"):
        plain_desk.place(f"{name}1", 0, 0, 18000, 3000, UserFormat="0.0")
    path = plain_desk.folder / "run.csv"
    path.write_text("Level [m]\n1\n2\n")
    child = plain_desk.start("sh", "-c", f"while i=$((i+1)); do echo $i >> {path}; sleep 0.1; done")
    child.path, child.device = path, f"FI64:{path}?follow&rate=10"
    return child


def last_line(meter):
    """What it said last, without its name and title."""
    return (meter.said().splitlines() or [""])[-1].split(": ", 2)[-1]


def is_old(meter, why):
    line = eventually(lambda: last_line(meter) != LIVE and last_line(meter))
    assert re.fullmatch(f"No new data for [23] s: {why}\\.", line)


def is_live(meter):
    eventually(lambda: last_line(meter) == LIVE)


def test_a_recorder_that_is_followed(plain_desk, recorder):
    meter = plain_desk.meter("Tank", recorder.device)
    plain_desk.goes_on(meter)
    for _ in range(2):
        recorder.send_signal(signal.SIGSTOP)
        is_old(meter, "the recorder writes nothing")
        recorder.send_signal(signal.SIGCONT)
        is_live(meter)
    recorder.kill()
    recorder.wait()
    is_old(meter, "the recorder writes nothing")
    an_hour_ago = time.time() - 3605
    os.utime(recorder.path, (an_hour_ago, an_hour_ago))
    late = plain_desk.meter("Late", recorder.device)
    assert eventually(lambda: last_line(late)) == "No new data for 60 min: the recorder writes nothing."


def test_everything_between_a_recorder_and_meters(plain_desk, recorder):
    """The far meter's host hands on what the near one's publishes."""
    net = Network(plain_desk)
    second = net.tcp + "/second"
    host = net.publishing_host(recorder.device)
    net.publishing_host(f"mqtt://{net.tcp}", second)
    near, far = net.live_meter("Near"), plain_desk.meter("Far", f"mqtt://{second}")
    plain_desk.goes_on(far)
    for process, why, why_far in [(recorder, NOTHING_NEW, NOTHING_NEW),
                                  (host, SILENT, NOTHING_NEW), (net.broker, SILENT, SILENT)]:
        process.send_signal(signal.SIGSTOP)
        is_old(near, why)
        is_old(far, why_far)
        if process == recorder:
            late = net.meter("Late")
            line = f"Waiting for the first reading: {NOTHING_NEW}."
            assert eventually(lambda: last_line(late)) == line
        process.send_signal(signal.SIGCONT)
        is_live(near)
        is_live(far)
    net.broker.kill()
    net.broker.wait()
    for meter in (near, far):
        is_old(meter, NO_BROKER)
    net.start_broker()
    for meter in (near, far):
        is_live(meter)
    assert host.poll() is None


@pytest.mark.parametrize("trouble, why, gone", [
    ("host killed", None, "has closed."),
    ("host stopped", SILENT, f"has given no sign of life for 5 s: {SILENT}."),
    ("broker killed", NO_BROKER, f"has given no sign of life for 5 s: {NO_BROKER}."),
    ("broker stopped", SILENT, f"has given no sign of life for 5 s: {SILENT}."),
    ("link cut", SILENT, f"has given no sign of life for 5 s: {SILENT}."),
    ("link slow", "the network is too slow", None),
    ("recorder stopped", NOTHING_NEW, None)])
def test_a_meter_tells_each_trouble_and_ends_after_the_timeout(plain_desk, recorder, trouble, why,
                                                               gone):
    """The times are printed: with -s they make a table."""
    net = Network(plain_desk)
    link = net.link()
    host = net.publishing_host("SM64" if "slow" in trouble else recorder.device)
    meter = plain_desk.meter("Far", f"mqtt://127.0.0.1:{link.port}/{ROOT}?timeout=5")
    plain_desk.goes_on(meter)
    begin = time.monotonic()
    what, how = trouble.split()
    if what == "link":  # half of what the simulator sends
        link.is_cut, link.bytes_per_second = how == "cut", 12_000
    else:
        process = {"host": host, "broker": net.broker, "recorder": recorder}[what]
        process.send_signal(signal.SIGKILL if how == "killed" else signal.SIGSTOP)
    old = ended = "-"
    if why:
        is_old(meter, why)
        old = round(time.monotonic() - begin, 1)
        assert old < (12 if how == "slow" else 3.5)
    if gone:
        assert meter.ends() == 0
        ended = round(time.monotonic() - begin, 1)
        assert (3.9 if why else 0.6) < ended < (6 if why else 2)  # a sign may be a second older
        assert meter.said().endswith(f"{gone}\n")
        assert len(plain_desk.settings("Far1")) == 24
    else:
        time.sleep(5)
        assert meter.poll() is None
    print(f"\n{trouble:18} shown after {old} s, ended after {ended} s")


def test_a_host_that_sends_seldom_gives_signs_of_life(plain_desk):
    net = Network(plain_desk)
    plain_desk.start(program("telvixd"), "--to", net.tcp, "--interval", 4000)
    meter = net.live_meter(options="?timeout=3.5")
    plain_desk.goes_on(meter)
    assert meter.poll() is None
