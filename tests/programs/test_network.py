# SPDX-License-Identifier: GPL-3.0-or-later
"""The network host as it is used: a broker, telvixd, and meters on other machines."""

import signal
import subprocess
import time

import pytest
from desk import MESSAGE
from network import ROOT, Network
from processes import at_rest, eventually

DESIGN_TEXT = "009000"  # what a meter shows before its first reading


@pytest.fixture
def net(plain_desk):
    return Network(plain_desk)


def test_a_meter_shows_what_the_device_has(net):
    """By TCP and by socket the same number in the same picture, with unit and title, as at the
    device itself. With that range a step of the converter is a thousandth."""
    desk = net.desk
    recording = desk.folder / "run.csv"
    recording.write_text("Level [m],Temp [°C],DigIn\n1.5,-20.25,5\n")
    source = f"FI64:{recording}?loop&rate=50&range=-32.768..32.767"
    net.publishing_host(source)
    for index, shown, title in [(0, "1.500m", "1"), (1, None, "DigIn"), (2, "-20.250°C", "2")]:
        for way, device in [("Direct", source), ("Tcp", f"MQ64:{net.tcp}"),
                            ("Socket", f"MQ32:{net.socket}")]:
            desk.configure(f"{way}{index + 1}", ShowUnit=1, UserFormat="0.000")
            meter = desk.meter(way, device, index)
            desk.screen.window(meter, f"{way} Channel {title}")
            shown = shown or eventually(
                lambda m=meter: (now := desk.reading(m)) != DESIGN_TEXT and now)
            desk.shows(meter, shown)
            meter.end()


def test_a_frozen_host_is_not_taken_for_fresh(net):
    desk = net.desk
    host = net.publishing_host()
    meter = net.live_meter()
    host.send_signal(signal.SIGSTOP)
    at_rest(lambda: desk.reading(meter), seconds=1)
    late = net.meter("Late")  # it gets the block that the broker kept
    desk.screen.window(late)
    assert at_rest(lambda: desk.reading(late), seconds=1) == DESIGN_TEXT
    assert meter.poll() is None
    host.send_signal(signal.SIGCONT)
    desk.goes_on(meter)
    desk.goes_on(late)


@pytest.mark.parametrize("persistence", ["false", "true"])
def test_meters_go_on_when_the_broker_is_restarted(plain_desk, persistence):
    net = Network(plain_desk, persistence=persistence)
    host = net.publishing_host()
    meter = net.live_meter()
    net.stop_broker()
    at_rest(lambda: net.desk.reading(meter), seconds=0.7)
    net.start_broker()
    net.desk.goes_on(meter)
    assert host.poll() is None and meter.poll() is None
    assert "trying again" in host.said()


def test_a_root_has_one_host(net):
    host = net.publishing_host()
    meter = net.live_meter()
    second = net.host("SM64:channels=3")
    assert second.ends() == 1
    assert "another host publishes there already" in second.said()
    net.desk.goes_on(meter)

    # Frozen and replaced: meters follow the new one, and the old one leaves when it wakes.
    host.send_signal(signal.SIGSTOP)
    heir = net.publishing_host()
    net.desk.goes_on(meter)
    host.send_signal(signal.SIGCONT)
    assert host.ends() == 1
    assert "another host has taken over" in host.said()
    net.desk.goes_on(meter)

    # Replaced by one with other channels: never a wrong value under a right label.
    heir.send_signal(signal.SIGSTOP)
    net.publishing_host("SM64:channels=3")
    assert meter.ends() == 0


def test_foreign_payloads_are_ignored(net):
    host = net.publishing_host()
    meter = net.live_meter()
    for leaf in ("info", "state", "scan"):
        for text in ("", "x", '{"format":1}', "closed 0000000000000001"):
            subprocess.run(["mosquitto_pub", "--unix", f"{net.folder}/socket", "-q", "1",
                            "-t", f"{ROOT}/{leaf}", "-m", text], check=True)
    for _ in range(6):  # ticks, together longer than a farewell stands before it counts
        net.desk.goes_on(meter)
    assert host.poll() is None and meter.poll() is None and not meter.said()


@pytest.mark.parametrize("how, code, told", [
    ("device", 0, "run.csv' is gone"), ("SIGTERM", 0, "ending on"), ("SIGKILL", -9, "")])
def test_a_host_that_ends_is_gone_within_two_seconds(net, how, code, told):
    recording = net.desk.folder / "run.csv"

    def seconds():
        recording.write_text("Level\n1.5\n")
        host = net.publishing_host(f"FI64:{recording}?follow")
        meter = net.meter()
        net.desk.screen.window(meter)
        if how == "device":
            recording.unlink()
        else:
            host.send_signal(signal.Signals[how])
        assert host.ends() == code and told in host.said()
        ended = time.monotonic()
        assert meter.ends() == 0
        return time.monotonic() - ended

    # The slowest tells what else the machine did.
    assert any(seconds() < 2 for _ in range(3))
    assert len(net.desk.settings("Tank1")) == 24


