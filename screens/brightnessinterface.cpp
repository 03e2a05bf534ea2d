#include "brightnessinterface.h"

#include "services/fram.h"
#include "services/klcd.h"

#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <QTimerEvent>

namespace {
constexpr int TopLevel = 20;
constexpr int RepeatInterval = 50;
constexpr int StepSound = 1;
constexpr int ErrorSound = 5;
} // namespace

BrightnessInterface::BrightnessInterface(QWidget *parent) : QWidget(parent)
{
    QFont widgetFont = font();
    widgetFont.setPixelSize(16);
    setFont(widgetFont);
    KLcd::getInstance()->setLcdBrightness(TopLevel, true);
}

BrightnessInterface::~BrightnessInterface()
{
    stopRepeat();
}

int BrightnessInterface::lcdBrightness()
{
    return KLcd::getInstance()->getLcdBrightness();
}

void BrightnessInterface::setLcdBrightness(int value, bool save)
{
    // Out-of-range requests only sound the error tone; the level still goes to the library,
    // which owns the limits.
    Fram::getInstance()->makeSound(
        static_cast<unsigned int>(value) > TopLevel ? ErrorSound : StepSound);
    KLcd::getInstance()->setLcdBrightness(value, save);
}

QRect BrightnessInterface::decreaseArea() const
{
    const QRect r = rect();
    const int right = r.right() - r.left();
    const int bottom = r.bottom() - r.top();
    return QRect(QPoint(0, 0), QPoint(right / 2, bottom / 2));
}

QRect BrightnessInterface::increaseArea() const
{
    const QRect r = rect();
    const int right = r.right() - r.left();
    const int bottom = r.bottom() - r.top();
    return QRect(QPoint(right / 2, 0), QPoint(right, bottom / 2));
}

QRect BrightnessInterface::saveArea() const
{
    const QRect r = rect();
    const int right = r.right() - r.left();
    const int bottom = r.bottom() - r.top();
    return QRect(QPoint(0, bottom / 2), QPoint(right, bottom));
}

void BrightnessInterface::handleMousePressed(const QPoint &point)
{
    // The areas share their edges; the first that contains the point wins.
    if (decreaseArea().contains(point)) {
        setLcdBrightness(lcdBrightness() - 1, true);
        update();
    } else if (increaseArea().contains(point)) {
        setLcdBrightness(lcdBrightness() + 1, true);
        update();
    } else if (saveArea().contains(point)) {
        Fram::getInstance()->makeSound(StepSound);
        KLcd::getInstance()->setLcdBrightness(TopLevel, true);
        Q_EMIT exitSignal();
    }
}

void BrightnessInterface::mousePressEvent(QMouseEvent *event)
{
    // One repeat per finger: a press that arrives without a release replaces the old one.
    stopRepeat();
    timerId = startTimer(RepeatInterval);
    pressPoint = event->pos();
    handleMousePressed(pressPoint);
    QWidget::mousePressEvent(event);
}

void BrightnessInterface::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == timerId)
        handleMousePressed(pressPoint);
    QWidget::timerEvent(event);
}

void BrightnessInterface::mouseReleaseEvent(QMouseEvent *event)
{
    stopRepeat();
    pressPoint = QPoint(-1, -1);
    QWidget::mouseReleaseEvent(event);
}

void BrightnessInterface::hideEvent(QHideEvent *event)
{
    // A page that is no longer shown never sees the release; its repeat must not go on
    // saving and leaving behind the next screen.
    stopRepeat();
    QWidget::hideEvent(event);
}

void BrightnessInterface::stopRepeat()
{
    if (timerId != -1)
        killTimer(timerId);
    timerId = -1;
}

void BrightnessInterface::paintEvent(QPaintEvent *event)
{
    const QRect r = rect();
    const int right = r.right() - r.left();
    const int bottom = r.bottom() - r.top();

    QPainter painter(this);
    painter.fillRect(decreaseArea(), Qt::black);
    painter.fillRect(increaseArea(), Qt::black);
    painter.setPen(Qt::white);
    painter.drawLine(QPoint(right / 2, 0), QPoint(right / 2, bottom / 2));

    QLinearGradient gradient(QPointF(0, 0), QPointF(right, 0));
    gradient.setColorAt(0, Qt::white);
    gradient.setColorAt(1, Qt::black);
    painter.fillRect(saveArea(), gradient);

    painter.drawText(decreaseArea(), Qt::AlignCenter, tr("Decrease Brightness"));
    painter.drawText(increaseArea(), Qt::AlignCenter, tr("Increase Brightness"));
    painter.drawText(r, Qt::AlignCenter, tr("Brightness= %1").arg(lcdBrightness()));
    painter.drawText(saveArea(), Qt::AlignCenter, tr("Save brightness"));
    painter.end();
    QWidget::paintEvent(event);
}
