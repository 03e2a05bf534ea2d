#include "benchtest.h"

#include "common/functionbutton.h"
#include "common/functionkeys.h"
#include "common/panelmodel.h"
#include "common/portnames.h"
#include "common/qtcompat.h"
#include "services/fram.h"

#include "backlightinterface.h"
#include "batterypowerinterface.h"
#include "burnintestinterface.h"
#include "communicationtest.h"
#include "errordevicelistinterface.h"
#include "functiontestinterface.h"
#include "testerinterface.h"

#include <QBoxLayout>
#include <QDebug>
#include <QFile>
#include <QStackedWidget>
#include <QTimer>

#include <cstdlib>

namespace {
const QString BenchTestStartKey = QStringLiteral("Bench Test Start");
const QString ErrorDeviceListKey = QStringLiteral("Error Device List");
const QString CalibrationBackup = QStringLiteral("/brimdale/configs/tspointercal.lastgood");

enum Mode : unsigned int {
    BenchMode = 0,
    MenuMode = 1,
    BurnInMode = 0x101,
    SlaveTesterMode = 0x111,
};

void runShell(const char *command)
{
    // Results are not checked: a unit whose network or files cannot be set up shows it in
    // the tests that follow.
    const int status = std::system(command);
    Q_UNUSED(status);
}
} // namespace

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

    const unsigned int dip = dipSwitchValue();
    if (dip == BurnInMode) {
        initBurninTestPage();
    } else if (dip < 2) {
        runShell("ifconfig eth0 192.168.90.69");
        runShell("route add default gw 192.168.90.1");
        initBenchTestPages();
    } else if (dip == SlaveTesterMode) {
        runShell("ifconfig eth0 192.168.90.89");
        runShell("route add default gw 192.168.90.1");
        initTesterPage();
    }
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
    if (dipSwitchValue() == BenchMode)
        communicationTest->setTransferLimit(qint16(QStringLiteral("0EA0").toInt(nullptr, 16)));
    communicationPageIndex = stackedWidget->addWidget(communicationTest);
    connect(
        communicationTest, &CommunicationTest::transferStop, this, &BenchTest::communicationStop);
    connect(
        communicationTest, &CommunicationTest::errorMessage, this, &BenchTest::errorMessageUpdate);
    // Blank until the MAC screen lands (mac/).
    macPageIndex = stackedWidget->addWidget(new QWidget);
    // Blank until the USB test lands (usb/).
    usbPageIndex = stackedWidget->addWidget(new QWidget);
    // Blank until the brightness screen lands (screens/).
    brightnessPageIndex = stackedWidget->addWidget(new QWidget);

    backlightInterface = new BacklightInterface;
    backlightPageIndex = stackedWidget->addWidget(backlightInterface);
    connect(backlightInterface, &BacklightInterface::exitSignal, this, &BenchTest::nextStage);

    batteryPowerInterface = new BatteryPowerInterface;
    batteryPageIndex = stackedWidget->addWidget(batteryPowerInterface);

    // Blank until the LCM, key and LED, clock, calibration and DIP switch screens land.
    lcmPageIndex = stackedWidget->addWidget(new QWidget);
    keyAndLedPageIndex = stackedWidget->addWidget(new QWidget);
    rtcPageIndex = stackedWidget->addWidget(new QWidget);
    calibrationPageIndex = stackedWidget->addWidget(new QWidget);
    dipSwitchPageIndex = stackedWidget->addWidget(new QWidget);
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
    const unsigned int dip = dipSwitchValue();
    if (dip != BenchMode && dip != MenuMode && dip != BurnInMode && dip != SlaveTesterMode) {
        qDebug() << "Unknown Dip Switch Value!";
        return;
    }
    const bool built = dip == BurnInMode ? burninPageIndex >= 0
        : dip == SlaveTesterMode         ? testerPageIndex >= 0
                                         : functionTestPageIndex >= 0;
    if (!built) {
        qDebug() << "DIP switches changed since power-on; restart the unit to change mode";
        return;
    }

    switch (dip) {
    case MenuMode:
        runFunctionTest();
        break;
    case BurnInMode:
        runBurnInTest();
        break;
    case SlaveTesterMode:
        runTester();
        break;
    default: {
        // A screen that signals twice must not skip a stage; the communication and USB pages
        // are exempt because "Next" is the sender there every time.
        const int current = stackedWidget->currentIndex();
        if (s && s == lastSender && current != communicationPageIndex && current != usbPageIndex) {
            lastSender = s;
            return;
        }
        runBenchTest();
        lastSender = s;
        break;
    }
    }
}

