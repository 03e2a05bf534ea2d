#include "simstate.h"

#include <QDir>
#include <QFile>
#include <QMutex>
#include <QRegularExpression>
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
        // One arg() call: the file's text may itself contain "%2".
        warn(name, QStringLiteral("%1 is not a number, using %2")
                           .arg(quoted(text), QString::number(defaultValue)));
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
    const QStringList parts = text.split(QRegularExpression(QStringLiteral("[ \t]+")),
                                         Qt::SkipEmptyParts);
    long long a = 0, b = 0;
    if (parts.size() != 2 || !parseNumber(parts.at(0), &a) || !parseNumber(parts.at(1), &b)
        || a <= 0 || b <= 0 || a > 100000 || b > 100000) {
        warn(name, QStringLiteral("%1 is not two positive numbers, using %2")
                           .arg(quoted(text), defaults));
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
