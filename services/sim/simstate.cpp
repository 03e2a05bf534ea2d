#include "simstate.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QMutex>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSet>
#include <QStringList>
#include <QThread>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace SimState {

namespace {
QMutex logMutex;
QMutex warnMutex;
QSet<QString> warned;
QMutex goodMutex;
QHash<QString, long long> lastGood;

// A reader that meets an empty or unreadable file tries again this many times, this far apart,
// before it falls back: long enough for a writer that truncates and then writes.
constexpr int ReadAttempts = 5;
constexpr unsigned long ReadRetryMs = 10;

bool parseNumber(const QString &text, long long *value)
{
    bool ok = false;
    const QString t = text.trimmed();
    if (t.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        *value = t.mid(2).toLongLong(&ok, 16);
    else
        *value = t.toLongLong(&ok, 10);
    return ok;
}
} // namespace

QString quoted(const QString &text)
{
    // At most this many characters of a file are shown, so that a stray binary or a huge
    // file still gives one readable line.
    constexpr int Shown = 40;
    QString out = QStringLiteral("\"");
    for (int i = 0; i < text.size() && i < Shown; ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('\n'))
            out += QLatin1String("\\n");
        else if (c == QLatin1Char('\r'))
            out += QLatin1String("\\r");
        else if (c == QLatin1Char('\t'))
            out += QLatin1String("\\t");
        else if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            out += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
        else
            out += c;
    }
    if (text.size() > Shown)
        out += QLatin1String("...");
    return out + QLatin1Char('"');
}

QString directory()
{
    const QString dir = qEnvironmentVariable("BENCHTEST_SIM_DIR");
    return dir.isEmpty() ? QStringLiteral("/sim") : dir;
}

QString path(const QString &name)
{
    return directory() + QLatin1Char('/') + name;
}

void warn(const QString &name, const QString &problem)
{
    // Keyed on the whole line, so a state directory changed at run time is complained about
    // afresh.
    const QString line = QStringLiteral("benchtest sim: %1: %2\n").arg(path(name), problem);
    QMutexLocker lock(&warnMutex);
    if (warned.contains(line))
        return;
    warned.insert(line);
    std::fputs(line.toLocal8Bit().constData(), stderr);
    std::fflush(stderr);
}

int openRegular(const QString &name, int flags, QString *problem)
{
    const QByteArray file = path(name).toLocal8Bit();
    const int fd = ::open(file.constData(), flags | O_NONBLOCK | O_CLOEXEC, 0644);
    if (fd < 0) {
        if (problem)
            *problem = errno == ENOENT ? QString()
                                       : QStringLiteral("cannot be opened (%1)")
                                             .arg(QString::fromLocal8Bit(strerror(errno)));
        return -1;
    }
    struct stat st;
    if (fstat(fd, &st) < 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        if (problem)
            *problem = QStringLiteral("is not a regular file");
        return -1;
    }
    // Back to blocking reads and writes: a regular file never waits long.
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    return fd;
}

QString readText(const QString &name, QString *problem)
{
    QString why;
    const int fd = openRegular(name, O_RDONLY, &why);
    if (problem)
        *problem = why;
    if (fd < 0)
        return QString();
    QByteArray bytes(MaxTextSize + 1, Qt::Uninitialized);
    int got = 0;
    while (got < bytes.size()) {
        const ssize_t n = ::read(fd, bytes.data() + got, size_t(bytes.size() - got));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            if (problem)
                *problem = QStringLiteral("cannot be read (%1)")
                               .arg(QString::fromLocal8Bit(strerror(errno)));
            ::close(fd);
            return QString();
        }
        if (n == 0)
            break;
        got += int(n);
    }
    ::close(fd);
    if (got > MaxTextSize) {
        if (problem)
            *problem = QStringLiteral("is longer than %1 bytes").arg(MaxTextSize);
        return QString();
    }
    bytes.truncate(got);
    // An empty file must read as empty text, not as a missing file (fromUtf8 of an empty
    // array is a null string).
    const QString text = QString::fromUtf8(bytes).trimmed();
    return text.isNull() ? QStringLiteral("") : text;
}

