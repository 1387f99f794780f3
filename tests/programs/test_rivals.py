# SPDX-License-Identifier: GPL-3.0-or-later
"""What others write to the root of a host, and a meter that comes before its broker."""

import json
import signal
import struct
import subprocess
import time

import pytest
from network import ROOT, Network
from processes import REPOSITORY, eventually


@pytest.fixture
def net(plain_desk):
    return Network(plain_desk)


def forge(net, leaf, payload, way=None):
    path = net.folder / "payload"
    path.write_bytes(payload if isinstance(payload, bytes) else payload.encode())
    subprocess.run(["mosquitto_pub", *(way or ["--unix", f"{net.folder}/socket"]), "-q", "1", "-r",
                    "-t", f"{ROOT}/{leaf}", "-f", path], check=True)


def published(net, leaf):
    return subprocess.run(["mosquitto_sub", "--unix", f"{net.folder}/socket", "-C", "1", "-W", "5",
                           "-t", f"{ROOT}/{leaf}"], check=True, capture_output=True).stdout.decode()


def test_with_the_access_list_nobody_but_the_host_writes_its_root(plain_desk):
    folder = plain_desk.folder
    subprocess.run(["mosquitto_passwd", "-b", "-c", folder / "users", "bench1-host", "secret"],
                   check=True, capture_output=True)
    (folder / "login").write_text("bench1-host\nsecret\n")
    (folder / "login").chmod(0o600)
    net = Network(plain_desk, f"allow_anonymous true\npassword_file {folder}/users\n"
                              f"acl_file {REPOSITORY}/desktop/mosquitto.acl")
    host = net.publishing_host(VANTOSCOPE_MQTT_CREDENTIALS=f"{folder}/login")
    meter = net.live_meter()  # without a name
    info = published(net, "info")
    host.send_signal(signal.SIGSTOP)  # it would write its own over it
    by_tcp = ["-h", "127.0.0.1", "-p", net.tcp.split(":")[1].split("/")[0]]
    for leaf, payload in [("info", ""), ("state", f"closed {json.loads(info)['epoch']}")]:
        forge(net, leaf, payload, by_tcp)
        assert published(net, leaf).startswith((info, "open "))
    host.send_signal(signal.SIGCONT)
    net.desk.goes_on(meter)


def test_forged_messages_of_the_right_epoch_stop_nobody(net):
    host = net.publishing_host()
    meter = net.live_meter()
    info = published(net, "info")
    told = json.loads(info)
    epoch, channels = told["epoch"], len(told["channels"])
    now = round(time.clock_gettime(time.CLOCK_BOOTTIME) * 1e6)

    def block(first, sent):
        return struct.pack("<3sBHHQqqqII", b"TVX", 2, channels, 1, int(epoch, 16), first, sent,
                           sent, told["revision"], 0) + bytes(2 * channels)

    rival = info.replace(epoch, "00000000000000aa")
    narrow = json.dumps(told | {"channels": told["channels"][:1]})
    for leaf, payload in [("scan", block(1 << 60, now)), ("scan", block(0, now)),
                          ("scan", block(1 << 60, now + 36_000_000_000)), ("info", rival),
                          ("state", f"open 00000000000000aa {now} {now}"),
                          ("state", f"closed {epoch}"), ("info", narrow), ("info", "")]:
        forge(net, leaf, payload)
        net.desk.goes_on(meter)
    newcomer = net.live_meter("New")
    time.sleep(4)  # longer than a rival needs that is one
    for each in (meter, newcomer):
        net.desk.goes_on(each)
        assert each.said() == ""
    assert host.poll() is None and host.said().count("\n") == 2


def test_a_meter_waits_for_its_broker_and_shows_it(net):
    desk = net.desk
    net.stop_broker()
    meters = [net.meter(name, options="?wait=60") for name in ("Early", "Given-up")]
    for meter in meters:
        desk.says(meter, "cannot be reached: Connection refused.")
        assert eventually(meter.said).startswith("vantoscope: Waiting: The broker 127.0.0.1:")
    desk.find(meters[1], "button", "Cancel").do_action(0)
    assert meters[1].ends() == 1
    net.start_broker()
    net.publishing_host()
    desk.goes_on(meters[0])
    assert len(desk.screen.windows()) == 1
