#!/usr/bin/python3 -I
"""The two-board bench in this virtual unit: the unit under test and a slave tester (DIP 273),
both emulated armhf boards, their COM1..COM3 joined by serial cables and their eth0 wired to
each other on the unit's loopback (sim/board/board.py, Bench).

Usage: bench_test.py IMAGE-DIR

Plays the bench walk of a model 7 unit (DIP 0) from its calibration to the error device list
as a worker does it: five touches at the calibration's crosses through the tablet and tslib,
the brightness, clock, backlight, key and LED and DIP switch stages, then every serial stage
and the Ethernet stage against the tester board's slave tester, and the USB device stage.
COM2's cable is pulled for its RS232 stage ("fail!"), plugged again and the stage repeated
with Again ("ok!"); the Ethernet stage passes ("ok!"), then with the Ethernet cable pulled its
Again fails ("fail!"). Each stage's Again and Next buttons, the error device list on the screen
(only "Ethernet test fail!", no Next) and the unit's record on the board (every result, ok! and
fail!, in order) are checked.

The run's files (both consoles, screen texts, pictures) go to $BENCHTEST_SCRATCH_DIR, kept
when the check fails.
"""

import os
import sys
import time

SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
sys.path.insert(0, os.path.join(SOURCE, "sim", "board"))
sys.path.insert(0, os.path.dirname(os.path.realpath(__file__)))
from board import Bench, BoardError, inside_unit  # noqa: E402
from board_test import enter_date_and_time  # noqa: E402

BOOT_TIMEOUT = 300
# A stage's 59 blocks go round both boards and our cable: a few seconds each.
STAGE_TIMEOUT = 120
HEADING = "Error device lists\n=============================\n"
# The calibration's five crosses (centres; 800x480) in the order it asks for them, with the
# names it prints for each sample.
CROSSES = [("Top left", 50, 50), ("Top right", 750, 50), ("Bot right", 750, 430),
           ("Bot left", 50, 430), ("Center", 400, 240)]

# The stages in front of the serial ones, as the unit's record names them.
FIRST_STAGES = ("touch panel", "brightness", "date and time", "backlight", "key and led",
                "dip switches")
# A stage whose cable is plugged is repeated with Again this often when it fails all the same:
# on a busy host an emulated board can miss the program's 100 ms answer time now and then.
SPURIOUS_AGAINS = 6


class CheckFailed(Exception):
    pass


def find(board, kind, text):
    return next((i for i in board.items() if i[0] == kind and i[7] == text), None)


def touch_button(board, text, timeout=30):
    board.touch_item("button %r" % text, lambda i: i[0] == "button" and i[7] == text, timeout)


def label(board, name):
    return next((i[7] for i in board.items() if i[2] == name), None)


def set_dip(board, value):
    """The DIP switches' stand-in on the board, read by the program at every call."""
    board.shell("echo %s > /brimdale/board/dip" % value)


