// fram.bin: the simulated FM25V02, one file of 32 KiB.
#pragma once

#include <QByteArray>

namespace FramImage {

// Creates a fresh image when fram.bin is missing: parameter length 200 at address 0, all
// parameter words 0 and the matching checksum at address 2.
void ensure();
// How many of length bytes from address lie inside the 32 KiB chip.
unsigned int insideChip(unsigned int address, unsigned int length);
// How much of the chip fram.bin holds: less than 32 KiB when the file is short.
unsigned int storedSize();
// The bytes at address..address+length that lie inside the chip; 0 where fram.bin is short.
// *ok (if given) is false when fram.bin could not be read (not a regular file, an I/O error,
// or the word "read" in the state file fram-fault); the bytes are then all 0.
QByteArray read(unsigned int address, unsigned int length, bool *ok = nullptr);
// Writes the bytes that lie inside the chip and drops the rest; false when fram.bin could not
// be written (also with the word "write" in fram-fault).
bool write(unsigned int address, const QByteArray &data);

} // namespace FramImage
