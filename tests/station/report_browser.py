#!/usr/bin/env python3
"""The yield report in a real browser: a synthetic line's record files (make_records.py) reach
benchstation through two named stations (one gets them as batches over HTTP, some out of order,
the other imports them as files), the station serves the report on the unit's loopback, and headless Chromium, driven through WebDriver, loads every page and checks the numbers
in its DOM against report_expected.py (worked out from the files alone), the charts, the escaping
of a hostile field, the filters and the CSV links; it saves screenshots at 1280x800 and 800x600.

    report_browser.py BENCHSTATION sqlite|postgres [--units N] [--shots DIR]

Runs inside a virtual unit (it starts PostgreSQL as nobody, in a directory of the unit's /tmp).
"""
import argparse
import csv
import hashlib
import io
import json
import os
import random
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import threading
import urllib.error
import urllib.request

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import make_records  # noqa: E402
import report_expected as expected  # noqa: E402

from selenium import webdriver  # noqa: E402
from selenium.webdriver.chrome.service import Service  # noqa: E402
from selenium.webdriver.common.by import By  # noqa: E402
from selenium.webdriver.support import expected_conditions  # noqa: E402
from selenium.webdriver.support.ui import WebDriverWait  # noqa: E402

PORT = 36890
BASE = "http://127.0.0.1:%d" % PORT
POSTGRES_BIN = "/usr/lib/postgresql/15/bin/"
AS_NOBODY = ["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"]
CHROMIUM_FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
                  "--no-first-run", "--disable-background-networking",
                  "--disable-component-update", "--disable-sync", "--disable-dev-shm-usage"]
SIZES = [(1280, 800), (800, 600)]

# A table of the page as [[row key, [column, text]...]...]; text as the browser shows it.
READ_TABLE = """
const table = document.getElementById(arguments[0]);
if (!table) return null;
return Array.from(table.querySelectorAll('tbody tr[data-row]')).map(tr => [tr.dataset.row,
    Array.from(tr.querySelectorAll('td[data-col]')).map(td => [td.dataset.col, td.textContent])]);
"""
ROW_ORDER = """
return Array.from(document.querySelectorAll('#' + arguments[0] + ' tbody tr[data-row]'))
    .map(tr => tr.dataset.row);
"""

failures = []


def check(condition, what, detail=""):
    print("%s: %s%s" % ("ok" if condition else "FAIL", what, "" if condition else " " + detail),
          flush=True)
    if not condition:
        failures.append(what)
    return condition


def fetch(path, method="GET"):
    request = urllib.request.Request(BASE + path, method=method)
    try:
        with urllib.request.urlopen(request, timeout=60) as reply:
            return reply.status, reply.headers.get("Content-Type", ""), reply.read()
    except urllib.error.HTTPError as error:
        return error.code, error.headers.get("Content-Type", ""), error.read()


