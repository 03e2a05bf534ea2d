// One line on standard error for a device the board backend cannot use, so that a bench with
// a missing or miswired part says what is wrong and goes on with the documented default.
#pragma once

#include <QString>

// Prints "benchtest linux: <what>: <problem>" once per distinct line in this run.
void warnDevice(const QString &what, const QString &problem);
// The C library's text for errno, for such lines.
QString errnoText(int error);
