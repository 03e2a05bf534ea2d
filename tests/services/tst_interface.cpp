// The termios serial port against a pseudo-terminal whose other end the test plays: blocks
// arrive whole, reads end within their bounded wait, an idle or hung-up line costs no CPU,
// and the port owns the setting records it is given.
#include "services/interface.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryFile>
#include <QtTest>

#include <atomic>
#include <future>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

// A pseudo-terminal: the port opens the slave by name, the test talks on the master.
class Pty {
public:
    Pty()
    {
        char name[128] = {};
        if (openpty(&m_master, &m_slave, name, nullptr, nullptr) < 0)
            return;
        m_name = QString::fromLocal8Bit(name);
        fcntl(m_master, F_SETFL, fcntl(m_master, F_GETFL) | O_NONBLOCK);
    }
    ~Pty()
    {
        closeMaster();
        if (m_slave >= 0)
            ::close(m_slave);
    }
    Pty(const Pty &) = delete;
    Pty &operator=(const Pty &) = delete;

    bool isValid() const { return m_master >= 0 && !m_name.isEmpty(); }
    QString name() const { return m_name; }
    int master() const { return m_master; }
    // The test's own descriptor on the slave side, used only to see input arrive.
    int slave() const { return m_slave; }

    void closeMaster()
    {
        if (m_master >= 0)
            ::close(m_master);
        m_master = -1;
    }

    bool send(const QByteArray &bytes) const
    {
        return ::write(m_master, bytes.constData(), size_t(bytes.size())) == bytes.size();
    }

    // Collects exactly count bytes from the master, or what came within timeoutMs.
    QByteArray receive(int count, int timeoutMs = 5000) const
    {
        QByteArray got;
        QElapsedTimer timer;
        timer.start();
        while (got.size() < count && timer.elapsed() < timeoutMs) {
            pollfd p { m_master, POLLIN, 0 };
            if (poll(&p, 1, int(timeoutMs - timer.elapsed())) <= 0)
                continue;
            char buffer[4096];
            const ssize_t r
                = ::read(m_master, buffer, size_t(qMin<int>(sizeof buffer, count - got.size())));
            if (r > 0)
                got.append(buffer, int(r));
        }
        return got;
    }

private:
    int m_master = -1;
    int m_slave = -1;
    QString m_name;
};

// Plays the far end: collects blocks of blockSize bytes and sends each back in one write.
class Echo {
public:
    Echo(const Pty &pty, int blockSize) : m_fd(pty.master()), m_blockSize(blockSize)
    {
        m_thread = std::thread([this] { run(); });
    }
    ~Echo()
    {
        m_stop = true;
        m_thread.join();
    }

private:
    void run()
    {
        QByteArray block;
        while (!m_stop) {
            pollfd p { m_fd, POLLIN, 0 };
            if (poll(&p, 1, 20) <= 0)
                continue;
            char buffer[256];
            const ssize_t r = ::read(
                m_fd, buffer, size_t(qMin<int>(sizeof buffer, m_blockSize - block.size())));
            if (r <= 0)
                continue;
            block.append(buffer, int(r));
            if (block.size() == m_blockSize) {
                if (::write(m_fd, block.constData(), size_t(block.size())) != block.size())
                    return;
                block.clear();
            }
        }
    }

    int m_fd;
    int m_blockSize;
    std::atomic<bool> m_stop { false };
    std::thread m_thread;
};

bool inputWaiting(int fd, int timeoutMs)
{
    pollfd p { fd, POLLIN, 0 };
    return poll(&p, 1, timeoutMs) == 1 && (p.revents & POLLIN);
}

qint64 threadCpuMicroseconds()
{
    rusage usage;
    getrusage(RUSAGE_THREAD, &usage);
    return qint64(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000000 + usage.ru_utime.tv_usec
        + usage.ru_stime.tv_usec;
}

QByteArray block(int size, int seed)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = char(seed + i);
    return bytes;
}

// What a reading thread sees over a stretch of time: CPU used, how many reads, the longest.
struct ReadLoop {
    qint64 cpuUs = 0;
    qint64 wallMs = 0;
    int reads = 0;
    qint64 longestReadMs = 0;
    int positive = 0;
};

ReadLoop readFor(Interface *port, int durationMs)
{
    ReadLoop loop;
    char buffer[64];
    const qint64 cpuBefore = threadCpuMicroseconds();
    QElapsedTimer wall;
    wall.start();
    while (wall.elapsed() < durationMs) {
        QElapsedTimer one;
        one.start();
        if (port->read(buffer, sizeof buffer) > 0)
            ++loop.positive;
        loop.longestReadMs = qMax(loop.longestReadMs, one.elapsed());
        ++loop.reads;
    }
    loop.wallMs = wall.elapsed();
    loop.cpuUs = threadCpuMicroseconds() - cpuBefore;
    return loop;
}

