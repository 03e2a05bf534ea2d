// The key a record file's lines are stored under at the station, the same whether the unit
// sends them or the file is copied there and imported: a resend is then never a second copy.
#pragma once

#include <QByteArray>
#include <QCryptographicHash>
#include <QString>

namespace RecordKey {

// "file-" and 16 hex digits of the file's first line's hash; a record that opens with a run line
// (a random run id) gets a key no other unit's record has.
inline QString forFirstLine(const QByteArray &firstLine)
{
    return QStringLiteral("file-")
        + QString::fromLatin1(
            QCryptographicHash::hash(firstLine, QCryptographicHash::Sha256).toHex().left(16));
}

} // namespace RecordKey
