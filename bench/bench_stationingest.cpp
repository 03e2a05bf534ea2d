// The station's ingest rate: a synthetic factory week of unit records posted to benchstation's
// endpoint, beside the same lines stored with plain batched INSERTs into a table of the same
// shape in the same database, block by block in turns, so that both see the same machine. The
// station's memory (RSS) is sampled while it works. Prints figures, not a test.
#include "station/linestore.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTcpServer>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

// The units' records arrive in blocks of this many units, each block first through the endpoint
// and then through plain INSERTs.
constexpr int BlockUnits = 500;
constexpr int SampleMs = 200;
// A week of a line that ships this many units: one unit every so many seconds.
constexpr int WeekSeconds = 7 * 24 * 3600;

using Line = QStringList; // the five fields

// One unit's record as the program writes it on a bench walk: a run line, the stages and results
// of a large panel's walk, the outcome and the MAC line; LINES lines in all.
QList<Line> unitRecord(int unit, int units, int lines)
{
    const QDateTime start = QDateTime(QDate(2026, 11, 16), QTime(6, 0), Qt::UTC)
                                .addSecs(qint64(unit) * WeekSeconds / units);
    auto time = [&](int i) { return start.addSecs(i * 3).toString(Qt::ISODate); };
    QList<Line> record;
    record.append(Line { time(0), QStringLiteral("-"), QStringLiteral("run"),
        QStringLiteral("%1").arg(unit, 32, 16, QLatin1Char('0')),
        QStringLiteral("version=0.1 model=7 screen=800x480 dip=0x0") });
    for (int i = 1; i < lines - 2; ++i) {
        if (i % 2)
            record.append(Line { time(i), QStringLiteral("-"), QStringLiteral("result"),
                QStringLiteral("COM port %1 RS232 test").arg(i % 3 + 1), QStringLiteral("ok!") });
        else
            record.append(Line { time(i), QStringLiteral("-"), QStringLiteral("stage"),
                QStringLiteral("com%1 rs232").arg(i % 3 + 1), QStringLiteral("passed") });
    }
    record.append(Line { time(lines - 2), QStringLiteral("-"), QStringLiteral("outcome"),
        QStringLiteral("error list"), QStringLiteral("all passed") });
    const QString mac = QStringLiteral("02:A7:3C:%1:%2:%3")
                            .arg((unit >> 16) & 0xff, 2, 16, QLatin1Char('0'))
                            .arg((unit >> 8) & 0xff, 2, 16, QLatin1Char('0'))
                            .arg(unit & 0xff, 2, 16, QLatin1Char('0'))
                            .toUpper();
    record.append(Line { time(lines - 1), mac, QStringLiteral("outcome"), QStringLiteral("MAC"),
        QStringLiteral("written") });
    return record;
}

QString runId(int unit)
{
    return QStringLiteral("file-%1").arg(unit, 16, 16, QLatin1Char('0'));
}

QByteArray body(int unit, const QList<Line> &record)
{
    QJsonArray lines;
    for (int i = 0; i < record.size(); ++i)
        lines.append(QJsonObject {
            { QStringLiteral("n"), i + 1 }, { QStringLiteral("line"), record.at(i).join(u'\t') } });
    return QJsonDocument(
        QJsonObject { { QStringLiteral("run"), runId(unit) }, { QStringLiteral("lines"), lines } })
        .toJson(QJsonDocument::Compact);
}

qint64 rssKiB(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLongLong();
    }
    return -1;
}

int fail(const QString &message)
{
    std::fprintf(stderr, "bench_stationingest: %s\n", qPrintable(message));
    return 1;
}

class Ingest {
public:
    QString station;
    QStringList databaseArgs;
    QString name;
    int units = 0;
    int linesPerUnit = 0;
    int inFlight = 0;

    int run();

private:
    bool startStation();
    bool postBlock(int first, int last);
    bool insertBlock(QSqlDatabase &db, int first, int last);
    bool openBaseline();

    QProcess process;
    LineStore store { QStringLiteral("baseline") };
    quint16 port = 0;
    QNetworkAccessManager network;
    QList<qint64> rss;
    QString error;
};

