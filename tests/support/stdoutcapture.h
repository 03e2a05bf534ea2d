// Catches what a test's code writes to standard output, for the test to compare.
#pragma once

#include <QByteArray>
#include <QStringList>

#include <cstdio>

namespace TestSupport {

// Everything written to standard output (fd 1) while it lives goes to a file of its own.
// QtTest prints its own FAIL lines to standard output too: whatever was written after the
// test last read the catch goes back out when the catch ends, so a failed check inside a
// capture still says why.
class StdoutCapture {
public:
    StdoutCapture();
    ~StdoutCapture();
    StdoutCapture(const StdoutCapture &) = delete;
    StdoutCapture &operator=(const StdoutCapture &) = delete;

    // Everything caught so far; the catch goes on.
    QByteArray text();
    // Ends the catch and returns everything it caught.
    QByteArray take();
    // take(), as Latin-1 lines without empty ones.
    QStringList lines();

private:
    QByteArray readAll();
    void restore();

    std::FILE *file = nullptr;
    int saved = -1;
    long seen = 0;
};

} // namespace TestSupport
