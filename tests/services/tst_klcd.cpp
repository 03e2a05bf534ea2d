// The simulated LCD backlight: every set is logged as passed, the stored level is kept within
// 0..20, and a missing or bad brightness file reads as the brightest level.
#include "services/klcd.h"

#include "tests/support/testsupport.h"

#include <QtTest>

using TestSupport::complaint;

class tst_KLcd : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void singleton();
    void set_data();
    void set();
    void getLogsNothing();
    void stepsPastTheEnds();
    void missingFile();
    void badFile_data();
    void badFile();

private:
    TestSupport::StateDir state;
};

void tst_KLcd::initTestCase()
{
    QVERIFY2(state.setUp(), "BENCHTEST_SIM_DIR must name an existing directory");
}

void tst_KLcd::init()
{
    state.next();
}

void tst_KLcd::singleton()
{
    QVERIFY(KLcd::getInstance());
    QCOMPARE(KLcd::getInstance(), KLcd::getInstance());
}

void tst_KLcd::set_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("flag");
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("stored");
    QTest::newRow("brightest") << 20 << true << "brightness 20 1" << 20;
    QTest::newRow("dark") << 0 << true << "brightness 0 1" << 0;
    QTest::newRow("middle") << 7 << true << "brightness 7 1" << 7;
    QTest::newRow("flag false") << 5 << false << "brightness 5 0" << 5;
    QTest::newRow("step below") << -1 << true << "brightness -1 1" << 0;
    QTest::newRow("step above") << 21 << true << "brightness 21 1" << 20;
    QTest::newRow("far below") << -1000 << false << "brightness -1000 0" << 0;
    QTest::newRow("far above") << 99999 << true << "brightness 99999 1" << 20;
}

void tst_KLcd::set()
{
    QFETCH(int, level);
    QFETCH(bool, flag);
    QFETCH(QString, line);
    QFETCH(int, stored);
    TestSupport::StderrCapture err;
    KLcd::getInstance()->setLcdBrightness(level, flag);
    QCOMPARE(state.events(), QStringList { line });
    QCOMPARE(KLcd::getInstance()->getLcdBrightness(), stored);
    QCOMPARE(state.read("brightness"), QByteArray::number(stored) + '\n');
    QCOMPARE(err.text(), QByteArray());
}

void tst_KLcd::getLogsNothing()
{
    state.write("brightness", "12\n");
    QCOMPARE(KLcd::getInstance()->getLcdBrightness(), 12);
    QCOMPARE(state.events(), QStringList());
}

// The brightness screen steps from the current level and passes the result on.
void tst_KLcd::stepsPastTheEnds()
{
    KLcd *lcd = KLcd::getInstance();
    lcd->setLcdBrightness(20, true);
    lcd->setLcdBrightness(lcd->getLcdBrightness() + 1, true);
    QCOMPARE(lcd->getLcdBrightness(), 20);
    lcd->setLcdBrightness(0, true);
    lcd->setLcdBrightness(lcd->getLcdBrightness() - 1, true);
    QCOMPARE(lcd->getLcdBrightness(), 0);
    QCOMPARE(state.events(),
        (QStringList {
            "brightness 20 1", "brightness 21 1", "brightness 0 1", "brightness -1 1" }));
}

void tst_KLcd::missingFile()
{
    TestSupport::StderrCapture err;
    QCOMPARE(KLcd::getInstance()->getLcdBrightness(), 20);
    QCOMPARE(err.text(), complaint(state.path("brightness"), "missing, using 20"));
}

void tst_KLcd::badFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("problem");
    QTest::newRow("word") << QByteArray("bright\n") << R"("bright" is not a number, using 20)";
    QTest::newRow("empty") << QByteArray() << "is empty, using 20 (the default)";
    QTest::newRow("above") << QByteArray("21\n") << "21 is outside 0..20, using 20";
    QTest::newRow("below") << QByteArray("-1\n") << "-1 is outside 0..20, using 20";
}

void tst_KLcd::badFile()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, problem);
    state.write("brightness", content);
    TestSupport::StderrCapture err;
    QCOMPARE(KLcd::getInstance()->getLcdBrightness(), 20);
    QCOMPARE(err.text(), complaint(state.path("brightness"), problem));
}

QTEST_GUILESS_MAIN(tst_KLcd)
#include "tst_klcd.moc"
