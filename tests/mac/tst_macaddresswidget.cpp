// The MAC screen on a unit with a stick: the FRAM record byte by byte in the chip's image, the
// supply file as the stick holds it, the message boxes, the small panel's keyboard, the
// scanner's keys and the raw /dev/fram path.
#include "common/qtcompat.h"
#include "input/inputpanelinterface.h"
#include "mac/hexkeyboard.h"
#include "mac/macaddresswidget.h"
#include "tests/support/mactestsupport.h"
#include "services/fram.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryFile>
#include <QVBoxLayout>
#include <QtTest>

#include <fcntl.h>
#include <unistd.h>

using namespace MacTest;

namespace {

const QString Title = QStringLiteral("QUORVAN");
const QString Success = QStringLiteral("Write MAC address success!!\nPlease restart machine!");

QLabel *macLabel(QWidget &widget)
{
    return widget.findChild<QLabel *>(QStringLiteral("macAddress"));
}

QPushButton *button(QWidget &widget, const char *name)
{
    return widget.findChild<QPushButton *>(QLatin1String(name));
}

HexKeyboard *keyboard()
{
    for (QWidget *top : QApplication::topLevelWidgets())
        if (auto *board = qobject_cast<HexKeyboard *>(top))
            return board;
    return nullptr;
}

// What the program prints on standard output while f runs.
// With closeStdin the next descriptor the program opens is 0.
template <typename F> QByteArray capturedStdout(F f, bool closeStdin = false)
{
    fflush(stdout);
    QTemporaryFile out;
    if (!out.open())
        return "<no temporary file>";
    const int saved = dup(1);
    dup2(out.handle(), 1);
    const int savedStdin = closeStdin ? dup(0) : -1;
    if (closeStdin)
        ::close(0);
    f();
    if (closeStdin) {
        ::close(0);
        dup2(savedStdin, 0);
        ::close(savedStdin);
    }
    fflush(stdout);
    dup2(saved, 1);
    ::close(saved);
    out.seek(0);
    return out.readAll();
}

QByteArray words(std::initializer_list<quint16> values)
{
    QByteArray bytes;
    for (quint16 value : values)
        bytes += char(value & 0xFF) + QByteArray(1, char(value >> 8));
    return bytes;
}

QString mountListing()
{
    QByteArray listing;
    TestSupport::runProgram(QStringLiteral("mount"), QStringList(), &listing);
    return QString::fromLocal8Bit(listing);
}

} // namespace

class tst_MacAddressWidget : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void form();
    void writesTheExampleAddress();
    void writesZeroForMissingOrBadFields();
    void readBackForms();
    void provisionedTest_data();
    void provisionedTest();
    void checksum_data();
    void checksum();
    void readCheckSumShowsDecimal();
    void rawDevice();
    void rawDeviceFailures();
    void rawWriteGate();
    void provisionedUnitGetsABlankPage();
    void model7ConsumesTheFirstLine();
    void model3ConsumesNothing();
    void shortFieldsFailTheCompare();
    void noStick();
    void retryDoesNotSearchAgain();
    void thousandsOfLines();
    void factoryFiles_data();
    void factoryFiles();
    void missingFile();
    void model4Keyboard();
    void scannerKeys_data();
    void scannerKeys();
    void homekeyOnDestruction();
    void readOnlyStick();
    void scannerThroughX();
    void shots();

private:
    void setModel(int model)
    {
        TestSupport::writeSim(QStringLiteral("model"), QString::number(model));
    }
};

void tst_MacAddressWidget::init()
{
    freshFram();
    setModel(7);
    usbStick(QStringLiteral("plug"));
    QFile::remove(SupplyFile);
    QFile::remove(QStringLiteral("/tmp/Quorvan_benchtest_macaddress"));
    TestSupport::clearEvents();
}

void tst_MacAddressWidget::cleanup()
{
    usbStick(QStringLiteral("plug"));
}