class Database:
    """SQLite in a file, or a PostgreSQL server of this unit's own."""

    def __init__(self, kind, home):
        self.kind = kind
        self.home = home
        if kind == "sqlite":
            self.args = ["--database", os.path.join(home, "records.db")]
            return
        os.chmod(home, 0o711)
        os.chown(home, 65534, 65534)
        cluster = os.path.join(home, "postgres")
        os.mkdir(cluster)
        os.chown(cluster, 65534, 65534)
        self.cluster = cluster
        subprocess.run(AS_NOBODY + [POSTGRES_BIN + "initdb", "-D", cluster, "-U", "bench", "-A",
                                    "trust", "-E", "UTF8", "--no-locale"],
                       cwd=home, check=True, stdout=subprocess.DEVNULL)
        subprocess.run(AS_NOBODY + [POSTGRES_BIN + "pg_ctl", "-D", cluster, "-l",
                                    os.path.join(home, "postgres.log"), "-w", "-t", "60", "-o",
                                    "-k %s -c listen_addresses=''" % home, "start"],
                       cwd=home, check=True, stdout=subprocess.DEVNULL)
        subprocess.run([POSTGRES_BIN + "psql", "-h", home, "-U", "bench", "-d", "postgres",
                        "-q", "-c", "CREATE DATABASE records"], check=True)
        self.args = ["--postgres", "host=%s dbname=records user=bench" % home]

    def seed_version1(self, paths):
        """Stores PATHS' lines as a station of schema version 1 did (no station column, no
        report tables): the next station's migration must count them."""
        rows = []
        for path in paths:
            with open(path, encoding="utf-8") as record:
                lines = record.read().splitlines()
            key = record_key(lines[0])
            rows += [[key, str(n)] + line.split("\t") + ["2026-11-01T00:00:00Z"]
                     for n, line in enumerate(lines, 1)]
        statements = [
            "CREATE TABLE schema_version (version INTEGER NOT NULL PRIMARY KEY, "
            "applied_at VARCHAR(20) NOT NULL)",
            "INSERT INTO schema_version VALUES (1, '2026-11-01T00:00:00Z')",
            "CREATE TABLE record_lines (run_id VARCHAR(64) NOT NULL, line_no BIGINT NOT NULL, "
            "line_time VARCHAR(20) NOT NULL, mac VARCHAR(17) NOT NULL, kind VARCHAR(16) NOT NULL, "
            "name TEXT NOT NULL, result TEXT NOT NULL, received_at VARCHAR(20) NOT NULL, "
            "PRIMARY KEY (run_id, line_no))"]
        if self.kind == "sqlite":
            connection = sqlite3.connect(self.args[1])
            for statement in statements:
                connection.execute(statement)
            connection.executemany("INSERT INTO record_lines VALUES (?, ?, ?, ?, ?, ?, ?, ?)",
                                   rows)
            connection.commit()
            connection.close()
            return
        table = os.path.join(self.home, "version1.tsv")
        with open(table, "w", encoding="utf-8") as out:
            out.writelines("\t".join(row) + "\n" for row in rows)
        subprocess.run([POSTGRES_BIN + "psql", "-h", self.home, "-U", "bench", "-d", "records",
                        "-q", "-v", "ON_ERROR_STOP=1"]
                       + [arg for statement in statements for arg in ("-c", statement)]
                       + ["-c", "\\copy record_lines FROM '%s'" % table], check=True)

    def stop(self):
        if self.kind == "postgres":
            subprocess.run(AS_NOBODY + [POSTGRES_BIN + "pg_ctl", "-D", self.cluster, "-m", "fast",
                                        "-w", "stop"], cwd=self.home, stdout=subprocess.DEVNULL)


def start_station(program, database, name="line-b"):
    station = subprocess.Popen([program] + database.args + ["--name", name, "--listen",
                                                            "127.0.0.1", "--port", str(PORT)],
                               stderr=subprocess.PIPE, text=True)
    said = ""
    while "listening on" not in said:
        line = station.stderr.readline()
        if not line:
            station.kill()
            station.wait()
            raise SystemExit("report_browser: the station did not start: " + said)
        said += line
    # What it says later goes to the test's log, so that its pipe never fills.
    threading.Thread(target=lambda: sys.stderr.writelines(station.stderr), daemon=True).start()
    return station


def record_key(first_line):
    """The key a record is stored under: its first line's hash, as units and imports make it."""
    return "file-" + hashlib.sha256(first_line.encode("utf-8")).hexdigest()[:16]


def send(paths, seed=25):
    """Sends the records to the station as units do, in batches (of 1 to 60 lines here), but a
    tenth of them with their batches in a shuffled order and one batch twice: the report must
    come out as if every line had come in order once."""
    rng = random.Random(seed)
    for path in paths:
        with open(path, "rb") as record:
            lines = record.read().decode("utf-8").splitlines()
        key = record_key(lines[0])
        batches = []
        first = 1
        while first <= len(lines):
            size = rng.randint(1, 60)
            batches.append([{"n": n, "line": lines[n - 1]}
                            for n in range(first, min(len(lines), first + size - 1) + 1)])
            first += size
        if rng.random() < 0.1:
            rng.shuffle(batches)
            batches.append(batches[0])
        for batch in batches:
            body = json.dumps({"run": key, "lines": batch}).encode("utf-8")
            request = urllib.request.Request(BASE + "/api/lines", data=body, method="POST",
                                             headers={"Content-Type": "application/json"})
            with urllib.request.urlopen(request, timeout=60) as reply:
                if reply.status != 200:
                    raise SystemExit("report_browser: a batch was refused: %s" % reply.read())


