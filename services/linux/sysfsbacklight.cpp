#include "sysfsbacklight.h"

#include <QDir>
#include <QFile>

#include <algorithm>

int SysfsBacklight::levelToRaw(int level, int max)
{
    if (max <= 0)
        return 0;
    const qint64 clamped = std::clamp(level, 0, MaxLevel);
    return int((clamped * max + MaxLevel / 2) / MaxLevel);
}

int SysfsBacklight::rawToLevel(int raw, int max)
{
    if (max <= 0)
        return MaxLevel;
    const qint64 clamped = std::clamp(raw, 0, max);
    return int((clamped * MaxLevel + max / 2) / max);
}

SysfsBacklight::SysfsBacklight(const QString &sysfsRoot, const QString &name)
{
    const QString classDir = sysfsRoot + QStringLiteral("/class/backlight");
    if (!name.isEmpty()) {
        m_dir = classDir + QLatin1Char('/') + name;
        return;
    }
    // Entries there are symbolic links to the device's own directory.
    const QStringList devices
        = QDir(classDir).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System, QDir::Name);
    if (!devices.isEmpty())
        m_dir = classDir + QLatin1Char('/') + devices.first();
    else
        m_problem = QStringLiteral("%1 has no backlight device").arg(classDir);
}

bool SysfsBacklight::readNumber(const QString &file, int *value) const
{
    QFile f(m_dir + QLatin1Char('/') + file);
    if (!f.open(QIODevice::ReadOnly)) {
        m_problem = QStringLiteral("%1 cannot be read (%2)").arg(f.fileName(), f.errorString());
        return false;
    }
    const QByteArray text = f.read(64).trimmed();
    bool ok = false;
    const int number = text.toInt(&ok);
    if (!ok || number < 0) {
        m_problem = QStringLiteral("%1 holds \"%2\", not a number")
                        .arg(f.fileName(), QString::fromLatin1(text));
        return false;
    }
    *value = number;
    return true;
}

bool SysfsBacklight::level(int *level) const
{
    if (m_dir.isEmpty())
        return false;
    int raw = 0, max = 0;
    if (!readNumber(QStringLiteral("max_brightness"), &max)
        || !readNumber(QStringLiteral("brightness"), &raw))
        return false;
    *level = rawToLevel(raw, max);
    return true;
}

bool SysfsBacklight::setLevel(int level) const
{
    if (m_dir.isEmpty())
        return false;
    int max = 0;
    if (!readNumber(QStringLiteral("max_brightness"), &max))
        return false;
    QFile f(m_dir + QStringLiteral("/brightness"));
    // sysfs attributes are written in place, never through a temporary file.
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate)
        || f.write(QByteArray::number(levelToRaw(level, max)) + '\n') < 0 || !f.flush()) {
        m_problem = QStringLiteral("%1 cannot be written (%2)").arg(f.fileName(), f.errorString());
        return false;
    }
    return true;
}
