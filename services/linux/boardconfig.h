// Where the board's devices are: one small "key = value" file, by default
// /brimdale/configs/services.conf ($BENCHTEST_SERVICES_CONF names another). Every key has a
// default, so a board wired as usual needs no file at all.
#pragma once

#include <QString>
#include <QVector>

class BoardConfig {
public:
    static constexpr const char *DefaultPath = "/brimdale/configs/services.conf";

    // Reads the file; unknown keys and bad values give one line on standard error each and
    // leave the default. A missing file gives the defaults and one line.
    static BoardConfig load(const QString &path);
    // The file named by $BENCHTEST_SERVICES_CONF, else DefaultPath; read once per process.
    static const BoardConfig &current();

    QString sysfsRoot = QStringLiteral("/sys");
    // Name under <sysfs>/class/backlight; empty: the first one there.
    QString backlight;
    QString rtc = QStringLiteral("/dev/rtc0");
    QString framSpi = QStringLiteral("/dev/spidev1.0");
    quint32 framSpiHz = 10000000;
    // Stand-in for a board without the chip: the FRAM's bytes in this file instead of on SPI.
    QString framFile;
    // The GPIO chip: a path, a name under /dev or a chip number.
    QString dipChip = QStringLiteral("gpiochip0");
    // Line offsets of SW1, SW2, SW3, SW4.
    QVector<unsigned int> dipLines { 0, 1, 2, 3 };
    // A switch that is ON pulls its line low.
    bool dipActiveLow = true;
    // Stand-in for a board without switches: the DIP value read from this file at every call.
    QString dipFile;
    // Input event device of the buzzer; empty: the first input device under
    // <sysfs>/class/input whose name has "beep" or "spkr" in it.
    QString beeper;
    QString framebuffer = QStringLiteral("/dev/fb0");
    // -1: from the frame buffer (4 for a 480x272 panel, 7 otherwise).
    int model = -1;
    // -1: from the frame buffer's rotation.
    int orientation = -1;
};
