// The loopback test screen against partners made here: a pseudo-terminal whose far end this
// test echoes, drains or cuts short, and a TCP echo server on 127.0.0.1.
#include "comm/communicationtest.h"
#include "common/portnames.h"
#include "tests/support/commtestsupport.h"
#include "services/interface.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QLayout>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>
#include <QTextEdit>

namespace {
const QString OneBlock = QString::fromLatin1(printableRun(64));

struct Report {
    QStringList order;
    QString device;
    QString result;
};

void record(CommunicationTest *test, Report *report)
{
    QObject::connect(test, &CommunicationTest::errorMessage, test,
        [report](const QString &device, const QString &result) {
            report->order.append(QStringLiteral("errorMessage"));
            report->device = device;
            report->result = result;
        });
    QObject::connect(test, &CommunicationTest::transferStop, test,
        [report] { report->order.append(QStringLiteral("transferStop")); });
}

QColor textColour(const QLabel *label, QPalette::ColorGroup group)
{
    return label->palette().color(group, label->foregroundRole());
}
} // namespace

class tst_CommunicationTest : public QObject {
    Q_OBJECT

private:
    QLabel *label(CommunicationTest &test, const char *name)
    {
        return test.findChild<QLabel *>(QLatin1String(name));
    }
    QTextEdit *pane(CommunicationTest &test, const char *name)
    {
        return test.findChild<QTextEdit *>(QLatin1String(name));
    }
    void verifyColour(QLabel *label, const QColor &colour)
    {
        for (QPalette::ColorGroup group :
            { QPalette::Active, QPalette::Inactive, QPalette::Disabled })
            QCOMPARE(textColour(label, group), colour);
    }

    SimDir sim;

private Q_SLOTS:
    void init() { sim.setModel(7); }

    void form()
    {
        CommunicationTest test;
        QCOMPARE(test.objectName(), QStringLiteral("CommunicationTest"));
        QCOMPARE(test.windowTitle(), QStringLiteral("Form"));
        QCOMPARE(test.size(), QSize(588, 410));
        QCOMPARE(test.font().pixelSize(), 16);
        QCOMPARE(label(test, "titleLabel")->text(), QStringLiteral("COM port test"));
        QCOMPARE(label(test, "titleLabel")->alignment(), Qt::AlignHCenter | Qt::AlignVCenter);
        QCOMPARE(label(test, "label_2")->text(), QStringLiteral("Total count ="));
        QCOMPARE(label(test, "label_4")->text(), QStringLiteral("Error count ="));
        for (const char *name : { "totalCountLabel", "errorCountLabel" }) {
            QCOMPARE(label(test, name)->text(), QStringLiteral("0000"));
            QCOMPARE(label(test, name)->minimumWidth(), 100);
            QCOMPARE(label(test, name)->maximumWidth(), 100);
        }
        for (const char *name : { "txTextEdit", "rxTextEdit" }) {
            QVERIFY(pane(test, name));
            QVERIFY(pane(test, name)->isReadOnly());
        }
        for (const char *name : { "line", "line_2", "line_3" }) {
            auto *line = test.findChild<QFrame *>(QLatin1String(name));
            QVERIFY(line);
            QCOMPARE(line->frameShadow(), QFrame::Sunken);
            QCOMPARE(line->frameShape(), QFrame::HLine);
        }
        for (const char *name :
            { "verticalLayout", "verticalLayout_2", "horizontalLayout", "horizontalLayout_2" })
            QVERIFY(test.findChild<QLayout *>(QLatin1String(name)));
        QCOMPARE(test.findChild<QLayout *>(QStringLiteral("verticalLayout"))->spacing(), 0);
        QCOMPARE(test.transferLimit(), qint16(-1));
        QCOMPARE(test.currentDevice(), QString());
        QCOMPARE(test.currentSerial(), QString());
    }

    void runResetsCounters()
    {
        CommunicationTest test;
        label(test, "totalCountLabel")->setText(QStringLiteral("00001234"));
        label(test, "errorCountLabel")->setText(QStringLiteral("00000040"));
        QPalette red = label(test, "errorCountLabel")->palette();
        red.setColor(QPalette::WindowText, Qt::red);
        label(test, "errorCountLabel")->setPalette(red);
        pane(test, "txTextEdit")->setPlainText(QStringLiteral("old"));
        pane(test, "rxTextEdit")->setPlainText(QStringLiteral("old"));

        // No port chosen yet: run() only resets the screen.
        test.run();
        QCOMPARE(label(test, "totalCountLabel")->text(), QStringLiteral("0000"));
        QCOMPARE(label(test, "errorCountLabel")->text(), QStringLiteral("0000"));
        verifyColour(label(test, "errorCountLabel"), Qt::black);
        QCOMPARE(pane(test, "txTextEdit")->toPlainText(), QString());
        QCOMPARE(pane(test, "rxTextEdit")->toPlainText(), QString());
    }

