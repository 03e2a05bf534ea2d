// The DIP switches' GPIO lines: a seam over libgpiod, and the packing of four switches into
// the value the screens expect (one switch per hexadecimal digit, SW1 highest).
#pragma once

#include <QString>
#include <QVector>

struct gpiod_chip;
struct gpiod_line_bulk;

class GpioLines {
public:
    virtual ~GpioLines() = default;
    // The levels (0 or 1) of the lines, in the order they were asked for; false when they
    // cannot be read (then problem() says why).
    virtual bool read(QVector<int> *values) = 0;
    virtual QString problem() const = 0;
};

// Lines of one chip through libgpiod, requested as inputs on the first read and held.
class GpiodLines : public GpioLines {
public:
    GpiodLines(const QString &chip, const QVector<unsigned int> &offsets);
    ~GpiodLines() override;
    GpiodLines(const GpiodLines &) = delete;
    GpiodLines &operator=(const GpiodLines &) = delete;

    bool read(QVector<int> *values) override;
    QString problem() const override { return m_problem; }

private:
    bool request();

    QString m_chipName;
    QVector<unsigned int> m_offsets;
    gpiod_chip *m_chip = nullptr;
    gpiod_line_bulk *m_bulk = nullptr;
    QString m_problem;
};

namespace DipSwitches {
// Bit of each switch, SW1 first.
constexpr unsigned int SwitchBits[4] = { 0x1000, 0x100, 0x10, 0x1 };
// Packs the four levels, SW1 first; with activeLow a switch is ON when its line reads 0.
// Missing levels count as OFF.
unsigned int pack(const QVector<int> &levels, bool activeLow);
} // namespace DipSwitches
