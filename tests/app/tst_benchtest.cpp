// The main widget: modes by DIP value, pages, network set-up, calibration restore, popup
// buttons and the walk through the bench sequence. Runs only inside a virtual unit: it
// reconfigures eth0 and deletes files under /brimdale.
#include "app/benchtest.h"
#include "comm/communicationtest.h"
#include "common/functionbutton.h"
#include "common/functionkeys.h"
#include "common/portnames.h"
#include "menu/functiontestinterface.h"
#include "screens/backlightinterface.h"
#include "screens/batterypowerinterface.h"
#include "tests/support/testsupport.h"

#include "tests/support/calibrationtestsupport.h"

#include <QDir>
#include <QFile>
#include <QNetworkInterface>
#include <QScreen>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QTest>

using namespace TestSupport;

namespace {
const QString ShellLog = QStringLiteral("/tmp/shell.log");
const QString FakeBin = QStringLiteral("/tmp/fakebin");
const QString ConfigDir = QStringLiteral("/brimdale/configs");
// Stands for every communication key in expectedPage().
const QString ComPage = QStringLiteral("communication");

QStringList shellCommands()
{
    QFile file(ShellLog);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

bool hasDefaultRouteVia(const QString &gatewayHex)
{
    QFile file(QStringLiteral("/proc/net/route"));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const QStringList f = line.split(QLatin1Char('\t'), Qt::SkipEmptyParts);
        if (f.size() > 2 && f.at(0) == QLatin1String("eth0") && f.at(1) == QLatin1String("00000000")
            && f.at(2) == gatewayHex)
            return true;
    }
    return false;
}

QStringList eth0Addresses()
{
    QStringList result;
    for (const QNetworkAddressEntry &entry :
        QNetworkInterface::interfaceFromName(QStringLiteral("eth0")).addressEntries()) {
        if (entry.ip().protocol() == QAbstractSocket::IPv4Protocol)
            result << entry.ip().toString();
    }
    return result;
}

QString readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void writeFile(const QString &path, const QByteArray &data)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(data);
}
} // namespace

class TestBenchTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void networkSetUpBenchMode();
    void networkSetUpSlaveTester();
    void startServicesInOrder();
    void benchAndMenuBuildTheSamePages();
    void menuModeShowsTheMenu();
    void modeOfDipValue_data();
    void modeOfDipValue();
    void unknownDipValue_data();
    void unknownDipValue();
    void burnInBuildsNoBenchPages();
    void noCalibrationBackupRunsNothing();
    void calibrationBackupIsRestored();
    void popupButtons();
    void popupButtonsSmallScreen();
    void sequence_data();
    void sequence();
    void walkReachesErrorListAfterLastStage_data();
    void walkReachesErrorListAfterLastStage();
    void startGate();
    void startGateNotInMenuMode();
    void duplicateExitSignalIgnored();
    void nextButtonAdvancesWithClick();
    void againRepeatsWithoutMovingStage();
    void usbPageLabels();
    void communicationStopSilentInMenuMode();
    void nextTestName_data();
    void nextTestName();
    void whiteScreenDoesNothing();
    void unknownKeys_data();
    void unknownKeys();
    void strayErrorMessageDropped();
    void switchesFlippedWhileRunning();
    void againFiveTimesOnCom2Rs422();
    void largeModelNextLabels_data();
    void largeModelNextLabels();

private:
    QStackedWidget *stack(BenchTest &b) { return b.pages(); }
    int stage(BenchTest &b) { return b.stage(); }
    QMap<int, QString> sequenceOf(BenchTest &b) { return b.stages(); }
    FunctionButton *startButton(BenchTest &b) { return b.popup(BenchTest::Popup::Start); }
    FunctionButton *againButton(BenchTest &b) { return b.popup(BenchTest::Popup::Again); }
    FunctionButton *nextButton(BenchTest &b) { return b.popup(BenchTest::Popup::Next); }
    // The bench walk starts with the touch calibration, which waits for five touches.
    CalibrationTest::AutoToucher toucher;
    QStringList pageClasses(BenchTest &b);
};

