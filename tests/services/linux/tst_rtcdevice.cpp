// The clock's record between the C library and the kernel, and the kernel calls on something
// that is not a clock.
#include "fakes.h"

#include <QtTest>

class tst_RtcDevice : public QObject {
    Q_OBJECT
private slots:
    void theScreensWeekdayAndYeardayAreWorkedOut_data();
    void theScreensWeekdayAndYeardayAreWorkedOut();
    void fromKernelFillsWeekdayAndYearday();
    void aRoundTripThroughAFakeClock();
    void aMissingClockFails();
    void aFileThatIsNoClockFails();
};

namespace {
struct tm screenRecord(int year, int month, int day, int weekday, int yearday, int h, int m, int s)
{
    struct tm t;
    memset(&t, 0, sizeof t);
    t.tm_year = year - 1900;
    t.tm_mon = month - 1;
    t.tm_mday = day;
    t.tm_wday = weekday; // the toolkit's numbering, 1 = Monday .. 7 = Sunday
    t.tm_yday = yearday; // from 1
    t.tm_hour = h;
    t.tm_min = m;
    t.tm_sec = s;
    return t;
}
} // namespace

void tst_RtcDevice::theScreensWeekdayAndYeardayAreWorkedOut_data()
{
    QTest::addColumn<int>("year");
    QTest::addColumn<int>("month");
    QTest::addColumn<int>("day");
    QTest::addColumn<int>("screenWeekday");
    QTest::addColumn<int>("screenYearday");
    QTest::addColumn<int>("wday");
    QTest::addColumn<int>("yday");
    QTest::newRow("leap day, a Thursday") << 2024 << 2 << 29 << 4 << 60 << 4 << 59;
    QTest::newRow("a Sunday") << 2024 << 3 << 3 << 7 << 63 << 0 << 62;
    QTest::newRow("new year 2026, a Thursday") << 2026 << 1 << 1 << 4 << 1 << 4 << 0;
    QTest::newRow("new year's eve 2018, a Monday") << 2018 << 12 << 31 << 1 << 365 << 1 << 364;
}

void tst_RtcDevice::theScreensWeekdayAndYeardayAreWorkedOut()
{
    QFETCH(int, year);
    QFETCH(int, month);
    QFETCH(int, day);
    QFETCH(int, screenWeekday);
    QFETCH(int, screenYearday);
    QFETCH(int, wday);
    QFETCH(int, yday);
    const struct tm record
        = screenRecord(year, month, day, screenWeekday, screenYearday, 23, 59, 58);
    const struct rtc_time kernel = RtcRecord::toKernel(record);
    QCOMPARE(kernel.tm_year, year - 1900);
    QCOMPARE(kernel.tm_mon, month - 1);
    QCOMPARE(kernel.tm_mday, day);
    QCOMPARE(kernel.tm_hour, 23);
    QCOMPARE(kernel.tm_min, 59);
    QCOMPARE(kernel.tm_sec, 58);
    QCOMPARE(kernel.tm_wday, wday);
    QCOMPARE(kernel.tm_yday, yday);
    QCOMPARE(kernel.tm_isdst, 0);
}

void tst_RtcDevice::fromKernelFillsWeekdayAndYearday()
{
    struct rtc_time kernel;
    memset(&kernel, 0, sizeof kernel);
    kernel.tm_year = 124;
    kernel.tm_mon = 2;
    kernel.tm_mday = 3;
    kernel.tm_hour = 7;
    kernel.tm_min = 6;
    kernel.tm_sec = 5;
    kernel.tm_wday = 5; // whatever the driver left there
    const struct tm t = RtcRecord::fromKernel(kernel);
    QCOMPARE(t.tm_year, 124);
    QCOMPARE(t.tm_mon, 2);
    QCOMPARE(t.tm_mday, 3);
    QCOMPARE(t.tm_hour, 7);
    QCOMPARE(t.tm_min, 6);
    QCOMPARE(t.tm_sec, 5);
    QCOMPARE(t.tm_wday, 0);
    QCOMPARE(t.tm_yday, 62);
}

void tst_RtcDevice::aRoundTripThroughAFakeClock()
{
    FakeRtc clock;
    RtcDevice &device = clock;
    QVERIFY(device.setTime(RtcRecord::toKernel(screenRecord(2024, 2, 29, 4, 60, 10, 11, 12))));
    QCOMPARE(clock.sets.size(), 1);
    struct rtc_time back;
    QVERIFY(device.readTime(&back));
    const struct tm t = RtcRecord::fromKernel(back);
    QCOMPARE(t.tm_mday, 29);
    QCOMPARE(t.tm_mon, 1);
    QCOMPARE(t.tm_wday, 4);
    QCOMPARE(t.tm_yday, 59);
    QCOMPARE(t.tm_hour, 10);
}

void tst_RtcDevice::aMissingClockFails()
{
    KernelRtc rtc(QStringLiteral("/nonexistent/rtc0"));
    struct rtc_time time;
    QVERIFY(!rtc.readTime(&time));
    QCOMPARE(rtc.problem(), QStringLiteral("cannot be opened (No such file or directory)"));
    QVERIFY(!rtc.setTime(time));
}

void tst_RtcDevice::aFileThatIsNoClockFails()
{
    QTemporaryDir dir(scratchBase());
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("rtc0"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("not a clock");
    file.close();
    KernelRtc rtc(path);
    struct rtc_time time;
    QVERIFY(!rtc.readTime(&time));
    QCOMPARE(rtc.problem(), QStringLiteral("cannot be read (Inappropriate ioctl for device)"));
    QVERIFY(!rtc.setTime(time));
    QCOMPARE(rtc.problem(), QStringLiteral("cannot be set (Inappropriate ioctl for device)"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("not a clock"));
}

QTEST_GUILESS_MAIN(tst_RtcDevice)
#include "tst_rtcdevice.moc"