def browser(profile):
    os.makedirs(profile, exist_ok=True)
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for flag in CHROMIUM_FLAGS + ["--user-data-dir=" + profile, "--window-size=1280,800"]:
        options.add_argument(flag)
    service = Service(executable_path="/usr/bin/chromedriver",
                      log_path=os.path.join(profile, "chromedriver.log"))
    driver = webdriver.Chrome(service=service, options=options)
    driver.set_page_load_timeout(60)
    return driver


def click_and_load(driver, element):
    """Clicks ELEMENT (a link or a form's button) and waits until the next page has replaced
    this one."""
    page = driver.find_element(By.TAG_NAME, "html")
    element.click()
    WebDriverWait(driver, 60).until(expected_conditions.staleness_of(page))
    WebDriverWait(driver, 60).until(
        lambda d: d.execute_script("return document.readyState") == "complete")


def table(driver, name):
    """{row key: {column: text}}, in the page's order."""
    rows = driver.execute_script(READ_TABLE, name)
    return None if rows is None else {key: dict(cells) for key, cells in rows}


def compare_rows(got, want, what):
    """WANT: {row key: [cells after the key]}; GOT: a table as read from the page."""
    if not check(got is not None, what + ": the table is on the page"):
        return
    check(sorted(got) == sorted(want), what + ": the rows", "%s != %s" % (sorted(got),
                                                                             sorted(want)))
    for key, cells in want.items():
        shown = list(got.get(key, {}).values())
        # The first cell is the key itself where the table has one.
        if len(shown) == len(cells) + 1:
            shown = shown[1:]
        check(shown == cells, "%s: row %s" % (what, key), "%s != %s" % (shown, cells))


def screenshots(driver, shots, name):
    for width, height in SIZES:
        driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                               {"width": width, "height": height, "deviceScaleFactor": 1,
                                "mobile": False})
        wide = driver.execute_script(
            "return document.documentElement.scrollWidth - window.innerWidth")
        check(wide <= 0, "%s fits %dx%d without scrolling sideways" % (name, width, height),
              "%d pixels too wide" % wide)
        driver.save_screenshot(os.path.join(shots, "%s-%dx%d.png" % (name, width, height)))
    driver.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})


def check_overview(driver, units, days, shots):
    driver.get(BASE + "/report")
    compare_rows(table(driver, "total"), {"total": ["%s to %s" % (days[0], days[-1])]
                                          + expected.overview(units)["total"]}, "overview total")
    compare_rows(table(driver, "day"), expected.overview(units, "day"), "overview per day")
    compare_rows(table(driver, "model"), expected.overview(units, "model"), "overview per model")
    compare_rows(table(driver, "station"), expected.overview(units, "station"),
                 "overview per station")
    bars = driver.execute_script("return document.querySelectorAll('#chart-days rect.bar').length")
    check(bars == 3 * len(days), "the overview's chart has three bars a day", str(bars))
    screenshots(driver, shots, "overview")

    # The filters through the form, as an engineer sets them.
    filters = {"from": days[1], "to": days[3], "model": "7", "station": "line-b"}
    for name, value in filters.items():
        driver.execute_script("document.querySelector('form input[name=' + arguments[0] + ']')"
                              ".value = arguments[1]", name, value)
    click_and_load(driver, driver.find_element(By.CSS_SELECTOR, "form button[type=submit]"))
    url = driver.current_url
    check(all("%s=%s" % item in url for item in filters.items()),
          "the form's filters are in the address", url)
    chosen = {"day_from": days[1], "day_to": days[3], "model": "7", "station": "line-b"}
    compare_rows(table(driver, "day"), expected.overview(units, "day", **chosen),
                 "filtered overview per day")
    want_total = expected.overview(units, **chosen)["total"]
    compare_rows(table(driver, "total"), {"total": ["%s to %s" % (days[1], days[3])]
                                          + want_total}, "filtered overview total")

    # The CSV link of the per-day table, with the same filters.
    href = driver.find_element(By.CSS_SELECTOR, "#day").find_element(
        By.XPATH, "ancestor::section//a[@class='csv']").get_attribute("href")
    check("table=day" in href and "model=7" in href, "the CSV link keeps the filters", href)
    status, kind, body = fetch(href[len(BASE):])
    check(status == 200 and kind.startswith("text/csv"), "the CSV link answers a CSV table",
          "%s %s" % (status, kind))
    rows = list(csv.reader(io.StringIO(body.decode("utf-8"))))
    want = expected.overview(units, "day", **chosen)
    check(rows[1:] == [[day] + want[day] for day in sorted(want)], "the CSV holds the numbers",
          str(rows[:3]))


