# SPDX-License-Identifier: GPL-3.0-or-later
"""A group of meters, opened with one command."""

import os
import shutil
import signal
import types

from desk import MESSAGE
from network import Network
from processes import eventually, program, settles

CHANNELS = ["1", "2", "3", "4", "5", "6", "7", "8", "DigIn", "Cntr", "RCntr", "999"]


def test_one_command_opens_a_meter_for_every_channel(desk):
    """With nothing of the program on PATH, through a link of another name, and with a name that a
    shell would act upon."""
    screen, name = desk.screen, "A_$(touch${IFS}x);`id`&|>*'\"\\"
    (desk.folder / "panel").symlink_to(program("vantoscope"))
    first = desk.start(desk.folder / "panel", "-DSM64", f"-N{name}", "-I-1", PATH=str(desk.folder))
    titles = [f"{name.replace('_', ' ')} Channel {channel}" for channel in CHANNELS]

    def all_there():
        return sorted(title for _, title, _ in screen.windows()) == sorted(titles)
    eventually(all_there)
    processes = desk.processes()
    words = sorted((words[1:] for pid, words in processes.items() if pid != first.pid),
                   key=lambda w: int(w[-1][2:]))
    assert words == [["-dSM64", f"-n{name}", f"-i{index}"] for index in range(1, len(CHANNELS))]

    # Each on its own: no child of the first, in a session of its own, without its focus.
    with open(f"/proc/{first.pid}/task/{first.pid}/children", encoding="ascii") as children:
        assert children.read() == ""
    assert len({os.getsid(pid) for pid in processes}) > 1
    assert all(os.getsid(pid) != os.getsid(first.pid) for pid in processes if pid != first.pid)
    form = screen.window(first)
    eventually(lambda: screen.has_keyboard(form))
    for pid in processes:
        os.kill(pid, signal.SIGTERM)
    assert first.ends() == 0 and first.said() == ""
    eventually(lambda: not desk.processes())
    for index in range(len(CHANNELS)):
        saved = desk.settings(f"{name.replace('_', ' ')}{index + 1}")
        assert len(saved) == 24 and saved["Caption"] == f"Channel {CHANNELS[index]}"
    assert [entry.name for entry in desk.folder.iterdir() if entry.name[0] != "."] == ["panel"]


def test_a_further_meter_is_a_process_like_any_other(desk):
    """Whatever the first one was started with: nothing of it but the standard descriptors."""
    first = desk.start("env", "--ignore-signal=HUP", "--block-signal=USR1", "sh", "-c",
                       'exec "$0" -dSM64:channels=4 -nTank -i-1 7<"$0" <&-', program("vantoscope"))
    held = set()
    for index in range(4):
        window = eventually(lambda i=index: [w for _, title, w in desk.screen.windows()
                                             if title == f"Tank Channel {i + 1}"])[0]
        pid = desk.screen.numbers(window, "_NET_WM_PID")[0]
        assert window.get_wm_class() == ("vantoscope", "vantoscope")
        files = {fd: os.readlink(f"/proc/{pid}/fd/{fd}") for fd in os.listdir(f"/proc/{pid}/fd")}
        own = {name for fd, name in files.items() if int(fd) > 2 and name[:6] in ("socket", "pipe:[")}
        assert own and not own & held  # the display's, the bus's
        held |= own
        if pid != first.pid:
            state = dict(line.split(":\t") for line in open(f"/proc/{pid}/status").read().splitlines())
            assert (state["Name"], state["NSsid"], int(state["SigBlk"], 16)) == (
                "vantoscope", str(pid), 0)
            assert int(state["SigIgn"], 16) & 1 << signal.SIGHUP - 1 == 0
            assert files["0"] == "/dev/null" and program("vantoscope") not in files.values()


def test_nobody_notices_a_nursery_that_dies(plain_desk):
    """It has one thread and no connection, and is killed while the first meter waits for a host."""
    net = Network(plain_desk)
    first = net.meter(index=-1)
    nursery = eventually(lambda: [p for p, words in plain_desk.processes().items()
                                  if words == ["vantoscope"]])[0]
    assert os.listdir(f"/proc/{nursery}/task") == [str(nursery)]
    assert len(os.listdir(f"/proc/{nursery}/fd")) == 4
    os.kill(nursery, signal.SIGKILL)
    net.publishing_host("SM64:channels=4")

    def indices():
        return sorted(words[-1] for pid, words in plain_desk.processes().items()
                      if words[0] == "vantoscope" and pid != first.pid)
    assert settles(indices, ["-i1", "-i2", "-i3"]) == ["-i1", "-i2", "-i3"]
    eventually(lambda: len(plain_desk.screen.windows()) == 4)


