// The board's configuration file: every key, its defaults, and one clear line for each thing
// that is wrong with it.
#include "fakes.h"
#include "services/linux/boardconfig.h"
#include "tests/support/testsupport.h"

#include <QtTest>

class tst_BoardConfig : public QObject {
    Q_OBJECT
private slots:
    void init();
    void defaults();
    void aMissingFileGivesTheDefaults();
    void everyKeyIsRead();
    void badLinesAreNamedAndSkipped();

private:
    QString write(const QByteArray &text);
    std::unique_ptr<QTemporaryDir> m_dir;
};

void tst_BoardConfig::init()
{
    m_dir = std::make_unique<QTemporaryDir>(scratchBase());
    QVERIFY(m_dir->isValid());
}

QString tst_BoardConfig::write(const QByteArray &text)
{
    const QString path = m_dir->filePath(QStringLiteral("services.conf"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        return QString();
    return path;
}

void tst_BoardConfig::defaults()
{
    const BoardConfig config;
    QCOMPARE(QString::fromLatin1(BoardConfig::DefaultPath),
        QStringLiteral("/brimdale/configs/services.conf"));
    QCOMPARE(config.sysfsRoot, QStringLiteral("/sys"));
    QCOMPARE(config.backlight, QString());
    QCOMPARE(config.rtc, QStringLiteral("/dev/rtc0"));
    QCOMPARE(config.framSpi, QStringLiteral("/dev/spidev1.0"));
    QCOMPARE(config.framSpiHz, quint32(10000000));
    QCOMPARE(config.dipChip, QStringLiteral("gpiochip0"));
    // No stand-ins unless named: a board has its chip and switches.
    QCOMPARE(config.framFile, QString());
    QCOMPARE(config.dipFile, QString());
    QCOMPARE(config.dipLines, (QVector<unsigned int> { 0, 1, 2, 3 }));
    QCOMPARE(config.dipActiveLow, true);
    QCOMPARE(config.beeper, QString());
    QCOMPARE(config.framebuffer, QStringLiteral("/dev/fb0"));
    QCOMPARE(config.model, -1);
    QCOMPARE(config.orientation, -1);
}

void tst_BoardConfig::aMissingFileGivesTheDefaults()
{
    const QString path = m_dir->filePath(QStringLiteral("none.conf"));
    TestSupport::StderrCapture err;
    const BoardConfig config = BoardConfig::load(path);
    QCOMPARE(config.rtc, QStringLiteral("/dev/rtc0"));
    QCOMPARE(config.dipLines, (QVector<unsigned int> { 0, 1, 2, 3 }));
    QCOMPARE(err.text(),
        QStringLiteral("benchtest linux: %1: missing, using the defaults\n")
            .arg(path)
            .toLocal8Bit());
}

void tst_BoardConfig::everyKeyIsRead()
{
    const QString path = write("# bench fixture B\n"
                               "sysfs = /tmp/fakesys\n"
                               "backlight=lcd-bl   # the panel's\n"
                               "rtc = /dev/rtc1\n"
                               "\n"
                               "fram-spi = /dev/spidev0.1\n"
                               "fram-spi-hz = 0x1000\n"
                               "dip-chip = gpiochip2\n"
                               "dip-lines = 7, 6 5\t4\n"
                               "dip-active-low = 0\n"
                               "fram-file = /brimdale/board/fram.bin\n"
                               "dip-file = /brimdale/board/dip\n"
                               "beeper = /dev/input/event5\n"
                               "framebuffer = /dev/fb1\n"
                               "model = 4\n"
                               "orientation = 2\n");
    QVERIFY(!path.isEmpty());
    TestSupport::StderrCapture err;
    const BoardConfig config = BoardConfig::load(path);
    QCOMPARE(err.text(), QByteArray());
    QCOMPARE(config.sysfsRoot, QStringLiteral("/tmp/fakesys"));
    QCOMPARE(config.backlight, QStringLiteral("lcd-bl"));
    QCOMPARE(config.rtc, QStringLiteral("/dev/rtc1"));
    QCOMPARE(config.framSpi, QStringLiteral("/dev/spidev0.1"));
    QCOMPARE(config.framSpiHz, quint32(4096));
    QCOMPARE(config.dipChip, QStringLiteral("gpiochip2"));
    QCOMPARE(config.dipLines, (QVector<unsigned int> { 7, 6, 5, 4 }));
    QCOMPARE(config.dipActiveLow, false);
    QCOMPARE(config.framFile, QStringLiteral("/brimdale/board/fram.bin"));
    QCOMPARE(config.dipFile, QStringLiteral("/brimdale/board/dip"));
    QCOMPARE(config.beeper, QStringLiteral("/dev/input/event5"));
    QCOMPARE(config.framebuffer, QStringLiteral("/dev/fb1"));
    QCOMPARE(config.model, 4);
    QCOMPARE(config.orientation, 1);
}

void tst_BoardConfig::badLinesAreNamedAndSkipped()
{
    const QString path = write("rtc /dev/rtc1\n"
                               "dip-lines = 1 2 3\n"
                               "dip-active-low = yes\n"
                               "model = 300\n"
                               "fram-spi-hz = 0\n"
                               "colour = blue\n"
                               "framebuffer = /dev/fb2\n");
    QVERIFY(!path.isEmpty());
    TestSupport::StderrCapture err;
    const BoardConfig config = BoardConfig::load(path);
    QCOMPARE(config.rtc, QStringLiteral("/dev/rtc0"));
    QCOMPARE(config.dipLines, (QVector<unsigned int> { 0, 1, 2, 3 }));
    QCOMPARE(config.dipActiveLow, true);
    QCOMPARE(config.model, -1);
    QCOMPARE(config.framSpiHz, quint32(10000000));
    QCOMPARE(config.framebuffer, QStringLiteral("/dev/fb2"));
    const QString p = path;
    QCOMPARE(QString::fromLocal8Bit(err.text()),
        QStringLiteral("benchtest linux: %1 line 1: \"rtc /dev/rtc1\" is not \"key = value\", "
                       "ignored\n"
                       "benchtest linux: %1 line 2: dip-lines \"1 2 3\" is not four line offsets "
                       "(SW1 SW2 SW3 SW4), using the default\n"
                       "benchtest linux: %1 line 3: dip-active-low \"yes\" is not 0 or 1, using "
                       "the default\n"
                       "benchtest linux: %1 line 4: model \"300\" is not a model number 0..255, "
                       "using the default\n"
                       "benchtest linux: %1 line 5: fram-spi-hz \"0\" is not a clock rate of "
                       "1..100000000 Hz, using the default\n"
                       "benchtest linux: %1 line 6: unknown key \"colour\", ignored\n")
            .arg(p));
}

QTEST_GUILESS_MAIN(tst_BoardConfig)
#include "tst_boardconfig.moc"
