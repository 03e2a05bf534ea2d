#include "boardconfig.h"

#include "devicewarning.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

namespace {
bool parseUnsigned(const QString &text, qulonglong max, qulonglong *value)
{
    bool ok = false;
    const QString t = text.trimmed();
    *value = t.startsWith(QLatin1String("0x"), Qt::CaseInsensitive) ? t.mid(2).toULongLong(&ok, 16)
                                                                    : t.toULongLong(&ok, 10);
    return ok && *value <= max;
}
} // namespace

BoardConfig BoardConfig::load(const QString &path)
{
    BoardConfig config;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        warnDevice(path,
            file.exists()
                ? QStringLiteral("cannot be read (%1), using the defaults").arg(file.errorString())
                : QStringLiteral("missing, using the defaults"));
        return config;
    }
    // A configuration file is a few lines; anything much longer is not one.
    const QByteArray bytes = file.read(64 * 1024);
    const QStringList lines = QString::fromUtf8(bytes).split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        const QString line = lines.at(i).section(QLatin1Char('#'), 0, 0).trimmed();
        if (line.isEmpty())
            continue;
        const QString where = QStringLiteral("%1 line %2").arg(path).arg(i + 1);
        const int equals = line.indexOf(QLatin1Char('='));
        if (equals < 0) {
            warnDevice(where, QStringLiteral("\"%1\" is not \"key = value\", ignored").arg(line));
            continue;
        }
        const QString key = line.left(equals).trimmed();
        const QString value = line.mid(equals + 1).trimmed();
        const auto bad = [&](const QString &expected) {
            warnDevice(where,
                QStringLiteral("%1 \"%2\" is not %3, using the default").arg(key, value, expected));
        };
        qulonglong number = 0;
        if (key == QLatin1String("sysfs")) {
            config.sysfsRoot = value;
        } else if (key == QLatin1String("backlight")) {
            config.backlight = value;
        } else if (key == QLatin1String("rtc")) {
            config.rtc = value;
        } else if (key == QLatin1String("fram-spi")) {
            config.framSpi = value;
        } else if (key == QLatin1String("fram-spi-hz")) {
            if (parseUnsigned(value, 100000000, &number) && number > 0)
                config.framSpiHz = quint32(number);
            else
                bad(QStringLiteral("a clock rate of 1..100000000 Hz"));
        } else if (key == QLatin1String("fram-file")) {
            config.framFile = value;
        } else if (key == QLatin1String("dip-file")) {
            config.dipFile = value;
        } else if (key == QLatin1String("dip-chip")) {
            config.dipChip = value;
        } else if (key == QLatin1String("dip-lines")) {
            const QStringList parts
                = value.split(QRegularExpression(QStringLiteral("[ \t,]+")), Qt::SkipEmptyParts);
            QVector<unsigned int> offsets;
            for (const QString &part : parts) {
                if (!parseUnsigned(part, 65535, &number))
                    break;
                offsets.append(unsigned(number));
            }
            if (parts.size() == 4 && offsets.size() == 4)
                config.dipLines = offsets;
            else
                bad(QStringLiteral("four line offsets (SW1 SW2 SW3 SW4)"));
        } else if (key == QLatin1String("dip-active-low")) {
            if (parseUnsigned(value, 1, &number))
                config.dipActiveLow = number == 1;
            else
                bad(QStringLiteral("0 or 1"));
        } else if (key == QLatin1String("beeper")) {
            config.beeper = value;
        } else if (key == QLatin1String("framebuffer")) {
            config.framebuffer = value;
        } else if (key == QLatin1String("model")) {
            if (parseUnsigned(value, 255, &number))
                config.model = int(number);
            else
                bad(QStringLiteral("a model number 0..255"));
        } else if (key == QLatin1String("orientation")) {
            if (parseUnsigned(value, 0xFFFFFFFF, &number))
                config.orientation = number != 0 ? 1 : 0;
            else
                bad(QStringLiteral("a number"));
        } else {
            warnDevice(where, QStringLiteral("unknown key \"%1\", ignored").arg(key));
        }
    }
    return config;
}

const BoardConfig &BoardConfig::current()
{
    static const BoardConfig config = [] {
        const QString path = qEnvironmentVariable("BENCHTEST_SERVICES_CONF");
        return load(path.isEmpty() ? QString::fromLatin1(DefaultPath) : path);
    }();
    return config;
}
