// The field model behind the on-screen keyboards: formatting, cursor movement, writing keys,
// the per-key and final checks, the buzzer and the debug lines.
#include "input/inputpanel.h"
#include "services/fram.h"
#include "tests/support/testsupport.h"

#include <QDate>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTime>

#include <random>

using TestSupport::DebugCapture;
using TestSupport::sounds;

class TestInputPanel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void typeTable_data();
    void typeTable();
    void unknownKey_data();
    void unknownKey();
    void dateFormat_data();
    void dateFormat();
    void currentSectionIsPlaceholder();

    void initLayout_data();
    void initLayout();
    void initSignals();
    void ipForwardVisitsSections_data();
    void ipForwardVisitsSections();
    void forwardWrapsBackwardStops_data();
    void forwardWrapsBackwardStops();
    void numberFieldCursor();
    void unknownTypeMovement();

    void backlightRefusesOverMax();
    void numberLeadingZeros_data();
    void numberLeadingZeros();
    void numberPortLimit();
    void ipDigitWrittenDespiteWarning();
    void lastCharacterStop_data();
    void lastCharacterStop();
    void separatorSkipped_data();
    void separatorSkipped();
    void digitOutOfRange_data();
    void digitOutOfRange();
    void timeChecksOldText();
    void dateDigitOverSeparator();
    void letters_data();
    void letters();
    void unknownTypeWriting();

    void dateRange_data();
    void dateRange();
    void validateFinAddress_data();
    void validateFinAddress();
    void validateFinNumber_data();
    void validateFinNumber();
    void validateFinTime_data();
    void validateFinTime();
    void validateFinMac();
    void errorSound();

    void fuzz_data();
    void fuzz();

private:
    QTemporaryDir simDir;
};

void TestInputPanel::initTestCase()
{
    // Run directly (not in a virtual unit), keep the simulator's files in a private folder.
    if (qEnvironmentVariableIsEmpty("BENCHTEST_SIM_DIR")) {
        QVERIFY(simDir.isValid());
        qputenv("BENCHTEST_SIM_DIR", simDir.path().toLocal8Bit());
    }
    Fram::getInstance()->setBuzzerEnable(true);
}

void TestInputPanel::init()
{
    TestSupport::clearEvents();
}

void TestInputPanel::cleanupTestCase()
{
    Fram::getInstance()->setBuzzerEnable(true);
}

// ---- the type table -------------------------------------------------------------------------

void TestInputPanel::typeTable_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("category");
    QTest::addColumn<int>("max");

    QTest::newRow("IP") << "IP" << 0 << 0 << 255;
    QTest::newRow("mask") << "mask" << 1 << 0 << 255;
    QTest::newRow("gateway") << "gateway" << 2 << 0 << 255;
    QTest::newRow("port") << "port" << 3 << 1 << 65535;
    QTest::newRow("backlight") << "backlight" << 4 << 1 << 20;
    QTest::newRow("screensaver") << "screensaver" << 5 << 1 << 60;
    QTest::newRow("YMD") << "YMD" << 6 << 2 << -1;
    QTest::newRow("MDY") << "MDY" << 7 << 2 << -1;
    QTest::newRow("DMY") << "DMY" << 8 << 2 << -1;
    QTest::newRow("time") << "time" << 9 << 3 << -1;
    QTest::newRow("MAC") << "MAC" << 10 << 4 << -1;
}

void TestInputPanel::typeTable()
{
    QFETCH(QString, key);
    QFETCH(int, code);
    QFETCH(int, category);
    QFETCH(int, max);

    DebugCapture messages(DebugCapture::AllMessages);
    inputPanel panel;
    QCOMPARE(panel.setType(key), code);
    panel.init(QString(), key);
    QCOMPARE(panel.getTypeCat(), category);
    QCOMPARE(panel.getMax(), max);
    QCOMPARE(messages.take(), QStringList());
}

void TestInputPanel::unknownKey_data()
{
    QTest::addColumn<QString>("key");
    QTest::newRow("lower-case ip") << "ip";
    QTest::newRow("Time") << "Time";
    QTest::newRow("empty") << "";
    QTest::newRow("YDM") << "YDM";
    QTest::newRow("blank after MAC") << "MAC ";
}

void TestInputPanel::unknownKey()
{
    QFETCH(QString, key);

    DebugCapture messages(DebugCapture::AllMessages);
    inputPanel panel;
    QCOMPARE(panel.setType(key), -1);
    QCOMPARE(messages.take(), QStringList { "setType FUCKKK!!!!" });

    QSignalSpy textSpy(&panel, &inputPanel::textChanged);
    QVERIFY(textSpy.isValid());
    panel.init(QStringLiteral("12:34:56"), key);
    QCOMPARE(messages.take(), QStringList { "setType FUCKKK!!!!" });
    QCOMPARE(panel.getText(), QString());
    QCOMPARE(panel.getPos(), 0);
    QCOMPARE(textSpy.count(), 1);

    QCOMPARE(panel.getTypeCat(), -1);
    QCOMPARE(messages.take(), QStringList { "fuck!!!!" });
    QCOMPARE(panel.getMax(), -1);
    QCOMPARE(messages.take(), QStringList());
}

void TestInputPanel::dateFormat_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QStringList>("debug");

    QTest::newRow("YMD") << "YMD"
                         << "yyyy/MM/dd" << QStringList();
    QTest::newRow("MDY") << "MDY"
                         << "MM/dd/yyyy" << QStringList();
    QTest::newRow("DMY") << "DMY"
                         << "dd/MM/yyyy" << QStringList();
    const QStringList notDate { "meiiiiiiiii???" };
    for (const char *key :
        { "IP", "mask", "gateway", "port", "backlight", "screensaver", "time", "MAC" })
        QTest::newRow(key) << key << QString() << notDate;
    QTest::newRow("unknown") << "nothing" << QString()
                             << QStringList { "fuck!!!!", "meiiiiiiiii???" };
}

void TestInputPanel::dateFormat()
{
    QFETCH(QString, key);
    QFETCH(QString, format);
    QFETCH(QStringList, debug);

    inputPanel panel;
    {
        DebugCapture quiet(DebugCapture::AllMessages);
        panel.init(QString(), key);
    }
    DebugCapture messages(DebugCapture::AllMessages);
    const QString result = panel.getDateFormat();
    QCOMPARE(result, format);
    QCOMPARE(result.isNull(), format.isNull());
    QCOMPARE(messages.take(), debug);
}