void tst_MacAddressWidget::form()
{
    BoxAnswers answers;
    writeFile(SupplyFile, "02:A7:3C:00:00:01\n");
    MacAddressWidget widget;
    QVERIFY(!macLabel(widget));
    widget.run();
    QCOMPARE(widget.objectName(), QStringLiteral("MacAddressWidget"));
    QCOMPARE(widget.windowTitle(), Title);
    QCOMPARE(widget.size(), QSize(480, 272));
    QCOMPARE(widget.minimumSize(), QSize(480, 272));
    QCOMPARE(widget.maximumSize(), QSize(480, 272));
    auto *layout = qobject_cast<QVBoxLayout *>(widget.layout());
    QVERIFY(layout);
    QCOMPARE(layout->objectName(), QStringLiteral("verticalLayout"));
    QCOMPARE(layout->spacing(), 6);
    QCOMPARE(layout->contentsMargins(), QMargins(11, 11, 11, 11));
    QCOMPARE(layout->count(), 4);
    QCOMPARE(layout->itemAt(0)->widget()->objectName(), QStringLiteral("label_2"));
    QCOMPARE(layout->itemAt(1)->widget()->objectName(), QStringLiteral("label"));
    QCOMPARE(layout->itemAt(2)->widget()->objectName(), QStringLiteral("macAddress"));
    QCOMPARE(layout->itemAt(3)->layout()->objectName(), QStringLiteral("horizontalLayout"));
    auto *picture = widget.findChild<QLabel *>(QStringLiteral("label_2"));
    QCOMPARE(picture->text(), QString());
    QCOMPARE(picture->alignment(), Qt::AlignCenter);
    QCOMPARE(labelPixmap(picture).size(), QPixmap(QStringLiteral(":/img/quorvan.jpg")).size());
    QVERIFY(!labelPixmap(picture).isNull());
    auto *caption = widget.findChild<QLabel *>(QStringLiteral("label"));
    QCOMPARE(caption->text(), QStringLiteral("MAC address   "));
    QCOMPARE(caption->font().pointSize(), 14);
    QVERIFY(caption->font().bold());
    QCOMPARE(caption->alignment(), Qt::AlignCenter);
    QCOMPARE(macLabel(widget)->font().pointSize(), 20);
    QVERIFY(macLabel(widget)->font().bold());
    QCOMPARE(macLabel(widget)->alignment(), Qt::AlignCenter);
    auto *row = qobject_cast<QHBoxLayout *>(layout->itemAt(3)->layout());
    QCOMPARE(row->spacing(), 6);
    QCOMPARE(row->itemAt(0)->widget(), button(widget, "retryButton"));
    QCOMPARE(row->itemAt(1)->widget(), button(widget, "okButton"));
    QCOMPARE(button(widget, "retryButton")->text(), QStringLiteral("Retry"));
    QCOMPARE(button(widget, "retryButton")->minimumHeight(), 30);
    QCOMPARE(button(widget, "okButton")->text(), QStringLiteral("OK"));
    QCOMPARE(button(widget, "okButton")->minimumHeight(), 30);
    QVERIFY(button(widget, "okButton")->font().bold());
    QVERIFY(!button(widget, "retryButton")->font().bold());
    // Set up once, whatever the number of visits: one OK press writes once.
    widget.run();
    QCOMPARE(widget.findChildren<QPushButton *>().size(), 2);
}

void tst_MacAddressWidget::writesTheExampleAddress()
{
    BoxAnswers answers;
    MacAddressWidget widget;
    widget.run();
    macLabel(widget)->setText(QStringLiteral("02:A7:3C:00:00:01"));
    TestSupport::clearEvents();
    QVERIFY(widget.writeMACAddressToFRAM());
    QCOMPARE(fram(132, 12), words({ 0x0002, 0x00A7, 0x003C, 0, 0, 1 }));
    QCOMPARE(fram(178, 2), words({ 1 }));
    // Nothing else is touched: the checksum is renewed only by OK.
    QCOMPARE(fram(0, 4), words({ 200, 0 }));
    QCOMPARE(TestSupport::events(),
        QStringList({ "fram-write 132 2", "fram-write 134 2", "fram-write 136 2",
            "fram-write 138 2", "fram-write 140 2", "fram-write 142 2", "fram-write 178 2" }));
    QCOMPARE(widget.readMACAddressFromFRAM(), QStringLiteral("02:a7:3c:00:00:01"));
    QVERIFY(widget.isSetMac());
}

void tst_MacAddressWidget::writesZeroForMissingOrBadFields()
{
    BoxAnswers answers;
    MacAddressWidget widget;
    widget.run();
    setFram(132, QByteArray(12, char(0x55)));
    macLabel(widget)->setText(QStringLiteral("G1:A7:3C"));
    QVERIFY(widget.writeMACAddressToFRAM());
    QCOMPARE(fram(132, 12), words({ 0, 0xA7, 0x3C, 0, 0, 0 }));
    QCOMPARE(fram(178, 2), words({ 1 }));
    macLabel(widget)->setText(QStringLiteral("1FF:a:3C:0:0:1"));
    widget.writeMACAddressToFRAM();
    QCOMPARE(fram(132, 12), words({ 0x1FF, 0x0A, 0x3C, 0, 0, 1 }));
}

void tst_MacAddressWidget::readBackForms()
{
    MacAddressWidget widget;
    setFram(132, words({ 0x1FF, 0x000A, 0x0010, 0x000F, 0xFFFF, 0 }));
    QCOMPARE(widget.readMACAddressFromFRAM(), QStringLiteral("1ff:0a:10:0f:ffff:00"));
}

void tst_MacAddressWidget::provisionedTest_data()
{
    QTest::addColumn<quint16>("first");
    QTest::addColumn<bool>("provisioned");
    QTest::newRow("0x00") << quint16(0x00) << false;
    QTest::newRow("0xFFFF") << quint16(0xFFFF) << false;
    QTest::newRow("0x0102") << quint16(0x0102) << false;
    QTest::newRow("0x02") << quint16(0x02) << true;
}

