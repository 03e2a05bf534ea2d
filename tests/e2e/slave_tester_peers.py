#!/usr/bin/python3
"""The slave tester's TCP echo against clients it was not written with: plain sockets and
socat, run in the unit under test while the real program serves in the tester unit."""

import os
import struct
import socket
import subprocess
import threading
import unittest

from testerclient import TESTER, bench_address, connect, recv_exactly, wait_for_tester


def echo(sock, payload, chunk=4096):
    """Sends payload in chunks from one thread while reading the echo in this one, so a large
    payload cannot dead-lock on full socket buffers."""
    errors = []

    def writer():
        try:
            for i in range(0, len(payload), chunk):
                sock.sendall(payload[i:i + chunk])
        except OSError as e:
            errors.append(e)

    t = threading.Thread(target=writer)
    t.start()
    got = recv_exactly(sock, len(payload))
    t.join()
    if errors:
        raise errors[0]
    return got


class SlaveTesterPeers(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        bench_address()
        wait_for_tester()

    def test_64_bytes_come_back(self):
        block = bytes(range(33, 97))
        with connect() as s:
            s.sendall(block)
            self.assertEqual(recv_exactly(s, 64), block)

    def test_socat_client_gets_its_block_back(self):
        block = bytes((33 + i % 94) for i in range(64))
        out = subprocess.run(["socat", "-t", "2", "-", "TCP:%s:%d" % TESTER], input=block,
                             capture_output=True, timeout=20)
        self.assertEqual(out.returncode, 0, out.stderr)
        self.assertEqual(out.stdout, block)

    def test_client_that_stops_sending_still_gets_its_echo(self):
        # The block and the end of the client's sending side arrive together (corked into
        # one segment): the bytes already received must still be echoed.
        block = bytes(range(64, 128))
        with connect() as s:
            s.setsockopt(socket.IPPROTO_TCP, socket.TCP_CORK, 1)
            s.sendall(block)
            s.shutdown(socket.SHUT_WR)
            self.assertEqual(recv_exactly(s, 64), block)

    def test_random_binary_is_echoed_byte_for_byte(self):
        payload = os.urandom(256 * 1024)
        # NUL bytes included on purpose: the pane shows text only up to the first one, the
        # echo must not stop there.
        payload = b"\0\0\xff" + payload
        with connect(20) as s:
            self.assertEqual(echo(s, payload), payload)

    def test_fifty_clients_at_once_get_their_own_bytes(self):
        socks = [connect() for _ in range(50)]
        payloads = [("client %02d|" % i).encode() * 100 + os.urandom(1000) for i in range(50)]
        results = [None] * 50
        errors = []

        def run(i):
            try:
                results[i] = echo(socks[i], payloads[i], chunk=333)
            except Exception as e:  # reported below with the client's number
                errors.append((i, e))

        threads = [threading.Thread(target=run, args=(i,)) for i in range(50)]
        for t in threads:
            t.start()
        for t in threads:
            t.join(60)
        for s in socks:
            s.close()
        self.assertEqual(errors, [])
        for i in range(50):
            self.assertEqual(results[i], payloads[i], "client %d" % i)

    def test_client_gone_mid_stream_leaves_the_others_served(self):
        steady = connect()
        first = os.urandom(4096)
        self.assertEqual(echo(steady, first), first)

        # One client vanishes with a reset while its echo is still on the way, another
        # closes politely half-way through.
        rude = connect()
        rude.sendall(os.urandom(200000))
        rude.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        rude.close()
        polite = connect()
        polite.sendall(os.urandom(100000))
        polite.shutdown(socket.SHUT_WR)
        polite.close()

        second = os.urandom(65536)
        self.assertEqual(echo(steady, second), second)
        steady.close()
        with connect() as fresh:
            block = b"after the storm" * 4
            fresh.sendall(block)
            self.assertEqual(recv_exactly(fresh, len(block)), block)


if __name__ == "__main__":
    unittest.main(verbosity=2)
