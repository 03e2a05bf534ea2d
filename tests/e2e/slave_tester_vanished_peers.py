#!/usr/bin/python3
"""Units under test that are switched off without closing their connection, as at the end of
every walk: the slave tester, started with a small descriptor limit and short keep-alive
times, must free their sockets and keep echoing for new units, well past that limit.

A peer "vanishes" here by taking this unit's Ethernet link down while its sockets stay open:
no FIN and no reset ever reaches the tester."""

import os
import subprocess
import time
import unittest

from testerclient import bench_address, connect, recv_exactly, wait_for_tester

# Must match the tester's command line in the test's registration.
KEEPALIVE = tuple(int(v) for v in os.environ.get("VANISH_KEEPALIVE", "2 1 2").split())
DESCRIPTOR_LIMIT = int(os.environ.get("VANISH_DESCRIPTOR_LIMIT", "96"))
# Time from the last answered packet until the tester gives a silent peer up.
REAP_TIME = KEEPALIVE[0] + KEEPALIVE[1] * KEEPALIVE[2]


def link(state):
    # Only this unit's own network namespace.
    subprocess.run(["ip", "link", "set", "eth0", state], check=True)


def echoed(sock, block):
    sock.sendall(block)
    return recv_exactly(sock, len(block)) == block


def tester_log():
    try:
        with open(os.path.join(os.environ["VIRTUAL_BENCH_DIR"], "units", "tester", "log"),
                  encoding="utf-8", errors="replace") as f:
            return f.read()
    except (KeyError, OSError):
        return ""


class VanishedPeers(unittest.TestCase):
    def setUp(self):
        bench_address()
        wait_for_tester()
        # Kept open to the end: closing them would send the FIN a switched-off unit never sends.
        self.vanished = []

    def tearDown(self):
        for s in self.vanished:
            s.close()

    def vanish(self):
        """Takes the link down until the tester must have given every silent peer up."""
        link("down")
        time.sleep(REAP_TIME + 1.5)
        link("up")
        bench_address()

    def test_fresh_units_are_echoed_after_many_vanished_ones(self):
        batch = DESCRIPTOR_LIMIT * 2 // 3
        rounds = 3
        for r in range(rounds):
            for i in range(batch):
                try:
                    s = connect(REAP_TIME + 5)
                    block = ("round %d unit %03d" % (r, i)).encode()
                    self.assertTrue(echoed(s, block), "round %d unit %d" % (r, i))
                except OSError as e:
                    self.fail("round %d unit %d was not served: %s" % (r, i, e))
                self.vanished.append(s)
            self.vanish()
        self.assertGreaterEqual(len(self.vanished), DESCRIPTOR_LIMIT * 2)

        # More at once than the tester has descriptors for: those it cannot take wait.
        crowd = []
        attempted = 0
        for i in range(DESCRIPTOR_LIMIT + 20):
            attempted += 1
            try:
                # Long enough for a retried SYN: a burst of connects can fill the listen queue.
                crowd.append(connect(3))
            except OSError as e:
                print("crowd unit %d could not connect: %s" % (i, e), flush=True)
                break
        self.vanished.extend(crowd)
        served = 0
        for i, s in enumerate(crowd):
            s.settimeout(0.2)
            try:
                if echoed(s, b"crowd %03d" % i):
                    served += 1
            except OSError:
                pass
        self.assertLess(served, attempted, "the tester had descriptors for the whole crowd")
        vanished_at = time.monotonic()
        self.vanish()

        # A fresh unit is echoed within the keep-alive time of the crowd going silent.
        deadline = vanished_at + 2 * REAP_TIME + 5
        while True:
            try:
                with connect(1) as fresh:
                    fresh.settimeout(1)
                    if echoed(fresh, b"fresh unit after the crowd"):
                        break
            except OSError:
                pass
            if time.monotonic() > deadline:
                self.fail("no echo %.1f s after the crowd went silent" % (time.monotonic() - vanished_at))
            time.sleep(0.1)
        self.assertIn("Slave tester: cannot accept a TCP client", tester_log())


if __name__ == "__main__":
    unittest.main(verbosity=2)