// Records the line mode every open asks the driver for, then asks it as the port would.
class RecordingInterface : public Interface {
public:
    QList<quint32> requested;

protected:
    int requestLineMode(int fd, quint32 rs485Flags) override
    {
        requested.append(rs485Flags);
        return Interface::requestLineMode(fd, rs485Flags);
    }
};

} // namespace

class tst_Interface : public QObject {
    Q_OBJECT

private slots:
    void unconfigured();
    void settingsAreKept();
    void settingAgainReplacesRecords();
    void deleteLaterFreesRecords();
    void openWithoutSetting();
    void unopenable_data();
    void unopenable();
    void kinds_data();
    void kinds();
    void echoedBlockIsOneRead();
    void nothingArrives_data();
    void nothingArrives();
    void defaultWaitWithoutDriverSetting();
    void pauseEndsPartialBlock();
    void readStopsAtSize();
    void interByteGap_data();
    void interByteGap();
    void writeSendsEverything();
    void flushDiscardsPendingInput();
    void controlOnClosedPort();
    void closeAndReopen();
    void idleReadUsesLittleCpu();
    void hungUpLineDoesNotSpin();
    void rs232SwitchesRs485ModeOff();
    void readOnAClosedPortWaitsLikeAQuietLine();

private:
    static Interface *openPort(
        const Pty &pty, device_type type = RS232, int firstByteTimeout = 100, int interByteGap = 1);
};

Interface *tst_Interface::openPort(
    const Pty &pty, device_type type, int firstByteTimeout, int interByteGap)
{
    auto *port = new Interface;
    port->setting(new DeviceSetting(type, pty.name(), 115200, 8, 0, 0),
        new DriverSetting(firstByteTimeout, interByteGap, 0, 0));
    if (!port->open())
        qWarning("open %s: %s", qPrintable(pty.name()), qPrintable(port->errorString()));
    return port;
}

void tst_Interface::unconfigured()
{
    Interface port;
    QCOMPARE(port.deviceSetting(), nullptr);
    QCOMPARE(int(port.deviceType()), 0);
    QVERIFY(!port.isOpen());
    char buffer[8];
    QCOMPARE(port.read(buffer, sizeof buffer), -1);
    QCOMPARE(port.write("x", 1), -1);
    QVERIFY(!port.errorString().isEmpty());
}

void tst_Interface::settingsAreKept()
{
    Interface port;
    auto *device = new DeviceSetting(RS485, QStringLiteral("/dev/ttyO1"), 115200, 8, 0, 0);
    auto *driver = new DriverSetting(100, 3, 0, 0);
    port.setting(device, driver);
    QCOMPARE(port.deviceSetting(), device);
    QCOMPARE(port.deviceType(), RS485);
    QCOMPARE(port.deviceSetting()->type, RS485);
    QCOMPARE(port.deviceSetting()->port, QStringLiteral("/dev/ttyO1"));
    QCOMPARE(port.deviceSetting()->baudRate, 115200);
    QCOMPARE(port.deviceSetting()->dataBits, 8);
    QCOMPARE(port.deviceSetting()->parity, 0);
    QCOMPARE(port.deviceSetting()->stopBits, 0);
    QCOMPARE(driver->firstByteTimeout, 100);
    QCOMPARE(driver->interByteGap, 3);
    QVERIFY(!port.isOpen());
}

// The port owns its records: replacing them frees the old ones, handing the same ones again
// frees nothing (AddressSanitizer reports a leak or a double free otherwise).
void tst_Interface::settingAgainReplacesRecords()
{
    Interface port;
    auto *device = new DeviceSetting(RS232, QStringLiteral("/dev/ttyO0"), 115200, 8, 0, 0);
    auto *driver = new DriverSetting(100, 1, 0, 0);
    port.setting(device, driver);
    port.setting(device, driver);
    QCOMPARE(port.deviceSetting(), device);
    auto *device2 = new DeviceSetting(RS422, QStringLiteral("/dev/ttyO2"), 115200, 8, 0, 0);
    port.setting(device2, new DriverSetting(100, 3, 0, 0));
    QCOMPARE(port.deviceSetting(), device2);
    QCOMPARE(port.deviceType(), RS422);
}

