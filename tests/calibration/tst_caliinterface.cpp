// The calibration page on a virtual unit with a touch panel: raw touches go through the touch
// feed to the page's own tslib and to the window server's pointer, as on a board.
#include "calibration/calibration.h"
#include "calibration/caliinterface.h"

#include "tests/support/calibrationtestsupport.h"

#include "services/displayserver.h"

#include <QApplication>
#include <QFrame>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

#include <tslib.h>

#include <fcntl.h>

using namespace CalibrationTest;

namespace {

const QList<QPoint> Centres800 { { 50, 50 }, { 750, 50 }, { 750, 430 }, { 50, 430 }, { 400, 240 } };
// An exact linear image of the targets: screen x = -37.5 + 0.875 raw x, y = 2.5 + 0.475 raw y.
const QList<QPoint> Raw800 { { 100, 100 }, { 900, 100 }, { 900, 900 }, { 100, 900 }, { 500, 500 } };
const QByteArray ExampleLine("57344 0 -2457628 0 31129 163824 65536 800 480");

// Where the window server delivered presses, in global pixels.
class PressRecorder : public QObject {
public:
    QList<QPoint> presses;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::MouseButtonPress && watched->isWidgetType())
            presses << static_cast<QMouseEvent *>(event)->globalPos();
        return false;
    }
};

void moveTo(QWidget *page, const QPoint &pos)
{
    QMouseEvent move(QEvent::MouseMove, pos, page->mapToGlobal(pos), Qt::NoButton, Qt::LeftButton,
        Qt::NoModifier);
    QApplication::sendEvent(page, &move);
}

} // namespace

class TestCaliInterface : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void firstRunEndToEnd();
    void prompts();
    void languageChange();
    void geometry();
    void pointerMoves();
    void againRestoresAndRepeats();
    void againInInitModeRunsTwice();
    void identicalTouchesFail();
    void rotatedPanel();

private:
    // Runs one calibration with the example touches; ends in the accuracy test.
    void runExample(caliInterface *page);
    int eventIndex(const QString &line, int from = 0) const;

    caliInterface *page = nullptr;
};

void TestCaliInterface::initTestCase()
{
    QVERIFY2(qEnvironmentVariableIsSet("TSLIB_TSDEVICE"), "run in a virtual unit with --touch");
    TestSupport::writeSim(QStringLiteral("pixels"), QStringLiteral("800 480"));
    TestSupport::writeSim(QStringLiteral("orientation"), QStringLiteral("0"));
    open_ts();
    QVERIFY(ts);
    // tslib's touchkit module flushes the line on its first read: read once now, so that no
    // touch fed later is thrown away.
    const int flags = fcntl(ts_fd(ts), F_GETFL);
    fcntl(ts_fd(ts), F_SETFL, flags | O_NONBLOCK);
    ts_sample sample;
    ts_read_raw(ts, &sample, 1);
    fcntl(ts_fd(ts), F_SETFL, flags);
}

void TestCaliInterface::init()
{
    for (const char *name : { "tspointercal", "tspointercal.lastgood", "ts_def" })
        QFile::remove(configPath(QString::fromLatin1(name)));
    writeConfig(QStringLiteral("tspointercal"), "65536 0 0 0 65536 0 65536 800 480");
    writeConfig(QStringLiteral("ts_def"), "65536 0 0 0 65536 0 65536");
    TestSupport::writeSim(QStringLiteral("orientation"), QStringLiteral("0"));
    TestSupport::clearEvents();
    page = new caliInterface;
    page->setGeometry(0, 0, 800, 480);
    page->show();
    QVERIFY(QTest::qWaitForWindowExposed(page));
}

void TestCaliInterface::cleanup()
{
    delete page;
    page = nullptr;
}

int TestCaliInterface::eventIndex(const QString &line, int from) const
{
    return int(TestSupport::events().indexOf(line, from));
}

void TestCaliInterface::runExample(caliInterface *p)
{
    TargetPresser presser(Centres800, Raw800);
    p->exec();
    QCOMPARE(presser.pressed.load(), 5);
}

