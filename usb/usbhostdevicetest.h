// The bench page for the unit's two USB ports: a text file written to and read back from the
// stick on the host port, and six raw bytes sent through a cable from the host port to the
// unit's own file-storage gadget.
#pragma once

#include <QString>
#include <QWidget>

namespace Ui {
class USBHostDeviceTest;
}

class USBHostDeviceTest : public QWidget {
    Q_OBJECT
public:
    explicit USBHostDeviceTest(QWidget *parent = nullptr);
    ~USBHostDeviceTest() override;

    // Loads the file-storage gadget over /tmp/ram.img; the bench does it once at start and
    // again before every repeat.
    void insertUSBDeviceModule();
    void runUSBHostTest();
    void runUSBDeviceTest();

    bool mountUSB();
    bool umountUSB();
    bool writeUSBFile(const QString &text);
    bool readUSBFile(const QString &text);
    bool writeUSBDevice();
    bool readUSBDeviceTransfered();
    void mySleep(int seconds);
    QString currentDevice() const;

Q_SIGNALS:
    void transferStop();
    void errorMessage(QString device, QString result);

private:
    void report(bool ok, const QString &passText, const QString &failText);

    Ui::USBHostDeviceTest *ui = nullptr;
    QString usbFilePath;
};
