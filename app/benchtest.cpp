#include "benchtest.h"

#include "common/functionbutton.h"
#include "common/functionkeys.h"
#include "common/panelmodel.h"
#include "common/portnames.h"
#include "common/qtcompat.h"
#include "common/shell.h"
#include "common/unitrecord.h"
#include "services/fram.h"

#include "calibration/caliinterface.h"
#include "comm/burnintestinterface.h"
#include "comm/communicationtest.h"
#include "comm/errordevicelistinterface.h"
#include "comm/testerinterface.h"
#include "mac/macaddresswidget.h"
#include "menu/functiontestinterface.h"
#include "screens/backlightinterface.h"
#include "screens/batterypowerinterface.h"
#include "screens/brightnessinterface.h"
#include "screens/dipswitchinterface.h"
#include "screens/keyandledinterface.h"
#include "screens/lcminterface.h"
#include "screens/rtcinterface.h"
#include "usb/usbhostdevicetest.h"

#include <QBoxLayout>
#include <QDebug>
#include <QFile>
#include <QStackedWidget>
#include <QTimer>

#include <functional>

namespace {
const QString BenchTestStartKey = QStringLiteral("Bench Test Start");
const QString ErrorDeviceListKey = QStringLiteral("Error Device List");
const QString CalibrationBackup = QStringLiteral("/brimdale/configs/tspointercal.lastgood");

} // namespace

// What callFunction() does for one function key: show the key's page (none when page is
// null), then run start (nothing more when empty).
struct BenchTest::KeyAction {
    QString key;
    int BenchTest::*page;
    std::function<void(BenchTest &)> start;
};

BenchTest::BenchTest(QWidget *parent) : QWidget(parent)
{
    // The parameters are written back unchanged at every start.
    Fram *fram = Fram::getInstance();
    fram->load_param();
    fram->save_param();
    fram->setBuzzerEnable(true);
    initStackWidget();
    initPopupButtons();
    nextStage();
    restoreCalibration();
}

BenchTest::~BenchTest()
{
    delete startButton;
    delete againButton;
    delete nextButton;
}

unsigned int BenchTest::dipSwitchValue() const
{
    return Fram::getInstance()->getDSWVal();
}

BenchTest::Mode BenchTest::modeOf(unsigned int dipValue)
{
    // One switch per hexadecimal digit: SW4 alone is the menu, SW2 and SW4 the burn-in,
    // SW2, SW3 and SW4 the slave tester.
    switch (dipValue) {
    case 0:
        return Mode::Bench;
    case 1:
        return Mode::Menu;
    case 0x101:
        return Mode::BurnIn;
    case 0x111:
        return Mode::SlaveTester;
    default:
        return Mode::Unknown;
    }
}

FunctionButton *BenchTest::popup(Popup which) const
{
    switch (which) {
    case Popup::Start:
        return startButton;
    case Popup::Again:
        return againButton;
    case Popup::Next:
        return nextButton;
    }
    return nullptr;
}

int BenchTest::pageOf(const QString &key) const
{
    const KeyAction *action = actionFor(key);
    return action && action->page ? this->*action->page : -1;
}

void BenchTest::initStackWidget()
{
    stackedWidget = new QStackedWidget;
    auto *layout = new QHBoxLayout;
    layout->setSpacing(0);
    layout->setContentsMargins(0, 0, 0, 0);
    // The window is the whole screen and no larger: a page whose layout wants more height
    // (the "Continue" pages size their spacers before they are shown) must not push every
    // other page past the bottom of a small panel.
    layout->setSizeConstraint(QLayout::SetNoConstraint);
    layout->addWidget(stackedWidget);
    setLayout(layout);

    // The network set-up commands run, in their order, while the pages are built, and have
    // run before the mode starts: no page uses the network while it is being built.
    switch (modeOf(dipSwitchValue())) {
    case Mode::BurnIn:
        initBurninTestPage();
        break;
    case Mode::Bench:
    case Mode::Menu: {
        const BackgroundShell network { "ifconfig eth0 192.168.90.69",
            "route add default gw 192.168.90.1" };
        // The run line opens this run's lines, before any screen can record one.
        if (!UnitRecord::startRun(UnitRecord::newRunId(), Fram::getInstance()->getMonitorModel(),
                screenGeometry().size(), dipSwitchValue(), MacAddressWidget::framMac()))
            qDebug() << "unit record:" << UnitRecord::lastError();
        initBenchTestPages();
        break;
    }
    case Mode::SlaveTester: {
        const BackgroundShell network { "ifconfig eth0 192.168.90.89",
            "route add default gw 192.168.90.1" };
        initTesterPage();
        break;
    }
    case Mode::Unknown:
        break;
    }
}

