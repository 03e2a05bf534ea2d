#include "readingthread.h"

#include "common/portnames.h"
#include "commtext.h"
#include "services/interface.h"

namespace {
constexpr int BlockSize = TestBlockSize;
} // namespace

ReadingThread::ReadingThread(QObject *parent) : QThread(parent)
{
    init(COMPORT2, RS232);
}

ReadingThread::ReadingThread(const QString &port, device_type type, QObject *parent)
    : QThread(parent)
{
    init(port, type);
}

void ReadingThread::init(const QString &port, device_type type)
{
    interface = new Interface;
    // An inter-byte gap of 3 ms: a block that the partner sends in one go comes back as one.
    interface->setting(
        new DeviceSetting(type, port, 115200, 8, 0, 0), new DriverSetting(100, 3, 0, 0));
    interface->open();
    buffer.resize(BlockSize);
}

ReadingThread::~ReadingThread()
{
    // A QThread must not be destroyed while it runs; the loop ends at its next turn.
    requestInterruption();
    wait();
    interface->close();
    delete interface;
}

QString ReadingThread::port() const
{
    const DeviceSetting *setting = interface->deviceSetting();
    return setting ? setting->port : QString();
}

device_type ReadingThread::deviceType() const
{
    return interface->deviceType();
}

void ReadingThread::setEchoFlag(int flag)
{
    echo = flag;
}

int ReadingThread::echoFlag() const
{
    return echo;
}

void ReadingThread::run()
{
    while (!isInterruptionRequested()) {
        buffer.resize(BlockSize);
        const int count = interface->read(buffer.data(), BlockSize);
        // An empty read takes the port's read time-out, also on a port that is not open.
        if (count <= 0)
            continue;
        buffer.resize(count);
        // A copy of its own for the receiver, so the buffer is never shared across threads.
        Q_EMIT updateBuffer(count, QByteArray(buffer.constData(), count));
        if (echo == 1) {
            QThread::msleep(1);
            interface->write(buffer.constData(), count);
        }
    }
}
