# SPDX-License-Identifier: GPL-3.0-or-later
"""A private broker on a loopback port and a Unix socket, with hosts that publish there and meters
that show what they publish."""

import contextlib
import random
import shutil
import signal
import socket
import threading
import time

from processes import answers, eventually, program

ROOT = "lab/bench1"
MOSQUITTO = shutil.which("mosquitto") or "/usr/sbin/mosquitto"


def _free_port():
    """Below those that the system hands out, so that no client can take it in a restart."""
    port = random.randrange(20000, 32000)
    return not answers(socket.AF_INET, ("127.0.0.1", port)) and port


class Link:
    """A road to a broker on another port of its own, which can be slowed or cut without either end
    being told."""

    def __init__(self, to):
        self.bytes_per_second = 1e9
        self.is_cut = False
        self._to = to
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            near = self._listener.accept()[0]
            # Nothing may wait unseen in the buffers of the system.
            near.setsockopt(socket.SOL_SOCKET, socket.SO_SNDBUF, 4096)
            try:
                far = socket.create_connection(self._to)
            except OSError:
                near.close()
                continue
            for one, other in ((near, far), (far, near)):
                threading.Thread(target=self._carry, args=(one, other), daemon=True).start()

    def _carry(self, one, other):
        with contextlib.suppress(OSError), one, other:
            while piece := one.recv(2048):
                time.sleep(len(piece) / self.bytes_per_second)
                while self.is_cut:
                    time.sleep(0.05)
                other.sendall(piece)
            other.shutdown(socket.SHUT_RDWR)


class Network:
    def __init__(self, desk, listener="allow_anonymous true", persistence="false"):
        """`listener` is what the configuration says of the TCP listener."""
        self.desk = desk
        self.folder = desk.folder / f"broker{len(list(desk.folder.glob('broker*')))}"
        self.folder.mkdir()
        self._port = eventually(_free_port)
        (self.folder / "mosquitto.conf").write_text(
            f"per_listener_settings true\nuser root\npersistence {persistence}\n"
            f"persistence_location {self.folder}/\nlistener {self._port} 127.0.0.1\n{listener}\n"
            f"listener 0 {self.folder}/socket\nallow_anonymous true\n")
        self.tcp = f"127.0.0.1:{self._port}/{ROOT}"
        self.socket = f"{self.folder}/socket!{ROOT}"
        self.start_broker()

    def link(self):
        return Link(("127.0.0.1", self._port))

    def start_broker(self):
        self.broker = self.desk.start(MOSQUITTO, "-c", self.folder / "mosquitto.conf")

        def accepts():
            assert self.broker.poll() is None, self.broker.said()
            return answers(socket.AF_INET, ("127.0.0.1", self._port))
        eventually(accepts)

    def stop_broker(self):
        """As a service manager does."""
        self.broker.send_signal(signal.SIGTERM)
        self.broker.ends()

    def host(self, source="SM64", to=None, **environment):
        return self.desk.start(program("telvixd"), "--from", source, "--to", to or self.tcp,
                               **environment)

    def publishing_host(self, source="SM64", to=None, **environment):
        host = self.host(source, to, **environment)

        def publishes():
            assert host.poll() is None, host.said()
            return "publishing" in host.said()
        eventually(publishes)
        return host

    def meter(self, name="Tank", index=0, options="", **environment):
        return self.desk.meter(name, f"mqtt://{self.tcp}{options}", index, **environment)

    def live_meter(self, *arguments, **environment):
        meter = self.meter(*arguments, **environment)
        self.desk.goes_on(meter)
        return meter
