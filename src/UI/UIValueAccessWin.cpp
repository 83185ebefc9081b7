// Values for assistive tools.
#include "src/UI/UIValueAccessWin.h"

#include <QWidget>

void* UIValueAccess::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
}

QString UIValueAccess::text(QAccessible::Text kind) const
{
    return kind == QAccessible::Value ? valueText() : QAccessibleWidget::text(kind);
}

bool UIAnnounceValue(QWidget* widget, const QString& words, const QVariant& value, QString* announced)
{
    if (*announced == words) return false;
    *announced = words;
    QAccessibleValueChangeEvent event(widget, value);
    QAccessible::updateAccessibility(&event);
    return true;
}