void TestBenchTest::initTestCase()
{
    // Refuse to run anywhere but in a virtual unit.
    QVERIFY2(qEnvironmentVariable("BENCHTEST_SIM_DIR") == QLatin1String("/sim")
            && QDir(QStringLiteral("/sim")).exists(),
        "this test reconfigures eth0 and deletes files: run it in sim/virtual-unit");

    // Record every shell command the program runs, then let the real tool do its work.
    QVERIFY(QDir().mkpath(FakeBin));
    for (const QString &tool : { QStringLiteral("ifconfig"), QStringLiteral("route"),
             QStringLiteral("rm"), QStringLiteral("cp") }) {
        const QString real = QStandardPaths::findExecutable(tool,
            { QStringLiteral("/usr/sbin"), QStringLiteral("/usr/bin"), QStringLiteral("/sbin"),
                QStringLiteral("/bin") });
        QVERIFY2(!real.isEmpty(), qPrintable(tool));
        const QString script = QStringLiteral("#!/bin/sh\necho \"%1 $*\" >> %2\nexec %3 \"$@\"\n")
                                   .arg(tool, ShellLog, real);
        writeFile(FakeBin + QLatin1Char('/') + tool, script.toUtf8());
        QFile::setPermissions(FakeBin + QLatin1Char('/') + tool,
            QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    qputenv("PATH", (FakeBin + QLatin1Char(':') + qEnvironmentVariable("PATH")).toUtf8());
    QVERIFY(QDir().mkpath(ConfigDir));
}

void TestBenchTest::init()
{
    QFile::remove(ShellLog);
    clearEvents();
    writeSim(QStringLiteral("dip"), QStringLiteral("0"));
    writeSim(QStringLiteral("model"), QStringLiteral("7"));
    QFile::remove(ConfigDir + QStringLiteral("/tspointercal.lastgood"));
}

void TestBenchTest::cleanup()
{
    writeSim(QStringLiteral("dip"), QStringLiteral("0"));
}

// The stack index each function key shows: the bench pages are built in a fixed order.
int expectedPage(const QString &key)
{
    static const QMap<QString, int> pages {
        { QStringLiteral("Bench Test Start"), 0 },
        { ComPage, 3 },
        { MACFunction, 4 },
        { UsbHostFunction, 5 },
        { UsbDeviceFunction, 5 },
        { BrightnessFunction, 6 },
        { BacklightFunction, 7 },
        { BatteryPowerFunction, 8 },
        { LcmFunction, 9 },
        { KeyAndLedFunction, 10 },
        { DateTimeFunction, 11 },
        { TouchPanelFunction, 12 },
        { DipSwitchesFunction, 13 },
        { QStringLiteral("Error Device List"), 14 },
    };
    if (key.startsWith(QLatin1String("com")) || key == EthernetFunction)
        return pages.value(ComPage);
    return pages.value(key, -1);
}

QStringList TestBenchTest::pageClasses(BenchTest &b)
{
    QStringList classes;
    for (int i = 0; i < b.pages()->count(); ++i)
        classes << QString::fromLatin1(b.pages()->widget(i)->metaObject()->className());
    return classes;
}

void TestBenchTest::networkSetUpBenchMode()
{
    BenchTest bench;
    QCOMPARE(shellCommands(),
        (QStringList { QStringLiteral("ifconfig eth0 192.168.90.69"),
            QStringLiteral("route add default gw 192.168.90.1") }));
    QVERIFY(eth0Addresses().contains(QStringLiteral("192.168.90.69")));
    // The gateway is only reachable once eth0 has its address, so the route proves the order.
    QVERIFY(hasDefaultRouteVia(QStringLiteral("015AA8C0")));
}

void TestBenchTest::networkSetUpSlaveTester()
{
    writeSim(QStringLiteral("dip"), QStringLiteral("273"));
    BenchTest bench;
    QCOMPARE(shellCommands(),
        (QStringList { QStringLiteral("ifconfig eth0 192.168.90.89"),
            QStringLiteral("route add default gw 192.168.90.1") }));
    QVERIFY(eth0Addresses().contains(QStringLiteral("192.168.90.89")));
    QCOMPARE(stack(bench)->count(), 1);
}

void TestBenchTest::startServicesInOrder()
{
    BenchTest bench;
    const QStringList log = events();
    QVERIFY(log.size() >= 3);
    QCOMPARE(log.mid(0, 3),
        (QStringList { QStringLiteral("param-load"), QStringLiteral("param-save"),
            QStringLiteral("buzzer-enable 1") }));
}

void TestBenchTest::benchAndMenuBuildTheSamePages()
{
    QStringList benchPages, menuPages;
    {
        BenchTest bench;
        benchPages = pageClasses(bench);
        const QStringList keys { QStringLiteral("Bench Test Start"), Com1RS232Function,
            EthernetFunction, MACFunction, UsbHostFunction, UsbDeviceFunction, BrightnessFunction,
            BacklightFunction, BatteryPowerFunction, LcmFunction, KeyAndLedFunction,
            DateTimeFunction, TouchPanelFunction, DipSwitchesFunction,
            QStringLiteral("Error Device List") };
        for (const QString &key : keys)
            QCOMPARE(bench.pageOf(key), expectedPage(key));
        QCOMPARE(bench.pageOf(WhiteScreenFunction), -1);
        QCOMPARE(bench.pageOf(ExitFunction), -1);
    }
    writeSim(QStringLiteral("dip"), QStringLiteral("1"));
    {
        BenchTest menu;
        menuPages = pageClasses(menu);
    }
    QCOMPARE(benchPages.size(), 15);
    QCOMPARE(menuPages, benchPages);
    QCOMPARE(benchPages.at(1), QStringLiteral("FunctionTestInterface"));
    QCOMPARE(benchPages.at(2), QStringLiteral("QWidget"));
    QCOMPARE(benchPages.at(7), QStringLiteral("BacklightInterface"));
    QCOMPARE(benchPages.at(8), QStringLiteral("BatteryPowerInterface"));
}

void TestBenchTest::menuModeShowsTheMenu()
{
    writeSim(QStringLiteral("dip"), QStringLiteral("1"));
    BenchTest bench;
    QCOMPARE(stack(bench)->currentIndex(), 1);
    // The start page's timer belongs to the bench walk only: the menu stays. Asserts that
    // nothing happens, so a fixed wait longer than that timer.
    QTest::qWait(400);
    QCOMPARE(stack(bench)->currentIndex(), 1);
    QCOMPARE(stage(bench), -1);
    QVERIFY(!startButton(bench)->isVisible());
}

void TestBenchTest::modeOfDipValue_data()
{
    QTest::addColumn<uint>("dip");
    QTest::addColumn<int>("mode");
    QTest::newRow("0 bench") << 0u << int(BenchTest::Mode::Bench);
    QTest::newRow("1 menu") << 1u << int(BenchTest::Mode::Menu);
    QTest::newRow("0x101 burn-in") << 0x101u << int(BenchTest::Mode::BurnIn);
    QTest::newRow("0x111 slave tester") << 0x111u << int(BenchTest::Mode::SlaveTester);
    for (uint dip : { 2u, 0x10u, 0x100u, 0x102u, 0x110u, 0x112u, 0x1000u, 0x1111u, 0xFFFFFFFFu })
        QTest::newRow(qPrintable(QString::number(dip, 16))) << dip << int(BenchTest::Mode::Unknown);
}

void TestBenchTest::modeOfDipValue()
{
    QFETCH(uint, dip);
    QFETCH(int, mode);
    QCOMPARE(int(BenchTest::modeOf(dip)), mode);
}

void TestBenchTest::unknownDipValue_data()
{
    QTest::addColumn<QString>("dip");
    for (const char *value :
        { "2", "16", "256", "0x100", "258", "272", "274", "0x1000", "0x1111", "4294967295" })
        QTest::newRow(value) << QString::fromLatin1(value);
}

void TestBenchTest::unknownDipValue()
{
    QFETCH(QString, dip);
    writeSim(QStringLiteral("dip"), dip);
    DebugCapture capture;
    BenchTest bench;
    // Asserts that nothing is built or run later either: a fixed wait.
    QTest::qWait(300);
    QCOMPARE(stack(bench)->count(), 0);
    QCOMPARE(capture.messages.count(QStringLiteral("Unknown Dip Switch Value!")), 1);
    QCOMPARE(shellCommands(), QStringList());
}

void TestBenchTest::burnInBuildsNoBenchPages()
{
    writeSim(QStringLiteral("dip"), QStringLiteral("0x101"));
    BenchTest bench;
    QCOMPARE(stack(bench)->count(), 1);
    QCOMPARE(stack(bench)->currentIndex(), 0);
    QCOMPARE(shellCommands(), QStringList());
}

void TestBenchTest::noCalibrationBackupRunsNothing()
{
    writeFile(ConfigDir + QStringLiteral("/tspointercal"), "1 0 0 0 1 0 65536 800 480\n");
    BenchTest bench;
    for (const QString &command : shellCommands())
        QVERIFY2(
            !command.startsWith(QLatin1String("rm ")) && !command.startsWith(QLatin1String("cp ")),
            qPrintable(command));
    QCOMPARE(readFile(ConfigDir + QStringLiteral("/tspointercal")),
        QStringLiteral("1 0 0 0 1 0 65536 800 480\n"));
}

void TestBenchTest::calibrationBackupIsRestored()
{
    writeFile(ConfigDir + QStringLiteral("/tspointercal"), "half written");
    writeFile(ConfigDir + QStringLiteral("/tspointercal.lastgood"), "5 6 7 8 9 10 65536 800 480\n");
    BenchTest bench;
    QCOMPARE(shellCommands().mid(2),
        (QStringList { QStringLiteral("rm /brimdale/configs/tspointercal"),
            QStringLiteral(
                "cp /brimdale/configs/tspointercal.lastgood /brimdale/configs/tspointercal"),
            QStringLiteral("rm /brimdale/configs/tspointercal.lastgood") }));
    QCOMPARE(readFile(ConfigDir + QStringLiteral("/tspointercal")),
        QStringLiteral("5 6 7 8 9 10 65536 800 480\n"));
    QVERIFY(!QFile::exists(ConfigDir + QStringLiteral("/tspointercal.lastgood")));
    // The first stage was started before the restore.
    QCOMPARE(stage(bench), 0);
    QCOMPARE(stack(bench)->currentIndex(), expectedPage(QStringLiteral("Bench Test Start")));
}

void TestBenchTest::popupButtons()
{
    if (QGuiApplication::primaryScreen()->geometry().size() != QSize(800, 480))
        QSKIP("runs on the 800x480 unit; the 480x272 unit runs popupButtonsSmallScreen");
    BenchTest bench;
    QCOMPARE(startButton(bench)->size(), QSize(224, 42));
    QCOMPARE(startButton(bench)->pos(), QPoint(287, 218));
    QCOMPARE(againButton(bench)->pos(), QPoint(165, 320));
    QCOMPARE(nextButton(bench)->pos(), QPoint(409, 320));
    QCOMPARE(startButton(bench)->text(), QStringLiteral("Start"));
    QCOMPARE(againButton(bench)->text(), QStringLiteral("Again"));
    QCOMPARE(nextButton(bench)->text(), QStringLiteral("Next"));
    QCOMPARE(nextButton(bench)->objectName(), QStringLiteral("nextbutton"));
    for (FunctionButton *button : { startButton(bench), againButton(bench), nextButton(bench) }) {
        QVERIFY(button->isWindow());
        QVERIFY(button->windowFlags() & Qt::FramelessWindowHint);
        QVERIFY(!button->isVisible());
    }
}

void TestBenchTest::popupButtonsSmallScreen()
{
    // Selected by name on the 480x272 unit (see CMakeLists.txt); the full run is on 800x480.
    if (QCoreApplication::arguments().size() < 2)
        QSKIP("runs on the 480x272 unit");
    QCOMPARE(QGuiApplication::primaryScreen()->geometry().size(), QSize(480, 272));
    BenchTest bench;
    QCOMPARE(startButton(bench)->size(), QSize(145, 42));
    QCOMPARE(startButton(bench)->pos(), QPoint(167, 114));
    QCOMPARE(againButton(bench)->pos(), QPoint(84, 180));
    QCOMPARE(nextButton(bench)->pos(), QPoint(249, 180));
}

void TestBenchTest::sequence_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<QStringList>("stages");
    const QStringList small { TouchPanelFunction, BrightnessFunction, DateTimeFunction,
        BacklightFunction, DipSwitchesFunction, Com1RS232Function, Com1RS422Function,
        Com1RS485Function, EthernetFunction, UsbDeviceFunction };
    const QStringList large { TouchPanelFunction, BrightnessFunction, DateTimeFunction,
        BacklightFunction, KeyAndLedFunction, DipSwitchesFunction, Com1RS232Function,
        Com1RS422Function, Com1RS485Function, Com2RS232Function, Com2RS422Function,
        Com2RS485Function, Com3RS232Function, Com3RS485Function, EthernetFunction,
        UsbDeviceFunction };
    QTest::newRow("model 4") << 4 << small;
    QTest::newRow("model 0") << 0 << large;
    QTest::newRow("model 3") << 3 << large;
    QTest::newRow("model 5") << 5 << large;
    QTest::newRow("model 7") << 7 << large;
}

void TestBenchTest::sequence()
{
    QFETCH(int, model);
    QFETCH(QStringList, stages);
    writeSim(QStringLiteral("model"), QString::number(model));
    BenchTest bench;
    const QMap<int, QString> map = sequenceOf(bench);
    QCOMPARE(map.value(0), QStringLiteral("Bench Test Start"));
    for (int i = 0; i < stages.size(); ++i)
        QCOMPARE(map.value(i + 1), stages.at(i));
    QCOMPARE(map.value(99), QStringLiteral("Error Device List"));
    QCOMPARE(map.size(), stages.size() + 2);
}

void TestBenchTest::walkReachesErrorListAfterLastStage_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<int>("errorListStage");
    QTest::newRow("model 4") << 4 << 11;
    QTest::newRow("model 0") << 0 << 17;
    QTest::newRow("model 5") << 5 << 17;
}

