// The DIP switch check, fed as a worker feeds it: the simulator's dip file is replaced while
// the screen polls it. All ON, then all OFF, each with the signal tone; the screen leaves
// 100 ms after the second.
#include "common/qtcompat.h"
#include "screens/dipswitchinterface.h"
#include "tests/support/testsupport.h"

#include <QElapsedTimer>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <QTimerEvent>

using namespace TestSupport;

namespace {
const QString AllOnHint = QStringLiteral("Set all dip switches ON");
const QString AllOffHint = QStringLiteral("Set all dip switches OFF");

void setDip(unsigned int value)
{
    QVERIFY(replaceSim(QStringLiteral("dip"), QStringLiteral("0x%1").arg(value, 0, 16)));
}

int dipSounds()
{
    return events().count(QStringLiteral("sound 10"));
}

// How long a poll may be held up on a loaded machine before a test gives up on it.
constexpr int PollTimeout = 10000;

// The time of the page's first poll (a timer event) after start(), on the clock start() began.
class FirstPoll : public QObject {
public:
    explicit FirstPoll(QObject *page) { page->installEventFilter(this); }
    void start() { clock.start(); }
    qint64 at = -1;
    QElapsedTimer clock;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Timer && at < 0 && clock.isValid())
            at = clock.elapsed();
        return false;
    }
};

// The page as it must look for a switch value and a hint.
QImage expectedPage(const DipSwitchInterface &page, unsigned int value, const QString &hint)
{
    const QPixmap panel(QStringLiteral(":/img/dip_panel.png"));
    const QPixmap on(QStringLiteral(":/img/dipIcon0.png"));
    const QPixmap off(QStringLiteral(":/img/dipIcon1.png"));
    const QPixmap marker(QStringLiteral(":/img/dip_on_icon.png"));
    QImage image(page.size(), QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setFont(page.font());
    painter.fillRect(image.rect(), Qt::black);
    painter.drawPixmap(page.panelPosition(), panel);
    const unsigned int bits[4] = { 0x1000, 0x100, 0x10, 0x1 };
    for (int i = 0; i < 4; ++i)
        painter.drawPixmap(page.switchPosition(i), (value & bits[i]) ? on : off);
    painter.drawPixmap(page.onMarkerPosition(), marker);
    painter.setPen(Qt::white);
    for (int i = 0; i < 4; ++i)
        painter.drawText(page.labelPosition(i), QStringLiteral("SW%1").arg(i + 1));
    painter.drawText(page.hintRect(), Qt::AlignCenter, hint);
    painter.end();
    return image;
}
} // namespace

class TestDipSwitchInterface : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void constructionStartsNothing();
    void positionsFromImageSizes();
    void positionsOn800x480();
    void runStartsOver();
    void onThenPartlyThenOffLeaves();
    void unchangedValueDoesNotRepaint();
    void startedAllOnNeedsAMove();
    void offBeforeOnDoesNothing();
    void secondAllOnDoesNothing();
    void otherValuesOnlyRepaint();
    void exitStopsPolling();
    void initDoesWhatRunDoes();
    void foreignTimerIgnored();
    void paintsSwitchesAndHint_data();
    void paintsSwitchesAndHint();

private:
    DipSwitchInterface *startPage(unsigned int dip);
    // True once the page has polled the switches n more times: what a change would have
    // done by then, it has done.
    bool polled(int n);
    DipSwitchInterface *page = nullptr;
    PaintCounter *paints = nullptr;
    EventCounter *polls = nullptr;
};

void TestDipSwitchInterface::init()
{
    setDip(0);
    clearEvents();
}

void TestDipSwitchInterface::cleanup()
{
    delete paints;
    paints = nullptr;
    delete polls;
    polls = nullptr;
    delete page;
    page = nullptr;
    setDip(0);
}

// A full-screen page, run with the switches at dip, with its paints counted from then on.
DipSwitchInterface *TestDipSwitchInterface::startPage(unsigned int dip)
{
    setDip(dip);
    page = new DipSwitchInterface;
    page->setGeometry(screenGeometry());
    page->show();
    if (!QTest::qWaitForWindowExposed(page))
        return nullptr;
    paints = new PaintCounter(page);
    polls = new EventCounter(page, QEvent::Timer);
    page->run();
    // Counted from the first paint of the started page on, once every paint the start asked
    // for is done.
    if (!QTest::qWaitFor([this] { return paints->count > 0; }, PollTimeout))
        return nullptr;
    settleWindows();
    paints->count = 0;
    clearEvents();
    return page;
}

