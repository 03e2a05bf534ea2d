// The USB page inside the real BenchTest of a virtual unit with the cable in and no stick:
// its place in the stack, the gadget loaded once at start and again by "Again", results into
// the error list, the bench walk's USB stage with its "Again " and "Next " buttons, and the
// menu's two USB keys.
#include "tests/support/calibrationtestsupport.h"
#include "app/benchtest.h"
#include "comm/errordevicelistinterface.h"
#include "common/functionkeys.h"
#include "menu/functiontestinterface.h"
#include "tests/support/testsupport.h"
#include "usb/usbhostdevicetest.h"
#include "tests/support/usbtestsupport.h"
#include "common/functionbutton.h"

#include <QApplication>
#include <QFileInfo>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTest>

using namespace TestSupport;
using namespace UsbTestSupport;

namespace {
const QString Heading = QStringLiteral("Error device lists\n=============================\n");
const QString Gadget = QStringLiteral("usb-gadget /tmp/ram.img");

QStackedWidget *stack(BenchTest &bench)
{
    return bench.findChild<QStackedWidget *>();
}

QString resultText(USBHostDeviceTest *page)
{
    return page->findChild<QLabel *>(QStringLiteral("label"))->text();
}
} // namespace

class tst_USBBenchWiring : public QObject {
    Q_OBJECT
    // The bench walk starts with the touch calibration, which waits for five touches.
    CalibrationTest::AutoToucher toucher;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(qEnvironmentVariable("BENCHTEST_SIM_DIR") == QLatin1String("/sim"),
            "this test reconfigures eth0 and writes raw bytes to /dev/sda: run it in a unit");
        QVERIFY2(hostDiskIsCableImage(), "needs a unit with --usb-cable");
    }

    void init()
    {
        writeSim(QStringLiteral("dip"), QStringLiteral("0"));
        writeSim(QStringLiteral("model"), QStringLiteral("7"));
        clearEvents();
    }

    void pageAndGadgetAtStart()
    {
        BenchTest bench;
        auto *usb = bench.findChild<USBHostDeviceTest *>();
        QVERIFY(usb);
        QCOMPARE(stack(bench)->indexOf(usb), 5);
        // The gadget is loaded exactly once while the pages are built.
        QCOMPARE(events().count(Gadget), 1);
        QVERIFY(QFileInfo(QStringLiteral("/tmp/ram.img")).isSymLink());
        QCOMPARE(resultText(usb), QStringLiteral("Test Pass !"));
    }

    void resultsReachTheErrorList()
    {
        BenchTest bench;
        auto *usb = bench.findChild<USBHostDeviceTest *>();
        auto *list = bench.findChild<ErrorDeviceListInterface *>();
        QSignalSpy stops(usb, &USBHostDeviceTest::transferStop);
        // No stick in this unit: the host test fails.
        bench.callFunction(UsbHostFunction);
        QCOMPARE(stack(bench)->currentWidget(), usb);
        QCOMPARE(stops.count(), 1);
        QCOMPARE(
            resultText(usb), QStringLiteral("<font color='red'>USB Host Test Not Pass!</font>"));
        QCOMPARE(list->listText(), Heading + QStringLiteral("USB fail!\n"));
        // The cable is in: the device test passes and replaces the entry.
        bench.callFunction(UsbDeviceFunction);
        QCOMPARE(stops.count(), 2);
        QCOMPARE(
            resultText(usb), QStringLiteral("<font color='black'>USB Device Test Pass!</font>"));
        QCOMPARE(list->listText(), Heading);
        QCOMPARE(bench.popup(BenchTest::Popup::Again)->text(), QStringLiteral("Again "));
        QCOMPARE(bench.popup(BenchTest::Popup::Next)->text(), QStringLiteral("Next "));
    }

    void walkUsbStageAgainAndNext_data()
    {
        QTest::addColumn<int>("model");
        QTest::addColumn<int>("usbStage");
        QTest::newRow("model 4") << 4 << 10;
        QTest::newRow("model 7") << 7 << 16;
    }

    void walkUsbStageAgainAndNext()
    {
        QFETCH(int, model);
        QFETCH(int, usbStage);
        writeSim(QStringLiteral("model"), QString::number(model));
        BenchTest bench;
        bench.show();
        auto *usb = bench.findChild<USBHostDeviceTest *>();
        auto *list = bench.findChild<ErrorDeviceListInterface *>();
        QSignalSpy results(usb, &USBHostDeviceTest::errorMessage);
        // The start page leads to stage 1 by itself; the stages before USB are stepped over.
        QTRY_COMPARE(stack(bench)->currentIndex(), 12);
        for (int stage = 2; stage < usbStage; ++stage)
            bench.nextStage();
        QCOMPARE(results.count(), 0);
        bench.nextStage();
        QCOMPARE(stack(bench)->currentWidget(), usb);
        QCOMPARE(results.count(), 1);
        QCOMPARE(results.at(0), (QList<QVariant> { QStringLiteral("USB"), QStringLiteral("ok!") }));
        QPushButton *again = bench.popup(BenchTest::Popup::Again);
        QPushButton *next = bench.popup(BenchTest::Popup::Next);
        QVERIFY(again);
        QVERIFY(next);
        QCOMPARE(again->text(), QStringLiteral("Again "));
        QCOMPARE(next->text(), QStringLiteral("Next "));
        QVERIFY(again->isVisible());
        QVERIFY(next->isVisible());
        QVERIFY(!list->listText().contains(QLatin1String("USB")));

        // "Again" loads the gadget afresh and repeats the device test on the same stage.
        clearEvents();
        QTest::mouseClick(again, Qt::LeftButton);
        QCOMPARE(results.count(), 2);
        QCOMPARE(results.at(1), (QList<QVariant> { QStringLiteral("USB"), QStringLiteral("ok!") }));
        QCOMPARE(events(), (QStringList { QStringLiteral("sound 2"), Gadget }));
        QCOMPARE(stack(bench)->currentWidget(), usb);
        QTRY_VERIFY(again->isVisible());
        QCOMPARE(again->text(), QStringLiteral("Again "));
        QCOMPARE(next->text(), QStringLiteral("Next "));

        // "Next" leaves the USB stage for the error list, the end of the walk.
        QTest::mouseClick(next, Qt::LeftButton);
        QCOMPARE(stack(bench)->currentWidget(), list);
        QCOMPARE(results.count(), 2);
        QVERIFY(!again->isVisible());
        QVERIFY(!next->isVisible());
    }

    void menuKeys()
    {
        writeSim(QStringLiteral("dip"), QStringLiteral("1"));
        BenchTest bench;
        bench.show();
        auto *usb = bench.findChild<USBHostDeviceTest *>();
        auto *menu = bench.findChild<FunctionTestInterface *>();
        QSignalSpy results(usb, &USBHostDeviceTest::errorMessage);
        QCOMPARE(stack(bench)->currentWidget(), menu);

        auto *host = menu->findChild<QPushButton *>(UsbHostFunction);
        QVERIFY(host);
        QTest::mouseClick(host, Qt::LeftButton);
        QCOMPARE(stack(bench)->currentWidget(), usb);
        QCOMPARE(results.count(), 1);
        QCOMPARE(results.at(0).at(1).toString(), QStringLiteral("fail!"));
        QCOMPARE(
            resultText(usb), QStringLiteral("<font color='red'>USB Host Test Not Pass!</font>"));
        // In the menu the USB page shows no "Again" or "Next".
        QVERIFY(!bench.popup(BenchTest::Popup::Again)->isVisible());
        QVERIFY(!bench.popup(BenchTest::Popup::Next)->isVisible());

        stack(bench)->setCurrentWidget(menu);
        auto *device = menu->findChild<QPushButton *>(UsbDeviceFunction);
        QVERIFY(device);
        QTest::mouseClick(device, Qt::LeftButton);
        QCOMPARE(stack(bench)->currentWidget(), usb);
        QCOMPARE(results.count(), 2);
        QCOMPARE(results.at(1).at(1).toString(), QStringLiteral("ok!"));
        QCOMPARE(
            resultText(usb), QStringLiteral("<font color='black'>USB Device Test Pass!</font>"));
        QVERIFY(!bench.popup(BenchTest::Popup::Again)->isVisible());
    }
};

QTEST_MAIN(tst_USBBenchWiring)
#include "tst_usbbenchwiring.moc"