bool Ingest::startStation()
{
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost))
        return false;
    port = probe.serverPort();
    probe.close();
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(station,
        databaseArgs
            + QStringList { QStringLiteral("--listen"), QStringLiteral("127.0.0.1"),
                QStringLiteral("--port"), QString::number(port) });
    QByteArray said;
    QElapsedTimer waited;
    waited.start();
    while (!said.contains("listening on") && waited.elapsed() < 60000
        && process.state() != QProcess::NotRunning) {
        process.waitForReadyRead(100);
        said += process.readAll();
    }
    error = QString::fromUtf8(said);
    return said.contains("listening on");
}

// Posts the records of units FIRST..LAST-1, each as one batch, INFLIGHT at a time.
bool Ingest::postBlock(int first, int last)
{
    QUrl url(QStringLiteral("http://127.0.0.1:%1/api/lines").arg(port));
    int next = first;
    int pending = 0;
    bool ok = true;
    QEventLoop loop;
    std::function<void()> send = [&] {
        while (ok && pending < inFlight && next < last) {
            QNetworkRequest request(url);
            request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
            const int unit = next++;
            QNetworkReply *reply
                = network.post(request, body(unit, unitRecord(unit, units, linesPerUnit)));
            ++pending;
            QObject::connect(reply, &QNetworkReply::finished, &loop, [&, reply] {
                --pending;
                const int status
                    = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
                const QByteArray answer = reply->readAll();
                if (status != 200
                    || QJsonDocument::fromJson(answer)[QLatin1String("stored")].toInt()
                        != linesPerUnit) {
                    ok = false;
                    error = QStringLiteral("the station answered %1: %2")
                                .arg(status)
                                .arg(QString::fromUtf8(answer));
                }
                reply->deleteLater();
                send();
                if (pending == 0)
                    loop.quit();
            });
        }
    };
    send();
    if (pending)
        loop.exec();
    return ok;
}

bool Ingest::openBaseline()
{
    // LineStore opens the same database the way the station does (its connection options, its
    // schema); the baseline's table, in a fresh database, has the shape of the station's.
    const bool opened = databaseArgs.first() == QLatin1String("--postgres")
        ? store.openPostgres(databaseArgs.at(1))
        : store.openSqlite(databaseArgs.at(1));
    if (!opened) {
        error = store.lastError();
        return false;
    }
    QSqlQuery query(QSqlDatabase::database(QStringLiteral("baseline")));
    if (!query.exec(QStringLiteral(
            "CREATE TABLE baseline_lines (run_id VARCHAR(64) NOT NULL, line_no BIGINT NOT "
            "NULL, "
            "line_time VARCHAR(20) NOT NULL, mac VARCHAR(256) NOT NULL, kind VARCHAR(256) NOT "
            "NULL, name VARCHAR(256) NOT NULL, result VARCHAR(256) NOT NULL, received_at "
            "VARCHAR(20) NOT NULL, PRIMARY KEY (run_id, line_no))"))) {
        error = query.lastError().text();
        return false;
    }
    return true;
}

// The same units' lines, one transaction per unit, as plain INSERTs of prepared statements.
bool Ingest::insertBlock(QSqlDatabase &db, int first, int last)
{
    QSqlQuery query(db);
    if (!query.prepare(QStringLiteral(
            "INSERT INTO baseline_lines (run_id, line_no, line_time, mac, kind, name, result, "
            "received_at) VALUES (?, ?, ?, ?, ?, ?, ?, ?)"))) {
        error = query.lastError().text();
        return false;
    }
    for (int unit = first; unit < last; ++unit) {
        const QList<Line> record = unitRecord(unit, units, linesPerUnit);
        const QString now = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
        if (!db.transaction()) {
            error = db.lastError().text();
            return false;
        }
        for (int i = 0; i < record.size(); ++i) {
            query.addBindValue(runId(unit));
            query.addBindValue(qint64(i + 1));
            for (const QString &field : record.at(i))
                query.addBindValue(field);
            query.addBindValue(now);
            if (!query.exec()) {
                error = query.lastError().text();
                return false;
            }
        }
        if (!db.commit()) {
            error = db.lastError().text();
            return false;
        }
    }
    return true;
}

