// Rows of tabs for screen readers.
#include "src/UI/UIHorizTabAccessibleWin.h"

#include "src/UI/UIHorizTabWin.h"

#include <QAccessibleWidget>

namespace {

/// One tab. It lives as long as the interface of its row.
class TabAccessible : public QAccessibleInterface, public QAccessibleActionInterface {
  public:
    TabAccessible(UIHorizTabWin* tabs, int index) : tabs_(tabs), index_(index) {}

    bool isValid() const override { return true; }
    QObject* object() const override { return nullptr; }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(tabs_); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::PageTab; }
    QRect rect() const override
    {
        const QRect rect = tabs_->tabRect(index_);
        return {tabs_->mapToGlobal(rect.topLeft()), rect.size()};
    }
    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? tabs_->tabLabel(index_) : QString();
    }
    void setText(QAccessible::Text, const QString&) override {}
    QAccessible::State state() const override
    {
        QAccessible::State state;
        const bool isCurrent = tabs_->current() == index_;
        state.selectable = true;
        state.selected = isCurrent;
        state.focusable = true;
        state.focused = isCurrent && tabs_->hasFocus();
        state.checkable = tabs_->hasSwitch(index_);
        state.checked = tabs_->isOn(index_);
        state.invisible = !tabs_->isVisible();
        return state;
    }
    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }

    QStringList actionNames() const override
    {
        QStringList names = {pressAction()};
        if (tabs_->hasSwitch(index_)) names += toggleAction();
        return names;
    }
    void doAction(const QString& name) override
    {
        if (name == pressAction()) SelectTab(tabs_, index_);
        if (name == toggleAction()) tabs_->toggle(index_);
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

  private:
    UIHorizTabWin* tabs_;
    int index_;
};

class TabsAccessible : public QAccessibleWidget {
  public:
    explicit TabsAccessible(UIHorizTabWin* tabs) : QAccessibleWidget(tabs, QAccessible::PageTabList), tabs_(tabs)
    {
        for (int i = 0; i < tabs->tabCount(); ++i)
            ids_.push_back(QAccessible::registerAccessibleInterface(new TabAccessible(tabs, i)));
    }
    ~TabsAccessible() override
    {
        for (const QAccessible::Id id : ids_) QAccessible::deleteAccessibleInterface(id);
    }

    int childCount() const override { return static_cast<int>(ids_.size()); }
    QAccessibleInterface* child(int index) const override
    {
        if (index < 0 || index >= childCount()) return nullptr;
        return QAccessible::accessibleInterface(ids_[static_cast<size_t>(index)]);
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        for (int i = 0; i < childCount(); ++i)
            if (this->child(i) == child) return i;
        return -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        return child(tabs_->tabAt(tabs_->mapFromGlobal(QPoint(x, y))));
    }
    QAccessibleInterface* focusChild() const override { return tabs_->hasFocus() ? child(tabs_->current()) : nullptr; }

  private:
    UIHorizTabWin* tabs_;
    std::vector<QAccessible::Id> ids_;
};

QAccessibleInterface* Make(const QString&, QObject* object)
{
    auto* tabs = dynamic_cast<UIHorizTabWin*>(object);
    return tabs ? new TabsAccessible(tabs) : nullptr;
}

} // namespace

void UIInstallTabAccessibility()
{
    QAccessible::installFactory(Make); // which takes a factory once
}

void UITabWasSelected(UIHorizTabWin* tabs, int index)
{
    if (!QAccessible::isActive()) return;
    QAccessibleEvent event(tabs, QAccessible::Selection);
    event.setChild(index);
    QAccessible::updateAccessibility(&event);
}

void UITabSwitchChanged(UIHorizTabWin* tabs, int index)
{
    if (!QAccessible::isActive()) return;
    QAccessible::State changed;
    changed.checked = true;
    QAccessibleStateChangeEvent event(tabs, changed);
    event.setChild(index);
    QAccessible::updateAccessibility(&event);
}
