// Raw touch input and frame-buffer targets used by the touch calibration.
#pragma once

struct tsdev;

// Colour passed by the calibration: palette index 2, XOR drawing, so a second cross erases.
constexpr unsigned int CrossColour = 0x80000002;

// Blocks until one press has been made and released; stores its settled raw position.
// Returns 0 on success, -1 when the device failed before a press was seen.
int getxy(struct tsdev *ts, int *x, int *y);
void put_cross(int x, int y, unsigned int colour);
