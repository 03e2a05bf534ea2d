#include "services/fram.h"

#include "framimage.h"
#include "simstate.h"

namespace {
// The parameter area as loaded; written back unchanged by save_param().
QByteArray parameters;
} // namespace

Fram *Fram::getInstance()
{
    static Fram instance;
    return &instance;
}

void Fram::load_param()
{
    SimState::logEvent(QStringLiteral("param-load"));
    const QByteArray header = FramImage::read(0, 2);
    const unsigned int length = uchar(header[0]) | (uchar(header[1]) << 8);
    // Only what fram.bin holds: save_param() must not pad a short (damaged) image.
    parameters = FramImage::read(0, 4 + length).left(int(FramImage::storedSize()));
}

void Fram::save_param()
{
    SimState::logEvent(QStringLiteral("param-save"));
    if (!parameters.isEmpty())
        FramImage::write(0, parameters);
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
    const long long value = SimState::readNumber(QStringLiteral("dip"), 0);
    if (value < 0 || value > 0xFFFFFFFFLL) {
        SimState::warn(QStringLiteral("dip"), QStringLiteral("%1 is out of range, using 0").arg(value));
        return 0;
    }
    return static_cast<unsigned int>(value);
}

int Fram::getMonitorModel()
{
    const long long value = SimState::readNumber(QStringLiteral("model"), 7);
    if (value < 0 || value > 255) {
        SimState::warn(QStringLiteral("model"), QStringLiteral("%1 is out of range, using 7").arg(value));
        return 7;
    }
    return int(value);
}

std::pair<int, int> Fram::getMonitorPixel()
{
    int width = 800, height = 480;
    SimState::readPair(QStringLiteral("pixels"), &width, &height);
    return {width, height};
}

int Fram::getOrientation()
{
    return int(SimState::readNumber(QStringLiteral("orientation"), 0) != 0);
}
