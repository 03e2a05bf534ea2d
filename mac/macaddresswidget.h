// The last page of the bench walk: gives the unit its Ethernet MAC address. The address comes
// from the hexadecimal keyboard (small panel) or from the supply file on a USB stick, or is
// typed by a keyboard or bar-code scanner; OK writes it into FRAM, checks it and renews the
// parameter checksum.
#pragma once

#include <QString>
#include <QWidget>

class HexKeyboard;
class Ui_MacAddressWidget;

class MacAddressWidget : public QWidget {
    Q_OBJECT
public:
    explicit MacAddressWidget(QWidget *parent = nullptr);
    ~MacAddressWidget() override;

    // Finds a mounted stick through the mount listing and sets the supply file's path.
    bool mountUSB();
    bool umountUSB();
    void exit();
    // Shows the supply file's first line; strikes it from the file.
    void readMACAddressFromFile();
    void deleteReadMACAddressToFile();

    // The MAC record in FRAM.
    bool writeMACAddressToFRAM();
    QString readMACAddressFromFRAM();
    void writeCheckSum();
    void readCheckSum();
    bool isSetMac();
    // The address a provisioned unit holds (its MAC-present word set), as the record writes it;
    // "-" on a unit without one.
    static QString framMac();
    // The same memory through the kernel's /dev/fram.
    bool readBufferFromFRAM(unsigned int offset, unsigned int length, void *buffer);
    bool writeBufferToFRAM(unsigned int offset, unsigned int length, void *buffer);

    bool eventFilter(QObject *obj, QEvent *ev) override;

public Q_SLOTS:
    void run();
    void on_okButton_clicked();
    void on_retryButton_clicked();
    void editFinish(QString text);

private:
    QString macText() const;
    void setMacText(const QString &text);
    static bool recordOutcome(const QString &result);

    Ui_MacAddressWidget *ui = nullptr;
    QString macFilePath;
    bool usbMounted = false;
    HexKeyboard *hexKeyboard = nullptr;
};
