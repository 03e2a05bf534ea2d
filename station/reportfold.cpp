#include "station/reportfold.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QSqlDatabase>
#include <QSqlError>
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

qint64 secondsOf(const QString &time)
{
    return QDateTime::fromString(time, Qt::ISODate).toSecsSinceEpoch();
}

bool fail(QString *error, const QString &what, const QSqlQuery &query)
{
    *error = what + QStringLiteral(": ") + query.lastError().text().trimmed();
    return false;
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

bool exec(QSqlQuery &query, QString *error, const QString &what)
{
    return query.exec() || fail(error, what, query);
}

bool applyHist(QSqlDatabase &db, const QMap<HistKey, qint64> &deltas, QString *error)
{
    QSqlQuery upsert(db);
    upsert.prepare(QStringLiteral(
        "INSERT INTO report_stage_hist (day, model, station, stage, seconds, n) VALUES (?, ?, "
        "?, ?, ?, ?) ON CONFLICT (day, model, station, stage, seconds) DO UPDATE SET n = "
        "report_stage_hist.n + excluded.n"));
    // In key order, so that two stations updating the same rows take them in the same order.
    for (auto it = deltas.cbegin(); it != deltas.cend(); ++it) {
        if (it.value() == 0)
            continue;
        upsert.addBindValue(std::get<0>(it.key()));
        upsert.addBindValue(std::get<1>(it.key()));
        upsert.addBindValue(std::get<2>(it.key()));
        upsert.addBindValue(std::get<3>(it.key()));
        upsert.addBindValue(std::get<4>(it.key()));
        upsert.addBindValue(it.value());
        if (!exec(upsert, error, QStringLiteral("stage times")))
            return false;
    }
    return true;
}

// The report's rows of RECORD's runs from run FROM on leave; the stage histogram loses them.
bool forget(QSqlDatabase &db, const QString &record, qint64 from, QMap<HistKey, qint64> *hist,
    QString *error)
{
    QSqlQuery query(db);
    query.prepare(QStringLiteral("SELECT day, model, station, stage, seconds FROM report_stages "
                                 "WHERE record_key = ? AND run_no >= ?"));
    query.addBindValue(record);
    query.addBindValue(from);
    if (!exec(query, error, QStringLiteral("stage times")))
        return false;
    while (query.next())
        (*hist)[HistKey(query.value(0).toString(), query.value(1).toString(),
            query.value(2).toString(), query.value(3).toString(), query.value(4).toLongLong())]
            -= 1;
    for (const char *table : { "report_stages", "report_failures", "report_runs" }) {
        query.prepare(QStringLiteral("DELETE FROM %1 WHERE record_key = ? AND run_no >= ?")
                          .arg(QLatin1String(table)));
        query.addBindValue(record);
        query.addBindValue(from);
        if (!exec(query, error, QLatin1String(table)))
            return false;
    }
    return true;
}

bool store(QSqlDatabase &db, const QString &record, const QList<Run> &runs,
    QMap<HistKey, qint64> *hist, QString *error)
{
    QSqlQuery run(db);
    run.prepare(QStringLiteral(
        "INSERT INTO report_runs (record_key, run_no, run_id, mac, model, bench, station, day, "
        "started, last_time, line_count, state) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"));
    QSqlQuery stage(db);
    stage.prepare(QStringLiteral(
        "INSERT INTO report_stages (record_key, run_no, line_no, stage, seconds, day, model, "
        "station) VALUES (?, ?, ?, ?, ?, ?, ?, ?)"));
    QSqlQuery failure(db);
    failure.prepare(QStringLiteral(
        "INSERT INTO report_failures (record_key, run_no, device, day, model, station, again) "
        "VALUES (?, ?, ?, ?, ?, ?, ?)"));
    for (qsizetype i = 0; i < runs.size(); ++i) {
        const Run &r = runs.at(i);
        for (const QVariant &value : { QVariant(record), QVariant(r.number), QVariant(r.id),
                 QVariant(r.mac), QVariant(r.model), QVariant(r.bench ? 1 : 0), QVariant(r.station),
                 QVariant(r.day), QVariant(r.started), QVariant(r.last), QVariant(r.lines),
                 QVariant(r.state(i + 1 < runs.size())) })
            run.addBindValue(value);
        if (!exec(run, error, QStringLiteral("runs")))
            return false;
        // Only the bench walk's runs count in the report; the menu's are in a unit's history.
        if (!r.bench)
            continue;
        for (const Run::Stage &s : r.stages) {
            for (const QVariant &value :
                { QVariant(record), QVariant(r.number), QVariant(s.line), QVariant(s.name),
                    QVariant(s.seconds), QVariant(r.day), QVariant(r.model), QVariant(r.station) })
                stage.addBindValue(value);
            if (!exec(stage, error, QStringLiteral("stage times")))
                return false;
            (*hist)[HistKey(r.day, r.model, r.station, s.name, s.seconds)] += 1;
        }
        for (auto it = r.failures.cbegin(); it != r.failures.cend(); ++it) {
            for (const QVariant &value :
                { QVariant(record), QVariant(r.number), QVariant(it.key()), QVariant(r.day),
                    QVariant(r.model), QVariant(r.station), QVariant(it.value() ? 1 : 0) })
                failure.addBindValue(value);
            if (!exec(failure, error, QStringLiteral("failures")))
                return false;
        }
    }
    return true;
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

bool addSums(QSqlDatabase &db, const UnitSums &sums, qint64 sign, QString *error)
{
    if (sums.day.isEmpty())
        return true; // no bench run yet: in no overview
    QSqlQuery upsert(db);
    upsert.prepare(QStringLiteral(
        "INSERT INTO report_unit_days (day, model, station, tested, passed, first_pass, "
        "retested, open_runs, cut_runs) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT (day, "
        "model, station) DO UPDATE SET tested = report_unit_days.tested + excluded.tested, "
        "passed = report_unit_days.passed + excluded.passed, first_pass = "
        "report_unit_days.first_pass + excluded.first_pass, retested = "
        "report_unit_days.retested + excluded.retested, open_runs = report_unit_days.open_runs "
        "+ excluded.open_runs, cut_runs = report_unit_days.cut_runs + excluded.cut_runs"));
    upsert.addBindValue(sums.day);
    upsert.addBindValue(sums.model);
    upsert.addBindValue(sums.station);
    for (const qint64 n : sums.n)
        upsert.addBindValue(sign * n);
    return exec(upsert, error, QStringLiteral("overview"));
}

// A unit is its record: its numbers are summed up again from its runs' rows, and the overview's
// sums lose what the unit brought before and gain what it brings now.
bool storeUnit(QSqlDatabase &db, const QString &record, QString *error)
{
    QSqlQuery query(db);
    query.prepare(QStringLiteral("SELECT first_day, model, station, passed, first_pass, "
                                 "bench_runs, open_runs, cut_runs FROM report_units WHERE "
                                 "record_key = ?"));
    query.addBindValue(record);
    if (!exec(query, error, QStringLiteral("units")))
        return false;
    UnitSums before;
    if (query.next()) {
        before.day = query.value(0).toString();
        before.model = query.value(1).toString();
        before.station = query.value(2).toString();
        before.n = { 1, query.value(3).toLongLong(), query.value(4).toLongLong(),
            query.value(5).toLongLong() > 1 ? 1 : 0, query.value(6).toLongLong(),
            query.value(7).toLongLong() };
    }

    query.prepare(QStringLiteral("SELECT mac, model, bench, station, day, state, last_time FROM "
                                 "report_runs WHERE record_key = ? ORDER BY run_no"));
    query.addBindValue(record);
    if (!exec(query, error, QStringLiteral("runs")))
        return false;
    QString mac = QStringLiteral("-");
    QString last = QStringLiteral("");
    UnitSums now;
    qint64 benchRuns = 0;
    qint64 failed = 0;
    while (query.next()) {
        if (query.value(0).toString() != QLatin1String("-"))
            mac = query.value(0).toString();
        last = query.value(6).toString();
        if (query.value(2).toInt() != 1)
            continue;
        const QString state = query.value(5).toString();
        if (benchRuns++ == 0) {
            now.model = query.value(1).toString();
            now.station = query.value(3).toString();
            now.day = query.value(4).toString();
            now.n[2] = state == QLatin1String("passed") ? 1 : 0;
        }
        now.n[1] = (now.n[1] || state == QLatin1String("passed")) ? 1 : 0;
        now.n[4] += state == QLatin1String("open") ? 1 : 0;
        now.n[5] += state == QLatin1String("cut") ? 1 : 0;
        failed += state == QLatin1String("failed") ? 1 : 0;
    }
    now.n[0] = 1;
    now.n[3] = benchRuns > 1 ? 1 : 0;

    query.prepare(QStringLiteral("DELETE FROM report_units WHERE record_key = ?"));
    query.addBindValue(record);
    if (!exec(query, error, QStringLiteral("units")))
        return false;
    query.prepare(QStringLiteral(
        "INSERT INTO report_units (record_key, mac, model, station, first_day, last_time, "
        "bench_runs, passed, first_pass, open_runs, cut_runs, failed_runs) VALUES (?, ?, ?, ?, ?, "
        "?, ?, ?, ?, ?, ?, ?)"));
    for (const QVariant &value :
        { QVariant(record), QVariant(mac), QVariant(now.model), QVariant(now.station),
            QVariant(now.day), QVariant(last), QVariant(benchRuns), QVariant(now.n[1]),
            QVariant(now.n[2]), QVariant(now.n[4]), QVariant(now.n[5]), QVariant(failed) })
        query.addBindValue(value);
    if (!exec(query, error, QStringLiteral("units")))
        return false;
    // In key order, as the stage times: two stations meet no row in opposite orders.
    const bool nowFirst = now.key() < before.key();
    return addSums(db, nowFirst ? now : before, nowFirst ? 1 : -1, error)
        && addSums(db, nowFirst ? before : now, nowFirst ? -1 : 1, error);
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

bool ReportFold::fold(QSqlDatabase &db, const QString &record, qint64 firstNew, QString *error)
{
    QSqlQuery query(db);
    query.prepare(
        QStringLiteral("SELECT MAX(run_no) FROM report_runs WHERE record_key = ? AND run_no <= ?"));
    query.addBindValue(record);
    query.addBindValue(firstNew);
    if (!exec(query, error, QStringLiteral("runs")) || !query.next())
        return false;
    // A line before every known run: the whole record again.
    const qint64 from = query.value(0).isNull() ? 0 : query.value(0).toLongLong();
    QMap<HistKey, qint64> hist;
    if (!forget(db, record, from, &hist, error))
        return false;

    query.prepare(QStringLiteral("SELECT line_no, line_time, mac, kind, name, result, station "
                                 "FROM record_lines WHERE run_id = ? AND line_no >= ? ORDER BY "
                                 "line_no"));
    query.addBindValue(record);
    query.addBindValue(from);
    if (!exec(query, error, QStringLiteral("lines")))
        return false;
    QList<Run> runs;
    while (query.next()) {
        const qint64 number = query.value(0).toLongLong();
        const QString time = query.value(1).toString();
        const QString mac = query.value(2).toString();
        const QString kind = query.value(3).toString();
        const QString name = query.value(4).toString();
        const QString result = query.value(5).toString();
        if (kind == QLatin1String("run") || runs.isEmpty()) {
            Run run;
            run.number = kind == QLatin1String("run") ? number : 0;
            // Lines of an older program, before any run line: a run named by its record.
            run.id = kind == QLatin1String("run") ? name : record;
            if (!query.value(6).toString().isNull())
                run.station = query.value(6).toString();
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
    if (!store(db, record, runs, &hist, error) || !applyHist(db, hist, error))
        return false;
    return storeUnit(db, record, error);
}

bool ReportFold::foldAll(QSqlDatabase &db, QString *error)
{
    QSqlQuery query(db);
    if (!query.exec(QStringLiteral("SELECT DISTINCT run_id FROM record_lines")))
        return fail(error, QStringLiteral("lines"), query);
    QStringList records;
    while (query.next())
        records << query.value(0).toString();
    for (const QString &record : std::as_const(records)) {
        if (!fold(db, record, 1, error))
            return false;
    }
    return true;
}
