// The burn-in mode on a unit of the virtual bench with a loopback plug on COM1: both panes
// fill with the printable run, a pulled plug leaves the received pane empty while sending goes
// on, and a plug put back shows received data again without a restart.
#include "app/benchtest.h"
#include "tests/support/benchcable.h"
#include "comm/burnintestinterface.h"
#include "tests/support/commtestsupport.h"

#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <QTextEdit>

namespace {

// One whole "!" (33) to "~" (126) run.
QString fullRun()
{
    return QString::fromLatin1(printableRun(126 - 33 + 1));
}

// Counts the blocks a pane shows; the pane emptying itself on overflow is not one.
struct BlockCounter {
    explicit BlockCounter(QTextEdit *pane)
    {
        connection = QObject::connect(pane, &QTextEdit::textChanged, [this, pane] {
            if (!pane->toPlainText().isEmpty())
                ++blocks;
        });
    }
    ~BlockCounter() { QObject::disconnect(connection); }
    int blocks = 0;
    QMetaObject::Connection connection;
};

} // namespace

class TestBurnin : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void loopbackFillsBothPanes();
    void pulledPlugLeavesReceivedPaneEmpty();
    void plugBackShowsDataWithoutRestart();

private:
    BenchTest *bench = nullptr;
    QTextEdit *tx = nullptr;
    QTextEdit *rx = nullptr;
};

void TestBurnin::initTestCase()
{
    if (qEnvironmentVariableIsEmpty("VIRTUAL_BENCH_DIR"))
        QSKIP("runs in a unit of sim/virtual-bench with a loopback plug on COM1");
    QFile dip(QStringLiteral("/sim/dip"));
    QVERIFY(dip.open(QIODevice::ReadOnly));
    QCOMPARE(dip.readAll().trimmed(), QByteArray("257"));
    QVERIFY(setBenchCable(QStringLiteral("com1"), QStringLiteral("loop")));

    bench = new BenchTest;
    bench->show();
    auto *burnin = bench->findChild<BurninTestInterface *>();
    QVERIFY(burnin);
    QTRY_VERIFY(burnin->isVisible());
    tx = burnin->findChild<QTextEdit *>(QStringLiteral("txTextEdit"));
    rx = burnin->findChild<QTextEdit *>(QStringLiteral("rxTextEdit"));
    QVERIFY(tx);
    QVERIFY(rx);
}

void TestBurnin::cleanupTestCase()
{
    delete bench;
}

void TestBurnin::loopbackFillsBothPanes()
{
    // Both panes empty themselves whenever they overflow, so what they hold is some stretch
    // of the run; it must be the run, and long enough to hold all of it.
    const QString run = fullRun();
    QTRY_VERIFY_WITH_TIMEOUT(tx->toPlainText().contains(run), 10000);
    QTRY_VERIFY_WITH_TIMEOUT(rx->toPlainText().contains(run), 10000);
    QVERIFY2(isContiguousRun(tx->toPlainText()), qPrintable(tx->toPlainText()));
    QVERIFY2(isContiguousRun(rx->toPlainText()), qPrintable(rx->toPlainText()));

    // And they keep filling.
    BlockCounter sent(tx);
    BlockCounter received(rx);
    QTRY_VERIFY(sent.blocks >= 20);
    QTRY_VERIFY(received.blocks >= 20);
}

void TestBurnin::pulledPlugLeavesReceivedPaneEmpty()
{
    QVERIFY(setBenchCable(QStringLiteral("com1"), QStringLiteral("unplug")));
    BlockCounter sent(tx);
    // A block already on its way when the plug came out may still arrive on the next tick.
    QTRY_VERIFY(sent.blocks >= 2);
    rx->clear();
    QSignalSpy rxChanges(rx, &QTextEdit::textChanged);
    QVERIFY(rxChanges.isValid());
    const int sentBefore = sent.blocks;
    // Each tick now waits out the 100 ms read time-out; ten more blocks sent, none received.
    QTRY_VERIFY_WITH_TIMEOUT(sent.blocks >= sentBefore + 10, 10000);
    QCOMPARE(rxChanges.count(), 0);
    QCOMPARE(rx->toPlainText(), QString());
}

void TestBurnin::plugBackShowsDataWithoutRestart()
{
    QVERIFY(rx->toPlainText().isEmpty());
    QVERIFY(setBenchCable(QStringLiteral("com1"), QStringLiteral("loop")));
    QTRY_VERIFY_WITH_TIMEOUT(rx->toPlainText().contains(fullRun()), 10000);
    QVERIFY2(isContiguousRun(rx->toPlainText()), qPrintable(rx->toPlainText()));
}

QTEST_MAIN(TestBurnin)
#include "tst_burnin.moc"
