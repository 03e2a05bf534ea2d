#include "station/reportfold.h"

#include "station/querycache.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QSqlQuery>
#include <QVariant>

#include <array>
#include <tuple>

namespace {

// One run of a record: its run line and the lines after it up to the next run line.
struct Run {
    qint64 number = 0; // the run line's line number; 0 for lines before any run line
    QString id;
    QString mac = QStringLiteral("-");
    // Empty, not null: the report's columns are NOT NULL.
    QString model = QStringLiteral("");
    bool bench = false;
    QString station = QStringLiteral("");
    QString day;
    QString started;
    QString last;
    int lines = 0;
    QString errorList; // "" (not reached), "passed" or "failed"
    QString macOutcome; // "", "written" or "failed"
    qint64 mark = 0; // seconds of the run line or of the last stage line
    struct Stage {
        qint64 line = 0;
        QString name;
        qint64 seconds = 0;
    };
    QList<Stage> stages;
    // Per device that failed in the run: whether its last result was ok! (passed on Again).
    QMap<QString, bool> failures;

    QString state(bool later) const
    {
        if (errorList == QLatin1String("failed") || macOutcome == QLatin1String("failed"))
            return QStringLiteral("failed");
        if (errorList == QLatin1String("passed") && macOutcome == QLatin1String("written"))
            return QStringLiteral("passed");
        return later ? QStringLiteral("cut") : QStringLiteral("open");
    }
};

using HistKey = std::tuple<QString, QString, QString, QString, qint64>;

// Rows per multi-row statement: a batch's stage rows go in one round trip, and a record of any
// size needs at most this many statements of each kind.
constexpr int ChunkRows = 32;

qint64 secondsOf(const QString &time)
{
    return QDateTime::fromString(time, Qt::ISODate).toSecsSinceEpoch();
}

// "version=V model=M screen=WxH dip=0xD", checked when the line was stored.
void readRunLine(Run &run, const QString &result)
{
    const QStringList words = result.split(QLatin1Char(' '));
    for (const QString &word : words) {
        if (word.startsWith(QLatin1String("model=")))
            run.model = word.mid(6);
        else if (word.startsWith(QLatin1String("dip=")))
            run.bench = word.mid(4).toUInt(nullptr, 16) == 0;
    }
}

// "HEAD VALUES (?, ...), (?, ...) TAIL" over VALUES, WIDTH values a row, rows in their order.
bool execRows(QueryCache &queries, const QString &head, const QString &tail, int width,
    const QVariantList &values, const QString &what, QString *error)
{
    const QString row = QLatin1Char('(')
        + QStringList(width, QStringLiteral("?")).join(QStringLiteral(", ")) + QLatin1Char(')');
    const qsizetype rows = values.size() / width;
    for (qsizetype first = 0; first < rows; first += ChunkRows) {
        const qsizetype n = qMin<qsizetype>(ChunkRows, rows - first);
        const QString sql = head + QStringLiteral(" VALUES ")
            + QStringList(n, row).join(QStringLiteral(", ")) + tail;
        if (!queries.exec(sql, values.mid(first * width, n * width), what, error))
            return false;
    }
    return true;
}

bool applyHist(QueryCache &queries, const QMap<HistKey, qint64> &deltas, QString *error)
{
    QVariantList values;
    // In key order, so that two stations updating the same rows take them in the same order.
    for (auto it = deltas.cbegin(); it != deltas.cend(); ++it) {
        if (it.value() != 0)
            values << std::get<0>(it.key()) << std::get<1>(it.key()) << std::get<2>(it.key())
                   << std::get<3>(it.key()) << std::get<4>(it.key()) << it.value();
    }
    return execRows(queries,
        QStringLiteral("INSERT INTO report_stage_hist (day, model, station, stage, seconds, n)"),
        QStringLiteral(" ON CONFLICT (day, model, station, stage, seconds) DO UPDATE SET n = "
                       "report_stage_hist.n + excluded.n"),
        6, values, QStringLiteral("stage times"), error);
}

// The report's rows of RECORD's runs from run FROM on leave; the stage histogram loses them.
bool forget(QueryCache &queries, const QString &record, qint64 from, QMap<HistKey, qint64> *hist,
    QString *error)
{
    QSqlQuery *query = queries.exec(QStringLiteral("SELECT day, model, station, stage, seconds "
                                                   "FROM report_stages WHERE record_key = ? AND "
                                                   "run_no >= ?"),
        { record, from }, QStringLiteral("stage times"), error);
    if (!query)
        return false;
    while (query->next())
        (*hist)[HistKey(query->value(0).toString(), query->value(1).toString(),
            query->value(2).toString(), query->value(3).toString(), query->value(4).toLongLong())]
            -= 1;
    query->finish();
    for (const char *table : { "report_stages", "report_failures", "report_runs" }) {
        if (!queries.exec(QStringLiteral("DELETE FROM %1 WHERE record_key = ? AND run_no >= ?")
                              .arg(QLatin1String(table)),
                { record, from }, QLatin1String(table), error))
            return false;
    }
    return true;
}

bool store(QueryCache &queries, const QString &record, const QList<Run> &runs,
    QMap<HistKey, qint64> *hist, QString *error)
{
    QVariantList runRows;
    QVariantList stageRows;
    QVariantList failureRows;
    for (qsizetype i = 0; i < runs.size(); ++i) {
        const Run &r = runs.at(i);
        runRows << record << r.number << r.id << r.mac << r.model << (r.bench ? 1 : 0) << r.station
                << r.day << r.started << r.last << r.lines << r.state(i + 1 < runs.size());
        // Only the bench walk's runs count in the report; the menu's are in a unit's history.
        if (!r.bench)
            continue;
        for (const Run::Stage &s : r.stages) {
            stageRows << record << r.number << s.line << s.name << s.seconds << r.day << r.model
                      << r.station;
            (*hist)[HistKey(r.day, r.model, r.station, s.name, s.seconds)] += 1;
        }
        for (auto it = r.failures.cbegin(); it != r.failures.cend(); ++it)
            failureRows << record << r.number << it.key() << r.day << r.model << r.station
                        << (it.value() ? 1 : 0);
    }
    return execRows(queries,
               QStringLiteral("INSERT INTO report_runs (record_key, run_no, run_id, mac, model, "
                              "bench, station, day, started, last_time, line_count, state)"),
               QString(), 12, runRows, QStringLiteral("runs"), error)
        && execRows(queries,
            QStringLiteral("INSERT INTO report_stages (record_key, run_no, line_no, stage, "
                           "seconds, day, model, station)"),
            QString(), 8, stageRows, QStringLiteral("stage times"), error)
        && execRows(queries,
            QStringLiteral("INSERT INTO report_failures (record_key, run_no, device, day, model, "
                           "station, again)"),
            QString(), 7, failureRows, QStringLiteral("failures"), error);
}

// What a unit adds to the overview's sums of its first bench run's day, model and station.
struct UnitSums {
    QString day = QStringLiteral("");
    QString model = QStringLiteral("");
    QString station = QStringLiteral("");
    // tested, passed, first pass, re-tested, runs open, runs cut off
    std::array<qint64, 6> n {};

