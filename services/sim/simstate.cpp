#include "simstate.h"

#include <QDir>
#include <QFile>
#include <QMutex>
#include <QSet>
#include <QStringList>

#include <cstdio>

namespace SimState {

namespace {
QMutex logMutex;
QMutex warnMutex;
QSet<QString> warned;

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

QString readText(const QString &name)
{
    QFile file(path(name));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    // An empty file must read as empty text, not as a missing file (fromUtf8 of an empty
    // array is a null string).
    const QString text = QString::fromUtf8(file.readAll()).trimmed();
    return text.isNull() ? QStringLiteral("") : text;
}

bool writeText(const QString &name, const QString &text)
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        warn(name, QStringLiteral("cannot be written (%1)").arg(file.errorString()));
        return false;
    }
    file.write(text.toUtf8() + '\n');
    return true;
}

long long readNumber(const QString &name, long long defaultValue)
{
    const QString text = readText(name);
    if (text.isNull()) {
        warn(name, QStringLiteral("missing, using %1").arg(defaultValue));
        return defaultValue;
    }
    long long value = 0;
    if (!parseNumber(text, &value)) {
        warn(name, QStringLiteral("\"%1\" is not a number, using %2").arg(text).arg(defaultValue));
        return defaultValue;
    }
    return value;
}

bool readPair(const QString &name, int *first, int *second)
{
    const QString text = readText(name);
    if (text.isNull())
        return false;
    const QStringList parts = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    long long a = 0, b = 0;
    if (parts.size() != 2 || !parseNumber(parts.at(0), &a) || !parseNumber(parts.at(1), &b)
        || a <= 0 || b <= 0 || a > 100000 || b > 100000) {
        warn(name, QStringLiteral("\"%1\" is not two positive numbers").arg(text));
        return false;
    }
    *first = int(a);
    *second = int(b);
    return true;
}

void logEvent(const QString &line)
{
    QMutexLocker lock(&logMutex);
    QFile file(path(QStringLiteral("events.log")));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        warn(QStringLiteral("events.log"),
             QStringLiteral("cannot be appended to (%1)").arg(file.errorString()));
        return;
    }
    file.write(line.toUtf8() + '\n');
}

} // namespace SimState
