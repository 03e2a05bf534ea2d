// The key and LED screen and the clock screen inside the real BenchTest of a virtual unit: in
// menu mode (DIP 1) each is started from its menu button and returns to the menu; in the bench
// walk (DIP 0) the dispatcher shows and starts them and Continue moves the walk on.
#include "tests/support/calibrationtestsupport.h"
#include "app/benchtest.h"
#include "common/functionbutton.h"
#include "common/functionkeys.h"
#include "input/inputpanelinterface.h"
#include "menu/functiontestinterface.h"
#include "screens/keyandledinterface.h"
#include "screens/rtcinterface.h"
#include "tests/support/testsupport.h"

#include <QPushButton>
#include <QStackedWidget>
#include <QTest>

#include <cstdio>

using namespace TestSupport;

namespace {
bool feed(const QByteArray &text)
{
    std::FILE *file = std::fopen(QFile::encodeName(simPath(QStringLiteral("key-feed"))), "w");
    if (!file)
        return false;
    const bool ok
        = std::fwrite(text.constData(), 1, size_t(text.size()), file) == size_t(text.size());
    return std::fclose(file) == 0 && ok;
}

QWidget *current(BenchTest &bench)
{
    return bench.findChild<QStackedWidget *>()->currentWidget();
}

// Pages through the menu until the key's button shows, then clicks it.
void clickMenuButton(BenchTest &bench, const QString &key)
{
    auto *menu = bench.findChild<FunctionTestInterface *>();
    QVERIFY(menu);
    auto *button = menu->findChild<QPushButton *>(key);
    QVERIFY(button);
    auto *next = menu->findChild<QPushButton *>(QStringLiteral("next"));
    for (int i = 0; i < 5 && !button->isVisible() && next && next->isVisible(); ++i)
        QTest::mouseClick(next, Qt::LeftButton);
    QVERIFY(button->isVisible());
    QTest::mouseClick(button, Qt::LeftButton);
}
} // namespace

class TestDeviceScreensMenu : public QObject {
    Q_OBJECT
    // The bench walk starts with the touch calibration, which waits for five touches.
    CalibrationTest::AutoToucher toucher;

private Q_SLOTS:
    void initTestCase();
    void keyAndLedReturnsToMenu();
    void rtcReturnsToMenu();
    void benchWalkStartsAndLeaves();
};

void TestDeviceScreensMenu::initTestCase()
{
    if (!QFile::exists(simPath(QStringLiteral("key-feed"))))
        QSKIP("needs a virtual unit with --key");
    writeSim(QStringLiteral("model"), QStringLiteral("7"));
}

void TestDeviceScreensMenu::keyAndLedReturnsToMenu()
{
    writeSim(QStringLiteral("dip"), QStringLiteral("1"));
    BenchTest bench;
    bench.showFullScreen();
    QVERIFY(QTest::qWaitForWindowExposed(&bench));
    QVERIFY(qobject_cast<FunctionTestInterface *>(current(bench)));
    clickMenuButton(bench, KeyAndLedFunction);
    auto *screen = qobject_cast<KeyAndLedInterface *>(current(bench));
    QVERIFY(screen);
    auto *button = screen->findChild<FunctionButton *>();
    QVERIFY(!button->isVisible());
    QVERIFY(feed("30 1\n30 0\n30 2\n30 1\n"));
    QTRY_VERIFY(button->isVisible());
    QTest::mouseClick(button, Qt::LeftButton);
    QVERIFY(qobject_cast<FunctionTestInterface *>(current(bench)));
}

void TestDeviceScreensMenu::rtcReturnsToMenu()
{
    writeSim(QStringLiteral("dip"), QStringLiteral("1"));
    BenchTest bench;
    bench.showFullScreen();
    QVERIFY(QTest::qWaitForWindowExposed(&bench));
    clickMenuButton(bench, DateTimeFunction);
    auto *screen = qobject_cast<RtcInterface *>(current(bench));
    QVERIFY(screen);
    auto *ok = screen->findChild<InputPanelInterface *>()->findChild<QPushButton *>(
        QStringLiteral("OKBtn"));
    QVERIFY(ok->isVisible());
    QTest::mouseClick(ok, Qt::LeftButton);
    QTest::mouseClick(ok, Qt::LeftButton);
    FunctionButton *next = nullptr;
    for (FunctionButton *b : screen->findChildren<FunctionButton *>())
        if (b->text() == QLatin1String("Next"))
            next = b;
    QVERIFY(next && next->isVisible());
    clearEvents();
    QTest::mouseClick(next, Qt::LeftButton);
    QCOMPARE(events().value(0), QStringLiteral("rtc-set 10 10 10 1 9 118 1 274"));
    QVERIFY(qobject_cast<FunctionTestInterface *>(current(bench)));
}

// In the bench walk (DIP 0) the dispatcher shows each screen and starts the clock entry; the
// key screen's Continue moves the walk on to the stage after the current one.
void TestDeviceScreensMenu::benchWalkStartsAndLeaves()
{
    writeSim(QStringLiteral("dip"), QStringLiteral("0"));
    BenchTest bench;
    bench.showFullScreen();
    QVERIFY(QTest::qWaitForWindowExposed(&bench));
    auto *stack = bench.findChild<QStackedWidget *>();
    // The walk starts on touch calibration (stage 1, page 12) after 200 ms.
    QTRY_COMPARE(stack->currentIndex(), 12);
    bench.callFunction(DateTimeFunction);
    auto *rtc = qobject_cast<RtcInterface *>(current(bench));
    QVERIFY(rtc);
    QCOMPARE(stack->currentIndex(), 11);
    QVERIFY(rtc->findChild<InputPanelInterface *>()->isVisible());
    bench.callFunction(KeyAndLedFunction);
    auto *key = qobject_cast<KeyAndLedInterface *>(current(bench));
    QVERIFY(key);
    QCOMPARE(stack->currentIndex(), 10);
    QVERIFY(feed("30 1\n30 1\n30 1\n"));
    auto *button = key->findChild<FunctionButton *>();
    QTRY_VERIFY(button->isVisible());
    QTest::mouseClick(button, Qt::LeftButton);
    // Stage 2 is the brightness page (index 6).
    QCOMPARE(stack->currentIndex(), 6);
}

QTEST_MAIN(TestDeviceScreensMenu)
#include "tst_devicescreensmenu.moc"
