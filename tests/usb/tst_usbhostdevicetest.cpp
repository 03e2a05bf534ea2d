// The USB page on its own, in virtual units with and without a stick and a cable: the page,
// the host test on the stick, the device test through the cable into the gadget's RAM image,
// their result lines and reports, and the shell commands they run.
#include "tests/support/testsupport.h"
#include "usb/usbhostdevicetest.h"
#include "tests/support/usbtestsupport.h"

#include <QBoxLayout>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLabel>
#include <QSignalSpy>
#include <QTest>

#include <sys/stat.h>

using namespace TestSupport;
using namespace UsbTestSupport;

namespace {
const QString StickFile = QStringLiteral("/run/media/sda1/Quorvan_benchtest_usbhost");
const QString HostPass = QStringLiteral("<font color='black'>USB Host Test Pass!</font>");
const QString HostFail = QStringLiteral("<font color='red'>USB Host Test Not Pass!</font>");
const QString DevicePass = QStringLiteral("<font color='black'>USB Device Test Pass!</font>");
const QString DeviceFail = QStringLiteral("<font color='red'>USB Device Test Not Pass!</font>");

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

bool writeAll(const QString &path, const QByteArray &data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(data) == data.size();
}

QList<QVariant> report(const QString &result)
{
    return { QStringLiteral("USB"), result };
}

QLabel *resultLabel(USBHostDeviceTest &page)
{
    return page.findChild<QLabel *>(QStringLiteral("label"));
}

bool sameFile(const char *a, const char *b)
{
    struct stat first, second;
    return ::stat(a, &first) == 0 && ::stat(b, &second) == 0 && first.st_dev == second.st_dev
        && first.st_ino == second.st_ino;
}
} // namespace

