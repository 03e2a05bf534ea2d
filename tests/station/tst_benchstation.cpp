// benchstation as a program: batches over HTTP, record files imported, the database's refusals.
// The same cases run against SQLite and against a PostgreSQL server that the test starts in its
// own unit (BENCHTEST_STATION_DATABASE=postgres). The databases are in a directory of the unit's
// private /tmp, the one place a server running as nobody can reach; PostgreSQL's log is copied
// to the scratch directory at the end.
#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString PostgresBin = QStringLiteral("/usr/lib/postgresql/15/bin/");
const QByteArray Time = "2026-11-23T16:30:05Z";
constexpr quint16 Port = 36890;

// PostgreSQL refuses to run as root; the unit may change to nobody.
const QStringList AsNobody = { QStringLiteral("setpriv"), QStringLiteral("--reuid=nobody"),
    QStringLiteral("--regid=nogroup"), QStringLiteral("--clear-groups") };

struct Ran {
    int code = -1;
    QString out;
    QString err;
};

Ran run(const QStringList &command, const QString &directory = QString())
{
    QProcess process;
    process.setWorkingDirectory(directory);
    process.start(command.first(), command.mid(1));
    Ran ran;
    if (!process.waitForFinished(120000)) {
        ran.err = command.join(QLatin1Char(' ')) + QStringLiteral(": did not finish: ")
            + process.errorString();
        process.kill();
        process.waitForFinished();
        return ran;
    }
    ran.code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    ran.out = QString::fromUtf8(process.readAllStandardOutput());
    ran.err = QString::fromUtf8(process.readAllStandardError());
    return ran;
}

struct Reply {
    int status = 0; // 0: no HTTP answer
    QJsonObject json;
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
};

QByteArray line(const QByteArray &name, const QByteArray &result = "done")
{
    return Time + "\t-\tstage\t" + name + "\t" + result;
}

QByteArray batch(const QString &runId, qint64 first, const QList<QByteArray> &lines)
{
    QJsonArray items;
    for (const QByteArray &text : lines)
        items.append(QJsonObject { { QStringLiteral("n"), first++ },
            { QStringLiteral("line"), QString::fromUtf8(text) } });
    return QJsonDocument(
        QJsonObject { { QStringLiteral("run"), runId }, { QStringLiteral("lines"), items } })
        .toJson(QJsonDocument::Compact);
}

QList<QByteArray> numbered(int count, const QByteArray &prefix = "stage ")
{
    QList<QByteArray> lines;
    for (int i = 1; i <= count; ++i)
        lines << line(prefix + QByteArray::number(i));
    return lines;
}

} // namespace

class TestBenchStation : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void goodBatchStoredAndConfirmed();
    void sameBatchTwiceStoredOnce();
    void badRequestStoresNothing_data();
    void badRequestStoresNothing();
    void hugeBodyCutOff();
    void hostileFieldsStoredVerbatim();
    void endpointOnlyAdds();
    void twoStationsAtOnce();
    void importStopsAtCutLine();
    void importOfBadFileStoresNothing();
    void readOnlyDatabaseRefuses();
    void fullDatabaseRefuses();

private:
    QStringList databaseArgs(const QString &name) const;
    QProcess *startStation(const QString &database, quint16 port, const QStringList &wrapper = {});
    void stopStation(QProcess *station);
    Reply post(
        quint16 port, const QByteArray &body, const QByteArray &method = QByteArrayLiteral("POST"));
    int count(const QString &runId, const QString &database = QStringLiteral("records"));
    QString importRunId(const QByteArray &firstLine) const;
    QSqlDatabase connectTo(const QString &name);
    bool sql(const QString &statement, const QString &database = QStringLiteral("postgres"));

    bool postgres = false;
    QString scratch;
    QString program;
    QString data; // the databases, and PostgreSQL's socket
    std::unique_ptr<QTemporaryDir> dataHome;
    QProcess *station = nullptr;
    QList<QProcess *> stations;
    QNetworkAccessManager network;
};

