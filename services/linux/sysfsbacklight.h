// The LCD backlight through the kernel's backlight class: <sysfs>/class/backlight/<name>/
// brightness and max_brightness, with the bench's levels 0..20 spread over the device's range.
#pragma once

#include <QString>

class SysfsBacklight {
public:
    static constexpr int MaxLevel = 20;

    // Nearest device value for a level (clamped to 0..20) on a device of range 0..max.
    static int levelToRaw(int level, int max);
    // Nearest level for a device value (clamped to 0..max).
    static int rawToLevel(int raw, int max);

    // name empty: the first device under <sysfsRoot>/class/backlight in name order.
    SysfsBacklight(const QString &sysfsRoot, const QString &name);

    // The device's directory; empty when none was found.
    QString directory() const { return m_dir; }
    // The current level; false (and *level untouched) when the device cannot be read.
    bool level(int *level) const;
    // Writes the level (clamped to 0..20); false when the device cannot be written.
    bool setLevel(int level) const;
    // Why the last call failed, for the one line on standard error.
    QString problem() const { return m_problem; }

private:
    bool readNumber(const QString &file, int *value) const;

    QString m_dir;
    mutable QString m_problem;
};
