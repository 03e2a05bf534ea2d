#include "common/unitrecord.h"

#include <QByteArray>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QSize>

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

namespace {

// Writes BYTES to FILE (opened with FLAGS besides write and create) and syncs it: 0, or the
// system error.
int writeSynced(const QString &file, int flags, const QByteArray &bytes)
{
    const int fd
        = ::open(QFile::encodeName(file).constData(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0644);
    if (fd < 0)
        return errno;
    qint64 done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            const int error = n < 0 ? errno : ENOSPC;
            ::close(fd);
            return error;
        }
        done += n;
    }
    if (::fsync(fd) != 0 && errno != EINVAL) {
        const int error = errno;
        ::close(fd);
        return error;
    }
    return ::close(fd) != 0 ? errno : 0;
}

bool appendLine(const QString &mac, const QString &kind, const QString &name, const QString &result)
{
    const QString file = UnitRecord::path();
    const QString dir = QFileInfo(file).absolutePath();
    if (!QFileInfo::exists(dir) && !QDir().mkpath(dir))
        return fail(dir, errno ? errno : EACCES);
    const QByteArray line = (QDateTime::currentDateTimeUtc().toString(Qt::ISODate)
        + QLatin1Char('\t') + field(mac) + QLatin1Char('\t') + field(kind) + QLatin1Char('\t')
        + field(name) + QLatin1Char('\t') + field(result) + QLatin1Char('\n'))
                                .toUtf8();
    // Synced before anything tells the worker the unit is done.
    if (const int error = writeSynced(file, O_APPEND, line))
        return fail(file, error);
    errorText().clear();
    return true;
}

} // namespace

bool UnitRecord::append(const QString &kind, const QString &name, const QString &result)
{
    return appendLine(macText(), kind, name, result);
}

bool UnitRecord::replaceFile(const QString &file, const QByteArray &content, QString *error)
{
    // Written beside it and renamed over it: after a power cut the file is the old or the new.
    const QString next = file + QStringLiteral(".new");
    QString failed = next;
    int failure = writeSynced(next, O_TRUNC, content);
    if (!failure
        && ::rename(QFile::encodeName(next).constData(), QFile::encodeName(file).constData())
            != 0) {
        failure = errno;
        failed = file;
    }
    if (!failure) {
        const int dir = ::open(
            QFile::encodeName(QFileInfo(file).absolutePath()).constData(), O_RDONLY | O_CLOEXEC);
        if (dir >= 0) {
            ::fsync(dir);
            ::close(dir);
        }
        return true;
    }
    if (error)
        *error = failed + QStringLiteral(": ") + QString::fromLocal8Bit(strerror(failure));
    return false;
}

QString UnitRecord::newRunId()
{
    QByteArray bits(16, 0);
    QFile random(QStringLiteral("/dev/urandom"));
    if (!random.open(QIODevice::ReadOnly) || random.read(bits.data(), bits.size()) != bits.size()) {
        // The system generator draws from the same kernel pool; it only lacks the device node.
        qWarning("unit record: /dev/urandom unreadable (%s), run id from the system generator",
            qPrintable(random.errorString()));
        quint32 words[4];
        QRandomGenerator::system()->fillRange(words);
        bits = QByteArray(reinterpret_cast<const char *>(words), sizeof words);
    }
    return QString::fromLatin1(bits.toHex());
}

bool UnitRecord::startRun(
    const QString &runId, int model, const QSize &screen, unsigned int dip, const QString &mac)
{
    return appendLine(mac, QStringLiteral("run"), runId,
        QStringLiteral("version=%1 model=%2 screen=%3x%4 dip=0x%5")
            .arg(QStringLiteral(BENCHTEST_VERSION))
            .arg(model)
            .arg(screen.width())
            .arg(screen.height())
            .arg(dip, 0, 16));
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
