// The stand-ins of a board without the FRAM chip or the DIP switches: the FRAM's bytes in a
// file, driven by the same chip driver as the real chip, and the DIP value read from a file.
#include "fakes.h"
#include "services/linux/fm25v02chip.h"
#include "services/linux/standins.h"
#include "tests/support/testsupport.h"

#include <QtTest>

class tst_StandIns : public QObject {
    Q_OBJECT
private slots:
    void init();
    void framFileIsMadeAtTheChipsSize();
    void framFileKeepsWhatIsWritten();
    void framFileNeedsTheWriteLatch();
    void framFileAnswersTheChipsId();
    void framFileThatCannotBeOpenedReadsZero();
    void dipFileValues_data();
    void dipFileValues();
    void badDipFiles_data();
    void badDipFiles();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }
    std::unique_ptr<QTemporaryDir> m_dir;
};

void tst_StandIns::init()
{
    m_dir = std::make_unique<QTemporaryDir>(scratchBase());
    QVERIFY(m_dir->isValid());
}

void tst_StandIns::framFileIsMadeAtTheChipsSize()
{
    FramFileBus bus(path(QStringLiteral("fram.bin")));
    Fm25v02Chip chip(&bus);
    char byte = 1;
    QVERIFY(chip.read(0, &byte, 1));
    QCOMPARE(byte, '\0');
    QCOMPARE(QFileInfo(path(QStringLiteral("fram.bin"))).size(), qint64(32 * 1024));
}

void tst_StandIns::framFileKeepsWhatIsWritten()
{
    const QByteArray mac = QByteArray::fromHex("0200a7000102");
    {
        FramFileBus bus(path(QStringLiteral("fram.bin")));
        Fm25v02Chip chip(&bus);
        QVERIFY(chip.write(132, mac.constData(), unsigned(mac.size())));
        // Across a transfer of more than one chunk, and at the chip's very end.
        const QByteArray block(3000, 'x');
        QVERIFY(chip.write(1000, block.constData(), unsigned(block.size())));
        QVERIFY(chip.write(32 * 1024 - 2, "ab", 2));
    }
    // A new run of the program sees the same bytes, also as a plain file.
    FramFileBus bus(path(QStringLiteral("fram.bin")));
    Fm25v02Chip chip(&bus);
    QByteArray back(6, '\0');
    QVERIFY(chip.read(132, back.data(), 6));
    QCOMPARE(back.toHex(), mac.toHex());
    QFile file(path(QStringLiteral("fram.bin")));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    QCOMPARE(bytes.size(), 32 * 1024);
    QCOMPARE(bytes.mid(132, 6), mac);
    QCOMPARE(bytes.mid(1000, 3000), QByteArray(3000, 'x'));
    QCOMPARE(bytes.right(2), QByteArray("ab"));
    QCOMPARE(bytes.at(999), '\0');
    QCOMPARE(bytes.at(4000), '\0');
}

void tst_StandIns::framFileNeedsTheWriteLatch()
{
    FramFileBus bus(path(QStringLiteral("fram.bin")));
    QByteArray rx;
    // A write command without a write enable first changes nothing, as on the chip.
    QVERIFY(bus.transfer(QByteArray::fromHex("020010") + "zz", &rx));
    QVERIFY(bus.transfer(QByteArray::fromHex("030010") + QByteArray(2, '\0'), &rx));
    QCOMPARE(rx.mid(3), QByteArray(2, '\0'));
    QVERIFY(bus.transfer(QByteArray::fromHex("06"), &rx));
    QVERIFY(bus.transfer(QByteArray::fromHex("020010") + "zz", &rx));
    QVERIFY(bus.transfer(QByteArray::fromHex("030010") + QByteArray(2, '\0'), &rx));
    QCOMPARE(rx.mid(3), QByteArray("zz"));
    // The latch is spent by that write.
    QVERIFY(bus.transfer(QByteArray::fromHex("020010") + "yy", &rx));
    QVERIFY(bus.transfer(QByteArray::fromHex("030010") + QByteArray(2, '\0'), &rx));
    QCOMPARE(rx.mid(3), QByteArray("zz"));
}

void tst_StandIns::framFileAnswersTheChipsId()
{
    FramFileBus bus(path(QStringLiteral("fram.bin")));
    Fm25v02Chip chip(&bus);
    QByteArray id;
    QVERIFY(chip.readId(&id));
    QCOMPARE(id.toHex(), QByteArray("7f7f7f7f7f7fc22208"));
}

void tst_StandIns::framFileThatCannotBeOpenedReadsZero()
{
    const QString where = path(QStringLiteral("no-such-dir/fram.bin"));
    TestSupport::StderrCapture err;
    FramFileBus bus(where);
    Fm25v02Chip chip(&bus);
    char bytes[4] = { 1, 2, 3, 4 };
    QVERIFY(!chip.read(0, bytes, 4));
    QCOMPARE(QByteArray(bytes, 4), QByteArray(4, '\0'));
    QVERIFY(!chip.write(0, "abcd", 4));
    QVERIFY(!QFile::exists(where));
    QVERIFY2(err.text().startsWith(
                 "benchtest linux: " + where.toLocal8Bit() + ": the FRAM file cannot be opened ("),
        err.text().constData());
    QVERIFY(err.text().endsWith("); FRAM reads give 0 and writes are dropped\n"));
}

void tst_StandIns::dipFileValues_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<unsigned int>("value");
    QTest::newRow("decimal") << QByteArray("1\n") << 1u;
    QTest::newRow("slave tester") << QByteArray("273") << 273u;
    QTest::newRow("hexadecimal") << QByteArray(" 0x1111 \n") << 0x1111u;
    QTest::newRow("upper-case X") << QByteArray("0X10") << 0x10u;
    QTest::newRow("all off") << QByteArray("0") << 0u;
}

void tst_StandIns::dipFileValues()
{
    QFETCH(QByteArray, text);
    QFETCH(unsigned int, value);
    QFile file(path(QStringLiteral("dip")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
    file.close();
    unsigned int read = 12345;
    QString problem;
    QVERIFY2(DipFile::read(file.fileName(), &read, &problem), qPrintable(problem));
    QCOMPARE(read, value);
}

void tst_StandIns::badDipFiles_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("problem");
    QTest::newRow("word") << QByteArray("on")
                          << QStringLiteral("%1 holds \"on\", not a DIP value 0..0xFFFF");
    QTest::newRow("too large") << QByteArray("0x10000")
                               << QStringLiteral("%1 holds \"0x10000\", not a DIP value 0..0xFFFF");
    QTest::newRow("negative") << QByteArray("-1")
                              << QStringLiteral("%1 holds \"-1\", not a DIP value 0..0xFFFF");
    QTest::newRow("empty") << QByteArray("")
                           << QStringLiteral("%1 holds \"\", not a DIP value 0..0xFFFF");
    QTest::newRow("missing") << QByteArray()
                             << QStringLiteral("%1 cannot be read (No such file or directory)");
}

void tst_StandIns::badDipFiles()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, problem);
    const QString name = path(QStringLiteral("dip"));
    if (!text.isNull()) {
        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    unsigned int read = 12345;
    QString said;
    QVERIFY(!DipFile::read(name, &read, &said));
    QCOMPARE(read, 12345u);
    QCOMPARE(said, problem.arg(name));
}

QTEST_GUILESS_MAIN(tst_StandIns)
#include "tst_standins.moc"
