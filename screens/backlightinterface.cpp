#include "backlightinterface.h"

#include "common/functionbutton.h"
#include "common/stackwidgetinterface.h"
#include "services/fram.h"
#include "services/klcd.h"

#include <QPainter>
#include <QTimerEvent>

namespace {
constexpr int BlinkPeriod = 500;
constexpr int FullBrightness = 20;
} // namespace

BacklightInterface::BacklightInterface(QWidget *parent) : QWidget(parent)
{
    auto *button = new FunctionButton(tr("Continue"));
    button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(button, &QPushButton::clicked, this, &BacklightInterface::continueButtonClicked);
    layOutContinuePage(this, button);
}

void BacklightInterface::runTimer()
{
    timerId = startTimer(BlinkPeriod);
}

void BacklightInterface::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != timerId)
        return;
    KLcd *lcd = KLcd::getInstance();
    lcd->setLcdBrightness(lcd->getLcdBrightness() > 0 ? 0 : FullBrightness, true);
}

void BacklightInterface::continueButtonClicked()
{
    Fram::getInstance()->makeSound(2);
    KLcd::getInstance()->setLcdBrightness(FullBrightness, true);
    killTimer(timerId);
    Q_EMIT exitSignal();
}

void BacklightInterface::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    painter.setPen(Qt::white);
    painter.drawText(rect(), Qt::AlignCenter, tr("Backlight ON/OFF test"));
    QWidget::paintEvent(event);
}