void tst_MacAddressWidget::provisionedTest()
{
    QFETCH(quint16, first);
    QFETCH(bool, provisioned);
    MacAddressWidget widget;
    // Whatever the other words hold.
    setFram(132, QByteArray(60, char(0xFF)));
    setFramWord(132, first);
    TestSupport::DebugCapture debug;
    QCOMPARE(widget.isSetMac(), provisioned);
    QCOMPARE(debug.messages, QStringList({ QStringLiteral(" macAddr %1").arg(first) }));
}

void tst_MacAddressWidget::checksum_data()
{
    QTest::addColumn<quint16>("length");
    QTest::addColumn<QByteArray>("area");
    QTest::addColumn<quint16>("sum");
    const QByteArray allOnes(200, char(0xFF));
    QTest::newRow("all 0xFFFF") << quint16(200) << allOnes << quint16(0xFF9C);
    QTest::newRow("length 10") << quint16(10) << allOnes << quint16(0xFF9C);
    QTest::newRow("length 0") << quint16(0) << allOnes << quint16(0xFF9C);
    QTest::newRow("largest length word") << quint16(0xFFFF) << allOnes << quint16(0xFF9C);
    QByteArray counting;
    for (int i = 1; i <= 100; ++i)
        counting += words({ quint16(i) });
    QTest::newRow("1..100") << quint16(200) << counting << quint16(5050);
    // Words past the first 100 are outside the sum, even when the length covers them.
    QTest::newRow("word 101 left out")
        << quint16(400) << counting + words({ 0x1234 }) << quint16(5050);
    QTest::newRow("zero") << quint16(200) << QByteArray(200, '\0') << quint16(0);
}

void tst_MacAddressWidget::checksum()
{
    QFETCH(quint16, length);
    QFETCH(QByteArray, area);
    QFETCH(quint16, sum);
    MacAddressWidget widget;
    setFramWord(0, length);
    setFramWord(2, 0x5555);
    setFram(4, area);
    TestSupport::clearEvents();
    widget.writeCheckSum();
    QCOMPARE(fram(0, 2), words({ length }));
    QCOMPARE(fram(2, 2), words({ sum }));
    QCOMPARE(fram(4, area.size()), area);
    QCOMPARE(TestSupport::events(), QStringList({ "fram-write 2 2" }));
}

void tst_MacAddressWidget::readCheckSumShowsDecimal()
{
    BoxAnswers answers;
    MacAddressWidget widget;
    widget.run();
    setFramWord(2, 0xFF9C);
    widget.readCheckSum();
    QCOMPARE(widget.findChild<QLabel *>(QStringLiteral("label"))->text(), QStringLiteral("65436"));
}

void tst_MacAddressWidget::rawDevice()
{
    MacAddressWidget widget;
    char out[4] = { '\x12', '\x34', '\x56', '\x78' };
    bool ok = false;
    QCOMPARE(capturedStdout([&] { ok = widget.writeBufferToFRAM(300, 4, out); }), QByteArray());
    QVERIFY(ok);
    QCOMPARE(fram(300, 4), QByteArray("\x12\x34\x56\x78", 4));
    setFram(310, QByteArray("\xAB\xCD", 2));
    char in[2] = { 0, 0 };
    QCOMPARE(capturedStdout([&] { ok = widget.readBufferFromFRAM(310, 2, in); }), QByteArray());
    QVERIFY(ok);
    QCOMPARE(QByteArray(in, 2), QByteArray("\xAB\xCD", 2));
}

void tst_MacAddressWidget::rawDeviceFailures()
{
    MacAddressWidget widget;
    char buffer[8] = {};
    bool ok = true;
    // Reading past the end of the memory is a short read.
    QCOMPARE(capturedStdout([&] { ok = widget.readBufferFromFRAM(32 * 1024 - 2, 8, buffer); }),
        QByteArray("read fram proc failed!\n"));
    QVERIFY(!ok);

    // A descriptor 0 counts as an open failure.
    QCOMPARE(capturedStdout([&] { ok = widget.readBufferFromFRAM(0, 2, buffer); }, true),
        QByteArray("open proc failed!\n"));
    QVERIFY(!ok);
    QCOMPARE(capturedStdout([&] { ok = widget.writeBufferToFRAM(0, 2, buffer); }, true),
        QByteArray("open proc failed\n"));
    QVERIFY(!ok);

    // No FRAM device at all.
    QFile::remove(TestSupport::simPath(QStringLiteral("fram.bin")));
    QCOMPARE(capturedStdout([&] { ok = widget.readBufferFromFRAM(0, 2, buffer); }),
        QByteArray("open proc failed!\n"));
    QVERIFY(!ok);
    QCOMPARE(capturedStdout([&] { ok = widget.writeBufferToFRAM(0, 2, buffer); }),
        QByteArray("open proc failed\n"));
    QVERIFY(!ok);
    QVERIFY(!QFile::exists(TestSupport::simPath(QStringLiteral("fram.bin"))));
}

