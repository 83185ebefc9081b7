// Widgets that paint pixel by pixel: their size, points and painter in device pixels, at whole and at fractional scales.
#pragma once

#include <QPainter>
#include <QWidget>

/// Where a widget lies among the device pixels of its window.
struct UIDeviceArea {
    QSize size;    ///< whole device pixels
    QPointF shift; ///< of the first of them from the widget's corner, in device pixels
    qreal ratio;

    QPoint pointAt(QPointF position) const; ///< of the widget, as events tell it
};
UIDeviceArea UIDeviceAreaOf(const QWidget* widget);

/// From now on the painter's coordinates are those device pixels.
void UIEnterDevicePixels(QPainter* painter, const UIDeviceArea& area);