bool TestDipSwitchInterface::polled(int n)
{
    const int target = polls->count + n;
    return QTest::qWaitFor([&] { return polls->count >= target; }, PollTimeout);
}

void TestDipSwitchInterface::constructionStartsNothing()
{
    DipSwitchInterface screen;
    QCOMPARE(screen.panelPosition(), QPoint());
    QCOMPARE(screen.switchPosition(0), QPoint());
    QCOMPARE(screen.hintRect(), QRect());
    setDip(0x1111);
    // Asserts that nothing happens: a screen that was never run has no poll to count, so a
    // fixed wait of a few poll periods.
    QTest::qWait(250);
    QCOMPARE(dipSounds(), 0);
    QCOMPARE(screen.hintText(), AllOnHint);
    const QMetaObject *meta = screen.metaObject();
    QCOMPARE(meta->method(meta->methodOffset()).methodSignature(), QByteArray("exitSignal()"));
    QCOMPARE(meta->method(meta->methodOffset() + 1).methodSignature(), QByteArray("exit()"));
}

void TestDipSwitchInterface::positionsFromImageSizes()
{
    const QSize screen = screenGeometry().size();
    const QSize panel = QPixmap(QStringLiteral(":/img/dip_panel.png")).size();
    const QSize icon = QPixmap(QStringLiteral(":/img/dipIcon0.png")).size();
    QVERIFY(!panel.isEmpty());
    QVERIFY(!icon.isEmpty());
    DipSwitchInterface screenPage;
    screenPage.run();
    const QPoint p((screen.width() - panel.width()) / 2, (screen.height() - panel.height()) / 2);
    QCOMPARE(screenPage.panelPosition(), p);
    const QPoint sw1 = p + QPoint(18, 37);
    for (int i = 0; i < 4; ++i)
        QCOMPARE(screenPage.switchPosition(i), sw1 + QPoint(i * (icon.width() + 19), 0));
    const int baseline = sw1.y() + icon.height() + 16;
    QCOMPARE(screenPage.labelPosition(0), QPoint(sw1.x() - 3, baseline));
    QCOMPARE(screenPage.labelPosition(1), QPoint(sw1.x() + icon.width() + 16, baseline));
    QCOMPARE(screenPage.labelPosition(2),
        QPoint(screenPage.switchPosition(1).x() + icon.width() + 16, baseline));
    QCOMPARE(screenPage.labelPosition(3), QPoint(screenPage.switchPosition(3).x() - 3, baseline));
    QCOMPARE(screenPage.onMarkerPosition(), screenPage.switchPosition(3) + QPoint(-3, -32));
    QCOMPARE(screenPage.hintRect(),
        QRect(QPoint(0, p.y() + panel.height()),
            QPoint(screen.width() - 1, p.y() + panel.height() + 24)));
    QCOMPARE(screenPage.hintRect().height(), 25);
    QCOMPARE(screenPage.font().pixelSize(), 16);
    screenPage.exit();
}

void TestDipSwitchInterface::positionsOn800x480()
{
    if (screenGeometry().size() != QSize(800, 480))
        QSKIP("needs the 800x480 panel");
    if (QPixmap(QStringLiteral(":/img/dip_panel.png")).size() != QSize(221, 141)
        || QPixmap(QStringLiteral(":/img/dipIcon0.png")).size() != QSize(32, 72))
        QSKIP("the figures below are for the 221x141 panel and 32x72 switch artwork");
    DipSwitchInterface screen;
    screen.run();
    QCOMPARE(screen.panelPosition(), QPoint(289, 169));
    QCOMPARE(screen.switchPosition(0), QPoint(307, 206));
    QCOMPARE(screen.switchPosition(1), QPoint(358, 206));
    QCOMPARE(screen.switchPosition(2), QPoint(409, 206));
    QCOMPARE(screen.switchPosition(3), QPoint(460, 206));
    QCOMPARE(screen.labelPosition(0), QPoint(304, 294));
    QCOMPARE(screen.labelPosition(1), QPoint(355, 294));
    QCOMPARE(screen.labelPosition(2), QPoint(406, 294));
    QCOMPARE(screen.labelPosition(3), QPoint(457, 294));
    QCOMPARE(screen.onMarkerPosition(), QPoint(457, 174));
    QCOMPARE(screen.hintRect(), QRect(QPoint(0, 310), QPoint(799, 334)));
    screen.exit();
}

