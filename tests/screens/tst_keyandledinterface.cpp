// The menu key check, fed through the virtual unit's key device (/dev/input/event1, written
// through /sim/key-feed): which events count, the "Continue" button, the unset BD_HOMEKEY
// message, a missing device, a refused grab and the 4-inch shortcut.
#include "common/functionbutton.h"
#include "screens/keyandledinterface.h"
#include "tests/support/stdoutcapture.h"
#include "tests/support/testsupport.h"

#include <QImage>
#include <QSignalSpy>
#include <QTemporaryFile>
#include <QTest>

#include <cstddef>
#include <cstdio>
#include <unistd.h>

using namespace TestSupport;

namespace {

int keySounds()
{
    return sounds().count(QStringLiteral("sound 2"));
}

// Writes lines to the key feed ("CODE VALUE [TYPE]" each).
bool feed(const QStringList &lines)
{
    std::FILE *file = std::fopen(QFile::encodeName(simPath(QStringLiteral("key-feed"))), "w");
    if (!file)
        return false;
    const QByteArray text = (lines.join(QLatin1Char('\n')) + QLatin1Char('\n')).toLatin1();
    const bool ok
        = std::fwrite(text.constData(), 1, size_t(text.size()), file) == size_t(text.size());
    return std::fclose(file) == 0 && ok;
}

FunctionButton *continueButton(KeyAndLedInterface &screen)
{
    return screen.findChild<FunctionButton *>();
}

} // namespace

class TestKeyAndLedInterface : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void recordLayout();
    void unsetHomekeyUsesEvent1();
    void homekeySetPrintsNothing();
    void keyEvents_data();
    void keyEvents();
    void continueStartsAgain();
    void resetSlot();
    void fourInchShowsContinueAtOnce();
    void missingDevice_data();
    void missingDevice();
    void grabRefused_data();
    void grabRefused();
    void processHomekey_data();
    void processHomekey();
    void hintIsPainted();

private:
    // Feeds the lines and then one press as a marker; returns once the marker was counted,
    // so every line before it has been read.
    static bool feedAndSettle(KeyAndLedInterface &screen, const QStringList &lines);
};

bool TestKeyAndLedInterface::feedAndSettle(KeyAndLedInterface &, const QStringList &lines)
{
    const int before = keySounds();
    if (!feed(lines + QStringList { QStringLiteral("30 1") }))
        return false;
    int counted = 0;
    for (const QString &line : lines) {
        const QStringList f = line.split(QLatin1Char(' '));
        if (f.value(0) == QLatin1String("30") && f.value(1) != QLatin1String("0"))
            ++counted;
    }
    return QTest::qWaitFor([&] { return keySounds() >= before + counted + 1; }, 5000)
        && keySounds() == before + counted + 1;
}

void TestKeyAndLedInterface::initTestCase()
{
    if (!QFile::exists(simPath(QStringLiteral("key-feed"))))
        QSKIP("needs a virtual unit with --key");
}

void TestKeyAndLedInterface::init()
{
    writeSim(QStringLiteral("model"), QStringLiteral("7"));
    writeSim(QStringLiteral("key-grab"), QStringLiteral("free"));
    qunsetenv("BD_HOMEKEY");
    clearEvents();
}

void TestKeyAndLedInterface::recordLayout()
{
    QCOMPARE(sizeof(KeyAndLedInterface::input_event), size_t(16));
    QCOMPARE(offsetof(KeyEventRecord, microseconds), size_t(4));
    QCOMPARE(offsetof(KeyEventRecord, type), size_t(8));
    QCOMPARE(offsetof(KeyEventRecord, code), size_t(10));
    QCOMPARE(offsetof(KeyEventRecord, value), size_t(12));
}

void TestKeyAndLedInterface::unsetHomekeyUsesEvent1()
{
    StdoutCapture capture;
    KeyAndLedInterface screen;
    QCOMPARE(capture.take(), QByteArray("BD_HOMEKEY not found use default:/dev/input/event1\n"));
    QCOMPARE(events(), QStringList { QStringLiteral("key-grab ok") });
    QVERIFY(continueButton(screen)->isHidden());
    QVERIFY(feedAndSettle(screen, { QStringLiteral("30 1"), QStringLiteral("30 1") }));
    QVERIFY(!continueButton(screen)->isHidden());
}