// The driver's write gate around a raw write, as the system calls show it: this test's own
// rawDevice run under strace.
void tst_MacAddressWidget::rawWriteGate()
{
    if (QStandardPaths::findExecutable(QStringLiteral("strace")).isEmpty())
        QSKIP("strace is not installed (scripts/install-deps)");
    if (TestSupport::emulated())
        QSKIP("under the user-mode emulator strace would see the emulator's own calls, and "
              "QProcess cannot start it there");
    const QString trace = QStringLiteral("/tmp/mac-strace");
    QProcess traced;
    // LeakSanitizer cannot run under a tracer; the leak check is not what this run is for.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("ASAN_OPTIONS"),
        environment.value(QStringLiteral("ASAN_OPTIONS")) + QStringLiteral(":detect_leaks=0"));
    traced.setProcessEnvironment(environment);
    traced.start(QStringLiteral("strace"),
        { "-f", "-e", "trace=openat,ioctl,pwrite64,pread64,close", "-e", "raw=ioctl", "-o", trace,
            QCoreApplication::applicationFilePath(), "rawDevice" });
    QVERIFY(traced.waitForFinished(60000));
    QCOMPARE(traced.exitCode(), 0);
    QStringList calls;
    QString fd;
    for (const QString &line : QString::fromLatin1(readFile(trace)).split(QLatin1Char('\n'))) {
        const QString call = line.section(QLatin1Char(' '), 1).trimmed();
        if (call.startsWith(QLatin1String("openat(AT_FDCWD, \"/dev/fram\""))) {
            fd = call.section(QStringLiteral("= "), 1).trimmed();
            calls.append(call.section(QLatin1Char(')'), 0, 0) + QLatin1Char(')'));
        } else if (!fd.isEmpty()
            && (call.startsWith(QStringLiteral("ioctl(0x%1,").arg(fd.toInt(), 0, 16))
                || call.startsWith(QStringLiteral("pwrite64(%1,").arg(fd))
                || call.startsWith(QStringLiteral("pread64(%1,").arg(fd))
                || call.startsWith(QStringLiteral("close(%1)").arg(fd)))) {
            calls.append(call.section(QLatin1Char('='), 0, 0).simplified());
            if (call.startsWith(QLatin1String("close(")))
                fd.clear();
        }
    }
    QCOMPARE(calls.size(), 8);
    QCOMPARE(calls[0], QStringLiteral("openat(AT_FDCWD, \"/dev/fram\", O_WRONLY)"));
    QVERIFY2(calls[1].endsWith(QLatin1String(", 0x1001, 0x1)")), qPrintable(calls[1]));
    QVERIFY2(calls[2].startsWith(QLatin1String("pwrite64(")) && calls[2].endsWith(", 4, 300)"),
        qPrintable(calls[2]));
    QVERIFY2(calls[3].endsWith(QLatin1String(", 0x1001, 0)")), qPrintable(calls[3]));
    QVERIFY2(calls[4].startsWith(QLatin1String("close(")), qPrintable(calls[4]));
    QCOMPARE(calls[5], QStringLiteral("openat(AT_FDCWD, \"/dev/fram\", O_RDONLY)"));
    QVERIFY2(calls[6].startsWith(QLatin1String("pread64(")) && calls[6].endsWith(", 2, 310)"),
        qPrintable(calls[6]));
    QVERIFY2(calls[7].startsWith(QLatin1String("close(")), qPrintable(calls[7]));
}

void tst_MacAddressWidget::provisionedUnitGetsABlankPage()
{
    BoxAnswers answers;
    writeFile(SupplyFile, "02:A7:3C:00:00:10\n");
    setFramWord(132, 0x02);
    MacAddressWidget widget;
    TestSupport::clearEvents();
    widget.run();
    QVERIFY(widget.findChildren<QWidget *>().isEmpty());
    QVERIFY(!widget.layout());
    QVERIFY(answers.boxes.isEmpty());
    QCOMPARE(TestSupport::events(), QStringList());
    QCOMPARE(readFile(SupplyFile), QByteArray("02:A7:3C:00:00:10\n"));
}

void tst_MacAddressWidget::model7ConsumesTheFirstLine()
{
    BoxAnswers answers;
    writeFile(SupplyFile, "02:A7:3C:00:00:10\n02:A7:3C:00:00:11\n");
    MacAddressWidget widget;
    widget.run();
    QCOMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:00:00:10"));
    TestSupport::clearEvents();
    QTest::mouseClick(button(widget, "okButton"), Qt::LeftButton);
    QCOMPARE(answers.boxes.size(), 1);
    QCOMPARE(answers.boxes[0].icon, QMessageBox::Information);
    QCOMPARE(answers.boxes[0].title, Title);
    QCOMPARE(answers.boxes[0].text, Success);
    QCOMPARE(fram(132, 12), words({ 0x02, 0xA7, 0x3C, 0, 0, 0x10 }));
    QCOMPARE(fram(178, 2), words({ 1 }));
    QCOMPARE(fram(2, 2), words({ 0x02 + 0xA7 + 0x3C + 0x10 + 1 }));
    QCOMPARE(readFile(SupplyFile), QByteArray("02:A7:3C:00:00:11\n"));
    QCOMPARE(TestSupport::events().first(), QStringLiteral("sound 2"));
    QCOMPARE(TestSupport::events().last(), QStringLiteral("fram-write 2 2"));

    // The next press takes the next line; a file of one line becomes empty.
    QTest::mouseClick(button(widget, "retryButton"), Qt::LeftButton);
    QCOMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:00:00:11"));
    QTest::mouseClick(button(widget, "okButton"), Qt::LeftButton);
    QCOMPARE(readFile(SupplyFile), QByteArray());
    QCOMPARE(fram(142, 2), words({ 0x11 }));
}