void TestDipSwitchInterface::runStartsOver()
{
    QVERIFY(startPage(0));
    setDip(0x1111);
    QTRY_COMPARE(page->hintText(), AllOffHint);
    // A new run asks for all ON again and takes the switches as they stand.
    page->run();
    QCOMPARE(page->hintText(), AllOnHint);
    QVERIFY(polled(3));
    QCOMPARE(page->hintText(), AllOnHint);
    QCOMPARE(dipSounds(), 1);
}

void TestDipSwitchInterface::onThenPartlyThenOffLeaves()
{
    QVERIFY(startPage(0));
    QSignalSpy exits(page, &DipSwitchInterface::exitSignal);
    QVERIFY(exits.isValid());
    QCOMPARE(page->hintText(), AllOnHint);

    setDip(0x1111);
    QTRY_COMPARE(dipSounds(), 1);
    QCOMPARE(page->hintText(), AllOffHint);
    QTRY_VERIFY(paints->count >= 1);

    int before = paints->count;
    setDip(0x0110);
    QTRY_VERIFY(paints->count > before);
    QCOMPARE(dipSounds(), 1);
    QCOMPARE(page->hintText(), AllOffHint);

    before = paints->count;
    // The tone comes with the poll that sees 0, the exit a further 100 ms later: both are
    // timed where they happen, not where this test next looks.
    FirstPoll tone(page);
    qint64 exitedAt = -1;
    int soundsAtExit = -1;
    connect(page, &DipSwitchInterface::exitSignal, this, [&] {
        exitedAt = tone.clock.elapsed();
        soundsAtExit = dipSounds();
    });
    setDip(0);
    tone.start();
    QTRY_COMPARE_WITH_TIMEOUT(exits.count(), 1, PollTimeout);
    QCOMPARE(soundsAtExit, 2);
    QVERIFY2(tone.at >= 0 && exitedAt - tone.at >= 100,
        qPrintable(QStringLiteral("poll at %1 ms, exit at %2 ms").arg(tone.at).arg(exitedAt)));
    QVERIFY(paints->count > before);
    QCOMPARE(events().filter(QStringLiteral("sound")),
        (QStringList { QStringLiteral("sound 10"), QStringLiteral("sound 10") }));
    // Gone: the poll has stopped. Asserts that nothing comes, so a fixed wait of a few poll
    // periods: there is no poll left to count.
    setDip(0x1111);
    QTest::qWait(300);
    QCOMPARE(dipSounds(), 2);
    QCOMPARE(exits.count(), 1);
}

void TestDipSwitchInterface::unchangedValueDoesNotRepaint()
{
    QVERIFY(startPage(0x1110));
    setDip(0x1111);
    QTRY_COMPARE(dipSounds(), 1);
    QTRY_VERIFY(paints->count >= 1);
    settleWindows();
    const int before = paints->count;
    // Written again, same value: polls see no change.
    setDip(0x1111);
    QVERIFY(polled(3));
    settleWindows();
    QCOMPARE(paints->count, before);
    QCOMPARE(dipSounds(), 1);
    QCOMPARE(page->hintText(), AllOffHint);
}

void TestDipSwitchInterface::startedAllOnNeedsAMove()
{
    QVERIFY(startPage(0x1111));
    QVERIFY(polled(3));
    settleWindows();
    QCOMPARE(dipSounds(), 0);
    QCOMPARE(paints->count, 0);
    QCOMPARE(page->hintText(), AllOnHint);
    setDip(0x0111);
    QTRY_VERIFY(paints->count >= 1);
    QCOMPARE(dipSounds(), 0);
    setDip(0x1111);
    QTRY_COMPARE(dipSounds(), 1);
    QCOMPARE(page->hintText(), AllOffHint);
}

void TestDipSwitchInterface::offBeforeOnDoesNothing()
{
    QVERIFY(startPage(0x0001));
    QSignalSpy exits(page, &DipSwitchInterface::exitSignal);
    setDip(0);
    QTRY_VERIFY(paints->count >= 1);
    QVERIFY(polled(3));
    QCOMPARE(dipSounds(), 0);
    QCOMPARE(exits.count(), 0);
    QCOMPARE(page->hintText(), AllOnHint);
}

