#include "services/fm25v02.h"

#include "board.h"
#include "boardconfig.h"
#include "devicewarning.h"
#include "fm25v02chip.h"
#include "spibus.h"
#include "standins.h"

#include <memory>

static_assert(Fm25v02Chip::Size == FM25V02_SIZE, "one chip size");

Fm25v02Chip &boardFram()
{
    const BoardConfig &config = BoardConfig::current();
    static const std::unique_ptr<SpiBus> bus = config.framFile.isEmpty()
        ? std::unique_ptr<SpiBus>(new SpidevBus(config.framSpi, config.framSpiHz))
        : std::unique_ptr<SpiBus>(new FramFileBus(config.framFile));
    static Fm25v02Chip chip(bus.get());
    return chip;
}

int FM25V02_Init()
{
    boardFram();
    return 0;
}

int FM25V02_RDID()
{
    QByteArray id;
    if (!boardFram().readId(&id))
        return -1;
    // A bus with no chip on it reads all 0 or all 1 bits.
    if (id.count('\0') == id.size() || id.count('\xff') == id.size()) {
        const BoardConfig &config = BoardConfig::current();
        warnDevice(config.framFile.isEmpty() ? config.framSpi : config.framFile,
            QStringLiteral("no FRAM answers (ID %1)").arg(QString::fromLatin1(id.toHex(' '))));
        return -1;
    }
    return 0;
}

void FM25V02_READ(unsigned int address, char *data, unsigned int length)
{
    boardFram().read(address, data, length);
}

void FM25V02_WRITE(unsigned int address, char *data, unsigned int length)
{
    boardFram().write(address, data, length);
}
