#include "services/fm25v02.h"

#include "framimage.h"
#include "simstate.h"

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
    const QByteArray bytes = FramImage::read(address, length);
    memcpy(data, bytes.constData(), length);
}

void FM25V02_WRITE(unsigned int address, char *data, unsigned int length)
{
    SimState::logEvent(QStringLiteral("fram-write %1 %2").arg(address).arg(length));
    FramImage::write(address, QByteArray(data, int(length)));
}
