// The device-service contract as the linux backend gives it, on a configuration whose devices
// are fakes in the scratch directory or missing: the program gets the simulator's defaults
// and one clear line per device, never a crash.
#include "services/services.h"
#include "tests/support/testsupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

class tst_LinuxBackend : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void dipSwitchesWithoutTheirChipReadZero();
    void panelWithoutAFramebufferHasTheDefaults();
    void backlightThroughSysfs();
    void framWithoutItsBusReadsZero();
    void clockWithoutItsDeviceGivesTheSystemClock();
    void buzzerWithoutItsDeviceIsQuietAndQuick();
    void keyGrabOnSomethingThatIsNoInputDevice();
    void crossesWithoutAFramebuffer();

private:
    QString backlightValue() const;
    std::unique_ptr<QTemporaryDir> m_dir;
};

void tst_LinuxBackend::initTestCase()
{
    const QString scratch = qEnvironmentVariable("BENCHTEST_SCRATCH_DIR");
    m_dir = std::make_unique<QTemporaryDir>(
        (scratch.isEmpty() ? QDir::tempPath() : scratch) + QStringLiteral("/boardXXXXXX"));
    QVERIFY(m_dir->isValid());
    const QString root = m_dir->path();
    const QString backlight = root + QStringLiteral("/sys/class/backlight/lcd");
    QVERIFY(QDir().mkpath(backlight));
    QFile max(backlight + QStringLiteral("/max_brightness"));
    QVERIFY(max.open(QIODevice::WriteOnly));
    max.write("255\n");
    QFile level(backlight + QStringLiteral("/brightness"));
    QVERIFY(level.open(QIODevice::WriteOnly));
    level.write("255\n");
    QFile spi(root + QStringLiteral("/spidev"));
    QVERIFY(spi.open(QIODevice::WriteOnly));
    spi.close();
    QFile config(root + QStringLiteral("/services.conf"));
    QVERIFY(config.open(QIODevice::WriteOnly));
    config.write(QStringLiteral("sysfs = %1/sys\n"
                                "rtc = /nonexistent/rtc0\n"
                                "fram-spi = %1/spidev\n"
                                "dip-chip = /nonexistent/gpiochip0\n"
                                "beeper = /nonexistent/beeper\n"
                                "framebuffer = /nonexistent/fb0\n")
                     .arg(root)
                     .toLocal8Bit());
    config.close();
    qputenv("BENCHTEST_SERVICES_CONF", config.fileName().toLocal8Bit());
}

QString tst_LinuxBackend::backlightValue() const
{
    QFile file(m_dir->path() + QStringLiteral("/sys/class/backlight/lcd/brightness"));
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
}

void tst_LinuxBackend::dipSwitchesWithoutTheirChipReadZero()
{
    TestSupport::StderrCapture err;
    QCOMPARE(Fram::getInstance()->getDSWVal(), 0u);
    QCOMPARE(Fram::getInstance()->getDSWVal(), 0u);
    QCOMPARE(err.text(),
        QByteArray("benchtest linux: DIP switches: GPIO chip /nonexistent/gpiochip0 cannot be "
                   "opened (No such file or directory); all switches taken as OFF (value 0)\n"));
}

void tst_LinuxBackend::panelWithoutAFramebufferHasTheDefaults()
{
    TestSupport::StderrCapture err;
    Fram *fram = Fram::getInstance();
    QCOMPARE(fram->getMonitorModel(), 7);
    QCOMPARE(fram->getMonitorPixel(), std::make_pair(800, 480));
    QCOMPARE(fram->getOrientation(), 0);
    QCOMPARE(err.text(),
        QByteArray("benchtest linux: /nonexistent/fb0: cannot be opened (No such file or "
                   "directory); taking a 800x480 panel, model 7, upright\n"));
}

