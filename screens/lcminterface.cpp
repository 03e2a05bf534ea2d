#include "lcminterface.h"

#include "common/functionbutton.h"
#include "common/qtcompat.h"
#include "common/stackwidgetinterface.h"
#include "services/fram.h"

#include <QPainter>

LcmInterface::LcmInterface(QWidget *parent) : QWidget(parent)
{
    direction = Vertical;
    init();
}

void LcmInterface::init()
{
    initColorRects();
    continueButton = new FunctionButton(tr("Continue"));
    connect(continueButton, &QPushButton::clicked, this, &LcmInterface::continueButtonClicked);
    layOutContinuePage(this, continueButton);
}

void LcmInterface::initColorRects()
{
    const QRect screen = screenGeometry();
    const int right = screen.right() - screen.left(); // W - 1
    const int bottom = screen.bottom() - screen.top(); // H - 1
    const int W = right + 1;
    const int H = bottom + 1;

    colorList.clear();
    colorList << QColor(Qt::white) << QColor(Qt::yellow) << QColor(255, 0, 255, 255)
              << QColor(Qt::red) << QColor(0, 255, 255, 255) << QColor(Qt::green)
              << QColor(Qt::blue) << QColor(Qt::gray);
    // kept: the darker shades stop before the last entry present, so gray has none.
    const int shaded = colorList.size() - 1;
    for (int i = 0; i < shaded; ++i)
        colorList << colorList.at(i).darker(200);
    colorList << QColor(Qt::black);

    const int n = colorList.size();
    // kept: bars and bands are laid from the far edge minus one pixel, so the right-most
    // column and bottom row stay unpainted and the last bar starts one pixel off screen.
    const int barWidth = W / n;
    verticalRects.clear();
    for (int i = 0; i < n; ++i) {
        const int left = right - (i + 1) * barWidth;
        verticalRects << QRect(QPoint(left, 0), QPoint(left + barWidth - 1, bottom));
    }
    const int bandHeight = H / n;
    horizontalRects.clear();
    for (int i = 0; i < n; ++i) {
        const int top = bottom - (i + 1) * bandHeight;
        horizontalRects << QRect(QPoint(0, top), QPoint(right, top + bandHeight - 1));
    }
}

void LcmInterface::setColorDirection(const ColorDirection &value)
{
    if (value == direction)
        return;
    direction = value;
    update();
}

QRect LcmInterface::currentColorRects(int index) const
{
    const QList<QRect> &rects = direction == Vertical ? verticalRects : horizontalRects;
    if (index < 0 || index >= rects.size())
        return QRect();
    return rects.at(index);
}

void LcmInterface::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    for (int i = 0; i < colorList.size(); ++i)
        painter.fillRect(currentColorRects(i), colorList.at(i));
    painter.end();
    QWidget::paintEvent(event);
}

void LcmInterface::continueButtonClicked()
{
    Fram::getInstance()->makeSound(2);
    // kept: nothing turns the bars back, so a second visit starts on the bands.
    if (direction == Vertical) {
        direction = Horizontal;
        update();
    } else {
        Q_EMIT exitSignal();
    }
}
