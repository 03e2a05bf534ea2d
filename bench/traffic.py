#!/usr/bin/python3
"""Keeps the slave tester busy for a while from the unit under test: TCP clients that come and
go, one long TCP stream and 64-byte blocks on all three serial ports.

usage: traffic.py SECONDS"""

import os
import select
import socket
import subprocess
import sys
import threading
import time
import tty

TESTER = ("192.168.90.89", 36888)  # the tester unit, in the bench's own network namespaces
counts = {"tcp_connections": 0, "tcp_bytes": 0, "serial_blocks": 0, "serial_short": 0}
lock = threading.Lock()


def add(key, n=1):
    with lock:
        counts[key] += n


def churn(until):
    block = bytes((33 + i % 94) for i in range(64))
    while time.monotonic() < until:
        with socket.create_connection(TESTER, timeout=5) as s:
            for _ in range(10):
                s.sendall(block)
                got = b""
                while len(got) < 64:
                    chunk = s.recv(64 - len(got))
                    if not chunk:
                        break
                    got += chunk
                add("tcp_bytes", len(got))
        add("tcp_connections")


def stream(until):
    block = os.urandom(4096)
    with socket.create_connection(TESTER, timeout=5) as s:
        while time.monotonic() < until:
            s.sendall(block)
            got = 0
            while got < len(block):
                chunk = s.recv(len(block) - got)
                if not chunk:
                    return
                got += len(chunk)
            add("tcp_bytes", got)


def serial(path, until):
    fd = os.open(path, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
    tty.setraw(fd)
    block = bytes((33 + i % 94) for i in range(64))
    while time.monotonic() < until:
        os.write(fd, block)
        got = b""
        deadline = time.monotonic() + 0.2
        while len(got) < 64 and time.monotonic() < deadline:
            if select.select([fd], [], [], 0.05)[0]:
                got += os.read(fd, 64 - len(got))
        add("serial_blocks" if len(got) == 64 else "serial_short")
        time.sleep(0.005)
    os.close(fd)


def main():
    seconds = float(sys.argv[1]) if len(sys.argv) > 1 else 120
    subprocess.run(["ifconfig", "eth0", "192.168.90.69"], check=True)  # this unit's namespace only
    until = time.monotonic() + seconds
    jobs = [threading.Thread(target=churn, args=(until,)), threading.Thread(target=stream, args=(until,))]
    jobs += [threading.Thread(target=serial, args=(p, until)) for p in ("/dev/ttyO0", "/dev/ttyO1", "/dev/ttyO2")]
    for j in jobs:
        j.start()
    for j in jobs:
        j.join()
    for k, v in counts.items():
        print("traffic_%s %d" % (k, v))


if __name__ == "__main__":
    main()
