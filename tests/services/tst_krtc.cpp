// The simulated real-time clock: a write is logged field by field as passed, the clock then
// runs on from the value set, and a missing or bad rtc file falls back to the host clock.
#include "services/krtc.h"

#include "tests/support/testsupport.h"

#include <QtTest>

#include <cstring>
#include <ctime>

using TestSupport::complaint;

namespace {

struct tm makeTm(int year, int mon, int mday, int hour, int min, int sec, int wday, int yday)
{
    struct tm t;
    std::memset(&t, 0, sizeof t);
    t.tm_year = year - 1900;
    t.tm_mon = mon - 1;
    t.tm_mday = mday;
    t.tm_hour = hour;
    t.tm_min = min;
    t.tm_sec = sec;
    t.tm_wday = wday;
    t.tm_yday = yday;
    return t;
}

// Seconds since 1970 UTC through Qt's 64-bit calendar, not timegm(): time_t has 32 bits on
// the unit (armhf), and the clock goes past 2038.
qint64 secondsOf(const struct tm &t)
{
    const QDate date = QDate(1900 + t.tm_year, 1, 1).addMonths(t.tm_mon).addDays(t.tm_mday - 1);
    return QDateTime(date, QTime(0, 0), Qt::UTC).toSecsSinceEpoch() + qint64(t.tm_hour) * 3600
        + qint64(t.tm_min) * 60 + t.tm_sec;
}

// True when SECONDS is the host's clock read between BEFORE and AFTER (std::time()). The C
// library's time() reads the kernel's coarse clock, a few milliseconds behind the precise one
// the simulator reads, so at the turn of a second the two may differ by one.
bool hostClockBetween(qint64 seconds, qint64 before, qint64 after)
{
    return seconds >= before - 1 && seconds <= after + 1;
}

bool sameFields(const struct tm &a, const struct tm &b)
{
    return a.tm_sec == b.tm_sec && a.tm_min == b.tm_min && a.tm_hour == b.tm_hour
        && a.tm_mday == b.tm_mday && a.tm_mon == b.tm_mon && a.tm_year == b.tm_year
        && a.tm_wday == b.tm_wday && a.tm_yday == b.tm_yday;
}

} // namespace

Q_DECLARE_METATYPE(struct tm)

class tst_KRtc : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void setLogsEveryField_data();
    void setLogsEveryField();
    void setLeavesRecordAlone();
    void getReturnsWhatWasSet_data();
    void getReturnsWhatWasSet();
    void getLogsNothing();
    void clockRunsOn();
    void missingFileGivesHostClock();
    void badFile_data();
    void badFile();

private:
    TestSupport::StateDir state;
};

void tst_KRtc::initTestCase()
{
    QVERIFY2(state.setUp(), "BENCHTEST_SIM_DIR must name an existing directory");
}

void tst_KRtc::init()
{
    state.next();
}

void tst_KRtc::setLogsEveryField_data()
{
    QTest::addColumn<struct tm>("time");
    QTest::addColumn<QString>("line");
    QTest::newRow("2024-10-08 07:06:05")
        << makeTm(2024, 10, 8, 7, 6, 5, 2, 281) << "rtc-set 5 6 7 8 9 124 2 281";
    QTest::newRow("2000-01-01 00:00:00")
        << makeTm(2000, 1, 1, 0, 0, 0, 6, 0) << "rtc-set 0 0 0 1 0 100 6 0";
    QTest::newRow("2099-12-31 23:59:59")
        << makeTm(2099, 12, 31, 23, 59, 59, 4, 364) << "rtc-set 59 59 23 31 11 199 4 364";
    // The screen changes only date and time and leaves weekday and day of year as read.
    QTest::newRow("stale weekday")
        << makeTm(2030, 2, 28, 12, 0, 0, 0, 0) << "rtc-set 0 0 12 28 1 130 0 0";
}

void tst_KRtc::setLogsEveryField()
{
    QFETCH(struct tm, time);
    QFETCH(QString, line);
    KRtc::setRtc(&time);
    QCOMPARE(state.events(), QStringList { line });
}

void tst_KRtc::setLeavesRecordAlone()
{
    struct tm time = makeTm(2030, 2, 31, 25, 61, 70, 9, 400);
    const struct tm before = time;
    KRtc::setRtc(&time);
    QVERIFY(sameFields(time, before));
    QCOMPARE(state.events(), QStringList { "rtc-set 70 61 25 31 1 130 9 400" });
}

void tst_KRtc::getReturnsWhatWasSet_data()
{
    QTest::addColumn<struct tm>("time");
    QTest::newRow("2024-10-08 07:06:05") << makeTm(2024, 10, 8, 7, 6, 5, 2, 281);
    QTest::newRow("leap day") << makeTm(2028, 2, 29, 23, 59, 30, 2, 59);
    QTest::newRow("1999") << makeTm(1999, 12, 31, 23, 59, 58, 5, 364);
    QTest::newRow("2040") << makeTm(2040, 6, 15, 8, 30, 0, 5, 166);
    // One second past the last of a 32-bit time_t, the unit's.
    QTest::newRow("2038 past 32-bit time_t") << makeTm(2038, 1, 19, 3, 14, 8, 2, 18);
    QTest::newRow("2099-12-31 23:59:59") << makeTm(2099, 12, 31, 23, 59, 59, 4, 364);
    QTest::newRow("2100, no leap day") << makeTm(2100, 3, 1, 0, 0, 0, 1, 59);
    QTest::newRow("1969") << makeTm(1969, 12, 31, 12, 0, 0, 3, 364);
}

