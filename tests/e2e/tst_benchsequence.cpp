// The serial and Ethernet stages of the bench sequence, run on the unit under test of the
// virtual bench against the real slave tester in the other unit: the worker's "Start",
// "Next" and "Again" presses, the results in the error device list, and a pulled COM2 cable.
#include "app/benchtest.h"
#include "tests/support/benchcable.h"
#include "comm/communicationtest.h"
#include "comm/errordevicelistinterface.h"
#include "common/functionkeys.h"
#include "common/functionbutton.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QPalette>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

namespace {

// A faultless stage ends after 59 blocks of 64 bytes; a failed serial stage after one block
// and its ~100 ms time-out. The generous bound only matters when something hangs.
constexpr int StageTimeout = 20000;

const QString Heading = QStringLiteral("Error device lists\n=============================\n");

struct Stage {
    QString key;
    QString title;
    QString again;
    QString next;
};

// Model 7 runs every serial port; the stage numbers are those of its sequence.
constexpr int FirstSerialStage = 7;
const QList<Stage> &model7Stages()
{
    static const QList<Stage> stages {
        { Com1RS232Function, "COM port 1 RS232 test", "Again RS232", "Next RS422" },
        { Com1RS422Function, "COM port 1 RS422 test", "Again RS422", "Next RS485" },
        { Com1RS485Function, "COM port 1 RS485 test", "Again RS485", "Next RS232" },
        { Com2RS232Function, "COM port 2 RS232 test", "Again RS232", "Next RS422" },
        { Com2RS422Function, "COM port 2 RS422 test", "Again RS422", "Next RS485" },
        { Com2RS485Function, "COM port 2 RS485 test", "Again RS485", "Next RS232" },
        { Com3RS232Function, "COM port 3 RS232 test", "Again RS232", "Next RS485" },
        { Com3RS485Function, "COM port 3 RS485 test", "Again RS485", "Next Ethernet" },
        { EthernetFunction, "Ethernet test", "Again Ethernet", "Next USB" },
    };
    return stages;
}

} // namespace

// The walk is put straight before the serial stages, since the screen stages in front of them
// need a worker's touches.
class TestBenchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void everyCommunicationStagePasses();
    void pulledCom2CableFailsItsThreeStages();

private:
    void startAtSerialStages();
    void finishStage(QSignalSpy &results, int index, const QString &result);

    BenchTest *bench = nullptr;
    CommunicationTest *comm = nullptr;
    ErrorDeviceListInterface *errorList = nullptr;
};

void TestBenchTest::initTestCase()
{
    if (qEnvironmentVariableIsEmpty("VIRTUAL_BENCH_DIR"))
        QSKIP("runs in the unit under test of sim/virtual-bench");
    QFile dip(QStringLiteral("/sim/dip"));
    QVERIFY(dip.open(QIODevice::ReadOnly));
    QCOMPARE(dip.readAll().trimmed(), QByteArray("0"));
    QFile model(QStringLiteral("/sim/model"));
    QVERIFY(model.open(QIODevice::ReadOnly));
    QCOMPARE(model.readAll().trimmed(), QByteArray("7"));
}

void TestBenchTest::init()
{
    for (const char *port : { "com1", "com2", "com3" })
        QVERIFY(setBenchCable(QLatin1String(port), QStringLiteral("plug")));
    bench = new BenchTest;
    bench->show();
    comm = bench->findChild<CommunicationTest *>();
    errorList = bench->findChild<ErrorDeviceListInterface *>();
    QVERIFY(comm);
    QVERIFY(errorList);
}

void TestBenchTest::cleanup()
{
    delete bench;
    bench = nullptr;
    // Ports and sockets of the screens go with deferred deletes.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    for (const char *port : { "com1", "com2", "com3" })
        setBenchCable(QLatin1String(port), QStringLiteral("plug"));
}

void TestBenchTest::startAtSerialStages()
{
    // The constructor showed the blank start page and armed the step to stage 1; let that
    // step land on the first serial stage instead.
    bench->continueAfterStage(FirstSerialStage - 1);
    QPushButton *start = bench->popup(BenchTest::Popup::Start);
    QVERIFY(start);
    QTRY_VERIFY_WITH_TIMEOUT(start->isVisible(), 5000);
    QCOMPARE(comm->findChild<QLabel *>(QStringLiteral("titleLabel"))->text(),
        QStringLiteral("COM port 1 RS232 test"));
    QCOMPARE(bench->stage(), FirstSerialStage);
    QTest::mouseClick(start, Qt::LeftButton);
    QVERIFY(!start->isVisible());
}