QStringList TestBenchStation::databaseArgs(const QString &name) const
{
    if (postgres)
        return { QStringLiteral("--postgres"),
            QStringLiteral("host=%1 dbname=%2 user=bench").arg(data, name) };
    return { QStringLiteral("--database"), QDir(data).filePath(name + QStringLiteral(".db")) };
}

QSqlDatabase TestBenchStation::connectTo(const QString &name)
{
    const QString connection = QStringLiteral("check-") + name;
    if (QSqlDatabase::contains(connection))
        return QSqlDatabase::database(connection);
    QSqlDatabase db = QSqlDatabase::addDatabase(
        postgres ? QStringLiteral("QPSQL") : QStringLiteral("QSQLITE"), connection);
    if (postgres) {
        db.setHostName(data);
        db.setUserName(QStringLiteral("bench"));
        db.setDatabaseName(name);
    } else {
        db.setDatabaseName(QDir(data).filePath(name + QStringLiteral(".db")));
        db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=10000;QSQLITE_OPEN_READONLY"));
    }
    if (!db.open())
        qWarning() << "cannot open" << name << db.lastError().text();
    return db;
}

bool TestBenchStation::sql(const QString &statement, const QString &database)
{
    QSqlQuery query(connectTo(database));
    if (!query.exec(statement)) {
        qWarning() << statement << query.lastError().text();
        return false;
    }
    return true;
}

int TestBenchStation::count(const QString &runId, const QString &database)
{
    QSqlQuery query(connectTo(database));
    query.prepare(QStringLiteral("SELECT COUNT(*) FROM record_lines WHERE run_id = ?"));
    query.addBindValue(runId);
    if (!query.exec() || !query.next()) {
        qWarning() << "count" << runId << query.lastError().text();
        return -1;
    }
    return query.value(0).toInt();
}

QString TestBenchStation::importRunId(const QByteArray &firstLine) const
{
    return QStringLiteral("file-")
        + QString::fromLatin1(
            QCryptographicHash::hash(firstLine, QCryptographicHash::Sha256).toHex().left(16));
}

QProcess *TestBenchStation::startStation(
    const QString &database, quint16 port, const QStringList &wrapper)
{
    auto *process = new QProcess(this);
    QStringList command = wrapper;
    command << program << databaseArgs(database) << QStringLiteral("--listen")
            << QStringLiteral("127.0.0.1") << QStringLiteral("--port") << QString::number(port);
    process->setProcessChannelMode(QProcess::ForwardedOutputChannel);
    // What the station says goes to the test's log; its first line says it is listening.
    auto said = std::make_shared<QByteArray>();
    connect(process, &QProcess::readyReadStandardError, process, [process, said] {
        const QByteArray chunk = process->readAllStandardError();
        *said += chunk;
        std::fwrite(chunk.constData(), 1, size_t(chunk.size()), stderr);
    });
    process->start(command.first(), command.mid(1));
    QDeadlineTimer deadline(30000);
    while (!said->contains("listening on") && process->state() != QProcess::NotRunning
        && !deadline.hasExpired())
        QTest::qWait(20);
    if (!said->contains("listening on")) {
        qWarning() << "station did not start:" << command << *said;
        process->kill();
        process->waitForFinished();
        delete process;
        return nullptr;
    }
    stations << process;
    return process;
}

void TestBenchStation::stopStation(QProcess *process)
{
    if (!process)
        return;
    stations.removeAll(process);
    process->terminate();
    if (!process->waitForFinished(10000)) {
        process->kill();
        process->waitForFinished();
    }
    delete process;
}

Reply TestBenchStation::post(quint16 port, const QByteArray &body, const QByteArray &method)
{
    QNetworkRequest request(QUrl(QStringLiteral("http://127.0.0.1:%1/api/lines").arg(port)));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setTransferTimeout(60000);
    QNetworkReply *reply = network.sendCustomRequest(request, method, body);
    QEventLoop loop;
    connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (!reply->isFinished())
        loop.exec();
    Reply result;
    result.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    result.json = QJsonDocument::fromJson(reply->readAll()).object();
    result.error = reply->error();
    reply->deleteLater();
    return result;
}