def calibrate(board):
    """Touches each cross once the calibration waits for it: the program prints each sample
    on the console as it takes it, and a touch made before it waits is thrown away (it drains
    the panel first, or has not opened it yet), so a cross whose sample does not show is
    touched again, a pixel beside the last try: the kernel passes on only a position that
    changed, and a touch nobody read would leave tslib without its place."""
    for name, x, y in CROSSES:
        line = "%s : X =" % name
        for attempt in range(10):
            board.touch(x + attempt % 2, y + attempt % 2, hold=0.2)
            try:
                board.wait_for("the calibration's %s sample" % name,
                               lambda: line in board.console(), 4)
                break
            except BoardError:
                continue
        else:
            raise CheckFailed("the calibration never took the %s cross" % name)
    frame = board.wait_for("the accuracy square", lambda: next(
        (i for i in board.items() if i[2] == "frame"), None), 30)
    _, _, _, x, y, w, h, _ = frame
    # Across both axes: a pointer opened after the last touch knows only what changes.
    drag(board, (x - 40, y - 30), (x + w // 2, y + h // 2))
    board.touch_item("the calibration's Next", lambda i: i[2] == "nextPushButton")


def drag(board, start, end, steps=8):
    """A finger put down at start and moved to end, as the worker drags into the square."""
    board.drag([(start[0] + (end[0] - start[0]) * step // steps,
                 start[1] + (end[1] - start[1]) * step // steps) for step in range(steps + 1)],
               step=0.05, hold=0.1)


def dip_stage(board):
    """All switches on, then all off: the stage leaves once it has seen both (it polls every
    100 ms; on a busy board a setting can come too soon, so the pair is repeated)."""
    for _ in range(5):
        set_dip(board, "0x1111")
        time.sleep(1.5)
        set_dip(board, "0")
        try:
            board.wait_page("CommunicationTest", 5)
            return
        except BoardError:
            continue
    raise CheckFailed("the DIP switch stage never ended")


def stage_passed(board, title, again_text, next_text):
    """Waits for the end of a communication stage, checks its title and its Again and Next
    buttons, and tells whether it counted no errors."""
    board.wait_for("the end of the %s (%r)" % (title, next_text),
                   lambda: find(board, "button", next_text) and find(board, "button", again_text),
                   STAGE_TIMEOUT)
    shown = label(board, "titleLabel")
    if shown != title:
        raise CheckFailed("the stage's title is %r, not %r" % (shown, title))
    counted = label(board, "errorCountLabel")
    print("bench_test: %s: total %s, errors %s" % (title, label(board, "totalCountLabel"),
                                                    counted))
    # "0000" until the first error, then eight digits.
    return int(counted or "1", 16) == 0


def press_again(board, again_text):
    touch_button(board, again_text)
    board.wait_for("Again to start the stage", lambda: not find(board, "button", again_text), 30)


def passing_stage(board, title, again_text, next_text, results, again_first=False):
    """A stage with its cable plugged: it must pass, at the latest on its SPURIOUS_AGAINS-th
    Again. Each result goes to results as the unit's record should have it."""
    for attempt in range(1 + SPURIOUS_AGAINS):
        if attempt or again_first:
            press_again(board, again_text)
        passed = stage_passed(board, title, again_text, next_text)
        results.append((title, "ok!" if passed else "fail!"))
        if passed:
            return
        print("bench_test: %s failed with its cable plugged; Again" % title)
    raise CheckFailed("%s failed %d times with its cable plugged" % (title, 1 + SPURIOUS_AGAINS))


def failing_stage(board, title, again_text, next_text, results, again_first=False):
    """A stage with its cable pulled: it must fail."""
    if again_first:
        press_again(board, again_text)
    if stage_passed(board, title, again_text, next_text):
        raise CheckFailed("%s passed with its cable pulled" % title)
    results.append((title, "fail!"))


def check_walk(bench, out):
    # The unit under test's program is started from its console shell, which stays for the
    # DIP switches.
    bench.dut.autostart = False
    bench.start()
    dut = bench.dut
    dut.wait_console(r"^board: up", BOOT_TIMEOUT)
    dut.wait_shell()
    bench.tester.wait_page("TesterInterface", BOOT_TIMEOUT)
    print("bench_test: the slave tester serves %.1f s after the boards' start"
          % (time.monotonic() - dut.started))
    dut.start_program()
    dut.wait_page("caliInterface", BOOT_TIMEOUT)
    calibrate(dut)

    dut.wait_page("BrightnessInterface")
    dut.touch(400, 360, hold=0.2)

    dut.wait_page("RtcInterface")
    enter_date_and_time(dut)
    touch_button(dut, "Next")

    dut.wait_page("BacklightInterface")
    touch_button(dut, "Continue")

    dut.wait_page("KeyAndLedInterface")
    for _ in range(3):
        dut.key("a", hold=0.1)
        time.sleep(0.3)
    touch_button(dut, "Continue")

    dut.wait_page("DipSwitchInterface")
    dip_stage(dut)
    walk_started = time.monotonic()

    touch_button(dut, "Start")
    serial = [("com1 rs232", "COM port 1 RS232 test", "RS232", "RS422"),
              ("com1 rs422", "COM port 1 RS422 test", "RS422", "RS485"),
              ("com1 rs485", "COM port 1 RS485 test", "RS485", "RS232"),
              ("com2 rs232", "COM port 2 RS232 test", "RS232", "RS422"),
              ("com2 rs422", "COM port 2 RS422 test", "RS422", "RS485"),
              ("com2 rs485", "COM port 2 RS485 test", "RS485", "RS232"),
              ("com3 rs232", "COM port 3 RS232 test", "RS232", "RS485"),
              ("com3 rs485", "COM port 3 RS485 test", "RS485", "Ethernet")]
    stages = []
    for stage, title, kind, following in serial:
        again_text, next_text = "Again " + kind, "Next " + following
        results = []
        if stage == "com2 rs232":
            # Pulled before the touch on the last Next started this stage.
            failing_stage(dut, title, again_text, next_text, results)
            bench.cable("com2", "plug")
            passing_stage(dut, title, again_text, next_text, results, again_first=True)
        else:
            passing_stage(dut, title, again_text, next_text, results)
        stages.append((stage, results))
        if stage == "com1 rs485":
            bench.cable("com2", "unplug")
        touch_button(dut, next_text)

    results = []
    passing_stage(dut, "Ethernet test", "Again Ethernet", "Next USB", results)
    bench.ethernet(False)
    failing_stage(dut, "Ethernet test", "Again Ethernet", "Next USB", results, again_first=True)
    stages.append(("ethernet", results))
    print("bench_test: the serial and Ethernet stages took %.1f s"
          % (time.monotonic() - walk_started))
    touch_button(dut, "Next USB")

    dut.wait_page("USBHostDeviceTest")
    dut.wait_for("the USB device test's pass", lambda: find(
        dut, "label", "<font color='black'>USB Device Test Pass!</font>"), 120)
    stages.append(("usb device", [("USB", "ok!")]))
    touch_button(dut, "Next ")

    expected = HEADING + "Ethernet test fail!\n"
    # The screen text writes a line break as \n.
    try:
        dut.wait_for("the error device list", lambda: find(
            dut, "list", expected.replace("\n", "\\n")), 30)
    except BoardError:
        raise CheckFailed("the error device list shows %r, not %r" % (
            next((i[7] for i in dut.items() if i[0] == "list"), None), expected))
    dut.screendump(os.path.join(out, "error-list.png"))
    if find(dut, "button", "Next"):
        raise CheckFailed("the error device list of a failed unit offers Next")

    lines = ["-\tstage\t%s\tdone" % stage for stage in FIRST_STAGES]
    for stage, results in stages:
        lines += ["-\tresult\t%s\t%s" % result for result in results]
        lines.append("-\tstage\t%s\t%s" % (stage, "passed" if results[-1][1] == "ok!"
                                              else "failed"))
    lines.append("-\toutcome\terror list\t1 failed")
    wanted = "".join(line + "\n" for line in lines)
    record = dut.shell("sed 1d /brimdale/records/unit.record | cut -f2-")
    if record != wanted:
        raise CheckFailed("the unit's record after the walk:\n%s\nexpected:\n%s"
                          % (record, wanted))
    print("bench_test: the error device list shows %r; the record has every result"
          % expected)


def main(argv):
    if len(argv) != 1:
        print(__doc__, file=sys.stderr)
        return 2
    if not inside_unit():
        print("bench_test: runs only inside a virtual unit", file=sys.stderr)
        return 2
    out = os.environ.get("BENCHTEST_SCRATCH_DIR") or "/tmp/bench-test"
    bench = Bench(os.path.abspath(argv[0]), os.path.join(out, "bench"))
    begun = time.monotonic()
    try:
        check_walk(bench, out)
    except (BoardError, CheckFailed) as e:
        for board, name in ((bench.dut, "unit under test"), (bench.tester, "slave tester")):
            print("--- the %s's console (last lines):\n%s" % (
                name, "\n".join(board.console().splitlines()[-30:])), file=sys.stderr)
        print("bench_test: %s" % e, file=sys.stderr)
        return 1
    finally:
        bench.stop()
    print("bench_test: the walk done in %.0f s" % (time.monotonic() - begun))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