void TestInputPanel::currentSectionIsPlaceholder()
{
    inputPanel panel;
    panel.init(QStringLiteral("192.168.1.10"), QStringLiteral("IP"));
    QCOMPARE(panel.getCurrentSec(), -1);
    panel.forwardPos();
    QCOMPARE(panel.getCurrentSec(), -1);
    panel.init(QStringLiteral("12:00:00"), QStringLiteral("time"));
    QCOMPARE(panel.getCurrentSec(), -1);
}

// ---- init and cursor movement ---------------------------------------------------------------

void TestInputPanel::initLayout_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("pos");

    QTest::newRow("IP padded") << "192.168.1.10"
                               << "IP"
                               << "192.168.001.010" << 0;
    QTest::newRow("mask") << "255.255.0.0"
                          << "mask"
                          << "255.255.000.000" << 0;
    QTest::newRow("gateway empty") << ""
                                   << "gateway"
                                   << "000.000.000.000" << 0;
    QTest::newRow("IP short") << "10.1"
                              << "IP"
                              << "010.001.000.000" << 0;
    QTest::newRow("IP long part kept") << "1234.5.6.7"
                                       << "IP"
                                       << "1234.005.006.007" << 0;
    QTest::newRow("IP extra part dropped") << "1.2.3.4.5"
                                           << "IP"
                                           << "001.002.003.004" << 0;
    QTest::newRow("port unchanged") << "502"
                                    << "port"
                                    << "502" << 0;
    QTest::newRow("port any text") << "abc 7"
                                   << "port"
                                   << "abc 7" << 0;
    QTest::newRow("backlight empty") << ""
                                     << "backlight"
                                     << "" << 0;
    QTest::newRow("screensaver") << "30"
                                 << "screensaver"
                                 << "30" << 0;
    QTest::newRow("YMD") << "2018/10/1"
                         << "YMD"
                         << "2018/10/01" << 5;
    QTest::newRow("MDY") << "10/1/2018"
                         << "MDY"
                         << "10/01/2018" << 5;
    QTest::newRow("DMY") << "1/2/2018"
                         << "DMY"
                         << "01/02/2018" << 5;
    QTest::newRow("YMD short year") << "18/1/2"
                                    << "YMD"
                                    << "0018/01/02" << 5;
    QTest::newRow("MDY empty") << ""
                               << "MDY"
                               << "00/00/0000" << 5;
    QTest::newRow("DMY long kept") << "123/4/20180"
                                   << "DMY"
                                   << "123/04/20180" << 5;
    QTest::newRow("time") << "9:5:0"
                          << "time"
                          << "09:05:00" << 0;
    QTest::newRow("time full") << "25:00:00"
                               << "time"
                               << "25:00:00" << 0;
    QTest::newRow("MAC kept") << "02:A7:3C:00:00:01"
                              << "MAC"
                              << "02:A7:3C:00:00:01" << 9;
    QTest::newRow("MAC padded") << "2:A7:3C:0:0:1"
                                << "MAC"
                                << "02:A7:3C:00:00:01" << 9;
    QTest::newRow("MAC empty") << ""
                               << "MAC"
                               << "00:00:00:00:00:00" << 9;
}

void TestInputPanel::initLayout()
{
    QFETCH(QString, given);
    QFETCH(QString, key);
    QFETCH(QString, text);
    QFETCH(int, pos);

    inputPanel panel;
    panel.init(given, key);
    QCOMPARE(panel.getText(), text);
    QCOMPARE(panel.getPos(), pos);
}

void TestInputPanel::initSignals()
{
    inputPanel panel;
    QSignalSpy textSpy(&panel, &inputPanel::textChanged);
    QSignalSpy posSpy(&panel, &inputPanel::posChanged);
    QVERIFY(textSpy.isValid());
    QVERIFY(posSpy.isValid());

    panel.init(QStringLiteral("2018/10/1"), QStringLiteral("YMD"));
    QCOMPARE(textSpy.count(), 1);
    QCOMPARE(posSpy.count(), 0);

    // A second init discards the first field completely.
    panel.init(QStringLiteral("192.168.1.10"), QStringLiteral("IP"));
    QCOMPARE(panel.getText(), QStringLiteral("192.168.001.010"));
    QCOMPARE(panel.getPos(), 0);
    QCOMPARE(textSpy.count(), 2);
    QCOMPARE(posSpy.count(), 0);
}

void TestInputPanel::ipForwardVisitsSections_data()
{
    QTest::addColumn<QString>("key");
    QTest::newRow("IP") << "IP";
    QTest::newRow("mask") << "mask";
    QTest::newRow("gateway") << "gateway";
}

void TestInputPanel::ipForwardVisitsSections()
{
    QFETCH(QString, key);

    inputPanel panel;
    panel.init(QStringLiteral("192.168.1.10"), key);
    QCOMPARE(panel.getText(), QStringLiteral("192.168.001.010"));
    QCOMPARE(panel.getPos(), 0);

    QSignalSpy posSpy(&panel, &inputPanel::posChanged);
    QSignalSpy textSpy(&panel, &inputPanel::textChanged);
    QVERIFY(posSpy.isValid());
    QList<int> visited;
    for (int i = 0; i < 4; ++i) {
        panel.forwardPos();
        visited.append(panel.getPos());
    }
    QCOMPARE(visited, (QList<int> { 4, 8, 12, 0 }));
    QCOMPARE(posSpy.count(), 4);
    QCOMPARE(textSpy.count(), 0);
}

void TestInputPanel::forwardWrapsBackwardStops_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QList<int>>("starts");

    QTest::newRow("IP") << "1.2.3.4"
                        << "IP" << QList<int> { 0, 4, 8, 12 };
    QTest::newRow("YMD") << "2018/10/01"
                         << "YMD" << QList<int> { 0, 5, 8 };
    QTest::newRow("MDY") << "10/01/2018"
                         << "MDY" << QList<int> { 0, 3, 6 };
    QTest::newRow("DMY") << "01/10/2018"
                         << "DMY" << QList<int> { 0, 3, 6 };
    QTest::newRow("time") << "12:34:56"
                          << "time" << QList<int> { 0, 3, 6 };
    QTest::newRow("MAC") << "02:A7:3C:00:00:01"
                         << "MAC" << QList<int> { 0, 3, 6, 9, 12, 15 };
}

