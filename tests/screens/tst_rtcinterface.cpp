// The clock screen, pressed on its keyboard with the mouse: date then time, the result page,
// the record handed to the clock (day of week and day of year as the toolkit counts them),
// "Again", and the one-second redraw that does not advance the shown time.
#include "common/functionbutton.h"
#include "input/inputpanelinterface.h"
#include "screens/rtcinterface.h"
#include "tests/support/testsupport.h"

#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTest>
#include <QTimerEvent>

using namespace TestSupport;

namespace {

QStackedWidget *pages(RtcInterface &screen)
{
    return screen.findChild<QStackedWidget *>();
}

InputPanelInterface *keyboard(RtcInterface &screen)
{
    return screen.findChild<InputPanelInterface *>();
}

// The keyboard's field without the cursor highlight.
QString fieldText(RtcInterface &screen)
{
    QString text = keyboard(screen)->findChild<QLabel *>(QStringLiteral("textLabel"))->text();
    return text.remove(QRegularExpression(QStringLiteral("<[^>]*>")));
}

QString labelText(RtcInterface &screen, const char *name)
{
    return screen.findChild<QLabel *>(QLatin1String(name))->text();
}

FunctionButton *button(RtcInterface &screen, const QString &text)
{
    const QList<FunctionButton *> buttons = screen.findChildren<FunctionButton *>();
    for (FunctionButton *b : buttons) {
        if (b->text() == text)
            return b;
    }
    return nullptr;
}

// Presses the keyboard's keys: digits, ">" (forwardBtn), "<" (backwardBtn), "K" (OKBtn).
void press(RtcInterface &screen, const QString &keys)
{
    for (const QChar key : keys) {
        QString name;
        if (key == QLatin1Char('>'))
            name = QStringLiteral("forwardBtn");
        else if (key == QLatin1Char('<'))
            name = QStringLiteral("backwardBtn");
        else if (key == QLatin1Char('K'))
            name = QStringLiteral("OKBtn");
        else
            name = QStringLiteral("numberBtn_") + key;
        auto *b = keyboard(screen)->findChild<QPushButton *>(name);
        QVERIFY2(b, qPrintable(name));
        QTest::mouseClick(b, Qt::LeftButton);
    }
}

} // namespace

class TestRtcInterface : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init();
    void construction();
    void runAsksForTheDate();
    void entry_data();
    void entry();
    void againStartsOver();
    void labelsDoNotRunOn();
    void secondRunLeavesItsTimer();
    void invalidText();
    void spareMembers();
};

void TestRtcInterface::init()
{
    writeSim(QStringLiteral("model"), QStringLiteral("7"));
    clearEvents();
}

void TestRtcInterface::construction()
{
    RtcInterface screen;
    QCOMPARE(screen.getDateFormat(), QStringLiteral("yyyy/MM/dd"));
    QCOMPARE(screen.font().pixelSize(), 16);
    QCOMPARE(pages(screen)->count(), 2);
    QVERIFY(keyboard(screen));
    QCOMPARE(keyboard(screen)->parentWidget(), pages(screen)->widget(0));
    QVERIFY(button(screen, QStringLiteral("Again")));
    QVERIFY(button(screen, QStringLiteral("Next")));
    QCOMPARE(button(screen, QStringLiteral("Next"))->parentWidget(), pages(screen)->widget(1));
    // Nothing entered yet.
    QCOMPARE(labelText(screen, "dateLabel"), QStringLiteral("<font color='white'></font>"));
    QCOMPARE(labelText(screen, "timeLabel"), QStringLiteral("<font color='white'></font>"));
    QVERIFY(events().isEmpty());
}

void TestRtcInterface::runAsksForTheDate()
{
    RtcInterface screen;
    screen.run();
    QCOMPARE(pages(screen)->currentIndex(), 0);
    QCOMPARE(fieldText(screen), QStringLiteral("2018/10/01"));
}

void TestRtcInterface::entry_data()
{
    QTest::addColumn<QString>("dateKeys");
    QTest::addColumn<QString>("timeKeys");
    QTest::addColumn<QString>("date");
    QTest::addColumn<QString>("time");
    QTest::addColumn<QString>("record");
    // The field opens on the month; ">" twice reaches the year.
    QTest::newRow("leap day, a Thursday") << ">>20240229K"
                                          << "235959K"
                                          << "2024/02/29"
                                          << "23:59:59"
                                          << "rtc-set 59 59 23 29 1 124 4 60";
    QTest::newRow("a Sunday") << ">>20240303K"
                              << "120000K"
                              << "2024/03/03"
                              << "12:00:00"
                              << "rtc-set 0 0 12 3 2 124 7 63";
    QTest::newRow("a Monday, first day of the year") << ">>20240101K"
                                                     << "000000K"
                                                     << "2024/01/01"
                                                     << "00:00:00"
                                                     << "rtc-set 0 0 0 1 0 124 1 1";
    QTest::newRow("as offered") << "K"
                                << "K"
                                << "2018/10/01"
                                << "10:10:10"
                                << "rtc-set 10 10 10 1 9 118 1 274";
}

