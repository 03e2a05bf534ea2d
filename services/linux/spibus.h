// The SPI bus to one chip: the seam between the FRAM command set and the kernel's spidev.
#pragma once

#include <QByteArray>
#include <QString>

class SpiBus {
public:
    virtual ~SpiBus() = default;
    // One transfer with the chip selected from the first byte to the last: tx goes out while
    // as many bytes come in (rx is resized to tx's size). False when the bus failed.
    virtual bool transfer(const QByteArray &tx, QByteArray *rx) = 0;
};

// The kernel's spidev device, mode 0, 8-bit words. Opened on the first transfer; a device
// that cannot be opened fails every transfer and is named once on standard error.
class SpidevBus : public SpiBus {
public:
    SpidevBus(const QString &path, quint32 speedHz);
    ~SpidevBus() override;
    SpidevBus(const SpidevBus &) = delete;
    SpidevBus &operator=(const SpidevBus &) = delete;

    bool transfer(const QByteArray &tx, QByteArray *rx) override;

private:
    bool open();

    QString m_path;
    quint32 m_speedHz = 0;
    int m_fd = -1;
    bool m_failed = false;
};
