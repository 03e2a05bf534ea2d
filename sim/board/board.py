"""The emulated armhf board, seen from inside a virtual unit: starts qemu-system-arm on the board's
kernel and root (sim/board/make-image), and works it the way a worker and the bench would: the
touch panel and the menu key through the emulator's own input events (QMP input-send-event),
pictures of its screen (QMP screendump), its serial console, and the screen text the program
writes when BENCHTEST_OBSERVE is set, carried out over a virtio serial port.

Everything the emulator has is in the unit: its console and screen files are in the run
directory, its sockets in the unit's /tmp, and it has no network of its own (-nic none) unless a
NIC is wired to a socket on the unit's loopback. The emulator's user-mode network is never used.
"""

import json
import os
import re
import select
import shutil
import socket
import struct
import subprocess
import tempfile
import threading
import time
import zlib

# The tablet's axes run 0..32767 over the whole screen (the emulator's absolute range).
ABS_MAX = 0x7FFF
SCREEN_END = "@@screen"


class BoardError(Exception):
    pass


def inside_unit():
    """True inside a virtual unit (its own host name and simulator state)."""
    return socket.gethostname() == "unit" and os.path.isdir("/sim")


class Board:
    def __init__(self, image_dir, run_dir, pixels=(800, 480), dip=1, start=True, memory=1024,
                 cpus=1, extra_env=(), serial_stdio=False, com=("none", "none", "none"),
                 usb_cable=True, stick=None, nic=None):
        self.image_dir = image_dir
        self.run_dir = run_dir
        self.pixels = pixels
        self.dip = dip
        self.autostart = start
        self.memory = memory
        self.cpus = cpus
        self.extra_env = list(extra_env)
        self.serial_stdio = serial_stdio
        # COM1..COM3: "none" (unplugged), "loop" (a loopback plug), "cable" (a socket the
        # emulator listens on, for a cable of ours to another board) or "console" (the same
        # cable on a virtio console port instead of the UART; see serial_ports).
        for plug in com:
            if plug not in ("none", "loop", "cable", "console"):
                raise BoardError("a serial port is none, loop, cable or console, not %r" % plug)
        self.com = list(com)
        # The cable from the board's USB host port to its device port (the gadget's disk).
        self.usb_cable = usb_cable
        # The USB stick's disk image (a FAT file system), plugged and pulled while running.
        self.stick = stick
        # eth0: (local port, peer port, MAC), datagrams to the other board's NIC on the unit's
        # loopback; None: no NIC.
        self.nic = nic
        self.loop_plugs = None
        self.process = None
        # screen.log: bytes read so far, the screen begun after them, the last whole screen
        self.screen_read = (0, b"", "")
        self.qmp_socket = None
        self.qmp_file = None
        self.started = None
        self.socket_dir = None

    def path(self, name):
        return os.path.join(self.run_dir, name)

    def socket_path(self, name):
        # A socket's path must stay under 108 bytes, and a build folder's run directory can be
        # longer than that: the emulator's sockets live in a short folder of their own.
        if self.socket_dir is None:
            self.socket_dir = tempfile.mkdtemp(prefix="board.", dir="/tmp")
        return os.path.join(self.socket_dir, name)

    def command(self):
        kernel = os.path.join(self.image_dir, "vmlinuz")
        initrd = os.path.join(self.image_dir, "initrd.cpio")
        for f in (kernel, initrd):
            if not os.path.isfile(f):
                raise BoardError("no %s: make the board first (sim/board/make-image)" % f)
        append = ["console=ttyAMA0", "quiet", "benchtest.dip=%s" % self.dip]
        if not self.autostart:
            append.append("benchtest.start=0")
        if not self.usb_cable:
            append.append("benchtest.usbcable=out")
        for setting in self.extra_env:
            if not re.fullmatch(r"[A-Za-z_][A-Za-z0-9_]*=[^\s]*", setting):
                raise BoardError("bad environment setting %r (NAME=VALUE, no blanks)" % setting)
            append.append("benchtest.env=" + setting)
        width, height = self.pixels
        # The console is logged to a file and open to a client on a socket (the board's shell
        # when the program is not started).
        serial = ["-serial", "stdio"] if self.serial_stdio else [
            "-chardev", "socket,id=console,path=%s,server=on,wait=off,logfile=%s"
            % (self.socket_path("console.sock"), self.path("console.log")),
            "-serial", "chardev:console"]
        return [
            "qemu-system-arm", "-M", "virt,highmem=off", "-m", str(self.memory),
            "-smp", str(self.cpus), "-accel", "tcg,tb-size=256",
            # virtio 1.0 over MMIO: the kernel's virtio-gpu and virtio-input drivers refuse
            # the legacy interface.
            "-global", "virtio-mmio.force-legacy=false",
            "-kernel", kernel, "-initrd", initrd, "-append", " ".join(append),
            "-display", "none", "-monitor", "none", *serial,
            "-qmp", "unix:%s,server=on,wait=off" % self.socket_path("qmp.sock"),
            "-device", "virtio-gpu-device,xres=%d,yres=%d" % (width, height),
            "-device", "virtio-tablet-device,id=touch",
            "-device", "virtio-keyboard-device,id=key",
            "-device", "virtio-serial-device",
            "-chardev", "file,id=observe,path=%s" % self.path("screen.log"),
            "-device", "virtconsole,chardev=observe",
            "-rtc", "base=utc",
            "-nic", "none",
            *self.network(),
            *self.serial_ports(),
            # The board's USB host port: an xHCI controller, the stick's drive ready beside it.
            "-device", "qemu-xhci,id=xhci",
            *(["-drive", "if=none,id=stick,format=raw,file=%s" % self.stick]
              if self.stick else []),
        ]

    def serial_ports(self):
        """COM1..COM3: one PCI card of four 16550 UARTs (the kernel's 8250 driver; the board
        names its first three /dev/ttyO0..2). An unplugged port's line goes nowhere.

        A "console" port is a virtio console instead (/dev/hvcN, a tty the board's init names
        /dev/ttyO0..2 in the UART's place): it hands each write over whole. The emulated UART
        does not: it sends byte by byte as its emulator's threads get the host's CPU and takes
        16 bytes at a time, each refill waiting for the emulator's main loop, so on a busy host
        an answer now and then reaches the program with a gap longer than its 1 ms quiet time
        and counts as errors, which two boards' walks through every port cannot afford."""
        out = []
        card = ["pci-serial-4x"]
        for n, plug in enumerate(self.com + ["none"], 1):
            name = "com%d" % n
            if plug == "none":
                out += ["-chardev", "null,id=%s" % name]
            else:
                out += ["-chardev", "socket,id=%s,path=%s,server=on,wait=off"
                        % (name, self.socket_path(name + ".sock"))]
            if plug == "console":
                # The card's port is left without a line.
                out += ["-device", "virtconsole,chardev=%s,name=benchtest.%s" % (name, name)]
                continue
            card.append("chardev%d=%s" % (n, name))
        return out + ["-device", ",".join(card)]

    def network(self):
        """eth0 as a virtio NIC whose frames are datagrams between two ports of the unit's
        loopback, the other board's NIC at the far end."""
        if not self.nic:
            return []
        local, peer, mac = self.nic
        return ["-netdev", "socket,id=eth,udp=127.0.0.1:%d,localaddr=127.0.0.1:%d"
                % (peer, local), "-device", "virtio-net-device,netdev=eth,id=nic,mac=%s" % mac]

    def com_socket(self, n):
        """The socket of COMn's line (a port started as loop, cable or console)."""
        return self.socket_path("com%d.sock" % n)

    def ethernet(self, plugged):
        """Plugs or pulls the board's Ethernet cable: the NIC's link goes up or down, and a
        NIC whose link is down neither sends nor receives a frame."""
        self.qmp("set_link", name="nic", up=plugged)

    # ---- start and stop ----------------------------------------------------------------

    def start(self):
        os.makedirs(self.run_dir, exist_ok=True)
        for name in ("console.log", "screen.log"):
            try:
                os.unlink(self.path(name))
            except FileNotFoundError:
                pass
        self.screen_read = (0, b"", "")
        command = self.command()
        self.started = time.monotonic()
        self.process = subprocess.Popen(
            command, stdin=None if self.serial_stdio else subprocess.DEVNULL,
            stdout=None if self.serial_stdio else open(self.path("qemu.log"), "wb"),
            stderr=subprocess.STDOUT if not self.serial_stdio else None)
        deadline = time.monotonic() + 30
        while True:
            if self.process.poll() is not None:
                raise BoardError("the emulator ended at once (status %d); see %s"
                                 % (self.process.returncode, self.path("qemu.log")))
            try:
                s = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
                s.connect(self.socket_path("qmp.sock"))
                break
            except OSError:
                s.close()
                if time.monotonic() > deadline:
                    raise BoardError("the emulator's QMP socket never opened")
                time.sleep(0.05)
        self.qmp_socket = s
        self.qmp_file = s.makefile("rwb")
        self._read_reply()  # the greeting
        self.qmp("qmp_capabilities")
        looped = [n for n, plug in enumerate(self.com, 1) if plug == "loop"]
        if looped:
            self.loop_plugs = SerialCables()
            for n in looped:
                self.loop_plugs.add("com%d" % n, [self.com_socket(n)], "loop")

    def stop(self):
        if self.loop_plugs:
            self.loop_plugs.stop()
            self.loop_plugs = None
        if self.qmp_socket:
            try:
                self.qmp("quit")
            except (BoardError, OSError):
                pass
            self.qmp_socket.close()
            self.qmp_socket = None
        if self.process and self.process.poll() is None:
            try:
                self.process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        if self.socket_dir:
            shutil.rmtree(self.socket_dir, ignore_errors=True)
            self.socket_dir = None

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, *exc):
        self.stop()

    # ---- QMP -----------------------------------------------------------------------------

    def _read_reply(self):
        while True:
            line = self.qmp_file.readline()
            if not line:
                raise BoardError("the emulator closed its QMP socket")
            reply = json.loads(line)
            if "event" not in reply:
                return reply

    def qmp(self, command, **arguments):
        message = {"execute": command}
        if arguments:
            message["arguments"] = arguments
        self.qmp_file.write(json.dumps(message).encode() + b"\n")
        self.qmp_file.flush()
        reply = self._read_reply()
        if "error" in reply:
            raise BoardError("%s: %s" % (command, reply["error"].get("desc", reply["error"])))
        return reply.get("return")

    # ---- the worker's hands ------------------------------------------------------------

    def _abs(self, pixel, size):
        return max(0, min(ABS_MAX, round(pixel * ABS_MAX / max(1, size - 1))))

    # No device is named: the board's only absolute pointer is the tablet and its only keyboard
    # the virtio one, and naming one would need it bound to a display.
    def touch(self, x, y, hold=0.1):
        """A finger on screen pixel (x, y) for hold seconds: the tablet's absolute position and
        its button, as the kernel's input layer hands them to tslib."""
        width, height = self.pixels
        position = [{"type": "abs", "data": {"axis": "x", "value": self._abs(x, width)}},
                    {"type": "abs", "data": {"axis": "y", "value": self._abs(y, height)}}]
        self.qmp("input-send-event", events=position + [
            {"type": "btn", "data": {"down": True, "button": "left"}}])
        time.sleep(hold)
        self.qmp("input-send-event", events=position + [
            {"type": "btn", "data": {"down": False, "button": "left"}}])

    def drag(self, points, step=0.02, hold=None):
        """A finger put down on the first of the screen pixels (x, y), moved through the others
        STEP seconds apart and lifted on the last HOLD seconds after it (default STEP)."""
        width, height = self.pixels

        def position(x, y):
            return [{"type": "abs", "data": {"axis": "x", "value": self._abs(x, width)}},
                    {"type": "abs", "data": {"axis": "y", "value": self._abs(y, height)}}]

        self.qmp("input-send-event", events=position(*points[0]) + [
            {"type": "btn", "data": {"down": True, "button": "left"}}])
        for x, y in points[1:]:
            time.sleep(step)
            self.qmp("input-send-event", events=position(x, y))
        time.sleep(step if hold is None else hold)
        self.qmp("input-send-event", events=position(*points[-1]) + [
            {"type": "btn", "data": {"down": False, "button": "left"}}])

    def key(self, qcode="a", hold=0.05):
        """Presses and releases a key of the board's keyboard (the menu key is "a", code 30)."""
        for down in (True, False):
            self.qmp("input-send-event", events=[
                {"type": "key", "data": {"down": down, "key": {"type": "qcode", "data": qcode}}}])
            time.sleep(hold)

    def wait_shell(self, timeout=120):
        """Waits until the board's console shell answers (input sent before it reads the line
        is lost)."""
        deadline = time.monotonic() + timeout
        while True:
            try:
                # No prompt and no echo: the shell's output is then only the commands'.
                self.shell("PS1=''; stty -echo", timeout=3)
                return
            except (BoardError, OSError):
                if time.monotonic() > deadline:
                    raise BoardError("the board's console shell never answered")

    def shell(self, command, timeout=30):
        """Runs a command line in the board's console shell (a board started without the
        program) and gives back what it printed."""
        # Quoted in what is sent, so that only the shell's output has the markers whole (the
        # terminal echoes the command lines too).
        tag = "%d" % int(time.monotonic() * 1000)
        begin, end = "@@begin" + tag, "@@end" + tag
        s = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        s.connect(self.socket_path("console.sock"))
        s.settimeout(timeout)
        s.sendall(("echo @@'begin'%s\n%s\necho @@'end'%s\n" % (tag, command, tag)).encode())
        data = b""
        try:
            while end.encode() not in data:
                chunk = s.recv(4096)
                if not chunk:
                    break
                data += chunk
        except socket.timeout:
            pass
        finally:
            s.close()
        text = data.decode("utf-8", "replace").replace("\r\n", "\n")
        if begin not in text or end not in text:
            raise BoardError("the board's shell did not finish %r" % command)
        return text.split(begin + "\n", 1)[-1].split(end, 1)[0]

    def run(self, command, timeout=30):
        """Runs a command line in the board's console shell, its input from /dev/null: its exit
        status and what it printed."""
        text = self.shell("(%s) </dev/null 2>&1; echo \"@@status $?\"" % command, timeout)
        status = re.findall(r"^@@status (\d+)$", text, re.M)
        if not status:
            raise BoardError("the board's shell gave no status for %r" % command)
        return int(status[-1]), re.sub(r"^@@status \d+\n?", "", text, flags=re.M)

    def start_program(self):
        """Starts the program from the console shell of a board booted without it, as the
        board's init would (the unit's start script, its output on the console)."""
        self.shell("(cd /brimdale/benchtest && exec ./start-on-unit ./benchtest "
                   "</dev/null >/dev/console 2>&1) &")

    def stick_plug(self, timeout=10):
        """Plugs the USB stick into the board's host port."""
        if not self.stick:
            raise BoardError("the board was started without a stick")
        # A pulled stick's disk lets its image go a moment after the stick is gone from the
        # port, and takes the drive of the command line with it: until then the image is held;
        # after that it is opened again, as a node that stays when the stick is pulled next.
        deadline = time.monotonic() + timeout
        while True:
            if not (any(b.get("device") == "stick" for b in self.qmp("query-block"))
                    or any(n.get("node-name") == "stick"
                           for n in self.qmp("query-named-block-nodes"))):
                self.qmp("blockdev-add", driver="raw", **{"node-name": "stick"},
                         file={"driver": "file", "filename": self.stick})
            try:
                self.qmp("device_add", driver="usb-storage", bus="xhci.0", drive="stick",
                         id="stick0", removable=True)
                return
            except BoardError as e:
                held = "in use" in str(e) or "Permission conflict" in str(e)
                if not held or time.monotonic() > deadline:
                    raise
            time.sleep(0.2)

    def stick_pull(self, timeout=10):
        self.qmp("device_del", id="stick0")
        # The port lets the device go after the guest has: it can be plugged again only then.
        deadline = time.monotonic() + timeout
        while any(p.get("name") == "stick0"
                  for p in self.qmp("qom-list", path="/machine/peripheral")):
            if time.monotonic() > deadline:
                raise BoardError("the stick was not let go within %d s" % timeout)
            time.sleep(0.1)

    # ---- what the board shows ----------------------------------------------------------

    def screendump(self, png_path):
        """The board's screen as the emulator's display has it, saved as PNG."""
        ppm = png_path + ".ppm"
        self.qmp("screendump", filename=ppm)
        with open(ppm, "rb") as f:
            data = f.read()
        os.unlink(ppm)
        width, height, pixels = parse_ppm(data)
        with open(png_path, "wb") as f:
            f.write(make_png(width, height, pixels))
        return width, height, pixels

    def console(self):
        try:
            with open(self.path("console.log"), "rb") as f:
                return f.read().decode("utf-8", "replace")
        except FileNotFoundError:
            return ""

    def screen_text(self):
        """The program's last complete screen text (KIND CLASS OBJECTNAME X Y W H TEXT lines)."""
        # Read on from where the last call stopped: an operator asks many times a second, and
        # the file holds every screen of a walk.
        try:
            with open(self.path("screen.log"), "rb") as f:
                offset, unfinished, last = self.screen_read
                if os.fstat(f.fileno()).st_size < offset:
                    offset, unfinished, last = 0, b"", ""  # a new boot's file
                f.seek(offset)
                new = f.read()
        except FileNotFoundError:
            return ""
        data = unfinished + new
        # The port is a terminal on the board: its line ends come out as CR LF.
        ends = list(re.finditer(SCREEN_END.encode() + rb"\r?\n", data))
        if ends:
            begin = ends[-2].end() if len(ends) >= 2 else 0
            last = data[begin:ends[-1].start()].decode("utf-8", "replace").replace("\r\n", "\n")
            data = data[ends[-1].end():]
        self.screen_read = (offset + len(new), data, last)
        return last

    def items(self):
        out = []
        for line in self.screen_text().splitlines():
            f = line.split("\t")
            if len(f) >= 8:
                try:
                    out.append((f[0], f[1], f[2], int(f[3]), int(f[4]), int(f[5]), int(f[6]),
                                "\t".join(f[7:])))
                except ValueError:
                    continue
        return out

    def wait_for(self, what, predicate, timeout):
        deadline = time.monotonic() + timeout
        while True:
            value = predicate()
            if value:
                return value
            if self.process.poll() is not None:
                raise BoardError("the emulator ended (status %d) waiting for %s"
                                 % (self.process.returncode, what))
            if time.monotonic() > deadline:
                raise BoardError("no %s within %d s" % (what, timeout))
            time.sleep(0.1)

    def wait_item(self, kind, text, timeout=60):
        def find():
            for item in self.items():
                if item[0] == kind and item[7] == text:
                    return item
            return None
        return self.wait_for("%s %r on the screen" % (kind, text), find, timeout)

    def wait_page(self, page, timeout=60):
        """Waits until the program shows the page (the object name of its widget)."""
        self.wait_for("the %s page" % page, lambda: any(
            i[0] == "page" and i[1] == page for i in self.items()), timeout)

    def touch_item(self, what, match, timeout=30, hold=0.2):
        """Waits for the first item of the screen text that MATCH accepts and touches its
        middle."""
        item = self.wait_for(what, lambda: next((i for i in self.items() if match(i)), None),
                             timeout)
        _, _, _, x, y, w, h, _ = item
        self.touch(x + w // 2, y + h // 2, hold=hold)

    def wait_console(self, pattern, timeout=120):
        return self.wait_for("console line matching %r" % pattern,
                             lambda: re.search(pattern, self.console(), re.M), timeout)


# The emulated UARTs send a block byte by byte whenever their emulator gets the host's CPU, so
# a gap longer than the program's 1 ms quiet time can open in the middle of an answer, where a
# real line has none. A cable of ours hands a block on whole once the line has been quiet this
# long (a steady stream after MAX_GATHER_S). A virtio console hands over a write whole unless
# its board stalls in the middle of it, so its cable waits only CONSOLE_QUIET_S: the two hops
# of an answer must stay well inside the program's 100 ms answer time.
QUIET_S = 0.012
CONSOLE_QUIET_S = 0.006
MAX_GATHER_S = 0.05
CABLE_STATES = ("plug", "unplug", "loop")


def connect_unix(path, timeout):
    deadline = time.monotonic() + timeout
    while True:
        s = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        try:
            s.connect(path)
            return s
        except OSError:
            s.close()
            if time.monotonic() > deadline:
                raise BoardError("no serial line at %s" % path)
            time.sleep(0.05)


class SerialCables:
    """Serial cables between the emulators' ports, worked by a thread of ours. A cable joins
    the sockets of two boards' ports, or with one end only it is a loopback plug. Its state:
    "plug" (end to end), "unplug" (every byte dropped: a silent line, no hang-up) or "loop" (a
    loopback plug on its first end, the other end silent). What comes from an end is gathered
    until the line has been quiet for QUIET_S and passed on with one write. With a log file,
    each block passed on or dropped is a line there (seconds, cable, end, bytes, where to)."""

    def __init__(self, log=None, quiet=QUIET_S):
        self.log = open(log, "a", encoding="utf-8") if log else None
        self.quiet = quiet
        self.started = time.monotonic()
        self.states = {}
        self.ends = {}  # socket -> (cable, index of the end)
        self.pending = {}  # socket -> [bytes, first arrival, last arrival]
        self.lock = threading.Lock()
        self.wake_read, self.wake_write = os.pipe()
        self.running = True
        self.thread = threading.Thread(target=self._run, name="serial-cables", daemon=True)
        self.thread.start()

    def add(self, name, paths, state="plug", timeout=30):
        ends = [connect_unix(path, timeout) for path in paths]
        for end in ends:
            end.setblocking(False)
        with self.lock:
            self.states[name] = state
            for index, end in enumerate(ends):
                self.ends[end] = (name, index)
        self.set_state(name, state)

    def set_state(self, name, state):
        if state not in CABLE_STATES:
            raise BoardError("a cable is %s, not %r" % (", ".join(CABLE_STATES), state))
        with self.lock:
            if name not in self.states:
                raise BoardError("no cable %s" % name)
            self.states[name] = state
        os.write(self.wake_write, b"x")

    def stop(self):
        self.running = False
        os.write(self.wake_write, b"x")
        self.thread.join(5)
        for end in list(self.ends):
            end.close()
        os.close(self.wake_read)
        os.close(self.wake_write)
        if self.log:
            self.log.close()

    def _target(self, end):
        name, index = self.ends[end]
        state = self.states[name]
        if state == "loop":
            return end if index == 0 else None
        if state == "plug":
            return next((other for other, (n, i) in self.ends.items()
                         if n == name and i != index), None)
        return None

    def _run(self):
        while self.running:
            now = time.monotonic()
            due = [min(last + self.quiet, first + MAX_GATHER_S)
                   for _, first, last in self.pending.values()]
            wait = max(0.0, min(due) - now) if due else None
            with self.lock:
                ends = list(self.ends)
            readable = select.select(ends + [self.wake_read], [], [], wait)[0]
            if self.wake_read in readable:
                os.read(self.wake_read, 64)
            now = time.monotonic()
            for end in readable:
                if end == self.wake_read:
                    continue
                try:
                    data = end.recv(4096)
                except BlockingIOError:
                    continue
                except OSError:
                    data = b""
                if not data:
                    # The emulator has ended: its end of the cable is dead.
                    with self.lock:
                        del self.ends[end]
                    self.pending.pop(end, None)
                    end.close()
                    continue
                gathered = self.pending.setdefault(end, [b"", now, now])
                gathered[0] += data
                gathered[2] = now
            for end, (data, first, last) in list(self.pending.items()):
                if now - last < self.quiet and now - first < MAX_GATHER_S and len(data) < 4096:
                    continue
                del self.pending[end]
                with self.lock:
                    name, index = self.ends.get(end, ("?", 0))
                    target = self._target(end) if end in self.ends else None
                sent = 0
                if target is not None:
                    try:
                        # What the far end has no room for is lost, as on a real line.
                        sent = target.send(data)
                    except OSError:
                        pass
                if self.log:
                    self.log.write("%.3f %s %d %d %s\n" % (
                        now - self.started, name, index, len(data),
                        "dropped" if target is None else "back" if target is end
                        else "across" if sent == len(data) else "%d lost" % (len(data) - sent)))
                    self.log.flush()


# The bench's wiring on the unit's loopback: the two NICs' datagram ports, and each board's MAC.
DUT_ETHERNET = (41101, "52:54:00:be:00:01")
TESTER_ETHERNET = (41102, "52:54:00:be:00:02")
SLAVE_TESTER_DIP = 273


class Bench:
    """Two boards in this unit wired as the factory bench: the unit under test (dut) and the
    slave tester, COM1..COM3 joined by three of our cables, eth0 to eth0 by datagrams between
    two ports of the unit's loopback. Nothing configures the NICs: each program sets its own
    bench address, as on a unit. Cables are pulled and plugged while the boards run: cable()
    for a serial line, ethernet() for the NICs' links."""

    def __init__(self, image_dir, run_dir, dut_dip=0, tester_dip=SLAVE_TESTER_DIP,
                 dut_start=True, pixels=(800, 480), cables=("plug", "plug", "plug"),
                 ethernet=True, dut_env=(), lines="console"):
        # lines: "console" (virtio console ports, see Board.serial_ports) or "cable" (the
        # emulated UARTs, to look at them).
        self.dut = Board(image_dir, os.path.join(run_dir, "dut"), pixels=pixels, dip=dut_dip,
                         start=dut_start, extra_env=dut_env, com=(lines,) * 3,
                         nic=(DUT_ETHERNET[0], TESTER_ETHERNET[0], DUT_ETHERNET[1]))
        self.tester = Board(image_dir, os.path.join(run_dir, "tester"), pixels=pixels,
                            dip=tester_dip, com=(lines,) * 3,
                            # Its echo threads then never wait for its painting.
                            cpus=2,
                            nic=(TESTER_ETHERNET[0], DUT_ETHERNET[0], TESTER_ETHERNET[1]))
        self.run_dir = run_dir
        self.lines = lines
        self.initial_cables = list(cables)
        self.initial_ethernet = ethernet
        self.cables = None

    def start(self):
        self.tester.start()
        self.dut.start()
        self.cables = SerialCables(log=os.path.join(self.run_dir, "cables.log"),
                                   quiet=CONSOLE_QUIET_S if self.lines == "console" else QUIET_S)
        for n, state in enumerate(self.initial_cables, 1):
            self.cables.add("com%d" % n, [self.dut.com_socket(n), self.tester.com_socket(n)],
                            state)
        if not self.initial_ethernet:
            self.ethernet(False)

    def stop(self):
        if self.cables:
            self.cables.stop()
            self.cables = None
        for board in (self.dut, self.tester):
            board.stop()

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, *exc):
        self.stop()

    def cable(self, port, state):
        """A serial cable (com1..com3): plug, unplug, or loop (a loopback plug on the unit
        under test's end)."""
        self.cables.set_state(port, state)

    def ethernet(self, plugged):
        for board in (self.dut, self.tester):
            board.ethernet(plugged)


