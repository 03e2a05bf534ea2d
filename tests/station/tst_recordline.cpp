// The station's checks of one record line and of a run id: what a unit writes passes, anything
// else is refused with a reason that names what is wrong.
#include "station/recordline.h"

#include <QtTest>

class TestRecordLine : public QObject {
    Q_OBJECT
private slots:
    void fields_data();
    void fields();
    void runId_data();
    void runId();
};

void TestRecordLine::fields_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("error"); // empty: accepted

    const QByteArray time = "2026-11-23T16:30:05Z";
    QTest::newRow("stage") << time + "\t-\tstage\ttouch panel\tdone" << QString();
    QTest::newRow("result") << time + "\t-\tresult\tCOM port 2 RS232 test\tfail!" << QString();
    QTest::newRow("MAC outcome") << time + "\t02:A7:3C:00:10:01\toutcome\tMAC\twritten"
                                 << QString();
    QTest::newRow("lower-case MAC")
        << time + "\t02:a7:3c:00:10:01\toutcome\tMAC\twritten" << QString();
    QTest::newRow("SQL and HTML are text")
        << time + "\t-\tresult\t'); DROP TABLE record_lines; --\t<b>ok!</b>" << QString();
    QTest::newRow("UTF-8") << time + "\t-\tstage\tTür \xe2\x9c\x93\tdone" << QString();
    QTest::newRow("four fields") << time + "\t-\tstage\ttouch panel"
                                 << QStringLiteral("4 fields, a line has 5");
    QTest::newRow("six fields") << time + "\t-\tstage\ttouch panel\tdone\tmore"
                                << QStringLiteral("6 fields, a line has 5");
    QTest::newRow("empty field") << time + "\t\tstage\ttouch panel\tdone"
                                 << QStringLiteral(
                                        "an empty field (an empty one is written \"-\")");
    QTest::newRow("time with a blank")
        << QByteArray("2026-11-23 16:30:05\t-\tstage\tx\tdone")
        << QStringLiteral("time \"2026-11-23 16:30:05\" is not YYYY-MM-DDTHH:MM:SSZ");
    QTest::newRow("no such day")
        << QByteArray("2026-02-30T16:30:05Z\t-\tstage\tx\tdone")
        << QStringLiteral("time \"2026-02-30T16:30:05Z\" is not YYYY-MM-DDTHH:MM:SSZ");
    QTest::newRow("local time")
        << QByteArray("2026-11-23T16:30:05+01:00\t-\tstage\tx\tdone")
        << QStringLiteral("time \"2026-11-23T16:30:05+01:00\" is not YYYY-MM-DDTHH:MM:SSZ");
    QTest::newRow("short MAC")
        << time + "\t02:A7:3C:00:10\toutcome\tMAC\twritten"
        << QStringLiteral("MAC \"02:A7:3C:00:10\" is neither \"-\" nor XX:XX:XX:XX:XX:XX");
    QTest::newRow("unknown kind") << time + "\t-\tverdict\tx\tdone"
                                  << QStringLiteral(
                                         "kind \"verdict\" is not run, stage, result or outcome");
    const QByteArray runId = "5f0c2a9e41d8b7730e6a1c94d2b58f17";
    QTest::newRow("run") << time + "\t-\trun\t" + runId
            + "\tversion=0.1 model=7 screen=800x480 dip=0x0"
                         << QString();
    QTest::newRow("run of a provisioned unit") << time + "\t02:A7:3C:00:10:01\trun\t" + runId
            + "\tversion=1.2.3 model=15 screen=1024x768 dip=0x1"
                                               << QString();
    QTest::newRow("run of a panel that reports no model")
        << time + "\t-\trun\t" + runId + "\tversion=0.1 model=-1 screen=800x480 dip=0x0"
        << QString();
    QTest::newRow("run id too short")
        << time + "\t-\trun\t5f0c2a9e\tversion=0.1 model=7 screen=800x480 dip=0x0"
        << QStringLiteral("run id \"5f0c2a9e\" is not 32 lower-case hex digits");
    QTest::newRow("run id upper-case")
        << time + "\t-\trun\t" + runId.toUpper() + "\tversion=0.1 model=7 screen=800x480 dip=0x0"
        << QStringLiteral("run id \"%1\" is not 32 lower-case hex digits")
               .arg(QString::fromLatin1(runId.toUpper()));
    QTest::newRow("run without its unit")
        << time + "\t-\trun\t" + runId + "\tdone"
        << QStringLiteral("run \"done\" is not \"version=V model=M screen=WxH dip=0xD\"");
    QTest::newRow("run with a decimal DIP value")
        << time + "\t-\trun\t" + runId + "\tversion=0.1 model=7 screen=800x480 dip=257"
        << QStringLiteral("run \"version=0.1 model=7 screen=800x480 dip=257\" is not "
                          "\"version=V model=M screen=WxH dip=0xD\"");
    QTest::newRow("carriage return")
        << time + "\t-\tstage\tx\tdone\r" << QStringLiteral("control character 0x0d in the line");
    QTest::newRow("NUL") << time
            + QByteArray("\t-\tstage\tx\0y\tdone", sizeof("\t-\tstage\tx\0y\tdone") - 1)
                         << QStringLiteral("control character 0x00 in the line");
    QTest::newRow("not UTF-8") << time + "\t-\tstage\t\xff\xfe\tdone"
                               << QStringLiteral("not UTF-8");
    QTest::newRow("long field") << time + "\t-\tstage\t" + QByteArray(257, 'x') + "\tdone"
                                << QStringLiteral("a field longer than 256 bytes");
    QTest::newRow("longest field")
        << time + "\t-\tstage\t" + QByteArray(256, 'x') + "\tdone" << QString();
    const QByteArray longLine = time + "\t-\tstage\t" + QByteArray(200, 'x') + "\t"
        + QByteArray(RecordLine::MaxLineBytes, 'y');
    QTest::newRow("long line")
        << longLine << QStringLiteral("line of %1 bytes, at most 1024").arg(longLine.size());
}

void TestRecordLine::fields()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, error);
    QString reason = QStringLiteral("untouched");
    const QStringList fields = RecordLine::fields(line, &reason);
    if (error.isEmpty()) {
        QCOMPARE(fields, QString::fromUtf8(line).split(QLatin1Char('\t')));
        QCOMPARE(reason, QStringLiteral("untouched"));
    } else {
        QVERIFY(fields.isEmpty());
        QCOMPARE(reason, error);
    }
}

void TestRecordLine::runId_data()
{
    QTest::addColumn<QString>("runId");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("plain") << QStringLiteral("unit-02A73C001001.1700000000.7") << true;
    QTest::newRow("colons") << QStringLiteral("02:A7:3C:00:10:01_5") << true;
    QTest::newRow("longest") << QString(64, QLatin1Char('r')) << true;
    QTest::newRow("too long") << QString(65, QLatin1Char('r')) << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("blank") << QStringLiteral("a b") << false;
    QTest::newRow("quote") << QStringLiteral("a'--") << false;
    QTest::newRow("slash") << QStringLiteral("../x") << false;
}

void TestRecordLine::runId()
{
    QFETCH(QString, runId);
    QFETCH(bool, accepted);
    QCOMPARE(RecordLine::isRunId(runId), accepted);
}

QTEST_GUILESS_MAIN(TestRecordLine)
#include "tst_recordline.moc"
