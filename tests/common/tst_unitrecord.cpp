// The unit's record file: its line format, the run line that opens a run, its directory, a full
// disk and a read-only one, and its place in the MAC screen's flow (written before the success box,
// its own box before it when it cannot be written).
#include "common/unitrecord.h"
#include "mac/macaddresswidget.h"
#include "tests/support/mactestsupport.h"

#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QSet>
#include <QSize>
#include <QtTest>

using namespace MacTest;

namespace {

const QString Title = QStringLiteral("QUORVAN");
const QString Success = QStringLiteral("Write MAC address success!!\nPlease restart machine!");
const QString Time = QStringLiteral("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ");

QPushButton *okButton(QWidget &widget)
{
    return widget.findChild<QPushButton *>(QStringLiteral("okButton"));
}

QString scratch(const QString &name)
{
    return QDir(qEnvironmentVariable("BENCHTEST_SCRATCH_DIR")).filePath(name);
}

QStringList recordLines(const QString &path)
{
    const QString text = QString::fromUtf8(readFile(path));
    QStringList lines = text.split(QLatin1Char('\n'));
    if (lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

} // namespace

class tst_UnitRecord : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void defaultPath();
    void lineFormat();
    void fieldsNeverBreakTheLine();
    void makesItsDirectory();
    void appendsToAnOldRecord();
    void readOnlyDirectory();
    void directoryThatCannotBeMade();
    void fullDisk();
    void recordedBeforeTheSuccessBox();
    void unwritableRecordBoxBeforeSuccess_data();
    void unwritableRecordBoxBeforeSuccess();
    void failedCompareIsRecorded();
    void runLine();
    void runIdsDiffer();
    void runLineOfAProvisionedUnit_data();
    void runLineOfAProvisionedUnit();
    void replaceFileKeepsOldOrNew();

private:
    void macWalk(const QByteArray &supply);
    QString record;
};

void tst_UnitRecord::initTestCase()
{
    QVERIFY2(qEnvironmentVariableIsSet("BENCHTEST_SCRATCH_DIR"), "run in a virtual unit");
}

void tst_UnitRecord::init()
{
    freshFram();
    TestSupport::writeSim(QStringLiteral("model"), QStringLiteral("7"));
    usbStick(QStringLiteral("plug"));
    QFile::remove(SupplyFile);
    record = scratch(QStringLiteral("unit.record"));
    QFile::remove(record);
    qputenv("BENCHTEST_RECORD", record.toUtf8());
    UnitRecord::setMac(QStringLiteral("-"));
}

void tst_UnitRecord::cleanup()
{
    qunsetenv("BENCHTEST_RECORD");
}

void tst_UnitRecord::defaultPath()
{
    qunsetenv("BENCHTEST_RECORD");
    QCOMPARE(UnitRecord::path(), QStringLiteral("/brimdale/records/unit.record"));
    qputenv("BENCHTEST_RECORD", "/somewhere/else");
    QCOMPARE(UnitRecord::path(), QStringLiteral("/somewhere/else"));
}

void tst_UnitRecord::lineFormat()
{
    QVERIFY(UnitRecord::append(
        QStringLiteral("stage"), QStringLiteral("touch panel"), QStringLiteral("done")));
    UnitRecord::setMac(QStringLiteral("02:A7:3C:00:00:10"));
    QVERIFY(UnitRecord::append(
        QStringLiteral("outcome"), QStringLiteral("MAC"), QStringLiteral("written")));
    QVERIFY(UnitRecord::lastError().isEmpty());
    const QStringList lines = recordLines(record);
    QCOMPARE(lines.size(), 2);
    QVERIFY2(QRegularExpression(
                 QStringLiteral("^") + Time + QStringLiteral("\t-\tstage\ttouch panel\tdone$"))
                 .match(lines[0])
                 .hasMatch(),
        qPrintable(lines[0]));
    QVERIFY2(QRegularExpression(QStringLiteral("^") + Time
                 + QStringLiteral("\t02:A7:3C:00:00:10\toutcome\tMAC\twritten$"))
                 .match(lines[1])
                 .hasMatch(),
        qPrintable(lines[1]));
    QCOMPARE(UnitRecord::mac(), QStringLiteral("02:A7:3C:00:00:10"));
}

void tst_UnitRecord::fieldsNeverBreakTheLine()
{
    QVERIFY(
        UnitRecord::append(QStringLiteral("result"), QStringLiteral("COM\tport\n2"), QString()));
    const QStringList lines = recordLines(record);
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines[0].section(QLatin1Char('\t'), 1), QStringLiteral("-\tresult\tCOM port 2\t-"));
}

void tst_UnitRecord::makesItsDirectory()
{
    const QString deep = scratch(QStringLiteral("records/of/units/unit.record"));
    qputenv("BENCHTEST_RECORD", deep.toUtf8());
    QVERIFY(UnitRecord::append(
        QStringLiteral("stage"), QStringLiteral("brightness"), QStringLiteral("done")));
    QCOMPARE(recordLines(deep).size(), 1);
}

