#!/usr/bin/python3 -I
"""The program on the emulated armhf board, in this virtual unit: boots the board (sim/board) and
checks what the kernel's own devices carry.

Usage: board_test.py IMAGE-DIR CHECK

  boot   the program at DIP 1 draws the function menu on the board's frame buffer: the screen
         text lists its twenty buttons, and the emulator's picture of the screen shows the
         button artwork (a lit, blue-grey gradient, brighter at the top) at each of their places
         on a black background
  touch  a touch on "Brightness", sent as the tablet's absolute position and button through
         the kernel's input layer to tslib's input module and the program's pointer, opens the
         brightness screen
  rtc    the clock screen's Next sets the board's real-time clock (the PL031): the board's own
         hwclock reads back the date and time entered (the screen's 2018/10/01 10:10)
  com    COM1 RS232 from the menu through the kernel's 8250 driver (a PCI serial card), with a
         loopback plug: blocks go round with no error. The plug (board.py, SerialCables)
         gathers what the emulated UART sends byte by byte and hands it back whole
  com-pulled
         the same with nothing on COM1: every block is counted as an error
  usb-device
         the USB device test from the menu: the board's gadget script exports /tmp/ram.img
         through dummy_hcd and the mass-storage gadget, the board's own USB host sees it as
         /dev/sda, and the program finds its bytes there: "USB Device Test Pass!"
  usb-device-pulled
         the same with the cable pulled (the gadget left unbound): "USB Device Test Not Pass!"
  usb-host
         the USB host test from the menu with a stick plugged into the board's xHCI port while
         it runs: the board mounts it under /run/media, the program writes and reads back its
         file: "USB Host Test Pass!"; pulled again, the board unmounts it
  key    the menu key is the board's virtio keyboard (code 30), grabbed by the program: three
         presses on the key and LED screen bring its Continue button, and a second reader of
         the device, which saw a press before the program started, sees none while it runs

The run's files (console, screen text, pictures) go to $BENCHTEST_SCRATCH_DIR, kept when the
check fails.
"""

import os
import sys
import time

SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
sys.path.insert(0, os.path.join(SOURCE, "sim", "board"))
from board import Board, BoardError, artwork_problems, inside_unit, make_stick  # noqa: E402

MENU_BUTTONS = 20
BOOT_TIMEOUT = 300


class CheckFailed(Exception):
    pass


def menu_buttons(board):
    buttons = [i for i in board.items() if i[0] == "button" and i[1] == "FunctionButton"]
    return buttons if len(buttons) == MENU_BUTTONS else None


def boot_to_menu(board):
    board.start()
    begun = time.monotonic()
    buttons = board.wait_for("function menu of %d buttons on the screen" % MENU_BUTTONS,
                             lambda: menu_buttons(board), BOOT_TIMEOUT)
    print("board_test: the menu's screen text after %.1f s" % (time.monotonic() - begun))
    return buttons


def check_boot(board, out):
    buttons = boot_to_menu(board)
    with open(os.path.join(out, "menu.txt"), "w", encoding="utf-8") as f:
        f.write(board.screen_text())
    # The screen text comes as the widgets are shown; the frame buffer has them once painted.
    deadline = time.monotonic() + 60
    while True:
        image = board.screendump(os.path.join(out, "menu.png"))
        problems = artwork_problems(image, buttons)
        if not problems:
            break
        if time.monotonic() > deadline:
            raise CheckFailed("the board's screen does not show the menu (%s):\n  %s"
                              % (os.path.join(out, "menu.png"), "\n  ".join(problems)))
        time.sleep(0.5)
    if (image[0], image[1]) != board.pixels:
        raise CheckFailed("the screen is %dx%d, not %dx%d" % (image[0], image[1], *board.pixels))
    print("board_test: %d buttons drawn on the board's frame buffer" % len(buttons))


