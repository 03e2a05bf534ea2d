#include "common/unitrecord.h"

#include <QByteArray>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

QString &errorText()
{
    static QString text;
    return text;
}

QString &macText()
{
    static QString text = QStringLiteral("-");
    return text;
}

QString field(QString text)
{
    // A field never breaks the line or the columns.
    text.replace(QLatin1Char('\t'), QLatin1Char(' '));
    text.replace(QLatin1Char('\n'), QLatin1Char(' '));
    return text.isEmpty() ? QStringLiteral("-") : text;
}

bool fail(const QString &path, int error)
{
    errorText() = path + QStringLiteral(": ") + QString::fromLocal8Bit(strerror(error));
    return false;
}

} // namespace

QString UnitRecord::path()
{
    const QString set = qEnvironmentVariable("BENCHTEST_RECORD");
    return set.isEmpty() ? QStringLiteral("/brimdale/records/unit.record") : set;
}

bool UnitRecord::append(const QString &kind, const QString &name, const QString &result)
{
    const QString file = path();
    const QString dir = QFileInfo(file).absolutePath();
    if (!QFileInfo::exists(dir) && !QDir().mkpath(dir))
        return fail(dir, errno ? errno : EACCES);
    const QByteArray line = (QDateTime::currentDateTimeUtc().toString(Qt::ISODate)
        + QLatin1Char('\t') + field(macText()) + QLatin1Char('\t') + field(kind) + QLatin1Char('\t')
        + field(name) + QLatin1Char('\t') + field(result) + QLatin1Char('\n'))
                                .toUtf8();
    const int fd = ::open(
        QFile::encodeName(file).constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0)
        return fail(file, errno);
    qint64 done = 0;
    while (done < line.size()) {
        const ssize_t n = ::write(fd, line.constData() + done, size_t(line.size() - done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            const int error = n < 0 ? errno : ENOSPC;
            ::close(fd);
            return fail(file, error);
        }
        done += n;
    }
    // Synced before anything tells the worker the unit is done.
    if (::fsync(fd) != 0 && errno != EINVAL) {
        const int error = errno;
        ::close(fd);
        return fail(file, error);
    }
    if (::close(fd) != 0)
        return fail(file, errno);
    errorText().clear();
    return true;
}

QString UnitRecord::lastError()
{
    return errorText();
}

void UnitRecord::setMac(const QString &mac)
{
    macText() = mac;
}

QString UnitRecord::mac()
{
    return macText();
}
