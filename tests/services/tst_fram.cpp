// Fram on the simulated unit: the startup calls and the buzzer leave their events.log lines,
// and the DIP switches, model, pixel size and orientation come from the state files.
#include "services/fram.h"

#include "tests/support/testsupport.h"

#include <QtTest>

#include <atomic>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using TestSupport::complaint;

class tst_Fram : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void buzzerIsOnByDefault();
    void loadParamLogsOneLine();
    void saveParamLogsOneLine();
    void startupSequence();
    void buzzerEnable();
    void makeSound_data();
    void makeSound();
    void disabledBuzzerIsSilent();

    void dip_data();
    void dip();
    void dipIsReadOnEveryCall();
    void dipMalformed_data();
    void dipMalformed();
    void dipMissing();
    void dipComplaintIsNotRepeated();

    void model_data();
    void model();
    void modelMalformed_data();
    void modelMalformed();
    void modelMissing();

    void pixels_data();
    void pixels();
    void pixelsMalformed_data();
    void pixelsMalformed();
    void pixelsMissing();

    void orientation_data();
    void orientation();
    void orientationMissing();
    void orientationMalformed();

    void loadSaveKeepsImage_data();
    void loadSaveKeepsImage();
    void loadSaveKeepsShortImage();
    void loadCreatesMissingImage();

    void dipEmptyGivesTheLastGoodValue();
    void dipThatIsNotARegularFile_data();
    void dipThatIsNotARegularFile();
    void dipTooLong();
    void dipRewrittenInALoop();
    void failedLoadLeavesTheChip();
    void failedSaveIsReported();

private:
    TestSupport::StateDir state;
};

void tst_Fram::initTestCase()
{
    QVERIFY2(state.setUp(), "BENCHTEST_SIM_DIR must name an existing directory");
}

void tst_Fram::init()
{
    state.next();
}

// Must run before anything switches the buzzer: the simulated buzzer starts enabled.
void tst_Fram::buzzerIsOnByDefault()
{
    Fram::getInstance()->makeSound(2);
    QCOMPARE(state.events(), QStringList { "sound 2" });
}

void tst_Fram::loadParamLogsOneLine()
{
    TestSupport::StderrCapture err;
    Fram::getInstance()->load_param();
    err.text();
    QCOMPARE(state.events(), QStringList { "param-load" });
}

void tst_Fram::saveParamLogsOneLine()
{
    TestSupport::StderrCapture err;
    Fram::getInstance()->load_param();
    state.clearEvents();
    Fram::getInstance()->save_param();
    QCOMPARE(state.events(), QStringList { "param-save" });
}

void tst_Fram::startupSequence()
{
    TestSupport::StderrCapture err;
    Fram *fram = Fram::getInstance();
    QCOMPARE(Fram::getInstance(), fram);
    fram->load_param();
    fram->save_param();
    fram->setBuzzerEnable(true);
    QCOMPARE(state.events(), (QStringList { "param-load", "param-save", "buzzer-enable 1" }));
}

void tst_Fram::buzzerEnable()
{
    Fram::getInstance()->setBuzzerEnable(true);
    QCOMPARE(state.events(), QStringList { "buzzer-enable 1" });
}

void tst_Fram::makeSound_data()
{
    QTest::addColumn<int>("sound");
    QTest::addColumn<QString>("line");
    QTest::newRow("step click") << 1 << "sound 1";
    QTest::newRow("confirmation") << 2 << "sound 2";
    QTest::newRow("error tone") << 5 << "sound 5";
    QTest::newRow("signal tone") << 10 << "sound 10";
    QTest::newRow("caller's value") << 37 << "sound 37";
}

void tst_Fram::makeSound()
{
    QFETCH(int, sound);
    QFETCH(QString, line);
    Fram::getInstance()->setBuzzerEnable(true);
    state.clearEvents();
    Fram::getInstance()->makeSound(sound);
    QCOMPARE(state.events(), QStringList { line });
}

void tst_Fram::disabledBuzzerIsSilent()
{
    Fram *fram = Fram::getInstance();
    fram->setBuzzerEnable(false);
    fram->makeSound(2);
    fram->setBuzzerEnable(true);
    fram->makeSound(5);
    QCOMPARE(state.events(), (QStringList { "buzzer-enable 0", "buzzer-enable 1", "sound 5" }));
}

