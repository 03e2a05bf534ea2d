"""What the yield report should show for a set of record files, worked out from the files alone
(nothing of the station's code): the unit is its record file, a run starts at a run line, a bench
run is one with dip=0x0, and a unit counts on the day of its first bench run."""
import calendar
import math
import time


def seconds(stamp):
    return calendar.timegm(time.strptime(stamp, "%Y-%m-%dT%H:%M:%SZ"))


def read_unit(path, station):
    """The unit of one record file: its runs, each a dict."""
    runs = []
    with open(path, encoding="utf-8") as record:
        lines = [line.rstrip("\n").split("\t") for line in record if line.endswith("\n")]
    for number, (stamp, mac, kind, name, result) in enumerate(lines, 1):
        if kind == "run" or not runs:
            words = dict(w.split("=", 1) for w in result.split(" ")) if kind == "run" else {}
            runs.append({"id": name if kind == "run" else None, "day": stamp[:10],
                         "model": words.get("model", ""),
                         "bench": kind == "run" and int(words["dip"], 16) == 0,
                         "mark": seconds(stamp), "macs": [], "lines": 0, "stages": [],
                         "fails": {}, "error_list": None, "mac_outcome": None,
                         "station": station})
        run = runs[-1]
        run["lines"] += 1
        if mac != "-":
            run["macs"].append(mac)
        if kind == "stage":
            run["stages"].append((name, max(0, seconds(stamp) - run["mark"])))
            run["mark"] = seconds(stamp)
        elif kind == "result":
            if result != "ok!":
                run["fails"][name] = False
            elif name in run["fails"]:
                run["fails"][name] = True
        elif kind == "outcome" and name == "error list":
            run["error_list"] = result == "all passed"
        elif kind == "outcome" and name == "MAC":
            run["mac_outcome"] = result == "written"
    for i, run in enumerate(runs):
        if run["error_list"] is False or run["mac_outcome"] is False:
            run["state"] = "failed"
        elif run["error_list"] and run["mac_outcome"]:
            run["state"] = "passed"
        else:
            run["state"] = "cut" if i + 1 < len(runs) else "open"
    bench = [r for r in runs if r["bench"]]
    macs = [m for r in runs for m in r["macs"]]
    return {"path": path, "runs": runs, "bench": bench, "lines": len(lines),
            "mac": macs[-1] if macs else "-", "station": station,
            "model": bench[0]["model"] if bench else "",
            "day": bench[0]["day"] if bench else ""}


def read_units(stations):
    """STATIONS: {station name: [record files imported by it]}."""
    return [read_unit(path, station) for station, paths in stations.items() for path in paths]


def matches(item, day_from=None, day_to=None, model=None, station=None):
    return (item["day"] != "" and (not day_from or item["day"] >= day_from)
            and (not day_to or item["day"] <= day_to)
            and (not model or item["model"] == model)
            and (not station or item["station"] == station))


def percent(part, whole):
    """Tenths of a per cent, a half rounded up."""
    if not whole:
        return "-"
    tenths = (2000 * part + whole) // (2 * whole)
    return "%d.%d" % (tenths // 10, tenths % 10)


def overview(units, by=None, **filters):
    """{key: [tested, passed, first pass, FPY %, final %, re-tested, in progress, cut off]}; by
    day, model, station or None (the whole range, key "total")."""
    groups = {}
    for unit in units:
        if not matches(unit, **filters):
            continue
        key = unit[by] if by else "total"
        n = groups.setdefault(key, [0] * 6)
        states = [r["state"] for r in unit["bench"]]
        n[0] += 1
        n[1] += "passed" in states
        n[2] += states[0] == "passed"
        n[3] += len(states) > 1
        n[4] += states.count("open")
        n[5] += states.count("cut")
    return {key: [str(n[0]), str(n[1]), str(n[2]), percent(n[2], n[0]), percent(n[1], n[0]),
                  str(n[3]), str(n[4]), str(n[5])] for key, n in groups.items()}


def bench_runs(units, **filters):
    for unit in units:
        for run in unit["bench"]:
            if matches(run, **filters):
                yield unit, run


def failures(units, **filters):
    """[(device, runs with a failure, share %, cumulative %, passed on Again, again %)], most
    failures first."""
    counts = {}
    for _, run in bench_runs(units, **filters):
        for device, again in run["fails"].items():
            n = counts.setdefault(device, [0, 0])
            n[0] += 1
            n[1] += again
    everything = sum(n[0] for n in counts.values())
    rows = []
    running = 0
    for device, (count, again) in sorted(counts.items(), key=lambda d: (-d[1][0], d[0])):
        running += count
        rows.append((device, str(count), percent(count, everything),
                     percent(running, everything), str(again), percent(again, count)))
    return rows


def nearest_rank(values, share):
    return values[max(1, math.ceil(share * len(values) - 1e-9)) - 1]


def stages(units, **filters):
    """{stage: [visits, median, p95, longest]} and, per stage, every visit (seconds, run id)."""
    visits = {}
    for _, run in bench_runs(units, **filters):
        for name, spent in run["stages"]:
            visits.setdefault(name, []).append((spent, run["id"]))
    table = {}
    for name, items in visits.items():
        values = sorted(v for v, _ in items)
        table[name] = [str(len(values)), str(nearest_rank(values, 0.5)),
                       str(nearest_rank(values, 0.95)), str(values[-1])]
    return table, visits


def slowest(visits, stage, count=10):
    """The COUNT longest visits of STAGE as (seconds, run id), longest first (ties by run id)."""
    return sorted(visits.get(stage, []), key=lambda v: (-v[0], v[1]))[:count]
