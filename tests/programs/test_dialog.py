# SPDX-License-Identifier: GPL-3.0-or-later
"""The configuration dialog, by pointer, by keyboard and through a screen reader."""

import signal

import pytest
from desk import DIALOG, MESSAGE
from processes import eventually

# Pixels from the corner of the dialog's client area.
FOREGROUND_BUTTON, CANCEL, HELP = (265, 41), (244, 252), (384, 252)


def click(desk, dialog, place):
    x, y, *_ = desk.screen.client(dialog)
    desk.screen.click(x + place[0], y + place[1])


def test_a_meter_is_set_up_closed_and_comes_back(desk):
    screen = desk.screen
    meter = desk.meter("Mains", "SM64", 3)
    window = screen.window(meter, "Mains Channel 4")
    dialog = desk.open_dialog(meter)
    assert screen.is_above(dialog, window)
    click(desk, dialog, FOREGROUND_BUTTON)
    picker = screen.window(meter, "Foreground colour")
    assert screen.is_above(picker, dialog)
    eventually(lambda: screen.has_keyboard(picker))
    screen.key("h", "Alt_L")
    screen.keys("'#008000' Return")
    eventually(lambda: not screen.mapped(picker) and screen.has_keyboard(dialog))
    # The limits, the alarm, the window, from None to RMS, the unit, the transparency; then neither
    # Return nor Escape closes, and OK does.
    screen.keys("Tab*4 '220.5' Tab '-3' Tab space Tab '1000' Tab Left Tab space Tab '60'")
    screen.keys("Return Escape Tab*4")
    eventually(lambda: desk.button_is(meter, "FOCUSED", "OK"))
    screen.keys("space")
    eventually(lambda: not screen.mapped(dialog))
    screen.swap_look(window, bare=True)
    assert screen.opacity(window) == 60
    meter.send_signal(signal.SIGTERM)
    assert meter.ends() == 0
    saved = desk.settings("Mains4")
    assert len(saved) == 24
    assert saved.items() >= {
        "AverageLength": "1000", "AverageMode": "4", "ShowUnit": "True", "Transparency": "60",
        "BorderStyle": "0", "High Limit Value": "220.5", "Low Limit Value": "-3",
        "Alarm Enabled": "True", "Foreground Color": "32768", "Background Color": "16777215",
        "Always On Top": "-1", "ShowCaption": "True"}.items()
    again = desk.meter("Mains", "SM64", 3)
    bare = screen.window(again)
    eventually(lambda: screen.opacity(bare) == 60)
    assert screen.frame(bare) == (0, 0, 0, 0)
    # The mains: 325.27 / sqrt(2) V over whole periods, with the unit.
    shown = desk.says(again, "230.0")
    assert shown.endswith("V")


@pytest.mark.parametrize("way", ["OK", "Cancel", "frame"])
def test_what_closes_the_dialog_decides_what_is_kept(desk, way):
    """Everything through the objects of a screen reader. The window of 9999 scans is too large for
    12 channels, so that 32768 / 12 of it are left."""
    desk.configure("Tank1", AverageLength=5, UserFormat="0.0", MathUnit="l")
    meter = desk.meter("Tank")
    dialog = desk.open_dialog(meter)
    for role, name in [("radio button", "Equation result"), ("check box", "Show Unit")]:
        assert desk.find(meter, role, name).do_action(0)
    for name, text in [("Window Size", "9999"), ("Equation", "6*7"), ("High Limit", "40.25")]:
        assert desk.find(meter, "text", name).set_text_contents(text)
    if way == "frame":
        desk.screen.close(dialog)
    else:
        assert desk.find(meter, "button", way, DIALOG).do_action(0)
    if way == "OK":
        desk.says(meter, "too large for this Telvix configuration", MESSAGE)
        assert desk.find(meter, "button", "OK", MESSAGE).do_action(0)
        desk.shows(meter, "42.0l")
    eventually(lambda: not desk.screen.mapped(dialog))
    desk.screen.close(desk.screen.window(meter, "Tank"))
    assert meter.ends() == 0
    saved = desk.settings("Tank1")
    kept = [saved[key] for key in ("AverageLength", "AverageMode", "Math", "High Limit Value")]
    assert kept == (["2731", "6", "6*7", "40.25"] if way == "OK" else ["5", "0", "#0", "1000"])


def test_no_meter_covers_a_dialog_that_opens(desk):
    screen = desk.screen
    desk.configure("Lower1", Window_Top=3600, Window_Left=2760)
    desk.place("Upper1", 3000, 4800, 6000, 3000)
    lower = desk.meter("Lower")
    form = screen.window(lower)
    other = screen.window(desk.meter("Upper"))
    eventually(lambda: screen.stays_on_top(form) and screen.stays_on_top(other))
    dialog = desk.open_dialog(lower)
    assert screen.is_above(dialog, other) and screen.is_above(dialog, form)
    eventually(lambda: not screen.stays_on_top(form))  # for as long
    screen.close(dialog)
    eventually(lambda: screen.stays_on_top(form))