void TestBenchTest::walkReachesErrorListAfterLastStage()
{
    QFETCH(int, model);
    QFETCH(int, errorListStage);
    writeSim(QStringLiteral("model"), QString::number(model));
    BenchTest bench;
    QCOMPARE(stage(bench), 0);
    QCOMPARE(stack(bench)->currentIndex(), expectedPage(QStringLiteral("Bench Test Start")));
    // The blank start page leads to the first test by itself.
    QTRY_COMPARE(stage(bench), 1);
    const QMap<int, QString> map = sequenceOf(bench);
    for (int s = 1; s <= errorListStage; ++s) {
        QCOMPARE(stage(bench), s);
        const QString key = map.value(s, QStringLiteral("Error Device List"));
        QCOMPARE(stack(bench)->currentIndex(), expectedPage(key));
        if (s < errorListStage)
            bench.nextStage();
    }
    QCOMPARE(stack(bench)->currentIndex(), expectedPage(QStringLiteral("Error Device List")));
    // Every stage number past the list is the error list too.
    bench.nextStage();
    QCOMPARE(stack(bench)->currentIndex(), expectedPage(QStringLiteral("Error Device List")));
}

void TestBenchTest::startGate()
{
    BenchTest bench;
    bench.show();
    bench.callFunction(Com1RS232Function);
    QCOMPARE(stack(bench)->currentIndex(), expectedPage(ComPage));
    QVERIFY(startButton(bench)->isVisible());
    DebugCapture capture;
    QTest::mouseClick(startButton(bench), Qt::LeftButton);
    QCOMPARE(capture.messages, QStringList { QStringLiteral("startButtonClicked") });
    QVERIFY(!startButton(bench)->isVisible());
    QVERIFY(!bench.isWaitingForStart());
    // Asked for once per power-on.
    bench.callFunction(Com1RS232Function);
    QVERIFY(!startButton(bench)->isVisible());
}