    void titles_data()
    {
        QTest::addColumn<QString>("port");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("device");
        QTest::addColumn<QString>("serial");
        QTest::newRow("com1 rs232") << COMPORT1 << 16 << "COM port 1 RS232 test"
                                    << "/dev/ttyO0"
                                    << "RS232";
        QTest::newRow("com1 rs422") << COMPORT1 << 32 << "COM port 1 RS422 test"
                                    << "/dev/ttyO0"
                                    << "RS422";
        QTest::newRow("com2 rs485") << COMPORT2 << 64 << "COM port 2 RS485 test"
                                    << "/dev/ttyO1"
                                    << "RS485";
        QTest::newRow("com3 rs232") << COMPORT3 << 16 << "COM port 3 RS232 test"
                                    << "/dev/ttyO2"
                                    << "RS232";
        QTest::newRow("other path") << "/dev/ttyS9" << 64 << "COM port 3 RS485 test"
                                    << "/dev/ttyS9"
                                    << "RS485";
        QTest::newRow("unnamed serial kind") << COMPORT2 << 128 << "COM port 2  test"
                                             << "/dev/ttyO1"
                                             << "";
        QTest::newRow("ethernet") << "127.0.0.1 9" << 256 << "Ethernet test"
                                  << "Ethernet"
                                  << "Ethernet";
    }

    void titles()
    {
        QFETCH(QString, port);
        QFETCH(int, kind);
        CommunicationTest test;
        test.createInterface(port, device_type(kind));
        QTEST(label(test, "titleLabel")->text(), "title");
        QTEST(test.currentDevice(), "device");
        QTEST(test.currentSerial(), "serial");
    }