// Must stay the first test: the first target of the first run since start is not animated.
void TestCaliInterface::firstRunEndToEnd()
{
    QSignalSpy exits(page, &caliInterface::exitSignal);
    QVERIFY(exits.isValid());
    QByteArray printed;
    {
        StdoutCapture out;
        runExample(page);
        printed = out.text();
    }
    // Single-precision sums put the offsets a few tens of units off -2457600 and 163840.
    QCOMPARE(printed,
        QByteArray("Top left : X =  100 Y =  100\n"
                   "Top right : X =  900 Y =  100\n"
                   "Bot right : X =  900 Y =  900\n"
                   "Bot left : X =  100 Y =  900\n"
                   "Center : X =  500 Y =  500\n"
                   "-37.500427 0.875000 -0.000000\n"
                   "2.499756 -0.000000 0.475000\n"
                   "Calibration constants: -2457628 57344 0 163824 0 31129 65536 \n"));

    // The crosses: the first target at once, every later one after ten drawn-and-erased steps.
    const QStringList log = TestSupport::events();
    const int first = int(log.indexOf(QStringLiteral("cross 50 50 0x80000002")));
    QVERIFY(first > 0);
    QVERIFY(!log.mid(0, first).join(QLatin1Char('\n')).contains(QStringLiteral("cross")));
    const QStringList crosses = log.filter(QStringLiteral("cross "));
    QCOMPARE(crosses.size(), 2 + 4 * 22);
    QCOMPARE(crosses.at(1), QStringLiteral("cross 50 50 0x80000002"));
    // Ten steps of 70 pixels from (50, 50) to (750, 50), each drawn and erased.
    for (int k = 0; k < 10; ++k) {
        const QString step = QStringLiteral("cross %1 50 0x80000002").arg(50 + 70 * k);
        QCOMPARE(crosses.at(2 + 2 * k), step);
        QCOMPARE(crosses.at(3 + 2 * k), step);
    }
    QCOMPARE(crosses.at(22), QStringLiteral("cross 750 50 0x80000002"));
    QCOMPARE(log.count(QStringLiteral("sound 2")) >= 5, true);

    // The new calibration is live, the last good one is kept until the decision.
    QCOMPARE(readConfig(QStringLiteral("tspointercal")), ExampleLine);
    QCOMPARE(readConfig(QStringLiteral("tspointercal.lastgood")),
        QByteArray("65536 0 0 0 65536 0 65536 800 480"));
    QCOMPARE(readConfig(QStringLiteral("ts_def")), QByteArray("65536 0 0 0 65536 0 65536"));
    QCOMPARE(page->hint(), page->hintTexts().at(5));
    QVERIFY(page->isTracking());
    QVERIFY(DisplayServer::mouseOpen());

    // The worker drags through the feed: outside the square first, then into it.
    QElapsedTimer clock;
    clock.start();
    while (page->trailPoints().isEmpty() && clock.elapsed() < 20000) {
        feed("200 300 1\n230 300 1\n");
        QTest::qWait(50);
    }
    QVERIFY2(!page->trailPoints().isEmpty(), "the pointer never moved outside the square");
    // The moves to raw (230, 300) arrive at screen (163, 144) under the new coefficients.
    QVERIFY(page->trailPoints().contains(page->mapFromGlobal(QPoint(163, 144))));
    {
        StdoutCapture out;
        while (page->isTracking() && clock.elapsed() < 30000) {
            feed("500 500 1\n");
            QTest::qWait(50);
        }
        QVERIFY(!page->isTracking());
        QCOMPARE(out.text(), QByteArray("end cali, do restore setting\n"));
    }
    feed("500 500 0\n");
    QCOMPARE(page->hint(), QStringLiteral("Accept new calibration?"));
    QVERIFY(TestSupport::events().contains(QStringLiteral("sound 10")));
    auto *next = page->findChild<QPushButton *>(QStringLiteral("nextPushButton"));
    auto *again = page->findChild<QPushButton *>(QStringLiteral("againPushButton"));
    QVERIFY(next && again);
    QTRY_VERIFY(next->isVisible() && again->isVisible());
    QCOMPARE(readConfig(QStringLiteral("tspointercal.lastgood")),
        QByteArray("65536 0 0 0 65536 0 65536 800 480"));

    {
        StdoutCapture out;
        TestSupport::clearEvents();
        next->click();
        QCOMPARE(out.text(), QByteArray("apply new setting\n"));
    }
    QCOMPARE(exits.count(), 1);
    QVERIFY(page->isFinished());
    QVERIFY(!QFile::exists(configPath(QStringLiteral("tspointercal.lastgood"))));
    QCOMPARE(readConfig(QStringLiteral("tspointercal")), ExampleLine);
    QCOMPARE(TestSupport::events(),
        (QStringList { QStringLiteral("sound 2"), QStringLiteral("pointer-reload"),
            QStringLiteral("cursor-hide") }));

    // A touch at raw (900, 100) now reaches Qt at the pixel the new coefficients give:
    // (-2457628 + 57344 * 900) / 65536 = 749 and (163824 + 31129 * 100) / 65536 = 49.
    const QPoint expected((-2457628 + 57344 * 900) / 65536, (163824 + 31129 * 100) / 65536);
    PressRecorder recorder;
    qApp->installEventFilter(&recorder);
    while (!recorder.presses.contains(expected) && clock.elapsed() < 50000) {
        feed("900 100 1\n900 100 0\n");
        QTest::qWait(50);
    }
    qApp->removeEventFilter(&recorder);
    QVERIFY2(recorder.presses.contains(expected),
        qPrintable(QStringLiteral("presses seen: %1").arg(recorder.presses.size())));
}

