"""A group of meters, opened with one command."""

import os
import shutil
import signal

from processes import eventually, program

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


def test_meters_that_cannot_be_started_are_told_and_the_first_goes_on(desk):
    alone = shutil.copy(program("vantoscope"), desk.folder / "panel")
    meter = desk.start(alone, "-dSM64:channels=3", "-nTank", "-i-1", PATH=str(desk.folder))
    desk.screen.window(meter)
    told = meter.said().splitlines()
    assert len(told) == 2 and all("cannot start" in line for line in told)
    meter.send_signal(signal.SIGTERM)
    assert meter.ends() == 0
    assert len(desk.settings("Tank1")) == 24
