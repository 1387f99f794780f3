# SPDX-License-Identifier: GPL-3.0-or-later
"""A real recording through the whole chain: the electrocardiogram of docs/, against raw words that
were read from its source with unzip and od."""

import gzip
import itertools
import time

import pytest
from network import Network
from processes import REPOSITORY, eventually

WORD_AT = {0: 975, 1: 981, 2: 987, 1000: 944, 54321: 1069, 107999: 947}
RANGE = "range=-168.96..158.715"  # with it the raw words are those of the converter
MAX, LONGEST = 2, 32766


def millivolts(word):
    return f"{(word - 1024) / 200:.3f}"


@pytest.fixture(scope="module")
def ecg(tmp_path_factory):
    path = tmp_path_factory.mktemp("ecg") / "ecg.csv"
    path.write_bytes(gzip.decompress((REPOSITORY / "docs/ecg.csv.gz").read_bytes()))
    return path


def test_the_electrocardiogram_is_that_of_the_converter(plain_desk, ecg):
    """Replayed so slowly that a scan stands for 100 s, at the moment of each index."""
    desk = plain_desk
    words = [1024 + round(200 * float(line)) for line in ecg.read_text().splitlines()[1:]]
    assert (len(words), sum(words)) == (108000, 107025651)
    assert (min(words), max(words)) == (327, 1754)
    desk.configure("Max1", AverageMode=MAX, AverageLength=LONGEST, UserFormat="0.000")
    meters = {"Max": (107999, max(words[-LONGEST:]))}
    for index, word in WORD_AT.items():
        desk.configure(f"At{index}-1", UserFormat="0.000", ShowUnit=1)
        meters[f"At{index}-"] = index, word
    started = {name: desk.meter(
        name, f"FI64:{ecg}?start={time.time() - 100 * (index + 0.1)}&rate=0.01&{RANGE}")
        for name, (index, _) in meters.items()}
    for name, (_, word) in meters.items():
        desk.shows(started[name], millivolts(word) + ("" if name == "Max" else "mV"))


def test_a_recorder_is_followed_through_the_network(plain_desk, ecg):
    """Line by line until the meter behind the broker shows something, then up to a known one."""
    desk, net = plain_desk, Network(plain_desk)
    lines = ecg.read_text().splitlines(keepends=True)
    growing = desk.folder / "run.csv"
    growing.write_text("".join(lines[:1001]))
    upcoming = iter(lines[1001:54323])  # the first line is the header, and index 0 the second
    device = f"FI64:{growing}?follow&rate=360&{RANGE}"
    net.publishing_host(device)
    for name in ("Near", "Far"):
        desk.configure(f"{name}1", UserFormat="0.000", ShowUnit=1)
    near, far = desk.meter("Near", device), net.meter("Far")

    def write(count):
        with growing.open("a") as file:
            file.writelines(itertools.islice(upcoming, count))

    def something_arrives():
        write(1)
        return (desk.reading(far) or "").endswith("mV")
    eventually(something_arrives)
    write(len(lines))
    for meter in (near, far):
        desk.shows(meter, millivolts(WORD_AT[54321]) + "mV")