    auto key() const { return std::tie(day, model, station); }
};

bool addSums(QueryCache &queries, const UnitSums &sums, QString *error)
{
    if (sums.day.isEmpty() || sums.n == std::array<qint64, 6> {})
        return true; // no bench run yet, or nothing changes: in no overview
    QVariantList values { sums.day, sums.model, sums.station };
    for (const qint64 n : sums.n)
        values << n;
    return queries.exec(
        QStringLiteral(
            "INSERT INTO report_unit_days (day, model, station, tested, passed, first_pass, "
            "retested, open_runs, cut_runs) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT (day, "
            "model, station) DO UPDATE SET tested = report_unit_days.tested + excluded.tested, "
            "passed = report_unit_days.passed + excluded.passed, first_pass = "
            "report_unit_days.first_pass + excluded.first_pass, retested = "
            "report_unit_days.retested + excluded.retested, open_runs = "
            "report_unit_days.open_runs + excluded.open_runs, cut_runs = "
            "report_unit_days.cut_runs + excluded.cut_runs"),
        values, QStringLiteral("overview"), error);
}

UnitSums negated(UnitSums sums)
{
    for (qint64 &n : sums.n)
        n = -n;
    return sums;
}

// One report_runs row, as storeUnit() sums it up.
struct RunRow {
    QString mac;
    QString model;
    bool bench = false;
    QString station;
    QString day;
    QString state;
    QString last;
};

// A unit is its record: its numbers are summed up again from its runs (RUNS: every run of the
// record, in order), and the overview's sums lose what the unit brought before (nothing when
// KNOWN is false: a record seen for the first time) and gain what it brings now.
bool storeUnit(QueryCache &queries, const QString &record, bool known, const QList<RunRow> &runs,
    QString *error)
{
    UnitSums before;
    if (known) {
        QSqlQuery *query = queries.exec(QStringLiteral("SELECT first_day, model, station, passed, "
                                                       "first_pass, bench_runs, open_runs, "
                                                       "cut_runs FROM report_units WHERE "
                                                       "record_key = ?"),
            { record }, QStringLiteral("units"), error);
        if (!query)
            return false;
        if (query->next()) {
            before.day = query->value(0).toString();
            before.model = query->value(1).toString();
            before.station = query->value(2).toString();
            before.n = { 1, query->value(3).toLongLong(), query->value(4).toLongLong(),
                query->value(5).toLongLong() > 1 ? 1 : 0, query->value(6).toLongLong(),
                query->value(7).toLongLong() };
        }
        query->finish();
    }

    QString mac = QStringLiteral("-");
    QString last = QStringLiteral("");
    UnitSums now;
    qint64 benchRuns = 0;
    qint64 failed = 0;
    for (const RunRow &run : runs) {
        if (run.mac != QLatin1String("-"))
            mac = run.mac;
        last = run.last;
        if (!run.bench)
            continue;
        if (benchRuns++ == 0) {
            now.model = run.model;
            now.station = run.station;
            now.day = run.day;
            now.n[2] = run.state == QLatin1String("passed") ? 1 : 0;
        }
        now.n[1] = (now.n[1] || run.state == QLatin1String("passed")) ? 1 : 0;
        now.n[4] += run.state == QLatin1String("open") ? 1 : 0;
        now.n[5] += run.state == QLatin1String("cut") ? 1 : 0;
        failed += run.state == QLatin1String("failed") ? 1 : 0;
    }
    now.n[0] = 1;
    now.n[3] = benchRuns > 1 ? 1 : 0;

    if (!queries.exec(
            QStringLiteral(
                "INSERT INTO report_units (record_key, mac, model, station, first_day, "
                "last_time, bench_runs, passed, first_pass, open_runs, cut_runs, failed_runs) "
                "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT (record_key) DO UPDATE "
                "SET mac = excluded.mac, model = excluded.model, station = excluded.station, "
                "first_day = excluded.first_day, last_time = excluded.last_time, bench_runs = "
                "excluded.bench_runs, passed = excluded.passed, first_pass = "
                "excluded.first_pass, open_runs = excluded.open_runs, cut_runs = "
                "excluded.cut_runs, failed_runs = excluded.failed_runs"),
            { record, mac, now.model, now.station, now.day, last, benchRuns, now.n[1], now.n[2],
                now.n[4], now.n[5], failed },
            QStringLiteral("units"), error))
        return false;
    if (now.key() == before.key()) {
        UnitSums change = now;
        for (std::size_t i = 0; i < change.n.size(); ++i)
            change.n[i] -= before.n[i];
        return addSums(queries, change, error);
    }
    // In key order, as the stage times: two stations meet no row in opposite orders.
    const bool nowFirst = now.key() < before.key();
    return addSums(queries, nowFirst ? now : negated(before), error)
        && addSums(queries, nowFirst ? negated(before) : now, error);
}

// Every run of RECORD as report_runs holds it, in order.
bool readRuns(QueryCache &queries, const QString &record, QList<RunRow> *runs, QString *error)
{
    QSqlQuery *query = queries.exec(QStringLiteral("SELECT mac, model, bench, station, day, "
                                                   "state, last_time FROM report_runs WHERE "
                                                   "record_key = ? ORDER BY run_no"),
        { record }, QStringLiteral("runs"), error);
    if (!query)
        return false;
    while (query->next())
        runs->append({ query->value(0).toString(), query->value(1).toString(),
            query->value(2).toInt() == 1, query->value(3).toString(), query->value(4).toString(),
            query->value(5).toString(), query->value(6).toString() });
    query->finish();
    return true;
}

} // namespace