def make_stick(path, files=(), megabytes=16):
    """A USB stick's image: a FAT file system holding the given (name, bytes) files, made and
    filled without mounting anything."""
    with open(path, "wb") as f:
        f.truncate(megabytes * 1024 * 1024)
    subprocess.run(["mkfs.fat", "-n", "STICK", path], check=True, stdout=subprocess.DEVNULL)
    for name, data in files:
        source = path + ".file"
        with open(source, "wb") as f:
            f.write(data)
        subprocess.run(["mcopy", "-i", path, source, "::" + name], check=True)
        os.unlink(source)


def parse_ppm(data):
    """Width, height and RGB bytes of a binary PPM (P6, maximum 255), as screendump writes."""
    fields, i = [], 0
    while len(fields) < 4:
        while data[i:i + 1].isspace():
            i += 1
        if data[i:i + 1] == b"#":
            i = data.index(b"\n", i) + 1
            continue
        j = i
        while not data[j:j + 1].isspace():
            j += 1
        fields.append(data[i:j])
        i = j
    if fields[0] != b"P6" or int(fields[3]) != 255:
        raise BoardError("the screen picture is not an 8-bit PPM")
    width, height = int(fields[1]), int(fields[2])
    pixels = data[i + 1:i + 1 + width * height * 3]
    if len(pixels) != width * height * 3:
        raise BoardError("the screen picture is cut short")
    return width, height, pixels


