// The burn-in screen on a pseudo-terminal whose far end this test echoes (a loopback plug),
// drains (nothing connected) or switches between the two.
#include "comm/burnintestinterface.h"
#include "tests/support/commtestsupport.h"

#include <QFile>
#include <QLabel>
#include <QLayout>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>

class tst_BurninTestInterface : public QObject {
    Q_OBJECT

private:
    static QTextEdit *pane(BurninTestInterface &screen, const char *name)
    {
        return screen.findChild<QTextEdit *>(QLatin1String(name));
    }

    SimDir sim;

private Q_SLOTS:
    void form()
    {
        PtyPartner partner;
        BurninTestInterface screen(partner.path());
        QCOMPARE(screen.objectName(), QStringLiteral("BurninTestInterface"));
        QCOMPARE(screen.windowTitle(), QStringLiteral("Form"));
        QCOMPARE(screen.size(), QSize(513, 422));
        QCOMPARE(screen.font().pixelSize(), 16);
        auto *label = screen.findChild<QLabel *>(QStringLiteral("label"));
        QVERIFY(label);
        QCOMPARE(label->text(), QStringLiteral("BurnIn test"));
        QCOMPARE(label->alignment(), Qt::AlignHCenter | Qt::AlignVCenter);
        QVERIFY(screen.findChild<QVBoxLayout *>(QStringLiteral("verticalLayout")));
        auto *row = screen.findChild<QHBoxLayout *>(QStringLiteral("horizontalLayout"));
        QVERIFY(row);
        QCOMPARE(row->itemAt(0)->widget(), pane(screen, "txTextEdit"));
        QCOMPARE(row->itemAt(1)->widget(), pane(screen, "rxTextEdit"));
        QVERIFY(pane(screen, "txTextEdit")->isReadOnly());
        QVERIFY(pane(screen, "rxTextEdit")->isReadOnly());
    }

    void portIsOpenedByRunNotBefore()
    {
        PtyPartner partner(PtyPartner::Echo);
        const int before = openFilePaths().count(partner.path());
        BurninTestInterface screen(partner.path());
        QCOMPARE(openFilePaths().count(partner.path()), before);
        screen.run();
        QCOMPARE(openFilePaths().count(partner.path()), before + 1);
    }

    void loopbackFillsBothPanesWithTheRun()
    {
        PtyPartner partner(PtyPartner::Echo);
        BurninTestInterface screen(partner.path());
        screen.resize(513, 422);
        screen.show();
        QVERIFY(QTest::qWaitForWindowExposed(&screen));
        QSignalSpy txRanges(
            pane(screen, "txTextEdit")->verticalScrollBar(), &QScrollBar::rangeChanged);
        QSignalSpy rxRanges(
            pane(screen, "rxTextEdit")->verticalScrollBar(), &QScrollBar::rangeChanged);
        screen.run();
        // Sampled while it runs: every view of either pane is a piece of the run, and in the
        // end both have emptied themselves on the way and hold text again.
        bool broken = false;
        int longest = 0;
        auto sample = [&] {
            const QString tx = pane(screen, "txTextEdit")->toPlainText();
            const QString rx = pane(screen, "rxTextEdit")->toPlainText();
            if (!isContiguousRun(tx) || !(rx.isEmpty() || looksLikeEchoedRun(rx, 1)))
                broken = true;
            longest = qMax(longest, qMax(tx.size(), rx.size()));
            return !tx.isEmpty() && looksLikeEchoedRun(rx) && txRanges.count() > 0
                && rxRanges.count() > 0 && partner.receivedCount() >= 64 * 300;
        };
        QTRY_VERIFY_WITH_TIMEOUT(sample(), 30000);
        QVERIFY(!broken);
        const QByteArray sent = partner.received();
        QVERIFY(longest < sent.size());
        QCOMPARE(sent.left(sent.size() / 64 * 64), printableRun(sent.size() / 64 * 64));
    }

