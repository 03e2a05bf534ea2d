// The communication screens inside the real BenchTest of a virtual unit with a loopback plug
// on COM1 and nothing on COM2 and COM3: pages per mode, the bench's transfer limit, results
// into the error list, the Again/Next labels, Start, rerun, and the slave tester and burn-in
// modes starting their screens.
#include "tests/support/calibrationtestsupport.h"
#include "app/benchtest.h"
#include "comm/burnintestinterface.h"
#include "comm/communicationtest.h"
#include "comm/errordevicelistinterface.h"
#include "comm/readingthread.h"
#include "comm/testerinterface.h"
#include "common/functionbutton.h"
#include "common/functionkeys.h"
#include "common/messagebox.h"
#include "common/portnames.h"
#include "tests/support/commtestsupport.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTest>
#include <QTextEdit>

namespace {
const QString Heading = QStringLiteral("Error device lists\n=============================\n");

FunctionButton *popup(const QString &textStart)
{
    for (QWidget *w : QApplication::topLevelWidgets()) {
        auto *button = qobject_cast<FunctionButton *>(w);
        if (button && button->text().startsWith(textStart))
            return button;
    }
    return nullptr;
}
} // namespace

class tst_BenchTestWiring : public QObject {
    Q_OBJECT
    // The bench walk starts with the touch calibration, which waits for five touches.
    CalibrationTest::AutoToucher toucher;

private:
    SimDir sim;

    void setDip(const QString &value)
    {
        QVERIFY(TestSupport::writeSimFile(QStringLiteral("dip"), value.toLatin1() + '\n'));
    }

    static QStackedWidget *stack(BenchTest &bench) { return bench.findChild<QStackedWidget *>(); }

    // The bench walk moves from the blank start page to its first stage (calibration) 200 ms
    // after start; a test that picks a page itself waits for that first.
    static bool settled(BenchTest &bench) { return stack(bench)->currentIndex() == 12; }

private Q_SLOTS:
    void initTestCase()
    {
        if (unitPlugs() != QStringList({ "loop", "none", "none" }))
            QSKIP("needs a virtual unit with COM1 looped back and COM2, COM3 unplugged");
    }

    void init()
    {
        sim.setModel(7);
        setDip(QStringLiteral("0"));
    }

    void benchPages_data()
    {
        QTest::addColumn<QString>("dip");
        QTest::addColumn<int>("limit");
        QTest::newRow("bench") << "0" << 3744;
        QTest::newRow("menu") << "1" << -1;
    }

    void benchPages()
    {
        QFETCH(QString, dip);
        setDip(dip);
        BenchTest bench;
        auto *test = bench.findChild<CommunicationTest *>();
        auto *list = bench.findChild<ErrorDeviceListInterface *>();
        QVERIFY(test);
        QVERIFY(list);
        QCOMPARE(stack(bench)->indexOf(test), 3);
        QCOMPARE(stack(bench)->indexOf(list), 14);
        QTEST(int(test->transferLimit()), "limit");
        QVERIFY(!bench.findChild<TesterInterface *>());
        QVERIFY(!bench.findChild<BurninTestInterface *>());
    }

    void passingPortReportsOkAndLabels()
    {
        BenchTest bench;
        QTRY_VERIFY(settled(bench));
        auto *test = bench.findChild<CommunicationTest *>();
        auto *list = bench.findChild<ErrorDeviceListInterface *>();
        QSignalSpy stop(test, &CommunicationTest::transferStop);
        QSignalSpy exits(list, &ErrorDeviceListInterface::exitSignal);
        bench.callFunction(Com1RS422Function);
        QCOMPARE(stack(bench)->currentWidget(), test);
        QTRY_COMPARE_WITH_TIMEOUT(stop.count(), 1, 20000);
        QCOMPARE(test->findChild<QLabel *>(QStringLiteral("totalCountLabel"))->text(),
            QStringLiteral("00000EC0"));
        QCOMPARE(list->listText(), Heading);
        QVERIFY(popup(QStringLiteral("Again")));
        QCOMPARE(popup(QStringLiteral("Again"))->text(), QStringLiteral("Again RS422"));
        QCOMPARE(popup(QStringLiteral("Next"))->text(), QStringLiteral("Next RS485"));
        QVERIFY(popup(QStringLiteral("Again"))->isVisible());
        QVERIFY(popup(QStringLiteral("Next"))->isVisible());

        // The list's Next appears with the first "ok!" and leads to the MAC screen.
        bench.callFunction(QStringLiteral("Error Device List"));
        QCOMPARE(stack(bench)->currentWidget(), list);
        auto *listNext = list->findChild<FunctionButton *>();
        QVERIFY(!listNext->isHidden());
        // This unit has no stick: the MAC screen says so, and the box is answered here.
        QStringList boxes;
        MessageBox::setAnswer([&boxes](QMessageBox &box) {
            boxes.append(box.text());
            return QMessageBox::Ok;
        });
        QTest::mouseClick(listNext, Qt::LeftButton);
        MessageBox::setAnswer({});
        QCOMPARE(exits.count(), 1);
        QCOMPARE(stack(bench)->currentIndex(), 4);
        QCOMPARE(boxes, QStringList({ QStringLiteral("USB Stick not found!!\n") }));
    }

