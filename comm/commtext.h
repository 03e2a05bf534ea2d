// The traffic of the communication screens: the test blocks they send, how they wait for an
// answer, and how they turn raw line bytes into pane text.
#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QScrollBar>
#include <QString>
#include <QTextEdit>
#include <QtGlobal>

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

// How long a test waits for the first bytes of an answer, in ms (more than this counts as a
// time-out).
constexpr int AnswerTimeout = 99;

// Calls readOnce() until it returns a count above 0 or more than AnswerTimeout ms have passed;
// returns the last count. readOnce is given the ms left and must itself wait (a port's read
// time-out, a socket wait), so that the loop never spins.
template <typename ReadOnce> int readAnswer(ReadOnce readOnce)
{
    QElapsedTimer clock;
    clock.start();
    for (;;) {
        const int count = readOnce(int(qMax<qint64>(0, AnswerTimeout + 1 - clock.elapsed())));
        if (count > 0 || qAbs(clock.elapsed()) > AnswerTimeout)
            return count;
    }
}

// kept: a pane empties itself as soon as its text no longer fits and the scroll range changes,
// which keeps the panes short.
inline void clearWhenFull(QTextEdit *pane)
{
    QObject::connect(pane->verticalScrollBar(), &QScrollBar::rangeChanged, pane, &QTextEdit::clear);
}
