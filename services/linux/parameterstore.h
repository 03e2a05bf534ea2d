// The parameter block at the start of the FRAM: a length word at address 0, the checksum of
// the area's first 100 words at 2, the area from 4 (the MAC record lives inside it).
#pragma once

#include <QByteArray>

class Fm25v02Chip;

class ParameterStore {
public:
    static constexpr unsigned int LengthAddress = 0;
    static constexpr unsigned int ChecksumAddress = 2;
    static constexpr unsigned int AreaAddress = 4;
    static constexpr int ChecksummedWords = 100;
    // Length written over a header that cannot be right (a blank chip reads 0 or 0xFFFF).
    static constexpr unsigned int DefaultLength = 200;

    // Sum of the first 100 little-endian words of the area, modulo 65536; missing bytes of a
    // short area count as 0.
    static quint16 checksum(const QByteArray &area);

    explicit ParameterStore(Fm25v02Chip *chip);

    // Reads the header and the area. False when the chip could not be read; nothing is then
    // loaded and save() leaves the chip alone.
    bool load();
    // Writes the block back as loaded. A header that was repaired at load (length 0, 0xFFFF or
    // past the chip) gets the default length and the checksum of the words the chip holds;
    // the area's bytes are never changed here.
    bool save();

    bool isLoaded() const { return m_loaded; }
    bool wasRepaired() const { return m_repaired; }
    // Header and area as they will be saved.
    QByteArray block() const { return m_block; }

private:
    Fm25v02Chip *m_chip = nullptr;
    QByteArray m_block;
    bool m_loaded = false;
    bool m_repaired = false;
};