def check_failures(driver, units, shots):
    driver.get(BASE + "/report/failures")
    want = expected.failures(units)
    compare_rows(table(driver, "devices"), {row[0]: list(row[1:]) for row in want},
                 "failures by device")
    order = driver.execute_script(ROW_ORDER, "devices")
    check(order == [row[0] for row in want], "devices in Pareto order", str(order))
    bars = driver.execute_script(
        "return document.querySelectorAll('#chart-pareto rect.bar').length")
    check(bars == len(want), "the Pareto chart has a bar per device", str(bars))
    check(driver.execute_script("return !!document.querySelector('#chart-pareto polyline')"),
          "the Pareto chart has its cumulative line")
    # The hostile device name is shown as text and nothing of it ran.
    check(make_records.HOSTILE in order, "a device named with markup is shown as its text")
    titles = driver.execute_script("return Array.from(document.querySelectorAll("
                                   "'#chart-pareto rect.bar title')).map(t => t.textContent)")
    check(titles == ["%s: %s" % (row[0], row[1]) for row in want],
          "the chart's bars are named by their devices", str(titles[-2:]))
    check(driver.execute_script("return window.pwned === undefined && "
                                "document.querySelectorAll('td script, svg script').length == 0"),
          "no script of a field ran or became an element")
    screenshots(driver, shots, "failures")

    driver.get(BASE + "/report/failures?model=4&station=line-a")
    want = expected.failures(units, model="4", station="line-a")
    compare_rows(table(driver, "devices"), {row[0]: list(row[1:]) for row in want},
                 "failures by device, model 4 at line-a")


def check_stages(driver, units, shots):
    driver.get(BASE + "/report/stages")
    want, visits = expected.stages(units)
    compare_rows(table(driver, "stages"), want, "stage times")
    pictures = driver.execute_script(
        "return document.querySelectorAll('#distribution svg.histogram').length")
    check(pictures == len(want), "a distribution per stage", str(pictures))
    # Without a chosen stage, the one with the longest 95th percentile (the first by name).
    worst = sorted(want, key=lambda s: (-int(want[s][2]), s))[0]
    slow = driver.execute_script(ROW_ORDER, "slowest")
    check(slow == [run for _, run in expected.slowest(visits, worst)],
          "the slowest runs of " + worst, str(slow))
    screenshots(driver, shots, "stages")

    # Following a stage's link chooses it.
    link = driver.find_element(By.CSS_SELECTOR, "#stages tr[data-row='touch panel'] a")
    click_and_load(driver, link)
    check("stage=touch%20panel" in driver.current_url, "the stage's link chooses it",
          driver.current_url)
    got = table(driver, "slowest")
    want_slow = expected.slowest(visits, "touch panel")
    check([(int(got[run]["seconds"]), run) for run in driver.execute_script(ROW_ORDER, "slowest")]
          == want_slow, "the slowest runs in touch panel", str(got)[:300])