void TestBenchStation::initTestCase()
{
    program = QStringLiteral(BENCHSTATION_PROGRAM);
    scratch = qEnvironmentVariable("BENCHTEST_SCRATCH_DIR");
    QVERIFY2(!scratch.isEmpty() && QFileInfo(scratch).isDir(), "no scratch directory");
    postgres = qEnvironmentVariable("BENCHTEST_STATION_DATABASE") == QLatin1String("postgres");
    dataHome = std::make_unique<QTemporaryDir>(QStringLiteral("/tmp/benchstation-XXXXXX"));
    QVERIFY(dataHome->isValid());
    data = dataHome->path();
    // Some servers run as nobody.
    QVERIFY(::chmod(QFile::encodeName(data).constData(), 0711) == 0);
    if (postgres) {
        const QString cluster = QDir(data).filePath(QStringLiteral("postgres"));
        QVERIFY(QDir().mkpath(cluster));
        QVERIFY(::chown(QFile::encodeName(cluster).constData(), 65534, 65534) == 0);
        QVERIFY(::chown(QFile::encodeName(data).constData(), 65534, 65534) == 0);
        Ran init = run(AsNobody
                + QStringList { PostgresBin + QStringLiteral("initdb"), QStringLiteral("-D"),
                    cluster, QStringLiteral("-U"), QStringLiteral("bench"), QStringLiteral("-A"),
                    QStringLiteral("trust"), QStringLiteral("-E"), QStringLiteral("UTF8"),
                    QStringLiteral("--no-locale") },
            data);
        QVERIFY2(init.code == 0, qPrintable(init.out + init.err));
        Ran start = run(AsNobody
                + QStringList { PostgresBin + QStringLiteral("pg_ctl"), QStringLiteral("-D"),
                    cluster, QStringLiteral("-l"),
                    QDir(data).filePath(QStringLiteral("postgres.log")), QStringLiteral("-w"),
                    QStringLiteral("-t"), QStringLiteral("60"), QStringLiteral("-o"),
                    QStringLiteral("-k %1 -c listen_addresses=''").arg(data),
                    QStringLiteral("start") },
            data);
        QVERIFY2(start.code == 0, qPrintable(start.out + start.err));
        QVERIFY(sql(QStringLiteral("CREATE DATABASE records")));
    }
    station = startStation(QStringLiteral("records"), Port);
    QVERIFY(station);
}

void TestBenchStation::cleanupTestCase()
{
    while (!stations.isEmpty())
        stopStation(stations.first());
    const QStringList connections = QSqlDatabase::connectionNames();
    for (const QString &name : connections) {
        QSqlDatabase::database(name, false).close();
        QSqlDatabase::removeDatabase(name);
    }
    if (postgres && dataHome) {
        Ran stop = run(AsNobody
                + QStringList { PostgresBin + QStringLiteral("pg_ctl"), QStringLiteral("-D"),
                    QDir(data).filePath(QStringLiteral("postgres")), QStringLiteral("-m"),
                    QStringLiteral("fast"), QStringLiteral("-w"), QStringLiteral("stop") },
            data);
        QFile::copy(QDir(data).filePath(QStringLiteral("postgres.log")),
            QDir(scratch).filePath(QStringLiteral("postgres.log")));
        QVERIFY2(stop.code == 0, qPrintable(stop.out + stop.err));
    }
}

void TestBenchStation::goodBatchStoredAndConfirmed()
{
    const QList<QByteArray> lines
        = { line("touch panel"), Time + "\t-\tresult\tCOM port 2 RS232 test\tok!",
              Time + "\t02:A7:3C:00:10:01\toutcome\tMAC\twritten" };
    const Reply reply = post(Port, batch(QStringLiteral("good-1"), 1, lines));
    QCOMPARE(reply.status, 200);
    QCOMPARE(reply.json,
        (QJsonObject { { QStringLiteral("run"), QStringLiteral("good-1") },
            { QStringLiteral("stored"), 3 }, { QStringLiteral("duplicates"), 0 },
            { QStringLiteral("last"), 3 } }));

    QSqlQuery query(connectTo(QStringLiteral("records")));
    QVERIFY(query.exec(QStringLiteral("SELECT line_no, line_time, mac, kind, name, result FROM "
                                      "record_lines WHERE run_id = 'good-1' ORDER BY line_no")));
    QStringList stored;
    while (query.next()) {
        QStringList row;
        for (int i = 0; i < 6; ++i)
            row << query.value(i).toString();
        stored << row.join(QLatin1Char('\t'));
    }
    QCOMPARE(stored,
        (QStringList { QStringLiteral("1\t") + QString::fromUtf8(lines.at(0)),
            QStringLiteral("2\t") + QString::fromUtf8(lines.at(1)),
            QStringLiteral("3\t") + QString::fromUtf8(lines.at(2)) }));
}

