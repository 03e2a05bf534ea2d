#include "framimage.h"

#include "services/fm25v02.h"
#include "simstate.h"

#include <QFile>

namespace FramImage {

namespace {
const QString FileName = QStringLiteral("fram.bin");

QByteArray freshImage()
{
    QByteArray image(int(FM25V02_SIZE), '\0');
    // Length word 200 (little-endian); with all 100 checksummed words 0 the checksum is 0.
    image[0] = char(200);
    image[1] = 0;
    return image;
}
} // namespace

void ensure()
{
    QFile file(SimState::path(FileName));
    if (file.exists()) {
        if (file.size() != qint64(FM25V02_SIZE))
            SimState::warn(FileName,
                           QStringLiteral("is %1 bytes, expected %2; reading past its end gives 0")
                                   .arg(file.size())
                                   .arg(FM25V02_SIZE));
        return;
    }
    SimState::warn(FileName, QStringLiteral("missing, creating a fresh FRAM image"));
    if (!file.open(QIODevice::WriteOnly)) {
        SimState::warn(FileName, QStringLiteral("cannot be created (%1)").arg(file.errorString()));
        return;
    }
    file.write(freshImage());
}

QByteArray read(unsigned int address, unsigned int length)
{
    ensure();
    QByteArray data(int(length), '\0');
    if (address >= FM25V02_SIZE)
        return data;
    QFile file(SimState::path(FileName));
    if (!file.open(QIODevice::ReadOnly) || !file.seek(address))
        return data;
    const QByteArray got = file.read(length);
    data.replace(0, got.size(), got);
    return data;
}

void write(unsigned int address, const QByteArray &data)
{
    ensure();
    if (address >= FM25V02_SIZE)
        return;
    // The chip ends at 32 KiB; bytes past it are dropped as the chip would.
    const QByteArray bytes = data.left(int(FM25V02_SIZE - address));
    QFile file(SimState::path(FileName));
    if (!file.open(QIODevice::ReadWrite) || !file.seek(address)) {
        SimState::warn(FileName, QStringLiteral("cannot be written (%1)").arg(file.errorString()));
        return;
    }
    file.write(bytes);
}

} // namespace FramImage
