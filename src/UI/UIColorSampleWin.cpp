// The window of a colour sample composite.
#include "src/UI/UIColorSampleWin.h"

#include "src/UI/UIStyleWin.h"

#include <QPainter>

namespace {

QRect ToRect(const TKPartRect& part)
{
    return QRect(part.x, part.y, part.width, part.height);
}

void Show(void* window)
{
    static_cast<UIColorSampleWin*>(window)->showValue();
}

} // namespace

UIColorSampleWin::UIColorSampleWin(TKSession* session, TKColorSample* sample, const QString& name, QWidget* parent)
    : QWidget(parent), session_(session), sample_(sample), view_(session, this, Show)
{
    setObjectName(name);
    const QString label = QString::fromUtf8(sample->label);
    setAccessibleName(label);
    if (sample->hasCheckbox)
        checkbox_ = UICheckboxWin::create(session, &sample->checkbox, name + QStringLiteral(".on"), this);
    eyedropper_ = new UIEyedropperWin(session, &sample->eyedropper, name + QStringLiteral(".eyedropper"), this);
    source_ = new UISwatchWin(session, &sample->source, name + QStringLiteral(".source"), this);
    result_ = new UISwatchWin(session, &sample->result, name + QStringLiteral(".result"), this);
    source_->setAccessibleName(label + QStringLiteral(" source"));
    result_->setAccessibleName(label + QStringLiteral(" result"));
    format_ =
        new UIListWin(TKColorFormatList(), name + QStringLiteral(".format"), label + QStringLiteral(" format"), this);
    showValue();
    connect(format_, &QComboBox::activated, this,
            [this](int index) { (void)TKSelectColorFormat(session_, sample_, index); });
    AttachToolTip(eyedropper_, kTKToolTipBase, kTKTipSample);
    AttachToolTip(source_, kTKToolTipBase, kTKTipSampleSource);
    AttachToolTip(result_, kTKToolTipBase, kTKTipSampleResult);
    AttachToolTip(format_, kTKToolTipBase, kTKTipFormat);
    const TKColorSampleLayout layout = TKLayOutColorSample();
    if (checkbox_) checkbox_->setGeometry(ToRect(layout.label));
    eyedropper_->setGeometry(ToRect(layout.eyedropper));
    source_->setGeometry(ToRect(layout.source));
    result_->setGeometry(ToRect(layout.result));
    format_->setGeometry(ToRect(layout.popup));
    resize(sizeHint());
}

void UIColorSampleWin::showValue()
{
    if (format_->currentIndex() != sample_->format - 1) format_->setCurrentIndex(sample_->format - 1);
}

void UIColorSampleWin::paintEvent(QPaintEvent*)
{
    if (checkbox_) return; // it bears the label
    QPainter painter(this);
    painter.setPen(isEnabled() ? UIShadesNow().text : palette().color(QPalette::Disabled, QPalette::WindowText));
    painter.drawText(ToRect(TKLayOutColorSample().label), Qt::AlignLeft | Qt::AlignVCenter,
                     QString::fromUtf8(sample_->label));
}
