// The brightness check: presses in the top quarters step the level (repeating while held,
// out-of-range requests sounding the error tone but still reaching the LCD), the bottom half
// restores full brightness and leaves.
#include "common/qtcompat.h"
#include "screens/brightnessinterface.h"
#include "tests/support/testsupport.h"

#include <QElapsedTimer>
#include <QLinearGradient>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <QTimerEvent>

#include <climits>

using namespace TestSupport;

namespace {
QStringList hardwareEvents()
{
    QStringList lines;
    for (const QString &line : events()) {
        if (line.startsWith(QLatin1String("sound "))
            || line.startsWith(QLatin1String("brightness ")))
            lines << line;
    }
    return lines;
}

void setLevel(int level)
{
    writeSim(QStringLiteral("brightness"), QString::number(level));
}

// The page as it must look: black top quarters with the divider, the white-to-black save
// area, and the four texts centred in their rectangles.
QImage expectedPage(const BrightnessInterface &screen, const QString &levelText)
{
    const QRect r = screen.rect();
    const int right = r.width() - 1, bottom = r.height() - 1;
    QImage image(r.size(), QImage::Format_RGB32);
    image.fill(QColor(1, 2, 3));
    QPainter painter(&image);
    painter.setFont(screen.font());
    painter.fillRect(QRect(QPoint(0, 0), QPoint(right / 2, bottom / 2)), Qt::black);
    painter.fillRect(QRect(QPoint(right / 2, 0), QPoint(right, bottom / 2)), Qt::black);
    painter.setPen(Qt::white);
    painter.drawLine(QPoint(right / 2, 0), QPoint(right / 2, bottom / 2));
    QLinearGradient gradient(QPointF(0, 0), QPointF(right, 0));
    gradient.setColorAt(0, Qt::white);
    gradient.setColorAt(1, Qt::black);
    painter.fillRect(QRect(QPoint(0, bottom / 2), QPoint(right, bottom)), gradient);
    painter.drawText(QRect(QPoint(0, 0), QPoint(right / 2, bottom / 2)), Qt::AlignCenter,
        QStringLiteral("Decrease Brightness"));
    painter.drawText(QRect(QPoint(right / 2, 0), QPoint(right, bottom / 2)), Qt::AlignCenter,
        QStringLiteral("Increase Brightness"));
    painter.drawText(r, Qt::AlignCenter, levelText);
    painter.drawText(QRect(QPoint(0, bottom / 2), QPoint(right, bottom)), Qt::AlignCenter,
        QStringLiteral("Save brightness"));
    painter.end();
    return image;
}

QImage renderPage(BrightnessInterface &screen)
{
    QImage image(screen.size(), QImage::Format_RGB32);
    image.fill(QColor(1, 2, 3));
    screen.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}
} // namespace

class TestBrightnessInterface : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void construction();
    void areas_data();
    void areas();
    void press_data();
    void press();
    void saveFromAnyLevel_data();
    void saveFromAnyLevel();
    void soundRule_data();
    void soundRule();
    void readsTheLevel();
    void heldPressStepsEvery50ms();
    void heldSaveRepeatsUntilRelease();
    void releaseStopsTheRepeat();
    void hidingStopsTheRepeat();
    void foreignTimerIgnored();
    void paintsAreasAndTexts_data();
    void paintsAreasAndTexts();
    void repaintsAfterStep();

private:
    BrightnessInterface *shown();
    BrightnessInterface *screen = nullptr;
};

void TestBrightnessInterface::init()
{
    setLevel(20);
    clearEvents();
}

void TestBrightnessInterface::cleanup()
{
    delete screen;
    screen = nullptr;
}

BrightnessInterface *TestBrightnessInterface::shown()
{
    screen = new BrightnessInterface;
    screen->setGeometry(screenGeometry());
    screen->show();
    if (!QTest::qWaitForWindowExposed(screen))
        return nullptr;
    clearEvents();
    return screen;
}

void TestBrightnessInterface::construction()
{
    setLevel(3);
    BrightnessInterface page;
    QCOMPARE(page.font().pixelSize(), 16);
    // Full brightness, saved, without a sound.
    QCOMPARE(hardwareEvents(), QStringList { QStringLiteral("brightness 20 1") });
    QCOMPARE(page.lcdBrightness(), 20);
    QCOMPARE(page.metaObject()->indexOfSignal("exitSignal()") >= 0, true);
}

