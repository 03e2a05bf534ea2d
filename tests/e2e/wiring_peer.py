#!/usr/bin/python3
"""Stand-in slave tester for checking the bench wiring with plain tools: runs in the tester
unit, takes the tester's bench address, echoes TCP on port 36888 and echoes each serial port
back out of the same port. Every byte received on COMn is also appended to
$VIRTUAL_BENCH_DIR/peer/comN, so the other unit can see what arrived."""

import os
import select
import socket
import subprocess
import sys
import threading
import tty

PORTS = {"com1": "/dev/ttyO0", "com2": "/dev/ttyO1", "com3": "/dev/ttyO2"}


def serial_echo(log_dir):
    fds = {}
    logs = {}
    for name, path in PORTS.items():
        fd = os.open(path, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
        tty.setraw(fd)
        fds[fd] = name
        logs[fd] = open(os.path.join(log_dir, name), "ab", buffering=0)
    while True:
        readable, _, _ = select.select(list(fds), [], [])
        for fd in readable:
            try:
                data = os.read(fd, 4096)
            except BlockingIOError:
                continue
            logs[fd].write(data)
            os.write(fd, data)


def tcp_client(conn):
    with conn:
        while True:
            data = conn.recv(65536)
            if not data:
                return
            conn.sendall(data)


def main():
    bench = os.environ["VIRTUAL_BENCH_DIR"]
    log_dir = os.path.join(bench, "peer")
    os.makedirs(log_dir, exist_ok=True)
    subprocess.run(["ifconfig", "eth0", "192.168.90.89"], check=True)  # this unit's namespace only
    threading.Thread(target=serial_echo, args=(log_dir,), daemon=True).start()
    server = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    server.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    server.bind(("0.0.0.0", 36888))
    server.listen(64)
    while True:
        conn, _ = server.accept()
        threading.Thread(target=tcp_client, args=(conn,), daemon=True).start()


if __name__ == "__main__":
    sys.exit(main())