void BenchTest::runBenchTest()
{
    ++currentStage;
    callFunction(benchTestSequence.value(currentStage, ErrorDeviceListKey));
}

void BenchTest::startCommunication(const QString &port, device_type kind, bool runNow)
{
    if (!communicationTest)
        return;
    communicationTest->createInterface(port, kind);
    if (runNow)
        communicationTest->run();
}

void BenchTest::callFunction(QString key)
{
    if (key == TouchPanelFunction) {
        showPage(calibrationPageIndex);
    } else if (key == BrightnessFunction) {
        showPage(brightnessPageIndex);
    } else if (key == DateTimeFunction) {
        showPage(rtcPageIndex);
    } else if (key == BatteryPowerFunction) {
        showPage(batteryPageIndex);
    } else if (key == BacklightFunction) {
        showPage(backlightPageIndex);
        backlightInterface->runTimer();
    } else if (key == LcmFunction) {
        showPage(lcmPageIndex);
    } else if (key == KeyAndLedFunction) {
        showPage(keyAndLedPageIndex);
    } else if (key == DipSwitchesFunction) {
        showPage(dipSwitchPageIndex);
    } else if (key == EthernetFunction) {
        showPage(communicationPageIndex);
        startCommunication(IPANDPORT, Ethernet, true);
    } else if (key == Com1RS232Function) {
        showPage(communicationPageIndex);
        // The first serial test of a bench walk waits for the worker to press "Start".
        const bool gate = dipSwitchValue() == BenchMode && waitForStart;
        startCommunication(COMPORT1, RS232, !gate);
        if (gate)
            showPopup(startButton);
    } else if (key == Com1RS422Function) {
        showPage(communicationPageIndex);
        startCommunication(COMPORT1, RS422, true);
    } else if (key == Com1RS485Function) {
        showPage(communicationPageIndex);
        startCommunication(COMPORT1, RS485, true);
    } else if (key == Com2RS232Function) {
        showPage(communicationPageIndex);
        startCommunication(COMPORT2, RS232, true);
    } else if (key == Com2RS422Function) {
        showPage(communicationPageIndex);
        startCommunication(COMPORT2, RS422, true);
    } else if (key == Com2RS485Function) {
        showPage(communicationPageIndex);
        startCommunication(COMPORT2, RS485, true);
    } else if (key == Com3RS232Function) {
        showPage(communicationPageIndex);
        startCommunication(COMPORT3, RS232, true);
    } else if (key == Com3RS485Function) {
        showPage(communicationPageIndex);
        startCommunication(COMPORT3, RS485, true);
    } else if (key == WhiteScreenFunction) {
        // Accepted and ignored.
    } else if (key == UsbHostFunction) {
        showPage(usbPageIndex);
    } else if (key == UsbDeviceFunction) {
        showPage(usbPageIndex);
    } else if (key == MACFunction) {
        showPage(macPageIndex);
    } else if (key == BenchTestStartKey) {
        showPage(startPageIndex);
        QTimer::singleShot(200, this, &BenchTest::nextStage);
    } else if (key == ErrorDeviceListKey) {
        showPage(errorListPageIndex);
    } else {
        qDebug() << "Unknown name:" << key;
    }
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
    if (dipSwitchValue() == MenuMode)
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
    // The communication test repeats with the port configured last. The USB test repeats
    // once its screen lands (usb/).
    if (communicationTest && stackedWidget->currentIndex() == communicationPageIndex)
        communicationTest->run();
}

void BenchTest::errorMessageUpdate(QString device, QString result)
{
    // Only the bench and menu modes have the list; a stray report elsewhere is dropped.
    if (errorDeviceList)
        errorDeviceList->updateDeviceStatus(device, result);
}

void BenchTest::inputMAC()
{
    callFunction(MACFunction);
}