    void failingPortIsListed()
    {
        BenchTest bench;
        QTRY_VERIFY(settled(bench));
        auto *test = bench.findChild<CommunicationTest *>();
        auto *list = bench.findChild<ErrorDeviceListInterface *>();
        QSignalSpy stop(test, &CommunicationTest::transferStop);
        bench.callFunction(Com2RS232Function);
        QTRY_COMPARE(stop.count(), 1);
        QCOMPARE(list->listText(), Heading + QStringLiteral("COM port 2 RS232 test fail!\n"));
        QVERIFY(list->findChild<FunctionButton *>()->isHidden());
        QCOMPARE(popup(QStringLiteral("Again"))->text(), QStringLiteral("Again RS232"));
        QCOMPARE(popup(QStringLiteral("Next"))->text(), QStringLiteral("Next RS422"));

        bench.callFunction(Com3RS485Function);
        QTRY_COMPARE(stop.count(), 2);
        QCOMPARE(list->listText(),
            Heading + QStringLiteral("COM port 2 RS232 test fail!\nCOM port 3 RS485 test fail!\n"));
        QCOMPARE(popup(QStringLiteral("Next"))->text(), QStringLiteral("Next Ethernet"));
    }

    void ethernetWithoutPartner()
    {
        BenchTest bench;
        QTRY_VERIFY(settled(bench));
        auto *test = bench.findChild<CommunicationTest *>();
        auto *list = bench.findChild<ErrorDeviceListInterface *>();
        QSignalSpy stop(test, &CommunicationTest::transferStop);
        bench.callFunction(EthernetFunction);
        QTRY_COMPARE(stop.count(), 1);
        QCOMPARE(list->listText(), Heading + QStringLiteral("Ethernet test fail!\n"));
        QCOMPARE(popup(QStringLiteral("Again"))->text(), QStringLiteral("Again Ethernet"));
        QCOMPARE(popup(QStringLiteral("Next"))->text(), QStringLiteral("Next USB"));
    }

    void model4Com1Rs485UsesCom2()
    {
        sim.setModel(4);
        BenchTest bench;
        QTRY_VERIFY(settled(bench));
        auto *test = bench.findChild<CommunicationTest *>();
        auto *list = bench.findChild<ErrorDeviceListInterface *>();
        QSignalSpy stop(test, &CommunicationTest::transferStop);
        bench.callFunction(Com1RS485Function);
        QCOMPARE(test->currentDevice(), COMPORT2);
        QTRY_COMPARE(stop.count(), 1);
        // COM2 has nothing plugged in: the looped-back COM1 was not used.
        QCOMPARE(list->listText(), Heading + QStringLiteral("COM port 1 RS485 test fail!\n"));
        QCOMPARE(popup(QStringLiteral("Again"))->text(), QStringLiteral("Again RS485"));
        QCOMPARE(popup(QStringLiteral("Next"))->text(), QStringLiteral("Next Ethernet"));
    }

    void startThenAgain()
    {
        BenchTest bench;
        QTRY_VERIFY(settled(bench));
        auto *test = bench.findChild<CommunicationTest *>();
        QSignalSpy stop(test, &CommunicationTest::transferStop);
        QSignalSpy results(test, &CommunicationTest::errorMessage);
        bench.callFunction(Com1RS232Function);
        FunctionButton *start = popup(QStringLiteral("Start"));
        QVERIFY(start && start->isVisible());
        // Asserts that the test does not start by itself: a fixed wait of many timer ticks.
        QTest::qWait(100);
        QCOMPARE(stop.count(), 0);
        QCOMPARE(test->findChild<QLabel *>(QStringLiteral("totalCountLabel"))->text(),
            QStringLiteral("0000"));

        QTest::mouseClick(start, Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(stop.count(), 1, 20000);
        QCOMPARE(results.at(0).at(0).toString(), QStringLiteral("COM port 1 RS232 test"));
        QCOMPARE(results.at(0).at(1).toString(), QStringLiteral("ok!"));
        QCOMPARE(popup(QStringLiteral("Again"))->text(), QStringLiteral("Again RS232"));

        // "Again" runs the same port once more.
        QTest::mouseClick(popup(QStringLiteral("Again")), Qt::LeftButton);
        QVERIFY(!popup(QStringLiteral("Again"))->isVisible());
        QTRY_COMPARE_WITH_TIMEOUT(stop.count(), 2, 20000);
        QCOMPARE(results.at(1).at(0).toString(), QStringLiteral("COM port 1 RS232 test"));
        QCOMPARE(results.at(1).at(1).toString(), QStringLiteral("ok!"));
        QCOMPARE(stack(bench)->currentWidget(), test);
    }

    void burnInMode()
    {
        setDip(QStringLiteral("0x101"));
        BenchTest bench;
        auto *burnin = bench.findChild<BurninTestInterface *>();
        QVERIFY(burnin);
        QCOMPARE(stack(bench)->count(), 1);
        QCOMPARE(stack(bench)->currentWidget(), burnin);
        QVERIFY(!bench.findChild<CommunicationTest *>());
        // Running: COM1 is looped back, so the received pane fills.
        QTRY_VERIFY(
            !burnin->findChild<QTextEdit *>(QStringLiteral("rxTextEdit"))->toPlainText().isEmpty());
    }

    void slaveTesterMode()
    {
        setDip(QStringLiteral("0x111"));
        BenchTest bench;
        auto *tester = bench.findChild<TesterInterface *>();
        QVERIFY(tester);
        QCOMPARE(stack(bench)->count(), 1);
        QCOMPARE(stack(bench)->currentWidget(), tester);
        const QList<ReadingThread *> threads = tester->findChildren<ReadingThread *>();
        QCOMPARE(threads.size(), 3);
        QTRY_VERIFY(
            threads.at(0)->isRunning() && threads.at(1)->isRunning() && threads.at(2)->isRunning());
        QVERIFY(!bench.findChild<CommunicationTest *>());
        QVERIFY(!bench.findChild<ErrorDeviceListInterface *>());
        // A stray result in this mode is dropped.
        bench.errorMessageUpdate(QStringLiteral("Ethernet test"), QStringLiteral("fail!"));
    }
};

QTEST_MAIN(tst_BenchTestWiring)
#include "tst_benchtestwiring.moc"
