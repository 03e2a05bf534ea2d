// The DIP switches: four line levels packed one switch per hexadecimal digit, and libgpiod's
// answer for a chip that is not there.
#include "fakes.h"

#include <QtTest>

class tst_GpioLines : public QObject {
    Q_OBJECT
private slots:
    void pack_data();
    void pack();
    void aFakeChipGivesTheModeValues_data();
    void aFakeChipGivesTheModeValues();
    void aMissingChipFails();
    void aFileThatIsNoChipFails();
};

void tst_GpioLines::pack_data()
{
    QTest::addColumn<QVector<int>>("levels");
    QTest::addColumn<bool>("activeLow");
    QTest::addColumn<unsigned int>("value");
    QTest::newRow("all off, active low") << QVector<int> { 1, 1, 1, 1 } << true << 0u;
    QTest::newRow("all on, active low") << QVector<int> { 0, 0, 0, 0 } << true << 0x1111u;
    QTest::newRow("SW1 on") << QVector<int> { 0, 1, 1, 1 } << true << 0x1000u;
    QTest::newRow("SW2 on") << QVector<int> { 1, 0, 1, 1 } << true << 0x100u;
    QTest::newRow("SW3 on") << QVector<int> { 1, 1, 0, 1 } << true << 0x10u;
    QTest::newRow("SW4 on") << QVector<int> { 1, 1, 1, 0 } << true << 0x1u;
    QTest::newRow("active high 0x0110") << QVector<int> { 0, 1, 1, 0 } << false << 0x0110u;
    QTest::newRow("active high all on") << QVector<int> { 1, 1, 1, 1 } << false << 0x1111u;
    QTest::newRow("too few levels") << QVector<int> { 0, 0 } << true << 0x1100u;
    QTest::newRow("none") << QVector<int> {} << true << 0u;
}

void tst_GpioLines::pack()
{
    QFETCH(QVector<int>, levels);
    QFETCH(bool, activeLow);
    QFETCH(unsigned int, value);
    QCOMPARE(DipSwitches::pack(levels, activeLow), value);
}

void tst_GpioLines::aFakeChipGivesTheModeValues_data()
{
    QTest::addColumn<QVector<int>>("levels");
    QTest::addColumn<unsigned int>("value");
    // The start-up modes: bench 0, menu 1, burn-in 257, slave tester 273.
    QTest::newRow("bench") << QVector<int> { 1, 1, 1, 1 } << 0u;
    QTest::newRow("menu") << QVector<int> { 1, 1, 1, 0 } << 1u;
    QTest::newRow("burn-in") << QVector<int> { 1, 0, 1, 0 } << 257u;
    QTest::newRow("slave tester") << QVector<int> { 1, 0, 0, 0 } << 273u;
}

void tst_GpioLines::aFakeChipGivesTheModeValues()
{
    QFETCH(QVector<int>, levels);
    QFETCH(unsigned int, value);
    FakeGpio chip;
    chip.levels = levels;
    GpioLines &lines = chip;
    QVector<int> read;
    QVERIFY(lines.read(&read));
    QCOMPARE(DipSwitches::pack(read, true), value);
}

void tst_GpioLines::aMissingChipFails()
{
    GpiodLines lines(QStringLiteral("/nonexistent/gpiochip9"), { 0, 1, 2, 3 });
    QVector<int> levels { 5 };
    QVERIFY(!lines.read(&levels));
    QCOMPARE(levels, QVector<int> { 5 });
    QCOMPARE(lines.problem(),
        QStringLiteral("GPIO chip /nonexistent/gpiochip9 cannot be opened (No such file or "
                       "directory)"));
    // Asked again (the switch test polls), it fails the same way, never crashes.
    QVERIFY(!lines.read(&levels));
}

void tst_GpioLines::aFileThatIsNoChipFails()
{
    QTemporaryDir dir(scratchBase());
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("gpiochip0"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    GpiodLines lines(path, { 0, 1, 2, 3 });
    QVector<int> levels;
    QVERIFY(!lines.read(&levels));
    QVERIFY2(
        lines.problem().startsWith(QStringLiteral("GPIO chip %1 cannot be opened (").arg(path)),
        qPrintable(lines.problem()));
}

QTEST_GUILESS_MAIN(tst_GpioLines)
#include "tst_gpiolines.moc"
