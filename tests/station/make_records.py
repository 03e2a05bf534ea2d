#!/usr/bin/env python3
"""Writes the record files of a synthetic line: UNITS units over a few days, each with its bench
runs as the program records them, with chosen failure rates, re-tests after a failure, runs cut
off by a power cut, runs still in progress, menu runs and stage times (a few very slow).

    make_records.py DIR [--units N] [--seed S] [--days D] [--hostile]

One file per unit (DIR/unitNNNNN.record). The numbers the report should show are computed from
the files themselves by report_expected.py, not from what this script meant to write.
"""
import argparse
import datetime
import os
import random

# The stages of the bench walk per panel model (the four-inch model 4 has the short walk) and
# the device each communication or USB stage tests, as the error list names it.
LONG_WALK = ["touch panel", "brightness", "date and time", "backlight", "key and led",
             "dip switches", "com1 rs232", "com1 rs422", "com1 rs485", "com2 rs232",
             "com2 rs422", "com2 rs485", "com3 rs232", "com3 rs485", "ethernet", "usb device"]
SHORT_WALK = ["touch panel", "brightness", "date and time", "backlight", "dip switches",
              "com1 rs232", "com1 rs422", "com1 rs485", "ethernet", "usb device"]
DEVICES = {"com1 rs232": "COM port 1 RS232 test", "com1 rs422": "COM port 1 RS422 test",
           "com1 rs485": "COM port 1 RS485 test", "com2 rs232": "COM port 2 RS232 test",
           "com2 rs422": "COM port 2 RS422 test", "com2 rs485": "COM port 2 RS485 test",
           "com3 rs232": "COM port 3 RS232 test", "com3 rs485": "COM port 3 RS485 test",
           "ethernet": "Ethernet test", "usb device": "USB"}
# Chance that a device's test fails at first, and that "Again" then passes it.
FAIL_RATE = {"COM port 2 RS232 test": 0.06, "Ethernet test": 0.04, "USB": 0.05,
             "COM port 1 RS232 test": 0.02, "COM port 3 RS485 test": 0.015}
DEFAULT_FAIL_RATE = 0.005
AGAIN_PASSES = 0.55
# Typical seconds in each stage (uniform between the two), a few units far slower.
STAGE_SECONDS = {"touch panel": (25, 70), "brightness": (5, 15), "date and time": (8, 20),
                 "backlight": (5, 12), "key and led": (10, 25), "dip switches": (8, 18),
                 "ethernet": (6, 20), "usb device": (10, 30)}
DEFAULT_STAGE_SECONDS = (3, 9)
SLOW_SHARE = 0.01
CUT_SHARE = 0.03
OPEN_SHARE = 0.01
MENU_SHARE = 0.02
RETEST_SHARE = 0.85
MAC_FAIL_SHARE = 0.01
MODELS = [(7, 0.45), (6, 0.25), (4, 0.2), (3, 0.1)]
SCREENS = {7: "800x480", 6: "640x480", 4: "480x272", 3: "320x240"}
# A device name full of markup: the report must show it as text.
HOSTILE = "<script>window.pwned=1</script> & \"quoted\" 'x' %1"


def stamp(t):
    return t.strftime("%Y-%m-%dT%H:%M:%SZ")