def test_a_group_that_ends_at_once_loses_nothing(net):
    """Sixteen meters save at the same moment into a file that holds lines of others, and four of
    them are killed while they do."""
    desk, names = net.desk, [f"Bench{i}-" for i in range(16)]
    foreign = "\ufeff; of the bench\r\n\r\nstray line\n[Foreign]\r\nkey = caf\u00e9\r\n# end\r\n"
    desk.settings_file.parent.mkdir(parents=True)
    desk.settings_file.write_text(
        foreign + "".join(f"[{name}1]\r\nAverageLength=5 \r\nunknown=1\r\n" for name in names[::2]),
        newline="")
    before = desk.settings_file.read_bytes()
    host = net.publishing_host()
    meters = [net.meter(name) for name in names]
    for meter in meters:
        eventually(lambda m=meter: desk.reading(m) not in (None, DESIGN_TEXT))
    host.kill()
    eventually(lambda: desk.settings_file.read_bytes() != before)
    for meter in meters[:4]:
        meter.kill()
    for name, meter in zip(names[4:], meters[4:]):
        assert meter.ends() == 0 and meter.said().endswith(" has closed.\n")
        saved = desk.settings(f"{name}1")
        assert saved.pop("unknown", "1") == "1"
        assert len(saved) == 24
        assert saved["AverageLength"] == ("5" if name in names[::2] else "3")
    text = desk.settings_file.read_bytes().decode()
    assert text.startswith(foreign)
    assert all(text.count(f"[{name}1]") == 1 for name in names[4:])


def test_failing_meters_of_a_group_share_one_box(plain_desk):
    """The broker takes the host, the first meter and one or two more."""
    net = Network(plain_desk, "allow_anonymous true\nmax_connections 3")
    net.publishing_host("SM64:channels=8")
    first = net.live_meter(index=-1)

    def failed():
        told = [line for line in first.said().splitlines() if "cannot be reached" in line]
        open_ = [w for w in plain_desk.screen.windows() if w[1].startswith("Tank Channel")]
        return len(told) + len(open_) == 8 and told
    told = eventually(failed)
    assert len(told) >= 4 and all(line.startswith("vantoscope: The broker") for line in told)
    plain_desk.says(first, f"{len(told)} of the 7 further meters of this group did not start.")
    assert [title for _, title, _ in plain_desk.screen.windows()].count(MESSAGE) == 1


def test_what_cannot_be_opened_says_why(net):
    def why(source, **environment):
        host = net.host(source, **environment)
        assert host.ends() == 1
        assert host.said().count("\n") == 1
        return host.said()

    here = f"mqtt://{net.tcp}?wait=0.3"
    assert f'No host publishes under "{ROOT}"' in why(here)
    assert "broker /nowhere/socket cannot be reached" in why("MQ64:/nowhere/socket!a")
    assert "no driver 'no-such-driver'" in why("sigrok:no-such-driver")
    host = net.publishing_host()
    host.send_signal(signal.SIGTERM)
    host.ends()
    assert "has closed" in why(here)
    assert "cannot be reached" in why(f"{here}&tls")
    net.stop_broker()
    assert "cannot be reached" in why(here)
    assert "refuses the connection" in why(
        f"mqtt://{Network(net.desk, 'allow_anonymous false').tcp}")


def test_user_name_password_and_tls(plain_desk):
    folder = plain_desk.folder
    for command in (
            ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
             "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", "key.pem",
             "-out", "cert.pem"],
            ["mosquitto_passwd", "-b", "-c", "users", "meter", "secret"]):
        subprocess.run(command, cwd=folder, check=True, capture_output=True)
    (folder / "right").write_text("meter\nsecret\n")
    (folder / "wrong").write_text("meter\nopen sesame\n")
    net = Network(plain_desk, f"allow_anonymous false\npassword_file {folder}/users\n"
                              f"certfile {folder}/cert.pem\nkeyfile {folder}/key.pem")
    trusted, right = f"?cafile={folder}/cert.pem", {
        "VANTOSCOPE_MQTT_CREDENTIALS": f"{folder}/right"}
    net.publishing_host(to=net.tcp + trusted, **right)
    net.live_meter(options=trusted, **right)
    for options, credentials, told in [
            ("?tls&wait=1", right, "cannot be reached"),  # a certificate that nobody trusts
            (trusted, {"VANTOSCOPE_MQTT_CREDENTIALS": f"{folder}/wrong"}, "refuses")]:
        host = net.host(f"mqtt://{net.tcp}{options}", **credentials)
        assert host.ends() == 1
        assert told in host.said() and "sesame" not in host.said()


def test_an_instrument_of_the_library_is_published(net):
    """The library's demo: its first channel is a square wave of 10 V to either side. Behind its
    analog channels stands the digital input, and last the highest analog number."""
    desk = net.desk
    host = net.publishing_host("sigrok:demo:rate=2000")
    last = int(host.said().split("publishing ")[1].split()[0]) - 1
    desk.configure("Rate1", AverageMode=6, Math="RATE", UserFormat="0.0")
    desk.configure("Square1", AverageMode=4, AverageLength=400, UserFormat="0.00", ShowUnit=1)
    desk.shows(net.meter("Rate"), "2000.0")
    square = net.meter("Square")
    desk.says(square, "10.00V")
    desk.screen.window(square, "Square Channel 1")
    desk.screen.window(net.meter("Digital", last - 1), "Digital Channel DigIn")
    desk.screen.window(net.meter("Last", last), f"Last Channel {last}")
    host.send_signal(signal.SIGINT)
    assert host.ends() == 0, host.said()
