// Draws the bench program's image resources (button faces, keyboard keys, DIP switch parts,
// logo) so that they can be regenerated from source instead of being kept as opaque files.
#ifndef ARTWORK_H
#define ARTWORK_H

#include <QImage>
#include <QString>

#include <vector>

namespace Artwork {

struct Image {
    QString fileName; // name under resources/img/ and :/img/
    QImage image;
};

// The DIP switch screen places the switches at fixed offsets inside the panel; the
// panel and switch sizes below are chosen for those offsets.
constexpr int SwitchWidth = 32;
constexpr int SwitchHeight = 72;
constexpr int PanelWidth = 18 + 4 * SwitchWidth + 3 * 19 + 18;
constexpr int PanelHeight = 37 + SwitchHeight + 16 + 16;

QImage plainButton(bool pressed);
QImage inputKey(bool pressed);
QImage inputLeft(bool pressed);
QImage inputRight(bool pressed);
QImage inputOk(bool pressed);
QImage inputLabel();
QImage inputPanelBackground();
QImage dipPanel();
QImage dipSwitch(bool on);
QImage dipOnIcon();
QImage logo();

// All resource images, with their file names.
std::vector<Image> all();

// A proof sheet: every image at its own size, and the images as the screens use them
// (stretched faces with text, a keyboard, the DIP switch screen, the logo on a form).
QImage contactSheet();

} // namespace Artwork

#endif // ARTWORK_H
