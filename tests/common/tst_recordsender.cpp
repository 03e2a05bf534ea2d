// The record's delivery to the station, without a station: which lines a batch holds, what the
// station must answer to confirm it, where the station is, and that a station that refuses,
// answers garbage or never answers confirms nothing.
#include "common/recordkey.h"
#include "common/recordsender.h"
#include "common/unitrecord.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

namespace {

const QByteArray RunLine = "2026-11-24T07:00:00Z\t-\trun\t5f0c2a9e41d8b7730e6a1c94d2b58f17\t"
                           "version=0.1 model=7 screen=800x480 dip=0x0";

QByteArray stage(int i)
{
    return "2026-11-24T07:00:01Z\t-\tstage\tstage " + QByteArray::number(i) + "\tdone";
}

// RunLine and COUNT - 1 stage lines, each with its line break.
QByteArray record(int count)
{
    QByteArray text = RunLine + '\n';
    for (int i = 2; i <= count; ++i)
        text += stage(i) + '\n';
    return text;
}

QByteArray key()
{
    return RecordKey::forFirstLine(RunLine).toLatin1();
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        && file.write(bytes) == bytes.size();
}

// A station that answers every request with one fixed reply, or never (an empty reply; with
// hangUp it closes the connection instead).
class FakeStation : public QTcpServer {
public:
    explicit FakeStation(const QByteArray &reply, bool hangUp = false)
        : reply(reply), hangUp(hangUp)
    {
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = nextPendingConnection()) {
                connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    received += socket->readAll();
                    if (received.contains("\r\n\r\n") && received.endsWith("}")
                        && (!this->reply.isEmpty() || this->hangUp)) {
                        ++requests;
                        socket->write(this->reply);
                        socket->disconnectFromHost();
                        received.clear();
                    }
                });
            }
        });
    }
    QByteArray reply;
    bool hangUp = false;
    QByteArray received;
    int requests = 0;
};

QByteArray http(const QByteArray &status, const QByteArray &body)
{
    return "HTTP/1.1 " + status + "\r\nContent-Type: application/json\r\nContent-Length: "
        + QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
}

} // namespace

class tst_RecordSender : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void pending_data();
    void pending();
    void batchesAreBounded();
    void body();
    void confirms_data();
    void confirms();
    void station_data();
    void station();
    void readAnswer_data();
    void readAnswer();
    void answerForms_data();
    void answerForms();
    void unconfirmedLinesWait_data();
    void unconfirmedLinesWait();

private:
    QString scratch;
};

void tst_RecordSender::initTestCase()
{
    QVERIFY2(qEnvironmentVariableIsSet("BENCHTEST_SCRATCH_DIR"), "run in a virtual unit");
    scratch = qEnvironmentVariable("BENCHTEST_SCRATCH_DIR");
}

void tst_RecordSender::init()
{
    qputenv("BENCHTEST_RECORD", QDir(scratch).filePath(QStringLiteral("unit.record")).toUtf8());
    QFile::remove(UnitRecord::path());
    QFile::remove(RecordSender::sentPath());
    QFile::remove(RecordSender::configPath());
}

void tst_RecordSender::cleanup()
{
    qunsetenv("BENCHTEST_RECORD");
    qunsetenv("BENCHTEST_STATION");
}

