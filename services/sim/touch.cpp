#include "services/touch.h"

#include "simstate.h"

// The simulated frame buffer is the event log: calibration tests read the crosses from it.
void put_cross(int x, int y, unsigned int colour)
{
    SimState::logEvent(QStringLiteral("cross %1 %2 0x%3").arg(x).arg(y).arg(colour, 8, 16, QLatin1Char('0')));
}