void tst_Interface::deleteLaterFreesRecords()
{
    Pty pty;
    QVERIFY(pty.isValid());
    Interface *port = openPort(pty);
    QVERIFY(port->isOpen());
    QSignalSpy destroyed(port, &QObject::destroyed);
    QVERIFY(destroyed.isValid());
    port->deleteLater();
    QTRY_COMPARE(destroyed.count(), 1);
}

void tst_Interface::openWithoutSetting()
{
    Interface port;
    QVERIFY(!port.open());
    QVERIFY(!port.isOpen());
    QVERIFY(!port.errorString().isEmpty());
}

void tst_Interface::unopenable_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("type");
    QTest::newRow("missing device") << QStringLiteral("/nonexistent/ttyO9") << int(RS232);
    QTest::newRow("missing RS485 device") << QStringLiteral("/nonexistent/ttyO9") << int(RS485);
    QTest::newRow("empty path") << QString() << int(RS232);
    QTest::newRow("not a terminal") << QStringLiteral("<regular file>") << int(RS232);
    QTest::newRow("directory") << QStringLiteral("/") << int(RS422);
}

void tst_Interface::unopenable()
{
    QFETCH(QString, path);
    QFETCH(int, type);
    QTemporaryFile file;
    if (path == QLatin1String("<regular file>")) {
        QVERIFY(file.open());
        path = file.fileName();
    }
    Interface port;
    port.setting(new DeviceSetting(device_type(type), path, 115200, 8, 0, 0),
        new DriverSetting(100, 1, 0, 0));
    QVERIFY(!port.open());
    QVERIFY(!port.isOpen());
    QVERIFY(!port.errorString().isEmpty());
    if (!path.isEmpty())
        QVERIFY2(port.errorString().contains(path), qPrintable(port.errorString()));
    char buffer[8];
    QCOMPARE(port.read(buffer, sizeof buffer), -1);
    QCOMPARE(port.write("x", 1), -1);
    port.control(Interface::FlushControl, 0);
    port.close();
    QVERIFY(!port.isOpen());
}

void tst_Interface::kinds_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("RS232") << int(RS232);
    QTest::newRow("RS422") << int(RS422);
    QTest::newRow("RS485") << int(RS485);
}

// A pseudo-terminal has no RS485 transceiver control; the port opens anyway.
void tst_Interface::kinds()
{
    QFETCH(int, type);
    Pty pty;
    QVERIFY(pty.isValid());
    QScopedPointer<Interface> port(openPort(pty, device_type(type)));
    QVERIFY(port->isOpen());
    QCOMPARE(int(port->deviceType()), type);
    QCOMPARE(port->deviceSetting()->port, pty.name());
    QCOMPARE(port->write("ping", 4), 4);
    QCOMPARE(pty.receive(4), QByteArray("ping"));
    QVERIFY(pty.send("pong"));
    char buffer[16];
    const int n = port->read(buffer, sizeof buffer);
    QCOMPARE(QByteArray(buffer, qMax(0, n)), QByteArray("pong"));
}

void tst_Interface::echoedBlockIsOneRead()
{
    Pty pty;
    QVERIFY(pty.isValid());
    QScopedPointer<Interface> port(openPort(pty));
    QVERIFY(port->isOpen());
    Echo echo(pty, 64);
    for (int round = 0; round < 20; ++round) {
        const QByteArray sent = block(64, round);
        port->control(Interface::FlushControl, 0);
        QCOMPARE(port->write(sent.constData(), sent.size()), 64);
        char buffer[64];
        const int n = port->read(buffer, sizeof buffer);
        QCOMPARE(n, 64);
        QCOMPARE(QByteArray(buffer, n), sent);
    }
}

void tst_Interface::nothingArrives_data()
{
    QTest::addColumn<int>("timeout");
    QTest::newRow("100 ms") << 100;
    QTest::newRow("30 ms") << 30;
    QTest::newRow("250 ms") << 250;
}

void tst_Interface::nothingArrives()
{
    QFETCH(int, timeout);
    Pty pty;
    QVERIFY(pty.isValid());
    QScopedPointer<Interface> port(openPort(pty, RS232, timeout, 1));
    QVERIFY(port->isOpen());
    char buffer[64];
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(port->read(buffer, sizeof buffer), 0);
    const qint64 elapsed = timer.elapsed();
    QVERIFY2(elapsed >= timeout - 5, qPrintable(QString::number(elapsed)));
    QVERIFY2(elapsed < timeout + 900, qPrintable(QString::number(elapsed)));
}

