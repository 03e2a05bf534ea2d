// The burn-in screen: keeps the first serial port busy for as long as the unit runs, sending
// a block every tick and showing what comes back. It judges nothing; the person watching does.
#pragma once

#include <QByteArray>
#include <QString>
#include <QWidget>

class Interface;
class QLabel;
class QTextEdit;
class QTimerEvent;

class BurninTestInterface : public QWidget {
    Q_OBJECT
public:
    // Burns in COM1 as RS232.
    explicit BurninTestInterface(QWidget *parent = nullptr);
    // Burns in the given port path instead (a test's pseudo-terminal).
    explicit BurninTestInterface(const QString &portPath, QWidget *parent = nullptr);
    ~BurninTestInterface() override;

public Q_SLOTS:
    void run();

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    void setupUi();
    void init(const QString &portPath);
    QByteArray dataToWrite();
    void writeData();
    void readData();

    QLabel *label = nullptr;
    QTextEdit *txTextEdit = nullptr;
    QTextEdit *rxTextEdit = nullptr;
    int character = 32;
    int timerId = 0;
    Interface *port = nullptr;
};
