// The backlight check blinks between off and full brightness and leaves it at full.
#include "common/functionbutton.h"
#include "screens/backlightinterface.h"
#include "tests/support/testsupport.h"

#include <QBoxLayout>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QSpacerItem>
#include <QTest>
#include <QTimerEvent>

using namespace TestSupport;

class TestBacklightInterface : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void layout();
    void firstTick_data();
    void firstTick();
    void blinksEveryHalfSecond();
    void continueWhileOffLeavesFullBrightness();
    void foreignTimerIgnored();
    void paintsItsTitle();

private:
    static QStringList brightnessEvents();
};

QStringList TestBacklightInterface::brightnessEvents()
{
    return events().filter(QRegularExpression(QStringLiteral("^brightness ")));
}

void TestBacklightInterface::init()
{
    clearEvents();
    writeSim(QStringLiteral("brightness"), QStringLiteral("20"));
}

void TestBacklightInterface::layout()
{
    const int constructionHeight = QWidget().height();
    BacklightInterface screen;
    QCOMPARE(screen.font().pixelSize(), 16);
    auto *button = screen.findChild<FunctionButton *>();
    QVERIFY(button);
    QCOMPARE(button->text(), QStringLiteral("Continue"));
    QCOMPARE(button->sizePolicy().horizontalPolicy(), QSizePolicy::Fixed);
    QCOMPARE(button->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
    auto *column = qobject_cast<QVBoxLayout *>(screen.layout());
    QVERIFY(column);
    QCOMPARE(column->itemAt(0)->spacerItem()->sizeHint(), QSize(100, constructionHeight / 2));
    QCOMPARE(column->itemAt(2)->spacerItem()->sizeHint(), QSize(100, constructionHeight / 8));
}

void TestBacklightInterface::firstTick_data()
{
    QTest::addColumn<int>("start");
    QTest::addColumn<QString>("expected");
    QTest::newRow("dark goes to 20") << 0 << "brightness 20 1";
    QTest::newRow("1 goes dark") << 1 << "brightness 0 1";
    QTest::newRow("12 goes dark") << 12 << "brightness 0 1";
    QTest::newRow("20 goes dark") << 20 << "brightness 0 1";
}

void TestBacklightInterface::firstTick()
{
    QFETCH(int, start);
    QFETCH(QString, expected);
    writeSim(QStringLiteral("brightness"), QString::number(start));
    BacklightInterface screen;
    QVERIFY(brightnessEvents().isEmpty());
    screen.runTimer();
    QTRY_VERIFY(!brightnessEvents().isEmpty());
    QCOMPARE(brightnessEvents().first(), expected);
}

void TestBacklightInterface::blinksEveryHalfSecond()
{
    BacklightInterface screen;
    screen.runTimer();
    QTRY_VERIFY_WITH_TIMEOUT(brightnessEvents().size() >= 3, 5000);
    const QStringList log = brightnessEvents();
    QCOMPARE(log.mid(0, 3),
        (QStringList { QStringLiteral("brightness 0 1"), QStringLiteral("brightness 20 1"),
            QStringLiteral("brightness 0 1") }));
}

void TestBacklightInterface::continueWhileOffLeavesFullBrightness()
{
    BacklightInterface screen;
    QSignalSpy exits(&screen, &BacklightInterface::exitSignal);
    QVERIFY(exits.isValid());
    screen.resize(800, 480);
    screen.show();
    QVERIFY(QTest::qWaitForWindowExposed(&screen));
    screen.runTimer();
    // The click comes right after the tick that turned the backlight off, whenever that is.
    QTRY_COMPARE(brightnessEvents().value(0), QStringLiteral("brightness 0 1"));
    const int before = events().size();
    QTest::mouseClick(screen.findChild<FunctionButton *>(), Qt::LeftButton);
    QCOMPARE(exits.count(), 1);
    QCOMPARE(events().mid(before, 2),
        (QStringList { QStringLiteral("sound 2"), QStringLiteral("brightness 20 1") }));
    QCOMPARE(QFile(simPath(QStringLiteral("brightness"))).exists(), true);
    clearEvents();
    // The blink timer is gone: nothing changes the backlight any more. Asserts that nothing
    // comes, so a fixed wait of more than one blink period: there is no timer left to count.
    QTest::qWait(1200);
    QVERIFY(brightnessEvents().isEmpty());
}

void TestBacklightInterface::foreignTimerIgnored()
{
    BacklightInterface screen;
    screen.runTimer();
    QTimerEvent foreign(987654);
    QCoreApplication::sendEvent(&screen, &foreign);
    QVERIFY(brightnessEvents().isEmpty());
}

void TestBacklightInterface::paintsItsTitle()
{
    BacklightInterface screen;
    screen.resize(800, 480);
    const QImage image = screen.grab().toImage();
    QCOMPARE(image.pixelColor(3, 3), QColor(Qt::black));
    // White text across the middle of the page.
    int white = 0;
    for (int x = 250; x < 550; ++x) {
        for (int y = 225; y < 255; ++y)
            white += image.pixelColor(x, y).lightness() > 200 ? 1 : 0;
    }
    QVERIFY2(white > 50, qPrintable(QString::number(white)));
}

QTEST_MAIN(TestBacklightInterface)
#include "tst_backlightinterface.moc"
