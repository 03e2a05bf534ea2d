// A proof sheet for judging the artwork by eye: the plain images, then the images the way
// the screens use them (border-image stretching, light text, the DIP switch layout).
#include "artwork.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>

namespace Artwork {

namespace {

const QColor SheetBackground(44, 46, 50);
const QColor CaptionColour(170, 176, 186);
const QColor ButtonText(215, 215, 215);
const QColor PressedText(255, 255, 255);

QFont sheetFont(int pixelSize, bool bold = false)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    return font;
}

// Point sizes of the style sheets at the usual 96 dpi.
int pointsToPixels(int points)
{
    return qRound(points * 96.0 / 72.0);
}

void caption(QPainter &p, int x, int y, const QString &text)
{
    p.setFont(sheetFont(12));
    p.setPen(CaptionColour);
    p.drawText(QPointF(x, y), text);
}

void heading(QPainter &p, int x, int y, const QString &text)
{
    p.setFont(sheetFont(16, true));
    p.setPen(QColor(235, 235, 235));
    p.drawText(QPointF(x, y), text);
}

// What a style sheet "border-image: url(...) 0 0 0 0 stretch stretch" does: the whole image
// scaled into the widget.
void stretched(QPainter &p, const QRect &rect, const QImage &image)
{
    p.drawImage(rect, image);
}

void faceWithText(QPainter &p, const QRect &rect, const QImage &image, const QString &text,
    const QFont &font, const QColor &colour)
{
    stretched(p, rect, image);
    p.setFont(font);
    p.setPen(colour);
    p.drawText(rect, Qt::AlignCenter, text);
}

// The keyboard's text field: white text, the cursor character black.
void labelWithCursor(
    QPainter &p, const QRect &rect, const QImage &image, const QString &text, int cursor)
{
    stretched(p, rect, image);
    const QFont font = sheetFont(pointsToPixels(28));
    const QFontMetricsF metrics(font);
    p.setFont(font);
    qreal x = rect.center().x() - metrics.horizontalAdvance(text) / 2.0;
    const qreal baseline = rect.center().y() + (metrics.ascent() - metrics.descent()) / 2.0;
    for (int i = 0; i < text.size(); ++i) {
        p.setPen(i == cursor ? QColor(0, 0, 0) : QColor(255, 255, 255));
        p.drawText(QPointF(x, baseline), QString(text.at(i)));
        x += metrics.horizontalAdvance(text.at(i));
    }
}

QImage named(const std::vector<Image> &images, const QString &name)
{
    for (const Image &item : images) {
        if (item.fileName == name)
            return item.image;
    }
    return QImage();
}

// Seven-inch keyboard: label on top, 3 x 3 digits, arrows around 0, OK across the bottom.
void sevenInchKeyboard(QPainter &p, const QPoint &origin, const std::vector<Image> &images)
{
    const QRect frame(origin, QSize(300, 400));
    stretched(p, frame, named(images, QStringLiteral("inputpanelBG.png")));
    labelWithCursor(p, QRect(origin + QPoint(12, 12), QSize(276, 56)),
        named(images, QStringLiteral("input-label.png")), QStringLiteral("2018/10/01"), 5);
    const QFont keyFont = sheetFont(pointsToPixels(24), true);
    const QSize key(86, 56);
    const int left = origin.x() + 15, top = origin.y() + 80;
    for (int row = 0; row < 3; ++row) {
        for (int col = 0; col < 3; ++col) {
            const QRect rect(QPoint(left + col * 92, top + row * 62), key);
            const bool pressed = row == 2 && col == 0;
            faceWithText(p, rect,
                named(images,
                    pressed ? QStringLiteral("inputBtn1.png") : QStringLiteral("inputBtn.png")),
                QString::number(row * 3 + col + 1), keyFont, pressed ? PressedText : ButtonText);
        }
    }
    stretched(
        p, QRect(QPoint(left, top + 186), key), named(images, QStringLiteral("input-left.png")));
    faceWithText(p, QRect(QPoint(left + 92, top + 186), key),
        named(images, QStringLiteral("inputBtn.png")), QStringLiteral("0"), keyFont, ButtonText);
    stretched(p, QRect(QPoint(left + 184, top + 186), key),
        named(images, QStringLiteral("input-right1.png")));
    stretched(p, QRect(QPoint(left, top + 248), QSize(270, 56)),
        named(images, QStringLiteral("input-ok.png")));
}

// Four-inch hexadecimal keyboard on a 480 x 272 screen: 4 x 4 keys, arrows and OK beside.
void fourInchHexKeyboard(QPainter &p, const QPoint &origin, const std::vector<Image> &images)
{
    p.fillRect(QRect(origin, QSize(480, 272)), Qt::black);
    const QRect panel(origin + QPoint(80, 16), QSize(300, 230));
    stretched(p, QRect(panel.topLeft(), panel.size() + QSize(20, 20)),
        named(images, QStringLiteral("inputpanelBG.png")));
    labelWithCursor(p, QRect(panel.topLeft() + QPoint(8, 8), QSize(284, 44)),
        named(images, QStringLiteral("input-label.png")), QStringLiteral("02:A7:3C"), 3);
    const QFont keyFont = sheetFont(pointsToPixels(24), true);
    const QString keys = QStringLiteral("1234567890ABCDEF");
    const QSize key(54, 40);
    for (int i = 0; i < keys.size(); ++i) {
        const QRect rect(panel.topLeft() + QPoint(8 + (i % 4) * 58, 58 + (i / 4) * 42), key);
        faceWithText(p, rect, named(images, QStringLiteral("inputBtn.png")), QString(keys.at(i)),
            keyFont, ButtonText);
    }
    const int column = panel.left() + 8 + 4 * 58;
    stretched(p, QRect(QPoint(column, panel.top() + 58), QSize(54, 52)),
        named(images, QStringLiteral("input-left.png")));
    stretched(p, QRect(QPoint(column, panel.top() + 114), QSize(54, 52)),
        named(images, QStringLiteral("input-ok1.png")));
    stretched(p, QRect(QPoint(column, panel.top() + 170), QSize(54, 52)),
        named(images, QStringLiteral("input-right.png")));
}

// The DIP switch screen's own placement rules, on a black screen of the given size.
void dipScreen(QPainter &p, const QPoint &origin, const QSize &screen, int value,
    const QString &hint, const std::vector<Image> &images)
{
    const QImage panel = named(images, QStringLiteral("dip_panel.png"));
    const QImage set = named(images, QStringLiteral("dipIcon0.png"));
    const QImage clear = named(images, QStringLiteral("dipIcon1.png"));
    const QImage on = named(images, QStringLiteral("dip_on_icon.png"));
    p.fillRect(QRect(origin, screen), Qt::black);
    const QPoint panelPos = origin
        + QPoint((screen.width() - panel.width()) / 2, (screen.height() - panel.height()) / 2);
    p.drawImage(panelPos, panel);
    QPoint sw[4];
    sw[0] = panelPos + QPoint(18, 37);
    for (int i = 1; i < 4; ++i)
        sw[i] = sw[i - 1] + QPoint(set.width() + 19, 0);
    const int bits[4] = { 0x1000, 0x100, 0x10, 0x1 };
    for (int i = 0; i < 4; ++i)
        p.drawImage(sw[i], (value & bits[i]) ? set : clear);
    p.drawImage(sw[3] + QPoint(-3, -32), on);
    const int baseline = sw[0].y() + set.height() + 16;
    const int labelX[4] = { sw[0].x() - 3, sw[0].x() + set.width() + 16,
        sw[1].x() + set.width() + 16, sw[3].x() - 3 };
    p.setFont(sheetFont(16));
    p.setPen(Qt::white);
    for (int i = 0; i < 4; ++i)
        p.drawText(QPoint(labelX[i], baseline), QStringLiteral("SW%1").arg(i + 1));
    const QRect hintRect(QPoint(origin.x(), panelPos.y() + panel.height()),
        QPoint(origin.x() + screen.width() - 1, panelPos.y() + panel.height() + 24));
    p.drawText(hintRect, Qt::AlignCenter, hint);
}

// The MAC address form (480 x 272, default light window colour) with the logo on top.
void macForm(QPainter &p, const QPoint &origin, const std::vector<Image> &images)
{
    const QRect form(origin, QSize(480, 272));
    p.fillRect(form, QColor(239, 239, 239));
    const QImage logo = named(images, QStringLiteral("quorvan.jpg"));
    const QRect logoArea(origin + QPoint(11, 11), QSize(458, 134));
    p.drawImage(
        logoArea.center() - QPoint(logo.width() / 2, logo.height() / 2) + QPoint(1, 1), logo);
    p.setPen(Qt::black);
    p.setFont(sheetFont(pointsToPixels(14), true));
    p.drawText(QRect(origin + QPoint(11, 151), QSize(458, 24)), Qt::AlignCenter,
        QStringLiteral("MAC address   "));
    p.setFont(sheetFont(pointsToPixels(20), true));
    p.drawText(QRect(origin + QPoint(11, 181), QSize(458, 34)), Qt::AlignCenter,
        QStringLiteral("02:A7:3C:00:00:01"));
    const QFont buttonFont = sheetFont(pointsToPixels(16));
    faceWithText(p, QRect(origin + QPoint(11, 221), QSize(226, 40)),
        named(images, QStringLiteral("plain button.png")), QStringLiteral("Retry"), buttonFont,
        ButtonText);
    faceWithText(p, QRect(origin + QPoint(243, 221), QSize(226, 40)),
        named(images, QStringLiteral("plain button.png")), QStringLiteral("OK"), buttonFont,
        ButtonText);
}

} // namespace

