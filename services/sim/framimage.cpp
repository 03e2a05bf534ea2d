#include "framimage.h"

#include "services/fm25v02.h"
#include "simstate.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <unistd.h>

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
// fram-fault names the chip operations that fail: "read", "write" or both.
bool faulty(const QString &operation)
{
    return SimState::readText(QStringLiteral("fram-fault"))
        .split(QLatin1Char(' '), Qt::SkipEmptyParts)
        .contains(operation);
}
} // namespace

void ensure()
{
    QFile file(SimState::path(FileName));
    const QFileInfo info(file.fileName());
    if (info.exists() && !info.isFile()) {
        SimState::warn(FileName,
            QStringLiteral("is not a regular file; the chip cannot be read "
                           "or written"));
        return;
    }
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

QByteArray read(unsigned int address, unsigned int length, bool *ok)
{
    ensure();
    if (ok)
        *ok = true;
    // The chip ends at 32 KiB even when the file is longer.
    QByteArray data(int(insideChip(address, length)), '\0');
    if (data.isEmpty())
        return data;
    QString problem;
    const int fd
        = faulty(QStringLiteral("read")) ? -1 : SimState::openRegular(FileName, O_RDONLY, &problem);
    if (fd < 0) {
        if (ok)
            *ok = false;
        return data;
    }
    int got = 0;
    while (got < data.size()) {
        const ssize_t n
            = pread(fd, data.data() + got, size_t(data.size() - got), address + unsigned(got));
        if (n <= 0) {
            if (n < 0 && ok)
                *ok = false;
            break;
        }
        got += int(n);
    }
    ::close(fd);
    if (ok && !*ok)
        data.fill('\0');
    return data;
}

bool write(unsigned int address, const QByteArray &data)
{
    ensure();
    // The chip ends at 32 KiB; bytes past it are dropped as the chip would.
    const QByteArray bytes = data.left(int(insideChip(address, unsigned(data.size()))));
    if (bytes.isEmpty())
        return true;
    QString problem = QStringLiteral("fram-fault says so");
    const int fd = faulty(QStringLiteral("write"))
        ? -1
        : SimState::openRegular(FileName, O_WRONLY | O_CREAT, &problem);
    if (fd < 0) {
        SimState::warn(FileName,
            QStringLiteral("cannot be written (%1)")
                .arg(problem.isEmpty() ? QStringLiteral("missing") : problem));
        return false;
    }
    const bool written
        = pwrite(fd, bytes.constData(), size_t(bytes.size()), address) == bytes.size();
    ::close(fd);
    if (!written)
        SimState::warn(FileName, QStringLiteral("cannot be written (short write)"));
    return written;
}

} // namespace FramImage
