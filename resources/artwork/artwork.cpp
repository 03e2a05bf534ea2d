// The resource images, drawn with QPainter. Faces are stretched by style sheet border-images
// ("0 0 0 0 stretch stretch"), so they are drawn at about the size the screens show them, to
// keep rounded corners and bevels from distorting much.
#include "artwork.h"

#include <QFont>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>
#include <QRadialGradient>

namespace Artwork {

namespace {

const QColor LightText(215, 215, 215);
const QColor PressedText(255, 255, 255);

QImage blank(int width, int height, const QColor &fill = Qt::transparent)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(fill);
    return image;
}

QFont dejaVu(int pixelSize, bool bold)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

QPainterPath roundedPath(const QRectF &rect, qreal radius)
{
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

// A raised face (light falling from above) or, pressed, the same face pushed in: darker,
// shaded from the top edge, lit at the bottom edge.
void drawFace(QPainter &p, const QRectF &rect, qreal radius, const QColor &top,
    const QColor &bottom, bool pressed)
{
    p.save();
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(6, 7, 9));
    p.drawPath(roundedPath(rect, radius));

    const QRectF body = rect.adjusted(1.5, 1.5, -1.5, -1.5);
    const QPainterPath bodyPath = roundedPath(body, radius - 1.5);
    QLinearGradient fill(body.topLeft(), body.bottomLeft());
    fill.setColorAt(0, top);
    fill.setColorAt(1, bottom);
    p.setBrush(fill);
    p.drawPath(bodyPath);

    p.setClipPath(bodyPath);
    if (pressed) {
        QLinearGradient shade(body.topLeft(), body.topLeft() + QPointF(0, body.height() * 0.45));
        shade.setColorAt(0, QColor(0, 0, 0, 150));
        shade.setColorAt(1, QColor(0, 0, 0, 0));
        p.setBrush(shade);
        p.drawRect(body);
    } else {
        const QRectF gloss(
            body.left() + 2, body.top() + 1.5, body.width() - 4, body.height() * 0.48);
        QLinearGradient shine(gloss.topLeft(), gloss.bottomLeft());
        shine.setColorAt(0, QColor(255, 255, 255, 60));
        shine.setColorAt(1, QColor(255, 255, 255, 10));
        p.setBrush(shine);
        p.drawPath(roundedPath(gloss, radius - 3));
    }
    p.setClipping(false);

    QLinearGradient edge(body.topLeft(), body.bottomLeft());
    if (pressed) {
        edge.setColorAt(0, QColor(0, 0, 0, 200));
        edge.setColorAt(0.5, QColor(0, 0, 0, 0));
        edge.setColorAt(1, QColor(255, 255, 255, 45));
    } else {
        edge.setColorAt(0, QColor(255, 255, 255, 130));
        edge.setColorAt(0.45, QColor(255, 255, 255, 20));
        edge.setColorAt(0.55, QColor(0, 0, 0, 20));
        edge.setColorAt(1, QColor(0, 0, 0, 150));
    }
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(QBrush(edge), 1.5));
    p.drawPath(roundedPath(body.adjusted(0.75, 0.75, -0.75, -0.75), radius - 2.25));
    p.restore();
}

// Neutral slate faces for buttons and keys; the OK key is green so it stands out.
void drawSlateFace(QPainter &p, const QRectF &rect, qreal radius, bool pressed)
{
    if (pressed)
        drawFace(p, rect, radius, QColor(26, 29, 35), QColor(40, 44, 52), true);
    else
        drawFace(p, rect, radius, QColor(92, 100, 114), QColor(38, 42, 51), false);
}

// A glyph of a key face: light grey, white and one pixel lower while pressed, with a
// soft drop shadow so it reads as printed on the face.
void drawGlyph(QPainter &p, const QPainterPath &glyph, bool pressed)
{
    p.save();
    p.setPen(Qt::NoPen);
    const QPointF shift = pressed ? QPointF(0, 1) : QPointF(0, 0);
    p.setBrush(QColor(0, 0, 0, 130));
    p.drawPath(glyph.translated(shift + QPointF(0, 1.5)));
    p.setBrush(pressed ? PressedText : LightText);
    p.drawPath(glyph.translated(shift));
    p.restore();
}

QPainterPath arrowPath(const QRectF &box, bool pointsLeft)
{
    // Shaft and head, pointing right; mirrored for a left arrow.
    const qreal w = box.width(), h = box.height();
    QPolygonF poly;
    poly << QPointF(0.00, 0.40) << QPointF(0.52, 0.40) << QPointF(0.52, 0.16) << QPointF(1.00, 0.50)
         << QPointF(0.52, 0.84) << QPointF(0.52, 0.60) << QPointF(0.00, 0.60);
    QPolygonF placed;
    for (const QPointF &pt : poly) {
        const qreal x = pointsLeft ? 1.0 - pt.x() : pt.x();
        placed << QPointF(box.left() + x * w, box.top() + pt.y() * h);
    }
    QPainterPath path;
    path.addPolygon(placed);
    path.closeSubpath();
    return path;
}