void TestBrightnessInterface::areas_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QRect>("decrease");
    QTest::addColumn<QRect>("increase");
    QTest::addColumn<QRect>("save");
    QTest::newRow("800x480") << QSize(800, 480) << QRect(QPoint(0, 0), QPoint(399, 239))
                             << QRect(QPoint(399, 0), QPoint(799, 239))
                             << QRect(QPoint(0, 239), QPoint(799, 479));
    QTest::newRow("480x272") << QSize(480, 272) << QRect(QPoint(0, 0), QPoint(239, 135))
                             << QRect(QPoint(239, 0), QPoint(479, 135))
                             << QRect(QPoint(0, 135), QPoint(479, 271));
    QTest::newRow("odd 101x51") << QSize(101, 51) << QRect(QPoint(0, 0), QPoint(50, 25))
                                << QRect(QPoint(50, 0), QPoint(100, 25))
                                << QRect(QPoint(0, 25), QPoint(100, 50));
}

void TestBrightnessInterface::areas()
{
    QFETCH(QSize, size);
    BrightnessInterface page;
    page.resize(size);
    QTEST(page.decreaseArea(), "decrease");
    QTEST(page.increaseArea(), "increase");
    QTEST(page.saveArea(), "save");
}

// Presses on a full-screen page through real mouse events; positions as fractions of the
// page so that every row runs on both panels.
void TestBrightnessInterface::press_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("where");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<int>("exits");
    const auto rows = [](const char *s, const char *b) {
        return QStringList { QString::fromLatin1(s), QString::fromLatin1(b) };
    };
    QTest::newRow("increase at 20 asks 21")
        << 20 << "increase" << rows("sound 5", "brightness 21 1") << 0;
    QTest::newRow("decrease at 0 asks -1")
        << 0 << "decrease" << rows("sound 5", "brightness -1 1") << 0;
    QTest::newRow("decrease at 10") << 10 << "decrease" << rows("sound 1", "brightness 9 1") << 0;
    QTest::newRow("increase at 10") << 10 << "increase" << rows("sound 1", "brightness 11 1") << 0;
    QTest::newRow("increase at 19") << 19 << "increase" << rows("sound 1", "brightness 20 1") << 0;
    QTest::newRow("decrease at 1") << 1 << "decrease" << rows("sound 1", "brightness 0 1") << 0;
    QTest::newRow("divider pixel is decrease")
        << 10 << "divider" << rows("sound 1", "brightness 9 1") << 0;
    QTest::newRow("divider foot is decrease")
        << 10 << "divider foot" << rows("sound 1", "brightness 9 1") << 0;
    QTest::newRow("right of divider is increase")
        << 10 << "right of divider" << rows("sound 1", "brightness 11 1") << 0;
    QTest::newRow("top-half bottom row right is increase")
        << 10 << "increase bottom row" << rows("sound 1", "brightness 11 1") << 0;
    QTest::newRow("top-left corner") << 5 << "origin" << rows("sound 1", "brightness 4 1") << 0;
    QTest::newRow("save area") << 7 << "save" << rows("sound 1", "brightness 20 1") << 1;
    QTest::newRow("bottom-right corner saves")
        << 7 << "bottom right" << rows("sound 1", "brightness 20 1") << 1;
}

static QPoint pointFor(const QString &where, const QRect &r)
{
    const int right = r.width() - 1, bottom = r.height() - 1;
    if (where == QLatin1String("increase"))
        return QPoint(right * 3 / 4, bottom / 4);
    if (where == QLatin1String("decrease"))
        return QPoint(right / 4, bottom / 4);
    if (where == QLatin1String("divider"))
        return QPoint(right / 2, bottom / 4);
    if (where == QLatin1String("divider foot"))
        return QPoint(right / 2, bottom / 2);
    if (where == QLatin1String("right of divider"))
        return QPoint(right / 2 + 1, bottom / 4);
    if (where == QLatin1String("increase bottom row"))
        return QPoint(right * 3 / 4, bottom / 2);
    if (where == QLatin1String("origin"))
        return QPoint(0, 0);
    if (where == QLatin1String("save"))
        return QPoint(right / 4, bottom * 3 / 4);
    return QPoint(right, bottom);
}

void TestBrightnessInterface::press()
{
    QFETCH(int, level);
    QFETCH(QString, where);
    QFETCH(QStringList, expected);
    QFETCH(int, exits);
    BrightnessInterface *page = shown();
    QVERIFY(page);
    setLevel(level);
    QSignalSpy exitSpy(page, &BrightnessInterface::exitSignal);
    QVERIFY(exitSpy.isValid());
    const QPoint point = pointFor(where, page->rect());
    QTest::mousePress(page, Qt::LeftButton, Qt::NoModifier, point);
    QTest::mouseRelease(page, Qt::LeftButton, Qt::NoModifier, point);
    QCOMPARE(hardwareEvents(), expected);
    QCOMPARE(exitSpy.count(), exits);
}