void tst_MacAddressWidget::model3ConsumesNothing()
{
    BoxAnswers answers;
    setModel(3);
    writeFile(SupplyFile, "02:A7:3C:00:00:10\n02:A7:3C:00:00:11\n");
    {
        MacAddressWidget widget;
        widget.run();
        QTest::mouseClick(button(widget, "okButton"), Qt::LeftButton);
        QCOMPARE(answers.boxes.size(), 1);
        QCOMPARE(answers.boxes[0].text, Success);
        QCOMPARE(fram(132, 12), words({ 0x02, 0xA7, 0x3C, 0, 0, 0x10 }));
    }
    QCOMPARE(readFile(SupplyFile), QByteArray("02:A7:3C:00:00:10\n02:A7:3C:00:00:11\n"));
    // The next unit shows the same address.
    freshFram();
    MacAddressWidget next;
    next.run();
    QCOMPARE(macLabel(next)->text(), QStringLiteral("02:A7:3C:00:00:10"));
}

void tst_MacAddressWidget::shortFieldsFailTheCompare()
{
    BoxAnswers answers;
    writeFile(SupplyFile, "2:A7:3C:0:0:1\n02:A7:3C:00:00:11\n");
    MacAddressWidget widget;
    widget.run();
    QCOMPARE(macLabel(widget)->text(), QStringLiteral("2:A7:3C:0:0:1"));
    QTest::mouseClick(button(widget, "okButton"), Qt::LeftButton);
    QCOMPARE(answers.boxes.size(), 1);
    QCOMPARE(answers.boxes[0].icon, QMessageBox::Critical);
    QCOMPARE(answers.boxes[0].title, Title);
    QCOMPARE(answers.boxes[0].text, QStringLiteral("Compare MAC address failed!!\n"));
    QCOMPARE(widget.readMACAddressFromFRAM(), QStringLiteral("02:a7:3c:00:00:01"));
    QCOMPARE(fram(132, 12), words({ 0x02, 0xA7, 0x3C, 0, 0, 1 }));
    QCOMPARE(fram(2, 2), words({ 0 }));
    QCOMPARE(readFile(SupplyFile), QByteArray("2:A7:3C:0:0:1\n02:A7:3C:00:00:11\n"));
}

void tst_MacAddressWidget::noStick()
{
    BoxAnswers answers;
    writeFile(SupplyFile, "02:A7:3C:00:00:10\n");
    QVERIFY(usbStick(QStringLiteral("pull")));
    MacAddressWidget widget;
    widget.run();
    QCOMPARE(answers.boxes.size(), 1);
    QCOMPARE(answers.boxes[0].icon, QMessageBox::Critical);
    QCOMPARE(answers.boxes[0].title, Title);
    QCOMPARE(answers.boxes[0].text, QStringLiteral("USB Stick not found!!\n"));
    QCOMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:00:00:01"));
    // Retry searches again while no stick was found: still none, then the stick is in.
    QTest::mouseClick(button(widget, "retryButton"), Qt::LeftButton);
    QCOMPARE(answers.boxes.size(), 2);
    QCOMPARE(answers.boxes[1].text, QStringLiteral("USB Stick not found!!\n"));
    QVERIFY(usbStick(QStringLiteral("plug")));
    TestSupport::DebugCapture debug;
    QTest::mouseClick(button(widget, "retryButton"), Qt::LeftButton);
    QCOMPARE(answers.boxes.size(), 2);
    QCOMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:00:00:10"));
    QVERIFY(debug.messages.contains(
        QStringLiteral("\"/run/media/sda1/Quorvan_benchtest_macaddress\"")));
}

void tst_MacAddressWidget::retryDoesNotSearchAgain()
{
    BoxAnswers answers;
    writeFile(SupplyFile, "02:A7:3C:00:00:10\n");
    MacAddressWidget widget;
    widget.run();
    QCOMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:00:00:10"));
    QVERIFY(QFile::remove(QStringLiteral("/tmp/devchk")));
    QVERIFY(usbStick(QStringLiteral("pull")));
    QTest::mouseClick(button(widget, "retryButton"), Qt::LeftButton);
    QVERIFY(!QFile::exists(QStringLiteral("/tmp/devchk")));
    QVERIFY(answers.boxes.isEmpty());
    QCOMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:00:00:10"));
    // Back in with another file: Retry only rereads the first line.
    QVERIFY(usbStick(QStringLiteral("plug")));
    writeFile(SupplyFile, "02:a7:3c:00:00:2f\n");
    QTest::mouseClick(button(widget, "retryButton"), Qt::LeftButton);
    QVERIFY(!QFile::exists(QStringLiteral("/tmp/devchk")));
    QCOMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:00:00:2F"));
}

