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
    return int(SimState::readNumberInRange(
        QStringLiteral("brightness"), 0, 20, 20, QStringLiteral("is outside 0..20")));
}

void KLcd::setLcdBrightness(int level, bool flag)
{
    SimState::logEvent(QStringLiteral("brightness %1 %2").arg(level).arg(flag ? 1 : 0));
    SimState::writeText(QStringLiteral("brightness"), QString::number(std::clamp(level, 0, 20)));
}
