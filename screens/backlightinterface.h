// Backlight check: the backlight blinks off and on twice a second until "Continue".
#pragma once

#include <QWidget>

class BacklightInterface : public QWidget {
    Q_OBJECT
public:
    explicit BacklightInterface(QWidget *parent = nullptr);

    void runTimer();

Q_SIGNALS:
    void exitSignal();

public Q_SLOTS:
    void continueButtonClicked();

protected:
    void timerEvent(QTimerEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    int timerId = 0;
};
