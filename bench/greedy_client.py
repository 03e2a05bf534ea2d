#!/usr/bin/python3
"""A TCP client of the slave tester that sends as fast as it can and never reads, for SECONDS
(run next to the tester: virtual-bench exec BENCH tester). Prints how much it got to send."""

import select
import socket
import sys
import time

seconds = float(sys.argv[1]) if len(sys.argv) > 1 else 20
s = socket.create_connection(("127.0.0.1", 36888), timeout=10)
s.setblocking(False)
chunk = bytes(range(256)) * 256
sent = 0
end = time.monotonic() + seconds
while time.monotonic() < end:
    try:
        sent += s.send(chunk)
    except BlockingIOError:
        select.select([], [s], [], 0.05)
print("greedy_sent_mib %.1f" % (sent / 1048576))
s.close()
