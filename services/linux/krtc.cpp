#include "services/krtc.h"

#include "boardconfig.h"
#include "devicewarning.h"
#include "rtcdevice.h"

#include <linux/rtc.h>

namespace {
KernelRtc &rtc()
{
    static KernelRtc device(BoardConfig::current().rtc);
    return device;
}
} // namespace

void KRtc::getRtc(struct tm *time)
{
    struct rtc_time value;
    if (rtc().readTime(&value)) {
        *time = RtcRecord::fromKernel(value);
        return;
    }
    warnDevice(BoardConfig::current().rtc,
        QStringLiteral("%1; using the system clock").arg(rtc().problem()));
    const std::time_t now = std::time(nullptr);
    gmtime_r(&now, time);
}

// The RTC screen hands over its own day of week and day of year (1 = Monday .. 7 = Sunday,
// days from 1); the clock gets the ones its date has instead.
void KRtc::setRtc(struct tm *time)
{
    if (!rtc().setTime(RtcRecord::toKernel(*time)))
        warnDevice(BoardConfig::current().rtc,
            QStringLiteral("%1; the clock is left as it is").arg(rtc().problem()));
}