void tst_UnitRecord::appendsToAnOldRecord()
{
    QVERIFY(writeFile(record, "2026-01-01T00:00:00Z\t-\tstage\ttouch panel\tdone\n"));
    QVERIFY(UnitRecord::append(
        QStringLiteral("stage"), QStringLiteral("brightness"), QStringLiteral("done")));
    const QStringList lines = recordLines(record);
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines[0], QStringLiteral("2026-01-01T00:00:00Z\t-\tstage\ttouch panel\tdone"));
    QVERIFY(lines[1].endsWith(QStringLiteral("\t-\tstage\tbrightness\tdone")));
}

void tst_UnitRecord::readOnlyDirectory()
{
    // /sys is read-only in every unit, even for root.
    qputenv("BENCHTEST_RECORD", "/sys/unit.record");
    QVERIFY(!UnitRecord::append(
        QStringLiteral("outcome"), QStringLiteral("MAC"), QStringLiteral("written")));
    QCOMPARE(UnitRecord::lastError(), QStringLiteral("/sys/unit.record: Read-only file system"));
}

void tst_UnitRecord::directoryThatCannotBeMade()
{
    qputenv("BENCHTEST_RECORD", "/sys/records/unit.record");
    QVERIFY(!UnitRecord::append(
        QStringLiteral("outcome"), QStringLiteral("MAC"), QStringLiteral("written")));
    QVERIFY2(UnitRecord::lastError().startsWith(QStringLiteral("/sys/records: ")),
        qPrintable(UnitRecord::lastError()));
    // A later good write clears the error.
    qputenv("BENCHTEST_RECORD", record.toUtf8());
    QVERIFY(UnitRecord::append(
        QStringLiteral("outcome"), QStringLiteral("MAC"), QStringLiteral("written")));
    QCOMPARE(UnitRecord::lastError(), QString());
}

void tst_UnitRecord::fullDisk()
{
    // Every write to /dev/full fails as on a full disk.
    qputenv("BENCHTEST_RECORD", "/dev/full");
    QVERIFY(!UnitRecord::append(
        QStringLiteral("outcome"), QStringLiteral("MAC"), QStringLiteral("written")));
    QCOMPARE(UnitRecord::lastError(), QStringLiteral("/dev/full: No space left on device"));
}

void tst_UnitRecord::macWalk(const QByteArray &supply)
{
    QVERIFY(writeFile(SupplyFile, supply));
}

void tst_UnitRecord::recordedBeforeTheSuccessBox()
{
    BoxAnswers answers;
    QStringList atTheBox;
    answers.onShown = [&](QMessageBox &) { atTheBox = recordLines(record); };
    macWalk("02:A7:3C:00:00:10\n02:A7:3C:00:00:11\n");
    MacAddressWidget widget;
    widget.run();
    QTest::mouseClick(okButton(widget), Qt::LeftButton);
    QCOMPARE(answers.boxes.size(), 1);
    QCOMPARE(answers.boxes[0].icon, QMessageBox::Information);
    QCOMPARE(answers.boxes[0].title, Title);
    QCOMPARE(answers.boxes[0].text, Success);
    QCOMPARE(atTheBox.size(), 1);
    QVERIFY2(atTheBox[0].endsWith(QStringLiteral("\t02:A7:3C:00:00:10\toutcome\tMAC\twritten")),
        qPrintable(atTheBox[0]));
    QCOMPARE(readFile(SupplyFile), QByteArray("02:A7:3C:00:00:11\n"));
}

void tst_UnitRecord::unwritableRecordBoxBeforeSuccess_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::addColumn<QString>("box");
    QTest::newRow("read-only file system")
        << QByteArray("/sys/unit.record")
        << QStringLiteral("Write unit record failed!!\n/sys/unit.record: Read-only file system");
    QTest::newRow("full disk")
        << QByteArray("/dev/full")
        << QStringLiteral("Write unit record failed!!\n/dev/full: No space left on device");
}

void tst_UnitRecord::unwritableRecordBoxBeforeSuccess()
{
    QFETCH(QByteArray, record);
    QFETCH(QString, box);
    qputenv("BENCHTEST_RECORD", record);
    BoxAnswers answers;
    macWalk("02:A7:3C:00:00:10\n");
    MacAddressWidget widget;
    widget.run();
    QTest::mouseClick(okButton(widget), Qt::LeftButton);
    QCOMPARE(answers.boxes.size(), 2);
    QCOMPARE(answers.boxes[0].icon, QMessageBox::Critical);
    QCOMPARE(answers.boxes[0].title, Title);
    QCOMPARE(answers.boxes[0].text, box);
    QCOMPARE(answers.boxes[1].icon, QMessageBox::Information);
    QCOMPARE(answers.boxes[1].text, Success);
    // The address is in FRAM all the same.
    QCOMPARE(widget.readMACAddressFromFRAM(), QStringLiteral("02:a7:3c:00:00:10"));
}

