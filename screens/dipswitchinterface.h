// DIP switch check: draws the switch panel with the live position of each switch, asks for
// all switches ON, then all OFF, and leaves by itself once both have been seen in that order.
#pragma once

#include <QPixmap>
#include <QPoint>
#include <QRect>
#include <QString>
#include <QWidget>

class DipSwitchInterface : public QWidget {
    Q_OBJECT
public:
    explicit DipSwitchInterface(QWidget *parent = nullptr);

    void run();
    void init();

    // Where the parts of the panel are drawn, for the layout checks.
    QString hintText() const { return hint; }
    QRect hintRect() const { return hintRectangle; }
    QPoint panelPosition() const { return panelPoint; }
    QPoint switchPosition(int index) const { return switchPoints[qBound(0, index, 3)]; }
    QPoint labelPosition(int index) const { return labelPoints[qBound(0, index, 3)]; }
    QPoint onMarkerPosition() const { return onMarkerPoint; }

Q_SIGNALS:
    void exitSignal();

public Q_SLOTS:
    void exit();

protected:
    void timerEvent(QTimerEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void initImages();
    void initPostions();
    void compareDipValue();

    int timerId = -1;
    int lastDipValue = 1;
    QPixmap panelImage;
    QPixmap setSwitchImage;
    QPixmap clearSwitchImage;
    QPixmap onMarkerImage;
    QPoint panelPoint;
    QPoint switchPoints[4];
    QPoint labelPoints[4];
    QPoint onMarkerPoint;
    QString hint;
    QRect hintRectangle;
};