QImage arrowKey(bool pressed, bool pointsLeft)
{
    QImage image = blank(80, 80);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    drawSlateFace(p, QRectF(0, 0, 80, 80), 10, pressed);
    drawGlyph(p, arrowPath(QRectF(20, 22, 40, 36), pointsLeft), pressed);
    return image;
}

void drawCentredText(
    QPainter &p, const QRectF &rect, const QString &text, const QFont &font, const QColor &colour)
{
    p.setFont(font);
    p.setPen(colour);
    p.drawText(rect, Qt::AlignCenter, text);
}

} // namespace

QImage plainButton(bool pressed)
{
    QImage image = blank(224, 42);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    drawSlateFace(p, QRectF(0, 0, 224, 42), 8, pressed);
    return image;
}

QImage inputKey(bool pressed)
{
    QImage image = blank(80, 80);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    drawSlateFace(p, QRectF(0, 0, 80, 80), 10, pressed);
    return image;
}

QImage inputLeft(bool pressed)
{
    return arrowKey(pressed, true);
}

QImage inputRight(bool pressed)
{
    return arrowKey(pressed, false);
}

QImage inputOk(bool pressed)
{
    // Wider than a digit key: the OK key spans a whole row on the large keyboard and sits
    // in a narrow column on the small ones; a shape between the two distorts least.
    QImage image = blank(140, 64);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    if (pressed)
        drawFace(p, QRectF(0, 0, 140, 64), 10, QColor(14, 44, 24), QColor(24, 62, 36), true);
    else
        drawFace(p, QRectF(0, 0, 140, 64), 10, QColor(74, 160, 96), QColor(26, 90, 46), false);
    QPainterPath glyph;
    glyph.addText(0, 0, dejaVu(34, true), QStringLiteral("OK"));
    const QRectF bounds = glyph.boundingRect();
    glyph.translate(70 - bounds.center().x(), 32 - bounds.center().y());
    drawGlyph(p, glyph, pressed);
    return image;
}

QImage inputLabel()
{
    // The field shows white text with the cursor character in black, so it is a middle
    // tone on which both read, sunk into the panel.
    QImage image = blank(280, 56);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF rect(0, 0, 280, 56);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(8, 10, 14));
    p.drawPath(roundedPath(rect, 8));
    const QRectF body = rect.adjusted(2, 2, -2, -2);
    const QPainterPath bodyPath = roundedPath(body, 6.5);
    QLinearGradient fill(body.topLeft(), body.bottomLeft());
    fill.setColorAt(0, QColor(104, 124, 150));
    fill.setColorAt(1, QColor(126, 146, 172));
    p.setBrush(fill);
    p.drawPath(bodyPath);
    p.setClipPath(bodyPath);
    QLinearGradient shade(body.topLeft(), body.topLeft() + QPointF(0, 12));
    shade.setColorAt(0, QColor(0, 0, 0, 120));
    shade.setColorAt(1, QColor(0, 0, 0, 0));
    p.setBrush(shade);
    p.drawRect(body);
    p.setClipping(false);
    QLinearGradient edge(body.topLeft(), body.bottomLeft());
    edge.setColorAt(0, QColor(0, 0, 0, 160));
    edge.setColorAt(0.6, QColor(0, 0, 0, 0));
    edge.setColorAt(1, QColor(255, 255, 255, 90));
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(QBrush(edge), 1.5));
    p.drawPath(roundedPath(body.adjusted(0.75, 0.75, -0.75, -0.75), 5.75));
    return image;
}

QImage inputPanelBackground()
{
    QImage image = blank(300, 400);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF rect(0, 0, 300, 400);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(120, 132, 150));
    p.drawPath(roundedPath(rect, 14));
    const QRectF body = rect.adjusted(2, 2, -2, -2);
    QLinearGradient fill(body.topLeft(), body.bottomLeft());
    fill.setColorAt(0, QColor(54, 60, 72));
    fill.setColorAt(1, QColor(22, 25, 31));
    p.setBrush(fill);
    p.drawPath(roundedPath(body, 12));
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(QColor(0, 0, 0, 170), 1.5));
    p.drawPath(roundedPath(body.adjusted(1.5, 1.5, -1.5, -1.5), 10.5));
    return image;
}

