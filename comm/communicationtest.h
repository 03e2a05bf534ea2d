// The loopback test screen for the serial ports (COM1..COM3 as RS232/RS422/RS485) and for
// Ethernet: sends 64-byte blocks to an echoing partner, counts bytes sent and bytes missing,
// and in the bench sequence reports "ok!" or "fail!" after a fixed amount of traffic.
#pragma once

#include "services/devicetypes.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QWidget>

namespace Ui {
class CommunicationTest;
}

class Interface;
class QTcpSocket;
class QThread;
class QTimer;

class CommunicationTest : public QWidget {
    Q_OBJECT
public:
    explicit CommunicationTest(QWidget *parent = nullptr);
    ~CommunicationTest() override;

    // Selects what run() tests: a serial port path with its kind (16, 32, 64), or for kind 256
    // "address port" of an echoing TCP server.
    void createInterface(const QString &port, device_type type);
    QString currentDevice() const;
    QString currentSerial() const;
    void disconnectInterface();

    // Bytes after which a faultless test ends; -1 (or any value below 1) runs without end.
    void setTransferLimit(qint16 limit);
    qint16 transferLimit() const;

    // Every serial port this screen has created, in creation order; kept for its life.
    const QList<Interface *> &portList() const;

Q_SIGNALS:
    void transferStop();
    void errorMessage(const QString &device, const QString &result);

public Q_SLOTS:
    void run();
    void rxUpdated(int count, QByteArray data);
    void commTest();

private:
    // What the screen tests. kept: the values are those of the original int mode, 0 and 1.
    enum class Mode { Serial = 0, Ethernet = 1 };

    void init();
    void stopTransfer();
    void changeTitle(const QString &port, device_type type);
    QByteArray dataToWrite();
    void writeData();
    void readData();
    void checkReachLimit();
    void endCommunication();
    void resetUI();

    Ui::CommunicationTest *ui = nullptr;
    Mode mode = Mode::Serial;
    qint16 limit = -1;
    // Code of the last character put into a block; the run goes "!".."~" and round again.
    int character = 32;
    QList<Interface *> ports;
    Interface *currentPort = nullptr;
    QTimer *timer = nullptr;
    // kept: nothing assigns it, yet the destructor tears it down if it is ever set.
    QThread *readingThread = nullptr;
    QTcpSocket *socket = nullptr;
    QMap<device_type, QString> kindNames;
};