void tst_RecordSender::pending_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<qint64>("first");
    QTest::addColumn<int>("lines");

    QTest::newRow("nothing sent") << record(5) << QByteArray() << qint64(1) << 5;
    QTest::newRow("two confirmed") << record(5) << key() + " 2\n" << qint64(3) << 3;
    QTest::newRow("all confirmed") << record(5) << key() + " 5\n" << qint64(6) << 0;
    QTest::newRow("cut last line held back")
        << record(5) + "2026-11-24T07:00:02Z\t-\tsta" << key() + " 2\n"
        << qint64(3) << 3;
    QTest::newRow("only a cut line")
        << QByteArray("2026-11-24T07:00:02Z\t-\tsta") << QByteArray() << qint64(1) << 0;
    QTest::newRow("empty record") << QByteArray() << QByteArray() << qint64(1) << 0;
    QTest::newRow("another record's count")
        << record(5) << QByteArray("file-0123456789abcdef 3\n") << qint64(1) << 5;
    QTest::newRow("garbage count") << record(5) << QByteArray("\xff\x01 x") << qint64(1) << 5;
    QTest::newRow("negative count") << record(5) << key() + " -3\n" << qint64(1) << 5;
    QTest::newRow("more confirmed than written") << record(5) << key() + " 9\n" << qint64(1) << 5;
}

void tst_RecordSender::pending()
{
    QFETCH(QByteArray, record);
    QFETCH(QByteArray, sent);
    QFETCH(qint64, first);
    QFETCH(int, lines);
    const RecordSender::Batch batch = RecordSender::pending(record, sent, 100);
    QCOMPARE(batch.first, first);
    QCOMPARE(batch.lines.size(), lines);
    const QList<QByteArray> written = record.split('\n');
    for (int i = 0; i < batch.lines.size(); ++i)
        QCOMPARE(batch.lines.at(i), written.at(int(first) - 1 + i));
    if (record.contains('\n'))
        QCOMPARE(batch.key.toLatin1(), RecordKey::forFirstLine(record.left(record.indexOf('\n'))));
}

void tst_RecordSender::batchesAreBounded()
{
    const RecordSender::Batch first = RecordSender::pending(record(25), QByteArray(), 10);
    QCOMPARE(first.first, qint64(1));
    QCOMPARE(first.lines.size(), 10);
    QCOMPARE(RecordSender::confirmation(first), key() + " 10\n");
    const RecordSender::Batch third = RecordSender::pending(record(25), key() + " 20\n", 10);
    QCOMPARE(third.first, qint64(21));
    QCOMPARE(third.lines.size(), 5);
    QCOMPARE(third.lines.last(), stage(25));
    QCOMPARE(RecordSender::confirmation(third), key() + " 25\n");
}

void tst_RecordSender::body()
{
    const RecordSender::Batch batch = RecordSender::pending(record(3), key() + " 1\n", 100);
    const QJsonObject object = QJsonDocument::fromJson(RecordSender::body(batch)).object();
    QCOMPARE(object.value(QStringLiteral("run")).toString(), QString::fromLatin1(key()));
    const QJsonArray lines = object.value(QStringLiteral("lines")).toArray();
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0).toObject().value(QStringLiteral("n")).toInt(), 2);
    QCOMPARE(lines.at(0).toObject().value(QStringLiteral("line")).toString(),
        QString::fromLatin1(stage(2)));
    QCOMPARE(lines.at(1).toObject().value(QStringLiteral("n")).toInt(), 3);
}

void tst_RecordSender::confirms_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<bool>("confirmed");
    const QByteArray run = "\"run\":\"" + key() + "\"";
    QTest::newRow("all new") << "{" + run + ",\"stored\":3,\"duplicates\":0,\"last\":4}" << true;
    QTest::newRow("some there already")
        << "{" + run + ",\"stored\":1,\"duplicates\":2,\"last\":4}" << true;
    QTest::newRow("another last") << "{" + run + ",\"stored\":3,\"duplicates\":0,\"last\":3}"
                                  << false;
    QTest::newRow("another run") << QByteArray(
        "{\"run\":\"file-x\",\"stored\":3,\"duplicates\":0,\"last\":4}")
                                 << false;
    QTest::newRow("counts that do not add up")
        << "{" + run + ",\"stored\":2,\"duplicates\":0,\"last\":4}" << false;
    QTest::newRow("negative count")
        << "{" + run + ",\"stored\":4,\"duplicates\":-1,\"last\":4}" << false;
    QTest::newRow("counts as text")
        << "{" + run + ",\"stored\":\"3\",\"duplicates\":0,\"last\":4}" << false;
    QTest::newRow("garbage") << QByteArray("<html>OK</html>") << false;
    QTest::newRow("empty") << QByteArray() << false;
}

