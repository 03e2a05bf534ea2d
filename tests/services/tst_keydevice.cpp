// The menu key device through the services: open, grab (granted or refused by the simulator's
// key-grab file), read one 16-byte record at a time, close.
#include "services/keydevice.h"
#include "tests/support/testsupport.h"

#include <QTest>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

using namespace TestSupport;

class TestKeyDevice : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY(state.setUp()); }
    void init() { state.next(); }
    void grab_data();
    void grab();
    void grabBadDescriptor();
    void openMissing();
    void readsWholeRecords();

private:
    StateDir state;
};

void TestKeyDevice::grab_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<bool>("granted");
    QTest::addColumn<QString>("event");
    QTest::addColumn<QByteArray>("complaint");
    QTest::newRow("no file") << QByteArray() << true << "key-grab ok" << QByteArray();
    QTest::newRow("free") << QByteArray("free\n") << true << "key-grab ok" << QByteArray();
    QTest::newRow("busy") << QByteArray("busy\n") << false << "key-grab busy" << QByteArray();
    QTest::newRow("other") << QByteArray("taken\n") << true << "key-grab ok"
                           << QByteArray(
                                  "\"taken\" is neither \"free\" nor \"busy\", granting the grab");
}

void TestKeyDevice::grab()
{
    QFETCH(QByteArray, file);
    QFETCH(bool, granted);
    QFETCH(QString, event);
    QFETCH(QByteArray, complaint);
    if (!file.isNull())
        state.write(QStringLiteral("key-grab"), file);
    const int fd = openKeyDevice("/dev/null");
    QVERIFY(fd >= 0);
    StderrCapture err;
    errno = 0;
    QCOMPARE(grabKeyDevice(fd), granted);
    if (!granted)
        QCOMPARE(errno, EBUSY);
    const QByteArray said = err.text();
    QCOMPARE(said.contains(complaint), true);
    QCOMPARE(said.isEmpty(), complaint.isEmpty());
    QCOMPARE(state.events(), QStringList { event });
    closeKeyDevice(fd);
}

void TestKeyDevice::grabBadDescriptor()
{
    errno = 0;
    QVERIFY(!grabKeyDevice(-1));
    QCOMPARE(errno, EBADF);
    QVERIFY(state.events().isEmpty());
}

void TestKeyDevice::openMissing()
{
    QCOMPARE(openKeyDevice("/dev/input/no-such-key"), -1);
}

void TestKeyDevice::readsWholeRecords()
{
    int ends[2];
    QVERIFY(::pipe(ends) == 0);
    const QByteArray path = "/proc/self/fd/" + QByteArray::number(ends[0]);
    const int fd = openKeyDevice(path.constData());
    QVERIFY(fd >= 0);
    QVERIFY(::fcntl(fd, F_GETFL) & O_NONBLOCK);
    KeyEventRecord out = { 1, 2, 1, 30, 2 };
    QCOMPARE(::write(ends[1], &out, sizeof out), ssize_t(16));
    KeyEventRecord in = {};
    QCOMPARE(readKeyDevice(fd, &in), 16);
    QCOMPARE(in.code, quint16(30));
    QCOMPARE(in.value, 2);
    QCOMPARE(in.type, quint16(1));
    // Nothing waiting: the read returns at once.
    QVERIFY(readKeyDevice(fd, &in) <= 0);
    closeKeyDevice(fd);
    ::close(ends[0]);
    ::close(ends[1]);
}

QTEST_MAIN(TestKeyDevice)
#include "tst_keydevice.moc"
