// The LCM, brightness and DIP switch screens inside the real BenchTest: their pages in both
// bench modes, the bench walk through the brightness and DIP stages, and each screen started
// from its button in the function menu and returning to the menu.
#include "tests/support/calibrationtestsupport.h"
#include "app/benchtest.h"
#include "comm/communicationtest.h"
#include "common/functionbutton.h"
#include "common/functionkeys.h"
#include "common/qtcompat.h"
#include "menu/functiontestinterface.h"
#include "screens/brightnessinterface.h"
#include "screens/dipswitchinterface.h"
#include "screens/lcminterface.h"
#include "tests/support/testsupport.h"

#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTest>

using namespace TestSupport;

namespace {
void setDip(unsigned int value)
{
    QVERIFY(replaceSim(QStringLiteral("dip"), QStringLiteral("0x%1").arg(value, 0, 16)));
}

QStackedWidget *stack(BenchTest &bench)
{
    return bench.findChild<QStackedWidget *>();
}

template <typename Page> Page *page(BenchTest &bench)
{
    return bench.findChild<Page *>();
}

QPushButton *menuButton(BenchTest &bench, const QString &key)
{
    auto *menu = page<FunctionTestInterface>(bench);
    return menu ? menu->findChild<QPushButton *>(key) : nullptr;
}

void press(QWidget *widget, const QPoint &point)
{
    QTest::mousePress(widget, Qt::LeftButton, Qt::NoModifier, point);
    QTest::mouseRelease(widget, Qt::LeftButton, Qt::NoModifier, point);
}
} // namespace

class TestDeviceScreensWiring : public QObject {
    Q_OBJECT
    // The bench walk starts with the touch calibration, which waits for five touches.
    CalibrationTest::AutoToucher toucher;

private Q_SLOTS:
    void init();
    void cleanup();
    void pages_data();
    void pages();
    void benchWalkBrightness();
    void benchWalkDipSwitches();
    void menuLcm();
    void menuBrightness();
    void menuDipSwitches();
    void menuDipSwitchesLeftAllOffStartsTheWalk();
};

void TestDeviceScreensWiring::init()
{
    writeSim(QStringLiteral("model"), QStringLiteral("7"));
    writeSim(QStringLiteral("brightness"), QStringLiteral("20"));
    setDip(0);
    clearEvents();
}

void TestDeviceScreensWiring::cleanup()
{
    setDip(0);
}

void TestDeviceScreensWiring::pages_data()
{
    QTest::addColumn<unsigned int>("dip");
    QTest::newRow("bench") << 0u;
    QTest::newRow("menu") << 1u;
}

void TestDeviceScreensWiring::pages()
{
    QFETCH(unsigned int, dip);
    setDip(dip);
    BenchTest bench;
    QCOMPARE(stack(bench)->indexOf(page<BrightnessInterface>(bench)), 6);
    QCOMPARE(stack(bench)->indexOf(page<LcmInterface>(bench)), 9);
    QCOMPARE(stack(bench)->indexOf(page<DipSwitchInterface>(bench)), 13);
    QCOMPARE(bench.findChildren<BrightnessInterface *>().size(), 1);
    QCOMPARE(bench.findChildren<LcmInterface *>().size(), 1);
    QCOMPARE(bench.findChildren<DipSwitchInterface *>().size(), 1);
    // The brightness page sets full brightness as it is built.
    QVERIFY(events().contains(QStringLiteral("brightness 20 1")));
}

void TestDeviceScreensWiring::benchWalkBrightness()
{
    BenchTest bench;
    bench.setGeometry(screenGeometry());
    bench.show();
    QVERIFY(QTest::qWaitForWindowExposed(&bench));
    auto *brightness = page<BrightnessInterface>(bench);
    // Stage 1 (calibration) is still a blank page; stage 2 is brightness.
    QTRY_COMPARE(stack(bench)->currentIndex(), 12);
    bench.nextStage();
    QCOMPARE(stack(bench)->currentWidget(), brightness);
    clearEvents();
    press(brightness, brightness->increaseArea().center());
    QCOMPARE(
        events(), (QStringList { QStringLiteral("sound 5"), QStringLiteral("brightness 21 1") }));
    QCOMPARE(stack(bench)->currentWidget(), brightness);

    // Held on the save area: the walk moves on once, to the clock stage.
    const QPoint save = brightness->saveArea().center();
    QTest::mousePress(brightness, Qt::LeftButton, Qt::NoModifier, save);
    QCOMPARE(stack(bench)->currentIndex(), 11);
    // The press is held for five repeat periods of the brightness page; what is asserted is
    // that no repeat comes, so the hold is a fixed time.
    QTest::qWait(250);
    QTest::mouseRelease(stack(bench)->currentWidget(), Qt::LeftButton, Qt::NoModifier, save);
    QCOMPARE(stack(bench)->currentIndex(), 11);
    QCOMPARE(events().count(QStringLiteral("brightness 20 1")), 1);
}

void TestDeviceScreensWiring::benchWalkDipSwitches()
{
    BenchTest bench;
    bench.setGeometry(screenGeometry());
    bench.show();
    QVERIFY(QTest::qWaitForWindowExposed(&bench));
    auto *dip = page<DipSwitchInterface>(bench);
    QTRY_COMPARE(stack(bench)->currentIndex(), 12);
    // Model 7: the DIP switches are stage 6, after the key and LED.
    while (stack(bench)->currentWidget() != dip && stack(bench)->currentIndex() != 14)
        bench.nextStage();
    QCOMPARE(stack(bench)->currentWidget(), dip);
    // Started: positions computed, asking for all ON.
    QCOMPARE(dip->hintText(), QStringLiteral("Set all dip switches ON"));
    QVERIFY(!dip->hintRect().isNull());
    setDip(0x1111);
    QTRY_COMPARE(dip->hintText(), QStringLiteral("Set all dip switches OFF"));
    setDip(0);
    // All OFF is also the bench mode's value: the walk goes on to COM1 RS232.
    QTRY_COMPARE(stack(bench)->currentWidget(), page<CommunicationTest>(bench));
    QCOMPARE(events().count(QStringLiteral("sound 10")), 2);
}