void tst_Interface::defaultWaitWithoutDriverSetting()
{
    Pty pty;
    QVERIFY(pty.isValid());
    Interface port;
    port.setting(new DeviceSetting(RS232, pty.name(), 115200, 8, 0, 0), nullptr);
    QVERIFY(port.open());
    char buffer[8];
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(port.read(buffer, sizeof buffer), 0);
    QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
}

void tst_Interface::pauseEndsPartialBlock()
{
    Pty pty;
    QVERIFY(pty.isValid());
    QScopedPointer<Interface> port(openPort(pty));
    QVERIFY(port->isOpen());
    const QByteArray sent = block(40, 7);
    QVERIFY(pty.send(sent));
    char buffer[64];
    QElapsedTimer timer;
    timer.start();
    const int n = port->read(buffer, sizeof buffer);
    QCOMPARE(n, 40);
    QCOMPARE(QByteArray(buffer, n), sent);
    QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
}

void tst_Interface::readStopsAtSize()
{
    Pty pty;
    QVERIFY(pty.isValid());
    QScopedPointer<Interface> port(openPort(pty));
    QVERIFY(port->isOpen());
    const QByteArray sent = block(100, 1);
    QVERIFY(pty.send(sent));
    char buffer[64];
    QCOMPARE(port->read(buffer, 64), 64);
    QCOMPARE(QByteArray(buffer, 64), sent.left(64));
    QCOMPARE(port->read(buffer, 64), 36);
    QCOMPARE(QByteArray(buffer, 36), sent.mid(64));
    QCOMPARE(port->read(buffer, 0), 0);
}

void tst_Interface::interByteGap_data()
{
    QTest::addColumn<int>("gap");
    QTest::addColumn<int>("pause");
    QTest::addColumn<int>("expected");
    QTest::newRow("pause longer than the gap ends the block") << 1 << 300 << 20;
    QTest::newRow("pause within the gap joins the halves") << 1000 << 50 << 40;
}

// The far end sends two halves with a pause between them.
void tst_Interface::interByteGap()
{
    QFETCH(int, gap);
    QFETCH(int, pause);
    QFETCH(int, expected);
    Pty pty;
    QVERIFY(pty.isValid());
    QScopedPointer<Interface> port(openPort(pty, RS232, 100, gap));
    QVERIFY(port->isOpen());
    const QByteArray sent = block(40, 9);
    QVERIFY(pty.send(sent.left(20)));
    std::thread partner([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(pause));
        pty.send(sent.mid(20));
    });
    char buffer[64];
    const int n = port->read(buffer, sizeof buffer);
    partner.join();
    QCOMPARE(n, expected);
    QCOMPARE(QByteArray(buffer, n), sent.left(expected));
}

void tst_Interface::writeSendsEverything()
{
    Pty pty;
    QVERIFY(pty.isValid());
    QScopedPointer<Interface> port(openPort(pty));
    QVERIFY(port->isOpen());
    const QByteArray sent = block(1000, 3);
    QCOMPARE(port->write(sent.constData(), sent.size()), 1000);
    QCOMPARE(pty.receive(1000), sent);
}

// Bytes that came in before a test block (late echoes) must not count as its answer.
void tst_Interface::flushDiscardsPendingInput()
{
    Pty pty;
    QVERIFY(pty.isValid());
    QScopedPointer<Interface> port(openPort(pty));
    QVERIFY(port->isOpen());
    QVERIFY(pty.send("stale bytes"));
    QVERIFY(inputWaiting(pty.slave(), 5000));
    port->control(Interface::FlushControl, 0);
    QVERIFY(!inputWaiting(pty.slave(), 0));
    char buffer[64];
    QCOMPARE(port->read(buffer, sizeof buffer), 0);
    QVERIFY(pty.send("fresh"));
    const int n = port->read(buffer, sizeof buffer);
    QCOMPARE(QByteArray(buffer, qMax(0, n)), QByteArray("fresh"));
}

void tst_Interface::controlOnClosedPort()
{
    Interface port;
    port.control(Interface::FlushControl, 0);
    port.setting(new DeviceSetting(RS232, QStringLiteral("/nonexistent"), 115200, 8, 0, 0),
        new DriverSetting(100, 1, 0, 0));
    port.control(Interface::FlushControl, 0);
    port.control(99, QVariant());
    QVERIFY(!port.isOpen());
}

void tst_Interface::closeAndReopen()
{
    Pty pty;
    QVERIFY(pty.isValid());
    QScopedPointer<Interface> port(openPort(pty));
    QVERIFY(port->isOpen());
    QVERIFY(port->open());
    port->close();
    QVERIFY(!port->isOpen());
    port->close();
    char buffer[8];
    QCOMPARE(port->read(buffer, sizeof buffer), -1);
    QCOMPARE(port->write("x", 1), -1);
    QVERIFY(port->open());
    QVERIFY(port->isOpen());
    QCOMPARE(port->write("again", 5), 5);
    QCOMPARE(pty.receive(5), QByteArray("again"));
}

