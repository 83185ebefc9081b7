// Keys and accessibility of a handle.
#include "src/UI/UIHandleWin.h"

#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/UI/UIValueAccessWin.h"

#include <QKeyEvent>

namespace {

class HandleAccessible : public UIValueAccess {
  public:
    explicit HandleAccessible(UIHandleWin* handle) : UIValueAccess(handle, QAccessible::Slider), handle_(handle) {}

    QString valueText() const override { return handle_->owner()->handleText(handle_->index()); }
    QVariant currentValue() const override { return handle_->owner()->handleValue(handle_->index()); }
    void setCurrentValue(const QVariant& value) override
    {
        handle_->owner()->setHandleValue(handle_->index(), value.toDouble());
    }
    QVariant minimumValue() const override { return 0.0; }
    QVariant maximumValue() const override { return 1.0; }
    QVariant minimumStepSize() const override { return 1.0 / 1024; }

  private:
    UIHandleWin* handle_;
};

QAccessibleInterface* MakeAccessible(const QString&, QObject* object)
{
    auto* handle = dynamic_cast<UIHandleWin*>(object);
    return handle ? new HandleAccessible(handle) : nullptr;
}

} // namespace

QColor UIFocusColor(bool onPlot)
{
    const UIShades& shades = UIShadesNow();
    const bool isDark = onPlot || shades.text.lightness() > shades.window.lightness();
    return isDark ? shades.accent.lighter(140) : shades.accent.darker(140);
}

UIHandleWin::UIHandleWin(UIHandleOwner* owner, int index, const QString& name, const QString& objectName,
                         QWidget* parent)
    : QWidget(parent), owner_(owner), index_(index)
{
    static const bool installed = (QAccessible::installFactory(MakeAccessible), true); // main thread
    (void)installed;
    setObjectName(objectName);
    setAccessibleName(name);
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setProperty(kUITakesArrows, true);
}

void UIHandleWin::showValue()
{
    const QString words = owner_->handleText(index_);
    setAccessibleDescription(words);
    (void)UIAnnounceValue(this, words, owner_->handleValue(index_), &announced_);
}

void UIHandleWin::keyPressEvent(QKeyEvent* event)
{
    const bool fine = event->modifiers() & Qt::ShiftModifier;
    if (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) {
        QWidget::keyPressEvent(event);
        return;
    }
    switch (event->key()) {
    case Qt::Key_Left: owner_->nudgeHandle(index_, -1, 0, fine); return;
    case Qt::Key_Right: owner_->nudgeHandle(index_, 1, 0, fine); return;
    case Qt::Key_Up: owner_->nudgeHandle(index_, 0, 1, fine); return;
    case Qt::Key_Down: owner_->nudgeHandle(index_, 0, -1, fine); return;
    case Qt::Key_Home: owner_->setHandleValue(index_, 0); return;
    case Qt::Key_End: owner_->setHandleValue(index_, 1); return;
    case Qt::Key_Return:
    case Qt::Key_Enter: owner_->editHandle(index_); return;
    default: QWidget::keyPressEvent(event);
    }
}

void UIHandleWin::keyReleaseEvent(QKeyEvent* event)
{
    if (!event->isAutoRepeat()) owner_->settleHandles();
    QWidget::keyReleaseEvent(event);
}

void UIHandleWin::focusInEvent(QFocusEvent*)
{
    owner_->handlesChanged();
}

void UIHandleWin::focusOutEvent(QFocusEvent*)
{
    owner_->settleHandles();
    owner_->handlesChanged();
}
