# SPDX-License-Identifier: GPL-3.0-or-later
"""The window of a meter: where it stands, its two looks, the settings button, its colours."""

import pathlib
import signal

import pytest
from desk import DIALOG, TWIPS_PER_PIXEL
from processes import at_rest, eventually, settles

# Stored in twips (15 to the logical pixel, most of them between two), expected in pixels of the
# screen: at 150 % ten twips are one, at 200 % seven and a half.
RESTARTS = {
    #              scale   left   top  width height border   x    y    width height
    "Framed":      ("1", (1500, 1500, 3000, 1000, 5), (100, 100, 200, 67)),
    "Bare":        ("1", (6000, 1500, 3000, 1000, 0), (400, 100, 200, 67)),
    "Between":     ("1", (10507, 1511, 3007, 1511, 5), (700, 101, 200, 101)),
    "Right":       ("1", (18000, 6000, 3000, 1500, 5), (1200, 400, 200, 100)),
    "Left":        ("1", (-1515, 6000, 3000, 1500, 0), (-101, 400, 200, 100)),
    "FramedHalf":  ("1.5", (1503, 5002, 3011, 1513, 5), (150, 500, 301, 151)),
    "OddHalf":     ("1.5", (6012, 5013, 3024, 1496, 5), (601, 501, 302, 150)),
    "BareHalf":    ("1.5", (9994, 4996, 2987, 1493, 0), (999, 500, 299, 149)),
    "FramedTwice": ("2", (1508, 6008, 2505, 1508, 5), (201, 801, 334, 201)),
    "OddTwice":    ("2", (5250, 6000, 2512, 1500, 5), (700, 800, 335, 200)),
    "BareTwice":   ("2", (5255, 1508, 2250, 1500, 0), (701, 201, 300, 200)),
    "LeftTwice":   ("2", (-1133, 3008, 3000, 1508, 5), (-151, 401, 400, 201)),
}


def test_restarted_meters_do_not_wander(each_desk):
    """Meters that run at the same time, closed before they stand, and ended by a signal when they
    do. Nothing of what is saved may change."""
    desk, screen = each_desk, each_desk.screen
    for name, (_, place, _) in RESTARTS.items():
        desk.place(f"{name}1", *place)
    saved = []
    for patient in (False, True):
        meters = {}
        for name, (scale, _, _) in RESTARTS.items():
            meters[name] = desk.meter(name, QT_SCALE_FACTOR=scale)
            if patient:  # one by one, so that none waits long for its place
                screen.window(meters[name])
        windows = {name: screen.window(meter) for name, meter in meters.items()}
        if patient:
            wanted = {name: outer for name, (_, _, outer) in RESTARTS.items()}
            at_last = settles(lambda w=windows: {name: screen.outer(w[name]) for name in w}, wanted)
            assert at_last == wanted
        for name, meter in meters.items():
            if patient:
                meter.send_signal(signal.SIGTERM)
            else:
                screen.close(windows[name])
        for name, meter in meters.items():
            assert meter.ends() == 0, meter.said()
            place = [desk.number(f"{name}1", f"Window {side}")
                     for side in ("Left", "Top", "Width", "Height")]
            assert place == list(RESTARTS[name][1][:4]), name
        saved.append([desk.settings(f"{name}1") for name in RESTARTS])
    assert saved[0] == saved[1]


def test_first_place_is_kept(each_desk):
    """The platform chooses it; from then on it is the meter's."""
    seen = []
    for _ in range(2):
        meter = each_desk.meter("New")
        window = each_desk.screen.window(meter)

        def rests_framed():
            place = at_rest(lambda w=window: each_desk.screen.outer(w))
            return place[2:] == (200, 67) and place
        place = eventually(rests_framed)
        each_desk.screen.close(window)
        assert meter.ends() == 0
        assert each_desk.number("New1", "Window Left") == place[0] * TWIPS_PER_PIXEL
        assert each_desk.number("New1", "Window Top") == place[1] * TWIPS_PER_PIXEL
        seen.append((place, each_desk.settings("New1")))
    assert seen[0] == seen[1]