// An echo thread polls read() all day on a quiet line; it must sleep, not spin.
void tst_Interface::idleReadUsesLittleCpu()
{
    Pty first, second;
    QVERIFY(first.isValid());
    QVERIFY(second.isValid());
    QScopedPointer<Interface> busy(openPort(first));
    QScopedPointer<Interface> idle(openPort(second, RS232, 100, 3));
    QVERIFY(busy->isOpen());
    QVERIFY(idle->isOpen());

    auto result = std::async(std::launch::async, [&] { return readFor(idle.data(), 2000); });
    const ReadLoop loop = result.get();
    const QString report = QStringLiteral("%1 us CPU in %2 ms, %3 reads, longest %4 ms")
                               .arg(loop.cpuUs)
                               .arg(loop.wallMs)
                               .arg(loop.reads)
                               .arg(loop.longestReadMs);
    QVERIFY2(loop.cpuUs * 100 < loop.wallMs * 1000 * 2, qPrintable(report));
    QVERIFY2(loop.longestReadMs < 1000, qPrintable(report));
    QCOMPARE(loop.positive, 0);
}

// When the far end goes away the line hangs up and reports itself readable forever; read()
// must still wait out its time-out and return nothing, without burning the CPU.
void tst_Interface::hungUpLineDoesNotSpin()
{
    Pty pty;
    QVERIFY(pty.isValid());
    QScopedPointer<Interface> port(openPort(pty));
    QVERIFY(port->isOpen());
    pty.closeMaster();

    auto result = std::async(std::launch::async, [&] { return readFor(port.data(), 1000); });
    if (result.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
        // Unstick the reader so that the test can end and report.
        port->close();
        result.wait();
        QFAIL("read() does not return on a hung-up line");
    }
    const ReadLoop loop = result.get();
    const QString report = QStringLiteral("%1 us CPU in %2 ms, %3 reads, longest %4 ms")
                               .arg(loop.cpuUs)
                               .arg(loop.wallMs)
                               .arg(loop.reads)
                               .arg(loop.longestReadMs);
    QVERIFY2(loop.cpuUs * 100 < loop.wallMs * 1000 * 2, qPrintable(report));
    QVERIFY2(loop.longestReadMs < 1000, qPrintable(report));
    QCOMPARE(loop.positive, 0);
    QVERIFY(!port->errorString().isEmpty());

    QElapsedTimer timer;
    timer.start();
    QVERIFY(port->write("x", 1) <= 0);
    QVERIFY(timer.elapsed() < 1000);
}

void tst_Interface::rs232SwitchesRs485ModeOff()
{
    Pty line;
    // The kernel keeps the RS485 setting of a line across a close: each open says what it
    // wants, RS232 included.
    const quint32 rs485 = 0x1 | 0x2; // SER_RS485_ENABLED | SER_RS485_RTS_ON_SEND
    const quint32 rs422 = rs485 | 0x10; // | SER_RS485_RX_DURING_TX
    const struct {
        int type;
        quint32 flags;
    } opens[] = { { 64, rs485 }, { 16, 0 }, { 32, rs422 }, { 16, 0 } };
    for (const auto &open : opens) {
        RecordingInterface port;
        port.setting(new DeviceSetting(device_type(open.type), line.name(), 115200, 8, 0, 0),
            new DriverSetting(100, 1, 0, 0));
        QVERIFY(port.open());
        QCOMPARE(port.requested, QList<quint32>({ open.flags }));
        port.close();
    }
}

void tst_Interface::readOnAClosedPortWaitsLikeAQuietLine()
{
    // Loops that poll read() until their own time-out must not spin on a port that will not
    // open (the burn-in test on a missing line).
    Interface port;
    port.setting(new DeviceSetting(RS232, QStringLiteral("/nonexistent/ttyX"), 115200, 8, 0, 0),
        new DriverSetting(100, 1, 0, 0));
    QVERIFY(!port.open());
    char buffer[64];
    QElapsedTimer clock;
    clock.start();
    QCOMPARE(port.read(buffer, sizeof buffer), -1);
    QVERIFY2(clock.elapsed() >= 95, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(port.errorString(), QStringLiteral("port not open"));
}

QTEST_GUILESS_MAIN(tst_Interface)
#include "tst_interface.moc"
