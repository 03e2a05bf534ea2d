// The simulated FM25V02 FRAM chip: fram.bin is created when missing with a valid parameter
// header, reads and writes go to the file, writes are logged, and a damaged file is kept.
#include "services/fm25v02.h"

#include "tests/support/testsupport.h"

#include <QtTest>

using TestSupport::complaint;

namespace {

quint16 wordAt(const QByteArray &image, int address)
{
    return quint16(uchar(image[address]) | (uchar(image[address + 1]) << 8));
}

// The parameter-area checksum: the 100 little-endian words at 4..203, summed modulo 65536.
quint16 checksumOf(const QByteArray &image)
{
    quint16 sum = 0;
    for (int i = 0; i < 100; ++i)
        sum = quint16(sum + wordAt(image, 4 + 2 * i));
    return sum;
}

QByteArray pattern(int size, int seed)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = char(seed + i * 13);
    return bytes;
}

} // namespace

class tst_FM25V02 : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void checksumRule();
    void initCreatesFreshImage();
    void readCreatesFreshImage();
    void initAndRdidLogNothing();
    void writeLogsOneLine_data();
    void writeLogsOneLine();
    void readLogsNothing();
    void roundTrip_data();
    void roundTrip();
    void writeKeepsNeighbours();
    void writesPastTheEndAreDropped();
    void readsPastTheEndGiveZero();
    void shortImageIsKept();
    void longImageIsKept();
    void existingImageIsNotRecreated();

private:
    TestSupport::StateDir state;
};

void tst_FM25V02::initTestCase()
{
    QVERIFY2(state.setUp(), "BENCHTEST_SIM_DIR must name an existing directory");
}

void tst_FM25V02::init()
{
    state.next();
}

// The helper the other checks rely on: 100 words of 0xFFFF sum to 0xFF9C.
void tst_FM25V02::checksumRule()
{
    QByteArray image(300, '\0');
    for (int i = 4; i < 204; ++i)
        image[i] = char(0xFF);
    QCOMPARE(checksumOf(image), quint16(0xFF9C));
    image[204] = 1; // outside the 100 words
    QCOMPARE(checksumOf(image), quint16(0xFF9C));
    image[4] = char(0xFE);
    QCOMPARE(checksumOf(image), quint16(0xFF9B));
}

void tst_FM25V02::initCreatesFreshImage()
{
    TestSupport::StderrCapture err;
    QCOMPARE(FM25V02_Init(), 0);
    QCOMPARE(err.text(), complaint(state.path("fram.bin"), "missing, creating a fresh FRAM image"));

    const QByteArray image = state.read("fram.bin");
    QCOMPARE(image.size(), 32768);
    QCOMPARE(int(FM25V02_SIZE), 32768);
    QCOMPARE(wordAt(image, 0), quint16(200));
    for (int address = 4; address < 204; address += 2)
        QCOMPARE(wordAt(image, address), quint16(0));
    QCOMPARE(wordAt(image, 2), checksumOf(image));
    QCOMPARE(image.mid(2), QByteArray(32766, '\0'));
}

void tst_FM25V02::readCreatesFreshImage()
{
    TestSupport::StderrCapture err;
    char length[2] = { 1, 1 };
    FM25V02_READ(0, length, 2);
    err.text();
    QCOMPARE(uchar(length[0]), uchar(200));
    QCOMPARE(uchar(length[1]), uchar(0));
    QCOMPARE(state.read("fram.bin").size(), 32768);
}

void tst_FM25V02::initAndRdidLogNothing()
{
    TestSupport::StderrCapture err;
    FM25V02_Init();
    FM25V02_RDID();
    err.text();
    QCOMPARE(state.events(), QStringList());
}

void tst_FM25V02::writeLogsOneLine_data()
{
    QTest::addColumn<uint>("address");
    QTest::addColumn<uint>("length");
    QTest::addColumn<QString>("line");
    QTest::newRow("checksum") << 2u << 2u << "fram-write 2 2";
    QTest::newRow("mac octet") << 132u << 2u << "fram-write 132 2";
    QTest::newRow("mac present") << 178u << 2u << "fram-write 178 2";
    QTest::newRow("one byte") << 0u << 1u << "fram-write 0 1";
    QTest::newRow("last byte") << 32767u << 1u << "fram-write 32767 1";
    QTest::newRow("across the end") << 32760u << 100u << "fram-write 32760 100";
    QTest::newRow("past the end") << 40000u << 4u << "fram-write 40000 4";
    QTest::newRow("nothing") << 10u << 0u << "fram-write 10 0";
}

void tst_FM25V02::writeLogsOneLine()
{
    QFETCH(uint, address);
    QFETCH(uint, length);
    QFETCH(QString, line);
    TestSupport::StderrCapture err;
    FM25V02_Init();
    err.text();
    QByteArray data = pattern(int(length), 1);
    FM25V02_WRITE(address, data.data(), length);
    QCOMPARE(state.events(), QStringList { line });
}

void tst_FM25V02::readLogsNothing()
{
    TestSupport::StderrCapture err;
    FM25V02_Init();
    char buffer[12];
    FM25V02_READ(132, buffer, sizeof buffer);
    err.text();
    QCOMPARE(state.events(), QStringList());
}

