// LCD brightness check: the top-left quarter steps the backlight down, the top-right quarter
// up (repeating every 50 ms while held), the bottom half restores full brightness and leaves.
#pragma once

#include <QPoint>
#include <QRect>
#include <QWidget>

class BrightnessInterface : public QWidget {
    Q_OBJECT
public:
    explicit BrightnessInterface(QWidget *parent = nullptr);
    ~BrightnessInterface() override;

    int lcdBrightness();
    void setLcdBrightness(int value, bool save);

    QRect decreaseArea() const;
    QRect increaseArea() const;
    QRect saveArea() const;

    void handleMousePressed(const QPoint &point);

Q_SIGNALS:
    void exitSignal();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void timerEvent(QTimerEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void stopRepeat();

    qint32 timerId = -1;
    QPoint pressPoint { 0, 0 };
};
