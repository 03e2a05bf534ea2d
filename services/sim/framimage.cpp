#include "framimage.h"

#include "services/fm25v02.h"
#include "simstate.h"

#include <QFile>
#include <QFileInfo>

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
        const qint64 size = file.size();
        if (size < qint64(FM25V02_SIZE))
            SimState::warn(FileName,
                           QStringLiteral("is %1 bytes, expected %2; reading past its end gives 0")
                                   .arg(size)
                                   .arg(FM25V02_SIZE));
        else if (size > qint64(FM25V02_SIZE))
            SimState::warn(FileName,
                           QStringLiteral("is %1 bytes, expected %2; bytes past %2 are ignored")
                                   .arg(size)
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

unsigned int insideChip(unsigned int address, unsigned int length)
{
    return address < FM25V02_SIZE ? qMin(length, FM25V02_SIZE - address) : 0;
}

unsigned int storedSize()
{
    ensure();
    return unsigned(qBound<qint64>(0, QFileInfo(SimState::path(FileName)).size(), FM25V02_SIZE));
}

QByteArray read(unsigned int address, unsigned int length)
{
    ensure();
    // The chip ends at 32 KiB even when the file is longer.
    QByteArray data(int(insideChip(address, length)), '\0');
    if (data.isEmpty())
        return data;
    QFile file(SimState::path(FileName));
    if (!file.open(QIODevice::ReadOnly) || !file.seek(address))
        return data;
    const QByteArray got = file.read(data.size());
    data.replace(0, got.size(), got);
    return data;
}

void write(unsigned int address, const QByteArray &data)
{
    ensure();
    // The chip ends at 32 KiB; bytes past it are dropped as the chip would.
    const QByteArray bytes = data.left(int(insideChip(address, unsigned(data.size()))));
    if (bytes.isEmpty())
        return;
    QFile file(SimState::path(FileName));
    if (!file.open(QIODevice::ReadWrite) || !file.seek(address)) {
        SimState::warn(FileName, QStringLiteral("cannot be written (%1)").arg(file.errorString()));
        return;
    }
    file.write(bytes);
}

} // namespace FramImage