void TestInputPanel::forwardWrapsBackwardStops()
{
    QFETCH(QString, given);
    QFETCH(QString, key);
    QFETCH(QList<int>, starts);

    inputPanel panel;
    panel.init(given, key);
    QSignalSpy posSpy(&panel, &inputPanel::posChanged);
    QVERIFY(posSpy.isValid());

    // Walk back to the first section; there the cursor stays (no wrap backwards).
    for (int i = 0; i < starts.size() + 1; ++i)
        panel.backwardPos();
    QCOMPARE(panel.getPos(), 0);
    panel.backwardPos();
    QCOMPARE(panel.getPos(), 0);

    // Forwards through every section, then round to the start.
    for (int i = 1; i < starts.size(); ++i) {
        panel.forwardPos();
        QCOMPARE(panel.getPos(), starts.at(i));
    }
    panel.forwardPos();
    QCOMPARE(panel.getPos(), 0);

    // Backwards from the last section visits each start in turn.
    for (int i = 1; i < starts.size(); ++i)
        panel.forwardPos();
    for (int i = starts.size() - 2; i >= 0; --i) {
        panel.backwardPos();
        QCOMPARE(panel.getPos(), starts.at(i));
    }

    // From inside a section: back goes to that section's start, forward to the next one.
    panel.forwardPos();
    panel.textInputted(1);
    QCOMPARE(panel.getPos(), starts.at(1) + 1);
    panel.backwardPos();
    QCOMPARE(panel.getPos(), starts.at(1));
    panel.textInputted(1);
    panel.forwardPos();
    QCOMPARE(panel.getPos(), starts.size() > 2 ? starts.at(2) : 0);

    // From inside the last section, forward wraps to 0.
    while (panel.getPos() != starts.last())
        panel.forwardPos();
    panel.textInputted(0);
    QVERIFY(panel.getPos() > starts.last());
    panel.forwardPos();
    QCOMPARE(panel.getPos(), 0);

    QVERIFY(posSpy.count() > 0);
}

void TestInputPanel::numberFieldCursor()
{
    inputPanel panel;
    panel.init(QStringLiteral("50"), QStringLiteral("screensaver"));
    QSignalSpy posSpy(&panel, &inputPanel::posChanged);
    QSignalSpy textSpy(&panel, &inputPanel::textChanged);
    QVERIFY(posSpy.isValid());
    QVERIFY(textSpy.isValid());

    // Forward does nothing at all on a number.
    panel.forwardPos();
    QCOMPARE(panel.getPos(), 0);
    QCOMPARE(posSpy.count(), 0);

    panel.textInputted(1);
    panel.textInputted(2);
    QCOMPARE(panel.getText(), QStringLiteral("12"));
    QCOMPARE(panel.getPos(), 1);
    panel.forwardPos();
    QCOMPARE(panel.getPos(), 1);
    QCOMPARE(posSpy.count(), 0);

    // Back means typing the number anew: the next digit replaces it.
    panel.backwardPos();
    QCOMPARE(panel.getPos(), 0);
    QCOMPARE(posSpy.count(), 1);
    QCOMPARE(panel.getText(), QStringLiteral("12"));
    const int textSignals = textSpy.count();
    panel.textInputted(4);
    QCOMPARE(panel.getText(), QStringLiteral("4"));
    QCOMPARE(panel.getPos(), 0);
    QCOMPARE(textSpy.count(), textSignals + 1);
    panel.textInputted(5);
    QCOMPARE(panel.getText(), QStringLiteral("45"));
    QCOMPARE(sounds(), QStringList());
}

void TestInputPanel::unknownTypeMovement()
{
    DebugCapture messages(DebugCapture::AllMessages);
    inputPanel panel;
    panel.init(QStringLiteral("1.2.3.4"), QStringLiteral("bogus"));
    messages.take();
    QSignalSpy posSpy(&panel, &inputPanel::posChanged);
    QVERIFY(posSpy.isValid());

    panel.forwardPos();
    QCOMPARE(messages.take(), QStringList { "fuck!!!!" });
    QCOMPARE(panel.getPos(), 0);
    QCOMPARE(posSpy.count(), 1);
    panel.backwardPos();
    QCOMPARE(messages.take(), QStringList { "fuck!!!!" });
    QCOMPARE(panel.getPos(), 0);
    QCOMPARE(posSpy.count(), 2);
}

// ---- writing --------------------------------------------------------------------------------

void TestInputPanel::backlightRefusesOverMax()
{
    inputPanel panel;
    panel.init(QStringLiteral("5"), QStringLiteral("backlight"));
    QSignalSpy textSpy(&panel, &inputPanel::textChanged);
    QVERIFY(textSpy.isValid());

    panel.textInputted(1);
    QCOMPARE(panel.getText(), QStringLiteral("1"));
    panel.textInputted(5);
    QCOMPARE(panel.getText(), QStringLiteral("15"));
    QCOMPARE(sounds(), QStringList());
    QCOMPARE(textSpy.count(), 2);

    panel.textInputted(0);
    QCOMPARE(panel.getText(), QStringLiteral("15"));
    QCOMPARE(sounds(), QStringList { "sound 5" });
    QCOMPARE(textSpy.count(), 2);
    QCOMPARE(panel.getPos(), 1);
    QVERIFY(panel.validateFin());
}

void TestInputPanel::numberLeadingZeros_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QList<int>>("digits");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("refusals");

    QTest::newRow("0 into empty") << "port" << QList<int> { 0 } << "0" << 0;
    QTest::newRow("05") << "port" << QList<int> { 0, 5 } << "05" << 0;
    QTest::newRow("second leading 0") << "port" << QList<int> { 0, 0 } << "0" << 1;
    QTest::newRow("00 then 7") << "screensaver" << QList<int> { 0, 0, 7 } << "07" << 1;
    QTest::newRow("10") << "backlight" << QList<int> { 1, 0 } << "10" << 0;
    QTest::newRow("20 is max") << "backlight" << QList<int> { 2, 0 } << "20" << 0;
    QTest::newRow("21 over") << "backlight" << QList<int> { 2, 1 } << "2" << 1;
    QTest::newRow("60 is max") << "screensaver" << QList<int> { 6, 0 } << "60" << 0;
    QTest::newRow("61 over") << "screensaver" << QList<int> { 6, 1 } << "6" << 1;
    QTest::newRow("061") << "screensaver" << QList<int> { 0, 6, 1 } << "06" << 1;
}