void TestDipSwitchInterface::secondAllOnDoesNothing()
{
    QVERIFY(startPage(0));
    setDip(0x1111);
    QTRY_COMPARE(page->hintText(), AllOffHint);
    setDip(0x1101);
    QTRY_VERIFY(paints->count >= 2);
    const int before = paints->count;
    setDip(0x1111);
    QTRY_VERIFY(paints->count > before);
    QVERIFY(polled(2));
    QCOMPARE(dipSounds(), 1);
    QCOMPARE(page->hintText(), AllOffHint);
}

void TestDipSwitchInterface::otherValuesOnlyRepaint()
{
    QVERIFY(startPage(0));
    QSignalSpy exits(page, &DipSwitchInterface::exitSignal);
    int seen = 0;
    for (unsigned int value : { 0x1000u, 0x1100u, 0x0011u, 0x1u, 0x0111u }) {
        setDip(value);
        QTRY_VERIFY(paints->count > seen);
        seen = paints->count;
    }
    QCOMPARE(dipSounds(), 0);
    QCOMPARE(exits.count(), 0);
    QCOMPARE(page->hintText(), AllOnHint);
}

void TestDipSwitchInterface::exitStopsPolling()
{
    QVERIFY(startPage(0));
    QSignalSpy exits(page, &DipSwitchInterface::exitSignal);
    page->exit();
    QCOMPARE(exits.count(), 1);
    const int polledBefore = polls->count;
    setDip(0x1111);
    // Asserts that nothing comes, so a fixed wait of a few poll periods: there is no poll left
    // to count.
    QTest::qWait(300);
    QCOMPARE(polls->count, polledBefore);
    QCOMPARE(dipSounds(), 0);
    QCOMPARE(paints->count, 0);
}

void TestDipSwitchInterface::initDoesWhatRunDoes()
{
    setDip(0);
    DipSwitchInterface screen;
    screen.init();
    QCOMPARE(screen.hintText(), AllOnHint);
    QVERIFY(!screen.hintRect().isNull());
    setDip(0x1111);
    QTRY_COMPARE(dipSounds(), 1);
    QCOMPARE(screen.hintText(), AllOffHint);
    screen.exit();
}

void TestDipSwitchInterface::foreignTimerIgnored()
{
    QVERIFY(startPage(0));
    setDip(0x1111);
    QTimerEvent foreign(987654);
    QCoreApplication::sendEvent(page, &foreign);
    QCOMPARE(dipSounds(), 0);
    page->exit();
}

void TestDipSwitchInterface::paintsSwitchesAndHint_data()
{
    QTest::addColumn<unsigned int>("start");
    QTest::addColumn<unsigned int>("value");
    QTest::addColumn<QString>("hint");
    QTest::newRow("all off, asking ON") << 0u << 0u << AllOnHint;
    QTest::newRow("SW1 and SW3, asking ON") << 0u << 0x1010u << AllOnHint;
    QTest::newRow("SW2 and SW4, asking ON") << 0u << 0x0101u << AllOnHint;
    QTest::newRow("all on, asking OFF") << 0u << 0x1111u << AllOffHint;
    QTest::newRow("SW4 alone, asking OFF") << 0x1111u << 0x0001u << AllOffHint;
}

void TestDipSwitchInterface::paintsSwitchesAndHint()
{
    QFETCH(unsigned int, start);
    QFETCH(unsigned int, value);
    QFETCH(QString, hint);
    QVERIFY(startPage(0));
    if (start) {
        setDip(start);
        QTRY_COMPARE(page->hintText(), AllOffHint);
    }
    setDip(value);
    QTRY_COMPARE(page->hintText(), hint);
    QTRY_COMPARE(page->grab().toImage().convertToFormat(QImage::Format_RGB32),
        expectedPage(*page, value, hint));
    // The comparison tells switch positions and hints apart.
    QVERIFY(expectedPage(*page, value, hint) != expectedPage(*page, value ^ 0x10, hint));
    QVERIFY(expectedPage(*page, value, hint)
        != expectedPage(*page, value, hint == AllOnHint ? AllOffHint : AllOnHint));
    page->exit();
}

QTEST_MAIN(TestDipSwitchInterface)
#include "tst_dipswitchinterface.moc"