void tst_MacAddressWidget::thousandsOfLines()
{
    BoxAnswers answers;
    QByteArray lines;
    QList<QByteArray> list;
    for (int i = 0; i < 3000; ++i) {
        list.append(QStringLiteral("02:A7:3C:%1:%2:%3")
                        .arg(i >> 16 & 0xFF, 2, 16, QLatin1Char('0'))
                        .arg(i >> 8 & 0xFF, 2, 16, QLatin1Char('0'))
                        .arg(i & 0xFF, 2, 16, QLatin1Char('0'))
                        .toUpper()
                        .toLatin1());
        lines += list.last() + '\n';
    }
    writeFile(SupplyFile, lines);
    MacAddressWidget widget;
    widget.run();
    for (int used = 1; used <= 3; ++used) {
        QCOMPARE(macLabel(widget)->text(), QString::fromLatin1(list[used - 1]));
        QTest::mouseClick(button(widget, "okButton"), Qt::LeftButton);
        QCOMPARE(answers.boxes.size(), used);
        QCOMPARE(answers.boxes.last().text, Success);
        QCOMPARE(widget.readMACAddressFromFRAM(), QString::fromLatin1(list[used - 1]).toLower());
        QByteArray rest;
        for (int i = used; i < list.size(); ++i)
            rest += list[i] + '\n';
        QCOMPARE(readFile(SupplyFile), rest);
        QTest::mouseClick(button(widget, "retryButton"), Qt::LeftButton);
    }
}

void tst_MacAddressWidget::factoryFiles_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<QByteArray>("left");
    QTest::newRow("CRLF") << QByteArray(
        "02:a7:3c:00:00:21\r\n02:A7:3C:00:00:22\r\n02:A7:3C:00:00:23\r\n")
                          << "02:A7:3C:00:00:21"
                          << QByteArray("02:A7:3C:00:00:22\n02:A7:3C:00:00:23\n");
    QTest::newRow("last line without end")
        << QByteArray("02:A7:3C:00:00:21\n02:A7:3C:00:00:22") << "02:A7:3C:00:00:21"
        << QByteArray("02:A7:3C:00:00:22\n");
    QTest::newRow("one line without end")
        << QByteArray("02:A7:3C:00:00:21") << "02:A7:3C:00:00:21" << QByteArray();
    QTest::newRow("empty line kept") << QByteArray("02:A7:3C:00:00:21\n\n02:A7:3C:00:00:22\n")
                                     << "02:A7:3C:00:00:21" << QByteArray("\n02:A7:3C:00:00:22\n");
    // Nothing to show: the label keeps its address, and OK writes that one.
    QTest::newRow("empty file") << QByteArray() << "02:A7:3C:00:00:01" << QByteArray();
}

void tst_MacAddressWidget::factoryFiles()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, shown);
    QFETCH(QByteArray, left);
    BoxAnswers answers;
    writeFile(SupplyFile, file);
    MacAddressWidget widget;
    widget.run();
    QVERIFY(answers.boxes.isEmpty());
    QCOMPARE(macLabel(widget)->text(), shown);
    QTest::mouseClick(button(widget, "okButton"), Qt::LeftButton);
    QCOMPARE(answers.boxes.size(), 1);
    QCOMPARE(answers.boxes[0].text, Success);
    QCOMPARE(widget.readMACAddressFromFRAM(), shown.toLower());
    QCOMPARE(readFile(SupplyFile), left);
}

void tst_MacAddressWidget::missingFile()
{
    BoxAnswers answers;
    MacAddressWidget widget;
    widget.run();
    QVERIFY(answers.boxes.isEmpty());
    QCOMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:00:00:01"));
    QTest::mouseClick(button(widget, "okButton"), Qt::LeftButton);
    QCOMPARE(answers.boxes.size(), 1);
    QCOMPARE(answers.boxes[0].text, Success);
    QCOMPARE(fram(132, 12), words({ 0x02, 0xA7, 0x3C, 0, 0, 1 }));
    QVERIFY(!QFile::exists(SupplyFile));
}

