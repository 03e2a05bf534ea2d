// Partners for the communication tests: the far end of a serial line (a pseudo-terminal whose
// master side this test owns) and an echoing TCP server on the loopback address. Both answer
// from their own thread, because the screens under test block the GUI thread while they wait
// for the echo.
#pragma once

#include "tests/support/testsupport.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QtGlobal>

#include <atomic>
#include <mutex>
#include <thread>

class PtyPartner {
public:
    enum Mode {
        Echo, // a loopback plug: every byte goes back at once
        Drain, // an unplugged line: bytes are taken and dropped
        Short, // answers only the first shortLength bytes of each chunk it reads
    };

    explicit PtyPartner(Mode mode = Echo);
    ~PtyPartner();
    PtyPartner(const PtyPartner &) = delete;
    PtyPartner &operator=(const PtyPartner &) = delete;

    bool isValid() const { return master >= 0; }
    // The slave side, for the code under test to open.
    QString path() const { return slavePath; }

    void setMode(Mode mode) { currentMode.store(mode); }
    void setShortLength(int length) { shortLength.store(length); }

    // Puts bytes on the line towards the code under test.
    void send(const QByteArray &bytes);

    // Everything the code under test has written, in order.
    QByteArray received() const;
    int receivedCount() const;
    // Sizes of the reads that brought the bytes in, one entry per read.
    QList<int> chunks() const;
    // Milliseconds between the last send() and the first byte that came back after it.
    qint64 lastAnswerDelay() const;

private:
    void loop();

    int master = -1;
    int slave = -1;
    QString slavePath;
    std::atomic<int> currentMode;
    std::atomic<int> shortLength { 40 };
    std::atomic<bool> stopping { false };
    mutable std::mutex mutex;
    QByteArray log;
    QList<int> chunkSizes;
    qint64 sentAt = -1;
    qint64 answerDelay = -1;
    std::thread worker;
};

class TcpEchoServer {
public:
    // Listens on 127.0.0.1 on a free port.
    explicit TcpEchoServer(bool echo = true);
    ~TcpEchoServer();
    TcpEchoServer(const TcpEchoServer &) = delete;
    TcpEchoServer &operator=(const TcpEchoServer &) = delete;

    bool isValid() const { return listener >= 0; }
    quint16 port() const { return tcpPort; }
    // "127.0.0.1 <port>", the form the communication test takes.
    QString endPoint() const;
    int connectionsAccepted() const { return accepted.load(); }
    int bytesReceived() const { return received.load(); }

private:
    void loop();

    int listener = -1;
    quint16 tcpPort = 0;
    bool echoing;
    std::atomic<bool> stopping { false };
    std::atomic<int> accepted { 0 };
    std::atomic<int> received { 0 };
    std::thread worker;
};

// What CTest plugged into COM1..COM3 of the virtual unit the test runs in ("loop" or
// "none" each), from BENCHTEST_COMM_PLUGS="loop,none,loop"; empty outside such a unit.
QStringList unitPlugs();

// Paths that this process holds open (from /proc/self/fd).
QStringList openFilePaths();

// The printable run the loopback tests send: "!" to "~" and round again, starting after
// character code `after`.
QByteArray printableRun(int length, int after = 32);
// True when every character of text follows its predecessor in the printable run.
bool isContiguousRun(const QString &text);
// What came back over a line: only characters of the run, and at least one stretch of
// `length` that follows the run (an echo cut by a busy machine may join two pieces).
bool looksLikeEchoedRun(const QString &text, int length = 64);

// The simulator directory and the debug catcher come from the shared test support.
using TestSupport::SimDir;
