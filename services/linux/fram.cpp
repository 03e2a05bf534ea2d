#include "services/fram.h"

#include "beeper.h"
#include "board.h"
#include "boardconfig.h"
#include "devicewarning.h"
#include "fm25v02chip.h"
#include "framebuffer.h"
#include "gpiolines.h"
#include "parameterstore.h"
#include "standins.h"

namespace {
ParameterStore &parameters()
{
    static ParameterStore store(&boardFram());
    return store;
}

BeepPlayer &beeper()
{
    static BeepPlayer player([] {
        const BoardConfig &config = BoardConfig::current();
        const QString path
            = config.beeper.isEmpty() ? EvdevToneOutput::find(config.sysfsRoot) : config.beeper;
        return std::make_unique<EvdevToneOutput>(path);
    }());
    return player;
}

const PanelInfo &panel()
{
    static const PanelInfo info = Panel::describe(BoardConfig::current(), &boardFramebuffer());
    return info;
}
} // namespace

Fram *Fram::getInstance()
{
    static Fram instance;
    return &instance;
}

void Fram::load_param()
{
    if (!parameters().load()) {
        warnDevice(QStringLiteral("FRAM"),
            QStringLiteral("the parameters cannot be read; the chip is left as it is"));
    } else if (parameters().wasRepaired()) {
        warnDevice(QStringLiteral("FRAM"),
            QStringLiteral("the parameter length at address 0 is blank or too long; saving "
                           "length %1 and the checksum of the words held")
                .arg(ParameterStore::DefaultLength));
    }
}

void Fram::save_param()
{
    // Nothing loaded, nothing written: zeros over the unit's record would lose its MAC.
    if (parameters().isLoaded() && !parameters().save())
        warnDevice(QStringLiteral("FRAM"), QStringLiteral("the parameters cannot be written"));
}

void Fram::setBuzzerEnable(bool enable)
{
    m_buzzerEnabled = enable;
}

void Fram::makeSound(int sound)
{
    if (m_buzzerEnabled)
        beeper().play(sound);
}

unsigned int Fram::getDSWVal()
{
    const BoardConfig &config = BoardConfig::current();
    if (!config.dipFile.isEmpty()) {
        unsigned int value = 0;
        QString problem;
        if (DipFile::read(config.dipFile, &value, &problem))
            return value;
        warnDevice(QStringLiteral("DIP switches"),
            QStringLiteral("%1; all switches taken as OFF (value 0)").arg(problem));
        return 0;
    }
    static GpiodLines lines(config.dipChip, config.dipLines);
    QVector<int> levels;
    if (!lines.read(&levels)) {
        warnDevice(QStringLiteral("DIP switches"),
            QStringLiteral("%1; all switches taken as OFF (value 0)").arg(lines.problem()));
        return 0;
    }
    return DipSwitches::pack(levels, config.dipActiveLow);
}

int Fram::getMonitorModel()
{
    return panel().model;
}

std::pair<int, int> Fram::getMonitorPixel()
{
    return { panel().width, panel().height };
}

int Fram::getOrientation()
{
    return panel().orientation;
}