void tst_Fram::dip_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<uint>("value");
    QTest::newRow("bench sequence") << QByteArray("0\n") << 0u;
    QTest::newRow("menu") << QByteArray("1\n") << 1u;
    QTest::newRow("burn-in decimal") << QByteArray("257\n") << 257u;
    QTest::newRow("slave decimal") << QByteArray("273\n") << 273u;
    QTest::newRow("burn-in hex") << QByteArray("0x101\n") << 257u;
    QTest::newRow("slave hex") << QByteArray("0x111") << 273u;
    QTest::newRow("upper-case hex") << QByteArray("0X1aF\n") << 0x1afu;
    QTest::newRow("hex zero") << QByteArray("0x0\n") << 0u;
    QTest::newRow("blanks around") << QByteArray("  42 \n\n") << 42u;
    QTest::newRow("largest") << QByteArray("0xFFFFFFFF\n") << 0xFFFFFFFFu;
}

void tst_Fram::dip()
{
    QFETCH(QByteArray, content);
    QFETCH(uint, value);
    state.write("dip", content);
    TestSupport::StderrCapture err;
    QCOMPARE(Fram::getInstance()->getDSWVal(), value);
    QCOMPARE(err.text(), QByteArray());
    QCOMPARE(state.events(), QStringList());
}

void tst_Fram::dipIsReadOnEveryCall()
{
    Fram *fram = Fram::getInstance();
    state.write("dip", "1\n");
    QCOMPARE(fram->getDSWVal(), 1u);
    state.write("dip", "0x111\n");
    QCOMPARE(fram->getDSWVal(), 273u);
    state.write("dip", "257\n");
    QCOMPARE(fram->getDSWVal(), 257u);
    state.write("dip", "0\n");
    QCOMPARE(fram->getDSWVal(), 0u);
}

void tst_Fram::dipMalformed_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("problem");
    QTest::newRow("word") << QByteArray("abc\n") << R"("abc" is not a number, using 0)";
    QTest::newRow("empty") << QByteArray("") << "is empty, using 0 (the default)";
    QTest::newRow("blank") << QByteArray(" \n") << "is empty, using 0 (the default)";
    QTest::newRow("bare 0x") << QByteArray("0x\n") << R"("0x" is not a number, using 0)";
    QTest::newRow("bad hex digit") << QByteArray("0x1G\n") << R"("0x1G" is not a number, using 0)";
    QTest::newRow("trailing junk")
        << QByteArray("12abc\n") << R"("12abc" is not a number, using 0)";
    QTest::newRow("two numbers") << QByteArray("1 2\n") << R"("1 2" is not a number, using 0)";
    QTest::newRow("two lines") << QByteArray("1\n2\n") << R"("1\n2" is not a number, using 0)";
    QTest::newRow("control bytes")
        << QByteArray("1\t\x01\n") << R"("1\t\x01" is not a number, using 0)";
    QTest::newRow("placeholder") << QByteArray("%2\n") << R"("%2" is not a number, using 0)";
    QTest::newRow("negative") << QByteArray("-1\n") << "-1 is out of range, using 0";
    QTest::newRow("too large") << QByteArray("0x100000000\n")
                               << "4294967296 is out of range, using 0";
    QTest::newRow("long garbage") << QByteArray(4000,
        'z') << QString(R"("%1..." is not a number, using 0)").arg(QString(40, QLatin1Char('z')));
    QTest::newRow("too long") << QByteArray(5000, 'z')
                              << QString("is longer than 4096 bytes, using 0 (the default)");
}

void tst_Fram::dipMalformed()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, problem);
    state.write("dip", content);
    TestSupport::StderrCapture err;
    QCOMPARE(Fram::getInstance()->getDSWVal(), 0u);
    QCOMPARE(err.text(), complaint(state.path("dip"), problem));
}

void tst_Fram::dipMissing()
{
    TestSupport::StderrCapture err;
    QCOMPARE(Fram::getInstance()->getDSWVal(), 0u);
    QCOMPARE(err.text(), complaint(state.path("dip"), "missing, using 0"));
}

