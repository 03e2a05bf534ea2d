// The test keys, port paths and image names are compared as texts everywhere: any drift in a
// single byte breaks the sequence, the menu or a style sheet.
#include "common/functionkeys.h"
#include "common/portnames.h"

#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QSet>
#include <QTest>

class TestVocabulary : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void functionKeys_data();
    void functionKeys();
    void keysAreDistinctLowerCase();
    void labelIsNotAKey();
    void portNames();
    void endPointSplitsAtItsBlank();
    void imagesResolve_data();
    void imagesResolve();
    void collectionHoldsExactlyTheImages();
};

void TestVocabulary::functionKeys_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("TouchPanelFunction") << TouchPanelFunction << QByteArray("touch panel");
    QTest::newRow("BrightnessFunction") << BrightnessFunction << QByteArray("brightness");
    QTest::newRow("DateTimeFunction") << DateTimeFunction << QByteArray("date and time");
    QTest::newRow("BatteryPowerFunction") << BatteryPowerFunction << QByteArray("battery power");
    QTest::newRow("BacklightFunction") << BacklightFunction << QByteArray("backlight");
    QTest::newRow("LcmFunction") << LcmFunction << QByteArray("lcm");
    QTest::newRow("KeyAndLedFunction") << KeyAndLedFunction << QByteArray("key and led");
    QTest::newRow("DipSwitchesFunction") << DipSwitchesFunction << QByteArray("dip switches");
    QTest::newRow("EthernetFunction") << EthernetFunction << QByteArray("ethernet");
    QTest::newRow("Com1RS232Function") << Com1RS232Function << QByteArray("com1 rs232");
    QTest::newRow("Com1RS422Function") << Com1RS422Function << QByteArray("com1 rs422");
    QTest::newRow("Com1RS485Function") << Com1RS485Function << QByteArray("com1 rs485");
    QTest::newRow("Com2RS232Function") << Com2RS232Function << QByteArray("com2 rs232");
    QTest::newRow("Com2RS422Function") << Com2RS422Function << QByteArray("com2 rs422");
    QTest::newRow("Com2RS485Function") << Com2RS485Function << QByteArray("com2 rs485");
    QTest::newRow("Com3RS232Function") << Com3RS232Function << QByteArray("com3 rs232");
    QTest::newRow("Com3RS485Function") << Com3RS485Function << QByteArray("com3 rs485");
    QTest::newRow("WhiteScreenFunction") << WhiteScreenFunction << QByteArray("white screen");
    QTest::newRow("UsbHostFunction") << UsbHostFunction << QByteArray("usb host");
    QTest::newRow("UsbDeviceFunction") << UsbDeviceFunction << QByteArray("usb device");
    QTest::newRow("ExitFunction") << ExitFunction << QByteArray("exit");
    QTest::newRow("MACFunction") << MACFunction << QByteArray("mac");
}

void TestVocabulary::functionKeys()
{
    QFETCH(QString, key);
    QFETCH(QByteArray, text);
    QCOMPARE(key.toUtf8(), text);
}

void TestVocabulary::keysAreDistinctLowerCase()
{
    const QStringList keys { TouchPanelFunction, BrightnessFunction, DateTimeFunction,
        BatteryPowerFunction, BacklightFunction, LcmFunction, KeyAndLedFunction,
        DipSwitchesFunction, EthernetFunction, Com1RS232Function, Com1RS422Function,
        Com1RS485Function, Com2RS232Function, Com2RS422Function, Com2RS485Function,
        Com3RS232Function, Com3RS485Function, WhiteScreenFunction, UsbHostFunction,
        UsbDeviceFunction, ExitFunction, MACFunction };
    QCOMPARE(keys.size(), 22);
    QCOMPARE(QSet<QString>(keys.begin(), keys.end()).size(), 22);
    for (const QString &key : keys) {
        QCOMPARE(key, key.toLower());
        QVERIFY2(!key.contains(QLatin1String("  ")), qPrintable(key));
    }
    // The third port has no RS422 stage.
    QVERIFY(!keys.contains(QStringLiteral("com3 rs422")));
}

void TestVocabulary::labelIsNotAKey()
{
    QVERIFY(QStringLiteral("Touch panel") != TouchPanelFunction);
}

void TestVocabulary::portNames()
{
    QCOMPARE(COMPORT1.toUtf8(), QByteArray("/dev/ttyO0"));
    QCOMPARE(COMPORT2.toUtf8(), QByteArray("/dev/ttyO1"));
    QCOMPARE(COMPORT3.toUtf8(), QByteArray("/dev/ttyO2"));
    for (const QString &port : { COMPORT1, COMPORT2, COMPORT3 })
        QCOMPARE(port.at(8), QLatin1Char('O'));
    QCOMPARE(USBHOST.toUtf8(), QByteArray("usb_host"));
    QCOMPARE(USBDEVICE.toUtf8(), QByteArray("usb_device"));
}

void TestVocabulary::endPointSplitsAtItsBlank()
{
    const QStringList parts = IPANDPORT.split(QLatin1Char(' '));
    QCOMPARE(parts.size(), 2);
    QCOMPARE(parts.at(0), QStringLiteral("192.168.90.89"));
    QCOMPARE(parts.at(1), QStringLiteral("36888"));
}

static const QStringList Images { QStringLiteral("dip_on_icon.png"), QStringLiteral("quorvan.jpg"),
    QStringLiteral("input-ok.png"), QStringLiteral("plain button1.png"),
    QStringLiteral("input-right.png"), QStringLiteral("plain button.png"),
    QStringLiteral("input-left.png"), QStringLiteral("dip_panel.png"),
    QStringLiteral("input-right1.png"), QStringLiteral("inputpanelBG.png"),
    QStringLiteral("input-label.png"), QStringLiteral("inputBtn1.png"),
    QStringLiteral("input-ok1.png"), QStringLiteral("dipIcon0.png"), QStringLiteral("dipIcon1.png"),
    QStringLiteral("input-left1.png"), QStringLiteral("inputBtn.png") };

void TestVocabulary::imagesResolve_data()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : Images)
        QTest::newRow(qPrintable(name)) << name;
}

void TestVocabulary::imagesResolve()
{
    QFETCH(QString, name);
    const QString path = QStringLiteral(":/img/") + name;
    QVERIFY2(QFile::exists(path), qPrintable(path));
    QVERIFY2(!QImage(path).isNull(), qPrintable(path));
}

void TestVocabulary::collectionHoldsExactlyTheImages()
{
    QStringList found;
    QDirIterator it(QStringLiteral(":/img"));
    while (it.hasNext()) {
        it.next();
        found << it.fileName();
    }
    found.sort();
    QStringList expected = Images;
    expected.sort();
    QCOMPARE(found, expected);
}

QTEST_GUILESS_MAIN(TestVocabulary)
#include "tst_vocabulary.moc"