void TestCaliInterface::prompts()
{
    QCOMPARE(page->hintTexts(),
        (QStringList { QStringLiteral("Please touch on the cross at the Top-Left corner"),
            QStringLiteral("Please touch on the cross at the Top-Right corner"),
            QStringLiteral("Please touch on the cross at the Bottom-Right corner"),
            QStringLiteral("Please touch on the cross at the Bottom-Left corner"),
            QStringLiteral("Please touch on the cross at the center"),
            QStringLiteral("Please try the accuraccy of touch on the screen\nuntil you move the "
                           "cursor to the center of square."),
            QStringLiteral("Accept new calibration?") }));
}

void TestCaliInterface::languageChange()
{
    QEvent change(QEvent::LanguageChange);
    QCOMPARE(int(change.type()), 89);
    QApplication::sendEvent(page, &change);
    QCOMPARE(page->hintTexts(),
        (QStringList { QStringLiteral("Please touch the cross at the Top-Left corner"),
            QStringLiteral("Please touch the cross at the Top-Right corner"),
            QStringLiteral("Please touch the cross at the Bottom-Right corner"),
            QStringLiteral("Please touch the cross at the Bottom-Left corner"),
            QStringLiteral("Please touch the cross at the center"),
            QStringLiteral("Please try the accuraccy of touch on the screen\nuntil you move the "
                           "cursor to the center of square."),
            QStringLiteral("Accept new calibration?") }));
}

void TestCaliInterface::geometry()
{
    QCOMPARE(page->targetPositions(),
        (QList<QPoint> { { 40, 40 }, { 740, 40 }, { 740, 420 }, { 40, 420 }, { 390, 230 } }));
    auto *frame = page->findChild<QFrame *>(QStringLiteral("frame"));
    QVERIFY(frame);
    QCOMPARE(frame->geometry(), QRect(385, 225, 30, 30));
    QCOMPARE(page->accuracySquare(), QRect(385, 225, 30, 30));
    QCOMPARE(frame->styleSheet(), QStringLiteral("color: rgb(255, 255, 255);"));
    QCOMPARE(frame->cursor().shape(), Qt::CrossCursor);
    QVERIFY(!frame->isVisible());
    auto *cross = page->findChild<QLabel *>(QStringLiteral("crossLabel"));
    QVERIFY(cross);
    QCOMPARE(cross->size(), QSize(20, 20));
    const QImage image = cross->pixmap(Qt::ReturnByValue).toImage();
    QCOMPARE(image.size(), QSize(20, 20));
    QCOMPARE(image.pixelColor(10, 3), QColor(Qt::white));
    QCOMPARE(image.pixelColor(3, 10), QColor(Qt::white));
    QCOMPARE(image.pixelColor(3, 3).alpha(), 0);
    auto *next = page->findChild<QPushButton *>(QStringLiteral("nextPushButton"));
    auto *again = page->findChild<QPushButton *>(QStringLiteral("againPushButton"));
    QVERIFY(next && again);
    QCOMPARE(next->text(), QStringLiteral("Next"));
    QCOMPARE(again->text(), QStringLiteral("Again"));
    QVERIFY(next->isHidden() && again->isHidden());
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    const int w = screen.width(), h = screen.height();
    QCOMPARE(next->pos(), QPoint((w - 1) / 2 + 10, (h / 3) * 2));
    QCOMPARE(again->pos(), QPoint((w - 1) / 2 - (again->width() - 1) - 11, (h / 3) * 2));
}

void TestCaliInterface::pointerMoves()
{
    runExample(page);
    QVERIFY(page->isTracking());
    TestSupport::clearEvents();
    moveTo(page, QPoint(100, 100));
    moveTo(page, QPoint(700, 400));
    QCOMPARE(page->trailPoints(), (QList<QPoint> { { 100, 100 }, { 700, 400 } }));
    QVERIFY(page->isTracking());
    QVERIFY(!TestSupport::events().contains(QStringLiteral("sound 10")));
    StdoutCapture out;
    moveTo(page, QPoint(386, 226));
    QVERIFY(!page->isTracking());
    QVERIFY(page->trailPoints().isEmpty());
    QCOMPARE(out.text(), QByteArray("end cali, do restore setting\n"));
    QCOMPARE(TestSupport::events().mid(0, 3),
        (QStringList { QStringLiteral("sound 10"), QStringLiteral("pointer-reload"),
            QStringLiteral("cursor-hide") }));
    QCOMPARE(page->hint(), QStringLiteral("Accept new calibration?"));
    // Once decided, moves are ignored.
    moveTo(page, QPoint(10, 10));
    QVERIFY(page->trailPoints().isEmpty());
}

