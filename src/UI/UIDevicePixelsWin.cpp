// Device pixels of widgets.
#include "src/UI/UIDevicePixelsWin.h"

#include <cmath>

UIDeviceArea UIDeviceAreaOf(const QWidget* widget)
{
    const qreal ratio = widget->devicePixelRatioF();
    const QPointF corner = QPointF(widget->mapTo(widget->window(), QPoint(0, 0))) * ratio;
    const QPointF end = corner + QPointF(widget->width(), widget->height()) * ratio;
    const QPoint first(qRound(corner.x()), qRound(corner.y()));
    return {.size = QSize(qMax(0, qRound(end.x()) - first.x()), qMax(0, qRound(end.y()) - first.y())),
            .shift = QPointF(first) - corner,
            .ratio = ratio};
}

QPoint UIDeviceArea::pointAt(QPointF position) const
{
    return QPoint(static_cast<int>(std::floor(position.x() * ratio - shift.x())),
                  static_cast<int>(std::floor(position.y() * ratio - shift.y())));
}

void UIEnterDevicePixels(QPainter* painter, const UIDeviceArea& area)
{
    painter->scale(1 / area.ratio, 1 / area.ratio);
    painter->translate(area.shift);
}
