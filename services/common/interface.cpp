#include "services/interface.h"

#include <cerrno>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <linux/serial.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

// Used when no DriverSetting was given.
constexpr int DefaultFirstByteTimeout = 100;
constexpr int DefaultInterByteGap = 1;
// Longest a write may wait for room in the transmit queue.
constexpr int WriteTimeout = 100;

speed_t speedFor(int baudRate)
{
    switch (baudRate) {
    case 9600:
        return B9600;
    case 19200:
        return B19200;
    case 38400:
        return B38400;
    case 57600:
        return B57600;
    case 230400:
        return B230400;
    case 460800:
        return B460800;
    case 921600:
        return B921600;
    default:
        return B115200;
    }
}

// Monotonic time in microseconds: waits are rounded up to whole milliseconds for poll(), so a
// 1 ms inter-byte gap is never cut short by the clock ticking over.
qint64 nowUs()
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return qint64(ts.tv_sec) * 1000000 + ts.tv_nsec / 1000;
}

int msUntil(qint64 deadlineUs)
{
    return int((qMax<qint64>(0, deadlineUs - nowUs()) + 999) / 1000);
}

void sleepUntil(qint64 deadlineUs)
{
    const qint64 us = deadlineUs - nowUs();
    if (us <= 0)
        return;
    timespec ts { time_t(us / 1000000), long(us % 1000000) * 1000L };
    while (nanosleep(&ts, &ts) < 0 && errno == EINTR) { }
}

// Waits until fd is readable or the deadline (nowUs() time) has passed. 1: something to read
// (data, or the end of file of a hung-up line), 0: time-out, -1: the line failed with
// nothing to read (errno says why).
int waitReadable(int fd, qint64 deadline)
{
    for (;;) {
        pollfd p { fd, POLLIN, 0 };
        const int r = poll(&p, 1, msUntil(deadline));
        if (r < 0 && errno == EINTR)
            continue;
        if (r < 0)
            return -1;
        if (r == 0)
            return 0;
        if (p.revents & POLLIN)
            return 1;
        errno = (p.revents & POLLNVAL) ? EBADF : EIO;
        return -1;
    }
}

} // namespace

Interface::Interface() = default;

Interface::~Interface()
{
    close();
    delete m_device;
    delete m_driver;
}

void Interface::setting(DeviceSetting *device, DriverSetting *driver)
{
    if (device != m_device)
        delete m_device;
    if (driver != m_driver)
        delete m_driver;
    m_device = device;
    m_driver = driver;
}

DeviceSetting *Interface::deviceSetting() const
{
    return m_device;
}

device_type Interface::deviceType() const
{
    return m_device ? m_device->type : device_type(0);
}

QString Interface::errorString() const
{
    return m_error;
}

bool Interface::isOpen() const
{
    return m_fd >= 0;
}

void Interface::setError(const QString &what)
{
    m_error = what + QLatin1String(": ") + QString::fromLocal8Bit(strerror(errno));
}

bool Interface::open()
{
    if (!m_device) {
        m_error = QStringLiteral("no device setting");
        return false;
    }
    if (m_fd >= 0)
        return true;

    const QByteArray path = m_device->port.toLocal8Bit();
    const int fd = ::open(path.constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        setError(m_device->port);
        return false;
    }

    termios tio;
    if (tcgetattr(fd, &tio) < 0) {
        setError(m_device->port);
        ::close(fd);
        return false;
    }
    cfmakeraw(&tio);
    tio.c_cflag |= CLOCAL | CREAD;
    tio.c_cflag &= ~(CSIZE | PARENB | PARODD | CSTOPB | CRTSCTS);
    switch (m_device->dataBits) {
    case 5:
        tio.c_cflag |= CS5;
        break;
    case 6:
        tio.c_cflag |= CS6;
        break;
    case 7:
        tio.c_cflag |= CS7;
        break;
    default:
        tio.c_cflag |= CS8;
        break;
    }
    if (m_device->parity == 1)
        tio.c_cflag |= PARENB | PARODD;
    else if (m_device->parity == 2)
        tio.c_cflag |= PARENB;
    if (m_device->stopBits == 1)
        tio.c_cflag |= CSTOPB;
    tio.c_cc[VMIN] = 0;
    tio.c_cc[VTIME] = 0;
    const speed_t speed = speedFor(m_device->baudRate);
    cfsetispeed(&tio, speed);
    cfsetospeed(&tio, speed);
    if (tcsetattr(fd, TCSANOW, &tio) < 0) {
        setError(m_device->port);
        ::close(fd);
        return false;
    }

    // RS422 and RS485 need the driver's transceiver control; RS232 switches it off again, since
    // the kernel keeps the setting across a close. Lines without it (plain UARTs,
    // pseudo-terminals) refuse the request, which is fine: they are full duplex anyway.
    quint32 flags = 0;
    if (m_device->type == RS422 || m_device->type == RS485) {
        flags = SER_RS485_ENABLED | SER_RS485_RTS_ON_SEND;
        if (m_device->type == RS422)
            flags |= SER_RS485_RX_DURING_TX;
    }
    requestLineMode(fd, flags);

    tcflush(fd, TCIOFLUSH);
    m_fd = fd;
    m_error.clear();
    return true;
}