void TestBenchTest::startGateNotInMenuMode()
{
    writeSim(QStringLiteral("dip"), QStringLiteral("1"));
    BenchTest bench;
    bench.show();
    bench.callFunction(Com1RS232Function);
    QCOMPARE(stack(bench)->currentIndex(), expectedPage(ComPage));
    QVERIFY(!startButton(bench)->isVisible());
}

void TestBenchTest::duplicateExitSignalIgnored()
{
    BenchTest bench;
    QTRY_COMPARE(stage(bench), 1);
    // Walk to the backlight stage (4 on every model).
    while (stage(bench) < 4)
        bench.nextStage();
    QCOMPARE(stack(bench)->currentIndex(), expectedPage(BacklightFunction));
    auto *backlight = bench.findChild<BacklightInterface *>();
    QCOMPARE(stack(bench)->currentWidget(), backlight);
    Q_EMIT backlight->exitSignal();
    QCOMPARE(stage(bench), 5);
    Q_EMIT backlight->exitSignal();
    QCOMPARE(stage(bench), 5);
    Q_EMIT backlight->exitSignal();
    QCOMPARE(stage(bench), 5);
}

void TestBenchTest::nextButtonAdvancesWithClick()
{
    BenchTest bench;
    QTRY_COMPARE(stage(bench), 1);
    bench.callFunction(UsbDeviceFunction);
    bench.communicationStop();
    QVERIFY(nextButton(bench)->isVisible());
    clearEvents();
    QTest::mouseClick(nextButton(bench), Qt::LeftButton);
    QCOMPARE(events(), QStringList { QStringLiteral("sound 2") });
    QCOMPARE(stage(bench), 2);
    QVERIFY(!nextButton(bench)->isVisible());
    QVERIFY(!againButton(bench)->isVisible());
}

