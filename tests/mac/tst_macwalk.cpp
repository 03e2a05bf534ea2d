// The end of the bench walk in the real BenchTest: leaving the error list opens the MAC
// screen, which takes the stick's first line; OK writes it and asks for a restart. The menu's
// "mac" key opens the same screen, blank on a unit that has its address.
#include "app/benchtest.h"
#include "comm/errordevicelistinterface.h"
#include "common/functionbutton.h"
#include "common/functionkeys.h"
#include "mac/macaddresswidget.h"
#include "tests/support/mactestsupport.h"

#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>
#include <QtTest>

using namespace MacTest;

class tst_MacWalk : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        freshFram();
        TestSupport::writeSim(QStringLiteral("model"), QStringLiteral("7"));
        TestSupport::writeSim(QStringLiteral("dip"), QStringLiteral("0"));
        usbStick(QStringLiteral("plug"));
    }

    void errorListNextOpensTheMacScreen()
    {
        BoxAnswers answers;
        QVERIFY(writeFile(SupplyFile, "02:A7:3C:00:01:00\n02:A7:3C:00:01:01\n"));
        BenchTest bench;
        auto *stack = bench.findChild<QStackedWidget *>();
        auto *mac = bench.findChild<MacAddressWidget *>();
        auto *errors = bench.findChild<ErrorDeviceListInterface *>();
        QVERIFY(stack && mac && errors);
        QCOMPARE(stack->indexOf(mac), 4);
        // The walk's last stage: the error list, all good, and its Next.
        bench.callFunction(QStringLiteral("Error Device List"));
        bench.errorMessageUpdate(QStringLiteral("Ethernet test"), QStringLiteral("ok!"));
        auto *next = errors->findChild<FunctionButton *>();
        QVERIFY(next);
        QCOMPARE(next->text(), QStringLiteral("Next"));
        QVERIFY(!mac->findChild<QLabel *>(QStringLiteral("macAddress")));
        QTest::mouseClick(next, Qt::LeftButton);
        QCOMPARE(stack->currentWidget(), mac);
        auto *label = mac->findChild<QLabel *>(QStringLiteral("macAddress"));
        QVERIFY(label);
        QCOMPARE(label->text(), QStringLiteral("02:A7:3C:00:01:00"));
        QVERIFY(answers.boxes.isEmpty());

        QTest::mouseClick(
            mac->findChild<QPushButton *>(QStringLiteral("okButton")), Qt::LeftButton);
        QCOMPARE(answers.boxes.size(), 1);
        QCOMPARE(answers.boxes[0].icon, QMessageBox::Information);
        QCOMPARE(answers.boxes[0].title, QStringLiteral("QUORVAN"));
        QCOMPARE(answers.boxes[0].text,
            QStringLiteral("Write MAC address success!!\nPlease restart machine!"));
        QCOMPARE(fram(132, 12), QByteArray("\x02\0\xA7\0\x3C\0\0\0\x01\0\0\0", 12));
        QCOMPARE(fram(178, 2), QByteArray("\x01\0", 2));
        QCOMPARE(framWord(2), quint16(0x02 + 0xA7 + 0x3C + 0x01 + 1));
        QCOMPARE(readFile(SupplyFile), QByteArray("02:A7:3C:00:01:01\n"));
        // The walk ends here: the screen stays.
        QCOMPARE(stack->currentWidget(), mac);
    }

    void menuKeyOnAProvisionedUnit()
    {
        BoxAnswers answers;
        TestSupport::writeSim(QStringLiteral("dip"), QStringLiteral("1"));
        setFramWord(132, 0x02);
        BenchTest bench;
        auto *stack = bench.findChild<QStackedWidget *>();
        auto *mac = bench.findChild<MacAddressWidget *>();
        bench.callFunction(MACFunction);
        QCOMPARE(stack->currentWidget(), mac);
        QVERIFY(mac->findChildren<QWidget *>().isEmpty());
        QVERIFY(answers.boxes.isEmpty());
    }
};

QTEST_MAIN(tst_MacWalk)
#include "tst_macwalk.moc"