void tst_MacAddressWidget::model4Keyboard()
{
    BoxAnswers answers;
    setModel(4);
    writeFile(SupplyFile, "02:A7:3C:00:00:10\n");
    MacAddressWidget widget;
    widget.show();
    HexKeyboard *board = keyboard();
    QVERIFY(board);
    QVERIFY(board->windowFlags() & Qt::FramelessWindowHint);
    QVERIFY(!board->isVisible());
    widget.run();
    QVERIFY(answers.boxes.isEmpty());
    QCOMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:00:00:00"));
    QVERIFY(board->isVisible());
    auto *text = board->findChild<QLabel *>(QStringLiteral("textLabel"));
    QVERIFY(text);
    QVERIFY(text->text().contains(QStringLiteral("02:A7:3C:<span")));
    // 16 keys on the small panel's hexadecimal layout.
    QVERIFY(board->findChild<QPushButton *>(QStringLiteral("numberBtn_F")));
    // The cursor starts on the fourth octet.
    for (const char *key : { "numberBtn_1", "numberBtn_2", "numberBtn_3", "numberBtn_4",
             "numberBtn_5", "numberBtn_6" })
        QTest::mouseClick(board->findChild<QPushButton *>(QLatin1String(key)), Qt::LeftButton);
    TestSupport::DebugCapture debug;
    QTest::mouseClick(board->findChild<QPushButton *>(QStringLiteral("OKBtn")), Qt::LeftButton);
    QCOMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:12:34:56"));
    QVERIFY(!board->isVisible());
    QVERIFY(debug.messages.contains(QStringLiteral("editFinish")));

    QTest::mouseClick(button(widget, "okButton"), Qt::LeftButton);
    QCOMPARE(answers.boxes.size(), 1);
    QCOMPARE(answers.boxes[0].text, Success);
    QCOMPARE(fram(132, 12), words({ 0x02, 0xA7, 0x3C, 0x12, 0x34, 0x56 }));
    QCOMPARE(fram(2, 2), words({ 0x02 + 0xA7 + 0x3C + 0x12 + 0x34 + 0x56 + 1 }));
    // Model 4 has no supply file.
    QCOMPARE(readFile(SupplyFile), QByteArray("02:A7:3C:00:00:10\n"));

    // Retry opens the keyboard again on the label's address.
    QTest::mouseClick(button(widget, "retryButton"), Qt::LeftButton);
    QVERIFY(board->isVisible());
    QVERIFY(text->text().startsWith(QStringLiteral("02:A7:3C:<span")));
    QVERIFY(text->text().contains(QStringLiteral("1</span>2:34:56")));
    delete board;
}

void tst_MacAddressWidget::scannerKeys_data()
{
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("shown");
    // S: Shift pressed around the next key (Shift down, key down, key up, Shift up);
    // s: the other order (Shift down, key down, Shift up, key up); R: Return.
    QTest::newRow("Shift around capitals") << "02SA73SC000001R"
                                           << "02:A7:3C:00:00:01";
    QTest::newRow("Shift released first") << "02sA73sC000001R"
                                          << "02:A7:3C:00:00:01";
    QTest::newRow("percent prefix and suffix") << "S%02A73C000001S%R"
                                               << "02:A7:3C:00:00:01";
    QTest::newRow("odd count") << "02A73R"
                               << "02:A7:3";
}

void tst_MacAddressWidget::scannerKeys()
{
    QFETCH(QString, keys);
    QFETCH(QString, shown);
    BoxAnswers answers;
    writeFile(SupplyFile, "02:A7:3C:00:00:10\n");
    MacAddressWidget widget;
    widget.run();
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    QWindow *window = widget.windowHandle();
    QVERIFY(window);
    TestSupport::DebugCapture debug;
    for (int i = 0; i < keys.size(); ++i) {
        const QChar c = keys.at(i);
        if (c == QLatin1Char('R')) {
            QTest::keyClick(window, Qt::Key_Return);
        } else if (c == QLatin1Char('S') || c == QLatin1Char('s')) {
            const QChar next = keys.at(++i);
            const Qt::Key key
                = next == QLatin1Char('%') ? Qt::Key_Percent : Qt::Key(next.unicode());
            // One event per key, as a scanner sends them (QTest would add its own Shift
            // events for a modifier argument).
            QTest::keyPress(window, Qt::Key_Shift);
            QTest::keyPress(window, key);
            if (c == QLatin1Char('S')) {
                QTest::keyRelease(window, key);
                QTest::keyRelease(window, Qt::Key_Shift);
            } else {
                QTest::keyRelease(window, Qt::Key_Shift);
                QTest::keyRelease(window, key);
            }
        } else {
            QTest::keyClick(window, Qt::Key(c.unicode()));
        }
    }
    QCOMPARE(macLabel(widget)->text(), shown);
    QString typed = keys;
    typed.remove(QLatin1Char('S')).remove(QLatin1Char('s')).remove(QLatin1Char('R'));
    QCOMPARE(debug.messages.value(0), QStringLiteral("\"%1\"").arg(typed));
    QCOMPARE(debug.messages.value(1), QStringLiteral("\"%1\"").arg(typed.remove(QLatin1Char('%'))));
    QVERIFY(answers.boxes.isEmpty());
}

void tst_MacAddressWidget::homekeyOnDestruction()
{
    QFile::remove(QStringLiteral("/tmp/homekey"));
    {
        BoxAnswers answers;
        MacAddressWidget widget;
        QVERIFY(!QFile::exists(QStringLiteral("/tmp/homekey")));
    }
    QCOMPARE(readFile(QStringLiteral("/tmp/homekey")), QByteArray("1\n"));
}

