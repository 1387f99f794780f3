# SPDX-License-Identifier: GPL-3.0-or-later
"""telvixd as a service: how it ends, what it takes while the broker does not, what it says."""

import contextlib
import os
import pathlib
import signal
import socket
import subprocess
import threading
import time

import pytest
from network import ROOT, Network
from processes import at_rest, eventually, program


@pytest.fixture
def net(plain_desk):
    return Network(plain_desk)


def test_a_broker_that_takes_nothing_costs_a_bounded_amount(net):
    """24 MB a second for longer than the bound of 64 MiB takes; then it takes all of them again, and
    then it takes none at the end."""
    host = net.publishing_host("SM64:rate=1000000,channels=12")

    def megabytes():
        status = pathlib.Path(f"/proc/{host.pid}/status").read_text()
        return int(status.split("VmRSS:")[1].split()[0]) / 1024

    def says(count, text):
        eventually(lambda: host.said().count(text) == count)

    net.broker.send_signal(signal.SIGSTOP)
    says(1, "oldest that wait are dropped")
    assert at_rest(lambda: megabytes() // 10, seconds=1) < 11
    net.broker.send_signal(signal.SIGCONT)
    says(1, "takes them all again")
    net.broker.send_signal(signal.SIGSTOP)
    says(2, "oldest that wait are dropped")
    assert_ends_in_time(host)
    net.broker.send_signal(signal.SIGCONT)
    eventually(lambda: "closed" in subprocess.run(
        ["mosquitto_sub", "--unix", f"{net.folder}/socket", "-t", f"{ROOT}/state", "-C", "1"],
        capture_output=True, text=True, check=True).stdout)


def assert_ends_in_time(host):
    host.send_signal(signal.SIGTERM)
    asked = time.monotonic()
    assert host.ends() == 0
    assert time.monotonic() - asked < 2 and "ending on SIGTERM" in host.said()


def test_the_service_manager_hears_of_it_and_signs_of_life_wait_for_no_block(net):
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
        manager.bind("\0" + net.folder.name + str(os.getpid()))
        manager.settimeout(20)
        host = net.desk.start(
            program("telvixd"), "--to", net.tcp, "--interval", "10000",
            NOTIFY_SOCKET="@" + manager.getsockname()[1:].decode(), WATCHDOG_USEC="2000000")
        told = []

        def hears(text):
            while text not in told[-1:]:
                told.append(manager.recv(999).decode())
        hears("READY=1")
        assert any(line.startswith("STATUS=") for line in told), "what it does until then"
        hears(f"STATUS=publishing SM64 under {ROOT}")
        begin = time.monotonic()
        subprocess.run(["mosquitto_sub", "--unix", f"{net.folder}/socket", "-t", f"{ROOT}/state",
                        "-R", "-C", "4"], check=True, capture_output=True)
        for _ in range(4):
            hears("WATCHDOG=1")
        assert 2 < time.monotonic() - begin < 8
        assert_ends_in_time(host)
        hears("STOPPING=1")


def test_a_broker_that_accepts_and_closes_is_left_alone_for_longer_and_longer(plain_desk):
    accepted = []
    with socket.create_server(("127.0.0.1", 0)) as broker:
        def serve():
            with contextlib.suppress(OSError):
                while True:
                    client, _ = broker.accept()
                    client.recv(999)
                    client.sendall(b"\x20\x02\x00\x00")  # accepted
                    accepted.append(time.monotonic())
                    client.close()
        threading.Thread(target=serve, daemon=True).start()
        host = plain_desk.start(program("telvixd"), "--to",
                                f"127.0.0.1:{broker.getsockname()[1]}/a")
        eventually(lambda: len(accepted) == 5)
        broker.shutdown(socket.SHUT_RDWR)
    assert accepted[4] - accepted[0] > 1.8, "at least half of 0.25, 0.5, 1 and 2 seconds"
    assert_ends_in_time(host)


@pytest.mark.parametrize("arguments, code, told", [
    (["--to", "me:secret@h/x"], 2, "VANTOSCOPE_MQTT_CREDENTIALS"),
    (["--to", "h/x", "me:secret@h"], 2, '"...@h" belongs to no option'),
    (["--to", "h/x", "--interval", "0"], 2, "--interval"),
    ([], 2, "--to is required"), (["--to", "h/x", "--json"], 2, "--json goes with --list"),
    (["--list", "sim", "--to", "h/x"], 2, "--list prints and exits"),
    (["--list", "http://me:secret@h/x"], 1, "'http://...@h/x' is of an unknown kind"),
    (["--list", "sigrok:metex-me31"], 1, "conn= names the place"),
    (["--to", "h/x", "--from", "mqtt://me:secret@h/x"], 1, "VANTOSCOPE_MQTT_CREDENTIALS"),
    (["--to", "h/x", "--from", "me:secret@h/x"], 1, "'...@h/x' cannot be opened"),
    (["--to", "h/x", "--from", "http://me:secret@h/x"], 1, "'http://...@h/x' is of an unknown kind"),
    (["--to", "h/x", "--from", "/a\n\x1b[2Jb"], 1, "/a\\n\\x1b[2Jb"),
    (["--to", "h/a\udcff"], 1, "is not UTF-8"),
    (["--to", "h/x", "--from", "sim:rate=1e6,channels=51"], 1, "gives 102 MB a second"),
    (["--help"], 0, ""),
])
def test_what_is_wrong_is_said_in_one_line_without_names_and_passwords(
        plain_desk, arguments, code, told):
    host = plain_desk.start(program("telvixd"), *arguments)
    assert host.ends() == code
    assert told in host.said() and host.said().count("\n") == (code > 0)
    assert "secret" not in host.said() and "me:" not in host.said()


@pytest.mark.parametrize("user, mode, told", [
    ("meter", 0o640, "can be read by others"), ("meter", 0o600, None),
    ("m\udce9ter", 0o600, "is not UTF-8")])
def test_a_file_with_credentials_is_looked_at(net, user, mode, told):
    file = net.desk.folder / "credentials"
    file.write_text(f"{user}\nsecret\n", errors="surrogateescape")
    file.chmod(mode)
    host = net.host(VANTOSCOPE_MQTT_CREDENTIALS=str(file))
    eventually(lambda: "publishing" in host.said() or host.poll())
    assert (told or "connected") in host.said()
    assert host.poll() == (1 if told and "UTF" in told else None)
    assert ("others" in host.said()) == (mode == 0o640)


def test_standard_descriptors_that_came_closed_are_not_taken_for_the_broker(net):
    host = net.desk.start("sh", "-c", f"exec {program('telvixd')} --to '{net.socket}' <&- >&- 2>&-")
    subprocess.run(["mosquitto_sub", "--unix", f"{net.folder}/socket", "-t", f"{ROOT}/scan", "-C",
                    "2"], check=True, capture_output=True)
    assert [os.readlink(f"/proc/{host.pid}/fd/{i}") for i in range(3)] == ["/dev/null"] * 3
