// The backlight over a fake sysfs tree: levels 0..20 spread over the device's own range.
#include "fakes.h"
#include "services/linux/sysfsbacklight.h"

#include <QtTest>

class tst_SysfsBacklight : public QObject {
    Q_OBJECT
private slots:
    void init();
    void levelToRaw_data();
    void levelToRaw();
    void rawToLevel_data();
    void rawToLevel();
    void setAndGetThroughTheFiles();
    void outOfRangeLevelsAreClamped_data();
    void outOfRangeLevelsAreClamped();
    void theFirstDeviceIsTakenWhenNoneIsNamed();
    void aMissingDeviceFails();
    void aMalformedFileFails();

private:
    void makeDevice(const QString &name, const QByteArray &max, const QByteArray &level);
    QString root() const { return m_dir->path(); }
    std::unique_ptr<QTemporaryDir> m_dir;
};

void tst_SysfsBacklight::init()
{
    m_dir = std::make_unique<QTemporaryDir>(scratchBase());
    QVERIFY(m_dir->isValid());
}

void tst_SysfsBacklight::makeDevice(
    const QString &name, const QByteArray &max, const QByteArray &level)
{
    const QString dir = root() + QStringLiteral("/class/backlight/") + name;
    QVERIFY(QDir().mkpath(dir));
    QFile maxFile(dir + QStringLiteral("/max_brightness"));
    QVERIFY(maxFile.open(QIODevice::WriteOnly));
    maxFile.write(max);
    QFile levelFile(dir + QStringLiteral("/brightness"));
    QVERIFY(levelFile.open(QIODevice::WriteOnly));
    levelFile.write(level);
}

void tst_SysfsBacklight::levelToRaw_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("max");
    QTest::addColumn<int>("raw");
    QTest::newRow("0 of 255") << 0 << 255 << 0;
    QTest::newRow("1 of 255") << 1 << 255 << 13;
    QTest::newRow("10 of 255") << 10 << 255 << 128;
    QTest::newRow("20 of 255") << 20 << 255 << 255;
    QTest::newRow("20 of 7") << 20 << 7 << 7;
    QTest::newRow("10 of 7") << 10 << 7 << 4;
    QTest::newRow("5 of 100") << 5 << 100 << 25;
    QTest::newRow("-1 of 100") << -1 << 100 << 0;
    QTest::newRow("21 of 100") << 21 << 100 << 100;
    QTest::newRow("no range") << 10 << 0 << 0;
}

void tst_SysfsBacklight::levelToRaw()
{
    QFETCH(int, level);
    QFETCH(int, max);
    QFETCH(int, raw);
    QCOMPARE(SysfsBacklight::levelToRaw(level, max), raw);
}

void tst_SysfsBacklight::rawToLevel_data()
{
    QTest::addColumn<int>("raw");
    QTest::addColumn<int>("max");
    QTest::addColumn<int>("level");
    QTest::newRow("0 of 255") << 0 << 255 << 0;
    QTest::newRow("13 of 255") << 13 << 255 << 1;
    QTest::newRow("128 of 255") << 128 << 255 << 10;
    QTest::newRow("255 of 255") << 255 << 255 << 20;
    QTest::newRow("4 of 7") << 4 << 7 << 11;
    QTest::newRow("above max") << 300 << 255 << 20;
}

void tst_SysfsBacklight::rawToLevel()
{
    QFETCH(int, raw);
    QFETCH(int, max);
    QFETCH(int, level);
    QCOMPARE(SysfsBacklight::rawToLevel(raw, max), level);
}

void tst_SysfsBacklight::setAndGetThroughTheFiles()
{
    makeDevice(QStringLiteral("panel"), "255\n", "255\n");
    SysfsBacklight backlight(root(), QStringLiteral("panel"));
    int level = -5;
    QVERIFY(backlight.level(&level));
    QCOMPARE(level, 20);
    // Every level survives the trip through the device's range.
    for (int wanted = 0; wanted <= 20; ++wanted) {
        QVERIFY(backlight.setLevel(wanted));
        QVERIFY(backlight.level(&level));
        QCOMPARE(level, wanted);
    }
    QVERIFY(backlight.setLevel(10));
    QFile file(root() + QStringLiteral("/class/backlight/panel/brightness"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("128\n"));
}

void tst_SysfsBacklight::outOfRangeLevelsAreClamped_data()
{
    QTest::addColumn<int>("request");
    QTest::addColumn<QByteArray>("written");
    QTest::newRow("-1") << -1 << QByteArray("0\n");
    QTest::newRow("21") << 21 << QByteArray("1000\n");
    QTest::newRow("-100") << -100 << QByteArray("0\n");
}

void tst_SysfsBacklight::outOfRangeLevelsAreClamped()
{
    QFETCH(int, request);
    QFETCH(QByteArray, written);
    makeDevice(QStringLiteral("panel"), "1000", "500");
    SysfsBacklight backlight(root(), QStringLiteral("panel"));
    QVERIFY(backlight.setLevel(request));
    QFile file(root() + QStringLiteral("/class/backlight/panel/brightness"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), written);
}

void tst_SysfsBacklight::theFirstDeviceIsTakenWhenNoneIsNamed()
{
    makeDevice(QStringLiteral("b-second"), "100", "50");
    makeDevice(QStringLiteral("a-first"), "100", "100");
    SysfsBacklight backlight(root(), QString());
    QCOMPARE(backlight.directory(), root() + QStringLiteral("/class/backlight/a-first"));
    int level = 0;
    QVERIFY(backlight.level(&level));
    QCOMPARE(level, 20);
}

void tst_SysfsBacklight::aMissingDeviceFails()
{
    SysfsBacklight none(root(), QString());
    QVERIFY(none.directory().isEmpty());
    QCOMPARE(none.problem(), root() + QStringLiteral("/class/backlight has no backlight device"));
    int level = 7;
    QVERIFY(!none.level(&level));
    QCOMPARE(level, 7);
    QVERIFY(!none.setLevel(5));

    SysfsBacklight named(root(), QStringLiteral("gone"));
    QVERIFY(!named.level(&level));
    QVERIFY(named.problem().startsWith(
        root() + QStringLiteral("/class/backlight/gone/max_brightness cannot be read (")));
    QVERIFY(!QFile::exists(root() + QStringLiteral("/class/backlight/gone")));
}

void tst_SysfsBacklight::aMalformedFileFails()
{
    makeDevice(QStringLiteral("panel"), "lots", "3");
    SysfsBacklight backlight(root(), QStringLiteral("panel"));
    int level = 7;
    QVERIFY(!backlight.level(&level));
    QCOMPARE(backlight.problem(),
        root()
            + QStringLiteral("/class/backlight/panel/max_brightness holds \"lots\", not a number"));
    QVERIFY(!backlight.setLevel(5));
}

QTEST_GUILESS_MAIN(tst_SysfsBacklight)
#include "tst_sysfsbacklight.moc"