void TestRtcInterface::entry()
{
    QFETCH(QString, dateKeys);
    QFETCH(QString, timeKeys);
    QFETCH(QString, date);
    QFETCH(QString, time);
    QFETCH(QString, record);
    RtcInterface screen;
    screen.resize(800, 480);
    screen.show();
    QSignalSpy exits(&screen, &RtcInterface::exitSignal);
    QVERIFY(exits.isValid());
    screen.run();

    DebugCapture debug;
    press(screen, dateKeys);
    QCOMPARE(pages(screen)->currentIndex(), 0);
    QCOMPARE(fieldText(screen), QStringLiteral("10:10:10"));
    QCOMPARE(debug.messages.last(), QStringLiteral("editFinish \"%1\"").arg(date));
    press(screen, timeKeys);
    QCOMPARE(debug.messages.last(), QStringLiteral("editFinish \"%1\"").arg(time));
    QCOMPARE(pages(screen)->currentIndex(), 1);
    QCOMPARE(
        labelText(screen, "dateLabel"), QStringLiteral("<font color='white'>%1</font>").arg(date));
    QCOMPARE(
        labelText(screen, "timeLabel"), QStringLiteral("<font color='white'>%1</font>").arg(time));

    clearEvents();
    QTest::mouseClick(button(screen, QStringLiteral("Next")), Qt::LeftButton);
    QCOMPARE(exits.count(), 1);
    QCOMPARE(events(), QStringList({ record, QStringLiteral("sound 2") }));
}

void TestRtcInterface::againStartsOver()
{
    RtcInterface screen;
    screen.resize(800, 480);
    screen.show();
    QSignalSpy exits(&screen, &RtcInterface::exitSignal);
    screen.run();
    press(screen, QStringLiteral(">>20240229K235959K"));
    QCOMPARE(pages(screen)->currentIndex(), 1);
    clearEvents();
    QTest::mouseClick(button(screen, QStringLiteral("Again")), Qt::LeftButton);
    QCOMPARE(exits.count(), 0);
    QVERIFY(events().isEmpty());
    QCOMPARE(pages(screen)->currentIndex(), 0);
    QCOMPARE(fieldText(screen), QStringLiteral("2018/10/01"));
    press(screen, QStringLiteral("K"));
    QCOMPARE(fieldText(screen), QStringLiteral("10:10:10"));
    press(screen, QStringLiteral("K"));
    QCOMPARE(
        labelText(screen, "dateLabel"), QStringLiteral("<font color='white'>2018/10/01</font>"));
    QCOMPARE(labelText(screen, "timeLabel"), QStringLiteral("<font color='white'>10:10:10</font>"));
}

void TestRtcInterface::labelsDoNotRunOn()
{
    RtcInterface screen;
    screen.run();
    screen.editFinish(QStringLiteral("2024/02/29"));
    screen.editFinish(QStringLiteral("23:59:59"));
    QCOMPARE(pages(screen)->currentIndex(), 1);
    EventCounter ticks(&screen, QEvent::Timer);
    QTRY_VERIFY_WITH_TIMEOUT(ticks.count >= 3, 10000);
    QCOMPARE(
        labelText(screen, "dateLabel"), QStringLiteral("<font color='white'>2024/02/29</font>"));
    QCOMPARE(labelText(screen, "timeLabel"), QStringLiteral("<font color='white'>23:59:59</font>"));
    clearEvents();
    screen.exit();
    QCOMPARE(events().first(), QStringLiteral("rtc-set 59 59 23 29 1 124 4 60"));
}

void TestRtcInterface::secondRunLeavesItsTimer()
{
    RtcInterface screen;
    screen.run();
    screen.run();
    screen.exit();
    // The first run's timer was never stopped: it still ticks, unheeded.
    EventCounter ticks(&screen, QEvent::Timer);
    QTRY_VERIFY_WITH_TIMEOUT(ticks.count >= 1, 5000);

    RtcInterface single;
    single.run();
    single.exit();
    EventCounter none(&single, QEvent::Timer);
    QTRY_VERIFY_WITH_TIMEOUT(ticks.count >= 3, 10000);
    QCOMPARE(none.count, 0);
}

void TestRtcInterface::invalidText()
{
    RtcInterface screen;
    screen.run();
    DebugCapture debug;
    screen.editFinish(QStringLiteral("2024/02/30"));
    QCOMPARE(debug.messages,
        QStringList(
            { QStringLiteral("editFinish \"2024/02/30\""), QStringLiteral("Invalid Date/Time") }));
    QCOMPARE(pages(screen)->currentIndex(), 0);
    QCOMPARE(fieldText(screen), QStringLiteral("2018/10/01"));
}

void TestRtcInterface::spareMembers()
{
    RtcInterface screen;
    screen.updateDateTime();
    screen.updateScreen();
    QCOMPARE(
        labelText(screen, "dateLabel"), QStringLiteral("<font color='white'>2018/10/01</font>"));
    QCOMPARE(labelText(screen, "timeLabel"), QStringLiteral("<font color='white'>10:10:10</font>"));
    // The clock was set to 2020-01-01 08:30:00 UTC just now.
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    writeSim(QStringLiteral("rtc"), QStringLiteral("1577867400 %1").arg(now));
    screen.updateTime();
    screen.updateScreen();
    QCOMPARE(
        labelText(screen, "dateLabel"), QStringLiteral("<font color='white'>2018/10/01</font>"));
    QVERIFY2(
        labelText(screen, "timeLabel").startsWith(QStringLiteral("<font color='white'>08:30:0")),
        qPrintable(labelText(screen, "timeLabel")));
}

QTEST_MAIN(TestRtcInterface)
#include "tst_rtcinterface.moc"
