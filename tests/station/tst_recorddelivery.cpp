// The unit's record reaches a benchstation on the unit's own loopback: every whole line, in
// order, once; through a station that is down at first, one killed in the middle, and the unit's
// side killed in the middle of a delivery and started again.
#include "common/recordkey.h"
#include "common/recordsender.h"
#include "common/unitrecord.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTcpServer>
#include <QtTest>

#include <csignal>
#include <utility>

namespace {

QByteArray line(int i)
{
    return "2026-11-24T07:00:01Z\t-\tstage\tstage " + QByteArray::number(i) + "\tdone";
}

// COUNT lines as the program writes them: a run line, then stage lines, and a new run every
// 30 lines, as a unit that is powered up again and again (a run's report rows are made again
// from its lines with each batch, so one endless run would time the station, not the delivery).
QByteArray record(int count)
{
    QByteArray text;
    for (int i = 1; i <= count; ++i) {
        if (i % 30 == 1)
            text += "2026-11-24T07:00:00Z\t-\trun\t" + UnitRecord::newRunId().toLatin1()
                + "\tversion=0.1 model=7 screen=800x480 dip=0x0\n";
        else
            text += line(i) + '\n';
    }
    return text;
}

bool writeFile(const QString &path, const QByteArray &bytes, QIODevice::OpenMode mode)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | mode) && file.write(bytes) == bytes.size();
}

// How many lines the unit holds as confirmed.
qint64 sentCount()
{
    QFile file(RecordSender::sentPath());
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().trimmed().split(' ').value(1).toLongLong();
}

// Returns as soon as the first batch is confirmed: the test's event loop is too slow a clock,
// the whole record would be gone before it looked.
bool waitForFirstConfirmation()
{
    QDeadlineTimer deadline(60000);
    while (sentCount() == 0 && !deadline.hasExpired())
        QThread::msleep(1);
    return sentCount() > 0;
}

} // namespace

class tst_RecordDelivery : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void allArriveInOrderOnce();
    void stationDownAtFirst();
    void stationKilledMidRun();
    void unitKilledMidDelivery();
    void cutLastLineHeldBack();

private:
    bool startStation();
    void killStation();
    void compareStored(const QByteArray &written);
    QProcess *startUnitSide();

    QString scratch;
    QString dir; // this test function's record and database
    quint16 port = 0;
    QProcess *station = nullptr;
    QList<QProcess *> unitSides;
};

void tst_RecordDelivery::initTestCase()
{
    scratch = qEnvironmentVariable("BENCHTEST_SCRATCH_DIR");
    QVERIFY2(!scratch.isEmpty(), "run in a virtual unit");
}

void tst_RecordDelivery::init()
{
    dir = QDir(scratch).filePath(QString::fromLatin1(QTest::currentTestFunction()));
    QVERIFY(QDir().mkpath(dir));
    // A port that was free a moment ago: the unit's loopback is its own.
    QTcpServer probe;
    QVERIFY(probe.listen(QHostAddress::LocalHost));
    port = probe.serverPort();
    probe.close();
    qputenv("BENCHTEST_RECORD", QDir(dir).filePath(QStringLiteral("unit.record")).toUtf8());
    qputenv("BENCHTEST_STATION", "127.0.0.1 " + QByteArray::number(port));
}

void tst_RecordDelivery::cleanup()
{
    killStation();
    for (QProcess *process : std::as_const(unitSides)) {
        process->kill();
        process->waitForFinished();
        delete process;
    }
    unitSides.clear();
    QSqlDatabase::removeDatabase(QStringLiteral("check"));
    qunsetenv("BENCHTEST_RECORD");
    qunsetenv("BENCHTEST_STATION");
}

bool tst_RecordDelivery::startStation()
{
    station = new QProcess(this);
    station->setProcessChannelMode(QProcess::MergedChannels);
    station->start(QStringLiteral(BENCHSTATION_PROGRAM),
        { QStringLiteral("--database"), QDir(dir).filePath(QStringLiteral("station.db")),
            QStringLiteral("--listen"), QStringLiteral("127.0.0.1"), QStringLiteral("--port"),
            QString::number(port) });
    QByteArray said;
    QDeadlineTimer deadline(30000);
    while (!said.contains("listening on") && !deadline.hasExpired()
        && station->state() != QProcess::NotRunning) {
        station->waitForReadyRead(100);
        said += station->readAll();
    }
    if (!said.contains("listening on"))
        qWarning() << "the station did not start:" << said;
    return said.contains("listening on");
}

void tst_RecordDelivery::killStation()
{
    if (!station)
        return;
    station->kill();
    station->waitForFinished();
    delete station;
    station = nullptr;
}

QProcess *tst_RecordDelivery::startUnitSide()
{
    auto *process = new QProcess(this);
    process->setProcessChannelMode(QProcess::ForwardedChannels);
    process->start(QStringLiteral(RECORDSEND_PROGRAM), {});
    unitSides << process;
    return process;
}

