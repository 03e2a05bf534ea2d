#include "fm25v02chip.h"

#include "spibus.h"

#include <algorithm>
#include <cstring>

namespace {
QByteArray command(quint8 opcode, unsigned int address)
{
    QByteArray bytes(3, '\0');
    bytes[0] = char(opcode);
    bytes[1] = char((address >> 8) & 0x7F);
    bytes[2] = char(address & 0xFF);
    return bytes;
}

unsigned int insideChip(unsigned int address, unsigned int length)
{
    return address < Fm25v02Chip::Size ? std::min(length, Fm25v02Chip::Size - address) : 0;
}
} // namespace

Fm25v02Chip::Fm25v02Chip(SpiBus *bus) : m_bus(bus) { }

bool Fm25v02Chip::readId(QByteArray *id)
{
    QByteArray tx(1 + IdLength, '\0');
    tx[0] = char(ReadId);
    QByteArray rx;
    const bool ok = m_bus->transfer(tx, &rx);
    *id = rx.mid(1);
    return ok;
}

bool Fm25v02Chip::read(unsigned int address, char *data, unsigned int length)
{
    const unsigned int inside = insideChip(address, length);
    memset(data, 0, length);
    for (unsigned int done = 0; done < inside;) {
        const unsigned int part = std::min(Chunk, inside - done);
        QByteArray tx = command(Read, address + done);
        tx.append(QByteArray(int(part), '\0'));
        QByteArray rx;
        if (!m_bus->transfer(tx, &rx)) {
            memset(data, 0, length);
            return false;
        }
        memcpy(data + done, rx.constData() + 3, part);
        done += part;
    }
    return true;
}

bool Fm25v02Chip::write(unsigned int address, const char *data, unsigned int length)
{
    const unsigned int inside = insideChip(address, length);
    for (unsigned int done = 0; done < inside;) {
        const unsigned int part = std::min(Chunk, inside - done);
        QByteArray rx;
        // The chip clears its write latch at the end of every write command.
        if (!m_bus->transfer(QByteArray(1, char(WriteEnable)), &rx))
            return false;
        QByteArray tx = command(Write, address + done);
        tx.append(data + done, int(part));
        if (!m_bus->transfer(tx, &rx))
            return false;
        done += part;
    }
    return true;
}