// The DIP switches are read on every call, possibly many times a second; one bad file gives
// one complaint, and a different bad content complains again.
void tst_Fram::dipComplaintIsNotRepeated()
{
    Fram *fram = Fram::getInstance();
    state.write("dip", "x\n");
    TestSupport::StderrCapture err;
    for (int i = 0; i < 5; ++i)
        QCOMPARE(fram->getDSWVal(), 0u);
    state.write("dip", "0x101\n");
    QCOMPARE(fram->getDSWVal(), 257u);
    state.write("dip", "y\n");
    QCOMPARE(fram->getDSWVal(), 0u);
    QCOMPARE(err.text(),
        complaint(state.path("dip"), R"("x" is not a number, using 0)")
            + complaint(state.path("dip"), R"("y" is not a number, using 0)"));
}

void tst_Fram::model_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("value");
    QTest::newRow("4") << QByteArray("4\n") << 4;
    QTest::newRow("7") << QByteArray("7\n") << 7;
    QTest::newRow("10") << QByteArray("10") << 10;
    QTest::newRow("12 hex") << QByteArray("0xc\n") << 12;
    QTest::newRow("15") << QByteArray("15\n") << 15;
    QTest::newRow("unknown 3") << QByteArray("3\n") << 3;
}

void tst_Fram::model()
{
    QFETCH(QByteArray, content);
    QFETCH(int, value);
    state.write("model", content);
    TestSupport::StderrCapture err;
    QCOMPARE(Fram::getInstance()->getMonitorModel(), value);
    QCOMPARE(err.text(), QByteArray());
    QCOMPARE(state.events(), QStringList());
}

void tst_Fram::modelMalformed_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("problem");
    QTest::newRow("word") << QByteArray("seven\n") << R"("seven" is not a number, using 7)";
    QTest::newRow("empty") << QByteArray() << "is empty, using 7 (the default)";
    QTest::newRow("fraction") << QByteArray("7.5\n") << R"("7.5" is not a number, using 7)";
    QTest::newRow("negative") << QByteArray("-4\n") << "-4 is out of range, using 7";
    QTest::newRow("too large") << QByteArray("256\n") << "256 is out of range, using 7";
}

void tst_Fram::modelMalformed()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, problem);
    state.write("model", content);
    TestSupport::StderrCapture err;
    QCOMPARE(Fram::getInstance()->getMonitorModel(), 7);
    QCOMPARE(err.text(), complaint(state.path("model"), problem));
}

void tst_Fram::modelMissing()
{
    TestSupport::StderrCapture err;
    QCOMPARE(Fram::getInstance()->getMonitorModel(), 7);
    QCOMPARE(err.text(), complaint(state.path("model"), "missing, using 7"));
}

void tst_Fram::pixels_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("800 480") << QByteArray("800 480\n") << 800 << 480;
    QTest::newRow("480 272") << QByteArray("480 272\n") << 480 << 272;
    QTest::newRow("extra blanks") << QByteArray("  1024   600 \n") << 1024 << 600;
    QTest::newRow("tab") << QByteArray("320\t240\n") << 320 << 240;
}

void tst_Fram::pixels()
{
    QFETCH(QByteArray, content);
    QFETCH(int, width);
    QFETCH(int, height);
    state.write("pixels", content);
    TestSupport::StderrCapture err;
    const std::pair<int, int> size = Fram::getInstance()->getMonitorPixel();
    QCOMPARE(size.first, width);
    QCOMPARE(size.second, height);
    QCOMPARE(err.text(), QByteArray());
    QCOMPARE(state.events(), QStringList());
}

void tst_Fram::pixelsMalformed_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("shown");
    QTest::newRow("x separated") << QByteArray("800x480\n") << "800x480";
    QTest::newRow("one number") << QByteArray("800\n") << "800";
    QTest::newRow("three numbers") << QByteArray("800 480 1\n") << "800 480 1";
    QTest::newRow("zero width") << QByteArray("0 480\n") << "0 480";
    QTest::newRow("negative height") << QByteArray("800 -480\n") << "800 -480";
    QTest::newRow("words") << QByteArray("wide tall\n") << "wide tall";
    QTest::newRow("huge") << QByteArray("99999999999 480\n") << "99999999999 480";
    QTest::newRow("empty") << QByteArray() << "";
}

void tst_Fram::pixelsMalformed()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, shown);
    state.write("pixels", content);
    TestSupport::StderrCapture err;
    const std::pair<int, int> size = Fram::getInstance()->getMonitorPixel();
    QCOMPARE(size.first, 800);
    QCOMPARE(size.second, 480);
    QCOMPARE(err.text(),
        complaint(state.path("pixels"),
            QString(R"("%1" is not two positive numbers, using 800 480)").arg(shown)));
}