// The station holds exactly WRITTEN's whole lines, under its key, numbered in order.
void tst_RecordDelivery::compareStored(const QByteArray &written)
{
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("check"));
    db.setDatabaseName(QDir(dir).filePath(QStringLiteral("station.db")));
    db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=10000"));
    QVERIFY2(db.open(), qPrintable(db.lastError().text()));
    QList<QByteArray> lines = written.left(written.lastIndexOf('\n')).split('\n');
    {
        QSqlQuery query(db);
        QVERIFY(query.exec(
            QStringLiteral("SELECT COUNT(*), COUNT(DISTINCT run_id) FROM record_lines")));
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toInt(), lines.size());
        QCOMPARE(query.value(1).toInt(), 1);
        QVERIFY(query.prepare(
            QStringLiteral("SELECT line_no, line_time, mac, kind, name, result FROM record_lines "
                           "WHERE run_id = ? ORDER BY line_no")));
        query.addBindValue(RecordKey::forFirstLine(lines.first()));
        QVERIFY(query.exec());
        int n = 0;
        while (query.next()) {
            QCOMPARE(query.value(0).toLongLong(), qint64(n + 1));
            QStringList fields;
            for (int i = 1; i <= 5; ++i)
                fields << query.value(i).toString();
            QCOMPARE(fields.join(QLatin1Char('\t')).toUtf8(), lines.at(n));
            ++n;
        }
        QCOMPARE(n, lines.size());
    }
    db.close();
}

void tst_RecordDelivery::allArriveInOrderOnce()
{
    // The documented place of the station, as a bench configures it.
    qunsetenv("BENCHTEST_STATION");
    QVERIFY(writeFile(RecordSender::configPath(),
        "# the line's station\n127.0.0.1 " + QByteArray::number(port) + "\n", QIODevice::Truncate));
    const QByteArray written = record(450);
    QVERIFY(writeFile(UnitRecord::path(), written, QIODevice::Truncate));
    QVERIFY(startStation());
    RecordSender sender;
    sender.start();
    QTRY_COMPARE_WITH_TIMEOUT(sentCount(), qint64(450), 30000);
    QTRY_COMPARE(sender.storedLines(), 450);
    QCOMPARE(sender.duplicateLines(), 0);
    compareStored(written);
    QFile::remove(RecordSender::configPath());
}

void tst_RecordDelivery::stationDownAtFirst()
{
    const QByteArray written = record(300);
    QVERIFY(writeFile(UnitRecord::path(), written, QIODevice::Truncate));
    RecordSender sender;
    sender.setTiming(100, 400, 2000);
    QSignalSpy failed(&sender, &RecordSender::failed);
    QVERIFY(failed.isValid());
    sender.start();
    QTRY_VERIFY_WITH_TIMEOUT(failed.size() >= 2, 10000);
    QCOMPARE(sentCount(), qint64(0));
    QVERIFY(startStation());
    QTRY_COMPARE_WITH_TIMEOUT(sentCount(), qint64(300), 30000);
    QTRY_COMPARE(sender.storedLines(), 300);
    QCOMPARE(sender.duplicateLines(), 0);
    compareStored(written);
}

void tst_RecordDelivery::stationKilledMidRun()
{
    const int total = 20000;
    const QByteArray written = record(total);
    QVERIFY(writeFile(UnitRecord::path(), written, QIODevice::Truncate));
    QVERIFY(startStation());
    RecordSender sender;
    sender.setTiming(100, 400, 2000);
    QSignalSpy failed(&sender, &RecordSender::failed);
    QVERIFY(failed.isValid());
    sender.start();
    QVERIFY(waitForFirstConfirmation());
    killStation();
    QTRY_VERIFY_WITH_TIMEOUT(failed.size() >= 1, 10000);
    QVERIFY2(sentCount() < total, "all lines were confirmed before the station was killed");
    QVERIFY(startStation());
    QTRY_COMPARE_WITH_TIMEOUT(sentCount(), qint64(total), 60000);
    // A batch the station committed just before it died comes again; it is stored once.
    QTRY_COMPARE(sender.storedLines(), total);
    compareStored(written);
}

void tst_RecordDelivery::unitKilledMidDelivery()
{
    const int total = 20000;
    const QByteArray written = record(total);
    QVERIFY(writeFile(UnitRecord::path(), written, QIODevice::Truncate));
    QVERIFY(startStation());
    QProcess *first = startUnitSide();
    QVERIFY(waitForFirstConfirmation());
    // The station stands still with a batch on its way, and the unit's side dies waiting.
    QCOMPARE(::kill(pid_t(station->processId()), SIGSTOP), 0);
    first->kill();
    QVERIFY(first->waitForFinished());
    QCOMPARE(::kill(pid_t(station->processId()), SIGCONT), 0);
    const qint64 confirmedBefore = sentCount();
    QVERIFY2(confirmedBefore > 0 && confirmedBefore < total,
        qPrintable(QString::number(confirmedBefore)));
    startUnitSide();
    QTRY_COMPARE_WITH_TIMEOUT(sentCount(), qint64(total), 120000);
    compareStored(written);
}

void tst_RecordDelivery::cutLastLineHeldBack()
{
    // A power cut in the middle of the eleventh line.
    const QByteArray whole = record(10);
    const QByteArray cut = line(11).left(25);
    QVERIFY(writeFile(UnitRecord::path(), whole + cut, QIODevice::Truncate));
    QVERIFY(startStation());
    RecordSender sender;
    sender.setTiming(100, 400, 2000);
    sender.start();
    QTRY_COMPARE_WITH_TIMEOUT(sentCount(), qint64(10), 30000);
    compareStored(whole);
    // The next start of the program finishes the line; then it goes too.
    QVERIFY(writeFile(UnitRecord::path(), line(11).mid(25) + '\n', QIODevice::Append));
    QTRY_COMPARE_WITH_TIMEOUT(sentCount(), qint64(11), 30000);
    QTRY_COMPARE(sender.storedLines(), 11);
    QCOMPARE(sender.duplicateLines(), 0);
    compareStored(whole + line(11) + '\n');
}

QTEST_GUILESS_MAIN(tst_RecordDelivery)
#include "tst_recorddelivery.moc"
