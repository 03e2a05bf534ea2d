#include "services/fm25v02.h"

#include "framimage.h"
#include "simstate.h"

#include <cstring>

int FM25V02_Init()
{
    FramImage::ensure();
    return 0;
}

int FM25V02_RDID()
{
    return 0;
}

void FM25V02_READ(unsigned int address, char *data, unsigned int length)
{
    bool ok = false;
    const QByteArray bytes = FramImage::read(address, length, &ok);
    if (!ok)
        SimState::warn(QStringLiteral("fram.bin"), QStringLiteral("cannot be read; reading 0"));
    if (!bytes.isEmpty())
        memcpy(data, bytes.constData(), size_t(bytes.size()));
    // Past the end of the chip reads as 0.
    if (length > unsigned(bytes.size()))
        memset(data + bytes.size(), 0, length - unsigned(bytes.size()));
}

void FM25V02_WRITE(unsigned int address, char *data, unsigned int length)
{
    SimState::logEvent(QStringLiteral("fram-write %1 %2").arg(address).arg(length));
    // Only the part inside the chip is converted: a QByteArray size is an int.
    const unsigned int inside = FramImage::insideChip(address, length);
    if (inside > 0 && !FramImage::write(address, QByteArray(data, int(inside))))
        SimState::logEvent(QStringLiteral("fram-write-failed %1 %2").arg(address).arg(length));
}