void TestBenchTest::againRepeatsWithoutMovingStage()
{
    BenchTest bench;
    QTRY_COMPARE(stage(bench), 1);
    bench.callFunction(UsbDeviceFunction);
    for (int i = 0; i < 5; ++i) {
        bench.communicationStop();
        QVERIFY(againButton(bench)->isVisible());
        clearEvents();
        QTest::mouseClick(againButton(bench), Qt::LeftButton);
        // The USB device test is repeated with the gadget loaded again; without a cable it
        // fails at once and brings "Again" and "Next" back.
        QCOMPARE(events(),
            (QStringList { QStringLiteral("sound 2"), QStringLiteral("usb-gadget /tmp/ram.img") }));
        QVERIFY(againButton(bench)->isVisible());
        QVERIFY(nextButton(bench)->isVisible());
        QCOMPARE(stage(bench), 1);
        QCOMPARE(stack(bench)->currentIndex(), expectedPage(UsbDeviceFunction));
    }
}

void TestBenchTest::usbPageLabels()
{
    writeSim(QStringLiteral("model"), QStringLiteral("4"));
    BenchTest bench;
    bench.callFunction(UsbDeviceFunction);
    bench.communicationStop();
    QCOMPARE(againButton(bench)->text(), QStringLiteral("Again "));
    QCOMPARE(nextButton(bench)->text(), QStringLiteral("Next "));
    QVERIFY(againButton(bench)->isVisible());
    QVERIFY(nextButton(bench)->isVisible());
}