QImage contactSheet()
{
    const std::vector<Image> images = all();
    QImage sheet(1060, 1900, QImage::Format_ARGB32_Premultiplied);
    sheet.fill(SheetBackground);
    QPainter p(&sheet);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    p.setRenderHint(QPainter::SmoothPixmapTransform);

    heading(p, 20, 30, QStringLiteral("The 17 images at their own size"));
    int x = 20, y = 50, rowHeight = 0;
    for (const Image &item : images) {
        const int cellWidth = qMax(item.image.width(), 140) + 20;
        if (x + cellWidth > sheet.width()) {
            x = 20;
            y += rowHeight + 30;
            rowHeight = 0;
        }
        p.drawImage(x, y, item.image);
        caption(p, x, y + item.image.height() + 16,
            QStringLiteral("%1 %2x%3")
                .arg(item.fileName)
                .arg(item.image.width())
                .arg(item.image.height()));
        x += cellWidth;
        rowHeight = qMax(rowHeight, item.image.height());
    }
    y += rowHeight + 50;

    heading(p, 20, y, QStringLiteral("Buttons stretched, 16pt text (normal / pressed)"));
    y += 14;
    p.fillRect(QRect(10, y, 1040, 110), Qt::black);
    const QFont buttonFont = sheetFont(pointsToPixels(16));
    const QImage button = named(images, QStringLiteral("plain button.png"));
    const QImage buttonDown = named(images, QStringLiteral("plain button1.png"));
    x = 20;
    for (int width : { 224, 145, 100 }) {
        faceWithText(p, QRect(x, y + 10, width, 42), button, QStringLiteral("Continue"), buttonFont,
            ButtonText);
        faceWithText(p, QRect(x, y + 60, width, 42), buttonDown, QStringLiteral("Continue"),
            buttonFont, PressedText);
        x += width + 20;
    }
    faceWithText(
        p, QRect(x, y + 10, 224, 42), button, QStringLiteral("Start"), buttonFont, ButtonText);
    faceWithText(
        p, QRect(x, y + 60, 224, 42), button, QStringLiteral("Next"), buttonFont, ButtonText);
    y += 140;

    heading(p, 20, y, QStringLiteral("Keys stretched, digits 24pt bold (normal / pressed)"));
    y += 14;
    p.fillRect(QRect(10, y, 1040, 100), Qt::black);
    const QFont keyFont = sheetFont(pointsToPixels(24), true);
    x = 20;
    const QSize keySizes[] = { QSize(60, 60), QSize(80, 80), QSize(90, 64) };
    for (const QSize &size : keySizes) {
        faceWithText(p, QRect(QPoint(x, y + 10), size),
            named(images, QStringLiteral("inputBtn.png")), QStringLiteral("7"), keyFont,
            ButtonText);
        x += size.width() + 8;
        faceWithText(p, QRect(QPoint(x, y + 10), size),
            named(images, QStringLiteral("inputBtn1.png")), QStringLiteral("7"), keyFont,
            PressedText);
        x += size.width() + 20;
    }
    for (const char *name : { "input-left.png", "input-left1.png", "input-right.png",
             "input-right1.png", "input-ok.png", "input-ok1.png" }) {
        stretched(p, QRect(x, y + 10, 64, 64), named(images, QString::fromLatin1(name)));
        x += 72;
    }
    y += 130;

    heading(p, 20, y, QStringLiteral("Keyboards (7-inch panel; 4-inch hex on 480x272)"));
    heading(p, 560, y, QStringLiteral("DIP switch screen, 480x272"));
    y += 14;
    p.fillRect(QRect(10, y, 320, 420), Qt::black);
    sevenInchKeyboard(p, QPoint(20, y + 10), images);
    fourInchHexKeyboard(p, QPoint(340 - 280, y + 430 + 20), images);
    dipScreen(p, QPoint(560, y), QSize(480, 272), 0x1010, QStringLiteral("Set all dip switches ON"),
        images);
    y += 290;
    heading(p, 560, y + 10, QStringLiteral("MAC address form with the logo"));
    macForm(p, QPoint(560, y + 24), images);
    return sheet;
}

} // namespace Artwork