    void nothingConnected()
    {
        TestSupport::DebugCapture log(TestSupport::DebugCapture::AllMessages);
        PtyPartner partner(PtyPartner::Drain);
        BurninTestInterface screen(partner.path());
        screen.run();
        QTRY_VERIFY(partner.receivedCount() >= 64 * 5);
        QVERIFY(!pane(screen, "txTextEdit")->toPlainText().isEmpty());
        QVERIFY(isContiguousRun(pane(screen, "txTextEdit")->toPlainText()));
        QCOMPARE(pane(screen, "rxTextEdit")->toPlainText(), QString());
        QCOMPARE(log.take(), QStringList());
    }

    void reconnectingNeedsNoRestart()
    {
        PtyPartner partner(PtyPartner::Drain);
        BurninTestInterface screen(partner.path());
        screen.run();
        QTRY_VERIFY(partner.receivedCount() >= 64 * 3);
        QCOMPARE(pane(screen, "rxTextEdit")->toPlainText(), QString());

        partner.setMode(PtyPartner::Echo);
        QTRY_VERIFY(looksLikeEchoedRun(pane(screen, "rxTextEdit")->toPlainText()));

        // Unplugged again: the received pane stands still while the sent pane goes on. Two
        // more blocks out first: an echo still on its way when the plug went is read or
        // flushed (each block is sent after a flush of the input) by then.
        partner.setMode(PtyPartner::Drain);
        const int unplugged = partner.receivedCount();
        QTRY_VERIFY_WITH_TIMEOUT(partner.receivedCount() >= unplugged + 64 * 2, 10000);
        const QString rx = pane(screen, "rxTextEdit")->toPlainText();
        const int sent = partner.receivedCount();
        QTRY_VERIFY(partner.receivedCount() >= sent + 64 * 3);
        QCOMPARE(pane(screen, "rxTextEdit")->toPlainText(), rx);
    }

    // COM1 of the virtual unit with the plug CTest put in.
    void unitCom1()
    {
        const QStringList plugs = unitPlugs();
        if (plugs.isEmpty())
            QSKIP("needs a virtual unit with BENCHTEST_COMM_PLUGS");
        BurninTestInterface screen;
        screen.run();
        QTRY_VERIFY(!pane(screen, "txTextEdit")->toPlainText().isEmpty());
        if (plugs.at(0) == QLatin1String("loop")) {
            QTRY_VERIFY(looksLikeEchoedRun(pane(screen, "rxTextEdit")->toPlainText()));
        } else {
            // Several ticks, each waiting its 100 ms for an answer that does not come.
            TestSupport::EventCounter ticks(&screen, QEvent::Timer);
            QTRY_VERIFY_WITH_TIMEOUT(ticks.count >= 4, 10000);
            QVERIFY(!pane(screen, "txTextEdit")->toPlainText().isEmpty());
            QCOMPARE(pane(screen, "rxTextEdit")->toPlainText(), QString());
        }
    }

    void portThatCannotBeOpenedIsRetriedEveryTick()
    {
        PtyPartner partner(PtyPartner::Echo);
        QTemporaryDir dir;
        const QString link = dir.filePath(QStringLiteral("ttyBurnin"));
        BurninTestInterface screen(link);
        TestSupport::EventCounter ticks(&screen, QEvent::Timer);
        screen.run();
        // Nothing written in full over several ticks, each trying the port: the sent pane
        // stays empty.
        QTRY_VERIFY_WITH_TIMEOUT(ticks.count >= 3, 10000);
        QCOMPARE(pane(screen, "txTextEdit")->toPlainText(), QString());
        QCOMPARE(pane(screen, "rxTextEdit")->toPlainText(), QString());

        QVERIFY(QFile::link(partner.path(), link));
        QTRY_VERIFY(partner.receivedCount() >= 64);
        QTRY_VERIFY(!pane(screen, "rxTextEdit")->toPlainText().isEmpty());
        QVERIFY(!pane(screen, "txTextEdit")->toPlainText().isEmpty());
    }
};

QTEST_MAIN(tst_BurninTestInterface)
#include "tst_burnintestinterface.moc"
