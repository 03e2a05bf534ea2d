// LCD backlight, levels 0 (dark) to 20 (brightest).
#pragma once

class KLcd
{
public:
    static KLcd *getInstance();

    int getLcdBrightness();
    // Levels outside 0..20 are clamped; the flag is passed on to the backend unchanged.
    void setLcdBrightness(int level, bool flag);

private:
    KLcd() = default;
};
