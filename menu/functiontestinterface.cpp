#include "functiontestinterface.h"

#include "common/functionbutton.h"
#include "common/functionkeys.h"
#include "common/panelmodel.h"
#include "common/qtcompat.h"
#include "services/fram.h"

#include <QBoxLayout>
#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QSize>
#include <QStackedWidget>

namespace {
constexpr int Columns = 3;
constexpr int RowsPerPage = 3;
constexpr int ButtonsPerPage = Columns * RowsPerPage;
// "Prev" and "Next" of the paged menu.
const QSize PageButtonSize(90, 30);

QString pageText(int page, int pages)
{
    return QStringLiteral("<font color='white'>") + QStringLiteral(" %1/%2 ").arg(page).arg(pages)
        + QStringLiteral("</font>");
}
} // namespace

FunctionTestInterface::FunctionTestInterface(QWidget *parent) : QWidget(parent)
{
    init();
}

FunctionTestInterface::~FunctionTestInterface()
{
    // The buttons that no layout placed have no parent to delete them.
    for (FunctionButton *button : allButtons()) {
        if (!button->parent())
            delete button;
    }
}

QList<FunctionButton *> FunctionTestInterface::allButtons() const
{
    return { touchPanelButton, brightnessButton, dateTimeButton, batteryPowerButton,
        backlightButton, lcmButton, keyAndLedButton, dipSwitchesButton, ethernetButton,
        com1RS232Button, com1RS422Button, com1RS485Button, com2RS232Button, com2RS422Button,
        com2RS485Button, com3RS232Button, com3RS485Button, whiteScreenButton, usbHostButton,
        usbDeviceButton, exitButton, macButton };
}

void FunctionTestInterface::initButtons()
{
    auto make = [](const QString &text, const QString &key) {
        auto *button = new FunctionButton(text);
        button->setObjectName(key);
        return button;
    };
    touchPanelButton = make(tr("Touch panel"), TouchPanelFunction);
    brightnessButton = make(tr("Brightness"), BrightnessFunction);
    dateTimeButton = make(tr("Date and Time"), DateTimeFunction);
    batteryPowerButton = make(tr("Battery power"), BatteryPowerFunction);
    backlightButton = make(tr("Backlight"), BacklightFunction);
    lcmButton = make(tr("LCM"), LcmFunction);
    keyAndLedButton = make(tr("Key and LED"), KeyAndLedFunction);
    dipSwitchesButton = make(tr("Dip switches"), DipSwitchesFunction);
    ethernetButton = make(tr("Ethernet"), EthernetFunction);
    com1RS232Button = make(tr("COM1 RS232"), Com1RS232Function);
    com1RS422Button = make(tr("COM1 RS422"), Com1RS422Function);
    com1RS485Button = make(tr("COM1 RS485"), Com1RS485Function);
    com2RS232Button = make(tr("COM2 RS232"), Com2RS232Function);
    com2RS422Button = make(tr("COM2 RS422"), Com2RS422Function);
    com2RS485Button = make(tr("COM2 RS485"), Com2RS485Function);
    com3RS232Button = make(tr("COM3 RS232"), Com3RS232Function);
    com3RS485Button = make(tr("COM3 RS485"), Com3RS485Function);
    whiteScreenButton = make(tr("White Screen"), WhiteScreenFunction);
    usbHostButton = make(tr("USB host"), UsbHostFunction);
    usbDeviceButton = make(tr("USB device"), UsbDeviceFunction);
    exitButton = make(tr("Exit"), ExitFunction);
    macButton = make(tr("MAC"), MACFunction);

    for (QPushButton *button : buttons())
        connect(button, &QPushButton::clicked, this, &FunctionTestInterface::buttonClicked);
}

