// The FRAM driver against a chip model that holds it to the command set: a write enable
// before every write, two address bytes high first, and nothing wrapped over address 0.
#include "fakes.h"

#include <QtTest>

class tst_Fm25v02Chip : public QObject {
    Q_OBJECT
private slots:
    void readsTheId();
    void writeThenReadBack();
    void everyWriteHasItsOwnWriteEnable();
    void addressBytesHighFirst_data();
    void addressBytesHighFirst();
    void writeAtTheEndDoesNotWrapOverTheHeader();
    void readPastTheEndGivesZero();
    void addressesPastTheChipAreIgnored();
    void longTransfersAreSplit();
    void aFailingBusReadsZero();
};

void tst_Fm25v02Chip::readsTheId()
{
    FakeFram fram;
    Fm25v02Chip chip(&fram);
    QByteArray id;
    QVERIFY(chip.readId(&id));
    QCOMPARE(id.toHex(), QByteArray("7f7f7f7f7f7fc22208"));
    QCOMPARE(fram.transfers.size(), 1);
    QCOMPARE(fram.transfers.first().toHex(), QByteArray("9f000000000000000000"));
}

void tst_Fm25v02Chip::writeThenReadBack()
{
    FakeFram fram;
    Fm25v02Chip chip(&fram);
    char mac[] = { 0x02, 0x00, char(0xA7), 0x00 };
    QVERIFY(chip.write(132, mac, sizeof mac));
    QCOMPARE(fram.memory.mid(132, 4), QByteArray(mac, 4));
    char back[4] = {};
    QVERIFY(chip.read(132, back, sizeof back));
    QCOMPARE(QByteArray(back, 4), QByteArray(mac, 4));
}

void tst_Fm25v02Chip::everyWriteHasItsOwnWriteEnable()
{
    FakeFram fram;
    Fm25v02Chip chip(&fram);
    char word[] = { 1, 0 };
    for (unsigned int address = 132; address <= 142; address += 2)
        QVERIFY(chip.write(address, word, 2));
    QCOMPARE(fram.writesWithoutEnable, 0);
    QCOMPARE(fram.transfers.size(), 12);
    for (int i = 0; i < fram.transfers.size(); i += 2) {
        QCOMPARE(fram.transfers.at(i), QByteArray(1, char(0x06)));
        QCOMPARE(quint8(fram.transfers.at(i + 1).at(0)), quint8(0x02));
    }
    for (unsigned int address = 132; address <= 142; address += 2)
        QCOMPARE(fram.memory.mid(int(address), 2), QByteArray(word, 2));
    // The model does refuse a write without the latch: the count above can fail.
    QByteArray rx;
    fram.transfer(QByteArray::fromHex("020000ff"), &rx);
    QCOMPARE(fram.writesWithoutEnable, 1);
    QCOMPARE(fram.memory.at(0), '\0');
}

void tst_Fm25v02Chip::addressBytesHighFirst_data()
{
    QTest::addColumn<unsigned int>("address");
    QTest::addColumn<QByteArray>("header");
    QTest::newRow("0") << 0u << QByteArray::fromHex("030000");
    QTest::newRow("132") << 132u << QByteArray::fromHex("030084");
    QTest::newRow("0x1234") << 0x1234u << QByteArray::fromHex("031234");
    QTest::newRow("last byte") << 0x7FFFu << QByteArray::fromHex("037fff");
}

void tst_Fm25v02Chip::addressBytesHighFirst()
{
    QFETCH(unsigned int, address);
    QFETCH(QByteArray, header);
    FakeFram fram;
    fram.memory[int(address)] = char(0x5A);
    Fm25v02Chip chip(&fram);
    char byte = 0;
    QVERIFY(chip.read(address, &byte, 1));
    QCOMPARE(quint8(byte), quint8(0x5A));
    QCOMPARE(fram.transfers.size(), 1);
    QCOMPARE(fram.transfers.first().left(3).toHex(), header.toHex());
    QCOMPARE(fram.transfers.first().size(), 4);

    char out = char(0xC3);
    QVERIFY(chip.write(address, &out, 1));
    QCOMPARE(fram.transfers.last().toHex(),
        (QByteArray(1, char(0x02)) + header.mid(1) + char(0xC3)).toHex());
    QCOMPARE(quint8(fram.memory.at(int(address))), quint8(0xC3));
    QCOMPARE(fram.transfersWithHighAddressBit, 0);
}