int Ingest::run()
{
    if (!startStation())
        return fail(QStringLiteral("the station did not start: %1").arg(error));
    if (!openBaseline())
        return fail(QStringLiteral("the baseline's table: %1").arg(error));
    QSqlDatabase db = QSqlDatabase::database(QStringLiteral("baseline"));
    QTimer sampler;
    QObject::connect(&sampler, &QTimer::timeout, [&] { rss << rssKiB(process.processId()); });
    rss << rssKiB(process.processId());
    sampler.start(SampleMs);

    qint64 endpointNs = 0;
    qint64 insertNs = 0;
    QList<qint64> rssAtBlock; // the station's RSS after each block
    QElapsedTimer clock;
    for (int first = 0; first < units; first += BlockUnits) {
        const int last = std::min(units, first + BlockUnits);
        clock.start();
        if (!postBlock(first, last))
            return fail(error);
        endpointNs += clock.nsecsElapsed();
        rssAtBlock << rssKiB(process.processId());
        clock.start();
        if (!insertBlock(db, first, last))
            return fail(QStringLiteral("plain INSERT: %1").arg(error));
        insertNs += clock.nsecsElapsed();
    }
    sampler.stop();
    process.terminate();
    process.waitForFinished(10000);

    const qint64 lines = qint64(units) * linesPerUnit;
    const double endpointS = endpointNs / 1e9;
    const double insertS = insertNs / 1e9;
    std::printf("%s: %lld lines of %d units, one batch of %d lines per unit, %d requests in "
                "flight\n",
        qPrintable(name), lines, units, linesPerUnit, inFlight);
    std::printf("  endpoint      %10.0f lines/s (%.2f s)\n", lines / endpointS, endpointS);
    std::printf("  plain INSERT  %10.0f lines/s (%.2f s)\n", lines / insertS, insertS);
    std::printf(
        "  ratio endpoint time / INSERT time: %.2f (goal: at most 2)\n", endpointS / insertS);
    // Flat: after the first tenth of the week the station holds no more than it did then.
    const qint64 early = rssAtBlock.value(std::max(0, int(rssAtBlock.size()) / 10 - 1));
    const qint64 end = rssAtBlock.isEmpty() ? -1 : rssAtBlock.last();
    rss += rssAtBlock;
    std::printf("  station RSS: start %.1f MiB, after a tenth %.1f MiB, end %.1f MiB, highest "
                "%.1f MiB (%lld samples); ratio end / tenth: %.2f\n",
        rss.value(0) / 1024.0, early / 1024.0, end / 1024.0,
        *std::max_element(rss.cbegin(), rss.cend()) / 1024.0, qint64(rss.size()),
        early > 0 ? double(end) / early : 0.0);
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("A factory week of records into benchstation, beside plain INSERTs."));
    parser.addHelpOption();
    const QCommandLineOption station(
        QStringLiteral("station"), QStringLiteral("benchstation program."), QStringLiteral("FILE"));
    const QCommandLineOption database(
        QStringLiteral("database"), QStringLiteral("SQLite file."), QStringLiteral("FILE"));
    const QCommandLineOption postgres(QStringLiteral("postgres"),
        QStringLiteral("PostgreSQL conninfo instead."), QStringLiteral("CONNINFO"));
    const QCommandLineOption units(QStringLiteral("units"),
        QStringLiteral("Units in the week (default 30000)."), QStringLiteral("N"),
        QStringLiteral("30000"));
    const QCommandLineOption lines(QStringLiteral("lines"),
        QStringLiteral("Lines per unit (default 33)."), QStringLiteral("N"), QStringLiteral("33"));
    const QCommandLineOption inFlight(QStringLiteral("in-flight"),
        QStringLiteral("Requests on their way at once (default 4)."), QStringLiteral("N"),
        QStringLiteral("4"));
    parser.addOptions({ station, database, postgres, units, lines, inFlight });
    parser.process(app);

    Ingest ingest;
    ingest.station = parser.value(station);
    ingest.units = parser.value(units).toInt();
    ingest.linesPerUnit = parser.value(lines).toInt();
    ingest.inFlight = parser.value(inFlight).toInt();
    if (parser.isSet(postgres)) {
        ingest.databaseArgs = { QStringLiteral("--postgres"), parser.value(postgres) };
        ingest.name = QStringLiteral("PostgreSQL");
    } else {
        ingest.databaseArgs = { QStringLiteral("--database"), parser.value(database) };
        ingest.name = QStringLiteral("SQLite");
    }
    if (ingest.station.isEmpty() || ingest.databaseArgs.at(1).isEmpty())
        return fail(QStringLiteral("--station and --database or --postgres are needed"));
    if (ingest.units <= 0 || ingest.linesPerUnit < 3 || ingest.linesPerUnit > 1000
        || ingest.inFlight <= 0)
        return fail(QStringLiteral("units, lines (3..1000) and in-flight must be positive"));
    return ingest.run();
}