void TestKeyAndLedInterface::homekeySetPrintsNothing()
{
    qputenv("BD_HOMEKEY", "/dev/input/event1");
    StdoutCapture capture;
    KeyAndLedInterface screen;
    QCOMPARE(capture.take(), QByteArray());
    QCOMPARE(events(), QStringList { QStringLiteral("key-grab ok") });
}

void TestKeyAndLedInterface::keyEvents_data()
{
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<int>("counted");
    QTest::newRow("two presses") << QStringList { "30 1", "30 1" } << 2;
    QTest::newRow("press, release, press") << QStringList { "30 1", "30 0", "30 1", "30 0" } << 2;
    QTest::newRow("releases never count") << QStringList { "30 0", "30 0", "30 0", "30 0" } << 0;
    QTest::newRow("held key repeats") << QStringList { "30 1", "30 2" } << 2;
    QTest::newRow("other codes") << QStringList { "31 1", "29 1", "0 1", "28 2", "1 1" } << 0;
    QTest::newRow("other codes, other types")
        << QStringList { "31 1 4", "2 1 0", "0 0 0", "48 2 3", "65535 1 65535" } << 0;
    QTest::newRow("code 30 of any type") << QStringList { "30 1 4", "30 5 0" } << 2;
    QTest::newRow("negative value") << QStringList { "30 -1" } << 1;
}

void TestKeyAndLedInterface::keyEvents()
{
    QFETCH(QStringList, lines);
    QFETCH(int, counted);
    KeyAndLedInterface screen;
    QSignalSpy exits(&screen, &StackWidgetInterface::exitSignal);
    QVERIFY(exits.isValid());
    // The marker press is one more: three in all shows the button.
    QVERIFY(feedAndSettle(screen, lines));
    QCOMPARE(continueButton(screen)->isHidden(), counted + 1 < 3);
    QCOMPARE(sounds().size(), counted + 1);
    QCOMPARE(exits.count(), 0);
    QCOMPARE(g_toogleState, 0);
}

void TestKeyAndLedInterface::continueStartsAgain()
{
    KeyAndLedInterface screen;
    screen.resize(800, 480);
    screen.show();
    QSignalSpy exits(&screen, &StackWidgetInterface::exitSignal);
    QVERIFY(feedAndSettle(screen, { QStringLiteral("30 1"), QStringLiteral("30 2") }));
    FunctionButton *button = continueButton(screen);
    QTRY_VERIFY(button->isVisible());
    QCOMPARE(button->text(), QStringLiteral("Continue"));
    clearEvents();
    QTest::mouseClick(button, Qt::LeftButton);
    QCOMPARE(exits.count(), 1);
    QCOMPARE(sounds(), QStringList { QStringLiteral("sound 2") });
    QVERIFY(button->isHidden());
    // The count starts again at 0: two presses are not enough, the third is.
    QVERIFY(feedAndSettle(screen, { QStringLiteral("30 1") }));
    QVERIFY(button->isHidden());
    QVERIFY(feedAndSettle(screen, {}));
    QVERIFY(!button->isHidden());
    QCOMPARE(exits.count(), 1);
}

void TestKeyAndLedInterface::resetSlot()
{
    KeyAndLedInterface screen;
    QSignalSpy exits(&screen, &StackWidgetInterface::exitSignal);
    QVERIFY(feedAndSettle(screen, { QStringLiteral("30 1"), QStringLiteral("30 1") }));
    QVERIFY(!continueButton(screen)->isHidden());
    clearEvents();
    screen.reset();
    QVERIFY(continueButton(screen)->isHidden());
    QVERIFY(sounds().isEmpty());
    QCOMPARE(exits.count(), 0);
    QVERIFY(feedAndSettle(screen, { QStringLiteral("30 1") }));
    QVERIFY(continueButton(screen)->isHidden());
}

void TestKeyAndLedInterface::fourInchShowsContinueAtOnce()
{
    writeSim(QStringLiteral("model"), QStringLiteral("4"));
    KeyAndLedInterface screen;
    QVERIFY(!continueButton(screen)->isHidden());
    screen.reset();
    QVERIFY(continueButton(screen)->isHidden());
    QVERIFY(feedAndSettle(screen, { QStringLiteral("30 1") }));
    QVERIFY(continueButton(screen)->isHidden());
    QVERIFY(feedAndSettle(screen, {}));
    QVERIFY(!continueButton(screen)->isHidden());
}