void tst_Fram::pixelsMissing()
{
    TestSupport::StderrCapture err;
    const std::pair<int, int> size = Fram::getInstance()->getMonitorPixel();
    QCOMPARE(size.first, 800);
    QCOMPARE(size.second, 480);
    QCOMPARE(err.text(), complaint(state.path("pixels"), "missing, using 800 480"));
}

void tst_Fram::orientation_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("rotated");
    QTest::newRow("normal") << QByteArray("0\n") << false;
    QTest::newRow("rotated") << QByteArray("1\n") << true;
    QTest::newRow("rotated 90") << QByteArray("90\n") << true;
}

void tst_Fram::orientation()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, rotated);
    state.write("orientation", content);
    TestSupport::StderrCapture err;
    QCOMPARE(Fram::getInstance()->getOrientation() != 0, rotated);
    QCOMPARE(err.text(), QByteArray());
    QCOMPARE(state.events(), QStringList());
}

void tst_Fram::orientationMissing()
{
    TestSupport::StderrCapture err;
    QCOMPARE(Fram::getInstance()->getOrientation(), 0);
    QCOMPARE(err.text(), complaint(state.path("orientation"), "missing, using 0"));
}

void tst_Fram::orientationMalformed()
{
    state.write("orientation", "sideways\n");
    TestSupport::StderrCapture err;
    QCOMPARE(Fram::getInstance()->getOrientation(), 0);
    QCOMPARE(
        err.text(), complaint(state.path("orientation"), R"("sideways" is not a number, using 0)"));
}

void tst_Fram::loadSaveKeepsImage_data()
{
    QTest::addColumn<int>("length");
    QTest::newRow("length 200") << 200;
    QTest::newRow("length 0") << 0;
    QTest::newRow("length past the chip") << 0xFFFF;
}

// Whatever the parameter area holds, loading and saving it back must not change a byte.
void tst_Fram::loadSaveKeepsImage()
{
    QFETCH(int, length);
    QByteArray image(32 * 1024, '\0');
    for (int i = 0; i < image.size(); ++i)
        image[i] = char((i * 7 + 3) ^ (i >> 8));
    image[0] = char(length & 0xFF);
    image[1] = char(length >> 8);
    state.write("fram.bin", image);

    TestSupport::StderrCapture err;
    Fram::getInstance()->load_param();
    Fram::getInstance()->save_param();
    QCOMPARE(err.text(), QByteArray());
    QCOMPARE(state.read("fram.bin"), image);
    QCOMPARE(state.events(), (QStringList { "param-load", "param-save" }));
}

// A short, corrupt image is reported, and neither cut nor padded by the round trip.
void tst_Fram::loadSaveKeepsShortImage()
{
    QByteArray image(100, '\x5a');
    image[0] = char(200);
    image[1] = 0;
    state.write("fram.bin", image);

    TestSupport::StderrCapture err;
    Fram::getInstance()->load_param();
    Fram::getInstance()->save_param();
    QCOMPARE(err.text(),
        complaint(
            state.path("fram.bin"), "is 100 bytes, expected 32768; reading past its end gives 0"));
    QCOMPARE(state.read("fram.bin"), image);
    QCOMPARE(state.events(), (QStringList { "param-load", "param-save" }));
}

void tst_Fram::loadCreatesMissingImage()
{
    TestSupport::StderrCapture err;
    Fram::getInstance()->load_param();
    Fram::getInstance()->save_param();
    QCOMPARE(err.text(), complaint(state.path("fram.bin"), "missing, creating a fresh FRAM image"));
    const QByteArray image = state.read("fram.bin");
    QCOMPARE(image.size(), 32 * 1024);
    QCOMPARE(uchar(image[0]) | (uchar(image[1]) << 8), 200);
    QCOMPARE(image.count('\0'), image.size() - 1);
}

void tst_Fram::dipEmptyGivesTheLastGoodValue()
{
    state.write("dip", "273\n");
    QCOMPARE(Fram::getInstance()->getDSWVal(), 273u);
    state.write("dip", "");
    TestSupport::StderrCapture err;
    QCOMPARE(Fram::getInstance()->getDSWVal(), 273u);
    QCOMPARE(err.text(), complaint(state.path("dip"), "is empty, using 273 (the last value read)"));
}

