#include "services/eventlog.h"

// A board keeps no record of its hardware effects: the effects themselves are the record.
void recordHardwareEvent(const QString &) { }
