// How a control that is no slider of Qt's is announced: a role, a name, words for its value, and a number that an
// assistive tool may read and set.
#pragma once

#include <QAccessibleWidget>

class UIValueAccess : public QAccessibleWidget, public QAccessibleValueInterface {
  public:
    UIValueAccess(QWidget* widget, QAccessible::Role role) : QAccessibleWidget(widget, role) {}

    void* interface_cast(QAccessible::InterfaceType type) override;
    QString text(QAccessible::Text kind) const override;

  protected:
    virtual QString valueText() const = 0;
};

/// Tells assistive tools that the value changed: only if its words differ from those of the last time, which `announced`
/// keeps. True when it was told.
bool UIAnnounceValue(QWidget* widget, const QString& words, const QVariant& value, QString* announced);
