"""A TCP client of the slave tester, as the unit under test is: shared by the bench tests that
run in the unit under test while the real program serves in the tester unit."""

import socket
import subprocess
import time

TESTER = ("192.168.90.89", 36888)  # the tester unit, in the bench's own network namespaces


def connect(timeout=5.0):
    return socket.create_connection(TESTER, timeout=timeout)


def recv_exactly(sock, n):
    data = b""
    while len(data) < n:
        chunk = sock.recv(min(65536, n - len(data)))
        if not chunk:
            raise AssertionError("the tester closed the connection after %d of %d bytes" % (len(data), n))
        data += chunk
    return data


def bench_address():
    """Gives this unit its bench address; changes this unit's network namespace only."""
    subprocess.run(["ifconfig", "eth0", "192.168.90.69"], check=True)


def wait_for_tester(seconds=10):
    """Waits until the tester takes connections."""
    deadline = time.monotonic() + seconds
    while True:
        try:
            connect(1).close()
            return
        except OSError:
            if time.monotonic() > deadline:
                raise
            time.sleep(0.05)