class tst_USBHostDeviceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(qEnvironmentVariable("BENCHTEST_SIM_DIR") == QLatin1String("/sim"),
            "this test writes raw bytes to /dev/sda: run it in sim/virtual-unit");
        QVERIFY2(hostDiskIsSafe(), "/dev/sda is a real disk here: refusing to run");
        QVERIFY(wrapTools({ QStringLiteral("sh"), QStringLiteral("sync") }));
    }

    void init()
    {
        QFile::remove(ToolLog);
        clearEvents();
    }

    // --- any unit ----------------------------------------------------------------------------

    void page()
    {
        QFile::remove(simPath(QStringLiteral("fram.bin")));
        USBHostDeviceTest page;
        QCOMPARE(page.objectName(), QStringLiteral("USBHostDeviceTest"));
        QCOMPARE(page.size(), QSize(400, 300));
        QCOMPARE(page.windowTitle(), QStringLiteral("Form"));
        auto *layout = qobject_cast<QVBoxLayout *>(page.layout());
        QVERIFY(layout);
        QCOMPARE(layout->objectName(), QStringLiteral("verticalLayout"));
        QCOMPARE(layout->count(), 1);
        QLabel *label = resultLabel(page);
        QVERIFY(label);
        QCOMPARE(layout->itemAt(0)->widget(), label);
        QCOMPARE(label->text(), QStringLiteral("Test Pass !"));
        QCOMPARE(label->font().pointSize(), 16);
        QCOMPARE(label->alignment(), Qt::AlignHCenter | Qt::AlignVCenter);
        for (auto group : { QPalette::Active, QPalette::Inactive, QPalette::Disabled }) {
            QCOMPARE(
                label->palette().brush(group, label->backgroundRole()).color(), QColor(Qt::black));
            QCOMPARE(page.palette().brush(group, page.backgroundRole()).color(), QColor(Qt::black));
            QCOMPARE(page.palette().brush(group, page.backgroundRole()).style(), Qt::SolidPattern);
        }
        // kept: neither fills its background, so the black pass line can be read.
        QVERIFY(!page.autoFillBackground());
        QVERIFY(!label->autoFillBackground());
        QCOMPARE(page.currentDevice(), QStringLiteral("USB Host"));
        QVERIFY(page.umountUSB());
        // The FRAM chip is opened on construction (the simulator makes its image then).
        QVERIFY(QFile::exists(simPath(QStringLiteral("fram.bin"))));
        QVERIFY(toolLog().isEmpty());
    }

    void currentDeviceFollowsTheLabel()
    {
        USBHostDeviceTest page;
        resultLabel(page)->setText(DeviceFail);
        QCOMPARE(page.currentDevice(), QStringLiteral("USB Device"));
        resultLabel(page)->setText(HostPass);
        QCOMPARE(page.currentDevice(), QStringLiteral("USB Host"));
    }

    // --- a unit with a stick -----------------------------------------------------------------

    void hostTestOverwritesAnOldFile()
    {
        QVERIFY2(QFileInfo(QStringLiteral("/run/media/sda1")).isDir(), "needs --usb-stick");
        QVERIFY(writeAll(StickFile, "an older run's text\nand a second line\n"));
        USBHostDeviceTest page;
        QSignalSpy results(&page, &USBHostDeviceTest::errorMessage);
        QSignalSpy stops(&page, &USBHostDeviceTest::transferStop);
        QList<int> order;
        connect(&page, &USBHostDeviceTest::errorMessage, this, [&] { order << 1; });
        connect(&page, &USBHostDeviceTest::transferStop, this, [&] { order << 2; });
        DebugCapture debug;
        QElapsedTimer clock;
        clock.start();
        page.runUSBHostTest();
        // The read-back waits a second, whatever happened.
        QVERIFY(clock.elapsed() >= 1000);
        QCOMPARE(readAll(StickFile), QByteArray("123456"));
        QCOMPARE(resultLabel(page)->text(), HostPass);
        QCOMPARE(results.count(), 1);
        QCOMPARE(results.at(0), report(QStringLiteral("ok!")));
        QCOMPARE(stops.count(), 1);
        QCOMPARE(order, QList<int>({ 1, 2 }));
        QCOMPARE(debug.messages,
            QStringList({ QStringLiteral("\"/run/media/sda1/Quorvan_benchtest_usbhost\""),
                QStringLiteral("readUSBFile write: \"123456\" read: \"123456\"") }));
        // Word for word: the stick is found through the mount listing, the file is synced.
        QCOMPARE(toolLog(), QStringList({ QStringLiteral("sh -c mount"), QStringLiteral("sync") }));
        QVERIFY(readAll(QStringLiteral("/tmp/devchk")).contains(" /run/media/sda1 "));
        QCOMPARE(page.currentDevice(), QStringLiteral("USB Host"));
    }

    void readBackComparesTheFirstLineOnly()
    {
        QVERIFY2(QFileInfo(QStringLiteral("/run/media/sda1")).isDir(), "needs --usb-stick");
        USBHostDeviceTest page;
        QVERIFY(page.mountUSB());
        QVERIFY(writeAll(StickFile, "123456\nanything after the first line\n"));
        DebugCapture debug;
        QVERIFY(page.readUSBFile(QStringLiteral("123456")));
        QCOMPARE(debug.messages,
            QStringList { QStringLiteral("readUSBFile write: \"123456\" read: \"123456\"") });
        QVERIFY(writeAll(StickFile, "1234567\n123456\n"));
        QVERIFY(!page.readUSBFile(QStringLiteral("123456")));
        QVERIFY(writeAll(StickFile, "12345\n"));
        QVERIFY(!page.readUSBFile(QStringLiteral("123456")));
        QVERIFY(QFile::remove(StickFile));
        QVERIFY(!page.readUSBFile(QStringLiteral("123456")));
        // Written through a text stream: exactly the text, no line end.
        QVERIFY(page.writeUSBFile(QStringLiteral("123456")));
        QCOMPARE(readAll(StickFile), QByteArray("123456"));
    }

    // --- a unit without a stick or cable -----------------------------------------------------

    void hostTestWithoutStickFails()
    {
        QVERIFY2(
            !QFileInfo::exists(QStringLiteral("/run/media/sda1")), "needs a unit without a stick");
        USBHostDeviceTest page;
        QSignalSpy results(&page, &USBHostDeviceTest::errorMessage);
        QSignalSpy stops(&page, &USBHostDeviceTest::transferStop);
        QElapsedTimer clock;
        clock.start();
        page.runUSBHostTest();
        QVERIFY(clock.elapsed() >= 1000);
        QCOMPARE(resultLabel(page)->text(), HostFail);
        QCOMPARE(results.count(), 1);
        QCOMPARE(results.at(0), report(QStringLiteral("fail!")));
        QCOMPARE(stops.count(), 1);
        QCOMPARE(toolLog(), QStringList { QStringLiteral("sh -c mount") });
        QCOMPARE(readAll(QStringLiteral("/tmp/devchk")), QByteArray());
        QVERIFY(!page.mountUSB());
    }

    void writeWithoutFileIsLogged()
    {
        USBHostDeviceTest page;
        DebugCapture debug;
        QVERIFY(!page.writeUSBFile(QStringLiteral("123456")));
        QCOMPARE(debug.messages,
            QStringList { QStringLiteral("writeUSBFile There is no file name  \"\"") });
        QVERIFY(!page.readUSBFile(QStringLiteral("123456")));
    }

    void deviceTestWithoutCableFailsAtOnce()
    {
        QVERIFY2(!QFileInfo::exists(QStringLiteral("/dev/sda")), "needs a unit without a cable");
        USBHostDeviceTest page;
        page.insertUSBDeviceModule();
        QSignalSpy results(&page, &USBHostDeviceTest::errorMessage);
        QSignalSpy stops(&page, &USBHostDeviceTest::transferStop);
        StdoutCapture out;
        QElapsedTimer clock;
        clock.start();
        page.runUSBDeviceTest();
        const qint64 took = clock.elapsed();
        QCOMPARE(out.lines(), QStringList());
        // No disk to write: no look at the RAM image, no second of waiting.
        QVERIFY2(took < 1000, qPrintable(QString::number(took)));
        QCOMPARE(resultLabel(page)->text(), DeviceFail);
        QCOMPARE(results.count(), 1);
        QCOMPARE(results.at(0), report(QStringLiteral("fail!")));
        QCOMPARE(stops.count(), 1);
        QCOMPARE(page.currentDevice(), QStringLiteral("USB Device"));
        QVERIFY(!QFileInfo::exists(QStringLiteral("/dev/sda")));
    }

    void gadgetWithoutCable()
    {
        QVERIFY2(!QFileInfo::exists(QStringLiteral("/dev/sda")), "needs a unit without a cable");
        USBHostDeviceTest page;
        page.insertUSBDeviceModule();
        QCOMPARE(toolLog(true),
            QStringList {
                QStringLiteral("sh mount_file_storage.sh | /brimdale/tools/usb_storage") });
        QCOMPARE(events(), QStringList { QStringLiteral("usb-gadget /tmp/ram.img") });
        QFileInfo image(QStringLiteral("/tmp/ram.img"));
        QVERIFY(image.isFile());
        QVERIFY(!image.isSymLink());
        QVERIFY(!QFileInfo::exists(QStringLiteral("/dev/sda")));
    }

    // --- a unit with the cable ---------------------------------------------------------------

    void gadgetWithCable()
    {
        QVERIFY2(hostDiskIsCableImage(), "needs --usb-cable");
        USBHostDeviceTest page;
        page.insertUSBDeviceModule();
        QCOMPARE(toolLog(true),
            QStringList {
                QStringLiteral("sh mount_file_storage.sh | /brimdale/tools/usb_storage") });
        QCOMPARE(events(), QStringList { QStringLiteral("usb-gadget /tmp/ram.img") });
        QVERIFY(sameFile("/dev/sda", "/tmp/ram.img"));
    }

    void deviceTestPassesInAboutOneSecond()
    {
        QVERIFY2(hostDiskIsCableImage(), "needs --usb-cable");
        QVERIFY(writeAll(QStringLiteral("/dev/sda"), QByteArray(4096, '\0')));
        USBHostDeviceTest page;
        page.insertUSBDeviceModule();
        QFile::remove(ToolLog);
        QSignalSpy results(&page, &USBHostDeviceTest::errorMessage);
        QSignalSpy stops(&page, &USBHostDeviceTest::transferStop);
        StdoutCapture out;
        QElapsedTimer clock;
        clock.start();
        page.runUSBDeviceTest();
        const qint64 took = clock.elapsed();
        QCOMPARE(out.lines(), QStringList { QStringLiteral("buf is 123456") });
        // Found on the first look, after the one second the gadget is given.
        QVERIFY2(took >= 1000 && took < 10000, qPrintable(QString::number(took)));
        QCOMPARE(readAll(QStringLiteral("/tmp/ram.img")).left(8), QByteArray("123456\0\0", 8));
        QCOMPARE(resultLabel(page)->text(), DevicePass);
        QCOMPARE(results.count(), 1);
        QCOMPARE(results.at(0), report(QStringLiteral("ok!")));
        QCOMPARE(stops.count(), 1);
        QCOMPARE(page.currentDevice(), QStringLiteral("USB Device"));
        QCOMPARE(toolLog(), QStringList { QStringLiteral("sync") });
    }

    void wrongPayloadFailsAfter31Attempts()
    {
        QVERIFY2(hostDiskIsCableImage(), "needs --usb-cable");
        // A gadget whose RAM image is not what the host port writes to.
        QFile::remove(QStringLiteral("/tmp/ram.img"));
        QVERIFY(writeAll(QStringLiteral("/tmp/ram.img"), "abcdefgh"));
        QVERIFY(!sameFile("/dev/sda", "/tmp/ram.img"));
        USBHostDeviceTest page;
        QSignalSpy results(&page, &USBHostDeviceTest::errorMessage);
        QSignalSpy stops(&page, &USBHostDeviceTest::transferStop);
        StdoutCapture out;
        QElapsedTimer clock;
        clock.start();
        page.runUSBDeviceTest();
        const qint64 took = clock.elapsed();
        QStringList attempts;
        for (int i = 0; i < 31; ++i)
            attempts << QStringLiteral("buf is abcdef");
        QCOMPARE(out.lines(), attempts);
        QVERIFY2(took >= 31000, qPrintable(QString::number(took)));
        QCOMPARE(readAll(QStringLiteral("/dev/sda")).left(6), QByteArray("123456"));
        QCOMPARE(resultLabel(page)->text(), DeviceFail);
        QCOMPARE(results.count(), 1);
        QCOMPARE(results.at(0), report(QStringLiteral("fail!")));
        QCOMPARE(stops.count(), 1);
    }
};

QTEST_MAIN(tst_USBHostDeviceTest)
#include "tst_usbhostdevicetest.moc"
