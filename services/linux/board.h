// The board's devices that more than one service shares, made on first use from the
// configuration file.
#pragma once

class Fm25v02Chip;
class FramebufferDevice;

Fm25v02Chip &boardFram();
FramebufferDevice &boardFramebuffer();
