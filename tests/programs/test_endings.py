# SPDX-License-Identifier: GPL-3.0-or-later
"""How meters end, and those that cannot begin."""

import signal

import pytest
from desk import DIALOG, MESSAGE
from processes import eventually, program


@pytest.mark.parametrize("how, under", [
    ("button", ""), ("SIGTERM", ""), ("SIGINT", ""), ("SIGHUP", ""), ("host", ""),
    ("SIGTERM", "dialog"), ("SIGTERM", "start box"), ("host", "start box")])
def test_every_ending_saves(desk, how, under):
    """Also below a modal box, where it can reach the meter there."""
    screen = desk.screen
    recording = desk.folder / "run.csv"
    recording.write_text("Level\n1.5\n")
    desk.configure("Tank1", Math="CH99" if under == "start box" else "CH1", AverageLength=7,
                   Window_Left=300)
    meter = desk.meter("Tank", f"{recording}?follow")
    if under == "start box":
        desk.says(meter, "not found in Telvix", MESSAGE)
    else:
        window = screen.window(meter, "Tank")
        eventually(lambda: screen.has_keyboard(window))
    if under == "dialog":
        screen.key("comma", "Control_L")
        eventually(lambda: screen.has_keyboard(screen.window(meter, DIALOG)))
        screen.keys("Tab*7 '99'")  # a window of 99 scans, half-typed
    if how == "button":
        screen.close(window)
    elif how == "host":
        recording.unlink()
    else:
        meter.send_signal(signal.Signals[how])
    assert meter.ends() == 0
    said = meter.said()
    assert said.count("\n") == said.count(f"{recording}' is gone.") == (how == "host")
    saved = desk.settings("Tank1")
    # A window that never stood anywhere has no place to save.
    assert (len(saved) == 24) == ("Window Top" in saved) == (under != "start box")
    assert saved["Window Left"] == "300"
    assert saved["AverageLength"] == "7"


def test_dead_display_saves_what_is_known(make_desk, own_screen):
    desk = make_desk(own_screen)
    desk.place("Tank1", 3000, 3000, 3000, 1500, border=0)
    meter = desk.meter("Tank")
    desk.settle(meter, (200, 200, 200, 100))
    own_screen.server.end()
    assert meter.ends() == 1
    assert desk.number("Tank1", "Window Left") == 3000
    assert desk.settings("Tank1")["Transparency"] == "100"


@pytest.mark.parametrize("device, index, told", [
    ("ZZ64", 0, "ZZ64"), ("/nowhere/run.csv", 0, "/nowhere/run.csv"),
    ("sim", 99, "99"), ("sim", -7, "-7"), ("sim", "99999x", " 99999x ")])
def test_start_errors_are_one_sentence(desk, device, index, told):
    meter = desk.meter("Tank", device, index)
    assert told in desk.says(meter, told, MESSAGE)
    box = desk.screen.window(meter, MESSAGE)
    eventually(lambda: desk.screen.has_keyboard(box))
    desk.screen.key("Return")
    assert meter.ends() == 1
    said = meter.said()
    assert said.startswith("vantoscope: ") and said.count("\n") == 1 and said.endswith("\n")
    assert told in said
    if index == 0:
        listing = desk.start(program("vantoscope"), "--list", device)
        assert (listing.ends(), listing.said()) == (1, said)
    assert not desk.settings_file.exists()


@pytest.mark.parametrize("words, display, code, told", [
    ([], {}, 1, "display"), ([], {"DISPLAY": ":65000"}, 1, ":65000"),
    ([], {"WAYLAND_DISPLAY": "wayland-0"}, 1, "XWayland"),
    (["--help"], {}, 0, "-iINDEX"), (["--version"], {}, 0, "vantoscope ")])
def test_without_a_display(make_desk, words, display, code, told):
    desk = make_desk(None)
    meter = desk.start(program("vantoscope"), *words, **display)
    assert meter.ends() == code
    said, other = [meter.printed(), meter.said()][::1 if code == 0 else -1]
    assert told in said and not other
    assert code == 0 or said.startswith("vantoscope: ") and said.count("\n") == 1


@pytest.mark.parametrize("words", [["-dsim", "-nTank"], ["-dsim", "-nTank", "-i-1"],
                                   ["-d/none.csv"]])
def test_without_a_font(plain_desk, words):
    """A box or a number would be empty squares."""
    (plain_desk.folder / "none").write_text("<fontconfig></fontconfig>")
    meter = plain_desk.start(program("vantoscope"), *words, FONTCONFIG_FILE="none",
                             FONTCONFIG_PATH=str(plain_desk.folder))
    assert meter.ends() == 1
    assert [line for line in meter.said().splitlines() if "none.csv" not in line] == [
        "vantoscope: No font is installed, so that no number can be shown; install one, for example "
        "the package fonts-liberation."]
    assert not plain_desk.settings_file.exists()