void TestKeyAndLedInterface::missingDevice_data()
{
    QTest::addColumn<int>("model");
    QTest::addColumn<bool>("shown");
    QTest::newRow("model 4") << 4 << true;
    QTest::newRow("model 7") << 7 << false;
}

void TestKeyAndLedInterface::missingDevice()
{
    QFETCH(int, model);
    QFETCH(bool, shown);
    writeSim(QStringLiteral("model"), QString::number(model));
    qputenv("BD_HOMEKEY", "/dev/input/no-such-key");
    StdoutCapture capture;
    KeyAndLedInterface screen;
    QCOMPARE(capture.take(), QByteArray());
    QCOMPARE(continueButton(screen)->isHidden(), !shown);
    QVERIFY(!events().contains(QStringLiteral("key-grab ok")));
}

void TestKeyAndLedInterface::grabRefused_data()
{
    missingDevice_data();
}

void TestKeyAndLedInterface::grabRefused()
{
    QFETCH(int, model);
    writeSim(QStringLiteral("model"), QString::number(model));
    writeSim(QStringLiteral("key-grab"), QStringLiteral("busy"));
    {
        KeyAndLedInterface screen;
        QCOMPARE(events(), QStringList { QStringLiteral("key-grab busy") });
        // Not even the 4-inch unit gets the button: nothing reads the key.
        QVERIFY(continueButton(screen)->isHidden());
        QVERIFY(feed({ QStringLiteral("30 1"), QStringLiteral("30 1"), QStringLiteral("30 1") }));
        QVERIFY(continueButton(screen)->isHidden());
        QVERIFY(sounds().isEmpty());
    }
    // The presses left in the device are read by the next screen that has the key.
    writeSim(QStringLiteral("key-grab"), QStringLiteral("free"));
    KeyAndLedInterface screen;
    QVERIFY(feed({ QStringLiteral("30 1") }));
    QTRY_COMPARE(keySounds(), 4);
    QVERIFY(!continueButton(screen)->isHidden());
}

void TestKeyAndLedInterface::processHomekey_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("counted");
    QTest::newRow("press") << 30 << 1 << 1;
    QTest::newRow("repeat") << 30 << 2 << 1;
    QTest::newRow("release") << 30 << 0 << 0;
    QTest::newRow("other code pressed") << 31 << 1 << 1;
    QTest::newRow("other code released") << 31 << 0 << 0;
}

void TestKeyAndLedInterface::processHomekey()
{
    QFETCH(int, code);
    QFETCH(int, value);
    QFETCH(int, counted);
    qputenv("BD_HOMEKEY", "/dev/input/no-such-key");
    KeyAndLedInterface screen;
    KeyAndLedInterface::input_event e = {};
    e.type = 1;
    e.code = quint16(code);
    e.value = value;
    for (int i = 0; i < 2; ++i)
        screen.processHomekey(&e);
    QCOMPARE(sounds().size(), 2 * counted);
    QVERIFY(continueButton(screen)->isHidden());
    screen.processHomekey(&e);
    QCOMPARE(continueButton(screen)->isHidden(), counted == 0);
    QCOMPARE(g_toogleState, 0);
}

void TestKeyAndLedInterface::hintIsPainted()
{
    qputenv("BD_HOMEKEY", "/dev/input/no-such-key");
    KeyAndLedInterface screen;
    QCOMPARE(screen.hintText(),
        QStringLiteral("LED and menu test.\nPlease press the menu key three times."));
    QCOMPARE(screen.font().pixelSize(), 16);
    screen.resize(800, 480);
    QImage image(screen.size(), QImage::Format_RGB32);
    image.fill(Qt::red);
    screen.render(&image);
    QCOMPARE(image.pixelColor(5, 5), QColor(Qt::black));
    int white = 0;
    for (int y = 200; y < 280; ++y)
        for (int x = 200; x < 600; ++x)
            white += image.pixelColor(x, y) == QColor(Qt::white);
    QVERIFY(white > 50);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            QVERIFY(image.pixelColor(x, y) != QColor(Qt::red));
}

QTEST_MAIN(TestKeyAndLedInterface)
#include "tst_keyandledinterface.moc"
