#include "framebuffer.h"

#include "boardconfig.h"
#include "devicewarning.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <linux/fb.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

KernelFramebuffer::KernelFramebuffer(const QString &path) : m_path(path) { }

KernelFramebuffer::~KernelFramebuffer()
{
    if (m_map)
        munmap(m_map, m_mapLength);
    if (m_fd >= 0)
        ::close(m_fd);
}

bool KernelFramebuffer::open()
{
    if (m_fd >= 0)
        return true;
    const QByteArray path = m_path.toLocal8Bit();
    m_fd = ::open(path.constData(), O_RDWR | O_CLOEXEC);
    if (m_fd < 0) {
        m_problem = QStringLiteral("cannot be opened (%1)").arg(errnoText(errno));
        return false;
    }
    return true;
}

bool KernelFramebuffer::geometry(FramebufferGeometry *geometry)
{
    if (!open())
        return false;
    fb_var_screeninfo var;
    fb_fix_screeninfo fix;
    memset(&var, 0, sizeof var);
    memset(&fix, 0, sizeof fix);
    if (ioctl(m_fd, FBIOGET_VSCREENINFO, &var) < 0 || ioctl(m_fd, FBIOGET_FSCREENINFO, &fix) < 0) {
        m_problem = QStringLiteral("is not a frame buffer (%1)").arg(errnoText(errno));
        return false;
    }
    geometry->width = int(var.xres);
    geometry->height = int(var.yres);
    geometry->bitsPerPixel = int(var.bits_per_pixel);
    geometry->rotate = int(var.rotate);
    geometry->lineLength = int(fix.line_length);
    return true;
}

unsigned char *KernelFramebuffer::pixels(std::size_t *length)
{
    if (m_map) {
        *length = m_mapLength;
        return m_map;
    }
    FramebufferGeometry g;
    if (!geometry(&g))
        return nullptr;
    const std::size_t size = std::size_t(g.lineLength) * std::size_t(g.height);
    if (size == 0) {
        m_problem = QStringLiteral("reports no pixels");
        return nullptr;
    }
    void *map = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, m_fd, 0);
    if (map == MAP_FAILED) {
        m_problem = QStringLiteral("cannot be mapped (%1)").arg(errnoText(errno));
        return nullptr;
    }
    m_map = static_cast<unsigned char *>(map);
    m_mapLength = size;
    *length = size;
    return m_map;
}

PanelInfo Panel::describe(const BoardConfig &config, FramebufferDevice *framebuffer)
{
    PanelInfo panel;
    FramebufferGeometry g;
    const bool known = framebuffer && framebuffer->geometry(&g) && g.width > 0 && g.height > 0;
    if (known) {
        panel.width = g.width;
        panel.height = g.height;
        panel.orientation = g.rotate != 0 ? 1 : 0;
        panel.model = (g.width == 480 && g.height == 272) ? 4 : 7;
    } else {
        warnDevice(config.framebuffer,
            QStringLiteral("%1; taking a %2x%3 panel, model %4, upright")
                .arg(framebuffer ? framebuffer->problem() : QStringLiteral("not used"))
                .arg(panel.width)
                .arg(panel.height)
                .arg(config.model >= 0 ? config.model : panel.model));
    }
    if (config.model >= 0)
        panel.model = config.model;
    if (config.orientation >= 0)
        panel.orientation = config.orientation;
    return panel;
}

namespace {
void plot(unsigned char *pixels, std::size_t length, const FramebufferGeometry &g, int x, int y,
    unsigned int colour)
{
    if (x < 0 || y < 0 || x >= g.width || y >= g.height)
        return;
    const int bytes = (g.bitsPerPixel + 7) / 8;
    const std::size_t at = std::size_t(y) * std::size_t(g.lineLength) + std::size_t(x) * bytes;
    if (bytes < 1 || bytes > 4 || at + std::size_t(bytes) > length)
        return;
    const bool xorDraw = colour & 0x80000000u;
    const unsigned int index = colour & 0x7FFFFFFFu;
    quint32 mask = g.bitsPerPixel >= 32 ? 0x00FFFFFFu : (quint32(1) << g.bitsPerPixel) - 1;
    const quint32 value = g.bitsPerPixel <= 8 ? (index & mask) : mask;
    quint32 pixel = 0;
    memcpy(&pixel, pixels + at, std::size_t(bytes));
    if (xorDraw)
        pixel ^= value;
    else
        pixel = (pixel & ~mask) | value;
    memcpy(pixels + at, &pixel, std::size_t(bytes));
}
} // namespace

void Panel::drawCross(unsigned char *pixels, std::size_t length,
    const FramebufferGeometry &geometry, int x, int y, unsigned int colour)
{
    if (!pixels)
        return;
    for (int d = -CrossArm; d <= CrossArm; ++d)
        plot(pixels, length, geometry, x + d, y, colour);
    // The centre is on the horizontal bar already: touching it twice would XOR it away.
    for (int d = -CrossArm; d <= CrossArm; ++d)
        if (d != 0)
            plot(pixels, length, geometry, x, y + d, colour);
}