void TestBenchStation::sameBatchTwiceStoredOnce()
{
    const QByteArray body = batch(QStringLiteral("twice-1"), 1, numbered(20));
    QCOMPARE(post(Port, body).json.value(QStringLiteral("stored")).toInt(), 20);
    const Reply again = post(Port, body);
    QCOMPARE(again.status, 200);
    QCOMPARE(again.json.value(QStringLiteral("stored")).toInt(), 0);
    QCOMPARE(again.json.value(QStringLiteral("duplicates")).toInt(), 20);
    // A batch that overlaps the stored lines adds only the new ones.
    const Reply overlap = post(Port, batch(QStringLiteral("twice-1"), 15, numbered(10)));
    QCOMPARE(overlap.json.value(QStringLiteral("stored")).toInt(), 4);
    QCOMPARE(overlap.json.value(QStringLiteral("duplicates")).toInt(), 6);
    QCOMPARE(count(QStringLiteral("twice-1")), 24);
}

void TestBenchStation::badRequestStoresNothing_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("error");

    const QByteArray good = line("touch panel");
    auto two = [&](const char *run, const QByteArray &second) {
        return batch(QString::fromLatin1(run), 1, { good, second });
    };
    QTest::newRow("field count") << two("bad-fields", Time + "\t-\tstage\tx") << 400
                                 << QStringLiteral("line 2: 4 fields, a line has 5");
    QTest::newRow("time")
        << two("bad-time", "2026-11-23 16:30:05\t-\tstage\tx\tdone") << 400
        << QStringLiteral("line 2: time \"2026-11-23 16:30:05\" is not YYYY-MM-DDTHH:MM:SSZ");
    QTest::newRow("kind") << two("bad-kind", Time + "\t-\tDROP\tx\tdone") << 400
                          << QStringLiteral(
                                 "line 2: kind \"DROP\" is not run, stage, result or outcome");
    const QByteArray longLine = line(QByteArray(200, 'n'), QByteArray(900, 'r'));
    QTest::newRow("long line")
        << two("bad-long", longLine) << 400
        << QStringLiteral("line 2: line of %1 bytes, at most 1024").arg(longLine.size());
    QTest::newRow("order")
        << batch(QStringLiteral("bad-order"), 1, { good, good }).replace("\"n\":2", "\"n\":1")
        << 400 << QStringLiteral("line 1 after line 1: a batch is in order");
    QTest::newRow("line zero") << batch(QStringLiteral("bad-zero"), 0, { good }) << 400
                               << QStringLiteral("each line needs \"n\", its line number from 1");
    QTest::newRow("run id") << batch(QStringLiteral("bad run"), 1, { good }) << 400
                            << QStringLiteral(
                                   "\"run\" must be 1..64 letters, digits, '.', '_', ':' or '-'");
    QTest::newRow("no lines") << batch(QStringLiteral("bad-empty"), 1, {}) << 400
                              << QStringLiteral("\"lines\" must be a list of lines");
    QJsonParseError parseError;
    QJsonDocument::fromJson("run=bad-json", &parseError);
    QTest::newRow("not JSON") << QByteArray("run=bad-json") << 400
                              << QStringLiteral("the body is not a JSON object: ")
            + parseError.errorString();
    QTest::newRow("batch size") << batch(QStringLiteral("bad-batch"), 1, numbered(1001)) << 413
                                << QStringLiteral("1001 lines, at most 1000 a batch");
    // Over the body's bound but within what a connection may send: a 413 answer.
    QList<QByteArray> big;
    for (int i = 0; i < 990; ++i)
        big << line(QByteArray(256, 'b'), QByteArray(256, 'r'));
    const QByteArray bigBody = batch(QStringLiteral("bad-body"), 1, big);
    QTest::newRow("body size")
        << bigBody << 413
        << QStringLiteral("a body of %1 bytes, at most 524288").arg(bigBody.size());
}