template <typename Screen> void BenchTest::addPage(Screen *&screen, int &index)
{
    screen = new Screen;
    index = stackedWidget->addWidget(screen);
}

// A screen of the walk: leaving it moves the sequence on.
template <typename Screen> void BenchTest::addStagePage(Screen *&screen, int &index)
{
    addPage(screen, index);
    connect(screen, &Screen::exitSignal, this, &BenchTest::nextStage);
}

void BenchTest::initBenchTestPages()
{
    startPageIndex = stackedWidget->addWidget(new QWidget);

    auto *functionTest = new FunctionTestInterface;
    functionTestPageIndex = stackedWidget->addWidget(functionTest);
    connect(functionTest, &FunctionTestInterface::functionButtonClicked, this,
        &BenchTest::callFunction);

    sparePageIndex = stackedWidget->addWidget(new QWidget);

    communicationTest = new CommunicationTest;
    // On the bench a serial or Ethernet test ends after this many bytes; elsewhere it runs on.
    if (modeOf(dipSwitchValue()) == Mode::Bench)
        communicationTest->setTransferLimit(qint16(QStringLiteral("0EA0").toInt(nullptr, 16)));
    communicationPageIndex = stackedWidget->addWidget(communicationTest);
    connect(
        communicationTest, &CommunicationTest::transferStop, this, &BenchTest::communicationStop);
    connect(
        communicationTest, &CommunicationTest::errorMessage, this, &BenchTest::errorMessageUpdate);
    macAddressWidget = new MacAddressWidget;
    macPageIndex = stackedWidget->addWidget(macAddressWidget);
    usbTest = new USBHostDeviceTest;
    usbPageIndex = stackedWidget->addWidget(usbTest);
    // The gadget is loaded once here; "Again" loads it again before each repeat.
    usbTest->insertUSBDeviceModule();
    connect(usbTest, &USBHostDeviceTest::transferStop, this, &BenchTest::communicationStop);
    connect(usbTest, &USBHostDeviceTest::errorMessage, this, &BenchTest::errorMessageUpdate);
    addStagePage(brightnessInterface, brightnessPageIndex);
    addStagePage(backlightInterface, backlightPageIndex);
    // The battery screen has no way back on its own.
    addPage(batteryPowerInterface, batteryPageIndex);
    addStagePage(lcmInterface, lcmPageIndex);
    addStagePage(keyAndLedInterface, keyAndLedPageIndex);
    addStagePage(rtcInterface, rtcPageIndex);
    addStagePage(calibrationInterface, calibrationPageIndex);
    addStagePage(dipSwitchInterface, dipSwitchPageIndex);

    errorDeviceList = new ErrorDeviceListInterface;
    errorListPageIndex = stackedWidget->addWidget(errorDeviceList);
    connect(errorDeviceList, &ErrorDeviceListInterface::exitSignal, this, &BenchTest::inputMAC);

    initBenchTestSequence();
}

void BenchTest::initBenchTestSequence()
{
    benchTestSequence.insert(0, BenchTestStartKey);

    QStringList stages;
    if (PanelModel::isFourInch(Fram::getInstance()->getMonitorModel())) {
        // The small panel: no key and LED, COM1 only.
        stages = QStringList { TouchPanelFunction, BrightnessFunction, DateTimeFunction,
            BacklightFunction, DipSwitchesFunction, Com1RS232Function, Com1RS422Function,
            Com1RS485Function, EthernetFunction, UsbDeviceFunction };
    } else {
        stages = QStringList { TouchPanelFunction, BrightnessFunction, DateTimeFunction,
            BacklightFunction, KeyAndLedFunction, DipSwitchesFunction, Com1RS232Function,
            Com1RS422Function, Com1RS485Function, Com2RS232Function, Com2RS422Function,
            Com2RS485Function, Com3RS232Function, Com3RS485Function, EthernetFunction,
            UsbDeviceFunction };
    }
    for (int i = 0; i < stages.size(); ++i)
        benchTestSequence.insert(i + 1, stages.at(i));

    benchTestSequence.insert(99, ErrorDeviceListKey);
}

