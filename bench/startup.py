#!/usr/bin/python3 -I
"""Start-up timing inside one virtual unit (bench/run-startup starts it there).

Usage: startup.py [--pairs N] [--dips 0,1,273] [--emulator CMDLINE] [--offscreen WxH]
                  PROGRAM BASELINE

For each DIP value (written to /sim/dip), runs PROGRAM and BASELINE in turn, N pairs after
one pair of warm-up, the order swapped from pair to pair, and times each from just before
it is started to its first frame, which the program writes itself when BENCHTEST_FIRST_FRAME
names a file (both clocks are CLOCK_MONOTONIC of this machine). Prints one line per DIP
value: "dip D program MS baseline MS ratio R" with the medians, then every run's time.
Both run on the unit's platform (xcb on its X server), or with --offscreen on Qt's offscreen
platform with a screen of that size.
"""

import argparse
import json
import os
import shlex
import statistics
import subprocess
import sys
import time

RESULT = "/tmp/first-frame"


def set_dip(value):
    tmp = "/sim/.dip.startup"
    with open(tmp, "w") as f:
        f.write("%s\n" % value)
    os.rename(tmp, "/sim/dip")


def first_frame_ms(command, timeout):
    """Milliseconds from the start of COMMAND to its first frame."""
    try:
        os.unlink(RESULT)
    except FileNotFoundError:
        pass
    env = dict(os.environ, BENCHTEST_FIRST_FRAME=RESULT)
    start = time.monotonic_ns()
    try:
        run = subprocess.run(command, env=env, stdout=subprocess.DEVNULL,
                             stderr=subprocess.PIPE, timeout=timeout)
    except (OSError, subprocess.TimeoutExpired) as error:
        sys.exit("startup.py: %s: %s" % (command[-1], error))
    try:
        with open(RESULT) as f:
            words = f.read().split()
    except OSError:
        words = []
    if run.returncode != 0 or len(words) != 2 or words[0] != "first_frame_ns":
        sys.exit("startup.py: %s showed no first frame (status %d)\n%s"
                 % (command[-1], run.returncode, run.stderr.decode(errors="replace")[-2000:]))
    return (int(words[1]) - start) / 1e6


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--pairs", type=int, default=5)
    parser.add_argument("--dips", default="0,1,273")
    parser.add_argument("--emulator", default="")
    parser.add_argument("--timeout", type=float, default=120)
    parser.add_argument("--offscreen", help="WxH: Qt's offscreen platform with that screen")
    parser.add_argument("program")
    parser.add_argument("baseline")
    args = parser.parse_args()
    if os.environ.get("BENCHTEST_SIM_DIR") != "/sim":
        sys.exit("startup.py: runs only inside a virtual unit")
    prefix = shlex.split(args.emulator)
    if args.offscreen:
        width, height = (int(v) for v in args.offscreen.split("x"))
        config = "/tmp/offscreen-screen.json"
        with open(config, "w") as f:
            json.dump({"screens": [{"name": "panel", "x": 0, "y": 0, "width": width,
                                    "height": height, "logicalDpi": 96, "logicalBaseDpi": 96,
                                    "dpr": 1}]}, f)
        os.environ["QT_QPA_PLATFORM"] = "offscreen:configfile=" + config
    for dip in args.dips.split(","):
        set_dip(dip)
        times = {"program": [], "baseline": []}
        for pair in range(args.pairs + 1):
            order = ["program", "baseline"] if pair % 2 == 0 else ["baseline", "program"]
            for which in order:
                ms = first_frame_ms(prefix + [getattr(args, which)], args.timeout)
                if pair > 0:  # the first pair warms the caches up
                    times[which].append(ms)
        program = statistics.median(times["program"])
        baseline = statistics.median(times["baseline"])
        print("dip %s program %.1f baseline %.1f ratio %.2f" % (dip, program, baseline,
                                                                 program / baseline))
        print("  runs program %s baseline %s" % (
            " ".join("%.1f" % t for t in times["program"]),
            " ".join("%.1f" % t for t in times["baseline"])), flush=True)


if __name__ == "__main__":
    main()