void tst_RecordSender::confirms()
{
    QFETCH(QByteArray, answer);
    QFETCH(bool, confirmed);
    const RecordSender::Batch batch = RecordSender::pending(record(4), key() + " 1\n", 100);
    int stored = 10;
    int duplicates = 20;
    QCOMPARE(RecordSender::confirms(answer, batch, &stored, &duplicates), confirmed);
    if (confirmed) {
        QCOMPARE(stored + duplicates, 33);
    } else {
        QCOMPARE(stored, 10);
        QCOMPARE(duplicates, 20);
    }
}

void tst_RecordSender::station_data()
{
    QTest::addColumn<QByteArray>("environment");
    QTest::addColumn<QByteArray>("config"); // empty: no file
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port");
    // The default is the bench network's gateway; these rows only read the setting, nothing is
    // sent.
    const QString gateway = QStringLiteral("192.168.90.1");
    QTest::newRow("default") << QByteArray() << QByteArray() << gateway << 36890;
    QTest::newRow("config file") << QByteArray()
                                 << QByteArray("# the line's station\n\n 127.0.0.7   8080 \n")
                                 << QStringLiteral("127.0.0.7") << 8080;
    QTest::newRow("config file with a name") << QByteArray() << QByteArray("station.line4 36890\n")
                                             << QStringLiteral("station.line4") << 36890;
    QTest::newRow("config file without a port")
        << QByteArray() << QByteArray("127.0.0.7\n") << gateway << 36890;
    QTest::newRow("config file with a bad port")
        << QByteArray() << QByteArray("127.0.0.7 70000\n") << gateway << 36890;
    QTest::newRow("environment before the file")
        << QByteArray("127.0.0.1 4000") << QByteArray("127.0.0.7 8080\n")
        << QStringLiteral("127.0.0.1") << 4000;
    QTest::newRow("bad environment") << QByteArray("127.0.0.1") << QByteArray() << gateway << 36890;
}

void tst_RecordSender::station()
{
    QFETCH(QByteArray, environment);
    QFETCH(QByteArray, config);
    QFETCH(QString, host);
    QFETCH(int, port);
    if (!environment.isEmpty())
        qputenv("BENCHTEST_STATION", environment);
    if (!config.isEmpty())
        QVERIFY(writeFile(RecordSender::configPath(), config));
    const RecordSender::Station station = RecordSender::station();
    QCOMPARE(station.host, host);
    QCOMPARE(int(station.port), port);
}

