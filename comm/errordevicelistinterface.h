// The bench test's summary: the latest result of every tested device, painted as a red list
// of the devices that did not pass. "Next" is offered only while everything has passed.
#pragma once

#include <QMap>
#include <QString>
#include <QWidget>

class FunctionButton;
class QPaintEvent;

class ErrorDeviceListInterface : public QWidget {
    Q_OBJECT
public:
    explicit ErrorDeviceListInterface(QWidget *parent = nullptr);
    ~ErrorDeviceListInterface() override;

    // What the screen paints: the heading, then one "device result" line per failure, in
    // string order of the device names.
    QString listText() const;

Q_SIGNALS:
    void exitSignal();

public Q_SLOTS:
    void updateDeviceStatus(const QString &device, const QString &result);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QMap<QString, QString> results;
    QString heading;
    FunctionButton *nextButton = nullptr;
};
