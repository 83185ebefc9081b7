// Sliders for assistive tools.
#include "src/UI/UISliderAccessWin.h"

#include "src/UI/UISliderWin.h"

#include <QAccessibleWidget>

namespace {

class SliderAccess : public QAccessibleWidget, public QAccessibleValueInterface {
  public:
    explicit SliderAccess(UISliderWin* window) : QAccessibleWidget(window, QAccessible::Slider), window_(window) {}

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text kind) const override
    {
        if (kind == QAccessible::Value) return QString::fromLatin1(slider().valueText);
        return QAccessibleWidget::text(kind);
    }
    QVariant currentValue() const override { return GetSliderValue(slider()); }
    QVariant minimumValue() const override { return TKEngineeringUnits(slider(), slider().trackMin); }
    QVariant maximumValue() const override { return TKEngineeringUnits(slider(), slider().trackMax); }
    QVariant minimumStepSize() const override
    {
        const double range = maximumValue().toDouble() - minimumValue().toDouble();
        return slider().flags & kTKSliderScaled ? range / 1200 : 1.0;
    }
    void setCurrentValue(const QVariant& value) override
    {
        bool isNumber = false;
        const double number = value.toDouble(&isNumber);
        if (!isNumber || number != number) return;
        (void)TKSliderDrag(window_->session(), window_->slider(), TKTrackUnits(slider(), number));
    }

  private:
    const SliderVars& slider() const { return *window_->slider(); }
    UISliderWin* window_;
};

QAccessibleInterface* MakeAccess(const QString&, QObject* object)
{
    auto* window = dynamic_cast<UISliderWin*>(object);
    return window ? new SliderAccess(window) : nullptr;
}

} // namespace

void UIInstallSliderAccess()
{
    static const bool installed = (QAccessible::installFactory(MakeAccess), true); // main thread
    (void)installed;
}

void UIAnnounceSlider(UISliderWin* slider)
{
    if (!QAccessible::isActive()) return;
    QAccessibleValueChangeEvent event(slider, GetSliderValue(*slider->slider()));
    QAccessible::updateAccessibility(&event);
}