def test_meters_without_a_place_stand_in_a_grid(each_desk):
    """Row by row beside the panel; a stored place wins, and its cell stays free."""
    desk, screen = each_desk, each_desk.screen
    desk.place("A3", 6000, 9000, 3000, 1500)
    with screen.panel(40):
        desk.start(program("vantoscope"), "-dsim", "-nA", "-i-1")
        wanted = {f"A Channel {channel}": (40 + i % 6 * 208, i // 6 * 75, 200, 67)
                  for i, channel in enumerate(CHANNELS)}
        wanted["A Channel 3"] = (400, 600, 200, 100)
        places = settles(lambda: {n: screen.outer(w) for _, n, w in screen.windows() if n}, wanted)
        assert places == wanted


def test_meters_that_cannot_be_started_are_told_and_the_first_goes_on(desk):
    alone = shutil.copy(program("vantoscope"), desk.folder / "panel")
    meter = desk.start(alone, "-dSM64:channels=3", "-nTank", "-i-1", PATH=str(desk.folder))
    desk.screen.window(meter)
    told = meter.said().splitlines()
    assert len(told) == 2 and all("cannot start" in line for line in told)
    assert "Indices 1 and 2: The program vantoscope cannot be" in desk.says(meter, "None", MESSAGE)
    meter.send_signal(signal.SIGTERM)
    assert meter.ends() == 0
    assert len(desk.settings("Tank1")) == 24


def test_meters_that_fail_are_named_in_one_box_beside_the_first(desk):
    """And the others inherit the standard descriptors and no more, none of them closed."""
    wrapper, panel, real = desk.folder / "vantoscope", desk.folder / "panel", program("vantoscope")
    wrapper.write_text(f"""#!/bin/sh
        case $3 in -i[12]) shift; set -- -d/none.csv "$@";; -i3) exit 1;; esac
        [ $3 != -i4 ] || DISPLAY=:65000
        exec {real} "$@" """)
    wrapper.chmod(0o755)
    shutil.copy(real, panel)
    first = desk.start("sh", "-c", 'exec "$0" -dSM64:channels=6 -nTank -i-1 7<"$0" <&-', panel)
    fifth = eventually(lambda: [p for p, args in desk.processes().items() if args[-1] == "-i5"])[0]
    desk.screen.window(types.SimpleNamespace(pid=fifth))
    files = {fd: os.readlink(f"/proc/{fifth}/fd/{fd}") for fd in os.listdir(f"/proc/{fifth}/fd")}
    assert files["0"] == "/dev/null" and str(panel) not in files.values()
    os.kill(fifth, signal.SIGTERM)  # it has started, which is all that counts
    assert desk.says(first, "further meters", MESSAGE).split("\n\n") == [
        "4 of the 5 further meters of this group did not start.",
        "Indices 1 and 2: The recording '/none.csv' cannot be opened: No such file or directory.",
        "Index 3: It ended before its window opened.",
        "Index 4: No window can be opened on the display :65000."]
    assert [*map(first.said().count, ("/none", "ended before", ":65000"))] == [2, 1, 1]
    desk.goes_on(first)
    desk.screen.close(desk.screen.window(first, "Tank"))
    assert first.ends() == 0


def test_a_group_without_a_device_is_told_and_marked(desk):
    first = desk.start(program("vantoscope"), "run.csv", "-nTank", "-i-1")
    assert "first word" in desk.says(first, "No device was named", MESSAGE)
    desk.screen.close(desk.screen.window(first))
    second = eventually(lambda: [p for p, words in desk.processes().items() if words[-1] == "-i1"])
    for pid in first.pid, *second:
        eventually(lambda: any("simulator" in said.get_description()
                               for _, _, said in desk.spoken(types.SimpleNamespace(pid=pid))))
    assert first.said().count("\"-drun.csv\"") == 1


def test_meters_that_share_a_section_say_so(desk):
    first = desk.meter("Tank1")
    desk.screen.window(first, "Tank1")
    second = desk.meter("Tank", index=10)
    eventually(lambda: "section [Tank11] too" in second.said())
    assert "Tank11" not in first.said()


def test_no_meter_launches_a_session_bus(desk):
    """The one in the runtime folder is used, as on a desk; over ssh there is none."""
    launcher = desk.folder / "dbus-launch"
    launcher.write_text(f"#!/bin/sh\ntouch {desk.folder}/launched")
    launcher.chmod(0o755)
    path = f"{desk.folder}:{os.environ['PATH']}"
    alone = desk.meter("A", DBUS_SESSION_BUS_ADDRESS="", XDG_RUNTIME_DIR="", PATH=path)
    desk.screen.window(alone, "A")
    there = desk.meter("B", DBUS_SESSION_BUS_ADDRESS="", PATH=path)
    desk.goes_on(there)  # as a screen reader hears it
    assert not (desk.folder / "launched").exists()