void TestBenchTest::communicationStopSilentInMenuMode()
{
    writeSim(QStringLiteral("dip"), QStringLiteral("1"));
    BenchTest bench;
    bench.callFunction(UsbDeviceFunction);
    bench.communicationStop();
    QVERIFY(!againButton(bench)->isVisible());
    QVERIFY(!nextButton(bench)->isVisible());
    QCOMPARE(againButton(bench)->text(), QStringLiteral("Again"));
}

void TestBenchTest::nextTestName_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<QString>("device");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("next");
    QTest::newRow("4 COM1 RS232") << 4 << COMPORT1 << "RS232"
                                  << "RS422";
    QTest::newRow("4 COM1 RS422 (on COM2)") << 4 << COMPORT2 << "RS422"
                                            << "RS485";
    QTest::newRow("4 COM1 RS485 (on COM2)") << 4 << COMPORT2 << "RS485"
                                            << "Ethernet";
    QTest::newRow("4 Ethernet") << 4 << "Ethernet"
                                << "Ethernet"
                                << "USB";
    QTest::newRow("3 COM1 RS485 still says Ethernet") << 3 << COMPORT1 << "RS485"
                                                      << "Ethernet";
    QTest::newRow("0 COM2 RS232") << 0 << COMPORT2 << "RS232"
                                  << "RS422";
    QTest::newRow("-1 signed compare") << -1 << COMPORT1 << "RS485"
                                       << "Ethernet";
    QTest::newRow("6 COM1 RS232") << 6 << COMPORT1 << "RS232"
                                  << "RS422";
    QTest::newRow("6 COM1 RS422") << 6 << COMPORT1 << "RS422"
                                  << "RS485";
    QTest::newRow("6 COM1 RS485") << 6 << COMPORT1 << "RS485"
                                  << "RS232";
    QTest::newRow("6 COM2 RS232") << 6 << COMPORT2 << "RS232"
                                  << "RS422";
    QTest::newRow("6 COM2 RS422") << 6 << COMPORT2 << "RS422"
                                  << "RS485";
    QTest::newRow("6 COM2 RS485") << 6 << COMPORT2 << "RS485"
                                  << "RS232";
    QTest::newRow("6 COM3 RS232") << 6 << COMPORT3 << "RS232"
                                  << "RS485";
    QTest::newRow("6 COM3 RS485") << 6 << COMPORT3 << "RS485"
                                  << "Ethernet";
    QTest::newRow("6 Ethernet") << 6 << "Ethernet"
                                << "Ethernet"
                                << "USB";
    QTest::newRow("7 COM3 RS422 unknown") << 7 << COMPORT3 << "RS422"
                                          << "";
    QTest::newRow("7 USB page") << 7 << ""
                                << ""
                                << "";
}