def test_swap_of_looks_keeps_the_outer_rectangle(each_desk):
    desk, screen = each_desk, each_desk.screen
    desk.place("Swap1", 3000, 3000, 3000, 1500, Transparency=51)
    meter = desk.meter("Swap")
    place = (200, 200, 200, 100)
    window = desk.settle(meter, place)
    assert screen.stays_on_top(window)
    for _ in range(2):
        screen.swap_look(window, bare=True)
        assert screen.opacity(window) == 51
        assert desk.settle(meter, place)
        assert screen.frame(window) == (0, 0, 0, 0)
        screen.swap_look(window, bare=False)
        assert screen.opacity(window) == 255
        assert desk.settle(meter, place)
        assert screen.stays_on_top(window)
    screen.close(window)
    assert meter.ends() == 0
    assert desk.number("Swap1", "Window Left") == 3000
    assert desk.number("Swap1", "Window Height") == 1500


def test_pointer_places_frame_and_host_close_reach_the_file(desk):
    screen = desk.screen
    desk.place("Tank1", 3000, 3000, 3000, 1500, Always_On_Top=-2)
    recording = desk.folder / "run.csv"
    recording.write_text("Level [m]\n1.5\n1.6\n")
    meter = desk.meter("Tank", f"{recording}?follow")
    window = desk.settle(meter, (200, 200, 200, 100))
    assert not screen.stays_on_top(window)
    assert screen.drag(window, (270, 208), (370, 258)) == (300, 250, 200, 100)  # the title bar
    place = screen.drag(window, (499, 349), (539, 379))  # a corner
    assert place[2] > 230 and place[3] > 120
    screen.swap_look(window, bare=True)
    desk.settle(meter, place)
    recording.unlink()
    assert meter.ends() == 0, meter.said()
    saved = [desk.number("Tank1", f"Window {side}") for side in ("Left", "Top", "Width", "Height")]
    assert saved == [pixels * TWIPS_PER_PIXEL for pixels in place]
    assert desk.settings("Tank1")["BorderStyle"] == "0"
    again = desk.meter("Tank")
    assert screen.frame(desk.settle(again, place)) == (0, 0, 0, 0)


def test_meter_outside_every_screen_comes_back(each_desk):
    """By whole screens; a side that is not stored is where the platform puts it."""
    desk = each_desk
    desk.place("Right1", 20700, 1500, 3000, 1500, border=0)
    desk.place("Above1", 1500, -2000000000, 3000, 1500)
    desk.place("Huge1", 0, 0, 2000000000, 2000000000, border=0)
    desk.configure("Side1", Window_Left=18300)
    right, above, huge, side = (desk.meter(n) for n in ("Right", "Above", "Huge", "Side"))
    desk.settle(right, (100, 100, 200, 100))
    desk.settle(above, (100, 107, 200, 100))
    assert desk.screen.window(huge)
    window = desk.screen.window(side)
    eventually(lambda: desk.screen.outer(window)[0] == 1080)
    right.send_signal(signal.SIGTERM)
    assert right.ends() == 0
    assert desk.number("Right1", "Window Left") == 100 * TWIPS_PER_PIXEL


def test_a_screen_that_shrinks_takes_no_meter_with_it(make_desk, own_screen):
    desk = make_desk(own_screen)
    desk.place("Framed1", 15000, 13500, 3000, 1500)
    desk.place("Bare1", 18000, 1500, 3000, 1500, border=0)
    desk.place("Half1", 4500, 8400, 3000, 1500, border=0)
    meters = {name: desk.meter(name) for name in ("Framed", "Bare", "Half")}
    desk.settle(meters["Framed"], (1000, 900, 200, 100))
    own_screen.resize(800, 600)
    desk.settle(meters["Framed"], (200, 300, 200, 100))
    desk.settle(meters["Bare"], (400, 100, 200, 100))
    desk.settle(meters["Half"], (300, 560, 200, 100))
    meters["Framed"].send_signal(signal.SIGTERM)
    assert meters["Framed"].ends() == 0
    assert desk.number("Framed1", "Window Left") == 200 * TWIPS_PER_PIXEL


def test_a_maximised_size_is_not_the_meters_own(desk):
    desk.place("Tank1", 3000, 4500, 3007, 1511)
    meter = desk.meter("Tank")
    window = desk.settle(meter, (200, 300, 200, 101))
    desk.screen.maximise(window)
    desk.settle(meter, (0, 0, 1280, 960))
    desk.screen.point(30, 500)  # the button stands where the window is
    eventually(lambda: desk.button_is(meter, "SHOWING", "Settings"))
    meter.send_signal(signal.SIGTERM)
    assert meter.ends() == 0
    saved = [desk.number("Tank1", f"Window {side}") for side in ("Left", "Top", "Width", "Height")]
    assert saved == [3000, 4500, 3007, 1511]


