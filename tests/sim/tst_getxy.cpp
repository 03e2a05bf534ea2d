// The calibration's raw touch reading, fed through the virtual unit's touch panel: presses
// written to /sim/touch-feed arrive over tslib's touchkit line and getxy() settles them.
#include "services/touch.h"

#include <QFile>
#include <QTest>
#include <QVector>

#include <tslib.h>

#include <cerrno>
#include <cstdlib>

struct Sample {
    int x;
    int y;
};
Q_DECLARE_METATYPE(QVector<Sample>)

class TestGetXY : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void settledPosition_data();
    void settledPosition();
    void pressesInTurn();

private:
    void feed(const QByteArray &lines);

    tsdev *ts = nullptr;
};

void TestGetXY::initTestCase()
{
    const char *device = std::getenv("TSLIB_TSDEVICE");
    QVERIFY2(device, "TSLIB_TSDEVICE is not set: run in a virtual unit with --touch");
    ts = ts_open(device, 1);
    QVERIFY2(ts, device);
    QCOMPARE(ts_config(ts), 0);
    // The touchkit module sets up and flushes the line on its first read; only what is fed
    // after it is seen.
    ts_sample sample;
    const int r = ts_read_raw(ts, &sample, 1);
    QVERIFY2(r == 0 || (r < 0 && errno == EAGAIN), "the touch line gave data before any press");
}

void TestGetXY::cleanupTestCase()
{
    if (ts)
        ts_close(ts);
}

void TestGetXY::feed(const QByteArray &lines)
{
    QFile pipe(qEnvironmentVariable("BENCHTEST_SIM_DIR", QStringLiteral("/sim"))
        + QStringLiteral("/touch-feed"));
    QVERIFY2(pipe.open(QIODevice::WriteOnly), qPrintable(pipe.errorString()));
    QCOMPARE(pipe.write(lines), qint64(lines.size()));
}

void TestGetXY::settledPosition_data()
{
    QTest::addColumn<QVector<Sample>>("press");
    QTest::addColumn<int>("x");
    QTest::addColumn<int>("y");

    QTest::newRow("jitter") << QVector<Sample> { { 512, 300 }, { 515, 298 }, { 509, 305 },
        { 511, 301 }, { 513, 299 } }
                            << 512 << 300;
    // A finger landing and lifting gives far-off first and last samples; they do not count.
    QTest::newRow("landing and lifting") << QVector<Sample> { { 1900, 40 }, { 1020, 1501 },
        { 1018, 1499 }, { 1021, 1502 }, { 1019, 1500 }, { 1022, 1497 }, { 30, 2000 } }
                                         << 1020 << 1500;
    QTest::newRow("top left corner") << QVector<Sample> { { 1, 0 }, { 0, 2 }, { 0, 1 } } << 0 << 1;
    QTest::newRow("bottom right corner")
        << QVector<Sample> { { 2047, 2046 }, { 2046, 2047 }, { 2047, 2047 } } << 2047 << 2047;
    QTest::newRow("single sample") << QVector<Sample> { { 640, 360 } } << 640 << 360;
}

void TestGetXY::settledPosition()
{
    QFETCH(QVector<Sample>, press);
    QFETCH(int, x);
    QFETCH(int, y);

    QByteArray lines;
    for (const Sample &s : press)
        lines += QByteArray::number(s.x) + ' ' + QByteArray::number(s.y) + " 1\n";
    lines += QByteArray::number(press.last().x) + ' ' + QByteArray::number(press.last().y) + " 0\n";
    feed(lines);

    int gotX = -1, gotY = -1;
    QCOMPARE(getxy(ts, &gotX, &gotY), 0);
    QCOMPARE(gotX, x);
    QCOMPARE(gotY, y);
}

// A stray release before the press is no press; two presses are read one call each.
void TestGetXY::pressesInTurn()
{
    feed("700 700 0\n"
         "100 200 1\n101 201 1\n99 199 1\n99 199 0\n"
         "1500 900 1\n1502 903 1\n1501 902 1\n1501 902 0\n");
    int x = -1, y = -1;
    QCOMPARE(getxy(ts, &x, &y), 0);
    QCOMPARE(x, 100);
    QCOMPARE(y, 200);
    QCOMPARE(getxy(ts, &x, &y), 0);
    QCOMPARE(x, 1501);
    QCOMPARE(y, 902);
}

QTEST_GUILESS_MAIN(TestGetXY)
#include "tst_getxy.moc"