void TestInputPanel::numberLeadingZeros()
{
    QFETCH(QString, key);
    QFETCH(QList<int>, digits);
    QFETCH(QString, text);
    QFETCH(int, refusals);

    inputPanel panel;
    panel.init(QStringLiteral("33"), key);
    for (const int digit : digits)
        panel.textInputted(digit);
    QCOMPARE(panel.getText(), text);
    QStringList expected;
    for (int i = 0; i < refusals; ++i)
        expected.append(QStringLiteral("sound 5"));
    QCOMPARE(sounds(), expected);
}

void TestInputPanel::numberPortLimit()
{
    inputPanel panel;
    panel.init(QStringLiteral("80"), QStringLiteral("port"));
    for (const int digit : { 6, 5, 5, 3 })
        panel.textInputted(digit);
    QCOMPARE(panel.getText(), QStringLiteral("6553"));
    QVERIFY(!panel.validate(6));
    QVERIFY(panel.validate(5));
    panel.textInputted(6);
    QCOMPARE(panel.getText(), QStringLiteral("6553"));
    QCOMPARE(sounds(), QStringList { "sound 5" });
    panel.textInputted(5);
    QCOMPARE(panel.getText(), QStringLiteral("65535"));
    QVERIFY(panel.validateFin());
    // Nothing fits after the maximum.
    QVERIFY(!panel.validate(0));
}

void TestInputPanel::ipDigitWrittenDespiteWarning()
{
    inputPanel panel;
    panel.init(QStringLiteral("192.168.1.10"), QStringLiteral("IP"));
    QSignalSpy posSpy(&panel, &inputPanel::posChanged);
    QVERIFY(posSpy.isValid());

    QVERIFY(!panel.validate(9));
    panel.textInputted(9);
    QCOMPARE(panel.getText(), QStringLiteral("992.168.001.010"));
    QCOMPARE(panel.getPos(), 1);
    QCOMPARE(sounds(), QStringList { "sound 5" });

    QVERIFY(!panel.validateFin());
    QCOMPARE(panel.getPos(), 0);
    QCOMPARE(posSpy.count(), 1);
    QCOMPARE(panel.getText(), QStringLiteral("992.168.001.010"));
}

void TestInputPanel::lastCharacterStop_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("digit");

    QTest::newRow("IP") << "192.168.1.10"
                        << "IP" << 1;
    QTest::newRow("mask") << "255.255.255.0"
                          << "mask" << 0;
    QTest::newRow("gateway") << "10.0.0.1"
                             << "gateway" << 2;
    QTest::newRow("YMD") << "2018/10/01"
                         << "YMD" << 2;
    QTest::newRow("MDY") << "10/01/2018"
                         << "MDY" << 9;
    QTest::newRow("DMY") << "01/10/2018"
                         << "DMY" << 7;
    QTest::newRow("time") << "12:34:56"
                          << "time" << 7;
    QTest::newRow("MAC") << "02:A7:3C:00:00:01"
                         << "MAC" << 5;
}

void TestInputPanel::lastCharacterStop()
{
    QFETCH(QString, given);
    QFETCH(QString, key);
    QFETCH(int, digit);

    inputPanel panel;
    panel.init(given, key);
    const QString start = panel.getText();
    const int last = start.size() - 1;
    // To the last section, then type across it to its end.
    while (panel.getPos() != 0)
        panel.forwardPos();
    panel.backwardPos();
    panel.forwardPos();
    for (int guard = 0; guard < 100 && panel.getPos() < last; ++guard) {
        if (start.indexOf(QRegularExpression(QStringLiteral("[./:]")), panel.getPos() + 1) < 0)
            panel.textInputted(digit);
        else
            panel.forwardPos();
    }
    QCOMPARE(panel.getPos(), last);

    QSignalSpy textSpy(&panel, &inputPanel::textChanged);
    QVERIFY(textSpy.isValid());
    panel.textInputted(digit);
    QCOMPARE(panel.getPos(), last);
    QCOMPARE(panel.getText().at(last), QChar(QLatin1Char('0' + digit)));
    panel.textInputted(QStringLiteral("A"));
    QCOMPARE(panel.getPos(), last);
    QCOMPARE(panel.getText().at(last), QLatin1Char('A'));
    QCOMPARE(panel.getText().size(), start.size());
    QCOMPARE(textSpy.count(), 2);
}

void TestInputPanel::separatorSkipped_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("forwards");
    QTest::addColumn<QList<int>>("digits");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("pos");

    QTest::newRow("IP") << "192.168.1.10"
                        << "IP" << 0 << QList<int> { 1, 0, 1 } << "101.168.001.010" << 4;
    QTest::newRow("YMD month") << "2018/10/01"
                               << "YMD" << 0 << QList<int> { 1, 2 } << "2018/12/01" << 8;
    QTest::newRow("YMD year") << "2018/10/01"
                              << "YMD" << 2 << QList<int> { 2, 0, 1, 9 } << "2019/10/01" << 5;
    QTest::newRow("DMY day") << "01/10/2018"
                             << "DMY" << 2 << QList<int> { 3, 1 } << "31/10/2018" << 3;
    QTest::newRow("time") << "12:34:56"
                          << "time" << 0 << QList<int> { 2, 3, 5, 9 } << "23:59:56" << 6;
    QTest::newRow("MAC") << "02:A7:3C:00:00:01"
                         << "MAC" << 0 << QList<int> { 1, 2, 3 } << "02:A7:3C:12:30:01" << 13;
}

void TestInputPanel::separatorSkipped()
{
    QFETCH(QString, given);
    QFETCH(QString, key);
    QFETCH(int, forwards);
    QFETCH(QList<int>, digits);
    QFETCH(QString, text);
    QFETCH(int, pos);

    inputPanel panel;
    panel.init(given, key);
    for (int i = 0; i < forwards; ++i)
        panel.forwardPos();
    for (const int digit : digits)
        panel.textInputted(digit);
    QCOMPARE(panel.getText(), text);
    QCOMPARE(panel.getPos(), pos);
}

void TestInputPanel::digitOutOfRange_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("num");
    QTest::addColumn<QString>("message");

    QTest::newRow("10 in IP") << "IP" << 10 << "wtf is this number? 10";
    QTest::newRow("10 in port") << "port" << 10 << "wtf is this number? 10";
    QTest::newRow("15 in MAC") << "MAC" << 15 << "wtf is this number? 15";
    QTest::newRow("99 in time") << "time" << 99 << "wtf is this number? 99";
    QTest::newRow("-1 in YMD") << "YMD" << -1 << "wtf is this number? -1";
}

