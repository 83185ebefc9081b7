// The transport bar for screen readers.
#include "src/UI/UITransportAccessibleWin.h"

#include "src/UI/UITransportWin.h"

#include <QAccessibleWidget>

namespace {

/// One button. It lives as long as the interface of its bar.
class PartAccessible : public QAccessibleInterface, public QAccessibleActionInterface {
  public:
    PartAccessible(UITransportWin* transport, int part) : transport_(transport), part_(part) {}

    bool isValid() const override { return true; }
    QObject* object() const override { return nullptr; }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(transport_); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::Button; }
    QRect rect() const override
    {
        const QRect rect = transport_->partRect(part_);
        return {transport_->mapToGlobal(rect.topLeft()), rect.size()};
    }
    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? UITransportWin::partTitle(part_) : QString();
    }
    void setText(QAccessible::Text, const QString&) override {}
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invisible = !transport_->isVisible();
        return state;
    }
    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }

    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString& name) override
    {
        if (name == pressAction()) transport_->press(part_);
    }
    QStringList keyBindingsForAction(const QString&) const override
    {
        static const char* const keys[] = {"Home", "Left", "Space", "Right", "End"};
        return {QString::fromLatin1(keys[part_])};
    }

  private:
    UITransportWin* transport_;
    int part_;
};

class TransportAccessible : public QAccessibleWidget {
  public:
    explicit TransportAccessible(UITransportWin* transport)
        : QAccessibleWidget(transport, QAccessible::ToolBar), transport_(transport)
    {
        for (int part = 0; part < UITransportWin::kPartCount; ++part)
            ids_[part] = QAccessible::registerAccessibleInterface(new PartAccessible(transport, part));
    }
    ~TransportAccessible() override
    {
        for (const QAccessible::Id id : ids_) QAccessible::deleteAccessibleInterface(id);
    }

    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Value ? transport_->position() : QAccessibleWidget::text(kind);
    }
    int childCount() const override { return UITransportWin::kPartCount; }
    QAccessibleInterface* child(int index) const override
    {
        return index >= 0 && index < childCount() ? QAccessible::accessibleInterface(ids_[index]) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        for (int i = 0; i < childCount(); ++i)
            if (this->child(i) == child) return i;
        return -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        const QPoint point = transport_->mapFromGlobal(QPoint(x, y));
        for (int part = 0; part < childCount(); ++part)
            if (transport_->partRect(part).contains(point)) return child(part);
        return nullptr;
    }

  private:
    UITransportWin* transport_;
    QAccessible::Id ids_[UITransportWin::kPartCount];
};

QAccessibleInterface* Make(const QString&, QObject* object)
{
    auto* transport = dynamic_cast<UITransportWin*>(object);
    return transport ? new TransportAccessible(transport) : nullptr;
}

} // namespace

void UIInstallTransportAccessibility()
{
    QAccessible::installFactory(Make); // which takes a factory once
}

void UITransportMoved(UITransportWin* transport)
{
    if (!QAccessible::isActive()) return;
    QAccessibleEvent event(transport, QAccessible::ValueChanged);
    QAccessible::updateAccessibility(&event);
}
