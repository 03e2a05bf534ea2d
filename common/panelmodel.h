// Which panel the unit is, as the screens ask it. Every model test of the program is one of
// these questions, each answered here once.
#pragma once

#include <QRect>

namespace PanelModel {

// The 4-inch unit: COM1 only (its RS422/RS485 line is the second port path), no key and LED
// stage, the 4-inch keyboards, the MAC typed on the hexadecimal keyboard.
inline bool isFourInch(int model)
{
    return model == 4;
}

// The short test lists of the menu and of the "Next" labels: model 4 and every number below
// it. The comparison is signed.
inline bool hasShortLists(int model)
{
    return model <= 4;
}

// Panels that take their MAC address from the stick's supply file and strike the used line
// from it. Models below 4 read the file but never consume it.
inline bool consumesSupplyFile(int model)
{
    return model > 4;
}

// Panels whose serial ports are wired to the bench for the slave tester's echo.
inline bool echoesSerial(int model)
{
    return model == 4 || model == 7 || model == 10 || model == 12 || model == 15;
}

// Screens smaller than 800 x 480 get the paged function menu.
inline bool isPagedMenuScreen(const QRect &screen)
{
    return screen.width() * screen.height() < 800 * 480;
}

// Screen classes by area, as the common button sizes itself: the large panel, the 4-inch
// panel, and anything smaller than that.
inline bool isLargePanelScreen(const QRect &screen)
{
    return screen.width() * screen.height() == 800 * 480;
}

inline bool isFourInchScreen(const QRect &screen)
{
    return screen.width() * screen.height() == 480 * 272;
}

inline bool isBelowFourInchScreen(const QRect &screen)
{
    return screen.width() * screen.height() < 480 * 272;
}

} // namespace PanelModel
