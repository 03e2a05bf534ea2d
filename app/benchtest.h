// The program's one full-screen widget: reads the DIP switches once, builds the pages of the
// selected mode (bench sequence, function menu, burn-in or slave tester) and walks the bench
// sequence with its "Start", "Again" and "Next" buttons.
#pragma once

#include "services/devicetypes.h"

#include <QMap>
#include <QWidget>

class QStackedWidget;
class FunctionButton;
class CommunicationTest;
class MacAddressWidget;
class USBHostDeviceTest;
class BrightnessInterface;
class BacklightInterface;
class BatteryPowerInterface;
class LcmInterface;
class KeyAndLedInterface;
class RtcInterface;
class caliInterface;
class DipSwitchInterface;
class ErrorDeviceListInterface;
class TesterInterface;
class BurninTestInterface;

class BenchTest : public QWidget {
    Q_OBJECT
public:
    explicit BenchTest(QWidget *parent = nullptr);
    ~BenchTest() override;

    unsigned int dipSwitchValue() const;

    // What the DIP value selects; the one place that tells the modes apart.
    enum class Mode { Bench, Menu, BurnIn, SlaveTester, Unknown };
    static Mode modeOf(unsigned int dipValue);

    // A read-only view for tests and tools: the pages, the walk's position and the popup
    // buttons. The widget itself does not use it.
    enum class Popup { Start, Again, Next };
    QStackedWidget *pages() const { return stackedWidget; }
    FunctionButton *popup(Popup which) const;
    int stage() const { return currentStage; }
    QMap<int, QString> stages() const { return benchTestSequence; }
    bool isWaitingForStart() const { return waitForStart; }
    // True in the modes whose screens the worker touches: the bench walk and the menu. They are
    // also the modes that keep a record.
    bool takesTouches() const { return functionTestPageIndex >= 0; }
    // The stack index callFunction(key) shows, -1 when the key shows no page.
    int pageOf(const QString &key) const;

    // Lets the walk go on after the given stage: the next step runs stage + 1. For a walk
    // resumed by hand past the screen stages, which need a worker's touches.
    void continueAfterStage(int stage) { currentStage = stage; }

    // The test the "Next" button leads to after a communication test of the given device and
    // port kind, as the sequence of the given monitor model runs; empty when none follows.
    static QString nextTestName(int monitorModel, const QString &device, const QString &kind);

public Q_SLOTS:
    void callFunction(QString key);
    void rerun();
    void nextStage();
    void communicationStop();
    void startButtonClicked();
    void errorMessageUpdate(QString device, QString result);
    void inputMAC();

private:
    struct KeyAction;
    static const QList<KeyAction> &keyActions();
    static const KeyAction *actionFor(const QString &key);

    void initStackWidget();
    void initBenchTestPages();
    template <typename Screen> void addPage(Screen *&screen, int &index);
    template <typename Screen> void addStagePage(Screen *&screen, int &index);
    void initBenchTestSequence();
    void initPopupButtons();
    void hidePopupButtons();
    void restoreCalibration();
    void initTesterPage();
    void initBurninTestPage();
    void runTester();
    void runBurnInTest();
    void runFunctionTest();
    void runBenchTest();
    void showPage(int index);
    void showPopup(QWidget *button);
    void startCommunication(const QString &port, device_type kind, bool runNow);
    void recordStageLeft();
    static void record(const QString &kind, const QString &name, const QString &result);

    QStackedWidget *stackedWidget = nullptr;
    FunctionButton *startButton = nullptr;
    FunctionButton *againButton = nullptr;
    FunctionButton *nextButton = nullptr;
    QMap<int, QString> benchTestSequence;
    bool waitForStart = true;
    int currentStage = -1;
    int startPageIndex = -1;
    int functionTestPageIndex = -1;
    int sparePageIndex = -1;
    CommunicationTest *communicationTest = nullptr;
    int communicationPageIndex = -1;
    MacAddressWidget *macAddressWidget = nullptr;
    int macPageIndex = -1;
    USBHostDeviceTest *usbTest = nullptr;
    int usbPageIndex = -1;
    BrightnessInterface *brightnessInterface = nullptr;
    int brightnessPageIndex = -1;
    BacklightInterface *backlightInterface = nullptr;
    int backlightPageIndex = -1;
    BatteryPowerInterface *batteryPowerInterface = nullptr;
    int batteryPageIndex = -1;
    LcmInterface *lcmInterface = nullptr;
    int lcmPageIndex = -1;
    KeyAndLedInterface *keyAndLedInterface = nullptr;
    int keyAndLedPageIndex = -1;
    RtcInterface *rtcInterface = nullptr;
    int rtcPageIndex = -1;
    caliInterface *calibrationInterface = nullptr;
    int calibrationPageIndex = -1;
    DipSwitchInterface *dipSwitchInterface = nullptr;
    int dipSwitchPageIndex = -1;
    ErrorDeviceListInterface *errorDeviceList = nullptr;
    int errorListPageIndex = -1;
    TesterInterface *testerInterface = nullptr;
    int testerPageIndex = -1;
    BurninTestInterface *burninTestInterface = nullptr;
    int burninPageIndex = -1;
    QObject *lastSender = nullptr;
    // "passed" or "failed" once the current stage has reported a result; empty otherwise.
    QString stageVerdict;
};
