#include "spibus.h"

#include "devicewarning.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <linux/spi/spidev.h>
#include <sys/ioctl.h>
#include <unistd.h>

SpidevBus::SpidevBus(const QString &path, quint32 speedHz) : m_path(path), m_speedHz(speedHz) { }

SpidevBus::~SpidevBus()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

bool SpidevBus::open()
{
    if (m_fd >= 0)
        return true;
    if (m_failed)
        return false;
    const QByteArray path = m_path.toLocal8Bit();
    const int fd = ::open(path.constData(), O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        warnDevice(m_path,
            QStringLiteral("cannot be opened (%1); FRAM reads give 0 and writes are dropped")
                .arg(errnoText(errno)));
        m_failed = true;
        return false;
    }
    quint8 mode = SPI_MODE_0;
    quint8 bits = 8;
    quint32 speed = m_speedHz;
    if (ioctl(fd, SPI_IOC_WR_MODE, &mode) < 0 || ioctl(fd, SPI_IOC_WR_BITS_PER_WORD, &bits) < 0
        || ioctl(fd, SPI_IOC_WR_MAX_SPEED_HZ, &speed) < 0) {
        warnDevice(m_path,
            QStringLiteral("is not an SPI device (%1); FRAM reads give 0 and writes are dropped")
                .arg(errnoText(errno)));
        ::close(fd);
        m_failed = true;
        return false;
    }
    m_fd = fd;
    return true;
}

bool SpidevBus::transfer(const QByteArray &tx, QByteArray *rx)
{
    rx->fill('\0', tx.size());
    if (!open())
        return false;
    spi_ioc_transfer message;
    memset(&message, 0, sizeof message);
    message.tx_buf = quintptr(tx.constData());
    message.rx_buf = quintptr(rx->data());
    message.len = quint32(tx.size());
    message.speed_hz = m_speedHz;
    message.bits_per_word = 8;
    if (ioctl(m_fd, SPI_IOC_MESSAGE(1), &message) < 0) {
        warnDevice(m_path, QStringLiteral("transfer failed (%1)").arg(errnoText(errno)));
        return false;
    }
    return true;
}
