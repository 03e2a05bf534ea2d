#include "parameterstore.h"

#include "fm25v02chip.h"

ParameterStore::ParameterStore(Fm25v02Chip *chip) : m_chip(chip) { }

quint16 ParameterStore::checksum(const QByteArray &area)
{
    quint16 sum = 0;
    for (int word = 0; word < ChecksummedWords; ++word) {
        const int at = 2 * word;
        const quint16 low = at < area.size() ? quint8(area.at(at)) : 0;
        const quint16 high = at + 1 < area.size() ? quint8(area.at(at + 1)) : 0;
        sum = quint16(sum + (low | (high << 8)));
    }
    return sum;
}

bool ParameterStore::load()
{
    m_loaded = false;
    m_repaired = false;
    m_block.clear();
    char header[4];
    if (!m_chip->read(LengthAddress, header, sizeof header))
        return false;
    unsigned int length = quint8(header[0]) | (quint8(header[1]) << 8);
    if (length == 0 || length == 0xFFFF || AreaAddress + length > Fm25v02Chip::Size) {
        length = DefaultLength;
        m_repaired = true;
    }
    QByteArray block(int(AreaAddress + length), '\0');
    if (!m_chip->read(0, block.data(), unsigned(block.size())))
        return false;
    if (m_repaired) {
        const quint16 sum = checksum(block.mid(int(AreaAddress)));
        block[0] = char(length & 0xFF);
        block[1] = char(length >> 8);
        block[2] = char(sum & 0xFF);
        block[3] = char(sum >> 8);
    }
    m_block = block;
    m_loaded = true;
    return true;
}

bool ParameterStore::save()
{
    if (!m_loaded)
        return false;
    return m_chip->write(0, m_block.constData(), unsigned(m_block.size()));
}
