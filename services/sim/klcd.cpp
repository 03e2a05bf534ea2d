#include "services/klcd.h"

#include "simstate.h"

#include <algorithm>

KLcd *KLcd::getInstance()
{
    static KLcd instance;
    return &instance;
}

int KLcd::getLcdBrightness()
{
    const long long level = SimState::readNumber(QStringLiteral("brightness"), 20);
    if (level < 0 || level > 20) {
        SimState::warn(QStringLiteral("brightness"), QStringLiteral("%1 is outside 0..20, using 20").arg(level));
        return 20;
    }
    return int(level);
}

void KLcd::setLcdBrightness(int level, bool flag)
{
    SimState::logEvent(QStringLiteral("brightness %1 %2").arg(level).arg(flag ? 1 : 0));
    SimState::writeText(QStringLiteral("brightness"), QString::number(std::clamp(level, 0, 20)));
}