void TestCaliInterface::againRestoresAndRepeats()
{
    runExample(page);
    moveTo(page, QPoint(400, 240));
    QVERIFY(!page->isTracking());
    auto *again = page->findChild<QPushButton *>(QStringLiteral("againPushButton"));
    QVERIFY(again);
    // A second run with other touches: raw = screen.
    writeConfig(QStringLiteral("tspointercal.lastgood"), "last good");
    TestSupport::clearEvents();
    QByteArray printed;
    {
        TargetPresser presser(Centres800, Centres800);
        StdoutCapture out;
        again->click();
        printed = out.text();
        QCOMPARE(presser.pressed.load(), 5);
    }
    QVERIFY(printed.startsWith("do restore setting\nTop left : X =   50 Y =   50\n"));
    // Restored, then backed up again for the new run, and the new fit is live.
    QCOMPARE(readConfig(QStringLiteral("tspointercal.lastgood")), QByteArray("last good"));
    QCOMPARE(readConfig(QStringLiteral("tspointercal")),
        QByteArray("65535 0 16 0 65535 8 65536 800 480"));
    QVERIFY(page->isFinished());
    // The first target of a repeated run is reached from the centre in ten steps.
    const QStringList log = TestSupport::events();
    const int first = int(log.indexOf(QStringLiteral("cross 50 50 0x80000002")));
    QVERIFY(first > 0);
    const QStringList crosses = log.filter(QStringLiteral("cross "));
    const int firstCross = int(crosses.indexOf(QStringLiteral("cross 50 50 0x80000002")));
    QCOMPARE(firstCross, 20);
    QCOMPARE(crosses.at(0), QStringLiteral("cross 400 240 0x80000002"));
    // (50 - 400) * 65536 / 10 and (50 - 240) * 65536 / 10 per step: the last is at (85, 69).
    QCOMPARE(crosses.at(18), QStringLiteral("cross 85 69 0x80000002"));
    QCOMPARE(log.count(QStringLiteral("sound 2")) >= 6, true);
    QVERIFY(page->isTracking());
}

void TestCaliInterface::againInInitModeRunsTwice()
{
    page->isInit(true);
    runExample(page);
    moveTo(page, QPoint(400, 240));
    auto *again = page->findChild<QPushButton *>(QStringLiteral("againPushButton"));
    TestSupport::clearEvents();
    QList<QPoint> twice = Centres800;
    twice += Centres800;
    QList<QPoint> raw = Raw800;
    raw += Raw800;
    TargetPresser presser(twice, raw);
    StdoutCapture out;
    again->click();
    QCOMPARE(presser.pressed.load(), 10);
    QCOMPARE(out.text().count("do restore setting\n"), 1);
    QCOMPARE(out.text().count("Center : X =  500 Y =  500\n"), 2);
    QVERIFY(page->inInitMode());
    QVERIFY(!page->isFinished());
    QVERIFY(page->isTracking());
}

void TestCaliInterface::identicalTouchesFail()
{
    const QList<QPoint> same { { 600, 600 }, { 600, 600 }, { 600, 600 }, { 600, 600 },
        { 600, 600 } };
    TargetPresser presser(Centres800, same);
    StdoutCapture out;
    page->exec();
    const QByteArray printed = out.text();
    QVERIFY(printed.endsWith("ts_calibrate: determinant is too small -- 0.000000\n"
                             "perform calibration failed.\n"));
    QCOMPARE(readConfig(QStringLiteral("tspointercal")), QByteArray("65536 0 0 0 65536 0 65536"));
    QCOMPARE(readConfig(QStringLiteral("tspointercal.lastgood")),
        QByteArray("65536 0 0 0 65536 0 65536 800 480"));
    QCOMPARE(page->hint(), page->hintTexts().at(4));
    QVERIFY(!page->isTracking());
    QVERIFY(page->findChild<QPushButton *>(QStringLiteral("nextPushButton"))->isHidden());
}

void TestCaliInterface::rotatedPanel()
{
    TestSupport::writeSim(QStringLiteral("orientation"), QStringLiteral("1"));
    runExample(page);
    QStringList log = TestSupport::events();
    QVERIFY(log.contains(QStringLiteral("transform 0")));
    QVERIFY(log.indexOf(QStringLiteral("transform 0"))
        < log.indexOf(QStringLiteral("cross 50 50 0x80000002")));
    QCOMPARE(DisplayServer::transformation(), 0);
    moveTo(page, QPoint(400, 240));
    TestSupport::clearEvents();
    page->findChild<QPushButton *>(QStringLiteral("nextPushButton"))->click();
    log = TestSupport::events();
    QCOMPARE(log.last(), QStringLiteral("transform 1"));
    QCOMPARE(DisplayServer::transformation(), 1);
}

QTEST_MAIN(TestCaliInterface)
#include "tst_caliinterface.moc"