def make_png(width, height, pixels):
    def chunk(kind, body):
        return (struct.pack(">I", len(body)) + kind + body
                + struct.pack(">I", zlib.crc32(kind + body) & 0xFFFFFFFF))
    rows = b"".join(b"\0" + pixels[y * width * 3:(y + 1) * width * 3] for y in range(height))
    return (b"\x89PNG\r\n\x1a\n"
            + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(rows, 6)) + chunk(b"IEND", b""))


def pixel(image, x, y):
    width, _, data = image
    o = (y * width + x) * 3
    return data[o], data[o + 1], data[o + 2]


def artwork_problems(image, buttons):
    """What is wrong with the picture at the buttons' places (empty: each shows the program's
    button artwork, a lit blue-grey gradient brighter at the top, on a black background).
    buttons: screen-text items (KIND CLASS NAME X Y W H TEXT)."""
    width, height, _ = image
    problems = []
    for (_, _, _, x, y, w, h, text) in buttons:
        if x < 4 or y < 4 or x + w + 4 > width or y + h + 4 > height:
            problems.append("%r lies off the %dx%d screen" % (text, width, height))
            continue
        # A column left of the text, through the middle half of the button's height.
        column = [pixel(image, x + w // 8, yy) for yy in range(y + h // 4, y + 3 * h // 4)]
        grey = all(40 <= sum(p) / 3 <= 170 and p[2] >= p[0] for p in column)
        quarter = max(1, len(column) // 4)
        top = sum(sum(p) for p in column[:quarter]) / quarter
        bottom = sum(sum(p) for p in column[-quarter:]) / quarter
        corners = [pixel(image, x - 3, y - 3), pixel(image, x + w + 2, y + h + 2)]
        if not grey:
            problems.append("%r at %d,%d: not the button's blue-grey (%s)"
                            % (text, x, y, column[len(column) // 2]))
        elif top - bottom < 15:
            problems.append("%r at %d,%d: no gradient (top %.0f, bottom %.0f)"
                            % (text, x, y, top / 3, bottom / 3))
        if any(sum(p) > 30 for p in corners):
            problems.append("%r at %d,%d: the background beside it is not black (%s)"
                            % (text, x, y, corners))
    return problems
