# SPDX-License-Identifier: GPL-3.0-or-later
"""What the programs print instead of running: the channels of a device, and what devices there are."""

import json
import signal
import unicodedata

import pytest
from network import Network
from processes import eventually, program

NAMES = ["T °C", "Druck", "温度 [℃]", "e\N{COMBINING ACUTE ACCENT}cart"]


@pytest.fixture
def ask(make_desk):
    """Runs --list without a display and gives what it prints, as JSON where that is asked for."""
    desk = make_desk(None)

    def ask(*words, name="vantoscope"):
        listing = desk.start(program(name), "--list", *words)
        assert listing.ends() == 0, listing.said()
        assert not listing.said() and not desk.settings_file.parent.exists()
        return json.loads(listing.printed()) if "--json" in words else listing.printed()
    ask.desk = desk
    return ask


def width(text):
    """Cells of a terminal."""
    return sum(0 if unicodedata.combining(c) else 1 + (unicodedata.east_asian_width(c) in "WF")
               for c in text)


@pytest.fixture
def run(ask):
    path = ask.desk.folder / "run.csv"
    path.write_text(",".join(["time", *NAMES, "Cntr"]) + "\n2024-01-01T00:00:00Z,1.5,OL,nan,,7\n"
                    "2024-01-01T00:00:10Z,2,-3,4,5,8\n")
    return path


def test_the_channels_of_a_recording(ask, run):
    text = ask(run)
    assert text.startswith(f"{run}: 0.1 scans a second, 5 channels\n")
    taken_for = " ".join(text.partition("\n\n")[0].split())
    assert "Taken for: separator comma;" in taken_for and "times: dates in field 1;" in taken_for
    table = text.split("\n\n")[1].splitlines()
    name = width(table[0].partition("Name")[0])
    assert [line.split()[:4] for line in table] == [
        ["Index", "Label", "Number", "Value"], ["0", "CH1", "1", "1.5"], ["1", "CH2", "2", "inf"],
        ["2", "CH3", "3", "nan"], ["3", "-", "-2", "7"], ["4", "CH4", "4", "nan"]]
    for line, shown in zip(table[1:], ["T °C", "Druck", "温度", "Cntr", NAMES[3]]):
        assert width(line.removesuffix(shown)) == name and line.endswith(shown), line
    assert max(map(width, text.splitlines())) <= 80
    assert "as in #3." in text


def test_a_recording_for_scripts(ask, run):
    seen = ask("--json", f"-d{run}")
    assert (seen["rate"], seen["doubt"]) == (0.1, "") and 0 <= seen["age"] < 10
    assert seen["description"] in " ".join(ask(run).split())
    assert [list(channel.values()) for channel in seen["channels"]] == [
        [0, "CH1", "#0", 1, "T °C", "", 1.5, 2, 1.5], [1, "CH2", "#1", 2, "Druck", "", -3, 0, "inf"],
        [2, "CH3", "#2", 3, "温度", "℃", 0, 4, "nan"], [3, None, "#3", -2, "Cntr", "", 0, 16384, 7],
        [4, "CH4", "#4", 4, NAMES[3], "", 0, 5, "nan"]]
    over = ask(f"{run}?start=5", "--json")
    assert over["doubt"] == f"The recording '{run}' has ended; ?loop repeats it."
    assert [channel["value"] for channel in over["channels"]] == [None] * 5


@pytest.mark.parametrize("model, label", [("SM64", "CHA2"), ("SM32", "CHB2")])
def test_labels_are_those_of_the_model(ask, model, label):
    channels = ask(f"{model}:channels=50", "--json")["channels"]
    assert {c["number"]: c["label"] for c in channels}[34] == label


def test_the_kinds_of_devices(ask):
    kinds = ask("--json")["devices"]
    assert all(kind["device"] in ask() for kind in kinds)
    assert ask(next(k["device"] for k in kinds if k["kind"] == "simulator"), "--json")["channels"]


def test_a_host_in_the_network(ask):
    net = Network(ask.desk)
    host = net.publishing_host("SM64:channels=3")
    near, far = (ask(device, "--json") for device in ("SM64:channels=3", f"mqtt://{net.tcp}"))
    assert [c["name"] for c in far["channels"]] == [c["name"] for c in near["channels"]]
    assert all(c["low"] <= c["value"] <= c["high"] for c in far["channels"])
    host.terminate()
    host.ends()
    # Nobody publishes any more: the list waits as a meter does, and an interrupt ends it.
    waiting = ask.desk.start(program("vantoscope"), "--list", f"mqtt://{net.tcp}?wait=60")
    eventually(lambda: "Waiting: " in waiting.said())
    waiting.send_signal(signal.SIGINT)
    assert waiting.ends(limit=2) == -signal.SIGINT


@pytest.mark.parametrize("words, code, told", [
    (["sim", "run.csv"], 2, "'run.csv' has no place behind --list"), (["--jsn"], 2, "'--jsn'"),
    (["mqtt://me:secret@h/x"], 1, "VANTOSCOPE_MQTT_CREDENTIALS"),
    (["sigrok:demo"], 1, "is read by telvixd")])
def test_what_is_not_listed_is_one_line(ask, words, code, told):
    listing = ask.desk.start(program("vantoscope"), "--list", *words)
    assert listing.ends() == code
    assert told in listing.said() and listing.said().count("\n") == 1
    assert not listing.printed() and "secret" not in listing.said()


def test_the_instruments_of_libsigrok(ask):
    drivers = ask("--json", name="telvixd")["drivers"]
    assert {"driver": "demo", "instruments": "Demo driver and pattern generator", "conn": False,
            "serialcomm": False} in drivers
    assert all(driver["driver"] in ask(name="telvixd") for driver in drivers)
    [demo] = ask("sigrok:demo", "--json", name="telvixd")["instruments"]
    assert demo["from"] == "sigrok:demo" and demo["logic"] == [f"D{i}" for i in range(8)]
    assert "telvixd --from sigrok:demo --to" in ask("sigrok:demo", name="telvixd")
    assert ask("SM64", name="telvixd").splitlines()[2] == ask("SM64").splitlines()[2]
