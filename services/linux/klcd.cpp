#include "services/klcd.h"

#include "boardconfig.h"
#include "devicewarning.h"
#include "sysfsbacklight.h"

namespace {
const SysfsBacklight &backlight()
{
    static const SysfsBacklight device(
        BoardConfig::current().sysfsRoot, BoardConfig::current().backlight);
    return device;
}
} // namespace

KLcd *KLcd::getInstance()
{
    static KLcd instance;
    return &instance;
}

int KLcd::getLcdBrightness()
{
    int level = SysfsBacklight::MaxLevel;
    if (!backlight().level(&level)) {
        warnDevice(QStringLiteral("backlight"),
            QStringLiteral("%1; taking level %2").arg(backlight().problem()).arg(level));
        return SysfsBacklight::MaxLevel;
    }
    return level;
}

// The flag asks the closed library to keep the level; the kernel keeps it until power-off
// anyway, so it changes nothing here.
void KLcd::setLcdBrightness(int level, bool)
{
    if (!backlight().setLevel(level))
        warnDevice(QStringLiteral("backlight"),
            QStringLiteral("%1; the level is not changed").arg(backlight().problem()));
}
