// The unit's record of hardware effects that happen outside the service calls themselves
// (the window server's pointer, cursor and rotation). Silent on a real board.
#pragma once

#include <QString>

void recordHardwareEvent(const QString &line);