void TestBenchTest::nextTestName()
{
    QFETCH(int, model);
    QFETCH(QString, device);
    QFETCH(QString, kind);
    QFETCH(QString, next);
    QCOMPARE(BenchTest::nextTestName(model, device, kind), next);
}

void TestBenchTest::whiteScreenDoesNothing()
{
    BenchTest bench;
    QTRY_COMPARE(stage(bench), 1);
    const int page = stack(bench)->currentIndex();
    DebugCapture capture;
    bench.callFunction(WhiteScreenFunction);
    QCOMPARE(stack(bench)->currentIndex(), page);
    QCOMPARE(stage(bench), 1);
    QCOMPARE(capture.messages, QStringList());
}

void TestBenchTest::unknownKeys_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("message");
    QTest::newRow("exit") << ExitFunction << "Unknown name: \"exit\"";
    QTest::newRow("menu label") << "Touch panel"
                                << "Unknown name: \"Touch panel\"";
    QTest::newRow("trailing blank") << "lcm "
                                    << "Unknown name: \"lcm \"";
    QTest::newRow("com3 rs422") << "com3 rs422"
                                << "Unknown name: \"com3 rs422\"";
}

void TestBenchTest::unknownKeys()
{
    QFETCH(QString, key);
    QFETCH(QString, message);
    BenchTest bench;
    QTRY_COMPARE(stage(bench), 1);
    const int page = stack(bench)->currentIndex();
    DebugCapture capture;
    bench.callFunction(key);
    QCOMPARE(capture.messages, QStringList { message });
    QCOMPARE(stack(bench)->currentIndex(), page);
}