void BenchTest::initPopupButtons()
{
    const QRect screen = screenGeometry();
    const int W = screen.width();
    const int H = screen.height();

    startButton = new FunctionButton(tr("Start"));
    startButton->setWindowFlags(
        startButton->windowFlags() | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    connect(startButton, &QPushButton::clicked, this, &BenchTest::startButtonClicked);
    startButton->move(
        (W - 1) / 2 - startButton->width() / 2, (H - 1) / 2 - startButton->height() / 2);
    startButton->hide();

    againButton = new FunctionButton(tr("Again"));
    againButton->setWindowFlags(
        againButton->windowFlags() | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    connect(againButton, &QPushButton::clicked, this, &BenchTest::rerun);
    againButton->hide();

    nextButton = new FunctionButton(tr("Next"));
    nextButton->setObjectName(QStringLiteral("nextbutton"));
    nextButton->setWindowFlags(
        nextButton->windowFlags() | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    connect(nextButton, &QPushButton::clicked, this, &BenchTest::nextStage);
    nextButton->hide();

    // Outside their rounded frame the buttons show the page under them, not a window's white.
    for (QWidget *button : { startButton, againButton, nextButton })
        button->setAttribute(Qt::WA_TranslucentBackground);

    againButton->move((W - 1) / 2 - againButton->width() - 10, (H / 3) * 2);
    nextButton->move((W - 1) / 2 + 10, (H / 3) * 2);
}

void BenchTest::hidePopupButtons()
{
    againButton->hide();
    nextButton->hide();
}

void BenchTest::showPopup(QWidget *button)
{
    // The buttons are windows of their own over the full-screen widget.
    button->show();
    button->raise();
}

void BenchTest::restoreCalibration()
{
    // A backup left behind means a calibration was interrupted: put the last good one back.
    if (!QFile::exists(CalibrationBackup))
        return;
    runShell("rm /brimdale/configs/tspointercal");
    runShell("cp /brimdale/configs/tspointercal.lastgood /brimdale/configs/tspointercal");
    runShell("rm /brimdale/configs/tspointercal.lastgood");
}

void BenchTest::initTesterPage()
{
    testerInterface = new TesterInterface;
    testerPageIndex = stackedWidget->addWidget(testerInterface);
}

void BenchTest::initBurninTestPage()
{
    burninTestInterface = new BurninTestInterface;
    burninPageIndex = stackedWidget->addWidget(burninTestInterface);
}

void BenchTest::runTester()
{
    showPage(testerPageIndex);
    if (testerInterface)
        testerInterface->run();
}

void BenchTest::runBurnInTest()
{
    showPage(burninPageIndex);
    if (burninTestInterface)
        burninTestInterface->run();
}

void BenchTest::runFunctionTest()
{
    showPage(functionTestPageIndex);
}

void BenchTest::showPage(int index)
{
    if (index >= 0)
        stackedWidget->setCurrentIndex(index);
}

void BenchTest::nextStage()
{
    QObject *s = sender();
    if (s && s->objectName() == QLatin1String("nextbutton"))
        Fram::getInstance()->makeSound(2);
    againButton->hide();
    nextButton->hide();

    // The DIP value is read again on every call; the pages, though, are those of the mode
    // chosen at power-on.
    const Mode mode = modeOf(dipSwitchValue());
    if (mode == Mode::Unknown) {
        qDebug() << "Unknown Dip Switch Value!";
        return;
    }
    const int modePage = mode == Mode::BurnIn ? burninPageIndex
        : mode == Mode::SlaveTester           ? testerPageIndex
                                              : functionTestPageIndex;
    if (modePage < 0) {
        qDebug() << "DIP switches changed since power-on; restart the unit to change mode";
        return;
    }

    switch (mode) {
    case Mode::Menu:
        runFunctionTest();
        break;
    case Mode::BurnIn:
        runBurnInTest();
        break;
    case Mode::SlaveTester:
        runTester();
        break;
    case Mode::Bench: {
        // A screen that signals twice must not skip a stage; the communication and USB pages
        // are exempt because "Next" is the sender there every time.
        const int current = stackedWidget->currentIndex();
        if (s && s == lastSender && current != communicationPageIndex && current != usbPageIndex) {
            lastSender = s;
            return;
        }
        recordStageLeft();
        runBenchTest();
        lastSender = s;
        break;
    }
    case Mode::Unknown:
        break;
    }
}

void BenchTest::runBenchTest()
{
    ++currentStage;
    const QString key = benchTestSequence.value(currentStage, ErrorDeviceListKey);
    if (key == ErrorDeviceListKey && errorDeviceList) {
        // Below the heading's two lines, one line per failed device.
        const int failed = int(errorDeviceList->listText().count(QLatin1Char('\n'))) - 2;
        record(QStringLiteral("outcome"), QStringLiteral("error list"),
            failed > 0 ? QStringLiteral("%1 failed").arg(failed) : QStringLiteral("all passed"));
    }
    callFunction(key);
}

void BenchTest::recordStageLeft()
{
    if (currentStage < 1 || !benchTestSequence.contains(currentStage)
        || currentStage == benchTestSequence.lastKey())
        return;
    record(QStringLiteral("stage"), benchTestSequence.value(currentStage),
        stageVerdict.isEmpty() ? QStringLiteral("done") : stageVerdict);
    stageVerdict.clear();
}

void BenchTest::record(const QString &kind, const QString &name, const QString &result)
{
    // The screens go on whatever happens to the record; only the MAC screen, the last word
    // on a unit, tells the worker when it could not be written.
    if (!UnitRecord::append(kind, name, result))
        qDebug() << "unit record:" << UnitRecord::lastError();
}

void BenchTest::startCommunication(const QString &port, device_type kind, bool runNow)
{
    if (!communicationTest)
        return;
    communicationTest->createInterface(port, kind);
    if (runNow)
        communicationTest->run();
}

// The dispatch table, one line per function key, compared in this order. A screen that lands
// gives its key the call that starts it here; its page member is already in place.
const QList<BenchTest::KeyAction> &BenchTest::keyActions()
{
    const auto serial = [](const QString &port, device_type kind) {
        return [port, kind](BenchTest &b) { b.startCommunication(port, kind, true); };
    };
    // The first serial test of a bench walk waits for the worker to press "Start".
    const auto gatedSerial = [](const QString &port, device_type kind) {
        return [port, kind](BenchTest &b) {
            const bool gate = modeOf(b.dipSwitchValue()) == Mode::Bench && b.waitForStart;
            b.startCommunication(port, kind, !gate);
            if (gate)
                b.showPopup(b.startButton);
        };
    };
    static const QList<KeyAction> actions {
        { TouchPanelFunction, &BenchTest::calibrationPageIndex,
            [](BenchTest &b) { b.calibrationInterface->exec(); } },
        { BrightnessFunction, &BenchTest::brightnessPageIndex, {} },
        { DateTimeFunction, &BenchTest::rtcPageIndex, [](BenchTest &b) { b.rtcInterface->run(); } },
        { BatteryPowerFunction, &BenchTest::batteryPageIndex, {} },
        { BacklightFunction, &BenchTest::backlightPageIndex,
            [](BenchTest &b) { b.backlightInterface->runTimer(); } },
        { LcmFunction, &BenchTest::lcmPageIndex, {} },
        { KeyAndLedFunction, &BenchTest::keyAndLedPageIndex, {} },
        { DipSwitchesFunction, &BenchTest::dipSwitchPageIndex,
            [](BenchTest &b) {
                if (b.dipSwitchInterface)
                    b.dipSwitchInterface->run();
            } },
        { EthernetFunction, &BenchTest::communicationPageIndex, serial(IPANDPORT, Ethernet) },
        { Com1RS232Function, &BenchTest::communicationPageIndex, gatedSerial(COMPORT1, RS232) },
        { Com1RS422Function, &BenchTest::communicationPageIndex, serial(COMPORT1, RS422) },
        { Com1RS485Function, &BenchTest::communicationPageIndex, serial(COMPORT1, RS485) },
        { Com2RS232Function, &BenchTest::communicationPageIndex, serial(COMPORT2, RS232) },
        { Com2RS422Function, &BenchTest::communicationPageIndex, serial(COMPORT2, RS422) },
        { Com2RS485Function, &BenchTest::communicationPageIndex, serial(COMPORT2, RS485) },
        { Com3RS232Function, &BenchTest::communicationPageIndex, serial(COMPORT3, RS232) },
        { Com3RS485Function, &BenchTest::communicationPageIndex, serial(COMPORT3, RS485) },
        // Accepted and ignored.
        { WhiteScreenFunction, nullptr, {} },
        { UsbHostFunction, &BenchTest::usbPageIndex,
            [](BenchTest &b) { b.usbTest->runUSBHostTest(); } },
        { UsbDeviceFunction, &BenchTest::usbPageIndex,
            [](BenchTest &b) { b.usbTest->runUSBDeviceTest(); } },
        { MACFunction, &BenchTest::macPageIndex, [](BenchTest &b) { b.macAddressWidget->run(); } },
        { BenchTestStartKey, &BenchTest::startPageIndex,
            [](BenchTest &b) { QTimer::singleShot(200, &b, &BenchTest::nextStage); } },
        { ErrorDeviceListKey, &BenchTest::errorListPageIndex, {} },
    };
    return actions;
}

const BenchTest::KeyAction *BenchTest::actionFor(const QString &key)
{
    for (const KeyAction &action : keyActions()) {
        if (action.key == key)
            return &action;
    }
    return nullptr;
}

void BenchTest::callFunction(QString key)
{
    const KeyAction *action = actionFor(key);
    if (!action) {
        qDebug() << "Unknown name:" << key;
        return;
    }
    if (action->page)
        showPage(this->*action->page);
    if (action->start)
        action->start(*this);
}

void BenchTest::startButtonClicked()
{
    qDebug() << "startButtonClicked";
    if (communicationTest)
        communicationTest->run();
    startButton->hide();
    waitForStart = false;
}

QString BenchTest::nextTestName(int monitorModel, const QString &device, const QString &kind)
{
    const QString ethernet = QStringLiteral("Ethernet");
    if (device == ethernet)
        return QStringLiteral("USB");
    if (PanelModel::hasShortLists(monitorModel)) {
        // The small panels only know the COM1 kinds; the port is not looked at.
        if (kind == QLatin1String("RS232"))
            return QStringLiteral("RS422");
        if (kind == QLatin1String("RS422"))
            return QStringLiteral("RS485");
        if (kind == QLatin1String("RS485"))
            return ethernet;
        return QString();
    }
    if (device == COMPORT1 || device == COMPORT2) {
        if (kind == QLatin1String("RS232"))
            return QStringLiteral("RS422");
        if (kind == QLatin1String("RS422"))
            return QStringLiteral("RS485");
        if (kind == QLatin1String("RS485"))
            return QStringLiteral("RS232");
    } else if (device == COMPORT3) {
        if (kind == QLatin1String("RS232"))
            return QStringLiteral("RS485");
        if (kind == QLatin1String("RS485"))
            return ethernet;
    }
    return QString();
}

void BenchTest::communicationStop()
{
    if (modeOf(dipSwitchValue()) == Mode::Menu)
        return;
    QString kind;
    QString next;
    // The USB page leaves both texts empty.
    if (communicationTest && stackedWidget->currentIndex() == communicationPageIndex) {
        kind = communicationTest->currentSerial();
        next = nextTestName(
            Fram::getInstance()->getMonitorModel(), communicationTest->currentDevice(), kind);
    }
    againButton->setText(tr("Again %1").arg(kind));
    nextButton->setText(tr("Next %1").arg(next));
    showPopup(againButton);
    showPopup(nextButton);
}

void BenchTest::rerun()
{
    Fram::getInstance()->makeSound(2);
    againButton->hide();
    nextButton->hide();
    // The communication test repeats with the port configured last; "Again" on the USB page
    // always repeats the device test, with the gadget loaded afresh.
    if (communicationTest && stackedWidget->currentIndex() == communicationPageIndex) {
        communicationTest->run();
    } else if (usbTest && stackedWidget->currentIndex() == usbPageIndex) {
        usbTest->insertUSBDeviceModule();
        usbTest->runUSBDeviceTest();
    }
}

void BenchTest::errorMessageUpdate(QString device, QString result)
{
    // Only the bench and menu modes have the list; a stray report elsewhere is dropped.
    if (errorDeviceList)
        errorDeviceList->updateDeviceStatus(device, result);
    else
        return;
    record(QStringLiteral("result"), device, result);
    // The stage's verdict is its latest result: "Again" can put a failed stage right.
    stageVerdict
        = result == QLatin1String("ok!") ? QStringLiteral("passed") : QStringLiteral("failed");
}

void BenchTest::inputMAC()
{
    callFunction(MACFunction);
}