void TestBenchStation::badRequestStoresNothing()
{
    QFETCH(QByteArray, body);
    QFETCH(int, status);
    QFETCH(QString, error);
    const QString runId
        = QJsonDocument::fromJson(body).object().value(QStringLiteral("run")).toString();
    const Reply reply = post(Port, body);
    QCOMPARE(reply.status, status);
    QCOMPARE(reply.json, (QJsonObject { { QStringLiteral("error"), error } }));
    if (!runId.isEmpty())
        QCOMPARE(count(runId), 0);
    QCOMPARE(count(QStringLiteral("bad-json")), 0);
}

void TestBenchStation::hugeBodyCutOff()
{
    // Far past any batch: the connection is cut while the body comes in.
    QList<QByteArray> huge;
    for (int i = 0; i < 20000; ++i)
        huge << line(QByteArray(250, 'h'), QByteArray(250, 'r'));
    const Reply reply = post(Port, batch(QStringLiteral("huge"), 1, huge));
    QCOMPARE(reply.status, 0);
    // No answer at all (a reset or a closed connection, as the client happens to see it).
    QVERIFY(reply.error != QNetworkReply::NoError);
    QCOMPARE(count(QStringLiteral("huge")), 0);
    // The station goes on serving.
    QCOMPARE(post(Port, batch(QStringLiteral("after-huge"), 1, numbered(2))).status, 200);
    QCOMPARE(count(QStringLiteral("after-huge")), 2);
}

void TestBenchStation::hostileFieldsStoredVerbatim()
{
    const QString sqlName = QStringLiteral("x'); DROP TABLE record_lines; --");
    const QString html = QStringLiteral("<script>alert(\"ok!\")</script>&amp;");
    const Reply reply = post(Port,
        batch(QStringLiteral("hostile"), 1,
            { Time + "\t-\tresult\t" + sqlName.toUtf8() + "\t" + html.toUtf8() }));
    QCOMPARE(reply.status, 200);
    QSqlQuery query(connectTo(QStringLiteral("records")));
    QVERIFY(query.exec(
        QStringLiteral("SELECT name, result FROM record_lines WHERE run_id = 'hostile'")));
    QVERIFY(query.next());
    QCOMPARE(query.value(0).toString(), sqlName);
    QCOMPARE(query.value(1).toString(), html);
    QVERIFY(count(QStringLiteral("good-1")) == 3);
}

void TestBenchStation::endpointOnlyAdds()
{
    const QByteArray first
        = batch(QStringLiteral("only-adds"), 1, { line("touch panel", "passed") });
    QCOMPARE(post(Port, first).status, 200);
    // The same key with other content does not change the stored line.
    const Reply changed
        = post(Port, batch(QStringLiteral("only-adds"), 1, { line("touch panel", "failed") }));
    QCOMPARE(changed.status, 200);
    QCOMPARE(changed.json.value(QStringLiteral("duplicates")).toInt(), 1);
    for (const QByteArray &method : { QByteArrayLiteral("GET"), QByteArrayLiteral("PUT"),
             QByteArrayLiteral("DELETE"), QByteArrayLiteral("PATCH") }) {
        const Reply reply = post(Port, method == "GET" ? QByteArray() : first, method);
        QVERIFY2(reply.status == 405, method.constData());
        QCOMPARE(reply.json.value(QStringLiteral("error")).toString(),
            QStringLiteral("lines can only be added (POST)"));
    }
    QSqlQuery query(connectTo(QStringLiteral("records")));
    QVERIFY(
        query.exec(QStringLiteral("SELECT result FROM record_lines WHERE run_id = 'only-adds'")));
    QVERIFY(query.next());
    QCOMPARE(query.value(0).toString(), QStringLiteral("passed"));
    QVERIFY(!query.next());
}

