// The error device list: what it lists, in which order, and when it offers "Next".
#include "comm/errordevicelistinterface.h"
#include "common/functionbutton.h"
#include "common/qtcompat.h"

#include <QImage>
#include <QSignalSpy>
#include <QTest>

namespace {
const QString Heading = QStringLiteral("Error device lists\n=============================\n");

// Rows of the image that hold at least one clearly red pixel.
int redRows(const QImage &image)
{
    int rows = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            if (c.red() > 120 && c.green() < 60 && c.blue() < 60) {
                ++rows;
                break;
            }
        }
    }
    return rows;
}
} // namespace

class tst_ErrorDeviceListInterface : public QObject {
    Q_OBJECT

private:
    static FunctionButton *nextButton(ErrorDeviceListInterface &list)
    {
        return list.findChild<FunctionButton *>();
    }

private Q_SLOTS:
    void headingOnlyAndButtonHidden()
    {
        ErrorDeviceListInterface list;
        QCOMPARE(Heading.count(QLatin1Char('=')), 29);
        QCOMPARE(list.listText(), Heading);
        QVERIFY(nextButton(list));
        QCOMPARE(nextButton(list)->text(), QStringLiteral("Next"));
        QCOMPARE(nextButton(list)->parent(), &list);
        QVERIFY(nextButton(list)->isHidden());
        QCOMPARE(list.font().pixelSize(), 16);
    }

    void firstOkShowsNext()
    {
        ErrorDeviceListInterface list;
        list.updateDeviceStatus(QStringLiteral("COM port 1 RS232 test"), QStringLiteral("ok!"));
        QVERIFY(!nextButton(list)->isHidden());
        QCOMPARE(list.listText(), Heading);
    }

    void okAndFail()
    {
        ErrorDeviceListInterface list;
        list.updateDeviceStatus(QStringLiteral("COM port 1 RS232 test"), QStringLiteral("ok!"));
        list.updateDeviceStatus(QStringLiteral("Ethernet test"), QStringLiteral("fail!"));
        QCOMPARE(list.listText(), Heading + QStringLiteral("Ethernet test fail!\n"));
        QVERIFY(nextButton(list)->isHidden());

        // A rerun that passes replaces the entry, which leaves the list.
        list.updateDeviceStatus(QStringLiteral("Ethernet test"), QStringLiteral("ok!"));
        QCOMPARE(list.listText(), Heading);
        QVERIFY(!nextButton(list)->isHidden());
    }

    void failuresInStringOrder()
    {
        ErrorDeviceListInterface list;
        list.updateDeviceStatus(QStringLiteral("Ethernet test"), QStringLiteral("fail!"));
        list.updateDeviceStatus(QStringLiteral("COM port 2 RS232 test"), QStringLiteral("fail!"));
        list.updateDeviceStatus(QStringLiteral("COM port 1 RS485 test"), QStringLiteral("fail!"));
        list.updateDeviceStatus(QStringLiteral("COM port 1 RS232 test"), QStringLiteral("ok!"));
        QCOMPARE(list.listText(),
            Heading
                + QStringLiteral("COM port 1 RS485 test fail!\nCOM port 2 RS232 test "
                                 "fail!\nEthernet test fail!\n"));
    }

    void anyOtherTextIsAFailure()
    {
        ErrorDeviceListInterface list;
        list.updateDeviceStatus(QStringLiteral("usb_device"), QStringLiteral("OK!"));
        QCOMPARE(list.listText(), Heading + QStringLiteral("usb_device OK!\n"));
        QVERIFY(nextButton(list)->isHidden());
        list.updateDeviceStatus(QStringLiteral("usb_device"), QString());
        QCOMPARE(list.listText(), Heading + QStringLiteral("usb_device \n"));
        QVERIFY(nextButton(list)->isHidden());
    }

    void nextFollowsEveryUpdate_data()
    {
        QTest::addColumn<QStringList>("devices");
        QTest::addColumn<QStringList>("results");
        QTest::addColumn<QList<bool>>("visible");
        QTest::newRow("ok, fail, ok")
            << QStringList { "A", "B", "B" } << QStringList { "ok!", "fail!", "ok!" }
            << QList<bool> { true, false, true };
        QTest::newRow("fail first")
            << QStringList { "A", "B", "A" } << QStringList { "fail!", "ok!", "ok!" }
            << QList<bool> { false, false, true };
        QTest::newRow("two failures fixed one by one")
            << QStringList { "A", "B", "A", "B", "A" }
            << QStringList { "fail!", "fail!", "ok!", "ok!", "fail!" }
            << QList<bool> { false, false, false, true, false };
    }

    void nextFollowsEveryUpdate()
    {
        QFETCH(QStringList, devices);
        QFETCH(QStringList, results);
        QFETCH(QList<bool>, visible);
        ErrorDeviceListInterface list;
        for (int i = 0; i < devices.size(); ++i) {
            list.updateDeviceStatus(devices.at(i), results.at(i));
            QCOMPARE(!nextButton(list)->isHidden(), visible.at(i));
        }
    }

    void nextEmitsExitSignal()
    {
        ErrorDeviceListInterface list;
        QSignalSpy spy(&list, &ErrorDeviceListInterface::exitSignal);
        QVERIFY(spy.isValid());
        list.resize(800, 480);
        list.show();
        QVERIFY(QTest::qWaitForWindowExposed(&list));
        list.updateDeviceStatus(QStringLiteral("Ethernet test"), QStringLiteral("ok!"));
        QTest::mouseClick(nextButton(list), Qt::LeftButton);
        QCOMPARE(spy.count(), 1);
    }

    void buttonPlacedFromTheScreenHeight()
    {
        ErrorDeviceListInterface list;
        const int h = screenGeometry().height();
        const int w = nextButton(list)->width();
        QCOMPARE(nextButton(list)->pos(), QPoint((h - 1) / 2 - w / 2, (h - 1) - h / 4));
        if (screenGeometry().size() == QSize(800, 480))
            QCOMPARE(nextButton(list)->pos(), QPoint(127, 359));
        else if (screenGeometry().size() == QSize(480, 272))
            QCOMPARE(nextButton(list)->pos(), QPoint(63, 203));
    }

    void painting()
    {
        ErrorDeviceListInterface list;
        list.resize(800, 480);
        const QImage empty = list.grab().toImage();
        QCOMPARE(empty.pixelColor(0, 0), QColor(Qt::black));
        QCOMPARE(empty.pixelColor(799, 479), QColor(Qt::black));
        QCOMPARE(empty.pixelColor(400, 29), QColor(Qt::black));
        // Red text, starting below the 30-pixel top margin.
        QVERIFY(redRows(empty.copy(0, 0, 800, 30)) == 0);
        const int headingRows = redRows(empty);
        QVERIFY(headingRows > 10);

        list.updateDeviceStatus(QStringLiteral("Ethernet test"), QStringLiteral("fail!"));
        list.updateDeviceStatus(QStringLiteral("COM port 1 RS232 test"), QStringLiteral("fail!"));
        const QImage two = list.grab().toImage();
        QVERIFY(redRows(two) > headingRows + 10);
        QVERIFY(redRows(two.copy(0, 0, 800, 30)) == 0);
        // Centred: the red is around the middle, not at the left edge.
        QVERIFY(redRows(two.copy(0, 0, 200, 480)) == 0);
    }
};

QTEST_MAIN(tst_ErrorDeviceListInterface)
#include "tst_errordevicelistinterface.moc"