bool writeText(const QString &name, const QString &text)
{
    QSaveFile file(path(name));
    if (!file.open(QIODevice::WriteOnly)) {
        warn(name, QStringLiteral("cannot be written (%1)").arg(file.errorString()));
        return false;
    }
    file.write(text.toUtf8() + '\n');
    if (!file.commit()) {
        warn(name, QStringLiteral("cannot be written (%1)").arg(file.errorString()));
        return false;
    }
    return true;
}

long long readNumber(const QString &name, long long defaultValue)
{
    QString text, problem;
    for (int attempt = 1;; ++attempt) {
        text = readText(name, &problem);
        const bool unreadable = text.isNull() && !problem.isEmpty();
        if (!unreadable && !(text.isEmpty() && !text.isNull()))
            break;
        if (attempt == ReadAttempts) {
            if (!unreadable)
                problem = QStringLiteral("is empty");
            long long fallback = defaultValue;
            QString from = QStringLiteral("the default");
            {
                QMutexLocker lock(&goodMutex);
                if (lastGood.contains(path(name))) {
                    fallback = lastGood.value(path(name));
                    from = QStringLiteral("the last value read");
                }
            }
            warn(name, QStringLiteral("%1, using %2 (%3)").arg(problem).arg(fallback).arg(from));
            return fallback;
        }
        QThread::msleep(ReadRetryMs);
    }
    if (text.isNull()) {
        warn(name, QStringLiteral("missing, using %1").arg(defaultValue));
        return defaultValue;
    }
    long long value = 0;
    if (!parseNumber(text, &value)) {
        // One arg() call: the file's text may itself contain "%2".
        warn(name,
            QStringLiteral("%1 is not a number, using %2")
                .arg(quoted(text), QString::number(defaultValue)));
        return defaultValue;
    }
    QMutexLocker lock(&goodMutex);
    lastGood.insert(path(name), value);
    return value;
}

long long readNumberInRange(const QString &name, long long min, long long max,
    long long defaultValue, const QString &outside)
{
    const long long value = readNumber(name, defaultValue);
    if (value < min || value > max) {
        warn(name, QStringLiteral("%1 %2, using %3").arg(value).arg(outside).arg(defaultValue));
        return defaultValue;
    }
    return value;
}

bool readPair(const QString &name, int *first, int *second)
{
    const QString defaults = QStringLiteral("%1 %2").arg(*first).arg(*second);
    const QString text = readText(name);
    if (text.isNull()) {
        warn(name, QStringLiteral("missing, using %1").arg(defaults));
        return false;
    }
    const QStringList parts
        = text.split(QRegularExpression(QStringLiteral("[ \t]+")), Qt::SkipEmptyParts);
    long long a = 0, b = 0;
    if (parts.size() != 2 || !parseNumber(parts.at(0), &a) || !parseNumber(parts.at(1), &b)
        || a <= 0 || b <= 0 || a > 100000 || b > 100000) {
        warn(name,
            QStringLiteral("%1 is not two positive numbers, using %2").arg(quoted(text), defaults));
        return false;
    }
    *first = int(a);
    *second = int(b);
    return true;
}

void logEvent(const QString &line)
{
    QMutexLocker lock(&logMutex);
    QString problem;
    const int fd
        = openRegular(QStringLiteral("events.log"), O_WRONLY | O_APPEND | O_CREAT, &problem);
    if (fd < 0) {
        warn(QStringLiteral("events.log"),
            QStringLiteral("cannot be appended to (%1)")
                .arg(problem.isEmpty() ? QStringLiteral("missing") : problem));
        return;
    }
    const QByteArray bytes = line.toUtf8() + '\n';
    if (::write(fd, bytes.constData(), size_t(bytes.size())) != bytes.size())
        warn(QStringLiteral("events.log"), QStringLiteral("cannot be appended to"));
    ::close(fd);
}

} // namespace SimState