int Interface::requestLineMode(int fd, quint32 rs485Flags)
{
    serial_rs485 rs485;
    memset(&rs485, 0, sizeof rs485);
    rs485.flags = rs485Flags;
    return ioctl(fd, TIOCSRS485, &rs485);
}

void Interface::close()
{
    if (m_fd < 0)
        return;
    ::close(m_fd);
    m_fd = -1;
}

int Interface::read(char *data, int size)
{
    const int firstWait = m_driver ? m_driver->firstByteTimeout : DefaultFirstByteTimeout;
    if (m_fd < 0) {
        // Like a quiet line: callers poll read() in loops until their own time-out, and a port
        // that will not open must not turn those loops into a busy wait.
        m_error = QStringLiteral("port not open");
        sleepUntil(nowUs() + qint64(firstWait) * 1000);
        return -1;
    }
    if (size <= 0)
        return 0;
    const int gap = qMax(1, m_driver ? m_driver->interByteGap : DefaultInterByteGap);

    int got = 0;
    qint64 deadline = nowUs() + qint64(firstWait) * 1000;
    while (got < size) {
        const int ready = waitReadable(m_fd, deadline);
        if (ready == 0)
            break;
        if (ready > 0) {
            const ssize_t r = ::read(m_fd, data + got, size_t(size - got));
            if (r > 0) {
                got += int(r);
                deadline = nowUs() + qint64(gap) * 1000;
                continue;
            }
            if (r < 0 && (errno == EAGAIN || errno == EINTR)) {
                if (nowUs() >= deadline)
                    break;
                continue;
            }
            if (r == 0)
                m_error = m_device->port + QLatin1String(": the line hung up");
            else
                setError(m_device->port);
        } else {
            setError(m_device->port);
        }
        // A hung-up or failed line (a pseudo-terminal whose other end is gone) reports itself
        // readable again at once, with nothing to read. Sleeping out the wait keeps callers
        // that poll read() in a loop from spinning.
        sleepUntil(deadline);
        break;
    }
    return got;
}

int Interface::write(const char *data, int size)
{
    if (m_fd < 0) {
        m_error = QStringLiteral("port not open");
        return -1;
    }
    const qint64 deadline = nowUs() + qint64(WriteTimeout) * 1000;
    int sent = 0;
    while (sent < size) {
        const ssize_t w = ::write(m_fd, data + sent, size_t(size - sent));
        if (w > 0) {
            sent += int(w);
            continue;
        }
        if (w < 0 && errno != EAGAIN && errno != EINTR) {
            setError(m_device->port);
            break;
        }
        if (nowUs() >= deadline) {
            m_error = QStringLiteral("write timed out");
            break;
        }
        pollfd p { m_fd, POLLOUT, 0 };
        if (poll(&p, 1, msUntil(deadline)) > 0 && !(p.revents & POLLOUT)) {
            // Hung up or failed: it would report itself at once again and again.
            errno = (p.revents & POLLNVAL) ? EBADF : EIO;
            setError(m_device->port);
            break;
        }
    }
    return sent;
}

int Interface::control(int code, const QVariant &value)
{
    if (code != FlushControl || m_fd < 0)
        return -1;
    const int which = value.toInt();
    return tcflush(m_fd, which == 0 ? TCIFLUSH : which == 1 ? TCOFLUSH : TCIOFLUSH);
}
