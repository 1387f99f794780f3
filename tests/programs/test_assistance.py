# SPDX-License-Identifier: GPL-3.0-or-later
"""A meter for who works by keyboard and by ear."""

import datetime
import subprocess

from desk import Atspi, GLib
from processes import eventually


def clipboard(desk):
    return subprocess.run(["xclip", "-out", "-selection", "clipboard"], env=desk.environment,
                          capture_output=True, text=True, timeout=10, check=False).stdout


def test_keys_copy_the_reading_and_swap_the_look(desk):
    screen = desk.screen
    desk.place("Tank1", 3000, 3000, 6000, 1500, Math="85/2", AverageMode=6, MathUnit="l/s",
               UserFormat="0.0", Transparency=51)
    meter = desk.meter("Tank")
    window = screen.window(meter)
    eventually(lambda: screen.has_keyboard(window))
    desk.shows(meter, "42.5")
    screen.key("c", "Control_L")
    eventually(lambda: clipboard(desk) == "42.5")
    screen.key("c", "Control_L", "Shift_L")
    eventually(lambda: "\t" in clipboard(desk))
    number, unit, channel, time = clipboard(desk).split("\t")
    assert (number, unit, channel) == ("42.5", "l/s", "Tank Channel 1")
    age = datetime.datetime.now().astimezone() - datetime.datetime.fromisoformat(time)
    assert datetime.timedelta(seconds=-1) < age < datetime.timedelta(seconds=30)
    for opacity, frame in [(51, False), (255, True)]:
        eventually(lambda: screen.has_keyboard(window))
        screen.key("F11")
        eventually(lambda o=opacity: screen.opacity(window) == o)
        eventually(lambda f=frame: any(screen.frame(window)) == f)


def test_a_screen_reader_finds_a_value_and_hears_what_changes(desk):
    recording = desk.folder / "run.csv"
    recording.write_text("Time [s],Level [m]\n0,0\n0.1,1.5\n0.2,2\n")
    desk.configure("Tank1", High_Limit_Value=10, Alarm_Enabled="True",
                   UserFormat="0.0")
    heard, floods = [], []

    def on_event(event):
        if event.type.startswith("object:state-changed:showing"):
            if event.source.get_role() == Atspi.Role.NOTIFICATION:
                heard.append(event.source.get_name())
        elif event.type.startswith("object:announcement"):  # from Qt 6.8 on
            heard.append(event.any_data)
        elif "description" not in event.type:
            floods.append(event.type)

    listener = Atspi.EventListener.new(on_event)
    for kind in ("state-changed:showing", "announcement"):
        listener.register(f"object:{kind}")

    def hears(what):
        def look():
            while GLib.MainContext.default().iteration(False):
                pass
            return [sentence for sentence in heard if what in sentence]
        return eventually(look)[-1]

    meter = desk.meter("Tank", f"{recording}?follow")
    desk.shows(meter, "2.0")
    found = {role: o for role, _, o in desk.spoken(meter)}
    assert found.keys() == {"frame", "reading", "button"}
    reading = found["reading"]
    assert reading.get_name() == "Tank Channel 1"
    assert reading.get_description().startswith("Unit m.")
    assert reading.get_state_set().contains(Atspi.StateType.READ_ONLY)
    value = [Atspi.Value.get_minimum_value(reading), Atspi.Value.get_current_value(reading),
             Atspi.Value.get_maximum_value(reading)]
    assert value[0] <= 0 and value[1] == 2 and value[2] >= 2
    assert hears("No new data").startswith("Tank Channel 1: No new data for 2 s")
    # A screen reader speaks up at every change of a name, value or text that has the keyboard.
    for kind in ("property-change", "text-changed"):
        listener.register(f"object:{kind}")
    for level, sentence in [("12", "The reading is live again."), ("3", "The alarm is over: 3.0 m.")]:
        with recording.open("a") as file:
            print(f"0.3,{level}", file=file)
        hears(sentence)
    assert any("High alarm: 12.0 m." in sentence for sentence in heard)
    assert not floods
    for kind in ("state-changed:showing", "property-change", "text-changed"):
        listener.deregister(f"object:{kind}")
