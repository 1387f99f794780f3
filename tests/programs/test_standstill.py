"""Who stands still is seen: the meter says within the limit plus a second that its data are old, and
why, and is live again at the first new value. The age in its sentence is by its own clock."""

import os
import re
import signal
import time

import pytest
from network import Network
from processes import eventually

LIVE = "The reading is live again."
SILENT, NOTHING_NEW = "the host is silent", "the host has no new data"


@pytest.fixture
def recorder(plain_desk):
    """A child process that writes ten rows a second into `recorder.path`, and settings for short
    readings, for a reading that is cut is told in a line of its own."""
    for name in ("Tank", "Near", "Far", "Late"):
        plain_desk.configure(f"{name}1", UserFormat="0.0")
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
            assert eventually(lambda: last_line(late)).startswith(
                f"Waiting for the first reading: {NOTHING_NEW}.")
        process.send_signal(signal.SIGCONT)
        is_live(near)
        is_live(far)
    net.broker.kill()
    net.broker.wait()
    for meter in (near, far):
        is_old(meter, "the broker does not answer")
    net.start_broker()
    for meter in (near, far):
        is_live(meter)
    assert host.poll() is None


def test_a_recorder_that_stands_still_is_no_end_but_a_frozen_host_is(plain_desk, recorder):
    net = Network(plain_desk)
    host = net.publishing_host(recorder.device)
    meter = net.live_meter(options="?timeout=3")
    recorder.send_signal(signal.SIGSTOP)
    is_old(meter, NOTHING_NEW)
    time.sleep(3)
    assert meter.poll() is None
    host.send_signal(signal.SIGSTOP)
    frozen = time.monotonic()
    assert meter.ends() == 0
    assert 1.9 < time.monotonic() - frozen < 5  # the last sign of life is up to a second older