QStringList ReportFold::schema()
{
    return {
        QStringLiteral(
            "ALTER TABLE record_lines ADD COLUMN station VARCHAR(64) NOT NULL DEFAULT ''"),
        QStringLiteral("CREATE TABLE report_runs ("
                       "record_key VARCHAR(64) NOT NULL, run_no BIGINT NOT NULL, "
                       "run_id VARCHAR(64) NOT NULL, mac VARCHAR(17) NOT NULL, "
                       "model VARCHAR(8) NOT NULL, bench INTEGER NOT NULL, "
                       "station VARCHAR(64) NOT NULL, day VARCHAR(10) NOT NULL, "
                       "started VARCHAR(20) NOT NULL, last_time VARCHAR(20) NOT NULL, "
                       "line_count INTEGER NOT NULL, state VARCHAR(8) NOT NULL, "
                       "PRIMARY KEY (record_key, run_no))"),
        QStringLiteral("CREATE INDEX report_runs_id ON report_runs (run_id)"),
        QStringLiteral("CREATE TABLE report_units ("
                       "record_key VARCHAR(64) NOT NULL PRIMARY KEY, mac VARCHAR(17) NOT NULL, "
                       "model VARCHAR(8) NOT NULL, station VARCHAR(64) NOT NULL, "
                       "first_day VARCHAR(10) NOT NULL, last_time VARCHAR(20) NOT NULL, "
                       "bench_runs INTEGER NOT NULL, passed INTEGER NOT NULL, "
                       "first_pass INTEGER NOT NULL, open_runs INTEGER NOT NULL, "
                       "cut_runs INTEGER NOT NULL, failed_runs INTEGER NOT NULL)"),
        QStringLiteral("CREATE INDEX report_units_day ON report_units (first_day)"),
        QStringLiteral("CREATE TABLE report_unit_days ("
                       "day VARCHAR(10) NOT NULL, model VARCHAR(8) NOT NULL, "
                       "station VARCHAR(64) NOT NULL, tested BIGINT NOT NULL, "
                       "passed BIGINT NOT NULL, first_pass BIGINT NOT NULL, "
                       "retested BIGINT NOT NULL, open_runs BIGINT NOT NULL, "
                       "cut_runs BIGINT NOT NULL, PRIMARY KEY (day, model, station))"),
        QStringLiteral("CREATE INDEX report_units_mac ON report_units (mac)"),
        QStringLiteral("CREATE TABLE report_failures ("
                       "record_key VARCHAR(64) NOT NULL, run_no BIGINT NOT NULL, "
                       "device TEXT NOT NULL, day VARCHAR(10) NOT NULL, "
                       "model VARCHAR(8) NOT NULL, station VARCHAR(64) NOT NULL, "
                       "again INTEGER NOT NULL, PRIMARY KEY (record_key, run_no, device))"),
        QStringLiteral("CREATE INDEX report_failures_day ON report_failures (day)"),
        QStringLiteral("CREATE TABLE report_stages ("
                       "record_key VARCHAR(64) NOT NULL, run_no BIGINT NOT NULL, "
                       "line_no BIGINT NOT NULL, stage TEXT NOT NULL, seconds BIGINT NOT NULL, "
                       "day VARCHAR(10) NOT NULL, model VARCHAR(8) NOT NULL, "
                       "station VARCHAR(64) NOT NULL, PRIMARY KEY (record_key, line_no))"),
        QStringLiteral("CREATE INDEX report_stages_slow ON report_stages (stage, seconds)"),
        QStringLiteral("CREATE TABLE report_stage_hist ("
                       "day VARCHAR(10) NOT NULL, model VARCHAR(8) NOT NULL, "
                       "station VARCHAR(64) NOT NULL, stage TEXT NOT NULL, "
                       "seconds BIGINT NOT NULL, n BIGINT NOT NULL, "
                       "PRIMARY KEY (day, model, station, stage, seconds))"),
    };
}