void tst_RecordSender::readAnswer_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("ended"); // the station closed the connection
    QTest::addColumn<int>("answer"); // RecordSender::Answer
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    const int incomplete = int(RecordSender::Answer::Incomplete);
    const int complete = int(RecordSender::Answer::Complete);
    const int bad = int(RecordSender::Answer::Bad);
    const QByteArray ok = "HTTP/1.1 200 OK\r\n";
    QTest::newRow("length") << ok + "Content-Length: 4\r\n\r\n{}{}" << false << complete << 200
                            << QByteArray("{}{}");
    QTest::newRow("length, more to come")
        << ok + "Content-Length: 4\r\n\r\n{}" << false << incomplete << 0 << QByteArray();
    QTest::newRow("length, cut off")
        << ok + "Content-Length: 4\r\n\r\n{}" << true << bad << 0 << QByteArray();
    QTest::newRow("head in pieces")
        << ok + "Content-Le" << false << incomplete << 0 << QByteArray();
    QTest::newRow("header names in any case")
        << QByteArray("HTTP/1.0 503 Busy\r\ncontent-LENGTH:  2 \r\n\r\nno") << true << complete
        << 503 << QByteArray("no");
    QTest::newRow("chunked") << ok
            + "Transfer-Encoding: chunked\r\n\r\n3\r\n{\"a\r\nA;x=y\r\n\":1}      \r\n0\r\n\r\n"
                             << false << complete << 200 << QByteArray("{\"a\":1}      ");
    QTest::newRow("chunked with a trailer")
        << ok + "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\nX-End: 1\r\n\r\n"
        << false << complete << 200 << QByteArray("{}");
    QTest::newRow("chunked, more to come") << ok + "Transfer-Encoding: chunked\r\n\r\n3\r\n{\"a"
                                           << false << incomplete << 0 << QByteArray();
    QTest::newRow("chunked, last chunk not ended")
        << ok + "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n"
        << false << incomplete << 0 << QByteArray();
    QTest::newRow("chunk of a bad size")
        << ok + "Transfer-Encoding: chunked\r\n\r\nzz\r\n{}\r\n0\r\n\r\n"
        << false << bad << 0 << QByteArray();
    QTest::newRow("chunk longer than said")
        << ok + "Transfer-Encoding: chunked\r\n\r\n1\r\n{}\r\n0\r\n\r\n"
        << false << bad << 0 << QByteArray();
    QTest::newRow("unknown coding")
        << ok + "Transfer-Encoding: gzip\r\n\r\nxx" << true << bad << 0 << QByteArray();
    QTest::newRow("to the end, not ended")
        << ok + "\r\n{\"run\"" << false << incomplete << 0 << QByteArray();
    QTest::newRow("to the end") << ok + "\r\n{\"run\"" << true << complete << 200
                                << QByteArray("{\"run\"");
    QTest::newRow("no content") << QByteArray("HTTP/1.1 204 No Content\r\n\r\n") << false
                                << complete << 204 << QByteArray();
    QTest::newRow("nothing, ended") << QByteArray() << true << bad << 0 << QByteArray();
    QTest::newRow("not HTTP") << QByteArray("SSH-2.0-x\r\n\r\n") << false << bad << 0
                              << QByteArray();
    QTest::newRow("no status") << QByteArray("HTTP/1.1 OK\r\n\r\n") << false << bad << 0
                               << QByteArray();
    QTest::newRow("interim answer")
        << QByteArray("HTTP/1.1 100 Continue\r\n\r\n") << false << bad << 0 << QByteArray();
    QTest::newRow("header without a colon")
        << ok + "Content-Length 2\r\n\r\n{}" << false << bad << 0 << QByteArray();
    QTest::newRow("negative length")
        << ok + "Content-Length: -1\r\n\r\n{}" << false << bad << 0 << QByteArray();
    QTest::newRow("length too large")
        << ok + "Content-Length: 99999999\r\n\r\n{}" << false << bad << 0 << QByteArray();
    QTest::newRow("answer too large") << ok + "\r\n" + QByteArray(RecordSender::MaxAnswerBytes, 'x')
                                      << false << bad << 0 << QByteArray();
}

void tst_RecordSender::readAnswer()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, ended);
    QFETCH(int, answer);
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    int gotStatus = 0;
    QByteArray gotBody;
    QCOMPARE(int(RecordSender::readAnswer(bytes, ended, &gotStatus, &gotBody)), answer);
    if (answer == int(RecordSender::Answer::Complete)) {
        QCOMPARE(gotStatus, status);
        QCOMPARE(gotBody, body);
    }
}

void tst_RecordSender::answerForms_data()
{
    QTest::addColumn<QByteArray>("reply");
    const QByteArray confirmation
        = "{\"run\":\"" + key() + "\",\"last\":3,\"stored\":3,\"duplicates\":0}";
    QTest::newRow("with a length") << http("200 OK", confirmation);
    QTest::newRow("in chunks") << "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\n"
            + confirmation.left(5) + "\r\n" + QByteArray::number(confirmation.size() - 5, 16)
            + "\r\n" + confirmation.mid(5) + "\r\n0\r\n\r\n";
    QTest::newRow("to the end of the connection") << "HTTP/1.0 200 OK\r\n\r\n" + confirmation;
}