void TestBenchStation::twoStationsAtOnce()
{
    QProcess *second = startStation(QStringLiteral("records"), Port + 1);
    QVERIFY(second);
    // Both stations get the same run's batches (a unit that resent to another station) and a
    // run of their own, all at once.
    QList<QNetworkReply *> replies;
    QList<QString> runs;
    auto send = [&](quint16 port, const QString &runId, int first) {
        QNetworkRequest request(QUrl(QStringLiteral("http://127.0.0.1:%1/api/lines").arg(port)));
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
        request.setTransferTimeout(60000);
        replies << network.post(request, batch(runId, first, numbered(50)));
        runs << runId;
    };
    for (int b = 0; b < 4; ++b) {
        for (quint16 port : { Port, quint16(Port + 1) })
            send(port, QStringLiteral("shared-run"), 1 + 50 * b);
        send(Port, QStringLiteral("own-run-a"), 1 + 50 * b);
        send(Port + 1, QStringLiteral("own-run-b"), 1 + 50 * b);
    }
    QTRY_VERIFY_WITH_TIMEOUT(std::all_of(replies.cbegin(), replies.cend(),
                                 [](QNetworkReply *r) { return r->isFinished(); }),
        120000);
    int sharedStored = 0;
    int sharedDuplicates = 0;
    for (int i = 0; i < replies.size(); ++i) {
        QNetworkReply *reply = replies.at(i);
        const QByteArray answer = reply->readAll();
        QVERIFY2(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == 200,
            answer.constData());
        const QJsonObject json = QJsonDocument::fromJson(answer).object();
        if (runs.at(i) == QLatin1String("shared-run")) {
            sharedStored += json.value(QStringLiteral("stored")).toInt();
            sharedDuplicates += json.value(QStringLiteral("duplicates")).toInt();
        } else {
            QCOMPARE(json.value(QStringLiteral("stored")).toInt(), 50);
        }
        reply->deleteLater();
    }
    QCOMPARE(sharedStored, 200);
    QCOMPARE(sharedDuplicates, 200);
    QCOMPARE(count(QStringLiteral("shared-run")), 200);
    QCOMPARE(count(QStringLiteral("own-run-a")), 200);
    QCOMPARE(count(QStringLiteral("own-run-b")), 200);
    stopStation(second);
}

void TestBenchStation::importStopsAtCutLine()
{
    const QString file = QDir(scratch).filePath(QStringLiteral("cut.record"));
    const QByteArray whole
        = line("touch panel") + "\n" + line("brightness") + "\n" + Time + "\t-\tresult\tUSB\tok!\n";
    const QByteArray half = "2026-11-23T16:31:00Z\t-\tsta";
    QFile out(file);
    QVERIFY(out.open(QIODevice::WriteOnly));
    out.write(whole + half);
    out.close();
    const QString runId = importRunId(line("touch panel"));
    const QStringList import = QStringList { program } + databaseArgs(QStringLiteral("records"))
        + QStringList { QStringLiteral("import"), file };

    Ran first = run(import);
    QCOMPARE(first.code, 0);
    QCOMPARE(first.out,
        QStringLiteral("%1: run %2, 3 lines stored, 0 already there; a cut last line of %3 bytes "
                       "left out\n")
            .arg(file, runId)
            .arg(half.size()));
    QCOMPARE(count(runId), 3);

    // The power came back and the line was finished: only it is new.
    QVERIFY(out.open(QIODevice::Append));
    out.write("ge\tlcm\tdone\n");
    out.close();
    Ran second = run(import);
    QCOMPARE(second.code, 0);
    QCOMPARE(second.out,
        QStringLiteral("%1: run %2, 1 lines stored, 3 already there\n").arg(file, runId));
    QCOMPARE(count(runId), 4);
}

