#include "services/eventlog.h"

#include "simstate.h"

void recordHardwareEvent(const QString &line)
{
    SimState::logEvent(line);
}