void tst_Fm25v02Chip::writeAtTheEndDoesNotWrapOverTheHeader()
{
    FakeFram fram;
    fram.memory[0] = char(200);
    fram.memory[1] = 0;
    Fm25v02Chip chip(&fram);
    char data[] = { 1, 2, 3, 4 };
    QVERIFY(chip.write(FakeFram::Size - 2, data, sizeof data));
    QCOMPARE(fram.memory.right(2), QByteArray("\x01\x02", 2));
    // The chip's counter would have gone on at 0: the length word must be untouched.
    QCOMPARE(fram.memory.left(2), QByteArray("\xc8\x00", 2));
    QCOMPARE(fram.transfers.last().size(), 3 + 2);
}

void tst_Fm25v02Chip::readPastTheEndGivesZero()
{
    FakeFram fram;
    fram.memory[0] = 'A';
    fram.memory[int(FakeFram::Size) - 1] = 'Z';
    Fm25v02Chip chip(&fram);
    char data[4];
    memset(data, 0x55, sizeof data);
    QVERIFY(chip.read(FakeFram::Size - 1, data, sizeof data));
    QCOMPARE(QByteArray(data, 4), QByteArray("Z\0\0\0", 4));
}

void tst_Fm25v02Chip::addressesPastTheChipAreIgnored()
{
    FakeFram fram;
    Fm25v02Chip chip(&fram);
    char data[2] = { 9, 9 };
    QVERIFY(chip.write(FakeFram::Size, data, 2));
    QVERIFY(chip.write(0x8000 + 4, data, 2));
    QVERIFY(fram.transfers.isEmpty());
    QCOMPARE(fram.memory.count('\0'), int(FakeFram::Size));
    QVERIFY(chip.read(FakeFram::Size + 10, data, 2));
    QCOMPARE(QByteArray(data, 2), QByteArray(2, '\0'));
}

void tst_Fm25v02Chip::longTransfersAreSplit()
{
    FakeFram fram;
    Fm25v02Chip chip(&fram);
    QByteArray data(5000, '\0');
    for (int i = 0; i < data.size(); ++i)
        data[i] = char(i * 7);
    QVERIFY(chip.write(100, data.constData(), unsigned(data.size())));
    QCOMPARE(fram.memory.mid(100, data.size()), data);
    QCOMPARE(fram.writesWithoutEnable, 0);
    for (const QByteArray &transfer : std::as_const(fram.transfers))
        QVERIFY(transfer.size() <= int(3 + Fm25v02Chip::Chunk));
    QByteArray back(data.size(), '\0');
    QVERIFY(chip.read(100, back.data(), unsigned(back.size())));
    QCOMPARE(back, data);
}

void tst_Fm25v02Chip::aFailingBusReadsZero()
{
    FakeFram fram;
    fram.memory.fill('\x11');
    fram.fail = true;
    Fm25v02Chip chip(&fram);
    char data[8];
    memset(data, 0x55, sizeof data);
    QVERIFY(!chip.read(0, data, sizeof data));
    QCOMPARE(QByteArray(data, 8), QByteArray(8, '\0'));
    QVERIFY(!chip.write(0, data, sizeof data));
    QCOMPARE(fram.memory.at(0), '\x11');
    QByteArray id;
    QVERIFY(!chip.readId(&id));
}

QTEST_GUILESS_MAIN(tst_Fm25v02Chip)
#include "tst_fm25v02chip.moc"
