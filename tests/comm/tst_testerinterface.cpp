// The slave tester: its labels per panel model, its serial echo on pseudo-terminals whose far
// ends this test drives, and its TCP echo to clients on 127.0.0.1.
#include "common/portnames.h"
#include "commtestsupport.h"
#include "readingthread.h"
#include "testerinterface.h"

#include <QLabel>
#include <QLayout>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTextEdit>

#include <memory>

class tst_TesterInterface : public QObject {
    Q_OBJECT

private:
    static QLabel *label(TesterInterface &tester, const char *name)
    {
        return tester.findChild<QLabel *>(QLatin1String(name));
    }
    static QTextEdit *pane(TesterInterface &tester, const char *name)
    {
        return tester.findChild<QTextEdit *>(QLatin1String(name));
    }
    static QList<ReadingThread *> threads(TesterInterface &tester)
    {
        return tester.findChildren<ReadingThread *>();
    }

    struct Partners {
        PtyPartner com1 { PtyPartner::Drain };
        PtyPartner com2 { PtyPartner::Drain };
        PtyPartner com3 { PtyPartner::Drain };
        QStringList paths() const { return { com1.path(), com2.path(), com3.path() }; }
    };

    SimDir sim;

private Q_SLOTS:
    void init() { sim.setModel(7); }

    void form()
    {
        Partners partners;
        TesterInterface tester(partners.paths());
        QCOMPARE(tester.objectName(), QStringLiteral("TesterInterface"));
        QCOMPARE(tester.windowTitle(), QStringLiteral("Form"));
        QCOMPARE(tester.size(), QSize(732, 387));
        QCOMPARE(tester.font().pixelSize(), 16);
        QCOMPARE(label(tester, "label_5")->text(), QStringLiteral("Slave test"));
        QCOMPARE(label(tester, "label_5")->alignment(), Qt::AlignCenter);
        QVERIFY(tester.findChild<QLayout *>(QStringLiteral("verticalLayout")));
        auto *grid = tester.findChild<QGridLayout *>(QStringLiteral("gridLayout"));
        QVERIFY(grid);
        const char *labels[] = { "com1Label", "com2Label", "com3Label", "ethernetLabel" };
        const char *texts[]
            = { "==== COM1 ====", "==== COM2 ====", "==== COM3 ====", "==== Ethernet ====" };
        const char *panes[]
            = { "com1TextEdit", "com2TextEdit", "com3TextEdit", "ethernetTextEdit" };
        for (int column = 0; column < 4; ++column) {
            QCOMPARE(label(tester, labels[column])->text(), QString::fromLatin1(texts[column]));
            QCOMPARE(label(tester, labels[column])->alignment(), Qt::AlignCenter);
            QCOMPARE(grid->itemAtPosition(0, column)->widget(), label(tester, labels[column]));
            QCOMPARE(grid->itemAtPosition(1, column)->widget(), pane(tester, panes[column]));
            QVERIFY(pane(tester, panes[column])->isReadOnly());
            QVERIFY(!label(tester, labels[column])->isHidden());
            QVERIFY(!pane(tester, panes[column])->isHidden());
        }
    }

    void model4Labels()
    {
        sim.setModel(4);
        Partners partners;
        TesterInterface tester(partners.paths());
        QCOMPARE(label(tester, "com1Label")->text(), QStringLiteral("==== RS232 ===="));
        QCOMPARE(label(tester, "com2Label")->text(), QStringLiteral("==== RS422/RS485 ===="));
        QVERIFY(label(tester, "com3Label")->isHidden());
        QVERIFY(pane(tester, "com3TextEdit")->isHidden());
        QCOMPARE(label(tester, "ethernetLabel")->text(), QStringLiteral("==== Ethernet ===="));
        QVERIFY(!label(tester, "ethernetLabel")->isHidden());
        QVERIFY(!pane(tester, "com1TextEdit")->isHidden());
        QVERIFY(!pane(tester, "com2TextEdit")->isHidden());
    }

    void serialEchoPerModel_data()
    {
        QTest::addColumn<int>("model");
        QTest::addColumn<bool>("echo");
        for (int model : { 4, 7, 10, 12, 15 })
            QTest::addRow("model %d", model) << model << true;
        for (int model : { 0, 1, 3, 5, 6, 8, 11, 16, 20, 255 })
            QTest::addRow("model %d", model) << model << false;
    }

