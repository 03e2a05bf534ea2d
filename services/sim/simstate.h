// The simulated unit's state: plain files in one directory that a person or a test can read
// and change while the program runs, plus the log of every hardware effect.
#pragma once

#include <QByteArray>
#include <QString>

namespace SimState {

// $BENCHTEST_SIM_DIR, or /sim (where the virtual unit mounts it).
QString directory();
QString path(const QString &name);

// Whole number from a one-line file, decimal or 0x-hexadecimal. A missing or malformed file
// gives one line on standard error naming it (once per content seen) and the default.
long long readNumber(const QString &name, long long defaultValue);
// Two whole numbers separated by blanks or tabs ("800 480"). The pair passed in is the
// default: it is left alone, with one complaint, when the file is missing or malformed.
bool readPair(const QString &name, int *first, int *second);
// The file's text with surrounding white space removed, or a null string if it is missing.
QString readText(const QString &name);
bool writeText(const QString &name, const QString &text);

// Appends one line to events.log.
void logEvent(const QString &line);

// Text of a state file for a complaint: in double quotes, control characters escaped, cut
// after 40 characters.
QString quoted(const QString &text);

// Complains on standard error, once for each distinct (file, problem) pair.
void warn(const QString &name, const QString &problem);

} // namespace SimState
