// One serial port of the unit, over termios. Used by the loopback test, the burn-in test and
// the echo threads of the slave tester; the same code runs on a board and in a virtual unit,
// where the port paths are pseudo-terminals.
#pragma once

#include "services/devicetypes.h"

#include <QObject>
#include <QVariant>

class Interface : public QObject
{
    Q_OBJECT
public:
    // Driver control codes accepted by control().
    enum ControlCode {
        // Discard pending data before a test block: value 0 the receive queue, 1 the transmit
        // queue, 2 both. Dropping late echoes of an earlier block keeps them from being
        // counted as the answer to the next one.
        FlushControl = 12,
    };

    Interface();
    ~Interface() override;

    // Reads up to size bytes. Returns once size bytes are in, once the line has been quiet for
    // the driver's inter-byte gap after the last byte, or with 0 when no first byte came within
    // the driver's first-byte time-out. -1 when the port is not open.
    virtual int read(char *data, int size);
    virtual int write(const char *data, int size);
    virtual bool open();
    virtual void close();
    virtual void setting(DeviceSetting *device, DriverSetting *driver);
    virtual DeviceSetting *deviceSetting() const;
    virtual int control(int code, const QVariant &value);
    virtual device_type deviceType() const;
    virtual QString errorString() const;
    virtual bool isOpen() const;

protected:
    // Asks the line driver for its RS485 mode (the kernel's serial_rs485 flags; 0 is plain
    // RS232) on the port being opened. A seam: tests record what each open asks for.
    virtual int requestLineMode(int fd, quint32 rs485Flags);

private:
    void setError(const QString &what);

    DeviceSetting *m_device = nullptr;
    DriverSetting *m_driver = nullptr;
    int m_fd = -1;
    QString m_error;
};
