#include "services/touch.h"

#include "board.h"
#include "boardconfig.h"
#include "devicewarning.h"
#include "framebuffer.h"

FramebufferDevice &boardFramebuffer()
{
    static KernelFramebuffer device(BoardConfig::current().framebuffer);
    return device;
}

void put_cross(int x, int y, unsigned int colour)
{
    FramebufferDevice &framebuffer = boardFramebuffer();
    FramebufferGeometry geometry;
    std::size_t length = 0;
    unsigned char *pixels = framebuffer.pixels(&length);
    if (!pixels || !framebuffer.geometry(&geometry)) {
        warnDevice(BoardConfig::current().framebuffer,
            QStringLiteral("%1; the calibration crosses are not drawn").arg(framebuffer.problem()));
        return;
    }
    Panel::drawCross(pixels, length, geometry, x, y, colour);
}