void tst_KRtc::getReturnsWhatWasSet()
{
    QFETCH(struct tm, time);
    const qint64 start = std::time(nullptr);
    KRtc::setRtc(&time);
    struct tm back;
    std::memset(&back, 0x55, sizeof back);
    KRtc::getRtc(&back);
    const qint64 passed = qint64(std::time(nullptr)) - start;

    const qint64 drift = secondsOf(back) - secondsOf(time);
    QVERIFY2(drift >= 0 && drift <= passed + 1, qPrintable(QString::number(drift)));
    if (drift == 0) {
        QCOMPARE(back.tm_year, time.tm_year);
        QCOMPARE(back.tm_mon, time.tm_mon);
        QCOMPARE(back.tm_mday, time.tm_mday);
        QCOMPARE(back.tm_hour, time.tm_hour);
        QCOMPARE(back.tm_min, time.tm_min);
        QCOMPARE(back.tm_sec, time.tm_sec);
        QCOMPARE(back.tm_wday, time.tm_wday);
        QCOMPARE(back.tm_yday, time.tm_yday);
    }
}

void tst_KRtc::getLogsNothing()
{
    struct tm time = makeTm(2024, 1, 1, 0, 0, 0, 1, 0);
    KRtc::setRtc(&time);
    state.clearEvents();
    KRtc::getRtc(&time);
    QCOMPARE(state.events(), QStringList());
}

// The file holds the value set and the host time of that moment; a clock set 100 host seconds
// ago reads 100 seconds later than it was set.
void tst_KRtc::clockRunsOn()
{
    struct tm set = makeTm(2024, 10, 8, 7, 6, 5, 2, 281);
    const qint64 host = std::time(nullptr);
    state.write(
        "rtc", QByteArray::number(secondsOf(set)) + ' ' + QByteArray::number(host - 100) + '\n');
    struct tm back;
    KRtc::getRtc(&back);
    const qint64 drift = secondsOf(back) - secondsOf(set);
    QVERIFY2(drift >= 100 && drift <= 100 + (qint64(std::time(nullptr)) - host) + 1,
        qPrintable(QString::number(drift)));
}

void tst_KRtc::missingFileGivesHostClock()
{
    TestSupport::StderrCapture err;
    const qint64 before = std::time(nullptr);
    struct tm back;
    KRtc::getRtc(&back);
    const qint64 after = std::time(nullptr);
    QVERIFY(hostClockBetween(secondsOf(back), before, after));
    QCOMPARE(err.text(), complaint(state.path("rtc"), "missing, using the host clock"));
}

void tst_KRtc::badFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("problem");
    const QString notSetHost = QStringLiteral(R"("%1" is not "SET HOST", using the host clock)");
    const QString outOfRange = QStringLiteral(R"("%1" is out of range, using the host clock)");
    QTest::newRow("word") << QByteArray("noon\n") << notSetHost.arg("noon");
    QTest::newRow("empty") << QByteArray() << notSetHost.arg("");
    QTest::newRow("one number") << QByteArray("1700000000\n") << notSetHost.arg("1700000000");
    QTest::newRow("three numbers") << QByteArray("1 2 3\n") << notSetHost.arg("1 2 3");
    QTest::newRow("date text") << QByteArray("2024-10-08 07:06:05\n")
                               << notSetHost.arg("2024-10-08 07:06:05");
    QTest::newRow("two lines") << QByteArray("1\n2\n") << notSetHost.arg(R"(1\n2)");
    QTest::newRow("past year 9999") << QByteArray("99999999999999999 1700000000\n")
                                    << outOfRange.arg("99999999999999999 1700000000");
    QTest::newRow("largest numbers") << QByteArray("9223372036854775807 -9223372036854775808\n")
                                     << outOfRange.arg("9223372036854775807 -9223372036854775808");
    QTest::newRow("host far back")
        << QByteArray("253402300000 -62135596800\n") << outOfRange.arg("253402300000 -62135596800");
}

void tst_KRtc::badFile()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, problem);
    state.write("rtc", content);
    TestSupport::StderrCapture err;
    const qint64 before = std::time(nullptr);
    struct tm back;
    std::memset(&back, 0x55, sizeof back);
    KRtc::getRtc(&back);
    const qint64 after = std::time(nullptr);
    QVERIFY(hostClockBetween(secondsOf(back), before, after));
    QCOMPARE(err.text(), complaint(state.path("rtc"), problem));
}

QTEST_GUILESS_MAIN(tst_KRtc)
#include "tst_krtc.moc"
