#include "services/fram.h"

#include "framimage.h"
#include "simstate.h"

namespace {
// The parameter area as loaded; written back unchanged by save_param().
QByteArray parameters;
// A failed load leaves nothing to write back: writing would put zeros over the unit's record.
bool loaded = false;
} // namespace

Fram *Fram::getInstance()
{
    static Fram instance;
    return &instance;
}

void Fram::load_param()
{
    SimState::logEvent(QStringLiteral("param-load"));
    bool ok = false;
    const QByteArray header = FramImage::read(0, 2, &ok);
    const unsigned int length = uchar(header[0]) | (uchar(header[1]) << 8);
    // Only what fram.bin holds: save_param() must not pad a short (damaged) image.
    if (ok)
        parameters = FramImage::read(0, 4 + length, &ok).left(int(FramImage::storedSize()));
    loaded = ok;
    if (!ok) {
        parameters.clear();
        SimState::warn(QStringLiteral("fram.bin"),
            QStringLiteral("the parameters cannot be read; the chip is left as it is"));
        SimState::logEvent(QStringLiteral("param-load-failed"));
    }
}

void Fram::save_param()
{
    SimState::logEvent(QStringLiteral("param-save"));
    if (!loaded) {
        SimState::logEvent(QStringLiteral("param-save-skipped"));
        return;
    }
    if (!parameters.isEmpty() && !FramImage::write(0, parameters))
        SimState::logEvent(QStringLiteral("param-save-failed"));
}

void Fram::setBuzzerEnable(bool enable)
{
    m_buzzerEnabled = enable;
    SimState::logEvent(QStringLiteral("buzzer-enable %1").arg(enable ? 1 : 0));
}

void Fram::makeSound(int sound)
{
    if (m_buzzerEnabled)
        SimState::logEvent(QStringLiteral("sound %1").arg(sound));
}

unsigned int Fram::getDSWVal()
{
    // Re-read on every call so that switches can be flipped while the program runs.
    return static_cast<unsigned int>(SimState::readNumberInRange(
        QStringLiteral("dip"), 0, 0xFFFFFFFFLL, 0, QStringLiteral("is out of range")));
}

int Fram::getMonitorModel()
{
    return int(SimState::readNumberInRange(
        QStringLiteral("model"), 0, 255, 7, QStringLiteral("is out of range")));
}

std::pair<int, int> Fram::getMonitorPixel()
{
    int width = 800, height = 480;
    SimState::readPair(QStringLiteral("pixels"), &width, &height);
    return { width, height };
}

int Fram::getOrientation()
{
    return int(SimState::readNumber(QStringLiteral("orientation"), 0) != 0);
}
