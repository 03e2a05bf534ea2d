// The unit's battery-backed real-time clock.
#pragma once

#include <ctime>

class KRtc
{
public:
    static void getRtc(struct tm *time);
    static void setRtc(struct tm *time);
};
