#include "keyandledinterface.h"

#include "common/functionbutton.h"
#include "common/panelmodel.h"
#include "services/fram.h"

#include <QPainter>
#include <QSocketNotifier>

#include <cstdio>
#include <cstdlib>

int g_toogleState = 0;

namespace {
constexpr quint16 MenuKeyCode = 30;
constexpr int PressesNeeded = 3;
const char DefaultKeyDevice[] = "/dev/input/event1";
} // namespace

KeyAndLedInterface::KeyAndLedInterface(QWidget *parent) : StackWidgetInterface(parent)
{
    init();
}

KeyAndLedInterface::~KeyAndLedInterface()
{
    delete notifier;
    if (keyFd > 0) {
        closeKeyDevice(keyFd);
        keyFd = 0;
    }
}

void KeyAndLedInterface::init()
{
    continueButton->hide();

    const char *path = std::getenv("BD_HOMEKEY");
    if (!path) {
        std::puts("BD_HOMEKEY not found use default:/dev/input/event1");
        std::fflush(stdout);
        path = DefaultKeyDevice;
    }
    // A missing device only means no key presses arrive; the worker sees nothing about it.
    keyFd = openKeyDevice(path);
    if (keyFd >= 0) {
        // kept: without the grab the screen gives up before the 4-inch shortcut below.
        if (!grabKeyDevice(keyFd))
            return;
        notifier = new QSocketNotifier(keyFd, QSocketNotifier::Read, this);
        connect(notifier, &QSocketNotifier::activated, this, &KeyAndLedInterface::readKeyData);
    }

    // The 4-inch unit does not require the presses.
    if (PanelModel::isFourInch(Fram::getInstance()->getMonitorModel()))
        continueButton->show();
}

QString KeyAndLedInterface::hintText() const
{
    return tr("LED and menu test.\nPlease press the menu key three times.");
}

void KeyAndLedInterface::countPress()
{
    if (toggleMode) {
        g_toogleState = g_toogleState ? 0 : 1;
        return;
    }
    Fram::getInstance()->makeSound(2);
    ++pressCount;
    if (pressCount >= PressesNeeded) {
        continueButton->show();
        update();
    }
}

void KeyAndLedInterface::readKeyData()
{
    input_event event;
    // The device is non-blocking: the first short read means it is drained.
    while (keyFd != 0 && readKeyDevice(keyFd, &event) == int(sizeof(input_event))) {
        // A press (1) or an auto-repeat (2) of the menu key counts; releases never do.
        if (event.code == MenuKeyCode && event.value != 0)
            countPress();
    }
}

void KeyAndLedInterface::processHomekey(input_event *e)
{
    // kept: the code is not looked at here.
    if (e->value == 0)
        return;
    countPress();
}

void KeyAndLedInterface::continueButtonClicked()
{
    Fram::getInstance()->makeSound(2);
    continueButton->hide();
    pressCount = 0;
    Q_EMIT exitSignal();
}

void KeyAndLedInterface::reset()
{
    continueButton->hide();
    pressCount = 0;
}

void KeyAndLedInterface::paintEvent(QPaintEvent *event)
{
    StackWidgetInterface::paintEvent(event);
    QPainter painter(this);
    painter.setPen(Qt::white);
    painter.drawText(rect(), Qt::AlignCenter, hintText());
}
