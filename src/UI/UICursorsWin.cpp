// Artwork of the cursors: dark strokes on a light edge, so that they are seen on any picture.
#include "src/UI/UICursorsWin.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <cmath>

namespace {

constexpr int kSide = 24; // of a cursor, before the screen's scale
constexpr int kPlus = 1, kMinus = 2;

void Stroke(QPainter* painter, const QPainterPath& path, const QColor& fill)
{
    painter->setPen(QPen(Qt::white, 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->setBrush(Qt::NoBrush);
    painter->drawPath(path);
    painter->setPen(QPen(Qt::black, 1.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->setBrush(fill);
    painter->drawPath(path);
}

/// A pipette with its tip at the lower left.
void DrawEyedropper(QPainter* painter)
{
    painter->save();
    painter->translate(2.5, 21.5);
    painter->rotate(-45);
    QPainterPath glass; // along the x axis, from the tip
    glass.moveTo(0, 0);
    glass.lineTo(3, -1.6);
    glass.lineTo(13, -1.6);
    glass.lineTo(13, 1.6);
    glass.lineTo(3, 1.6);
    glass.closeSubpath();
    Stroke(painter, glass, Qt::white);
    QPainterPath collar;
    collar.addRect(QRectF(13, -3.6, 2.6, 7.2));
    Stroke(painter, collar, Qt::black);
    QPainterPath bulb;
    bulb.addRoundedRect(QRectF(15.6, -2.6, 7, 5.2), 2.4, 2.4);
    Stroke(painter, bulb, Qt::black);
    painter->restore();
}

/// A plus or a minus about a point.
void DrawSign(QPainter* painter, QPointF middle, qreal half, int sign)
{
    QPainterPath path;
    path.moveTo(middle - QPointF(half, 0));
    path.lineTo(middle + QPointF(half, 0));
    if (sign == kPlus) {
        path.moveTo(middle - QPointF(0, half));
        path.lineTo(middle + QPointF(0, half));
    }
    Stroke(painter, path, Qt::transparent);
}

/// A field of the colour that the pick makes of the picture.
void DrawField(QPainter* painter, const QColor& color)
{
    QPainterPath field;
    field.addRect(QRectF(14.5, 15.5, 7, 7));
    Stroke(painter, field, color);
}

/// Four arrows about a point.
void DrawMove(QPainter* painter)
{
    QPainterPath arrows;
    for (int i = 0; i < 4; ++i) {
        QTransform turn;
        turn.translate(11.5, 11.5);
        turn.rotate(90 * i);
        QPainterPath arrow;
        arrow.moveTo(0, -4.5);
        arrow.lineTo(0, -9);
        arrow.moveTo(-2.6, -7);
        arrow.lineTo(0, -9.6);
        arrow.lineTo(2.6, -7);
        arrows.addPath(turn.map(arrow));
    }
    Stroke(painter, arrows, Qt::transparent);
    QPainterPath point;
    point.addRect(QRectF(9.5, 9.5, 4, 4));
    Stroke(painter, point, Qt::white);
}

/// A cross with a small plus beside it.
void DrawAdd(QPainter* painter)
{
    QPainterPath cross;
    for (const double side : {-1.0, 1.0}) {
        cross.moveTo(11.5 + side * 2.5, 11.5);
        cross.lineTo(11.5 + side * 8, 11.5);
        cross.moveTo(11.5, 11.5 + side * 2.5);
        cross.lineTo(11.5, 11.5 + side * 8);
    }
    Stroke(painter, cross, Qt::transparent);
    QPainterPath plus;
    plus.moveTo(17, 18.5);
    plus.lineTo(22, 18.5);
    plus.moveTo(19.5, 16);
    plus.lineTo(19.5, 21);
    Stroke(painter, plus, Qt::transparent);
}

template <class Draw> QCursor Drawn(qreal ratio, int hotX, int hotY, Draw draw)
{
    const int pixels = static_cast<int>(std::ceil(kSide * ratio));
    QPixmap picture(pixels, pixels);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(&painter);
    painter.end();
    return QCursor(picture, hotX, hotY);
}

QCursor Eyedropper(qreal ratio, const QColor& field, int signs = 0)
{
    return Drawn(ratio, 2, 21, [&](QPainter* painter) {
        DrawEyedropper(painter);
        if (field.isValid()) DrawField(painter, field);
        if (signs & kPlus) DrawSign(painter, {14.5, 19.5}, 2.5, kPlus);
        if (signs & kMinus) DrawSign(painter, {20.5, 19.5}, 2.5, kMinus);
    });
}

/// A magnifier with a sign in its glass.
void DrawMagnifier(QPainter* painter, int sign)
{
    QPainterPath grip;
    grip.moveTo(14, 14);
    grip.lineTo(20.5, 20.5);
    Stroke(painter, grip, Qt::transparent);
    QPainterPath glass;
    glass.addEllipse(QPointF(9, 9), 6.5, 6.5);
    Stroke(painter, glass, QColor(255, 255, 255, 150));
    if (sign != 0) DrawSign(painter, {9, 9}, 3.2, sign);
}

/// Arrows to both sides, up and down, or all four: the ways that a handle can go.
void DrawArrows(QPainter* painter, bool across, bool down)
{
    QPainterPath arrows;
    for (int i = 0; i < 4; ++i) {
        if (!(i % 2 == 0 ? down : across)) continue;
        QTransform turn;
        turn.translate(12, 12);
        turn.rotate(90 * i);
        QPainterPath arrow;
        arrow.moveTo(0, 0);
        arrow.lineTo(0, -9);
        arrow.moveTo(-3, -6.6);
        arrow.lineTo(0, -9.6);
        arrow.lineTo(3, -6.6);
        arrows.addPath(turn.map(arrow));
    }
    Stroke(painter, arrows, Qt::transparent);
}

} // namespace

QCursor UICursorOf(uint32_t resource, qreal devicePixelRatio)
{
    const qreal ratio = devicePixelRatio > 0 ? devicePixelRatio : 1;
    switch (resource) {
    case 500: return Eyedropper(ratio, QColor());
    case 513: return Eyedropper(ratio, QColor(), kPlus);
    case 514: return Eyedropper(ratio, QColor(), kMinus);
    case 515: return Eyedropper(ratio, QColor(), kPlus | kMinus);
    case 501: return Eyedropper(ratio, Qt::black);
    case 502: return Eyedropper(ratio, QColor(128, 128, 128));
    case 503: return Eyedropper(ratio, Qt::white);
    case 504: return Drawn(ratio, 11, 11, DrawMove);
    case 505: return Drawn(ratio, 11, 11, DrawAdd);
    case 506: return Drawn(ratio, 12, 12, [](QPainter* painter) { DrawArrows(painter, true, false); });
    case 507: return Drawn(ratio, 12, 12, [](QPainter* painter) { DrawArrows(painter, false, true); });
    case 508: return Drawn(ratio, 12, 12, [](QPainter* painter) { DrawArrows(painter, true, true); });
    case 509: return Drawn(ratio, 9, 9, [](QPainter* painter) { DrawMagnifier(painter, kPlus); });
    case 510: return Drawn(ratio, 9, 9, [](QPainter* painter) { DrawMagnifier(painter, kMinus); });
    case 511: return Drawn(ratio, 9, 9, [](QPainter* painter) { DrawMagnifier(painter, 0); });
    default: return Qt::ArrowCursor;
    }
}
