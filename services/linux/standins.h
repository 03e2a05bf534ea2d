// Stand-ins for devices a board may lack (an emulated board has no FRAM chip on SPI and no
// DIP switches): the FRAM's bytes kept in a file and spoken to in the chip's own command set,
// and the switches' value read from a file that the operator can change while the program runs.
#pragma once

#include "spibus.h"

#include <QFile>
#include <QString>

// A 32 KiB FRAM in a file: the file is made (zero-filled) or extended to the chip's size on the
// first transfer. Writes need the write latch, as on the chip, and addresses wrap at the end.
class FramFileBus : public SpiBus {
public:
    explicit FramFileBus(const QString &path);

    bool transfer(const QByteArray &tx, QByteArray *rx) override;

private:
    bool open();

    QFile m_file;
    bool m_failed = false;
    bool m_writeLatch = false;
};

namespace DipFile {
// The DIP value written in the file at path (decimal or 0x hexadecimal, 0..0xFFFF); false with
// *problem saying why when it cannot be read or is not such a number.
bool read(const QString &path, unsigned int *value, QString *problem);
} // namespace DipFile
