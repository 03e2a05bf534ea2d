#include "services/krtc.h"

#include "simstate.h"

#include <QDateTime>
#include <QStringList>

#include <ctime>

namespace {
// Years 1 to 9999: any clock value a person could mean, and far from overflowing the sums
// below or gmtime_r().
constexpr qint64 EarliestSecond = -62135596800LL;
constexpr qint64 LatestSecond = 253402300799LL;

bool inRange(qint64 seconds)
{
    return seconds >= EarliestSecond && seconds <= LatestSecond;
}

// The calendar is done in 64-bit whole numbers rather than through time_t, which has 32 bits
// on the unit (armhf) and ends in 2038; the clock's own range goes to 2099 and beyond.
qint64 floorDiv(qint64 a, qint64 b)
{
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

// Days from 1970-01-01 to the first of month (1..12) of year, proleptic Gregorian.
qint64 daysFromCivil(qint64 year, int month)
{
    year -= month <= 2;
    const qint64 era = floorDiv(year, 400);
    const qint64 yearOfEra = year - era * 400;
    const qint64 dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5;
    const qint64 dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

// Seconds since 1970 UTC of the record's date and time; fields out of their range carry over,
// as with timegm().
qint64 secondsFromTm(const struct tm &time)
{
    const qint64 months = qint64(time.tm_year) * 12 + time.tm_mon;
    const qint64 year = 1900 + floorDiv(months, 12);
    const int month = int(months - floorDiv(months, 12) * 12) + 1;
    const qint64 days = daysFromCivil(year, month) + time.tm_mday - 1;
    return days * 86400 + qint64(time.tm_hour) * 3600 + qint64(time.tm_min) * 60 + time.tm_sec;
}

// The record of a moment, as gmtime_r() fills it.
void tmFromSeconds(qint64 seconds, struct tm *time)
{
    const qint64 days = floorDiv(seconds, 86400);
    const qint64 rest = seconds - days * 86400;
    // Year and month of the day: from a first guess by average year length, corrected.
    qint64 year = 1970 + floorDiv(days * 400, 146097);
    while (daysFromCivil(year, 1) > days)
        --year;
    while (daysFromCivil(year + 1, 1) <= days)
        ++year;
    int month = 12;
    while (daysFromCivil(year, month) > days)
        --month;
    *time = tm();
    time->tm_sec = int(rest % 60);
    time->tm_min = int(rest / 60 % 60);
    time->tm_hour = int(rest / 3600);
    time->tm_mday = int(days - daysFromCivil(year, month)) + 1;
    time->tm_mon = month - 1;
    time->tm_year = int(year - 1900);
    time->tm_wday = int(days + 4 - floorDiv(days + 4, 7) * 7); // 1970-01-01 was a Thursday
    time->tm_yday = int(days - daysFromCivil(year, 1));
    time->tm_isdst = 0;
    time->tm_gmtoff = 0;
    time->tm_zone = "GMT";
}
} // namespace

// The rtc file holds the clock as it was set and the host time of that moment, both as
// seconds since 1970 UTC ("SET HOST"); the clock runs on from there with the host clock.
void KRtc::getRtc(struct tm *time)
{
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    qint64 value = now;
    const QString text = SimState::readText(QStringLiteral("rtc"));
    if (text.isNull()) {
        SimState::warn(QStringLiteral("rtc"), QStringLiteral("missing, using the host clock"));
    } else {
        const QStringList parts = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        bool okSet = false, okHost = false;
        const qint64 set = parts.value(0).toLongLong(&okSet);
        const qint64 host = parts.value(1).toLongLong(&okHost);
        if (parts.size() != 2 || !okSet || !okHost) {
            SimState::warn(QStringLiteral("rtc"),
                QStringLiteral("%1 is not \"SET HOST\", using the host clock")
                    .arg(SimState::quoted(text)));
        } else if (!inRange(set) || !inRange(host) || !inRange(set + (qint64(now) - host))) {
            SimState::warn(QStringLiteral("rtc"),
                QStringLiteral("%1 is out of range, using the host clock")
                    .arg(SimState::quoted(text)));
        } else {
            value = set + (now - host);
        }
    }
    tmFromSeconds(value, time);
}

void KRtc::setRtc(struct tm *time)
{
    SimState::logEvent(QStringLiteral("rtc-set %1 %2 %3 %4 %5 %6 %7 %8")
                           .arg(time->tm_sec)
                           .arg(time->tm_min)
                           .arg(time->tm_hour)
                           .arg(time->tm_mday)
                           .arg(time->tm_mon)
                           .arg(time->tm_year)
                           .arg(time->tm_wday)
                           .arg(time->tm_yday));
    SimState::writeText(QStringLiteral("rtc"),
        QStringLiteral("%1 %2").arg(secondsFromTm(*time)).arg(QDateTime::currentSecsSinceEpoch()));
}
