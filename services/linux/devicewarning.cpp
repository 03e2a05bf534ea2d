#include "devicewarning.h"

#include <QMutex>
#include <QSet>

#include <cstdio>
#include <cstring>

namespace {
QMutex warnMutex;
QSet<QString> warned;
} // namespace

void warnDevice(const QString &what, const QString &problem)
{
    // Devices are polled (the DIP switches every 100 ms): one line each, not one per poll.
    const QString line = QStringLiteral("benchtest linux: %1: %2\n").arg(what, problem);
    QMutexLocker lock(&warnMutex);
    if (warned.contains(line))
        return;
    warned.insert(line);
    std::fputs(line.toLocal8Bit().constData(), stderr);
    std::fflush(stderr);
}

QString errnoText(int error)
{
    return QString::fromLocal8Bit(strerror(error));
}
