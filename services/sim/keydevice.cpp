#include "services/keydevice.h"

#include "simstate.h"

#include <cerrno>

#include <sys/stat.h>

// The virtual unit's key device is a pipe fed by sim/key-feeder; the kernel's grab does not
// apply to it. The state file key-grab says whether another reader holds the key: "busy"
// refuses the grab as the kernel would, "free" (or no file) grants it.
bool grabKeyDevice(int fd)
{
    struct stat info;
    if (fd < 0 || ::fstat(fd, &info) != 0) {
        errno = EBADF;
        return false;
    }
    const QString holder = SimState::readText(QStringLiteral("key-grab"));
    if (holder == QLatin1String("busy")) {
        SimState::logEvent(QStringLiteral("key-grab busy"));
        errno = EBUSY;
        return false;
    }
    if (!holder.isNull() && holder != QLatin1String("free"))
        SimState::warn(QStringLiteral("key-grab"),
            QStringLiteral("%1 is neither \"free\" nor \"busy\", granting the grab")
                .arg(SimState::quoted(holder)));
    SimState::logEvent(QStringLiteral("key-grab ok"));
    return true;
}