void TestBenchTest::strayErrorMessageDropped()
{
    writeSim(QStringLiteral("dip"), QStringLiteral("273"));
    BenchTest bench;
    bench.errorMessageUpdate(QStringLiteral("COM port 1 RS232 test"), QStringLiteral("fail!"));
    QCOMPARE(stack(bench)->count(), 1);
}

void TestBenchTest::switchesFlippedWhileRunning()
{
    BenchTest bench;
    QTRY_COMPARE(stage(bench), 1);
    // The bench pages serve the menu too.
    writeSim(QStringLiteral("dip"), QStringLiteral("1"));
    bench.nextStage();
    QCOMPARE(stack(bench)->currentIndex(), 1);
    QCOMPARE(stage(bench), 1);
    // The slave tester's page was never built: say so and change nothing.
    writeSim(QStringLiteral("dip"), QStringLiteral("273"));
    DebugCapture capture;
    bench.nextStage();
    QCOMPARE(capture.messages,
        QStringList { QStringLiteral(
            "DIP switches changed since power-on; restart the unit to change mode") });
    QCOMPARE(stack(bench)->currentIndex(), 1);
    QCOMPARE(stack(bench)->count(), 15);
}

void TestBenchTest::againFiveTimesOnCom2Rs422()
{
    BenchTest bench;
    bench.show();
    QTRY_COMPARE(stage(bench), 1);
    // Only the first COM1 RS232 stage waits for "Start"; this one runs at once.
    QVERIFY(bench.isWaitingForStart());
    auto *communicationTest = bench.findChild<CommunicationTest *>();
    QSignalSpy stops(communicationTest, &CommunicationTest::transferStop);
    QVERIFY(stops.isValid());
    bench.callFunction(Com2RS422Function);
    // Nothing is plugged into COM2 here: each run ends after its first block.
    QTRY_COMPARE(stops.count(), 1);
    QVERIFY(againButton(bench)->isVisible());
    QCOMPARE(againButton(bench)->text(), QStringLiteral("Again RS422"));
    QCOMPARE(nextButton(bench)->text(), QStringLiteral("Next RS485"));
    for (int i = 2; i <= 6; ++i) {
        QTest::mouseClick(againButton(bench), Qt::LeftButton);
        QTRY_COMPARE(stops.count(), i);
        QCOMPARE(communicationTest->currentSerial(), QStringLiteral("RS422"));
        QCOMPARE(communicationTest->currentDevice(), COMPORT2);
    }
    QCOMPARE(stage(bench), 1);
    QCOMPARE(stack(bench)->currentIndex(), expectedPage(ComPage));
}

void TestBenchTest::largeModelNextLabels_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("again");
    QTest::addColumn<QString>("next");
    QTest::newRow("COM2 RS485") << Com2RS485Function << "Again RS485"
                                << "Next RS232";
    QTest::newRow("COM3 RS232") << Com3RS232Function << "Again RS232"
                                << "Next RS485";
    QTest::newRow("COM3 RS485") << Com3RS485Function << "Again RS485"
                                << "Next Ethernet";
}

void TestBenchTest::largeModelNextLabels()
{
    QFETCH(QString, key);
    QFETCH(QString, again);
    QFETCH(QString, next);
    writeSim(QStringLiteral("model"), QStringLiteral("6"));
    BenchTest bench;
    QSignalSpy stops(bench.findChild<CommunicationTest *>(), &CommunicationTest::transferStop);
    bench.callFunction(key);
    QTRY_COMPARE(stops.count(), 1);
    QCOMPARE(againButton(bench)->text(), again);
    QCOMPARE(nextButton(bench)->text(), next);
}

QTEST_MAIN(TestBenchTest)
#include "tst_benchtest.moc"