QImage dipPanel()
{
    QImage image = blank(PanelWidth, PanelHeight);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    drawFace(p, QRectF(0, 0, PanelWidth, PanelHeight), 6, QColor(40, 84, 170), QColor(18, 44, 104),
        false);

    for (int i = 0; i < 4; ++i) {
        const qreal x = 18 + i * (SwitchWidth + 19);
        const QRectF bezel(x - 3, 37 - 3, SwitchWidth + 6, SwitchHeight + 6);
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(8, 18, 44));
        p.drawRoundedRect(bezel, 4, 4);
        p.setPen(QPen(QColor(255, 255, 255, 60), 1));
        p.drawLine(bezel.bottomLeft() + QPointF(3, 0.5), bezel.bottomRight() + QPointF(-3, 0.5));

        p.setPen(QColor(206, 218, 240));
        p.setFont(dejaVu(10, true));
        p.drawText(QRectF(x, 21, SwitchWidth, 12), Qt::AlignCenter, QString::number(i + 1));
    }
    return image;
}

QImage dipSwitch(bool on)
{
    QImage image = blank(SwitchWidth, SwitchHeight);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF well(0, 0, SwitchWidth, SwitchHeight);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(10, 11, 14));
    p.drawRoundedRect(well, 3, 3);
    QLinearGradient wellShade(well.topLeft(), well.topRight());
    wellShade.setColorAt(0, QColor(30, 32, 38));
    wellShade.setColorAt(0.5, QColor(16, 17, 21));
    wellShade.setColorAt(1, QColor(30, 32, 38));
    p.setBrush(wellShade);
    p.drawRoundedRect(well.adjusted(2, 2, -2, -2), 2, 2);

    const qreal knobHeight = 32;
    const QRectF knob(4, on ? 4 : SwitchHeight - 4 - knobHeight, SwitchWidth - 8, knobHeight);
    // The knob's shadow falls on the free part of the slot.
    p.setBrush(QColor(0, 0, 0, 140));
    p.drawRoundedRect(knob.translated(0, on ? 3 : -3), 2, 2);
    QLinearGradient knobFill(knob.topLeft(), knob.bottomLeft());
    knobFill.setColorAt(0, QColor(252, 252, 248));
    knobFill.setColorAt(1, QColor(196, 198, 200));
    p.setBrush(knobFill);
    p.drawRoundedRect(knob, 2, 2);
    p.setPen(QPen(QColor(140, 142, 148), 1));
    for (int i = 0; i < 4; ++i) {
        const qreal y = knob.top() + 9.5 + i * 4;
        p.drawLine(QPointF(knob.left() + 5, y), QPointF(knob.right() - 5, y));
    }
    return image;
}

QImage dipOnIcon()
{
    // "ON" with an arrow pointing the way a switch moves to turn on.
    QImage image = blank(40, 15);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(255, 255, 255));
    QPolygonF arrow;
    arrow << QPointF(2, 12) << QPointF(7.5, 2) << QPointF(13, 12);
    p.drawPolygon(arrow);
    drawCentredText(
        p, QRectF(14, 0, 26, 15), QStringLiteral("ON"), dejaVu(12, true), QColor(255, 255, 255));
    return image;
}

QImage logo()
{
    QImage image = blank(300, 90, Qt::white);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    const QColor blue(22, 58, 132);
    const QColor orange(236, 132, 28);

    // Emblem: a ring with a tail, the Q of the name.
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(blue, 8, Qt::SolidLine, Qt::RoundCap));
    p.drawEllipse(QPointF(44, 45), 24, 24);
    p.setPen(QPen(orange, 8, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(56, 57), QPointF(70, 71));

    QFont font = dejaVu(34, true);
    font.setLetterSpacing(QFont::AbsoluteSpacing, 2);
    p.setFont(font);
    p.setPen(blue);
    p.drawText(
        QRectF(84, 18, 212, 44), Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("QUORVAN"));
    p.setPen(Qt::NoPen);
    p.setBrush(orange);
    p.drawRect(QRectF(86, 64, 206, 3));
    return image;
}

std::vector<Image> all()
{
    return {
        { QStringLiteral("plain button.png"), plainButton(false) },
        { QStringLiteral("plain button1.png"), plainButton(true) },
        { QStringLiteral("inputBtn.png"), inputKey(false) },
        { QStringLiteral("inputBtn1.png"), inputKey(true) },
        { QStringLiteral("input-left.png"), inputLeft(false) },
        { QStringLiteral("input-left1.png"), inputLeft(true) },
        { QStringLiteral("input-right.png"), inputRight(false) },
        { QStringLiteral("input-right1.png"), inputRight(true) },
        { QStringLiteral("input-ok.png"), inputOk(false) },
        { QStringLiteral("input-ok1.png"), inputOk(true) },
        { QStringLiteral("input-label.png"), inputLabel() },
        { QStringLiteral("inputpanelBG.png"), inputPanelBackground() },
        { QStringLiteral("dip_panel.png"), dipPanel() },
        // The DIP screen draws dipIcon0 for a set bit, which is a switch turned ON.
        { QStringLiteral("dipIcon0.png"), dipSwitch(true) },
        { QStringLiteral("dipIcon1.png"), dipSwitch(false) },
        { QStringLiteral("dip_on_icon.png"), dipOnIcon() },
        { QStringLiteral("quorvan.jpg"), logo() },
    };
}

} // namespace Artwork