QList<QPushButton *> FunctionTestInterface::buttons()
{
    if (!buttonList.isEmpty())
        return buttonList;
    if (PanelModel::hasShortLists(Fram::getInstance()->getMonitorModel())) {
        // The small panels have one serial port and take the MAC from the keyboard.
        buttonList = { touchPanelButton, brightnessButton, dateTimeButton, batteryPowerButton,
            backlightButton, lcmButton, dipSwitchesButton, ethernetButton, com1RS232Button,
            com1RS422Button, com1RS485Button, usbHostButton, usbDeviceButton, macButton,
            exitButton };
    } else {
        buttonList = { touchPanelButton, brightnessButton, dateTimeButton, batteryPowerButton,
            backlightButton, lcmButton, keyAndLedButton, dipSwitchesButton, ethernetButton,
            com1RS232Button, com1RS422Button, com1RS485Button, com2RS232Button, com2RS422Button,
            com2RS485Button, com3RS232Button, com3RS485Button, whiteScreenButton, usbHostButton,
            usbDeviceButton, exitButton };
    }
    return buttonList;
}

void FunctionTestInterface::init()
{
    initButtons();
    const QRect screen = screenGeometry();
    if (PanelModel::isPagedMenuScreen(screen))
        layOutPaged(buttons());
    else
        layOutGrid(buttons());
}

// A list position is given its button only when another button follows it, so the last
// button of the list ("Exit") is never placed.
void FunctionTestInterface::layOutPaged(const QList<QPushButton *> &list)
{
    const int n = list.size();
    const int pages = (n + ButtonsPerPage - 1) / ButtonsPerPage;
    QPushButton *first = list.value(0);
    const QSize cellSize = first && first->minimumSize() == first->maximumSize()
        ? first->size()
        : (first ? first->sizeHint() : QSize());

    stackedWidget = new QStackedWidget;
    for (int page = 0; page < pages; ++page) {
        auto *pageWidget = new QWidget;
        auto *grid = new QGridLayout(pageWidget);
        for (int cell = 0; cell < ButtonsPerPage; ++cell) {
            const int i = page * ButtonsPerPage + cell;
            QWidget *item = nullptr;
            if (i + 1 < n) {
                item = list.at(i);
            } else {
                auto *filler = new QLabel;
                filler->setFixedSize(cellSize);
                item = filler;
            }
            grid->addWidget(item, cell / Columns, cell % Columns);
        }
        stackedWidget->addWidget(pageWidget);
    }

    auto *prev = new QPushButton(tr("Prev"));
    prev->setObjectName(QStringLiteral("prev"));
    prev->setMinimumHeight(30);
    auto *next = new QPushButton(tr("Next"));
    next->setObjectName(QStringLiteral("next"));
    next->setMinimumHeight(30);
    // Room around their words, and no taller than the row the small screen has left for them.
    for (QPushButton *button : { prev, next })
        button->setFixedSize(PageButtonSize);
    connect(prev, &QPushButton::clicked, this, &FunctionTestInterface::changePage);
    connect(next, &QPushButton::clicked, this, &FunctionTestInterface::changePage);

    pageLabel = new QLabel(pageText(1, pages));
    QFont labelFont = pageLabel->font();
    labelFont.setPixelSize(14);
    pageLabel->setFont(labelFont);
    pageLabel->setMinimumWidth(50);
    pageLabel->setAlignment(Qt::AlignCenter);

    auto *row = new QHBoxLayout;
    // Keeps the buttons' bottom edge off the screen's edge.
    row->setContentsMargins(0, 0, 0, 6);
    row->addStretch();
    row->addWidget(prev);
    row->addWidget(pageLabel);
    row->addWidget(next);
    row->addStretch();

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(stackedWidget);
    column->addLayout(row);
}

void FunctionTestInterface::layOutGrid(const QList<QPushButton *> &list)
{
    auto *grid = new QGridLayout(this);
    const int n = list.size();
    for (int i = 0; i + 1 < n; ++i)
        grid->addWidget(list.at(i), i / Columns, i % Columns);
}

void FunctionTestInterface::changePage()
{
    if (!stackedWidget || !pageLabel)
        return;
    const QString name = sender() ? sender()->objectName() : QString();
    int page = stackedWidget->currentIndex();
    if (name == QLatin1String("prev") && page > 0)
        --page;
    else if (name == QLatin1String("next") && page < stackedWidget->count() - 1)
        ++page;
    stackedWidget->setCurrentIndex(page);
    pageLabel->setText(pageText(page + 1, stackedWidget->count()));
}

void FunctionTestInterface::buttonClicked()
{
    if (sender())
        Q_EMIT functionButtonClicked(sender()->objectName());
}

void FunctionTestInterface::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    QWidget::paintEvent(event);
}
