// The FM25V02 serial FRAM (32 KiB) spoken to in its own SPI command set.
#pragma once

#include <QByteArray>

class SpiBus;

class Fm25v02Chip {
public:
    static constexpr unsigned int Size = 32 * 1024;
    enum Opcode : quint8 {
        WriteEnable = 0x06,
        WriteDisable = 0x04,
        ReadStatus = 0x05,
        Read = 0x03,
        Write = 0x02,
        ReadId = 0x9F,
    };
    // Bytes per transfer: spidev's default buffer is 4 KiB.
    static constexpr unsigned int Chunk = 1024;
    // Manufacturer and product ID: six continuation bytes, the maker, two product bytes.
    static constexpr int IdLength = 9;

    explicit Fm25v02Chip(SpiBus *bus);

    // The chip's nine ID bytes; false when the bus failed.
    bool readId(QByteArray *id);
    // Bytes past the chip's end read as 0 (the chip itself would wrap to address 0). False
    // when the bus failed; the bytes not read are then 0.
    bool read(unsigned int address, char *data, unsigned int length);
    // Bytes past the chip's end are dropped rather than wrapped over the parameter header at
    // address 0. Every write command is preceded by its own write enable.
    bool write(unsigned int address, const char *data, unsigned int length);

private:
    SpiBus *m_bus = nullptr;
};
