// The battery-backed clock through the kernel's RTC ioctls, and the conversion between the
// C library's struct tm and the kernel's struct rtc_time.
#pragma once

#include <QString>

#include <ctime>

struct rtc_time;

class RtcDevice {
public:
    virtual ~RtcDevice() = default;
    virtual bool readTime(struct rtc_time *time) = 0;
    virtual bool setTime(const struct rtc_time &time) = 0;
    // Why the last call failed.
    virtual QString problem() const = 0;
};

// RTC_RD_TIME / RTC_SET_TIME on the device, opened for each call (the clock is read rarely
// and another program may want it in between).
class KernelRtc : public RtcDevice {
public:
    explicit KernelRtc(const QString &path);

    bool readTime(struct rtc_time *time) override;
    bool setTime(const struct rtc_time &time) override;
    QString problem() const override { return m_problem; }

private:
    QString m_path;
    QString m_problem;
};

namespace RtcRecord {
// The kernel's record of a broken-down time. Day of week and day of year are worked out from
// the date rather than taken from the record: callers fill them in their own numbering (1 =
// Monday .. 7 = Sunday, day of year from 1), and the clock must get the C library's (0 =
// Sunday, from 0). Out-of-range fields are normalised the way timegm() does.
struct rtc_time toKernel(const struct tm &time);
// The C library's record of the clock's value, day of week and day of year worked out.
struct tm fromKernel(const struct rtc_time &time);
} // namespace RtcRecord