void TestBrightnessInterface::saveFromAnyLevel_data()
{
    QTest::addColumn<int>("level");
    for (int level : { 0, 1, 10, 19, 20 })
        QTest::newRow(qPrintable(QStringLiteral("level %1").arg(level))) << level;
}

void TestBrightnessInterface::saveFromAnyLevel()
{
    QFETCH(int, level);
    BrightnessInterface *page = shown();
    QVERIFY(page);
    setLevel(level);
    QSignalSpy exitSpy(page, &BrightnessInterface::exitSignal);
    page->handleMousePressed(page->saveArea().center());
    QCOMPARE(hardwareEvents(),
        (QStringList { QStringLiteral("sound 1"), QStringLiteral("brightness 20 1") }));
    QCOMPARE(exitSpy.count(), 1);
    QCOMPARE(page->lcdBrightness(), 20);
}

void TestBrightnessInterface::soundRule_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<bool>("save");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("-1") << -1 << true << QStringList { "sound 5", "brightness -1 1" };
    QTest::newRow("0") << 0 << true << QStringList { "sound 1", "brightness 0 1" };
    QTest::newRow("20") << 20 << true << QStringList { "sound 1", "brightness 20 1" };
    QTest::newRow("21") << 21 << true << QStringList { "sound 5", "brightness 21 1" };
    QTest::newRow("INT_MIN") << INT_MIN << true
                             << QStringList { "sound 5",
                                    QStringLiteral("brightness %1 1").arg(INT_MIN) };
    QTest::newRow("INT_MAX") << INT_MAX << true
                             << QStringList { "sound 5",
                                    QStringLiteral("brightness %1 1").arg(INT_MAX) };
    QTest::newRow("flag passed on") << 5 << false << QStringList { "sound 1", "brightness 5 0" };
}

void TestBrightnessInterface::soundRule()
{
    QFETCH(int, value);
    QFETCH(bool, save);
    QFETCH(QStringList, expected);
    BrightnessInterface page;
    clearEvents();
    page.setLcdBrightness(value, save);
    QCOMPARE(hardwareEvents(), expected);
}

void TestBrightnessInterface::readsTheLevel()
{
    BrightnessInterface page;
    setLevel(13);
    QCOMPARE(page.lcdBrightness(), 13);
    setLevel(0);
    QCOMPARE(page.lcdBrightness(), 0);
}

void TestBrightnessInterface::heldPressStepsEvery50ms()
{
    BrightnessInterface *page = shown();
    QVERIFY(page);
    setLevel(0);
    const QPoint point = pointFor(QStringLiteral("increase"), page->rect());
    QElapsedTimer clock;
    clock.start();
    QTest::mousePress(page, Qt::LeftButton, Qt::NoModifier, point);
    // Held until it has stepped three times, however long a loaded machine takes for that.
    QTRY_VERIFY_WITH_TIMEOUT(hardwareEvents().count() >= 6, 10000);
    QTest::mouseRelease(page, Qt::LeftButton, Qt::NoModifier, point);
    const qint64 elapsed = clock.elapsed();
    // The press steps at once, then once per 50 ms while held: each step is one level,
    // and a loaded machine can only make fewer steps, never more.
    const QStringList events = hardwareEvents();
    const int steps = events.count() / 2;
    QVERIFY2(steps >= 3, qPrintable(events.join(QLatin1Char('|'))));
    QVERIFY2((steps - 1) * 45 <= elapsed,
        qPrintable(QStringLiteral("%1 steps in %2 ms").arg(steps).arg(elapsed)));
    QStringList expected;
    for (int level = 1; level <= steps; ++level)
        expected << QStringLiteral("sound %1").arg(level <= 20 ? 1 : 5)
                 << QStringLiteral("brightness %1 1").arg(level);
    QCOMPARE(events, expected);
    // Released: no more steps. Asserts that nothing comes, so a fixed wait of three repeat
    // periods: the repeat timer is gone and there is nothing to count.
    QTest::qWait(150);
    QCOMPARE(hardwareEvents(), expected);
}

void TestBrightnessInterface::heldSaveRepeatsUntilRelease()
{
    BrightnessInterface *page = shown();
    QVERIFY(page);
    QSignalSpy exitSpy(page, &BrightnessInterface::exitSignal);
    const QPoint point = pointFor(QStringLiteral("save"), page->rect());
    QTest::mousePress(page, Qt::LeftButton, Qt::NoModifier, point);
    QCOMPARE(exitSpy.count(), 1);
    QTRY_VERIFY(exitSpy.count() >= 3);
    QTest::mouseRelease(page, Qt::LeftButton, Qt::NoModifier, point);
    const int saves = exitSpy.count();
    QCOMPARE(hardwareEvents().count(QStringLiteral("brightness 20 1")), saves);
    QCOMPARE(hardwareEvents().count(QStringLiteral("sound 1")), saves);
    // Asserts that nothing comes after the release: a fixed wait of four repeat periods.
    QTest::qWait(200);
    QCOMPARE(exitSpy.count(), saves);
}