def write_run(out, rng, t, model, mac_held, dip, unit_mac, attempt, end):
    """Appends one run's lines from time T; returns (time after it, passed, mac written).
    END: None (the whole walk), "cut" (a power cut part-way) or "open" (still going)."""
    run_id = "%032x" % rng.getrandbits(128)
    out.append((t, mac_held, "run", run_id,
                "version=0.1 model=%d screen=%s dip=0x%x" % (model, SCREENS[model], dip)))
    if dip != 0:
        # The function menu: a screen or two, no walk.
        t += datetime.timedelta(seconds=rng.randint(20, 90))
        out.append((t, "-", "stage", "brightness", "done"))
        return t, False, None
    walk = SHORT_WALK if model == 4 else LONG_WALK
    stop = rng.randint(1, len(walk) - 1) if end else len(walk)
    failed = set()
    scale = 0.4 if attempt > 0 else 1.0  # a re-test finds fewer faults
    for stage in walk[:stop]:
        low, high = STAGE_SECONDS.get(stage, DEFAULT_STAGE_SECONDS)
        seconds = rng.randint(low, high)
        if rng.random() < SLOW_SHARE:
            seconds *= rng.randint(4, 9)
        device = DEVICES.get(stage)
        results = []
        if device:
            if rng.random() < FAIL_RATE.get(device, DEFAULT_FAIL_RATE) * scale:
                results.append("fail!")
                if rng.random() < 0.7:  # the operator presses Again
                    results.append("ok!" if rng.random() < AGAIN_PASSES else "fail!")
            else:
                results.append("ok!")
            if results[-1] == "fail!":
                failed.add(device)
        spent = 0
        for result in results:
            step = max(1, seconds // (len(results) + 1))
            spent += step
            out.append((t + datetime.timedelta(seconds=spent), "-", "result", device, result))
        t += datetime.timedelta(seconds=seconds)
        out.append((t, "-", "stage", stage,
                    ("failed" if device in failed else "passed") if device else "done"))
    if end:
        return t, False, None
    t += datetime.timedelta(seconds=2)
    out.append((t, "-", "outcome", "error list",
                "%d failed" % len(failed) if failed else "all passed"))
    if failed:
        return t, False, None
    t += datetime.timedelta(seconds=rng.randint(5, 20))
    if rng.random() < MAC_FAIL_SHARE:
        out.append((t, "-", "outcome", "MAC", "write failed"))
        return t, False, None
    out.append((t, unit_mac, "outcome", "MAC", "written"))
    return t, True, unit_mac


def make_unit(rng, number, first_day, days, hostile):
    model = rng.choices([m for m, _ in MODELS], [w for _, w in MODELS])[0]
    unit_mac = "02:A7:3C:%02X:%02X:%02X" % (number >> 16 & 255, number >> 8 & 255, number & 255)
    day = first_day + datetime.timedelta(days=rng.randrange(days))
    t = datetime.datetime.combine(day, datetime.time(6, 0)) + datetime.timedelta(
        seconds=rng.randrange(14 * 3600))
    lines = []
    if rng.random() < MENU_SHARE:
        t, _, _ = write_run(lines, rng, t, model, "-", 1, unit_mac, 0, None)
        t += datetime.timedelta(seconds=rng.randint(30, 300))
    mac_held = "-"
    attempt = 0
    while True:
        roll = rng.random()
        end = "cut" if roll < CUT_SHARE else "open" if roll < CUT_SHARE + OPEN_SHARE else None
        t, passed, written = write_run(lines, rng, t, model, mac_held, 0, unit_mac, attempt, end)
        mac_held = written or mac_held
        attempt += 1
        if passed or end == "open" or attempt >= 4:
            break
        if end != "cut" and rng.random() >= RETEST_SHARE:
            break
        # Re-tested later that day, now and then the next morning.
        t += datetime.timedelta(seconds=rng.randint(120, 3 * 3600))
    if hostile:
        # A device of a hostile name in the unit's last run (before its outcome, if any).
        at = lines[-1][0]
        lines.insert(len(lines) - 1, (at, "-", "result", HOSTILE, "fail!"))
    return ["\t".join([stamp(line[0])] + list(line[1:])) + "\n" for line in lines]


def generate(directory, units=2000, seed=25, days=5, hostile=True,
             first_day=datetime.date(2026, 11, 16)):
    """Writes the files and returns their paths, in unit order."""
    rng = random.Random(seed)
    os.makedirs(directory, exist_ok=True)
    paths = []
    for number in range(1, units + 1):
        path = os.path.join(directory, "unit%05d.record" % number)
        with open(path, "w", encoding="utf-8") as out:
            out.writelines(make_unit(rng, number, first_day, days, hostile and number == 7))
        paths.append(path)
    return paths


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("directory")
    parser.add_argument("--units", type=int, default=2000)
    parser.add_argument("--seed", type=int, default=25)
    parser.add_argument("--days", type=int, default=5)
    parser.add_argument("--hostile", action="store_true", help="one device name full of markup")
    args = parser.parse_args()
    paths = generate(args.directory, args.units, args.seed, args.days, args.hostile)
    print("%d record files in %s" % (len(paths), args.directory))


if __name__ == "__main__":
    main()
