// fram.bin: the simulated FM25V02, one file of 32 KiB.
#pragma once

#include <QByteArray>

namespace FramImage {

// Creates a fresh image when fram.bin is missing: parameter length 200 at address 0, all
// parameter words 0 and the matching checksum at address 2.
void ensure();
QByteArray read(unsigned int address, unsigned int length);
void write(unsigned int address, const QByteArray &data);

} // namespace FramImage