void TestBenchStation::importOfBadFileStoresNothing()
{
    const QString file = QDir(scratch).filePath(QStringLiteral("bad.record"));
    QFile out(file);
    QVERIFY(out.open(QIODevice::WriteOnly));
    out.write(line("calibration") + "\n" + "yesterday\t-\tstage\tx\tdone\n" + line("lcm") + "\n");
    out.close();
    Ran ran = run(QStringList { program } + databaseArgs(QStringLiteral("records"))
        + QStringList { QStringLiteral("import"), file });
    QCOMPARE(ran.code, 1);
    QCOMPARE(ran.err,
        QStringLiteral("%1:2: time \"yesterday\" is not YYYY-MM-DDTHH:MM:SSZ; nothing of this file "
                       "was stored\n")
            .arg(file));
    QCOMPARE(count(importRunId(line("calibration"))), 0);
}

void TestBenchStation::readOnlyDatabaseRefuses()
{
    // A database with lines in it, then made read-only: SQLite's file is the root's and the
    // station runs as nobody; PostgreSQL's database refuses writes.
    const QString file = QDir(scratch).filePath(QStringLiteral("ro.record"));
    QFile out(file);
    QVERIFY(out.open(QIODevice::WriteOnly));
    out.write(line("read only") + "\n");
    out.close();
    if (postgres)
        QVERIFY(sql(QStringLiteral("CREATE DATABASE records_ro")));
    Ran import = run(QStringList { program } + databaseArgs(QStringLiteral("records_ro"))
        + QStringList { QStringLiteral("import"), file });
    QVERIFY2(import.code == 0, qPrintable(import.err));
    QStringList wrapper;
    if (postgres)
        QVERIFY(sql(
            QStringLiteral("ALTER DATABASE records_ro SET default_transaction_read_only = on")));
    else
        wrapper = AsNobody;

    QProcess *readOnly = startStation(QStringLiteral("records_ro"), Port + 2, wrapper);
    QVERIFY(readOnly);
    const Reply reply = post(Port + 2, batch(QStringLiteral("refused"), 1, numbered(5)));
    QCOMPARE(reply.status, 503);
    QVERIFY2(reply.json.value(QStringLiteral("error"))
                 .toString()
                 .startsWith(QStringLiteral("the database refused the batch: ")),
        qPrintable(reply.json.value(QStringLiteral("error")).toString()));
    QCOMPARE(count(QStringLiteral("refused"), QStringLiteral("records_ro")), 0);
    QCOMPARE(count(importRunId(line("read only")), QStringLiteral("records_ro")), 1);
    stopStation(readOnly);
}

void TestBenchStation::fullDatabaseRefuses()
{
    if (postgres)
        QSKIP("a full PostgreSQL needs a file system of its own, which a unit cannot mount");
    // The file may not grow: as when the disk is full.
    const QString file = QDir(scratch).filePath(QStringLiteral("full.record"));
    QFile out(file);
    QVERIFY(out.open(QIODevice::WriteOnly));
    out.write(line("full") + "\n");
    out.close();
    Ran import = run(QStringList { program } + databaseArgs(QStringLiteral("full"))
        + QStringList { QStringLiteral("import"), file });
    QVERIFY2(import.code == 0, qPrintable(import.err));
    const qint64 size = QFileInfo(QDir(data).filePath(QStringLiteral("full.db"))).size();
    QVERIFY(size > 0);
    QProcess *full = startStation(QStringLiteral("full"), Port + 3,
        { QStringLiteral("prlimit"), QStringLiteral("--fsize=%1").arg(size),
            QStringLiteral("--") });
    QVERIFY(full);
    QList<QByteArray> lines;
    for (int i = 0; i < 400; ++i)
        lines << line(QByteArray(200, 'f'), QByteArray(200, 'r'));
    const Reply reply = post(Port + 3, batch(QStringLiteral("too-much"), 1, lines));
    QCOMPARE(reply.status, 503);
    QCOMPARE(count(QStringLiteral("too-much"), QStringLiteral("full")), 0);
    // Room for a small batch is still there: the station was refusing, not broken.
    QCOMPARE(post(Port + 3, batch(QStringLiteral("small"), 1, numbered(1))).status, 200);
    stopStation(full);
}

QTEST_GUILESS_MAIN(TestBenchStation)
#include "tst_benchstation.moc"