// However the station frames its answer, a confirmation confirms, and the request is one the
// station can read.
void tst_RecordSender::answerForms()
{
    QFETCH(QByteArray, reply);
    FakeStation fake(reply);
    QVERIFY(fake.listen(QHostAddress::LocalHost));
    qputenv("BENCHTEST_STATION", "127.0.0.1 " + QByteArray::number(fake.serverPort()));
    QVERIFY(writeFile(UnitRecord::path(), record(3)));
    RecordSender sender;
    sender.setTiming(50, 200, 2000);
    QSignalSpy confirmed(&sender, &RecordSender::confirmed);
    QVERIFY(confirmed.isValid());
    sender.start();
    QTRY_COMPARE_WITH_TIMEOUT(confirmed.size(), 1, 10000);
    QCOMPARE(confirmed.first().first().toLongLong(), qint64(3));
    QCOMPARE(sender.storedLines(), 3);
    QTRY_VERIFY(QFile::exists(RecordSender::sentPath()));
    QFile sent(RecordSender::sentPath());
    QVERIFY(sent.open(QIODevice::ReadOnly));
    QCOMPARE(sent.readAll(), key() + " 3\n");
    QCOMPARE(fake.requests, 1);
}

void tst_RecordSender::unconfirmedLinesWait_data()
{
    QTest::addColumn<QByteArray>("reply"); // empty: never answers, or closes (hangUp)
    QTest::addColumn<bool>("hangUp");
    QTest::addColumn<QString>("reason");
    QTest::newRow("refusing") << http("503 Service Unavailable", "{\"error\":\"full\"}") << false
                              << QStringLiteral("the station answered 503: {\"error\":\"full\"}");
    QTest::newRow("garbage") << http("200 OK", "<html>fine</html>") << false
                             << QStringLiteral(
                                    "the station's answer does not confirm lines 1 to 3");
    QTest::newRow("not HTTP") << QByteArray("220 mail here\r\n\r\n") << false
                              << QStringLiteral("the station's answer is not HTTP: 220 mail here");
    QTest::newRow("hanging up") << QByteArray() << true
                                << QStringLiteral(
                                       "the station closed the connection without an answer");
    QTest::newRow("slow") << QByteArray() << false
                          << QStringLiteral("the station did not answer within 500 ms");
}

void tst_RecordSender::unconfirmedLinesWait()
{
    QFETCH(QByteArray, reply);
    QFETCH(bool, hangUp);
    QFETCH(QString, reason);
    FakeStation fake(reply, hangUp);
    QVERIFY(fake.listen(QHostAddress::LocalHost));
    qputenv("BENCHTEST_STATION", "127.0.0.1 " + QByteArray::number(fake.serverPort()));
    QVERIFY(writeFile(UnitRecord::path(), record(3)));
    RecordSender sender;
    sender.setTiming(50, 200, 500);
    QSignalSpy failed(&sender, &RecordSender::failed);
    QSignalSpy confirmed(&sender, &RecordSender::confirmed);
    QVERIFY(failed.isValid() && confirmed.isValid());
    sender.start();
    QTRY_VERIFY_WITH_TIMEOUT(failed.size() >= 3, 10000);
    QCOMPARE(failed.first().first().toString(), reason);
    QCOMPARE(confirmed.size(), 0);
    QVERIFY(!QFile::exists(RecordSender::sentPath()));
    if (!reply.isEmpty() || hangUp)
        QVERIFY(fake.requests >= 3);
}

QTEST_GUILESS_MAIN(tst_RecordSender)
#include "tst_recordsender.moc"
