#!/usr/bin/python3
"""TCP echo figures of the slave tester against a socat echo server on the same loopback, in
the same run: median round trip of a 64-byte block and bulk echo throughput.

usage: tcp_echo_bench.py [ROUND-TRIPS] [BULK-MIB]    (run next to the tester, e.g. with
                                                       virtual-bench exec BENCH tester)"""

import socket
import statistics
import subprocess
import sys
import threading
import time

TESTER = ("127.0.0.1", 36888)
SOCAT = ("127.0.0.1", 36999)


def connect(addr):
    s = socket.create_connection(addr, timeout=10)
    s.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    return s


def recv_exactly(s, n):
    data = bytearray()
    while len(data) < n:
        chunk = s.recv(n - len(data))
        if not chunk:
            raise RuntimeError("connection closed")
        data += chunk
    return bytes(data)


def round_trips(s, count, block):
    times = []
    for _ in range(count):
        t0 = time.perf_counter_ns()
        s.sendall(block)
        if recv_exactly(s, len(block)) != block:
            raise RuntimeError("echo differs")
        times.append(time.perf_counter_ns() - t0)
    return times


def bulk(addr, mib):
    chunk = bytes(range(256)) * 256  # 64 KiB
    total = mib * 1024 * 1024
    s = connect(addr)

    def writer():
        sent = 0
        while sent < total:
            s.sendall(chunk)
            sent += len(chunk)

    t0 = time.perf_counter()
    t = threading.Thread(target=writer)
    t.start()
    got = 0
    while got < total:
        data = s.recv(1 << 20)
        if not data:
            raise RuntimeError("connection closed after %d bytes" % got)
        got += len(data)
    t.join()
    elapsed = time.perf_counter() - t0
    s.close()
    return total / elapsed / 1e6


def main():
    trips = int(sys.argv[1]) if len(sys.argv) > 1 else 1000
    mib = int(sys.argv[2]) if len(sys.argv) > 2 else 32
    socat = subprocess.Popen(["socat", "TCP-LISTEN:%d,bind=%s,reuseaddr,fork" % (SOCAT[1], SOCAT[0]), "PIPE"])
    try:
        deadline = time.monotonic() + 10
        while True:
            try:
                connect(SOCAT).close()
                break
            except OSError:
                if time.monotonic() > deadline:
                    raise
                time.sleep(0.02)
        block = bytes((33 + i % 94) for i in range(64))
        conns = {"tester": connect(TESTER), "socat": connect(SOCAT)}
        times = {"tester": [], "socat": []}
        for name, s in conns.items():
            round_trips(s, 100, block)  # warm-up
        # Interleaved, so a disturbance of the machine hits both alike.
        rounds = 10
        for _ in range(rounds):
            for name, s in conns.items():
                times[name] += round_trips(s, max(1, trips // rounds), block)
        for s in conns.values():
            s.close()
        rtt = {name: statistics.median(t) / 1000 for name, t in times.items()}
        print("rtt_us_median_tester %.1f" % rtt["tester"])
        print("rtt_us_median_socat %.1f" % rtt["socat"])
        print("rtt_samples %d" % len(times["tester"]))
        print("ratio_rtt_tester_to_socat %.2f" % (rtt["tester"] / rtt["socat"]))
        tput = {"socat": bulk(SOCAT, mib), "tester": bulk(TESTER, mib)}
        print("bulk_mb_s_tester %.1f" % tput["tester"])
        print("bulk_mb_s_socat %.1f" % tput["socat"])
        print("ratio_bulk_socat_to_tester %.2f" % (tput["socat"] / tput["tester"]))
    finally:
        socat.terminate()
        socat.wait()


if __name__ == "__main__":
    main()
