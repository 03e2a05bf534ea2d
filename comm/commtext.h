// The traffic of the communication screens: the test blocks they send, and how they turn raw
// line bytes into pane text.
#pragma once

#include <QByteArray>
#include <QString>

// Pane text: up to the first NUL (the partner's bytes are whatever arrived), one character per
// byte, never rich text.
inline QString zeroTerminatedText(const QByteArray &bytes)
{
    return QString::fromLatin1(
        bytes.constData(), int(qstrnlen(bytes.constData(), uint(bytes.size()))));
}

// Bytes in one test block, on every line.
constexpr int TestBlockSize = 64;

// The next test block: the printable run "!" to "~" without a break, carried on from the last
// character of the previous block (32 after a reset, so a fresh run starts with "!").
inline QByteArray nextTestBlock(int &character)
{
    QByteArray block(TestBlockSize, Qt::Uninitialized);
    for (int i = 0; i < TestBlockSize; ++i) {
        if (++character > 126)
            character = 33;
        block[i] = char(character);
    }
    return block;
}