    void unknownKindChangesOnlyTheTitle_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("8") << 8;
        QTest::newRow("0") << 0;
        QTest::newRow("300") << 300;
    }

    void unknownKindChangesOnlyTheTitle()
    {
        QFETCH(int, kind);
        CommunicationTest test;
        test.createInterface(COMPORT2, RS422);
        test.createInterface(COMPORT1, device_type(kind));
        QCOMPARE(label(test, "titleLabel")->text(), QStringLiteral("COM port 1  test"));
        QCOMPARE(test.portList().size(), 1);
        QCOMPARE(test.currentDevice(), COMPORT2);
        QCOMPARE(test.currentSerial(), QStringLiteral("RS422"));
    }

    void model4SendsLineModesOfCom1ToCom2_data()
    {
        QTest::addColumn<int>("model");
        QTest::addColumn<QString>("port");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("opened");
        QTest::newRow("model 4 com1 rs485")
            << 4 << COMPORT1 << 64 << "COM port 1 RS485 test" << COMPORT2;
        QTest::newRow("model 4 com1 rs422")
            << 4 << COMPORT1 << 32 << "COM port 1 RS422 test" << COMPORT2;
        QTest::newRow("model 4 com1 rs232")
            << 4 << COMPORT1 << 16 << "COM port 1 RS232 test" << COMPORT1;
        QTest::newRow("model 4 com2 rs485")
            << 4 << COMPORT2 << 64 << "COM port 2 RS485 test" << COMPORT2;
        QTest::newRow("model 7 com1 rs485")
            << 7 << COMPORT1 << 64 << "COM port 1 RS485 test" << COMPORT1;
        QTest::newRow("model 5 com1 rs422")
            << 5 << COMPORT1 << 32 << "COM port 1 RS422 test" << COMPORT1;
    }

    void model4SendsLineModesOfCom1ToCom2()
    {
        QFETCH(int, model);
        QFETCH(QString, port);
        QFETCH(int, kind);
        sim.setModel(model);
        CommunicationTest test;
        test.createInterface(port, device_type(kind));
        QTEST(label(test, "titleLabel")->text(), "title");
        QTEST(test.currentDevice(), "opened");
        QCOMPARE(test.portList().size(), 1);
        QTEST(test.portList().first()->deviceSetting()->port, "opened");
        QCOMPARE(int(test.portList().first()->deviceType()), kind);
    }

    void secondCreateInterfaceReusesThePort()
    {
        PtyPartner one, two;
        QVERIFY(one.isValid() && two.isValid());
        CommunicationTest test;
        test.createInterface(one.path(), RS232);
        QCOMPARE(test.portList().size(), 1);
        Interface *first = test.portList().first();
        test.createInterface(one.path(), RS232);
        QCOMPARE(test.portList().size(), 1);
        QCOMPARE(test.portList().first(), first);

        test.createInterface(one.path(), RS485);
        QCOMPARE(test.portList().size(), 2);
        QCOMPARE(test.currentSerial(), QStringLiteral("RS485"));
        test.createInterface(two.path(), RS232);
        QCOMPARE(test.portList().size(), 3);
        test.createInterface(one.path(), RS232);
        QCOMPARE(test.portList().size(), 3);
        QCOMPARE(test.currentDevice(), one.path());
        QCOMPARE(test.currentSerial(), QStringLiteral("RS232"));
        // The setting records the port was made with.
        const DeviceSetting *setting = first->deviceSetting();
        QCOMPARE(setting->baudRate, 115200);
        QCOMPARE(setting->dataBits, 8);
        QCOMPARE(setting->parity, 0);
        QCOMPARE(setting->stopBits, 0);
    }

    void createInterfaceStopsTheTestAndClosesEveryPort()
    {
        PtyPartner one(PtyPartner::Echo), two(PtyPartner::Echo);
        CommunicationTest test;
        test.createInterface(two.path(), RS232);
        test.createInterface(one.path(), RS232);
        test.run();
        QTRY_VERIFY(one.receivedCount() >= 64 * 3);
        QVERIFY(test.portList().at(1)->isOpen());

        test.createInterface(two.path(), RS232);
        for (Interface *port : test.portList())
            QVERIFY(!port->isOpen());
        const QString total = label(test, "totalCountLabel")->text();
        const int sent = one.receivedCount();
        // The timer is stopped: nothing more goes out and the counter stands still. Asserts
        // that nothing comes, so a fixed wait of many 1 ms ticks.
        QTest::qWait(100);
        QCOMPARE(one.receivedCount(), sent);
        QCOMPARE(label(test, "totalCountLabel")->text(), total);
        QCOMPARE(two.receivedCount(), 0);
    }

    void oneGoodBlock()
    {
        PtyPartner partner(PtyPartner::Echo);
        CommunicationTest test;
        Report report;
        record(&test, &report);
        test.setTransferLimit(64);
        test.createInterface(partner.path(), RS232);
        test.run();
        QTRY_COMPARE(report.order, QStringList({ "errorMessage", "transferStop" }));
        QCOMPARE(label(test, "totalCountLabel")->text(), QStringLiteral("00000040"));
        QCOMPARE(label(test, "errorCountLabel")->text(), QStringLiteral("0000"));
        verifyColour(label(test, "errorCountLabel"), Qt::black);
        QCOMPARE(report.device, QStringLiteral("COM port 3 RS232 test"));
        QCOMPARE(report.result, QStringLiteral("ok!"));
        QCOMPARE(partner.received(), printableRun(64));
        // Shown as the characters themselves: "<" and "&" are not markup.
        QCOMPARE(pane(test, "txTextEdit")->toPlainText(), OneBlock);
        QCOMPARE(pane(test, "rxTextEdit")->toPlainText(), OneBlock);
        QVERIFY(!test.portList().first()->isOpen());
    }

    void perfectPartnerEndsAfter59Blocks()
    {
        PtyPartner partner(PtyPartner::Echo);
        CommunicationTest test;
        Report report;
        record(&test, &report);
        QSignalSpy stopSpy(&test, &CommunicationTest::transferStop);
        QVERIFY(stopSpy.isValid());
        test.setTransferLimit(qint16(QStringLiteral("0EA0").toInt(nullptr, 16)));
        QCOMPARE(test.transferLimit(), qint16(3744));
        test.createInterface(partner.path(), RS485);
        test.run();
        QTRY_COMPARE_WITH_TIMEOUT(stopSpy.count(), 1, 20000);
        QCOMPARE(report.order, QStringList({ "errorMessage", "transferStop" }));
        QCOMPARE(report.device, QStringLiteral("COM port 3 RS485 test"));
        QCOMPARE(report.result, QStringLiteral("ok!"));
        QCOMPARE(label(test, "totalCountLabel")->text(), QStringLiteral("00000EC0"));
        QCOMPARE(label(test, "errorCountLabel")->text(), QStringLiteral("0000"));
        QCOMPARE(partner.received(), printableRun(59 * 64));
        // Asserts that nothing more goes out: a fixed wait of many 1 ms ticks.
        QTest::qWait(50);
        QCOMPARE(stopSpy.count(), 1);
        QCOMPARE(partner.receivedCount(), 59 * 64);
    }

    void noPartnerFailsAfterOneBlock()
    {
        PtyPartner partner(PtyPartner::Drain);
        CommunicationTest test;
        Report report;
        record(&test, &report);
        test.setTransferLimit(3744);
        test.createInterface(partner.path(), RS422);
        QElapsedTimer clock;
        clock.start();
        test.run();
        QTRY_COMPARE(report.order, QStringList({ "errorMessage", "transferStop" }));
        QVERIFY2(clock.elapsed() >= 95, QByteArray::number(clock.elapsed()));
        QCOMPARE(report.device, QStringLiteral("COM port 3 RS422 test"));
        QCOMPARE(report.result, QStringLiteral("fail!"));
        QCOMPARE(label(test, "errorCountLabel")->text(), QStringLiteral("00000040"));
        verifyColour(label(test, "errorCountLabel"), Qt::red);
        QCOMPARE(label(test, "totalCountLabel")->text(), QStringLiteral("00000040"));
        QCOMPARE(partner.received(), printableRun(64));
        QCOMPARE(pane(test, "rxTextEdit")->toPlainText(), QString());
    }

    void shortAnswerCountsTheMissingBytes()
    {
        PtyPartner partner(PtyPartner::Short);
        partner.setShortLength(40);
        CommunicationTest test;
        Report report;
        record(&test, &report);
        test.setTransferLimit(3744);
        test.createInterface(partner.path(), RS232);
        test.run();
        QTRY_COMPARE(report.order.size(), 2);
        QCOMPARE(report.result, QStringLiteral("fail!"));
        QCOMPARE(label(test, "errorCountLabel")->text(), QStringLiteral("00000018"));
        verifyColour(label(test, "errorCountLabel"), Qt::red);
    }

    void withoutLimitTheTestRunsOn()
    {
        PtyPartner partner(PtyPartner::Drain);
        CommunicationTest test;
        QSignalSpy stopSpy(&test, &CommunicationTest::transferStop);
        test.createInterface(partner.path(), RS232);
        test.run();
        // Every tick times out; without a limit nothing ends the test.
        QTRY_VERIFY(partner.receivedCount() >= 64 * 3);
        QCOMPARE(stopSpy.count(), 0);
        QTRY_COMPARE(label(test, "errorCountLabel")->text(), QStringLiteral("000000C0"));
        test.createInterface(partner.path(), RS232);
    }

    void unopenablePort()
    {
        CommunicationTest test;
        Report report;
        record(&test, &report);
        test.setTransferLimit(3744);
        test.createInterface(QStringLiteral("/nonexistent/ttyX"), RS232);
        QTest::ignoreMessage(QtDebugMsg, "Connection not established");
        test.run();
        QTRY_COMPARE(report.order.size(), 2);
        QCOMPARE(report.result, QStringLiteral("fail!"));
        QCOMPARE(label(test, "errorCountLabel")->text(), QStringLiteral("00000040"));
    }

    void counterArithmetic_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::newRow("wrap") << "0000FFC0"
                              << "00000000";
        QTest::newRow("reset text") << "0000"
                                    << "00000040";
        QTest::newRow("upper case") << "00001ABC"
                                    << "00001AFC";
        QTest::newRow("upper bits dropped") << "0001FFF0"
                                            << "00000030";
    }

    void counterArithmetic()
    {
        QFETCH(QString, before);
        PtyPartner partner(PtyPartner::Drain);
        CommunicationTest test;
        Report report;
        record(&test, &report);
        // Any positive limit ends the test at the first error, i.e. after exactly one tick.
        test.setTransferLimit(1);
        test.createInterface(partner.path(), RS232);
        test.run();
        label(test, "totalCountLabel")->setText(before);
        label(test, "errorCountLabel")->setText(before);
        QTRY_COMPARE(report.order.size(), 2);
        QTEST(label(test, "totalCountLabel")->text(), "after");
        QTEST(label(test, "errorCountLabel")->text(), "after");
        QCOMPARE(partner.receivedCount(), 64);
    }

    void totalCounterWrapsWithAPerfectPartner()
    {
        PtyPartner partner(PtyPartner::Echo);
        CommunicationTest test;
        Report report;
        record(&test, &report);
        test.setTransferLimit(64);
        test.createInterface(partner.path(), RS232);
        test.run();
        label(test, "totalCountLabel")->setText(QStringLiteral("0000FFC0"));
        // 00000000 is below the limit: the test goes on to 00000040 and ends there.
        QTRY_COMPARE(report.order.size(), 2);
        QCOMPARE(report.result, QStringLiteral("ok!"));
        QCOMPARE(label(test, "totalCountLabel")->text(), QStringLiteral("00000040"));
        QCOMPARE(partner.receivedCount(), 128);
    }

    void blocksContinueTheRunAcrossTicksAndResetOnRun()
    {
        PtyPartner partner(PtyPartner::Echo);
        CommunicationTest test;
        Report report;
        record(&test, &report);
        test.setTransferLimit(3 * 64);
        test.createInterface(partner.path(), RS232);
        test.run();
        QTRY_COMPARE(report.order.size(), 2);
        QCOMPARE(partner.received(), printableRun(3 * 64));
        // A rerun starts again at "!".
        test.run();
        QTRY_COMPARE(report.order.size(), 4);
        QCOMPARE(partner.received(), printableRun(3 * 64) + printableRun(3 * 64));
        QCOMPARE(label(test, "totalCountLabel")->text(), QStringLiteral("000000C0"));
    }

    void panesClearThemselvesWhenFull()
    {
        PtyPartner partner(PtyPartner::Echo);
        CommunicationTest test;
        test.resize(588, 410);
        test.show();
        QVERIFY(QTest::qWaitForWindowExposed(&test));
        test.createInterface(partner.path(), RS232);
        QSignalSpy txCleared(
            pane(test, "txTextEdit")->verticalScrollBar(), &QScrollBar::rangeChanged);
        test.run();
        QTRY_VERIFY_WITH_TIMEOUT(partner.receivedCount() >= 64 * 400, 30000);
        test.createInterface(partner.path(), RS232);
        QVERIFY(txCleared.count() > 0);
        const QString tx = pane(test, "txTextEdit")->toPlainText();
        const QString rx = pane(test, "rxTextEdit")->toPlainText();
        QVERIFY(tx.size() < partner.receivedCount());
        QVERIFY(rx.size() < partner.receivedCount());
        QVERIFY(isContiguousRun(tx));
        // Whole echoed blocks only.
        QCOMPARE(rx.size() % 64, 0);
        QVERIFY(rx.isEmpty() || looksLikeEchoedRun(rx, 1));
    }

    // The unit's own ports with the plugs CTest put in: the results tell which port was used.
    void unitPorts_data()
    {
        QTest::addColumn<int>("model");
        QTest::addColumn<QString>("port");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("title");
        QTest::addColumn<int>("usedPort");
        QTest::newRow("com1 rs232") << 7 << COMPORT1 << 16 << "COM port 1 RS232 test" << 0;
        QTest::newRow("com1 rs485") << 7 << COMPORT1 << 64 << "COM port 1 RS485 test" << 0;
        QTest::newRow("com2 rs422") << 7 << COMPORT2 << 32 << "COM port 2 RS422 test" << 1;
        QTest::newRow("com3 rs485") << 7 << COMPORT3 << 64 << "COM port 3 RS485 test" << 2;
        QTest::newRow("model 4 com1 rs232") << 4 << COMPORT1 << 16 << "COM port 1 RS232 test" << 0;
        QTest::newRow("model 4 com1 rs422") << 4 << COMPORT1 << 32 << "COM port 1 RS422 test" << 1;
        QTest::newRow("model 4 com1 rs485") << 4 << COMPORT1 << 64 << "COM port 1 RS485 test" << 1;
    }

    void unitPorts()
    {
        const QStringList plugs = unitPlugs();
        if (plugs.isEmpty())
            QSKIP("needs a virtual unit with BENCHTEST_COMM_PLUGS");
        QFETCH(int, model);
        QFETCH(QString, port);
        QFETCH(int, kind);
        QFETCH(int, usedPort);
        sim.setModel(model);
        // With a loop plug the verdict holds only because the plug hands each block back in
        // one piece (sim/loop-plug): the port's read ends a block at the first 1 ms of quiet,
        // and a plug that echoes a block in two writes with a pause between them fails it.
        CommunicationTest test;
        Report report;
        record(&test, &report);
        test.setTransferLimit(3744);
        test.createInterface(port, device_type(kind));
        test.run();
        QTRY_COMPARE_WITH_TIMEOUT(
            report.order, QStringList({ "errorMessage", "transferStop" }), 20000);
        QTEST(report.device, "title");
        QCOMPARE(report.result,
            plugs.at(usedPort) == QLatin1String("loop") ? QStringLiteral("ok!")
                                                        : QStringLiteral("fail!"));
    }

    void rxUpdated()
    {
        CommunicationTest test;
        test.rxUpdated(0, QByteArray());
        QCOMPARE(pane(test, "rxTextEdit")->toPlainText(), QStringLiteral("Time out!"));
        test.rxUpdated(-1, QByteArray("zz"));
        QCOMPARE(pane(test, "rxTextEdit")->toPlainText(), QStringLiteral("Time out!\nTime out!"));
        pane(test, "rxTextEdit")->clear();
        test.rxUpdated(9, QByteArray("<b>&amp;\0tail", 13));
        QCOMPARE(pane(test, "rxTextEdit")->toPlainText(), QStringLiteral("<b>&amp;"));
    }

    void ethernetEchoPasses()
    {
        TcpEchoServer server;
        QVERIFY(server.isValid());
        CommunicationTest test;
        Report report;
        record(&test, &report);
        test.setTransferLimit(3744);
        test.createInterface(server.endPoint(), Ethernet);
        QCOMPARE(label(test, "titleLabel")->text(), QStringLiteral("Ethernet test"));
        QCOMPARE(test.currentDevice(), QStringLiteral("Ethernet"));
        QCOMPARE(test.currentSerial(), QStringLiteral("Ethernet"));
        test.run();
        QTRY_COMPARE_WITH_TIMEOUT(
            report.order, QStringList({ "errorMessage", "transferStop" }), 20000);
        QCOMPARE(report.device, QStringLiteral("Ethernet test"));
        QCOMPARE(report.result, QStringLiteral("ok!"));
        QCOMPARE(label(test, "totalCountLabel")->text(), QStringLiteral("00000EC0"));
        QCOMPARE(label(test, "errorCountLabel")->text(), QStringLiteral("0000"));
        QCOMPARE(server.bytesReceived(), 59 * 64);

        // Same partner: the connection is kept and reused.
        test.createInterface(server.endPoint(), Ethernet);
        test.run();
        QTRY_COMPARE_WITH_TIMEOUT(report.order.size(), 4, 20000);
        QCOMPARE(report.result, QStringLiteral("ok!"));
        QCOMPARE(server.connectionsAccepted(), 1);

        // A serial test in between does not drop it either.
        PtyPartner partner(PtyPartner::Echo);
        test.createInterface(partner.path(), RS232);
        QCOMPARE(test.currentSerial(), QStringLiteral("RS232"));
        test.createInterface(server.endPoint(), Ethernet);
        QCOMPARE(server.connectionsAccepted(), 1);

        // Another partner: the socket reconnects there.
        TcpEchoServer other;
        test.createInterface(other.endPoint(), Ethernet);
        test.run();
        QTRY_COMPARE_WITH_TIMEOUT(report.order.size(), 6, 20000);
        QCOMPARE(report.result, QStringLiteral("ok!"));
        QCOMPARE(other.connectionsAccepted(), 1);
        QCOMPARE(other.bytesReceived(), 59 * 64);
    }

    void ethernetWithoutPartnerFails()
    {
        // A port that nothing listens on.
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
        const quint16 closedPort = probe.serverPort();
        probe.close();

        CommunicationTest test;
        Report report;
        record(&test, &report);
        test.setTransferLimit(3744);
        test.createInterface(QStringLiteral("127.0.0.1 %1").arg(closedPort), Ethernet);
        QTest::ignoreMessage(QtDebugMsg, "Connection not established");
        test.run();
        QTRY_COMPARE(report.order.size(), 2);
        QCOMPARE(report.device, QStringLiteral("Ethernet test"));
        QCOMPARE(report.result, QStringLiteral("fail!"));
        QCOMPARE(label(test, "errorCountLabel")->text(), QStringLiteral("00000040"));
        verifyColour(label(test, "errorCountLabel"), Qt::red);
    }
};

QTEST_MAIN(tst_CommunicationTest)
#include "tst_communicationtest.moc"