void TestInputPanel::digitOutOfRange()
{
    QFETCH(QString, key);
    QFETCH(int, num);
    QFETCH(QString, message);

    inputPanel panel;
    panel.init(QStringLiteral("12"), key);
    const QString before = panel.getText();
    const int beforePos = panel.getPos();
    QSignalSpy textSpy(&panel, &inputPanel::textChanged);
    QSignalSpy posSpy(&panel, &inputPanel::posChanged);
    QVERIFY(textSpy.isValid());

    DebugCapture messages(DebugCapture::AllMessages);
    panel.textInputted(num);
    QCOMPARE(messages.take(), QStringList { message });
    QCOMPARE(panel.getText(), before);
    QCOMPARE(panel.getPos(), beforePos);
    QCOMPARE(textSpy.count(), 0);
    QCOMPARE(posSpy.count(), 0);
    QCOMPARE(sounds(), QStringList());

    // The number field still replaces its value on the next real digit.
    if (key == QLatin1String("port")) {
        panel.textInputted(7);
        QCOMPARE(panel.getText(), QStringLiteral("7"));
    }
}

void TestInputPanel::timeChecksOldText()
{
    inputPanel panel;
    panel.init(QStringLiteral("25:00:00"), QStringLiteral("time"));
    QCOMPARE(panel.getPos(), 0);

    panel.textInputted(1);
    QCOMPARE(panel.getText(), QStringLiteral("15:00:00"));
    QCOMPARE(sounds(), QStringList { "sound 5" });

    TestSupport::clearEvents();
    panel.textInputted(9);
    QCOMPARE(panel.getText(), QStringLiteral("19:00:00"));
    QCOMPARE(sounds(), QStringList());

    panel.init(QStringLiteral("15:00:00"), QStringLiteral("time"));
    QSignalSpy posSpy(&panel, &inputPanel::posChanged);
    QVERIFY(posSpy.isValid());
    panel.textInputted(9);
    QCOMPARE(panel.getText(), QStringLiteral("95:00:00"));
    QCOMPARE(panel.getPos(), 1);
    QCOMPARE(sounds(), QStringList());
    QVERIFY(!panel.validateFin());
    QCOMPARE(panel.getPos(), 0);
    QCOMPARE(posSpy.count(), 1);

    // Now the text is bad, so the next digit sounds even though it mends the hour.
    panel.textInputted(0);
    QCOMPARE(panel.getText(), QStringLiteral("05:00:00"));
    QCOMPARE(sounds(), QStringList { "sound 5" });
    QVERIFY(panel.validateFin());
}

void TestInputPanel::dateDigitOverSeparator()
{
    // The cursor of a month-first or day-first date starts on the "/"; a digit typed there
    // overwrites it, sounds the error, and the final check refuses the result.
    inputPanel panel;
    panel.init(QStringLiteral("10/1/2018"), QStringLiteral("MDY"));
    QCOMPARE(panel.getText().at(panel.getPos()), QLatin1Char('/'));
    panel.textInputted(1);
    QCOMPARE(panel.getText(), QStringLiteral("10/0112018"));
    QCOMPARE(panel.getPos(), 6);
    QCOMPARE(sounds(), QStringList { "sound 5" });
    QVERIFY(!panel.validateFin());
    QCOMPARE(panel.getPos(), 0);
}

void TestInputPanel::letters_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QStringList>("letters");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("pos");

    QTest::newRow("MAC") << "02:A7:3C:00:00:01"
                         << "MAC" << QStringList { "A", "B", "C", "D" } << "02:A7:3C:AB:CD:01"
                         << 15;
    QTest::newRow("MAC to end") << "02:A7:3C:00:00:01"
                                << "MAC" << QStringList { "A", "B", "C", "D", "E", "F", "F" }
                                << "02:A7:3C:AB:CD:EF" << 16;
    QTest::newRow("number replaces") << "123"
                                     << "port" << QStringList { "F" } << "F" << 0;
    QTest::newRow("number appends") << "123"
                                    << "port" << QStringList { "F", "E" } << "FE" << 1;
    QTest::newRow("IP unchecked") << "1.2.3.4"
                                  << "IP" << QStringList { "A" } << "A01.002.003.004" << 1;
    QTest::newRow("time") << "12:00:00"
                          << "time" << QStringList { "B", "C" } << "BC:00:00" << 3;
}

void TestInputPanel::letters()
{
    QFETCH(QString, given);
    QFETCH(QString, key);
    QFETCH(QStringList, letters);
    QFETCH(QString, text);
    QFETCH(int, pos);

    inputPanel panel;
    panel.init(given, key);
    QSignalSpy textSpy(&panel, &inputPanel::textChanged);
    QVERIFY(textSpy.isValid());
    DebugCapture messages(DebugCapture::AllMessages);
    for (const QString &letter : letters)
        panel.textInputted(letter);
    QCOMPARE(panel.getText(), text);
    QCOMPARE(panel.getPos(), pos);
    QCOMPARE(textSpy.count(), letters.size());
    QCOMPARE(messages.take(), QStringList());
    // Letters are never checked, so never refused.
    QCOMPARE(sounds(), QStringList());
}

void TestInputPanel::unknownTypeWriting()
{
    DebugCapture messages(DebugCapture::AllMessages);
    inputPanel panel;
    panel.init(QStringLiteral("1:2:3"), QStringLiteral("Date"));
    QCOMPARE(messages.take(), QStringList { "setType FUCKKK!!!!" });

    panel.textInputted(QStringLiteral("A"));
    QCOMPARE(messages.take(), QStringList { "fuck!!!!" });
    QCOMPARE(panel.getText(), QStringLiteral("A"));
    QCOMPARE(panel.getPos(), 0);

    QVERIFY(panel.validate(3));
    QCOMPARE(messages.take(), QStringList { "fuck!!!!" });
    panel.textInputted(3);
    QCOMPARE(messages.take(), QStringList { "fuck!!!!" });
    QCOMPARE(panel.getText(), QStringLiteral("3"));
    QCOMPARE(panel.getPos(), 0);
    QCOMPARE(sounds(), QStringList());

    QVERIFY(panel.validateFin());
    QCOMPARE(messages.take(), QStringList { "fuck!!!!" });
}

// ---- checks ---------------------------------------------------------------------------------

