// put_cross on the simulated unit: the frame buffer is the event log, one line per cross.
#include "services/touch.h"

#include "tests/support/testsupport.h"

#include <QtTest>

class tst_Touch : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void crossColour();
    void putCross_data();
    void putCross();
    void drawAndErase();

private:
    TestSupport::StateDir state;
};

void tst_Touch::initTestCase()
{
    QVERIFY2(state.setUp(), "BENCHTEST_SIM_DIR must name an existing directory");
}

void tst_Touch::init()
{
    state.next();
}

void tst_Touch::crossColour()
{
    QCOMPARE(CrossColour, 0x80000002u);
}

void tst_Touch::putCross_data()
{
    QTest::addColumn<int>("x");
    QTest::addColumn<int>("y");
    QTest::addColumn<uint>("colour");
    QTest::addColumn<QString>("line");
    QTest::newRow("top left target") << 50 << 50 << 0x80000002u << "cross 50 50 0x80000002";
    QTest::newRow("centre 800x480") << 400 << 240 << 0x80000002u << "cross 400 240 0x80000002";
    QTest::newRow("corner 480x272") << 430 << 222 << 0x80000002u << "cross 430 222 0x80000002";
    QTest::newRow("origin") << 0 << 0 << 0x80000002u << "cross 0 0 0x80000002";
    QTest::newRow("plain colour") << 1 << 2 << 2u << "cross 1 2 0x00000002";
    QTest::newRow("off screen") << -5 << 9999 << 0x80000002u << "cross -5 9999 0x80000002";
}

void tst_Touch::putCross()
{
    QFETCH(int, x);
    QFETCH(int, y);
    QFETCH(uint, colour);
    QFETCH(QString, line);
    put_cross(x, y, colour);
    QCOMPARE(state.events(), QStringList { line });
}

void tst_Touch::drawAndErase()
{
    put_cross(50, 50, CrossColour);
    put_cross(50, 50, CrossColour);
    put_cross(750, 50, CrossColour);
    QCOMPARE(state.events(),
        (QStringList {
            "cross 50 50 0x80000002", "cross 50 50 0x80000002", "cross 750 50 0x80000002" }));
}

QTEST_GUILESS_MAIN(tst_Touch)
#include "tst_touch.moc"
