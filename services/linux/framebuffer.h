// The panel's frame buffer: its geometry (FBIOGET_VSCREENINFO) for the model, pixel size and
// orientation, and its memory for the calibration's cross-hairs.
#pragma once

#include <QString>

#include <cstddef>

class BoardConfig;

struct FramebufferGeometry {
    int width = 0;
    int height = 0;
    int bitsPerPixel = 0;
    // The kernel's rotation: 0 upright, otherwise turned.
    int rotate = 0;
    // Bytes from one line to the next.
    int lineLength = 0;
};

class FramebufferDevice {
public:
    virtual ~FramebufferDevice() = default;
    // False when the device cannot be asked (problem() says why).
    virtual bool geometry(FramebufferGeometry *geometry) = 0;
    // The pixels, lineLength * height bytes at least; nullptr when they cannot be mapped.
    virtual unsigned char *pixels(std::size_t *length) = 0;
    virtual QString problem() const = 0;
};

// /dev/fbN through its ioctls and a shared mapping, opened on first use and kept.
class KernelFramebuffer : public FramebufferDevice {
public:
    explicit KernelFramebuffer(const QString &path);
    ~KernelFramebuffer() override;
    KernelFramebuffer(const KernelFramebuffer &) = delete;
    KernelFramebuffer &operator=(const KernelFramebuffer &) = delete;

    bool geometry(FramebufferGeometry *geometry) override;
    unsigned char *pixels(std::size_t *length) override;
    QString problem() const override { return m_problem; }

private:
    bool open();

    QString m_path;
    int m_fd = -1;
    unsigned char *m_map = nullptr;
    std::size_t m_mapLength = 0;
    QString m_problem;
};

// What the program is told about its panel.
struct PanelInfo {
    int model = 7;
    int width = 800;
    int height = 480;
    int orientation = 0;
};

namespace Panel {
// The configuration's model and orientation where it gives them, the frame buffer for the
// rest; without a frame buffer the simulator's defaults (model 7, 800x480, upright). A small
// 480x272 panel is model 4.
PanelInfo describe(const BoardConfig &config, FramebufferDevice *framebuffer);

// Draws a cross-hair of CrossArm pixels each way centred on (x, y), clipped to the screen.
// A colour with the top bit set is XOR-drawn (drawing it again erases it): palette index on
// an 8-bit screen, every colour bit flipped on a deeper one; otherwise the pixels are set to
// the palette index (8 bit) or white.
constexpr int CrossArm = 10;
void drawCross(unsigned char *pixels, std::size_t length, const FramebufferGeometry &geometry,
    int x, int y, unsigned int colour);
} // namespace Panel