void tst_Fram::dipThatIsNotARegularFile_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("fifo") << "fifo";
    QTest::newRow("/dev/zero") << "zero";
    QTest::newRow("directory") << "directory";
}

void tst_Fram::dipThatIsNotARegularFile()
{
    QFETCH(QString, kind);
    const QByteArray dip = QFile::encodeName(state.path("dip"));
    if (kind == QLatin1String("fifo"))
        QVERIFY(mkfifo(dip.constData(), 0644) == 0);
    else if (kind == QLatin1String("zero"))
        QVERIFY(symlink("/dev/zero", dip.constData()) == 0);
    else
        QVERIFY(QDir().mkpath(state.path("dip")));
    TestSupport::StderrCapture err;
    // Neither blocks (a FIFO without a writer) nor reads without end (/dev/zero).
    QCOMPARE(Fram::getInstance()->getDSWVal(), 0u);
    QCOMPARE(
        err.text(), complaint(state.path("dip"), "is not a regular file, using 0 (the default)"));
}

void tst_Fram::dipTooLong()
{
    state.write("dip", QByteArray(5000, ' ') + "1\n");
    TestSupport::StderrCapture err;
    QCOMPARE(Fram::getInstance()->getDSWVal(), 0u);
    QCOMPARE(err.text(),
        complaint(state.path("dip"), "is longer than 4096 bytes, using 0 (the default)"));
}

void tst_Fram::dipRewrittenInALoop()
{
    // The worst writer: truncate, then write, again and again. A reader that meets the empty
    // file between the two must never take it for 0 (the bench walk on a slave tester).
    state.write("dip", "273\n");
    // The unit has read its switches once before the writer starts, as at power-on; after
    // that an empty file that outlasts the retries gives that value, never 0.
    QCOMPARE(Fram::getInstance()->getDSWVal(), 273u);
    const QByteArray dip = QFile::encodeName(state.path("dip"));
    std::atomic<bool> stop { false };
    std::thread writer([&] {
        while (!stop.load()) {
            const int fd = ::open(dip.constData(), O_WRONLY | O_TRUNC);
            if (fd >= 0) {
                (void)!::write(fd, "273\n", 4);
                ::close(fd);
            }
        }
    });
    int wrong = 0;
    unsigned int seen = 273;
    for (int i = 0; i < 3000; ++i) {
        const unsigned int value = Fram::getInstance()->getDSWVal();
        if (value != 273u) {
            ++wrong;
            seen = value;
        }
    }
    stop = true;
    writer.join();
    QVERIFY2(wrong == 0, qPrintable(QStringLiteral("%1 reads gave %2").arg(wrong).arg(seen)));
}

void tst_Fram::failedLoadLeavesTheChip()
{
    QByteArray image(32768, '\0');
    for (int i = 0; i < image.size(); ++i)
        image[i] = char(i * 7 + 3);
    state.write("fram.bin", image);
    state.write("fram-fault", "read\n");
    TestSupport::StderrCapture err;
    Fram::getInstance()->load_param();
    Fram::getInstance()->save_param();
    QCOMPARE(state.read("fram.bin"), image);
    QCOMPARE(state.events(),
        QStringList({ "param-load", "param-load-failed", "param-save", "param-save-skipped" }));
    QVERIFY(err.text().contains(complaint(
        state.path("fram.bin"), "the parameters cannot be read; the chip is left as it is")));
    // Once the chip reads again, the parameters go back unchanged.
    state.remove("fram-fault");
    state.clearEvents();
    Fram::getInstance()->load_param();
    Fram::getInstance()->save_param();
    QCOMPARE(state.events(), QStringList({ "param-load", "param-save" }));
    QCOMPARE(state.read("fram.bin"), image);
}

void tst_Fram::failedSaveIsReported()
{
    Fram::getInstance()->load_param();
    state.write("fram-fault", "write\n");
    state.clearEvents();
    TestSupport::StderrCapture err;
    Fram::getInstance()->save_param();
    QCOMPARE(state.events(), QStringList({ "param-save", "param-save-failed" }));
    QVERIFY(err.text().contains(
        complaint(state.path("fram.bin"), "cannot be written (fram-fault says so)")));
}

QTEST_GUILESS_MAIN(tst_Fram)
#include "tst_fram.moc"
