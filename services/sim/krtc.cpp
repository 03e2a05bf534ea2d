#include "services/krtc.h"

#include "simstate.h"

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
} // namespace

// The rtc file holds the clock as it was set and the host time of that moment, both as
// seconds since 1970 UTC ("SET HOST"); the clock runs on from there with the host clock.
void KRtc::getRtc(struct tm *time)
{
    const std::time_t now = std::time(nullptr);
    std::time_t value = now;
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
            value = std::time_t(set + (qint64(now) - host));
        }
    }
    if (!gmtime_r(&value, time))
        gmtime_r(&now, time);
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
    struct tm copy = *time;
    const std::time_t set = timegm(&copy);
    SimState::writeText(QStringLiteral("rtc"),
                        QStringLiteral("%1 %2").arg(qint64(set)).arg(qint64(std::time(nullptr))));
}