void tst_MacAddressWidget::readOnlyStick()
{
    if (!mountListing().contains(QStringLiteral("on /run/media/sda1 type vfat (ro,")))
        QSKIP("needs a write-protected stick (virtual unit --usb-stick-ro)");
    const QByteArray before = readFile(SupplyFile);
    QCOMPARE(before, QByteArray("02:A7:3C:00:00:31\n02:A7:3C:00:00:32\n"));
    BoxAnswers answers;
    MacAddressWidget widget;
    widget.run();
    QCOMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:00:00:31"));
    QTest::mouseClick(button(widget, "okButton"), Qt::LeftButton);
    // The address is written all the same; the line stays on the stick.
    QCOMPARE(answers.boxes.size(), 1);
    QCOMPARE(answers.boxes[0].text, Success);
    QCOMPARE(fram(132, 12), words({ 0x02, 0xA7, 0x3C, 0, 0, 0x31 }));
    QCOMPARE(framWord(2), quint16(0x02 + 0xA7 + 0x3C + 0x31 + 1));
    QCOMPARE(readFile(SupplyFile), before);
}

void tst_MacAddressWidget::scannerThroughX()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        QSKIP("needs the unit's X server (virtual unit --screen)");
    BoxAnswers answers;
    writeFile(SupplyFile, "02:A7:3C:00:00:10\n");
    MacAddressWidget widget;
    widget.run();
    widget.show();
    widget.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&widget));
    QCOMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:00:00:10"));

    // Shift around each capital, as most scanners send it.
    QCOMPARE(TestSupport::runProgram(QStringLiteral("xdotool"),
                 { "key", "--delay", "15", "0", "2", "shift+a", "7", "3", "shift+c", "0", "0", "0",
                     "0", "2", "f", "Return" }),
        0);
    QTRY_COMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:00:00:2F"));

    // Shift let go before the letter, and a "%" before and after the address.
    QCOMPARE(TestSupport::runProgram(QStringLiteral("xdotool"),
                 { "key", "--delay", "15", "shift+5", "0", "2", "keydown", "shift", "keydown", "a",
                     "keyup", "shift", "keyup", "a", "key", "--delay", "15", "7", "3", "keydown",
                     "shift", "keydown", "c", "keyup", "shift", "keyup", "c", "key", "--delay",
                     "15", "0", "0", "0", "0", "0", "1", "shift+5", "Return" }),
        0);
    QTRY_COMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:00:00:01"));
    QVERIFY(answers.boxes.isEmpty());
}

void tst_MacAddressWidget::shots()
{
    const QString dir = qEnvironmentVariable("BENCHTEST_SHOTS");
    if (dir.isEmpty() || QGuiApplication::platformName() != QLatin1String("xcb"))
        QSKIP("pictures only with BENCHTEST_SHOTS on the unit's X server (--screen)");
    const QRect screen = screenGeometry();
    const QString size = QStringLiteral("%1x%2").arg(screen.width()).arg(screen.height());
    auto shoot = [&](const QString &name) {
        // The X screen holds what was drawn once the X server has answered.
        TestSupport::settleWindows();
        QVERIFY(QGuiApplication::primaryScreen()->grabWindow(0).save(
            QStringLiteral("%1/mac-%2-%3.png").arg(dir, name, size)));
    };
    BoxAnswers answers;
    answers.onShown = [&](QMessageBox &box) {
        QVERIFY(QTest::qWaitForWindowExposed(&box));
        shoot(QStringLiteral("box-%1").arg(answers.boxes.size()));
    };

    setModel(4);
    {
        MacAddressWidget widget;
        widget.move(0, 0);
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        widget.run();
        QVERIFY(keyboard() && keyboard()->isVisible());
        shoot(QStringLiteral("model4"));
        delete keyboard();
    }
    setModel(7);
    freshFram();
    writeFile(SupplyFile, "02:a7:3c:00:00:42\n2:A7:3C:0:0:1\n");
    usbStick(QStringLiteral("pull"));
    MacAddressWidget widget;
    widget.move(0, 0);
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    widget.run(); // box 1: no stick
    usbStick(QStringLiteral("plug"));
    QTest::mouseClick(button(widget, "retryButton"), Qt::LeftButton);
    QCOMPARE(macLabel(widget)->text(), QStringLiteral("02:A7:3C:00:00:42"));
    shoot(QStringLiteral("model7"));
    QTest::mouseClick(button(widget, "okButton"), Qt::LeftButton); // box 2: success
    QTest::mouseClick(button(widget, "retryButton"), Qt::LeftButton);
    QTest::mouseClick(button(widget, "okButton"), Qt::LeftButton); // box 3: compare failed
    QCOMPARE(answers.boxes.size(), 3);
    QCOMPARE(answers.boxes[2].text, QStringLiteral("Compare MAC address failed!!\n"));
}

QTEST_MAIN(tst_MacAddressWidget)
#include "tst_macaddresswidget.moc"
