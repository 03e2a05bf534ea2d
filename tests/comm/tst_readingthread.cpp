// The echo thread on a pseudo-terminal whose far end this test drives.
#include "comm/readingthread.h"
#include "common/portnames.h"
#include "tests/support/commtestsupport.h"

#include <QTest>

// Collects updateBuffer in the GUI thread, through the queued connection that the slave tester
// uses too. (QSignalSpy would record in the emitting thread.)
class Recorder : public QObject {
    Q_OBJECT
public:
    explicit Recorder(ReadingThread *thread)
    {
        connect(thread, &ReadingThread::updateBuffer, this, &Recorder::record);
    }
    int count() const { return counts.size(); }

    QList<int> counts;
    QList<QByteArray> blocks;
    QList<bool> inGuiThread;

public Q_SLOTS:
    void record(int count, QByteArray data)
    {
        counts.append(count);
        blocks.append(data);
        inGuiThread.append(QThread::currentThread() == thread());
    }
};

class tst_ReadingThread : public QObject {
    Q_OBJECT

private:
    static QByteArray data(const Recorder &recorder)
    {
        QByteArray result;
        for (int i = 0; i < recorder.count(); ++i) {
            if (recorder.blocks.at(i).size() != recorder.counts.at(i))
                return QByteArray("size mismatch");
            result += recorder.blocks.at(i);
        }
        return result;
    }

    SimDir sim;

private Q_SLOTS:
    void defaultPortIsCom2AsRs232()
    {
        ReadingThread thread;
        QCOMPARE(thread.port(), COMPORT2);
        QCOMPARE(thread.port(), QStringLiteral("/dev/ttyO1"));
        QCOMPARE(int(thread.deviceType()), 16);
        QCOMPARE(thread.echoFlag(), 0);
    }

    void givenPortAndKind()
    {
        PtyPartner partner;
        const int before = openFilePaths().count(partner.path());
        ReadingThread thread(partner.path(), RS485);
        QCOMPARE(thread.port(), partner.path());
        QCOMPARE(int(thread.deviceType()), 64);
        // Opened at construction, before the thread runs.
        QCOMPARE(openFilePaths().count(partner.path()), before + 1);
    }

    void blockInTwoPartsWithEcho()
    {
        PtyPartner partner(PtyPartner::Drain);
        ReadingThread thread(partner.path(), RS232);
        thread.setEchoFlag(1);
        Recorder spy(&thread);
        thread.start(QThread::InheritPriority);

        const QByteArray block = printableRun(64);
        partner.send(block.left(40));
        QTRY_COMPARE(spy.count(), 1);
        QTRY_COMPARE(partner.received(), block.left(40));
        partner.send(block.mid(40));
        QTRY_COMPARE(spy.count(), 2);
        QTRY_COMPARE(partner.received(), block);
        QCOMPARE(spy.counts, QList<int>({ 40, 24 }));
        QCOMPARE(data(spy), block);
        // Two reads, two writes back.
        QCOMPARE(partner.chunks(), QList<int>({ 40, 24 }));
    }

    void blockInTwoPartsWithoutEcho()
    {
        PtyPartner partner(PtyPartner::Drain);
        ReadingThread thread(partner.path(), RS232);
        Recorder spy(&thread);
        thread.start();

        const QByteArray block = printableRun(64);
        partner.send(block.left(40));
        QTRY_COMPARE(spy.count(), 1);
        partner.send(block.mid(40));
        QTRY_COMPARE(spy.count(), 2);
        QCOMPARE(spy.counts, QList<int>({ 40, 24 }));
        QCOMPARE(data(spy), block);
        // An echo would follow 1 ms after each read; give it ample time to show up (asserts
        // that nothing comes, so a fixed wait).
        QTest::qWait(300);
        QCOMPARE(partner.receivedCount(), 0);
    }

    void echoSendsEveryByteBackOnceInOrder()
    {
        PtyPartner partner(PtyPartner::Drain);
        ReadingThread thread(partner.path(), RS485);
        thread.setEchoFlag(1);
        Recorder spy(&thread);
        thread.start();

        QByteArray sent;
        for (int i = 0; i < 20; ++i) {
            const QByteArray block = printableRun(64, 32 + i);
            sent += block;
            partner.send(block);
            QTRY_COMPARE(partner.receivedCount(), sent.size());
            // Echoed no sooner than 1 ms after the read (itself after the line went quiet).
            QVERIFY2(partner.lastAnswerDelay() >= 1, QByteArray::number(partner.lastAnswerDelay()));
        }
        QCOMPARE(partner.received(), sent);
        QTRY_COMPARE(data(spy), sent);
        // Asserts that no second echo comes: a fixed wait.
        QTest::qWait(100);
        QCOMPARE(partner.receivedCount(), sent.size());
    }

    void bytesAreCarriedAsTheyAre()
    {
        PtyPartner partner(PtyPartner::Drain);
        ReadingThread thread(partner.path(), RS232);
        thread.setEchoFlag(1);
        Recorder spy(&thread);
        thread.start();
        const QByteArray bytes("a\0<b>\xff\r\n", 8);
        partner.send(bytes);
        QTRY_COMPARE(spy.count(), 1);
        QCOMPARE(spy.counts.at(0), 8);
        QCOMPARE(spy.blocks.at(0), bytes);
        QCOMPARE(spy.inGuiThread.at(0), true);
        QTRY_COMPARE(partner.received(), bytes);
    }

    void unopenablePortStaysSilent()
    {
        TestSupport::DebugCapture log(TestSupport::DebugCapture::AllMessages);
        ReadingThread thread(QStringLiteral("/nonexistent/ttyX"), RS485);
        thread.setEchoFlag(1);
        Recorder spy(&thread);
        thread.start();
        QTRY_VERIFY(thread.isRunning());
        // Asserts that nothing is reported: a fixed wait of several read time-outs.
        QTest::qWait(300);
        QCOMPARE(spy.count(), 0);
        QCOMPARE(log.take(), QStringList());
    }

    void destroyingARunningThreadStopsIt()
    {
        PtyPartner partner(PtyPartner::Echo);
        const int before = openFilePaths().count(partner.path());
        auto *thread = new ReadingThread(partner.path(), RS232);
        thread->setEchoFlag(1);
        thread->start();
        QTRY_VERIFY(thread->isRunning());
        QCOMPARE(openFilePaths().count(partner.path()), before + 1);
        delete thread;
        QCOMPARE(openFilePaths().count(partner.path()), before);
    }
};

QTEST_MAIN(tst_ReadingThread)
#include "tst_readingthread.moc"
