// The function test menu: a grid of buttons, one per single test, each emitting its test key.
#pragma once

#include <QList>
#include <QWidget>

class FunctionButton;
class QLabel;
class QPushButton;
class QStackedWidget;

class FunctionTestInterface : public QWidget {
    Q_OBJECT
public:
    explicit FunctionTestInterface(QWidget *parent = nullptr);
    ~FunctionTestInterface() override;

    // The buttons of this panel model's menu, in menu order (built on first use).
    QList<QPushButton *> buttons();

Q_SIGNALS:
    void functionButtonClicked(QString key);

public Q_SLOTS:
    void buttonClicked();
    void changePage();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void init();
    void initButtons();
    void layOutPaged(const QList<QPushButton *> &list);
    void layOutGrid(const QList<QPushButton *> &list);
    QList<FunctionButton *> allButtons() const;

    FunctionButton *touchPanelButton = nullptr;
    FunctionButton *brightnessButton = nullptr;
    FunctionButton *dateTimeButton = nullptr;
    FunctionButton *batteryPowerButton = nullptr;
    FunctionButton *backlightButton = nullptr;
    FunctionButton *lcmButton = nullptr;
    FunctionButton *keyAndLedButton = nullptr;
    FunctionButton *dipSwitchesButton = nullptr;
    FunctionButton *ethernetButton = nullptr;
    FunctionButton *com1RS232Button = nullptr;
    FunctionButton *com1RS422Button = nullptr;
    FunctionButton *com1RS485Button = nullptr;
    FunctionButton *com2RS232Button = nullptr;
    FunctionButton *com2RS422Button = nullptr;
    FunctionButton *com2RS485Button = nullptr;
    FunctionButton *com3RS232Button = nullptr;
    FunctionButton *com3RS485Button = nullptr;
    FunctionButton *whiteScreenButton = nullptr;
    FunctionButton *usbHostButton = nullptr;
    FunctionButton *usbDeviceButton = nullptr;
    FunctionButton *exitButton = nullptr;
    FunctionButton *macButton = nullptr;
    QList<QPushButton *> buttonList;
    QStackedWidget *stackedWidget = nullptr;
    QLabel *pageLabel = nullptr;
};
