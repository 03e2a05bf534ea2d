#include "rtcdevice.h"

#include "devicewarning.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <linux/rtc.h>
#include <sys/ioctl.h>
#include <unistd.h>

KernelRtc::KernelRtc(const QString &path) : m_path(path) { }

bool KernelRtc::readTime(struct rtc_time *time)
{
    const QByteArray path = m_path.toLocal8Bit();
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        m_problem = QStringLiteral("cannot be opened (%1)").arg(errnoText(errno));
        return false;
    }
    memset(time, 0, sizeof *time);
    const bool ok = ioctl(fd, RTC_RD_TIME, time) == 0;
    if (!ok)
        m_problem = QStringLiteral("cannot be read (%1)").arg(errnoText(errno));
    ::close(fd);
    return ok;
}

bool KernelRtc::setTime(const struct rtc_time &time)
{
    const QByteArray path = m_path.toLocal8Bit();
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        m_problem = QStringLiteral("cannot be opened (%1)").arg(errnoText(errno));
        return false;
    }
    struct rtc_time copy = time;
    const bool ok = ioctl(fd, RTC_SET_TIME, &copy) == 0;
    if (!ok)
        m_problem = QStringLiteral("cannot be set (%1)").arg(errnoText(errno));
    ::close(fd);
    return ok;
}

namespace {
// The date's own day of week and day of year, with the fields normalised as timegm() does.
struct tm normalised(struct tm time)
{
    time.tm_isdst = 0;
    const std::time_t seconds = timegm(&time);
    struct tm out;
    if (seconds == std::time_t(-1) || !gmtime_r(&seconds, &out))
        return time;
    return out;
}
} // namespace

struct rtc_time RtcRecord::toKernel(const struct tm &time)
{
    const struct tm t = normalised(time);
    struct rtc_time out;
    memset(&out, 0, sizeof out);
    out.tm_sec = t.tm_sec;
    out.tm_min = t.tm_min;
    out.tm_hour = t.tm_hour;
    out.tm_mday = t.tm_mday;
    out.tm_mon = t.tm_mon;
    out.tm_year = t.tm_year;
    out.tm_wday = t.tm_wday;
    out.tm_yday = t.tm_yday;
    out.tm_isdst = 0;
    return out;
}

struct tm RtcRecord::fromKernel(const struct rtc_time &time)
{
    struct tm t;
    memset(&t, 0, sizeof t);
    t.tm_sec = time.tm_sec;
    t.tm_min = time.tm_min;
    t.tm_hour = time.tm_hour;
    t.tm_mday = time.tm_mday;
    t.tm_mon = time.tm_mon;
    t.tm_year = time.tm_year;
    return normalised(t);
}