    void serialEchoPerModel()
    {
        QFETCH(int, model);
        QFETCH(bool, echo);
        sim.setModel(model);
        Partners partners;
        const QStringList before = openFilePaths();
        TesterInterface tester(partners.paths());
        const QStringList after = openFilePaths();
        const QList<ReadingThread *> made = threads(tester);
        QCOMPARE(made.size(), echo ? 3 : 0);
        for (int i = 0; i < made.size(); ++i) {
            QCOMPARE(made.at(i)->port(), partners.paths().at(i));
            QCOMPARE(int(made.at(i)->deviceType()), 64);
            QCOMPARE(made.at(i)->echoFlag(), 1);
            QCOMPARE(made.at(i)->parent(), &tester);
        }
        for (const QString &path : partners.paths())
            QCOMPARE(after.count(path), before.count(path) + (echo ? 1 : 0));
    }

    void defaultPortsAreTheThreeComPorts()
    {
        TesterInterface tester;
        const QList<ReadingThread *> made = threads(tester);
        QCOMPARE(made.size(), 3);
        QCOMPARE(made.at(0)->port(), COMPORT1);
        QCOMPARE(made.at(1)->port(), COMPORT2);
        QCOMPARE(made.at(2)->port(), COMPORT3);
    }

    void runStartsTheThreadsAfter50ms()
    {
        Partners partners;
        TesterInterface tester(partners.paths());
        for (ReadingThread *thread : threads(tester))
            QVERIFY(!thread->isRunning());
        tester.run();
        for (ReadingThread *thread : threads(tester))
            QVERIFY(!thread->isRunning());
        QTRY_VERIFY(threads(tester).at(0)->isRunning());
        for (ReadingThread *thread : threads(tester))
            QVERIFY(thread->isRunning());
    }

    void serialEchoAndPanes()
    {
        Partners partners;
        TesterInterface tester(partners.paths());
        tester.run();
        QTRY_VERIFY(threads(tester).at(2)->isRunning());

        const QByteArray block = printableRun(64);
        const QString text = QString::fromLatin1(block);
        partners.com1.send(block);
        QTRY_COMPARE(partners.com1.received(), block);
        QTRY_COMPARE(pane(tester, "com1TextEdit")->toPlainText(), text);

        // The same block again on the same port: echoed, not shown again.
        partners.com1.send(block);
        QTRY_COMPARE(partners.com1.received(), block + block);
        QTest::qWait(50);
        QCOMPARE(pane(tester, "com1TextEdit")->toPlainText(), text);

        // The same block on another port is shown there.
        partners.com2.send(block);
        QTRY_COMPARE(partners.com2.received(), block);
        QTRY_COMPARE(pane(tester, "com2TextEdit")->toPlainText(), text);
        // ... and back on the first port it is no longer the last one shown.
        partners.com1.send(block);
        QTRY_COMPARE(pane(tester, "com1TextEdit")->toPlainText(), text + text);

        const QByteArray other = printableRun(64, 96);
        partners.com3.send(other);
        QTRY_COMPARE(partners.com3.received(), other);
        QTRY_COMPARE(pane(tester, "com3TextEdit")->toPlainText(), QString::fromLatin1(other));
        QCOMPARE(pane(tester, "ethernetTextEdit")->toPlainText(), QString());
        QCOMPARE(partners.com2.received(), block);
    }

    void serialPanesShowTextUpToNul()
    {
        Partners partners;
        TesterInterface tester(partners.paths());
        tester.run();
        QTRY_VERIFY(threads(tester).at(0)->isRunning());
        const QByteArray bytes("<i>x</i>&\0hidden", 16);
        partners.com1.send(bytes);
        QTRY_COMPARE(partners.com1.received(), bytes);
        QTRY_COMPARE(pane(tester, "com1TextEdit")->toPlainText(), QStringLiteral("<i>x</i>&"));
    }

    void textEditUpdateIgnoresOtherSenders()
    {
        Partners partners;
        TesterInterface tester(partners.paths());
        tester.textEditUpdate(64, printableRun(64));
        tester.textEditUpdate(0, printableRun(64));
        for (const char *name :
            { "com1TextEdit", "com2TextEdit", "com3TextEdit", "ethernetTextEdit" })
            QCOMPARE(pane(tester, name)->toPlainText(), QString());
    }

    void tcpEcho_data()
    {
        QTest::addColumn<int>("model");
        QTest::newRow("model 7, serial echo too") << 7;
        QTest::newRow("model 5, TCP only") << 5;
    }

