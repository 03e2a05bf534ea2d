#include "hexkeyboard.h"

#include "input/inputpanelinterface.h"

#include <QPainter>
#include <QPixmap>
#include <QVBoxLayout>

HexKeyboard::HexKeyboard(QWidget *parent) : QWidget(parent)
{
    panel = new InputPanelInterface(InputPanelInterface::Hexadecimal, this);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(panel);
}

void HexKeyboard::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    const QPixmap background = QPixmap(QStringLiteral(":/img/inputpanelBG.png"))
                                   .scaled(panel->width() + 20, panel->height() + 20,
                                       Qt::IgnoreAspectRatio, Qt::FastTransformation);
    const int x = (width() - background.width()) / 2 + 10;
    const int y = (height() - background.height()) / 2 + 10;
    painter.drawPixmap(QPointF(x, y), background);
    painter.end();
    QWidget::paintEvent(event);
}