bool ReportFold::fold(QueryCache &queries, const QString &record, qint64 firstNew, QString *error)
{
    // The run that holds FIRSTNEW (none: a line before every known run, the whole record again),
    // and whether the record was folded before at all.
    QSqlQuery *query = queries.exec(
        QStringLiteral("SELECT MAX(CASE WHEN run_no <= ? THEN run_no END), COUNT(*) FROM "
                       "report_runs WHERE record_key = ?"),
        { firstNew, record }, QStringLiteral("runs"), error);
    if (!query)
        return false;
    if (!query->next()) {
        *error = QStringLiteral("runs: no answer");
        query->finish();
        return false;
    }
    const qint64 from = query->value(0).isNull() ? 0 : query->value(0).toLongLong();
    const bool known = query->value(1).toLongLong() > 0;
    query->finish();
    QMap<HistKey, qint64> hist;
    if (known && !forget(queries, record, from, &hist, error))
        return false;

    query = queries.exec(QStringLiteral("SELECT line_no, line_time, mac, kind, name, result, "
                                        "station FROM record_lines WHERE run_id = ? AND line_no "
                                        ">= ? ORDER BY line_no"),
        { record, from }, QStringLiteral("lines"), error);
    if (!query)
        return false;
    QList<Run> runs;
    while (query->next()) {
        const qint64 number = query->value(0).toLongLong();
        const QString time = query->value(1).toString();
        const QString mac = query->value(2).toString();
        const QString kind = query->value(3).toString();
        const QString name = query->value(4).toString();
        const QString result = query->value(5).toString();
        if (kind == QLatin1String("run") || runs.isEmpty()) {
            Run run;
            run.number = kind == QLatin1String("run") ? number : 0;
            // Lines of an older program, before any run line: a run named by its record.
            run.id = kind == QLatin1String("run") ? name : record;
            if (!query->value(6).toString().isNull())
                run.station = query->value(6).toString();
            run.day = time.left(10);
            run.started = time;
            run.mark = secondsOf(time);
            if (kind == QLatin1String("run"))
                readRunLine(run, result);
            runs.append(run);
        }
        Run &run = runs.last();
        ++run.lines;
        run.last = time;
        if (mac != QLatin1String("-"))
            run.mac = mac;
        if (kind == QLatin1String("stage")) {
            const qint64 at = secondsOf(time);
            // Kept: a clock set back shows as no time spent, not as a negative one.
            run.stages.append({ number, name, qMax<qint64>(0, at - run.mark) });
            run.mark = at;
        } else if (kind == QLatin1String("result")) {
            const bool ok = result == QLatin1String("ok!");
            if (!ok || run.failures.contains(name))
                run.failures[name] = ok;
        } else if (kind == QLatin1String("outcome") && name == QLatin1String("error list")) {
            run.errorList = result == QLatin1String("all passed") ? QStringLiteral("passed")
                                                                  : QStringLiteral("failed");
        } else if (kind == QLatin1String("outcome") && name == QLatin1String("MAC")) {
            run.macOutcome = result == QLatin1String("written") ? QStringLiteral("written")
                                                                : QStringLiteral("failed");
        }
    }
    query->finish();
    if (!store(queries, record, runs, &hist, error) || !applyHist(queries, hist, error))
        return false;
    // Folded from the record's first line: its runs are all here, no need to read them back.
    QList<RunRow> rows;
    if (from == 0) {
        for (qsizetype i = 0; i < runs.size(); ++i) {
            const Run &r = runs.at(i);
            rows.append({ r.mac, r.model, r.bench, r.station, r.day, r.state(i + 1 < runs.size()),
                r.last });
        }
    } else if (!readRuns(queries, record, &rows, error)) {
        return false;
    }
    return storeUnit(queries, record, known, rows, error);
}

bool ReportFold::foldAll(QueryCache &queries, QString *error)
{
    QSqlQuery *query = queries.exec(QStringLiteral("SELECT DISTINCT run_id FROM record_lines"), {},
        QStringLiteral("lines"), error);
    if (!query)
        return false;
    QStringList records;
    while (query->next())
        records << query->value(0).toString();
    query->finish();
    for (const QString &record : std::as_const(records)) {
        if (!fold(queries, record, 1, error))
            return false;
    }
    return true;
}
