// The simulated unit's state: plain files in one directory that a person or a test can read
// and change while the program runs, plus the log of every hardware effect.
#pragma once

#include <QByteArray>
#include <QString>

namespace SimState {

// $BENCHTEST_SIM_DIR, or /sim (where the virtual unit mounts it).
QString directory();
QString path(const QString &name);

// Longest state file that is read; a longer one is an error.
constexpr int MaxTextSize = 4096;

// Whole number from a one-line file, decimal or 0x-hexadecimal. A missing or malformed file
// gives one line on standard error naming it (once per content seen) and the default. A file
// that cannot be read (not a regular file, too long, a read error) or is empty (caught between
// a truncate and a write) is tried again for a moment, then gives the last good value read
// from it in this run, or the default if there was none; never a silent 0.
long long readNumber(const QString &name, long long defaultValue);
// readNumber() checked against min..max; a value outside gives "<value> <outside>, using
// <default>" once and the default.
long long readNumberInRange(const QString &name, long long min, long long max,
    long long defaultValue, const QString &outside);
// Two whole numbers separated by blanks or tabs ("800 480"). The pair passed in is the
// default: it is left alone, with one complaint, when the file is missing or malformed.
bool readPair(const QString &name, int *first, int *second);
// The file's text with surrounding white space removed, or a null string if it is missing
// or cannot be read (then *problem, if given, says why; empty for a missing file). Only
// regular files of at most MaxTextSize bytes are read: a FIFO or a device there never blocks
// or floods the program.
QString readText(const QString &name, QString *problem = nullptr);
// Writes by temporary file and rename, so that a reader sees the old text or the new one.
bool writeText(const QString &name, const QString &text);
// Opens a state file only if it is a regular file (never blocking on a FIFO); -1 otherwise,
// with *problem saying why. flags are open(2) flags.
int openRegular(const QString &name, int flags, QString *problem);

// Appends one line to events.log.
void logEvent(const QString &line);

// Text of a state file for a complaint: in double quotes, control characters escaped, cut
// after 40 characters.
QString quoted(const QString &text);

// Complains on standard error, once for each distinct (file, problem) pair.
void warn(const QString &name, const QString &problem);

} // namespace SimState