void TestBrightnessInterface::releaseStopsTheRepeat()
{
    BrightnessInterface *page = shown();
    QVERIFY(page);
    setLevel(5);
    const QPoint point = pointFor(QStringLiteral("decrease"), page->rect());
    QTest::mousePress(page, Qt::LeftButton, Qt::NoModifier, point);
    // A loaded machine may see more than one step between two looks; any level below the
    // start will do, as long as it stays where the release left it.
    QTRY_VERIFY(page->lcdBrightness() <= 3);
    QTest::mouseRelease(page, Qt::LeftButton, Qt::NoModifier, point);
    const int released = page->lcdBrightness();
    const QStringList before = hardwareEvents();
    // Asserts that nothing comes after the release: a fixed wait of five repeat periods.
    QTest::qWait(250);
    QCOMPARE(hardwareEvents(), before);
    QCOMPARE(page->lcdBrightness(), released);
}

void TestBrightnessInterface::hidingStopsTheRepeat()
{
    BrightnessInterface *page = shown();
    QVERIFY(page);
    QSignalSpy exitSpy(page, &BrightnessInterface::exitSignal);
    const QPoint point = pointFor(QStringLiteral("save"), page->rect());
    QTest::mousePress(page, Qt::LeftButton, Qt::NoModifier, point);
    QCOMPARE(exitSpy.count(), 1);
    // The page gives way to the next screen before the finger lifts.
    page->hide();
    // Asserts that no repeat comes once hidden: a fixed wait of five repeat periods.
    QTest::qWait(250);
    QCOMPARE(exitSpy.count(), 1);
}

void TestBrightnessInterface::foreignTimerIgnored()
{
    BrightnessInterface *page = shown();
    QVERIFY(page);
    QTest::mousePress(page, Qt::LeftButton, Qt::NoModifier, pointFor("decrease", page->rect()));
    QTest::mouseRelease(page, Qt::LeftButton, Qt::NoModifier, pointFor("decrease", page->rect()));
    clearEvents();
    QTimerEvent foreign(987654);
    QCoreApplication::sendEvent(page, &foreign);
    QVERIFY(hardwareEvents().isEmpty());
}

void TestBrightnessInterface::paintsAreasAndTexts_data()
{
    QTest::addColumn<int>("level");
    QTest::newRow("0") << 0;
    QTest::newRow("7") << 7;
    QTest::newRow("20") << 20;
}

void TestBrightnessInterface::paintsAreasAndTexts()
{
    QFETCH(int, level);
    BrightnessInterface page;
    page.resize(screenGeometry().size());
    setLevel(level);
    const QImage image = renderPage(page);
    QCOMPARE(image, expectedPage(page, QStringLiteral("Brightness= %1").arg(level)));
    // The comparison tells texts apart.
    QVERIFY(image != expectedPage(page, QStringLiteral("Brightness=%1").arg(level)));
    QVERIFY(image != expectedPage(page, QStringLiteral("Brightness= %1").arg(level + 1)));
    // Black quarters, the white divider, white to black across the save area.
    const int right = page.width() - 1, bottom = page.height() - 1;
    QCOMPARE(image.pixelColor(2, 2), QColor(Qt::black));
    QCOMPARE(image.pixelColor(right - 2, 2), QColor(Qt::black));
    QCOMPARE(image.pixelColor(right / 2, 2), QColor(Qt::white));
    QVERIFY(image.pixelColor(1, bottom - 2).lightness() > 240);
    QVERIFY(image.pixelColor(right - 1, bottom - 2).lightness() < 15);
}

void TestBrightnessInterface::repaintsAfterStep()
{
    BrightnessInterface *page = shown();
    QVERIFY(page);
    setLevel(12);
    QTest::mousePress(page, Qt::LeftButton, Qt::NoModifier, pointFor("increase", page->rect()));
    QTest::mouseRelease(page, Qt::LeftButton, Qt::NoModifier, pointFor("increase", page->rect()));
    QTRY_COMPARE(page->grab().toImage(), expectedPage(*page, QStringLiteral("Brightness= 13")));
}

QTEST_MAIN(TestBrightnessInterface)
#include "tst_brightnessinterface.moc"
