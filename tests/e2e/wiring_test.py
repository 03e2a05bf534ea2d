#!/usr/bin/python3
"""Checks the wiring of the virtual bench from the unit under test, against wiring_peer.py in
the tester unit: Ethernet between the bench addresses, each serial cable joining the same
port of both units, and unplugging, plugging and loopback plugs while the ports stay open."""

import os
import select
import socket
import subprocess
import time
import tty
import unittest

BENCH = os.environ.get("VIRTUAL_BENCH_DIR", "")
VIRTUAL_BENCH = os.environ.get("VIRTUAL_BENCH", "")
PORTS = {"com1": "/dev/ttyO0", "com2": "/dev/ttyO1", "com3": "/dev/ttyO2"}
TESTER = ("192.168.90.89", 36888)  # the tester unit, in the bench's own network namespaces


def cable(port, *state):
    subprocess.run([VIRTUAL_BENCH, "cable", BENCH, port, *state], check=True)


def peer_log(port):
    try:
        with open(os.path.join(BENCH, "peer", port), "rb") as f:
            return f.read()
    except FileNotFoundError:
        return b""


def read_for(fd, want, timeout):
    """Reads until `want` bytes came or `timeout` seconds passed; a hang-up is an error."""
    data = b""
    deadline = time.monotonic() + timeout
    while len(data) < want:
        left = deadline - time.monotonic()
        if left <= 0:
            break
        poller = select.poll()
        poller.register(fd, select.POLLIN)
        events = poller.poll(left * 1000)
        for _, ev in events:
            if ev & (select.POLLHUP | select.POLLERR):
                raise AssertionError("the port hung up")
            if ev & select.POLLIN:
                data += os.read(fd, 4096)
    return data


class Wiring(unittest.TestCase):
    fds = {}

    @classmethod
    def setUpClass(cls):
        # Both only change this unit's network namespace.
        subprocess.run(["ifconfig", "eth0", "192.168.90.69"], check=True)  # namespace of the unit
        subprocess.run(["route", "add", "default", "gw", "192.168.90.1"], check=True)  # namespace of the unit
        for name, path in PORTS.items():
            fd = os.open(path, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
            tty.setraw(fd)
            cls.fds[name] = fd

    def setUp(self):
        for port in PORTS:
            cable(port, "plug")
            read_for(self.fds[port], 1 << 20, 0.05)  # drop leftovers of an earlier case

    def echo(self, port, data, timeout=2.0):
        os.write(self.fds[port], data)
        return read_for(self.fds[port], len(data), timeout)

    def test_ethernet_reaches_tester(self):
        deadline = time.monotonic() + 10
        while True:
            try:
                s = socket.create_connection(TESTER, timeout=1)
                break
            except OSError:
                if time.monotonic() > deadline:
                    raise
                time.sleep(0.05)
        with s:
            block = bytes(range(33, 97))
            s.sendall(block)
            got = b""
            while len(got) < len(block):
                chunk = s.recv(4096)
                self.assertTrue(chunk, "the tester closed the connection")
                got += chunk
            self.assertEqual(got, block)
            self.assertEqual(s.getsockname()[0], "192.168.90.69")  # our address in the namespace

    def test_only_bench_routes_in_unit(self):
        routes = subprocess.run(["ip", "-4", "route"], capture_output=True, text=True, check=True).stdout
        lines = sorted(line.split(" proto")[0].strip() for line in routes.splitlines())
        # The unit's namespace holds the bench routes and nothing of the host's.
        self.assertEqual(lines, ["192.168.90.0/24 dev eth0", "default via 192.168.90.1 dev eth0"])  # namespace routes
        links = subprocess.run(["ip", "-o", "link"], capture_output=True, text=True, check=True).stdout
        names = sorted(line.split(":")[1].strip().split("@")[0] for line in links.splitlines())
        self.assertEqual(names, ["eth0", "lo"])

    def test_each_cable_joins_the_same_port(self):
        for port in PORTS:
            before = {p: len(peer_log(p)) for p in PORTS}
            block = ("%s-%d|" % (port, time.monotonic_ns())).encode() * 4
            self.assertEqual(self.echo(port, block), block, port)
            for p in PORTS:
                arrived = peer_log(p)[before[p]:]
                self.assertEqual(arrived, block if p == port else b"", "%s -> %s" % (port, p))

    def test_unplugged_cable_is_silent_and_replugging_resumes(self):
        cable("com2", "unplug")
        before = len(peer_log("com2"))
        os.write(self.fds["com2"], b"lost in the air")
        self.assertEqual(read_for(self.fds["com2"], 1, 0.5), b"", "an unplugged line echoed")
        self.assertEqual(peer_log("com2")[before:], b"")
        # The other cables carry on.
        self.assertEqual(self.echo("com1", b"still here"), b"still here")
        cable("com2", "plug")
        self.assertEqual(self.echo("com2", b"back again"), b"back again")
        self.assertEqual(peer_log("com2")[before:], b"back again")

    def test_port_reopened_while_unplugged_does_not_hang_up(self):
        cable("com3", "unplug")
        os.close(self.fds["com3"])
        fd = os.open(PORTS["com3"], os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
        tty.setraw(fd)
        self.fds["com3"] = fd
        self.assertEqual(os.write(fd, b"x" * 64), 64)
        self.assertEqual(read_for(fd, 1, 0.3), b"")
        cable("com3", "plug")
        self.assertEqual(self.echo("com3", b"reopened"), b"reopened")

    def test_loopback_plug_returns_bytes_without_the_tester(self):
        cable("com1", "loop")
        before = len(peer_log("com1"))
        block = bytes(range(256))
        self.assertEqual(self.echo("com1", block), block)
        self.assertEqual(peer_log("com1")[before:], b"")
        cable("com1", "loop", "tester")
        os.write(self.fds["com1"], b"nobody")
        self.assertEqual(read_for(self.fds["com1"], 1, 0.3), b"")

    def test_cable_status_reports_state(self):
        cable("com2", "unplug")
        out = subprocess.run([VIRTUAL_BENCH, "cable", BENCH, "com2", "status"],
                             capture_output=True, text=True, check=True).stdout
        self.assertIn("applied: unplug", out)
        bad = subprocess.run([VIRTUAL_BENCH, "cable", BENCH, "com4", "plug"], capture_output=True, text=True)
        self.assertNotEqual(bad.returncode, 0)
        self.assertIn("unknown port 'com4'", bad.stderr)


if __name__ == "__main__":
    if not BENCH or not VIRTUAL_BENCH:
        raise SystemExit("wiring_test.py runs in the unit under test of sim/virtual-bench")
    unittest.main(verbosity=2)