@pytest.mark.parametrize("scale", ["1", "1.25", "1.75", "2"])
def test_whoever_moves_a_window_wins_at_once(desk, scale):
    """In each look, as soon as it stands; of odd sizes, which a scaled desktop must grant."""
    screen = desk.screen
    desk.place("Tank1", 1500, 3000, 3000, 1500)
    meter = desk.meter("Tank", QT_SCALE_FACTOR=scale)
    wanted = tuple(round(n * float(scale)) for n in (100, 200, 200, 100))
    window = screen.window(meter)
    for bare in (False, True, False):
        assert desk.settle(meter, wanted) and any(screen.frame(window)) != bare
        wanted = tuple(n + d for n, d in zip(wanted, (61, 33, 13, 11)))
        screen.place(window, wanted)
        assert desk.settle(meter, wanted)
        screen.swap_look(window, bare=not bare)
    meter.send_signal(signal.SIGTERM)
    assert meter.ends() == 0
    saved = [float(desk.settings("Tank1")[f"Window {side}"]) * float(scale) / TWIPS_PER_PIXEL
             for side in ("Left", "Top", "Width", "Height")]
    assert [round(pixels) for pixels in saved] == list(wanted)


def test_settings_button_comes_with_the_pointer(desk):
    """In the 52 pixels right of the window's left edge, at any height; never in the bare look."""
    screen = desk.screen
    desk.place("Tank1", 6000, 6000, 3000, 1500, AverageMode=6, Math="CH7")
    meter = desk.meter("Tank", "sim")
    window = desk.settle(meter, (400, 400, 200, 100))

    def button():
        return desk.button_is(meter, "SHOWING", "Settings")

    for x, y, shown in [(400, 450, True), (399, 450, False), (451, 450, True), (452, 450, False),
                        (451, 5, True), (452, 955, False), (400, 955, True)]:
        screen.point(x, y)
        eventually(lambda: button() == shown)
    screen.swap_look(window, bare=True)
    screen.point(425, 450)
    for _ in range(3):  # ticks of the reading, each two of the pointer's
        desk.goes_on(meter)
        assert not button()
    screen.swap_look(window, bare=False)
    screen.point(425, 450)
    eventually(button)
    screen.click(425, 440)
    assert screen.window(meter, DIALOG)


def test_pointer_at_rest_is_not_asked_for_until_it_is_used(plain_desk):
    """A standing reading paints nothing, so what the display answers then is where the pointer is."""
    screen = plain_desk.screen
    plain_desk.place("Tank1", 6000, 6000, 3000, 1500, AverageMode=6, Math="1")
    meter = plain_desk.meter("Tank")
    plain_desk.settle(meter, (400, 400, 200, 100))

    def answers():
        threads = pathlib.Path(f"/proc/{meter.pid}/task").iterdir()
        listener = next(t for t in threads if "QXcbEventQueue" in (t / "comm").read_text())
        return (listener / "status").read_text().partition("\nvoluntary_ctxt_switches:")[2]

    for moves, shown in [(lambda: screen.root.warp_pointer(425, 5), True),
                         (lambda: screen.point(700, 450), False)]:
        at_rest(answers, seconds=0.5)
        moves()
        screen.x.sync()
        eventually(lambda: plain_desk.button_is(meter, "SHOWING", "Settings") == shown, limit=1)


def test_alarm_colours_reach_the_screen(plain_desk):
    """Each on a yellow ground, as pixels; 255 is red, 16711680 blue."""
    desk, screen = plain_desk, plain_desk.screen
    limits = {"High": ("High_Limit_Value", -1000, 0xFF0000), "In": ("debug", 0, 0x008000),
              "Low": ("Low_Limit_Value", 900, 0x0000FF)}
    meters = {}
    for row, (name, (key, value, _)) in enumerate(limits.items()):
        desk.place(f"{name}1", 0, row * 3000, 4500, 1500, border=0, Alarm_Enabled=True,
                   Background_Color=65535, Foreground_Color=32768, High_Limit_Color=255,
                   Low_Limit_Color=16711680, **{key: value})
        meters[name] = desk.meter(name)
    for row, (name, (_, _, color)) in enumerate(limits.items()):
        area = screen.client(desk.settle(meters[name], (0, row * 200, 300, 100)))

        def coloured():
            pixels = screen.pixels(area)
            return pixels[color] > 1500 and pixels[0xFFFF00] > 15000
        eventually(coloured)
