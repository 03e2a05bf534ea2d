// How the communication screens turn raw line bytes into pane text: up to the first NUL (the
// partner's bytes are whatever arrived), one character per byte, never rich text.
#pragma once

#include <QByteArray>
#include <QString>

inline QString zeroTerminatedText(const QByteArray &bytes)
{
    return QString::fromLatin1(
        bytes.constData(), int(qstrnlen(bytes.constData(), uint(bytes.size()))));
}