def check_touch(board, out):
    buttons = boot_to_menu(board)
    target = [b for b in buttons if b[7] == "Brightness"]
    if not target:
        raise CheckFailed("no Brightness button in the menu")
    _, _, _, x, y, w, h, _ = target[0]

    def brightness_page():
        return any(i[0] == "page" and i[1] == "BrightnessInterface" for i in board.items())

    if brightness_page():
        raise CheckFailed("the brightness screen shows before any touch")
    board.touch(x + w // 2, y + h // 2, hold=0.2)
    try:
        board.wait_for("brightness screen", brightness_page, 30)
    except BoardError:
        raise CheckFailed("a touch on Brightness at %d,%d did not open its screen"
                          % (x + w // 2, y + h // 2))
    board.screendump(os.path.join(out, "brightness.png"))
    print("board_test: one touch on Brightness opened its screen")


def boot_with_shell(board):
    """Boots the board without the program, for a shell on its console beside it."""
    board.autostart = False
    board.start()
    board.wait_console(r"^board: up", BOOT_TIMEOUT)
    board.wait_shell()


def enter_date_and_time(board):
    """On the clock screen: OK on the time (10:10) and OK on the date (2018/10/01), each
    awaited on the screen."""
    board.touch_item("the time's OK", lambda i: i[2] == "OKBtn")
    board.wait_for("the time 10:10", lambda: any(
        i[0] == "label" and ":10:10" in i[7] for i in board.items()), 30)
    board.touch_item("the date's OK", lambda i: i[2] == "OKBtn")
    board.wait_for("the date 2018/10/01", lambda: any(
        i[0] == "label" and "2018/10/01" in i[7] for i in board.items()), 30)


def check_rtc(board, out):
    boot_with_shell(board)
    before = board.shell("hwclock -r").strip()
    if before.startswith("2018-10-01"):
        raise CheckFailed("the board's clock shows the date to be entered before the test")
    board.start_program()
    board.wait_for("function menu", lambda: menu_buttons(board), BOOT_TIMEOUT)
    board.touch_item("Date and Time", lambda i: i[0] == "button" and i[7] == "Date and Time")
    board.wait_page("RtcInterface", 30)
    enter_date_and_time(board)
    board.touch_item("Next", lambda i: i[0] == "button" and i[7] == "Next")
    clock = board.wait_for("the board's clock at 2018-10-01 10:10", lambda: next(
        (line for line in board.shell("hwclock -r").splitlines()
         if line.startswith("2018-10-01 10:1")), None), 30)
    print("board_test: hwclock before %r, after Next %r" % (before, clock.strip()))


def label_number(board, name):
    for i in board.items():
        if i[2] == name:
            try:
                return int(i[7], 16)
            except ValueError:
                return None
    return None


def check_com(board, out, plugged=True):
    board.com = ["loop" if plugged else "none", "none", "none"]
    board.start()
    board.wait_for("function menu", lambda: menu_buttons(board), BOOT_TIMEOUT)
    board.touch_item("COM1 RS232", lambda i: i[0] == "button" and i[7] == "COM1 RS232")
    # The menu's port test starts by itself.
    board.wait_page("CommunicationTest", 30)
    if plugged:
        board.wait_for("ten blocks round the loopback plug", lambda: (
            label_number(board, "totalCountLabel") or 0) >= 10 * 64, 60)
        errors = label_number(board, "errorCountLabel")
        if errors != 0:
            raise CheckFailed("COM1 with a loopback plug counted %r errors" % errors)
    else:
        board.wait_for("errors on the unplugged COM1", lambda: (
            label_number(board, "errorCountLabel") or 0) > 0, 60)
    print("board_test: COM1 %s: total %d, errors %d" % (
        "looped" if plugged else "unplugged", label_number(board, "totalCountLabel"),
        label_number(board, "errorCountLabel")))


def check_usb_device(board, out, cable=True):
    board.usb_cable = cable
    board.start()
    board.wait_for("function menu", lambda: menu_buttons(board), BOOT_TIMEOUT)
    board.touch_item("USB device", lambda i: i[0] == "button" and i[7] == "USB device")
    board.wait_page("USBHostDeviceTest", 30)
    result = board.wait_for("the USB device test's result", lambda: next(
        (i[7] for i in board.items() if i[0] == "label" and "USB Device Test" in i[7]), None),
        120)
    expected = ("<font color='black'>USB Device Test Pass!</font>" if cable
                else "<font color='red'>USB Device Test Not Pass!</font>")
    if result != expected:
        raise CheckFailed("the USB device test says %r" % result)
    print("board_test: %s" % result)


def check_usb_host(board, out):
    board.stick = os.path.join(out, "stick.img")
    make_stick(board.stick)
    boot_with_shell(board)
    board.start_program()
    board.wait_for("function menu", lambda: menu_buttons(board), BOOT_TIMEOUT)
    board.stick_plug()
    board.wait_for("the stick mounted", lambda: "/run/media/sd" in board.shell("mount"), 60)
    board.touch_item("USB host", lambda i: i[0] == "button" and i[7] == "USB host")
    board.wait_page("USBHostDeviceTest", 30)
    result = board.wait_for("the USB host test's result", lambda: next(
        (i[7] for i in board.items() if i[0] == "label" and "USB Host Test" in i[7]), None), 120)
    if result != "<font color='black'>USB Host Test Pass!</font>":
        raise CheckFailed("the USB host test says %r" % result)
    board.stick_pull()
    board.wait_for("the stick unmounted", lambda: "/run/media/sd" not in board.shell("mount"),
                   60)
    print("board_test: %s; the stick was mounted while plugged and is gone once pulled" % result)


def check_key(board, out):
    boot_with_shell(board)
    # A second reader of the menu key's device (16-byte events of the 32-bit board).
    board.shell("dd if=/dev/input/event1 of=/tmp/second bs=16 2>/dev/null &")
    time.sleep(1)
    board.key("a")

    def second_reader_bytes():
        words = board.shell("wc -c < /tmp/second").split()
        return int(words[0]) if words and words[0].isdigit() else 0

    board.wait_for("the second reader's events before the grab", second_reader_bytes, 30)
    before = second_reader_bytes()
    board.start_program()
    board.wait_for("function menu", lambda: menu_buttons(board), BOOT_TIMEOUT)
    board.touch_item("Key and LED", lambda i: i[0] == "button" and i[7] == "Key and LED")
    board.wait_page("KeyAndLedInterface", 30)

    def continue_shown():
        return any(i[0] == "button" and i[7] == "Continue" for i in board.items())

    time.sleep(1)
    if continue_shown():
        raise CheckFailed("Continue shows before any press of the menu key")
    for _ in range(3):
        board.key("a", hold=0.1)
        time.sleep(0.3)
    board.wait_for("Continue after three presses of the menu key", continue_shown, 30)
    after = second_reader_bytes()
    if after != before:
        raise CheckFailed("the second reader got %d bytes of events while the program held "
                          "the key" % (after - before))
    print("board_test: the second reader saw %d bytes before the grab and none during it"
          % before)


def main(argv):
    checks = {"boot": check_boot, "touch": check_touch, "key": check_key, "rtc": check_rtc,
              "com": check_com, "usb-device": check_usb_device,
              "usb-host": check_usb_host,
              "usb-device-pulled": lambda b, o: check_usb_device(b, o, cable=False),
              "com-pulled": lambda b, o: check_com(b, o, plugged=False)}
    if len(argv) != 2 or argv[1] not in checks:
        print(__doc__, file=sys.stderr)
        return 2
    if not inside_unit():
        print("board_test: runs only inside a virtual unit", file=sys.stderr)
        return 2
    out = os.environ.get("BENCHTEST_SCRATCH_DIR") or "/tmp/board-test"
    board = Board(os.path.abspath(argv[0]), os.path.join(out, "board"), dip=1)
    try:
        checks[argv[1]](board, out)
    except (BoardError, CheckFailed) as e:
        print("board_test: %s\n--- the board's console (last lines):\n%s"
              % (e, "\n".join(board.console().splitlines()[-40:])), file=sys.stderr)
        return 1
    finally:
        board.stop()
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