void tst_UnitRecord::failedCompareIsRecorded()
{
    BoxAnswers answers;
    macWalk("2:A7:3C:0:0:1\n");
    MacAddressWidget widget;
    widget.run();
    QTest::mouseClick(okButton(widget), Qt::LeftButton);
    QCOMPARE(answers.boxes.size(), 1);
    QCOMPARE(answers.boxes[0].text, QStringLiteral("Compare MAC address failed!!\n"));
    const QStringList lines = recordLines(record);
    QCOMPARE(lines.size(), 1);
    QVERIFY2(lines[0].endsWith(QStringLiteral("\t-\toutcome\tMAC\tcompare failed")),
        qPrintable(lines[0]));
}

void tst_UnitRecord::runLine()
{
    const QString runId = UnitRecord::newRunId();
    QVERIFY(UnitRecord::startRun(runId, 7, QSize(800, 480), 0x101, QStringLiteral("-")));
    QVERIFY(UnitRecord::append(
        QStringLiteral("stage"), QStringLiteral("touch panel"), QStringLiteral("done")));
    const QStringList lines = recordLines(record);
    QCOMPARE(lines.size(), 2);
    QVERIFY2(QRegularExpression(QStringLiteral("^") + Time + QStringLiteral("\t-\trun\t") + runId
                 + QStringLiteral("\tversion=0\\.1 model=7 screen=800x480 dip=0x101$"))
                 .match(lines[0])
                 .hasMatch(),
        qPrintable(lines[0]));
    QVERIFY(lines[1].endsWith(QStringLiteral("\t-\tstage\ttouch panel\tdone")));
}

void tst_UnitRecord::runIdsDiffer()
{
    QSet<QString> ids;
    for (int i = 0; i < 100; ++i) {
        const QString id = UnitRecord::newRunId();
        QVERIFY2(QRegularExpression(QStringLiteral("^[0-9a-f]{32}$")).match(id).hasMatch(),
            qPrintable(id));
        ids.insert(id);
    }
    QCOMPARE(ids.size(), 100);
}

void tst_UnitRecord::runLineOfAProvisionedUnit_data()
{
    QTest::addColumn<quint16>("present");
    QTest::addColumn<quint16>("lastOctet");
    QTest::addColumn<QString>("mac");
    QTest::newRow("provisioned") << quint16(1) << quint16(0x1f)
                                 << QStringLiteral("02:A7:3C:00:10:1F");
    QTest::newRow("not provisioned") << quint16(0) << quint16(0x1f) << QStringLiteral("-");
    QTest::newRow("a word that is no octet") << quint16(1) << quint16(0x1ff) << QStringLiteral("-");
}

void tst_UnitRecord::runLineOfAProvisionedUnit()
{
    QFETCH(quint16, present);
    QFETCH(quint16, lastOctet);
    QFETCH(QString, mac);
    const quint16 words[6] = { 0x02, 0xa7, 0x3c, 0x00, 0x10, lastOctet };
    for (int i = 0; i < 6; ++i)
        setFramWord(132 + 2 * unsigned(i), words[i]);
    setFramWord(178, present);
    QCOMPARE(MacAddressWidget::framMac(), mac);
    QVERIFY(UnitRecord::startRun(
        UnitRecord::newRunId(), 10, QSize(1024, 600), 0, MacAddressWidget::framMac()));
    const QStringList lines = recordLines(record);
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines[0].section(QLatin1Char('\t'), 1, 2), mac + QStringLiteral("\trun"));
    QVERIFY(lines[0].endsWith(QStringLiteral("\tversion=0.1 model=10 screen=1024x600 dip=0x0")));
}

void tst_UnitRecord::replaceFileKeepsOldOrNew()
{
    const QString file = scratch(QStringLiteral("unit.record.sent"));
    QString error = QStringLiteral("untouched");
    QVERIFY(UnitRecord::replaceFile(file, "file-0123 5\n", &error));
    QVERIFY(UnitRecord::replaceFile(file, "file-0123 12\n", &error));
    QCOMPARE(readFile(file), QByteArray("file-0123 12\n"));
    QVERIFY(!QFile::exists(file + QStringLiteral(".new")));
    QCOMPARE(error, QStringLiteral("untouched"));
    const QString nowhere = scratch(QStringLiteral("no/such/dir/unit.record.sent"));
    QVERIFY(!UnitRecord::replaceFile(nowhere, "x", &error));
    QCOMPARE(error, nowhere + QStringLiteral(".new: No such file or directory"));
}

QTEST_MAIN(tst_UnitRecord)
#include "tst_unitrecord.moc"