void tst_LinuxBackend::backlightThroughSysfs()
{
    TestSupport::StderrCapture err;
    KLcd *lcd = KLcd::getInstance();
    QCOMPARE(lcd->getLcdBrightness(), 20);
    lcd->setLcdBrightness(10, true);
    QCOMPARE(backlightValue(), QStringLiteral("128\n"));
    QCOMPARE(lcd->getLcdBrightness(), 10);
    lcd->setLcdBrightness(21, true);
    QCOMPARE(backlightValue(), QStringLiteral("255\n"));
    QCOMPARE(lcd->getLcdBrightness(), 20);
    lcd->setLcdBrightness(-1, true);
    QCOMPARE(backlightValue(), QStringLiteral("0\n"));
    QCOMPARE(lcd->getLcdBrightness(), 0);
    lcd->setLcdBrightness(20, false);
    QCOMPARE(lcd->getLcdBrightness(), 20);
    QCOMPARE(err.text(), QByteArray());
}

void tst_LinuxBackend::framWithoutItsBusReadsZero()
{
    const QString spi = m_dir->path() + QStringLiteral("/spidev");
    TestSupport::StderrCapture err;
    Fram *fram = Fram::getInstance();
    fram->load_param();
    fram->save_param();
    QCOMPARE(FM25V02_Init(), 0);
    QCOMPARE(FM25V02_RDID(), -1);
    char data[6];
    memset(data, 0x55, sizeof data);
    FM25V02_READ(132, data, sizeof data);
    QCOMPARE(QByteArray(data, 6), QByteArray(6, '\0'));
    char mac[2] = { 2, 0 };
    FM25V02_WRITE(132, mac, 2);
    // The file standing in for the bus was never written.
    QCOMPARE(QFileInfo(spi).size(), 0);
    QCOMPARE(QString::fromLocal8Bit(err.text()),
        QStringLiteral("benchtest linux: %1: is not an SPI device (Inappropriate ioctl for "
                       "device); FRAM reads give 0 and writes are dropped\n"
                       "benchtest linux: FRAM: the parameters cannot be read; the chip is left as "
                       "it is\n")
            .arg(spi));
}

void tst_LinuxBackend::clockWithoutItsDeviceGivesTheSystemClock()
{
    TestSupport::StderrCapture err;
    struct tm value;
    memset(&value, 0, sizeof value);
    const std::time_t before = std::time(nullptr);
    KRtc::getRtc(&value);
    const std::time_t after = std::time(nullptr);
    const std::time_t read = timegm(&value);
    QVERIFY(read >= before && read <= after);
    KRtc::setRtc(&value);
    QCOMPARE(err.text(),
        QByteArray("benchtest linux: /nonexistent/rtc0: cannot be opened (No such file or "
                   "directory); using the system clock\n"
                   "benchtest linux: /nonexistent/rtc0: cannot be opened (No such file or "
                   "directory); the clock is left as it is\n"));
}

void tst_LinuxBackend::buzzerWithoutItsDeviceIsQuietAndQuick()
{
    TestSupport::StderrCapture err;
    Fram *fram = Fram::getInstance();
    fram->setBuzzerEnable(true);
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 10; ++i)
        fram->makeSound(i % 2 ? 2 : 10);
    QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
    const QByteArray line = "benchtest linux: /nonexistent/beeper: cannot be opened (No such "
                            "file or directory); sounds are not played\n";
    QTRY_COMPARE(err.peek(), line);
    QCOMPARE(err.text(), line);
}

void tst_LinuxBackend::keyGrabOnSomethingThatIsNoInputDevice()
{
    errno = 0;
    QVERIFY(!grabKeyDevice(-1));
    QCOMPARE(errno, EBADF);
    const QByteArray path = (m_dir->path() + QStringLiteral("/spidev")).toLocal8Bit();
    const int fd = ::open(path.constData(), O_RDONLY);
    QVERIFY(fd >= 0);
    QVERIFY(!grabKeyDevice(fd));
    ::close(fd);
}

void tst_LinuxBackend::crossesWithoutAFramebuffer()
{
    TestSupport::StderrCapture err;
    put_cross(400, 240, CrossColour);
    put_cross(400, 240, CrossColour);
    QCOMPARE(err.text(),
        QByteArray("benchtest linux: /nonexistent/fb0: cannot be opened (No such file or "
                   "directory); the calibration crosses are not drawn\n"));
}

QTEST_GUILESS_MAIN(tst_LinuxBackend)
#include "tst_linuxbackend.moc"
