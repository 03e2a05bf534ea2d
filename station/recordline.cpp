#include "station/recordline.h"

#include <QDateTime>
#include <QRegularExpression>

namespace {

bool fail(QString *error, const QString &reason)
{
    if (error)
        *error = reason;
    return false;
}

bool isTime(const QString &text)
{
    static const QRegularExpression shape(
        QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ$"));
    return shape.match(text).hasMatch() && QDateTime::fromString(text, Qt::ISODate).isValid();
}

bool isMac(const QString &text)
{
    static const QRegularExpression shape(QStringLiteral("^[0-9A-Fa-f]{2}(:[0-9A-Fa-f]{2}){5}$"));
    return text == QLatin1String("-") || shape.match(text).hasMatch();
}

bool isKind(const QString &text)
{
    return text == QLatin1String("run") || text == QLatin1String("stage")
        || text == QLatin1String("result") || text == QLatin1String("outcome");
}

// A run line names its run (128 random bits in hex) and the unit it ran on.
bool checkRun(const QStringList &parts, QString *error)
{
    static const QRegularExpression id(QStringLiteral("^[0-9a-f]{32}$"));
    static const QRegularExpression unit(
        QStringLiteral("^version=[0-9A-Za-z._+-]{1,32} model=-?\\d{1,5} screen=\\d{1,5}x\\d{1,5} "
                       "dip=0x[0-9a-f]{1,8}$"));
    if (!id.match(parts.at(3)).hasMatch())
        return fail(error,
            QStringLiteral("run id \"%1\" is not 32 lower-case hex digits").arg(parts.at(3)));
    if (!unit.match(parts.at(4)).hasMatch())
        return fail(error,
            QStringLiteral("run \"%1\" is not \"version=V model=M screen=WxH dip=0xD\"")
                .arg(parts.at(4)));
    return true;
}

bool checkLine(const QByteArray &line, QStringList *out, QString *error)
{
    if (line.size() > RecordLine::MaxLineBytes)
        return fail(error,
            QStringLiteral("line of %1 bytes, at most %2")
                .arg(line.size())
                .arg(RecordLine::MaxLineBytes));
    for (const char c : line) {
        if ((uchar(c) < 0x20 && c != '\t') || c == 0x7f)
            return fail(error,
                QStringLiteral("control character 0x%1 in the line")
                    .arg(uchar(c), 2, 16, QLatin1Char('0')));
    }
    const QString text = QString::fromUtf8(line);
    if (text.toUtf8() != line)
        return fail(error, QStringLiteral("not UTF-8"));
    const QStringList parts = text.split(QLatin1Char('\t'));
    if (parts.size() != RecordLine::FieldCount)
        return fail(error,
            QStringLiteral("%1 fields, a line has %2")
                .arg(parts.size())
                .arg(RecordLine::FieldCount));
    for (const QString &part : parts) {
        if (part.isEmpty())
            return fail(error, QStringLiteral("an empty field (an empty one is written \"-\")"));
        if (part.toUtf8().size() > RecordLine::MaxFieldBytes)
            return fail(error,
                QStringLiteral("a field longer than %1 bytes").arg(RecordLine::MaxFieldBytes));
    }
    if (!isTime(parts.at(0)))
        return fail(
            error, QStringLiteral("time \"%1\" is not YYYY-MM-DDTHH:MM:SSZ").arg(parts.at(0)));
    if (!isMac(parts.at(1)))
        return fail(error,
            QStringLiteral("MAC \"%1\" is neither \"-\" nor XX:XX:XX:XX:XX:XX").arg(parts.at(1)));
    if (!isKind(parts.at(2)))
        return fail(error,
            QStringLiteral("kind \"%1\" is not run, stage, result or outcome").arg(parts.at(2)));
    if (parts.at(2) == QLatin1String("run") && !checkRun(parts, error))
        return false;
    *out = parts;
    return true;
}

} // namespace

QStringList RecordLine::fields(const QByteArray &line, QString *error)
{
    QStringList parts;
    if (!checkLine(line, &parts, error))
        return {};
    return parts;
}

bool RecordLine::isRunId(const QString &runId)
{
    static const QRegularExpression shape(QStringLiteral("^[A-Za-z0-9._:-]{1,64}$"));
    return shape.match(runId).hasMatch();
}