void TestDeviceScreensWiring::menuLcm()
{
    setDip(1);
    BenchTest bench;
    bench.setGeometry(screenGeometry());
    bench.show();
    QVERIFY(QTest::qWaitForWindowExposed(&bench));
    auto *menu = page<FunctionTestInterface>(bench);
    auto *lcm = page<LcmInterface>(bench);
    QCOMPARE(stack(bench)->currentWidget(), menu);
    QPushButton *button = menuButton(bench, LcmFunction);
    QVERIFY(button);

    QTest::mouseClick(button, Qt::LeftButton);
    QCOMPARE(stack(bench)->currentWidget(), lcm);
    QCOMPARE(lcm->colorDirection(), LcmInterface::Vertical);
    auto *next = lcm->findChild<FunctionButton *>();
    QTest::mouseClick(next, Qt::LeftButton);
    QCOMPARE(stack(bench)->currentWidget(), lcm);
    QTest::mouseClick(next, Qt::LeftButton);
    QCOMPARE(stack(bench)->currentWidget(), menu);

    // kept: a second visit starts on the bands and one Continue returns.
    QTest::mouseClick(button, Qt::LeftButton);
    QCOMPARE(stack(bench)->currentWidget(), lcm);
    QCOMPARE(lcm->colorDirection(), LcmInterface::Horizontal);
    QTest::mouseClick(next, Qt::LeftButton);
    QCOMPARE(stack(bench)->currentWidget(), menu);
    QCOMPARE(events().count(QStringLiteral("sound 2")), 3);
}

void TestDeviceScreensWiring::menuBrightness()
{
    setDip(1);
    BenchTest bench;
    bench.setGeometry(screenGeometry());
    bench.show();
    QVERIFY(QTest::qWaitForWindowExposed(&bench));
    auto *menu = page<FunctionTestInterface>(bench);
    auto *brightness = page<BrightnessInterface>(bench);
    QTest::mouseClick(menuButton(bench, BrightnessFunction), Qt::LeftButton);
    QCOMPARE(stack(bench)->currentWidget(), brightness);
    clearEvents();
    press(brightness, brightness->decreaseArea().center());
    press(brightness, brightness->decreaseArea().center());
    QCOMPARE(brightness->lcdBrightness(), 18);
    press(brightness, brightness->saveArea().center());
    QCOMPARE(stack(bench)->currentWidget(), menu);
    QCOMPARE(events(),
        (QStringList { QStringLiteral("sound 1"), QStringLiteral("brightness 19 1"),
            QStringLiteral("sound 1"), QStringLiteral("brightness 18 1"), QStringLiteral("sound 1"),
            QStringLiteral("brightness 20 1") }));

    // Again from the menu: it starts at the level the last visit left.
    QTest::mouseClick(menuButton(bench, BrightnessFunction), Qt::LeftButton);
    QCOMPARE(stack(bench)->currentWidget(), brightness);
    QCOMPARE(brightness->lcdBrightness(), 20);
    press(brightness, brightness->saveArea().center());
    QCOMPARE(stack(bench)->currentWidget(), menu);
}

void TestDeviceScreensWiring::menuDipSwitches()
{
    setDip(1);
    BenchTest bench;
    bench.setGeometry(screenGeometry());
    bench.show();
    QVERIFY(QTest::qWaitForWindowExposed(&bench));
    auto *menu = page<FunctionTestInterface>(bench);
    auto *dip = page<DipSwitchInterface>(bench);
    for (int visit = 0; visit < 2; ++visit) {
        clearEvents();
        QTest::mouseClick(menuButton(bench, DipSwitchesFunction), Qt::LeftButton);
        QCOMPARE(stack(bench)->currentWidget(), dip);
        QCOMPARE(dip->hintText(), QStringLiteral("Set all dip switches ON"));
        setDip(0x1111);
        QTRY_COMPARE(dip->hintText(), QStringLiteral("Set all dip switches OFF"));
        setDip(0);
        QTRY_COMPARE(events().count(QStringLiteral("sound 10")), 2);
        // The worker puts SW4 back before the page closes, so the menu comes back.
        setDip(1);
        QTRY_COMPARE(stack(bench)->currentWidget(), menu);
    }
}

void TestDeviceScreensWiring::menuDipSwitchesLeftAllOffStartsTheWalk()
{
    setDip(1);
    BenchTest bench;
    bench.setGeometry(screenGeometry());
    bench.show();
    QVERIFY(QTest::qWaitForWindowExposed(&bench));
    auto *dip = page<DipSwitchInterface>(bench);
    QTest::mouseClick(menuButton(bench, DipSwitchesFunction), Qt::LeftButton);
    QCOMPARE(stack(bench)->currentWidget(), dip);
    setDip(0x1111);
    QTRY_COMPARE(dip->hintText(), QStringLiteral("Set all dip switches OFF"));
    setDip(0);
    // kept: the return reads the switches again, and all OFF is the bench walk's value, so
    // the walk's blank start page and then its first stage follow.
    QTRY_COMPARE(stack(bench)->currentIndex(), 0);
    QTRY_COMPARE(stack(bench)->currentIndex(), 12);
}

QTEST_MAIN(TestDeviceScreensWiring)
#include "tst_devicescreenswiring.moc"