def test_the_picker_of_a_large_scale_fits_and_picks(desk):
    """At 250 % it is larger than the screen; so is not the dialog, which stays no more on top than
    its meter."""
    screen = desk.screen
    desk.configure("Tank1", Always_On_Top=-2)
    meter = desk.meter("Tank", QT_SCALE_FACTOR="2.5")
    dialog = desk.open_dialog(meter)
    click(desk, dialog, [pixels * 5 // 2 for pixels in FOREGROUND_BUTTON])
    picker = screen.window(meter, "Foreground colour")
    eventually(lambda: screen.has_keyboard(picker))
    for window in dialog, picker:
        x, y, width, height = screen.outer(window)
        assert x >= 0 and y >= 0 and x + width <= 1280 and y + height <= 960
        assert not screen.stays_on_top(window)
    screen.key("h", "Alt_L")
    screen.keys("'#008000' Return")
    eventually(lambda: not screen.mapped(picker) and screen.has_keyboard(dialog))
    assert desk.find(meter, "button", "OK", DIALOG).do_action(0)
    eventually(lambda: not screen.mapped(dialog))
    meter.send_signal(signal.SIGTERM)
    assert meter.ends() == 0 and desk.settings("Tank1")["Foreground Color"] == "32768"


def test_help_opens_the_page_of_this_installation(desk):
    opened = desk.folder / "opened"
    browser = desk.folder / "xdg-open"
    browser.write_text(f"#!/bin/sh\necho \"$1\" >>{opened}\n")
    browser.chmod(0o700)
    meter = desk.meter("Tank", PATH=f"{desk.folder}:/usr/bin:/bin")
    window = desk.screen.window(meter)
    eventually(lambda: desk.screen.has_keyboard(window))
    desk.screen.key("F1")
    eventually(lambda: opened.exists() and opened.read_text().count("\n") == 1)
    dialog = desk.open_dialog(meter)
    for times, ask in [(2, lambda: click(desk, dialog, HELP)), (3, lambda: desk.screen.key("F1"))]:
        ask()
        eventually(lambda t=times: opened.read_text().count("\n") == t)
    page = opened.read_text().split()[0]
    assert page.startswith("file:///") and page.endswith("/wvanto.html")
    with open(page.removeprefix("file://"), encoding="utf-8") as file:
        assert "<html" in file.read()
    assert desk.screen.mapped(dialog)


def test_a_host_that_goes_away_ends_the_meter_under_any_open_box(desk):
    """The dialog with a half-typed change, the picker above it, the message about a window. The
    host is a recording, and goes with it."""
    recording = desk.folder / "run.csv"
    recording.write_text("Time [s],Level [m]\n0,1\n0.1,1.5\n0.2,2\n")
    desk.configure("Dialog1", Window_Top=9000, Window_Left=1500)
    desk.configure("Picker1", Window_Top=9000, Window_Left=6000)
    desk.configure("Box1", Window_Top=9000, Window_Left=10500, AverageLength=0)
    meters = {}
    for name in ("Dialog", "Picker", "Box"):  # one that starts takes the keyboard
        meters[name] = desk.meter(name, f"{recording}?follow")
        window = desk.screen.window(meters[name])
        eventually(lambda w=window: desk.screen.has_keyboard(w))
    desk.open_dialog(meters["Dialog"])
    desk.screen.keys("Tab*7 '99'")
    click(desk, desk.open_dialog(meters["Picker"]), FOREGROUND_BUTTON)
    desk.screen.window(meters["Picker"], "Foreground colour")
    click(desk, desk.open_dialog(meters["Box"]), CANCEL)
    desk.says(meters["Box"], "Data Window is invalid", MESSAGE)
    recording.unlink()
    for name, length in [("Dialog", "3"), ("Picker", "3"), ("Box", "1")]:
        assert meters[name].ends() == 0
        saved = desk.settings(f"{name}1")
        assert len(saved) == 24 and saved["AverageLength"] == length


def test_a_screen_reader_hears_every_control_and_what_is_wrong(desk):
    expected = {
        "button": ["OK", "Cancel", "Help", "Foreground colour...", "Background colour...",
                   "High limit colour...", "Low limit colour..."],
        "text": ["High Limit", "Low Limit", "Window Size", "Channel index", "Equation",
                 "Unit of the equation", "Transparency (1..255)"],
        "check box": ["Enable Visual Alarm", "Show Unit"],
        "radio button": ["None", "Min", "Max", "Ave", "RMS", "AC RMS", "Equation result"]}
    meter = desk.meter("Tank", "SM64")
    desk.open_dialog(meter)
    desk.find(meter, "button", "Help", DIALOG)
    heard = [(role, name) for role, name, _ in desk.spoken(meter, DIALOG)]
    assert all(name for _, name in heard)
    for role, names in expected.items():
        assert sorted(name for r, name in heard if r == role) == sorted(names)

    # A broken equation stops the meter, a mended one brings it back.
    desk.screen.keys("Tab*8 Left*2 Down Tab 'CH99+1' Tab*3 space")
    desk.says(meter, "not found in Telvix (#99+1)", MESSAGE)
    box = desk.screen.window(meter, MESSAGE)
    eventually(lambda: desk.screen.has_keyboard(box))
    desk.screen.keys("space")
    desk.shows(meter, "Error!")
    desk.open_dialog(meter)
    desk.screen.keys("Tab*11 '6*7' Tab*3 space")
    desk.shows(meter, "42.0000")


def test_debug_shows_the_equation_as_the_meter_reads_it(desk):
    desk.configure("Tank1", debug=1, Math="CH2+1")
    meter = desk.meter("Tank")
    assert desk.says(meter, "+1", "Vantoscope") == "#1+1"
    assert desk.find(meter, "button", "OK", "Vantoscope").do_action(0)
    desk.goes_on(meter)
