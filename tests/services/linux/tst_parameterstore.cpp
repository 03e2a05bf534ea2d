// The parameter block in the FRAM: loaded and saved through the chip driver at the addresses
// the MAC record uses (length word at 0, checksum at 2).
#include "fakes.h"
#include "services/linux/parameterstore.h"

#include <QtTest>

class tst_ParameterStore : public QObject {
    Q_OBJECT
private slots:
    void checksumOfAllOnesWords();
    void checksumCountsMissingBytesAsZero();
    void loadAndSaveKeepTheBlock();
    void aBlankHeaderIsRepairedWithoutTouchingTheArea_data();
    void aBlankHeaderIsRepairedWithoutTouchingTheArea();
    void aFailedLoadSavesNothing();
};

namespace {
void putWord(QByteArray *memory, int address, quint16 word)
{
    (*memory)[address] = char(word & 0xFF);
    (*memory)[address + 1] = char(word >> 8);
}
} // namespace

void tst_ParameterStore::checksumOfAllOnesWords()
{
    QCOMPARE(ParameterStore::checksum(QByteArray(200, '\xff')), quint16(0xFF9C));
    // Only the first 100 words count, whatever the area's length.
    QCOMPARE(ParameterStore::checksum(QByteArray(400, '\xff')), quint16(0xFF9C));
}

void tst_ParameterStore::checksumCountsMissingBytesAsZero()
{
    QByteArray area(3, '\0');
    area[0] = 1;
    area[1] = 2;
    area[2] = 3;
    QCOMPARE(ParameterStore::checksum(area), quint16(0x0201 + 0x0003));
    QCOMPARE(ParameterStore::checksum(QByteArray()), quint16(0));
}

void tst_ParameterStore::loadAndSaveKeepTheBlock()
{
    FakeFram fram;
    putWord(&fram.memory, 0, 210);
    putWord(&fram.memory, 2, 0x1234);
    for (int i = 4; i < 4 + 210; ++i)
        fram.memory[i] = char(i);
    fram.memory[4 + 210] = char(0x77); // past the area: never written
    const QByteArray before = fram.memory;
    Fm25v02Chip chip(&fram);
    ParameterStore store(&chip);
    QVERIFY(store.load());
    QVERIFY(store.isLoaded());
    QVERIFY(!store.wasRepaired());
    QCOMPARE(store.block(), before.left(4 + 210));
    fram.transfers.clear();
    QVERIFY(store.save());
    QCOMPARE(fram.memory, before);
    QCOMPARE(fram.writesWithoutEnable, 0);
    // Written from address 0 on, nothing past the area.
    int written = 0;
    for (const QByteArray &t : std::as_const(fram.transfers))
        if (quint8(t.at(0)) == 0x02)
            written += t.size() - 3;
    QCOMPARE(written, 4 + 210);
}

void tst_ParameterStore::aBlankHeaderIsRepairedWithoutTouchingTheArea_data()
{
    QTest::addColumn<quint16>("length");
    QTest::newRow("0") << quint16(0);
    QTest::newRow("0xFFFF") << quint16(0xFFFF);
    QTest::newRow("past the chip") << quint16(32765);
}

void tst_ParameterStore::aBlankHeaderIsRepairedWithoutTouchingTheArea()
{
    QFETCH(quint16, length);
    FakeFram fram;
    fram.memory.fill('\xff');
    putWord(&fram.memory, 0, length);
    putWord(&fram.memory, 132, 0x0002); // a MAC octet that must survive
    const QByteArray before = fram.memory;
    Fm25v02Chip chip(&fram);
    ParameterStore store(&chip);
    QVERIFY(store.load());
    QVERIFY(store.wasRepaired());
    QVERIFY(store.save());
    QCOMPARE(quint8(fram.memory.at(0)), quint8(200));
    QCOMPARE(quint8(fram.memory.at(1)), quint8(0));
    const quint16 sum = ParameterStore::checksum(before.mid(4, 200));
    QCOMPARE(quint8(fram.memory.at(2)), quint8(sum & 0xFF));
    QCOMPARE(quint8(fram.memory.at(3)), quint8(sum >> 8));
    QCOMPARE(fram.memory.mid(4), before.mid(4));
}

void tst_ParameterStore::aFailedLoadSavesNothing()
{
    FakeFram fram;
    fram.fail = true;
    Fm25v02Chip chip(&fram);
    ParameterStore store(&chip);
    QVERIFY(!store.load());
    QVERIFY(!store.isLoaded());
    fram.fail = false;
    fram.transfers.clear();
    QVERIFY(!store.save());
    QVERIFY(fram.transfers.isEmpty());
}

QTEST_GUILESS_MAIN(tst_ParameterStore)
#include "tst_parameterstore.moc"
