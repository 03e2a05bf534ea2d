#include "errordevicelistinterface.h"

#include "common/functionbutton.h"
#include "common/qtcompat.h"

#include <QPainter>

namespace {
const QString Ok = QStringLiteral("ok!");
} // namespace

ErrorDeviceListInterface::ErrorDeviceListInterface(QWidget *parent) : QWidget(parent)
{
    heading = QStringLiteral("Error device lists\n")
        + QStringLiteral("=============================\n");

    QFont f = font();
    f.setPixelSize(16);
    setFont(f);

    nextButton = new FunctionButton(QStringLiteral("Next"), this);
    connect(nextButton, &QPushButton::clicked, this, &ErrorDeviceListInterface::exitSignal);
    nextButton->hide();

    // Both coordinates come from the screen height: that is where the panels have the button.
    const int screenHeight = screenGeometry().height();
    nextButton->move(
        (screenHeight - 1) / 2 - nextButton->width() / 2, (screenHeight - 1) - screenHeight / 4);
}

ErrorDeviceListInterface::~ErrorDeviceListInterface() = default;

void ErrorDeviceListInterface::updateDeviceStatus(const QString &device, const QString &result)
{
    results.insert(device, result);
    bool allGood = true;
    for (auto it = results.cbegin(); it != results.cend(); ++it) {
        if (it.value() != Ok)
            allGood = false;
    }
    nextButton->setVisible(allGood);
}

QString ErrorDeviceListInterface::listText() const
{
    QString text = heading;
    for (auto it = results.cbegin(); it != results.cend(); ++it) {
        if (it.value() != Ok)
            text += it.key() + QLatin1Char(' ') + it.value() + QLatin1Char('\n');
    }
    return text;
}

void ErrorDeviceListInterface::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.fillRect(QRect(QPoint(0, 0), QPoint(width() - 1, height() - 1)), Qt::black);
    painter.setPen(Qt::red);
    painter.drawText(QRect(QPoint(0, 30), QPoint(width() - 1, height() - 1)),
        Qt::AlignHCenter | Qt::AlignTop, listText());
    painter.end();
    QWidget::paintEvent(event);
}