void TestBenchTest::finishStage(QSignalSpy &results, int index, const QString &result)
{
    const Stage &stage = model7Stages().at(index);
    QTRY_COMPARE_WITH_TIMEOUT(results.count(), index + 1, StageTimeout);
    const QList<QVariant> report = results.at(index);
    QCOMPARE(report.at(0).toString(), stage.title);
    QCOMPARE(report.at(1).toString(), result);

    QPushButton *again = bench->popup(BenchTest::Popup::Again);
    QPushButton *next = bench->popup(BenchTest::Popup::Next);
    QVERIFY(again);
    QVERIFY(next);
    QTRY_VERIFY(next->isVisible());
    QVERIFY(again->isVisible());
    QCOMPARE(again->text(), stage.again);
    QCOMPARE(next->text(), stage.next);

    const QString total = comm->findChild<QLabel *>(QStringLiteral("totalCountLabel"))->text();
    const QString errors = comm->findChild<QLabel *>(QStringLiteral("errorCountLabel"))->text();
    if (result == QLatin1String("ok!")) {
        // Exactly 59 blocks of 64 bytes, none of them short.
        QCOMPARE(total, QStringLiteral("00000EC0"));
        QCOMPARE(errors, QStringLiteral("0000"));
    } else {
        // One block went out, nothing came back within the time-out: the stage ends there.
        QCOMPARE(total, QStringLiteral("00000040"));
        QCOMPARE(errors, QStringLiteral("00000040"));
        const QPalette palette
            = comm->findChild<QLabel *>(QStringLiteral("errorCountLabel"))->palette();
        QCOMPARE(palette.color(QPalette::WindowText), QColor(Qt::red));
    }
}

void TestBenchTest::everyCommunicationStagePasses()
{
    QSignalSpy results(comm, &CommunicationTest::errorMessage);
    QVERIFY(results.isValid());
    startAtSerialStages();

    const int count = model7Stages().size();
    for (int i = 0; i < count; ++i) {
        finishStage(results, i, QStringLiteral("ok!"));
        QCOMPARE(bench->stage(), FirstSerialStage + i);
        if (model7Stages().at(i).key == Com2RS422Function) {
            // "Again" repeats the stage and stays on it, however often it is pressed.
            QPushButton *again = bench->popup(BenchTest::Popup::Again);
            for (int n = 1; n <= 5; ++n) {
                QTest::mouseClick(again, Qt::LeftButton);
                QTRY_COMPARE_WITH_TIMEOUT(results.count(), i + 1 + n, StageTimeout);
                QCOMPARE(results.last().at(0).toString(), model7Stages().at(i).title);
                QCOMPARE(results.last().at(1).toString(), QStringLiteral("ok!"));
                QTRY_VERIFY(again->isVisible());
                QCOMPARE(bench->stage(), FirstSerialStage + i);
            }
            results.erase(results.end() - 5, results.end());
        }
        if (i + 1 < count)
            QTest::mouseClick(bench->popup(BenchTest::Popup::Next), Qt::LeftButton);
    }

    bench->callFunction(QStringLiteral("Error Device List"));
    QCOMPARE(errorList->listText(), Heading);
    auto *listNext = errorList->findChild<QPushButton *>();
    QVERIFY(listNext);
    QTRY_VERIFY(listNext->isVisible());
}

void TestBenchTest::pulledCom2CableFailsItsThreeStages()
{
    QVERIFY(setBenchCable(QStringLiteral("com2"), QStringLiteral("unplug")));
    QSignalSpy results(comm, &CommunicationTest::errorMessage);
    QVERIFY(results.isValid());
    startAtSerialStages();

    const int count = model7Stages().size();
    for (int i = 0; i < count; ++i) {
        const bool com2 = model7Stages().at(i).title.startsWith(QLatin1String("COM port 2"));
        finishStage(results, i, com2 ? QStringLiteral("fail!") : QStringLiteral("ok!"));
        if (i + 1 < count)
            QTest::mouseClick(bench->popup(BenchTest::Popup::Next), Qt::LeftButton);
    }

    bench->callFunction(QStringLiteral("Error Device List"));
    QCOMPARE(errorList->listText(),
        Heading
            + QStringLiteral("COM port 2 RS232 test fail!\n"
                             "COM port 2 RS422 test fail!\n"
                             "COM port 2 RS485 test fail!\n"));
    auto *listNext = errorList->findChild<QPushButton *>();
    QVERIFY(listNext);
    QVERIFY(listNext->isHidden());

    // The worker sees a COM2 stage fail, plugs the cable back in and presses "Again".
    QPushButton *again = bench->popup(BenchTest::Popup::Again);
    for (int i = 3; i <= 5; ++i) {
        const Stage &stage = model7Stages().at(i);
        QVERIFY(setBenchCable(QStringLiteral("com2"), QStringLiteral("unplug")));
        const int before = results.count();
        bench->callFunction(stage.key);
        QTRY_COMPARE_WITH_TIMEOUT(results.count(), before + 1, StageTimeout);
        QCOMPARE(results.last().at(1).toString(), QStringLiteral("fail!"));
        QTRY_VERIFY(again->isVisible());

        QVERIFY(setBenchCable(QStringLiteral("com2"), QStringLiteral("plug")));
        QTest::mouseClick(again, Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(results.count(), before + 2, StageTimeout);
        QCOMPARE(results.last().at(0).toString(), stage.title);
        QCOMPARE(results.last().at(1).toString(), QStringLiteral("ok!"));
    }
    QCOMPARE(errorList->listText(), Heading);
    QVERIFY(!listNext->isHidden());
}

QTEST_MAIN(TestBenchTest)
#include "tst_benchsequence.moc"
