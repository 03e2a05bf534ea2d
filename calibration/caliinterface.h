// The touch calibration page: five crosses, the new calibration put into service at once, a
// check by dragging the pointer into the square, then Next (keep) or Again (repeat).
#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <QStringList>
#include <QWidget>

class FunctionButton;
class QFrame;
class QLabel;
struct calibration;

class caliInterface : public QWidget {
    Q_OBJECT
public:
    explicit caliInterface(QWidget *parent = nullptr);

    void exec();
    void isInit(bool init);
    void btnSetting();
    void switchBtn(bool show);
    void setHint(const QString &hint);
    void hideTheWeak();
    void endCalibration();
    void saveCaliSettings();
    void sorryWeCancel();
    void reloadMouse();
    void doCalibration();
    int perform_calibration(calibration *cal);

    QString hint() const { return currentHint; }
    QStringList hintTexts() const { return hints; }
    QList<QPoint> targetPositions() const { return targets; }
    QRect accuracySquare() const { return squareRect; }
    QList<QPoint> trailPoints() const { return trail; }
    bool isTracking() const { return trackingPointer; }
    bool isFinished() const { return finished; }
    bool inInitMode() const { return initMode; }

signals:
    void exitSignal();

public slots:
    void on_againPushButton_clicked();
    void on_nextPushButton_clicked();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void buildHints(bool shortWording);
    void restoreOrientation();

    QStringList hints;
    QStringList names;
    QList<QPoint> targets;
    QRect squareRect;
    QString currentHint;
    QLabel *crossLabel = nullptr;
    QFrame *squareFrame = nullptr;
    FunctionButton *againButton = nullptr;
    FunctionButton *nextButton = nullptr;
    bool trackingPointer = false;
    bool initMode = false;
    bool finished = false;
    QList<QPoint> trail;
};
