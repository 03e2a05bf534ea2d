#include "dipswitchinterface.h"

#include "common/qtcompat.h"
#include "services/fram.h"

#include <QPainter>
#include <QTimer>
#include <QTimerEvent>

namespace {
const QString HINT_STATE_1 = QStringLiteral("Set all dip switches ON");
const QString HINT_STATE_2 = QStringLiteral("Set all dip switches OFF");

constexpr int PollInterval = 100;
constexpr int ExitDelay = 100;
constexpr int AllOn = 0x1111;
constexpr int AllOff = 0;
constexpr int DipSound = 10;
// SW1 is the highest hexadecimal digit, SW4 the lowest.
constexpr unsigned int SwitchBits[4] = { 0x1000, 0x100, 0x10, 0x1 };
} // namespace

DipSwitchInterface::DipSwitchInterface(QWidget *parent) : QWidget(parent)
{
    hint = HINT_STATE_1;
}

void DipSwitchInterface::run()
{
    QFont widgetFont = font();
    widgetFont.setPixelSize(16);
    setFont(widgetFont);
    // A second start while polling keeps one poll, not two.
    if (timerId != -1)
        killTimer(timerId);
    timerId = startTimer(PollInterval);
    lastDipValue = int(Fram::getInstance()->getDSWVal());
    hint = HINT_STATE_1;
    initImages();
    initPostions();
    update();
}

void DipSwitchInterface::init()
{
    run();
}

void DipSwitchInterface::initImages()
{
    if (panelImage.isNull())
        panelImage.load(QStringLiteral(":/img/dip_panel.png"));
    if (setSwitchImage.isNull())
        setSwitchImage.load(QStringLiteral(":/img/dipIcon0.png"));
    if (clearSwitchImage.isNull())
        clearSwitchImage.load(QStringLiteral(":/img/dipIcon1.png"));
    if (onMarkerImage.isNull())
        onMarkerImage.load(QStringLiteral(":/img/dip_on_icon.png"));
}

void DipSwitchInterface::initPostions()
{
    const QSize screen = screenGeometry().size();
    const int W = screen.width();
    const int H = screen.height();
    const int pw = panelImage.width();
    const int ph = panelImage.height();
    const int iw = setSwitchImage.width();
    const int ih = setSwitchImage.height();

    panelPoint = QPoint((W - pw) / 2, (H - ph) / 2);
    switchPoints[0] = panelPoint + QPoint(18, 37);
    for (int i = 1; i < 4; ++i)
        switchPoints[i] = switchPoints[i - 1] + QPoint(iw + 19, 0);

    const int baseline = switchPoints[0].y() + ih + 16;
    labelPoints[0] = QPoint(switchPoints[0].x() - 3, baseline);
    labelPoints[1] = QPoint(switchPoints[0].x() + iw + 16, baseline);
    labelPoints[2] = QPoint(switchPoints[1].x() + iw + 16, baseline);
    labelPoints[3] = QPoint(switchPoints[3].x() - 3, baseline);

    onMarkerPoint = QPoint(switchPoints[3].x() - 3, switchPoints[3].y() - 32);
    hintRectangle = QRect(QPoint(0, panelPoint.y() + ph), QPoint(W - 1, panelPoint.y() + ph + 24));
}

void DipSwitchInterface::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == timerId)
        compareDipValue();
    QObject::timerEvent(event);
}

void DipSwitchInterface::compareDipValue()
{
    const int value = int(Fram::getInstance()->getDSWVal());
    if (value == lastDipValue)
        return;
    lastDipValue = value;
    if (value == AllOn && hint == HINT_STATE_1) {
        Fram::getInstance()->makeSound(DipSound);
        hint = HINT_STATE_2;
    } else if (value == AllOff && hint == HINT_STATE_2) {
        Fram::getInstance()->makeSound(DipSound);
        QTimer::singleShot(ExitDelay, this, &DipSwitchInterface::exit);
    }
    update();
}

void DipSwitchInterface::exit()
{
    if (timerId != -1)
        killTimer(timerId);
    timerId = -1;
    Q_EMIT exitSignal();
}

void DipSwitchInterface::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    painter.drawPixmap(panelPoint, panelImage);
    // The switches are drawn as they stand now, not as last compared.
    const unsigned int value = Fram::getInstance()->getDSWVal();
    for (int i = 0; i < 4; ++i)
        painter.drawPixmap(
            switchPoints[i], (value & SwitchBits[i]) ? setSwitchImage : clearSwitchImage);
    painter.drawPixmap(onMarkerPoint, onMarkerImage);
    painter.setPen(Qt::white);
    static const char *const labels[4] = { "SW1", "SW2", "SW3", "SW4" };
    for (int i = 0; i < 4; ++i)
        painter.drawText(labelPoints[i], QString::fromLatin1(labels[i]));
    painter.drawText(hintRectangle, Qt::AlignCenter, hint);
    painter.end();
    QWidget::paintEvent(event);
}