void TestInputPanel::dateRange_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("date");
    QTest::addColumn<bool>("accepted");

    struct Case {
        int year, month, day;
        bool accepted;
        const char *name;
    };
    const Case cases[] = {
        { 1999, 12, 31, false, "1999" },
        { 2100, 1, 1, false, "2100" },
        { 2000, 1, 1, true, "2000" },
        { 2099, 12, 31, true, "2099" },
        { 2020, 2, 29, true, "29 Feb leap" },
        { 2000, 2, 29, true, "29 Feb 2000" },
        { 2019, 2, 29, false, "29 Feb not leap" },
        { 2018, 13, 1, false, "month 13" },
        { 2018, 4, 31, false, "31 April" },
        { 2018, 1, 0, false, "day 0" },
    };
    for (const char *key : { "YMD", "MDY", "DMY" }) {
        for (const Case &c : cases) {
            const QString y = QString::number(c.year).rightJustified(4, QLatin1Char('0'));
            const QString m = QString::number(c.month).rightJustified(2, QLatin1Char('0'));
            const QString d = QString::number(c.day).rightJustified(2, QLatin1Char('0'));
            QString date;
            if (qstrcmp(key, "YMD") == 0)
                date = y + '/' + m + '/' + d;
            else if (qstrcmp(key, "MDY") == 0)
                date = m + '/' + d + '/' + y;
            else
                date = d + '/' + m + '/' + y;
            QTest::addRow("%s %s", key, c.name) << key << date << c.accepted;
        }
    }
}

void TestInputPanel::dateRange()
{
    QFETCH(QString, key);
    QFETCH(QString, date);
    QFETCH(bool, accepted);

    inputPanel panel;
    panel.init(date, key);
    QCOMPARE(panel.getText(), date);
    QSignalSpy posSpy(&panel, &inputPanel::posChanged);
    QVERIFY(posSpy.isValid());

    // The final check.
    QCOMPARE(panel.validateFin(), accepted);
    QCOMPARE(panel.getPos(), accepted ? 5 : 0);
    QCOMPARE(posSpy.count(), accepted ? 0 : 1);

    // The per-key check: retype the last digit of the year, which leaves the date as it is.
    const int yearStart = key == QLatin1String("YMD") ? 0 : 6;
    while (panel.getPos() != yearStart)
        panel.forwardPos();
    for (int i = 0; i < 3; ++i)
        panel.textInputted(date.at(yearStart + i).digitValue());
    TestSupport::clearEvents();
    QCOMPARE(panel.validate(date.at(yearStart + 3).digitValue()), accepted);
    panel.textInputted(date.at(yearStart + 3).digitValue());
    QCOMPARE(panel.getText(), date);
    QCOMPARE(sounds(), accepted ? QStringList() : QStringList { "sound 5" });
}

void TestInputPanel::validateFinAddress_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<int>("pos");

    QTest::newRow("good") << "192.168.1.10" << true << 0;
    QTest::newRow("all 255") << "255.255.255.255" << true << 0;
    QTest::newRow("first bad") << "256.1.1.1" << false << 0;
    QTest::newRow("second bad") << "1.300.1.1" << false << 4;
    QTest::newRow("third bad") << "1.1.999.1" << false << 8;
    QTest::newRow("fourth bad") << "1.1.1.256" << false << 12;
    QTest::newRow("two bad, first wins") << "1.256.1.256" << false << 4;
    QTest::newRow("long part") << "1.2.3.0255" << true << 0;
    QTest::newRow("long part too big") << "1.2.1000.4" << false << 8;
    QTest::newRow("letter") << "1.2.3A.4" << false << 8;
}

void TestInputPanel::validateFinAddress()
{
    QFETCH(QString, given);
    QFETCH(bool, accepted);
    QFETCH(int, pos);

    for (const char *key : { "IP", "mask", "gateway" }) {
        inputPanel panel;
        panel.init(given, QLatin1String(key));
        panel.forwardPos();
        QSignalSpy posSpy(&panel, &inputPanel::posChanged);
        QVERIFY(posSpy.isValid());
        const QString text = panel.getText();
        QCOMPARE(panel.validateFin(), accepted);
        QCOMPARE(panel.getPos(), accepted ? 4 : pos);
        QCOMPARE(posSpy.count(), accepted ? 0 : 1);
        QCOMPARE(panel.getText(), text);
    }
}

void TestInputPanel::validateFinNumber_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("given");
    QTest::addColumn<bool>("accepted");

    QTest::newRow("empty port") << "port"
                                << "" << true;
    QTest::newRow("port max") << "port"
                              << "65535" << true;
    QTest::newRow("port over") << "port"
                               << "65536" << false;
    QTest::newRow("backlight 20") << "backlight"
                                  << "20" << true;
    QTest::newRow("backlight 21") << "backlight"
                                  << "21" << false;
    QTest::newRow("screensaver 60") << "screensaver"
                                    << "60" << true;
    QTest::newRow("screensaver 61") << "screensaver"
                                    << "61" << false;
    QTest::newRow("not a number counts as 0") << "backlight"
                                              << "1F" << true;
    QTest::newRow("empty backlight") << "backlight"
                                     << "" << true;
}

void TestInputPanel::validateFinNumber()
{
    QFETCH(QString, key);
    QFETCH(QString, given);
    QFETCH(bool, accepted);

    inputPanel panel;
    panel.init(given, key);
    QSignalSpy posSpy(&panel, &inputPanel::posChanged);
    QVERIFY(posSpy.isValid());
    QCOMPARE(panel.validateFin(), accepted);
    QCOMPARE(posSpy.count(), 0);
    QCOMPARE(panel.getText(), given);
}

void TestInputPanel::validateFinTime_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<bool>("accepted");

    QTest::newRow("midnight") << "00:00:00" << true;
    QTest::newRow("last second") << "23:59:59" << true;
    QTest::newRow("hour 24") << "24:00:00" << false;
    QTest::newRow("minute 60") << "12:60:00" << false;
    QTest::newRow("second 60") << "12:00:60" << false;
    QTest::newRow("letter") << "1A:00:00" << false;
}

void TestInputPanel::validateFinTime()
{
    QFETCH(QString, given);
    QFETCH(bool, accepted);

    inputPanel panel;
    panel.init(given, QStringLiteral("time"));
    panel.forwardPos();
    QSignalSpy posSpy(&panel, &inputPanel::posChanged);
    QVERIFY(posSpy.isValid());
    QCOMPARE(panel.validateFin(), accepted);
    QCOMPARE(panel.getPos(), accepted ? 3 : 0);
    QCOMPARE(posSpy.count(), accepted ? 0 : 1);
}

