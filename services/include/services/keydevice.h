// The menu key's input event device: opened, taken for this program alone and read one
// record at a time. Opening, reading and closing are plain file work; taking the device is
// the backend's (the kernel's exclusive grab on a board, the simulator's key feed in a
// virtual unit).
#pragma once

#include <cstdint>

// One record of an input event device as the unit's 32-bit kernel writes it: 16 bytes. The
// host's own struct input_event is 24 bytes on a 64-bit PC, so the layout is spelled out.
struct KeyEventRecord {
    std::int32_t seconds;
    std::int32_t microseconds;
    std::uint16_t type;
    std::uint16_t code;
    std::int32_t value;
};
static_assert(sizeof(KeyEventRecord) == 16, "an input event record is 16 bytes on the unit");

// Opens the device read-only and non-blocking. The descriptor, or -1 (errno set).
int openKeyDevice(const char *path);
// Takes the device exclusively, so the key presses reach no other reader. False when
// another holder has it (errno set).
bool grabKeyDevice(int fd);
// Reads up to one record. Returns the number of bytes read (16 for a whole record), 0 or -1
// when none is waiting.
int readKeyDevice(int fd, KeyEventRecord *record);
void closeKeyDevice(int fd);