    void tcpEcho()
    {
        QFETCH(int, model);
        sim.setModel(model);
        Partners partners;
        TesterInterface tester(partners.paths());
        tester.run();

        QTcpSocket client;
        client.connectToHost(QHostAddress::LocalHost, TesterInterface::TcpPort);
        QVERIFY2(client.waitForConnected(5000), qPrintable(client.errorString()));
        const QByteArray block = printableRun(64);
        QCOMPARE(client.write(block), qint64(64));
        QByteArray answer;
        QTRY_VERIFY((answer += client.readAll()).size() >= 64);
        QCOMPARE(answer, block);
        // The pane follows within a moment; the echo does not wait for it.
        QTRY_COMPARE(pane(tester, "ethernetTextEdit")->toPlainText(), QString::fromLatin1(block));
        QTest::qWait(50);
        QCOMPARE(client.bytesAvailable(), qint64(0));
        for (const PtyPartner *partner : { &partners.com1, &partners.com2, &partners.com3 })
            QCOMPARE(partner->receivedCount(), 0);
    }

    void tcpEchoesEverythingButShowsTextUpToNul()
    {
        Partners partners;
        TesterInterface tester(partners.paths());
        QTcpSocket client;
        client.connectToHost(QHostAddress::LocalHost, TesterInterface::TcpPort);
        QVERIFY(client.waitForConnected(5000));
        const QByteArray bytes("<b>bold</b>\0rest", 16);
        client.write(bytes);
        QByteArray answer;
        QTRY_VERIFY((answer += client.readAll()).size() >= bytes.size());
        QCOMPARE(answer, bytes);
        QTRY_COMPARE(
            pane(tester, "ethernetTextEdit")->toPlainText(), QStringLiteral("<b>bold</b>"));
    }

    void manyClientsAtOnce()
    {
        sim.setModel(5);
        TesterInterface tester(QStringList {});
        std::vector<std::unique_ptr<QTcpSocket>> clients;
        for (int i = 0; i < 5; ++i) {
            clients.emplace_back(new QTcpSocket);
            clients.back()->connectToHost(QHostAddress::LocalHost, TesterInterface::TcpPort);
            QVERIFY(clients.back()->waitForConnected(5000));
        }
        auto *server = tester.findChild<QTcpServer *>();
        QVERIFY(server);
        QTRY_COMPARE(server->findChildren<QTcpSocket *>().size(), 5);
        for (int i = 0; i < 5; ++i)
            clients[size_t(i)]->write(printableRun(64, 33 + i));
        for (int i = 0; i < 5; ++i) {
            QByteArray answer;
            QTRY_VERIFY((answer += clients[size_t(i)]->readAll()).size() >= 64);
            QCOMPARE(answer, printableRun(64, 33 + i));
        }
        // A client that leaves has its socket deleted.
        clients[0]->disconnectFromHost();
        clients[1]->abort();
        QTRY_COMPARE(server->findChildren<QTcpSocket *>().size(), 3);
        QCOMPARE(server->serverAddress(), QHostAddress(QHostAddress::Any));
        QCOMPARE(server->serverPort(), quint16(36888));
    }

    void ethernetPaneClearsItselfWhenFull()
    {
        sim.setModel(5);
        TesterInterface tester(QStringList {});
        tester.resize(732, 387);
        tester.show();
        QVERIFY(QTest::qWaitForWindowExposed(&tester));
        QSignalSpy ranges(
            pane(tester, "ethernetTextEdit")->verticalScrollBar(), &QScrollBar::rangeChanged);
        QTcpSocket client;
        client.connectToHost(QHostAddress::LocalHost, TesterInterface::TcpPort);
        QVERIFY(client.waitForConnected(5000));
        int echoed = 0;
        int start = 32;
        for (int i = 0; i < 200; ++i) {
            const QByteArray block = printableRun(64, start);
            start = uchar(block.back());
            client.write(block);
            QTRY_VERIFY((echoed += int(client.readAll().size())) >= 64 * (i + 1));
        }
        QTRY_VERIFY(ranges.count() > 0);
        const QString shown = pane(tester, "ethernetTextEdit")->toPlainText();
        QVERIFY(shown.size() < echoed);
        QVERIFY(isContiguousRun(shown));
    }
};

QTEST_MAIN(tst_TesterInterface)
#include "tst_testerinterface.moc"
