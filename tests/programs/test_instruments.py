# SPDX-License-Identifier: GPL-3.0-or-later
"""A multimeter on the network, as telvixd reads it and meters show it."""

import contextlib
import json
import socket
import threading

import pytest
from network import Network
from processes import eventually, program

VOLTS, MANY_VOLTS = "VOLT +1.0E+01,+1.0E-05", "VOLT +1.0E+03,+1.0E-02"
AMPERES, OVERLOAD = "CURR +1.0E+00,+1.0E-06", "+9.90000000E+37"  # the infinity of SCPI


class Multimeter:
    """Speaks SCPI over TCP: identity, function with range and resolution, reading. None is silence."""

    def __init__(self):
        self.function, self.reading, self._speaks = VOLTS, "+1.23400000E+00", threading.Event()
        self._speaks.set()
        self._clients = []
        self._server = socket.create_server(("127.0.0.1", 0))
        self.source = f"sigrok:scpi-dmm:conn=tcp-raw/127.0.0.1/{self._server.getsockname()[1]}"
        threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self):
        with contextlib.suppress(OSError):
            while True:
                self._clients.append(self._server.accept()[0])
                threading.Thread(target=self._answer, args=self._clients[-1:], daemon=True).start()

    def _answer(self, client):
        with contextlib.suppress(OSError):
            for command in client.makefile("rb"):
                answer = {b"*IDN?": "Agilent Technologies,34405A,MY1,1.0", b"*OPC?": "1",
                          b"CONF?": f'"{self.function}"', b"READ?": self.reading}.get(command.strip())
                self._speaks.wait()
                if answer:
                    client.sendall(answer.encode() + b"\n")

    def shows(self, function, reading):
        self.function, self.reading = function, reading

    def falls_silent(self):
        self._speaks.clear()

    def speaks(self):
        self._speaks.set()

    def unplug(self):
        for client in self._clients:
            with contextlib.suppress(OSError):
                client.shutdown(socket.SHUT_RDWR)
        self._server.close()


@pytest.fixture
def net(plain_desk):
    return Network(plain_desk)


@pytest.fixture
def multimeter():
    multimeter = Multimeter()
    yield multimeter
    multimeter.speaks()
    multimeter.unplug()


def test_a_multimeter_is_shown_as_it_is(net, multimeter):
    """In every range and quantity, over range, silent and speaking again, and pulled out."""
    multimeter.shows(VOLTS, OVERLOAD)
    host = net.publishing_host(multimeter.source)
    net.desk.configure("Tank1", ShowUnit=1, UserFormat="0.0########")
    meter = net.meter()
    net.desk.shows(meter, "infV DC")
    for function, reading, shown in [
            (VOLTS, "+1.23400000E+00", "1.234V DC"), (MANY_VOLTS, "+2.30000000E+02", "230.0V DC"), (MANY_VOLTS, OVERLOAD, "infV DC"),
            (MANY_VOLTS, "-" + OVERLOAD[1:], "-infV DC"), (AMPERES, "+5.00000000E-03", "0.005A DC"),
            (VOLTS, "-9.99990000E+00", "-9.9999V DC")]:
        multimeter.shows(function, reading)
        net.desk.shows(meter, shown)

    multimeter.falls_silent()
    eventually(lambda: "No new data" in meter.said())
    assert host.poll() is None and meter.poll() is None
    multimeter.speaks()
    multimeter.shows(VOLTS, "+4.00000000E+00")
    net.desk.shows(meter, "4.0V DC")

    multimeter.unplug()
    assert host.ends() == 1
    *_, last = host.said().splitlines()
    assert last.startswith("telvixd: The instrument scpi-dmm has ended: "), last
    assert meter.ends() == 0


def test_what_a_scan_finds_can_be_opened(net, multimeter):
    scan = net.desk.start(program("telvixd"), "--list", multimeter.source + ":rate=5", "--json")
    assert scan.ends() == 0
    [found] = json.loads(scan.printed())["instruments"]
    assert (found["vendor"], found["model"], found["serial"], found["analog"]) == (
        "Agilent Technologies", "34405A", "MY1", ["P1"])
    net.publishing_host(found["from"])


def test_an_instrument_that_reaches_its_limit_has_ended(net):
    host = net.host("sigrok:demo:limit_samples=500")
    assert host.ends() == 0 and "The instrument demo has ended." in host.said()


def test_a_silent_multimeter_does_not_hold_its_host(net, multimeter):
    host = net.publishing_host(multimeter.source)
    multimeter.falls_silent()
    host.terminate()
    assert host.ends(limit=2) == 0


@pytest.mark.parametrize("source, told", [
    ("scpi-dmm:conn=tcp-raw/127.0.0.1/1", "scpi-dmm: Failed to connect to 127.0.0.1:1: Connection"),
    ("metex-me31:conn=/dev/none", "metex-me31: /dev/none: No such file or directory."),
    ("metex-me31", "conn= names the place"),
    ("demo:rate=0.01", "does not sample at rate=0.01; it stays at 200000 scans per second"),
    ("demo:averaging=maybe", "no setting averaging=maybe"),
])
def test_what_an_instrument_does_not_do_is_said(net, source, told):
    host = net.host(f"sigrok:{source}")
    assert host.ends() == 1
    assert told in host.said() and host.said().count("\n") == 1
