// The DIP switch check, fed as a worker feeds it: the simulator's dip file is replaced while
// the screen polls it. All ON, then all OFF, each with the signal tone; the screen leaves
// 100 ms after the second.
#include "common/qtcompat.h"
#include "screens/dipswitchinterface.h"
#include "testsupport.h"

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
    DipSwitchInterface *page = nullptr;
    PaintCounter *paints = nullptr;
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
    page->run();
    // Counted from the first paint of the started page on.
    if (!QTest::qWaitFor([this] { return paints->count > 0; }, 5000))
        return nullptr;
    QTest::qWait(50);
    paints->count = 0;
    clearEvents();
    return page;
}

void TestDipSwitchInterface::constructionStartsNothing()
{
    DipSwitchInterface screen;
    QCOMPARE(screen.panelPosition(), QPoint());
    QCOMPARE(screen.switchPosition(0), QPoint());
    QCOMPARE(screen.hintRect(), QRect());
    setDip(0x1111);
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
    QTest::qWait(250);
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
    QElapsedTimer clock;
    clock.start();
    qint64 exitedAt = -1;
    connect(page, &DipSwitchInterface::exitSignal, this, [&] { exitedAt = clock.elapsed(); });
    setDip(0);
    // The tone comes with the poll that sees 0; the exit a further 100 ms later.
    while (dipSounds() < 2 && clock.elapsed() < 5000)
        QTest::qWait(5);
    QCOMPARE(dipSounds(), 2);
    QCOMPARE(exits.count(), 0);
    QTRY_COMPARE(exits.count(), 1);
    QVERIFY2(exitedAt >= 100, qPrintable(QString::number(exitedAt)));
    QVERIFY(paints->count > before);
    QCOMPARE(events().filter(QStringLiteral("sound")),
        (QStringList { QStringLiteral("sound 10"), QStringLiteral("sound 10") }));
    // Gone: the poll has stopped.
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
    QTest::qWait(100);
    const int before = paints->count;
    // Written again, same value: polls see no change.
    setDip(0x1111);
    QTest::qWait(350);
    QCOMPARE(paints->count, before);
    QCOMPARE(dipSounds(), 1);
    QCOMPARE(page->hintText(), AllOffHint);
}

void TestDipSwitchInterface::startedAllOnNeedsAMove()
{
    QVERIFY(startPage(0x1111));
    QTest::qWait(300);
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
    QTest::qWait(250);
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
    QTest::qWait(150);
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
    setDip(0x1111);
    QTest::qWait(300);
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
