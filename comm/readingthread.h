// A thread that owns one serial port, reads it without pause and hands every received block
// to the GUI thread; in echo mode it also sends each block straight back out of the same
// port, which makes the unit the loopback partner of another unit's communication test.
#pragma once

#include "services/devicetypes.h"

#include <QByteArray>
#include <QString>
#include <QThread>

class Interface;

class ReadingThread : public QThread {
    Q_OBJECT
public:
    // COM2 as RS232.
    explicit ReadingThread(QObject *parent = nullptr);
    ReadingThread(const QString &port, device_type type, QObject *parent = nullptr);
    // Stops the reading loop (it notices within one read time-out), then closes and deletes
    // the port.
    ~ReadingThread() override;

    QString port() const;
    device_type deviceType() const;

    // 1 turns echo on. Set before start(); the loop only reads it.
    void setEchoFlag(int flag);
    int echoFlag() const;

Q_SIGNALS:
    void updateBuffer(int count, QByteArray data);

protected:
    void run() override;

private:
    void init(const QString &port, device_type type);

    Interface *interface = nullptr;
    QByteArray buffer;
    int echo = 0;
};