void tst_FM25V02::roundTrip_data()
{
    QTest::addColumn<uint>("address");
    QTest::addColumn<int>("length");
    QTest::newRow("length word") << 0u << 2;
    QTest::newRow("mac record") << 132u << 12;
    QTest::newRow("parameter area") << 4u << 200;
    QTest::newRow("middle") << 10000u << 777;
    QTest::newRow("last bytes") << 32000u << 768;
    QTest::newRow("whole chip") << 0u << 32768;
}

void tst_FM25V02::roundTrip()
{
    QFETCH(uint, address);
    QFETCH(int, length);
    TestSupport::StderrCapture err;
    FM25V02_Init();
    err.text();
    QByteArray written = pattern(length, int(address));
    FM25V02_WRITE(address, written.data(), uint(length));
    QByteArray back(length, '\x77');
    FM25V02_READ(address, back.data(), uint(length));
    QCOMPARE(back, written);
    QCOMPARE(state.read("fram.bin").mid(int(address), length), written);
    QCOMPARE(state.read("fram.bin").size(), 32768);
}

void tst_FM25V02::writeKeepsNeighbours()
{
    const QByteArray image = pattern(32768, 5);
    state.write("fram.bin", image);
    char word[2] = { char(0x02), 0 };
    FM25V02_WRITE(132, word, 2);
    QByteArray expected = image;
    expected[132] = char(0x02);
    expected[133] = 0;
    QCOMPARE(state.read("fram.bin"), expected);
}

void tst_FM25V02::writesPastTheEndAreDropped()
{
    const QByteArray image = pattern(32768, 9);
    state.write("fram.bin", image);
    TestSupport::StderrCapture err;

    QByteArray across(16, '\xAB');
    FM25V02_WRITE(32760, across.data(), uint(across.size()));
    QByteArray expected = image;
    expected.replace(32760, 8, QByteArray(8, '\xAB'));
    QCOMPARE(state.read("fram.bin"), expected);

    QByteArray beyond(4, '\xCD');
    FM25V02_WRITE(32768, beyond.data(), 4);
    FM25V02_WRITE(0xFFFFFFF0u, beyond.data(), 4);
    FM25V02_WRITE(40000, beyond.data(), 4);
    QCOMPARE(state.read("fram.bin"), expected);
    QCOMPARE(err.text(), QByteArray());
}

void tst_FM25V02::readsPastTheEndGiveZero()
{
    const QByteArray image = pattern(32768, 3);
    state.write("fram.bin", image);
    QByteArray back(16, '\x77');
    FM25V02_READ(32760, back.data(), 16);
    QCOMPARE(back, image.right(8) + QByteArray(8, '\0'));
    back.fill('\x77');
    FM25V02_READ(32768, back.data(), 16);
    QCOMPARE(back, QByteArray(16, '\0'));
    back.fill('\x77');
    FM25V02_READ(0xFFFFFFF8u, back.data(), 16);
    QCOMPARE(back, QByteArray(16, '\0'));
}

// A truncated fram.bin is reported once and kept: reads past its end give 0, writes inside it
// change only their bytes, and nothing cuts it shorter.
void tst_FM25V02::shortImageIsKept()
{
    const QByteArray image = pattern(100, 11);
    state.write("fram.bin", image);

    TestSupport::StderrCapture err;
    FM25V02_Init();
    FM25V02_RDID();
    QByteArray back(150, '\x77');
    FM25V02_READ(0, back.data(), uint(back.size()));
    QCOMPARE(back, image + QByteArray(50, '\0'));

    char word[2] = { 1, 0 };
    FM25V02_WRITE(10, word, 2);
    QByteArray expected = image;
    expected[10] = 1;
    expected[11] = 0;
    QCOMPARE(state.read("fram.bin"), expected);

    FM25V02_WRITE(178, word, 2);
    const QByteArray after = state.read("fram.bin");
    QVERIFY(after.size() >= 100);
    QCOMPARE(after.left(100), expected);
    QCOMPARE(after.mid(178, 2), QByteArray(word, 2));

    QCOMPARE(err.text(),
        complaint(
            state.path("fram.bin"), "is 100 bytes, expected 32768; reading past its end gives 0"));
}

// An over-long fram.bin is reported and kept; the chip still ends at 32 KiB.
void tst_FM25V02::longImageIsKept()
{
    const QByteArray image = pattern(40000, 17);
    state.write("fram.bin", image);

    TestSupport::StderrCapture err;
    FM25V02_Init();
    QByteArray back(16, '\x77');
    FM25V02_READ(32760, back.data(), 16);
    QCOMPARE(back, image.mid(32760, 8) + QByteArray(8, '\0'));
    QByteArray data(16, '\x42');
    FM25V02_WRITE(32760, data.data(), 16);
    QByteArray expected = image;
    expected.replace(32760, 8, QByteArray(8, '\x42'));
    QCOMPARE(state.read("fram.bin"), expected);
    QCOMPARE(err.text(),
        complaint(state.path("fram.bin"),
            "is 40000 bytes, expected 32768; bytes past 32768 are ignored"));
}

void tst_FM25V02::existingImageIsNotRecreated()
{
    const QByteArray image = pattern(32768, 23);
    state.write("fram.bin", image);
    TestSupport::StderrCapture err;
    FM25V02_Init();
    FM25V02_RDID();
    FM25V02_Init();
    QCOMPARE(err.text(), QByteArray());
    QCOMPARE(state.read("fram.bin"), image);
}

QTEST_GUILESS_MAIN(tst_FM25V02)
#include "tst_fm25v02.moc"