def check_unit(driver, units, shots):
    retested = next(u for u in units if len(u["bench"]) > 2 and u["mac"] != "-")
    driver.get(BASE + "/report/unit")
    driver.find_element(By.NAME, "mac").send_keys(retested["mac"].lower())
    click_and_load(driver, driver.find_element(By.CSS_SELECTOR, "form button[type=submit]"))
    runs = driver.execute_script(ROW_ORDER, "runs")
    check(runs == [r["id"] for r in retested["runs"]], "a unit's runs by its MAC", str(runs))
    lines = table(driver, "lines")
    check(lines is not None and len(lines) == retested["lines"], "a unit's every line",
          str(len(lines or {})))
    screenshots(driver, shots, "unit")

    never = next(u for u in units if u["mac"] == "-" and u["bench"])
    driver.get(BASE + "/report/unit?run=" + never["runs"][-1]["id"])
    runs = table(driver, "runs")
    check(list(runs or {}) == [r["id"] for r in never["runs"]]
          and [r["state"] for r in runs.values()] == [
              {"open": "in progress", "cut": "cut off"}.get(r["state"], r["state"])
              for r in never["runs"]],
          "an unprovisioned unit by a run id", str(runs)[:300])

    hostile = units[6]
    driver.get(BASE + "/report/unit?mac=" + hostile["mac"])
    names = driver.execute_script(
        "return Array.from(document.querySelectorAll('#lines td[data-col=name]'))"
        ".map(td => td.textContent)")
    check(make_records.HOSTILE in names and driver.execute_script(
        "return window.pwned === undefined"), "a hostile line in a unit's history is text")


def check_refusals(driver):
    status, _, _ = fetch("/report?from=yesterday")
    check(status == 400, "a bad day is refused", str(status))
    driver.get(BASE + "/report?from=yesterday")
    check(driver.find_element(By.ID, "error").text
          == '"yesterday" is not a day (YYYY-MM-DD)', "its reason is shown")
    for method in ("POST", "PUT", "DELETE"):
        status, _, _ = fetch("/report", method)
        check(status == 405, "the report refuses " + method, str(status))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("benchstation")
    parser.add_argument("database", choices=["sqlite", "postgres"])
    parser.add_argument("--units", type=int, default=2000)
    parser.add_argument("--shots", help="where the screenshots go (default: the scratch dir)")
    args = parser.parse_args()
    scratch = os.environ.get("BENCHTEST_SCRATCH_DIR") or tempfile.mkdtemp()
    shots = args.shots or os.path.join(scratch, "screenshots")
    os.makedirs(shots, exist_ok=True)

    home = tempfile.mkdtemp(prefix="report-", dir="/tmp")
    records = make_records.generate(os.path.join(home, "records"), args.units, hostile=True)
    # Two stations took the line's records: the odd units' and the even ones'. The first fifty
    # odd ones were stored before the report existed, by a station without a name.
    stations = {"": records[0:100:2], "line-a": records[100::2], "line-b": records[1::2]}
    units = expected.read_units(stations)
    units.sort(key=lambda u: u["path"])
    days = sorted({u["day"] for u in units if u["day"]})

    database = Database(args.database, home)
    station = None
    driver = None
    try:
        # line-b's units send their records over HTTP, line-a's are imported as files (the
        # older ones again: nothing new in them).
        database.seed_version1(stations[""])
        station = start_station(args.benchstation, database, "line-b")
        send(stations["line-b"])
        subprocess.run([args.benchstation] + database.args + ["--name", "line-a", "import"]
                       + stations[""] + stations["line-a"], check=True,
                       stdout=subprocess.DEVNULL)
        driver = browser(os.path.join(home, "chromium"))
        check_overview(driver, units, days, shots)
        check_failures(driver, units, shots)
        check_stages(driver, units, shots)
        check_unit(driver, units, shots)
        check_refusals(driver)
    finally:
        if driver:
            driver.quit()
        if station:
            station.terminate()
            station.wait(30)
        database.stop()
        if args.database == "postgres":
            shutil.copy(os.path.join(home, "postgres.log"), scratch)
    print("%d checks failed" % len(failures) if failures else "all checks passed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