void TestInputPanel::validateFinMac()
{
    DebugCapture messages(DebugCapture::AllMessages);
    inputPanel panel;
    panel.init(QStringLiteral("ZZ:ZZ:ZZ:ZZ:ZZ:ZZ"), QStringLiteral("MAC"));
    for (int digit = 0; digit < 10; ++digit)
        QVERIFY(panel.validate(digit));
    QVERIFY(panel.validateFin());
    QCOMPARE(panel.getPos(), 9);
    QCOMPARE(messages.take(), QStringList());
}

void TestInputPanel::errorSound()
{
    inputPanel panel;
    panel.errorSound();
    QCOMPARE(TestSupport::events(), QStringList { "sound 5" });
}

// ---- random key sequences -------------------------------------------------------------------

namespace {

struct Expectation {
    int type = -1;
    int max = -1;
    QList<int> widths; // section widths of a sectioned field, empty otherwise
    QChar separator;
};

Expectation expectationFor(const QString &key)
{
    Expectation e;
    const QStringList keys { "IP", "mask", "gateway", "port", "backlight", "screensaver", "YMD",
        "MDY", "DMY", "time", "MAC" };
    e.type = keys.indexOf(key);
    switch (e.type) {
    case 0:
    case 1:
    case 2:
        e.widths = { 3, 3, 3, 3 };
        e.separator = QLatin1Char('.');
        e.max = 255;
        break;
    case 3:
        e.max = 65535;
        break;
    case 4:
        e.max = 20;
        break;
    case 5:
        e.max = 60;
        break;
    case 6:
        e.widths = { 4, 2, 2 };
        e.separator = QLatin1Char('/');
        break;
    case 7:
    case 8:
        e.widths = { 2, 2, 4 };
        e.separator = QLatin1Char('/');
        break;
    case 9:
        e.widths = { 2, 2, 2 };
        e.separator = QLatin1Char(':');
        break;
    case 10:
        e.widths = { 2, 2, 2, 2, 2, 2 };
        e.separator = QLatin1Char(':');
        break;
    default:
        break;
    }
    return e;
}

// A decimal number of plain digits, as the field reads it; false for anything else or when
// it does not fit an int.
bool parseDecimal(const QString &s, long long *value)
{
    if (s.isEmpty())
        return false;
    long long v = 0;
    for (const QChar c : s) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return false;
        v = v * 10 + (c.unicode() - '0');
        if (v > 2147483647LL)
            return false;
    }
    *value = v;
    return true;
}

// Parts of exactly the given widths, all digits.
bool parseFixedParts(
    const QString &text, QChar separator, const QList<int> &widths, QList<int> *values)
{
    const QStringList parts = text.split(separator);
    if (parts.size() != widths.size())
        return false;
    values->clear();
    for (int i = 0; i < parts.size(); ++i) {
        long long v = 0;
        if (parts.at(i).size() != widths.at(i) || !parseDecimal(parts.at(i), &v))
            return false;
        values->append(int(v));
    }
    return true;
}

bool dateAcceptable(const QString &text, int type)
{
    QList<int> v;
    const QList<int> widths = type == 6 ? QList<int> { 4, 2, 2 } : QList<int> { 2, 2, 4 };
    if (!parseFixedParts(text, QLatin1Char('/'), widths, &v))
        return false;
    int year, month, day;
    if (type == 6) {
        year = v[0], month = v[1], day = v[2];
    } else if (type == 7) {
        month = v[0], day = v[1], year = v[2];
    } else {
        day = v[0], month = v[1], year = v[2];
    }
    return QDate(year, month, day).isValid() && year >= 2000 && year <= 2099;
}

bool timeAcceptable(const QString &text)
{
    QList<int> v;
    if (!parseFixedParts(text, QLatin1Char(':'), { 2, 2, 2 }, &v))
        return false;
    return QTime(v[0], v[1], v[2]).isValid();
}

// Index of the first address part that is missing, not a number or above 255; -1 if none.
int firstBadAddressPart(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char('.'));
    for (int i = 0; i < 4; ++i) {
        long long v = 0;
        if (i >= parts.size() || !parseDecimal(parts.at(i), &v) || v > 255)
            return i;
    }
    return -1;
}

long long numberValue(const QString &text)
{
    long long v = 0;
    return parseDecimal(text, &v) ? v : 0;
}

bool numberDigitAcceptable(const QString &text, int digit, int max)
{
    long long n = 0;
    const bool ok = parseDecimal(text, &n);
    const long long candidate = n * 10 + digit;
    if (candidate > max)
        return false;
    return !(candidate == 0 && n == 0 && ok);
}

QString withCharAt(QString text, int pos, const QString &c)
{
    return text.replace(pos, 1, c);
}

bool expectedValidate(const Expectation &e, const QString &text, int pos, int digit)
{
    const QString d = QString::number(digit);
    switch (e.type) {
    case 0:
    case 1:
    case 2:
        return firstBadAddressPart(withCharAt(text, pos, d)) < 0;
    case 3:
    case 4:
    case 5:
        return numberDigitAcceptable(text, digit, e.max);
    case 6:
    case 7:
    case 8:
        return dateAcceptable(withCharAt(text, pos, d), e.type);
    case 9:
        return timeAcceptable(text);
    default:
        return true;
    }
}

bool expectedFinal(const Expectation &e, const QString &text)
{
    switch (e.type) {
    case 0:
    case 1:
    case 2:
        return firstBadAddressPart(text) < 0;
    case 3:
    case 4:
    case 5:
        return numberValue(text) <= e.max;
    case 6:
    case 7:
    case 8:
        return dateAcceptable(text, e.type);
    case 9:
        return timeAcceptable(text);
    default:
        return true;
    }
}

QList<int> sectionStartsOf(const Expectation &e)
{
    QList<int> starts;
    int start = 0;
    for (const int width : e.widths) {
        starts.append(start);
        start += width + 1;
    }
    return starts;
}

