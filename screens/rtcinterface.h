// Clock setting on the bench: the worker types the date and then the time on the decimal
// keyboard, checks the result and writes it into the unit's real-time clock with "Next".
#pragma once

#include <QDateTime>
#include <QString>
#include <QWidget>

class QLabel;
class QStackedWidget;
class InputPanelInterface;

class RtcInterface : public QWidget {
    Q_OBJECT
public:
    explicit RtcInterface(QWidget *parent = nullptr);

    QString getDateFormat();
    void updateScreen();
    void updateDateTime();
    void updateTime();

Q_SIGNALS:
    void exitSignal();

public Q_SLOTS:
    void run();
    void editFinish(QString str);
    void exit();

protected:
    void timerEvent(QTimerEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void init();

    QStackedWidget *stackedWidget = nullptr;
    QString timeFormat = QStringLiteral("hh:mm:ss");
    QString dateOrder = QStringLiteral("YMD");
    QDateTime dateTime;
    InputPanelInterface *inputPanel = nullptr;
    QLabel *dateLabel = nullptr;
    QLabel *timeLabel = nullptr;
    qint32 timerId = -1;
};