// A starting value in the shape of the field, sometimes off: short, long or odd parts.
QString randomInitial(std::mt19937 &rng, const Expectation &e)
{
    auto below = [&rng](int n) { return int(rng() % unsigned(n)); };
    auto digits = [&](int count) {
        QString s;
        for (int i = 0; i < count; ++i)
            s += QLatin1Char(char('0' + below(10)));
        return s;
    };
    if (e.type >= 3 && e.type <= 5) {
        QString s = digits(below(6));
        if (below(8) == 0)
            s += QLatin1Char('A');
        return s;
    }
    if (e.type < 0) {
        QString s;
        const QString alphabet = QStringLiteral("0123456789ABCDEF./:");
        for (int i = below(10); i > 0; --i)
            s += alphabet.at(below(alphabet.size()));
        return s;
    }
    if (e.type >= 6 && e.type <= 8 && below(2) == 0) {
        // A real date near the accepted range.
        const QDate date(1998 + below(104), 1 + below(12), 1 + below(28));
        const QString format = e.type == 6 ? "yyyy/M/d" : e.type == 7 ? "M/d/yyyy" : "d/M/yyyy";
        return date.toString(format);
    }
    QStringList parts;
    for (const int width : e.widths) {
        // Mostly a part of the proper width or shorter; now and then one too long.
        const int length = below(10) == 0 ? width + 1 : below(width + 1);
        QString part = e.type == 10 ? QString() : digits(length);
        if (e.type == 10) {
            const QString hex = QStringLiteral("0123456789ABCDEF");
            for (int i = 0; i < length; ++i)
                part += hex.at(below(16));
        }
        parts.append(part);
    }
    return parts.join(e.separator);
}

} // namespace

void TestInputPanel::fuzz_data()
{
    QTest::addColumn<QString>("key");
    for (const char *key : { "IP", "mask", "gateway", "port", "backlight", "screensaver", "YMD",
             "MDY", "DMY", "time", "MAC", "bogus" })
        QTest::newRow(key) << key;
}

void TestInputPanel::fuzz()
{
    QFETCH(QString, key);

    const Expectation e = expectationFor(key);
    const bool sectioned = !e.widths.isEmpty();
    const bool number = e.type >= 3 && e.type <= 5;
    const QList<int> starts = sectionStartsOf(e);

    // Thousands of sequences: keep the buzzer (a file append per tone) out of it.
    Fram::getInstance()->setBuzzerEnable(false);
    DebugCapture quiet(DebugCapture::AllMessages);
    std::mt19937 rng(0x5eed1234u ^ unsigned(qHash(key)));
    inputPanel panel;

    const int sequences = 1500;
    const int keysPerSequence = 24;
    for (int sequence = 0; sequence < sequences; ++sequence) {
        const QString initial = randomInitial(rng, e);
        panel.init(initial, key);
        bool pending = true;
        QString text = panel.getText();
        const int length = text.size();
        // Sections only line up with the starts when no part came out too long.
        const bool regular = sectioned && length == starts.last() + e.widths.last();

        for (int step = 0; step < keysPerSequence; ++step) {
            const int action = int(rng() % 20u);
            const int pos = panel.getPos();
            text = panel.getText();

            if (action < 10) {
                const int digit = action;
                const QString d = QString::number(digit);
                QString base = text;
                if (number && pending && !base.isEmpty())
                    base.clear();
                const bool accept = expectedValidate(e, base, pos, digit);
                if (!number || !pending || text.isEmpty())
                    QCOMPARE(panel.validate(digit), accept);
                panel.textInputted(digit);
                QString expected;
                if (number) {
                    if (!accept)
                        expected = base;
                    else
                        expected = pending ? withCharAt(base, pos, d) : base + d;
                    if (accept)
                        pending = false;
                } else {
                    expected = withCharAt(text, pos, d);
                }
                QCOMPARE(panel.getText(), expected);
            } else if (action < 16) {
                const QString letter(QLatin1Char(char('A' + action - 10)));
                panel.textInputted(letter);
                if (number) {
                    QCOMPARE(panel.getText(), pending ? letter : text + letter);
                    pending = false;
                } else {
                    QCOMPARE(panel.getText(), withCharAt(text, pos, letter));
                }
            } else if (action == 16) {
                panel.forwardPos();
                if (number) {
                    QCOMPARE(panel.getPos(), pos);
                } else if (sectioned) {
                    int next = 0;
                    for (const int start : starts) {
                        if (start > pos) {
                            next = start;
                            break;
                        }
                    }
                    QCOMPARE(panel.getPos(), next);
                }
            } else if (action == 17) {
                panel.backwardPos();
                if (number) {
                    QCOMPARE(panel.getPos(), 0);
                    pending = true;
                } else if (sectioned) {
                    int previous = pos;
                    for (const int start : starts) {
                        if (start < pos)
                            previous = start;
                    }
                    QCOMPARE(panel.getPos(), previous);
                }
            } else if (action == 18) {
                const bool accept = expectedFinal(e, text);
                QCOMPARE(panel.validateFin(), accept);
                QCOMPARE(panel.getText(), text);
                if (accept || number || !sectioned || e.type == 10) {
                    QCOMPARE(panel.getPos(), pos);
                } else if (e.type <= 2) {
                    QCOMPARE(panel.getPos(), starts.at(firstBadAddressPart(text)));
                } else {
                    QCOMPARE(panel.getPos(), 0);
                }
            } else {
                break; // the next sequence opens the field anew
            }

            // Invariants after every key.
            const QString now = panel.getText();
            const int p = panel.getPos();
            QVERIFY2(p >= 0 && (p < now.size() || (p == 0 && now.isEmpty())),
                qPrintable(QStringLiteral("cursor %1 outside \"%2\" (%3, from \"%4\")")
                               .arg(p)
                               .arg(now, key, initial)));
            if (sectioned) {
                QCOMPARE(now.size(), length);
                // Month- and day-first dates start on their "/" at 5; nothing else ever
                // puts the cursor on a separator.
                if (regular && !((e.type == 7 || e.type == 8) && p == 5))
                    QVERIFY2(now.at(p) != e.separator, qPrintable(now));
            }
            if (regular && e.type == 10) {
                // Only hexadecimal keys reach a MAC field: it stays six pairs of them.
                static const QRegularExpression mac(
                    QStringLiteral("^[0-9A-F]{2}(:[0-9A-F]{2}){5}$"));
                QVERIFY2(mac.match(now).hasMatch(), qPrintable(now));
            }
        }
    }
    Fram::getInstance()->setBuzzerEnable(true);
}

QTEST_MAIN(TestInputPanel)
#include "tst_inputpanel.moc"
