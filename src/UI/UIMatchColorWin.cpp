// The window of the row of colour match.
#include "src/UI/UIMatchColorWin.h"

#include "src/UI/UIStyleWin.h"

#include <QPainter>

namespace {

constexpr int kLabelHeight = 16;
constexpr int kLine = 24;
constexpr int kSwatch = 56;
constexpr int kGap = 4;
constexpr int kGroupGap = 12;
constexpr int kPair = UIEyedropperWin::kSize + kGap + kSwatch;
constexpr int kMethod = 124;
constexpr int kButton = 92;

void Show(void* window)
{
    static_cast<UIMatchColorWin*>(window)->showValue();
}

} // namespace

UIMatchColorWin::UIMatchColorWin(TKSession* session, TKMatchColor* match, const QString& name, QWidget* parent)
    : QWidget(parent), session_(session), match_(match),
      sourceEyedropper_(
          new UIEyedropperWin(session, &match->sourceEyedropper, name + QStringLiteral(".source_eyedropper"), this)),
      targetEyedropper_(nullptr),
      source_(new UISwatchWin(session, &match->source, name + QStringLiteral(".source"), this)), target_(nullptr),
      method_(nullptr), button_(nullptr), view_(session, this, Show)
{
    setObjectName(name);
    setAccessibleName(QStringLiteral("Match Color"));
    targetEyedropper_ =
        new UIEyedropperWin(session, &match->targetEyedropper, name + QStringLiteral(".target_eyedropper"), this);
    target_ = new UISwatchWin(session, &match->target, name + QStringLiteral(".target"), this);
    method_ = new UIListWin(TKMatchColorList(*match), name + QStringLiteral(".method"),
                            QStringLiteral("Match Color method"), this);
    method_->setCurrentIndex(match->entry - 1);
    connect(method_, &QComboBox::activated, this,
            [this](int index) { (void)TKSelectMatchEntry(session_, match_, index); });
    button_ = new QPushButton(QStringLiteral("Match Color"), this);
    button_->setObjectName(name + QStringLiteral(".match"));
    connect(button_, &QPushButton::clicked, this, [this] { (void)TKRunMatchColor(session_, match_); });
    AttachToolTip(sourceEyedropper_, kTKToolTipBase, kTKTipMatchSource);
    AttachToolTip(source_, kTKToolTipBase, kTKTipMatchSource);
    AttachToolTip(targetEyedropper_, kTKToolTipBase,
                  match->targetEyedropper.offersDialog ? kTKTipMatchTargetPicker : kTKTipMatchTargetPlain);
    AttachToolTip(target_, kTKToolTipBase, kTKTipMatchTarget);
    AttachToolTip(method_, kTKToolTipBase, kTKTipMatchMethod);
    AttachToolTip(button_, kTKToolTipBase, kTKTipMatchButton);
    showValue();
}

void UIMatchColorWin::showValue()
{
    button_->setEnabled(TKMatchColorIsReady(*match_));
}

void UIMatchColorWin::resizeEvent(QResizeEvent*)
{
    constexpr int second = kPair + kGroupGap;
    sourceEyedropper_->setGeometry(0, kLabelHeight, UIEyedropperWin::kSize, kLine);
    source_->setGeometry(UIEyedropperWin::kSize + kGap, kLabelHeight, kSwatch, kLine);
    targetEyedropper_->setGeometry(second, kLabelHeight, UIEyedropperWin::kSize, kLine);
    target_->setGeometry(second + UIEyedropperWin::kSize + kGap, kLabelHeight, kSwatch, kLine);
    if (width() >= kOneLineWidth) {
        const int left = second + kPair + kGroupGap;
        method_->setGeometry(left, kLabelHeight + 1, kMethod, kLine - 2);
        button_->setGeometry(left + kMethod + 6, kLabelHeight, kButton, kLine);
    } else {
        const int top = kLabelHeight + kLine + 8, room = qMax(width(), kLeastWidth);
        method_->setGeometry(0, top + 1, room - kButton - 6, kLine - 2);
        button_->setGeometry(room - kButton, top, kButton, kLine);
    }
}

void UIMatchColorWin::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(UIShadesNow().dimText);
    const QRect source(0, 0, kPair, kLabelHeight - 2);
    painter.drawText(source, Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Source"));
    painter.drawText(source.translated(kPair + kGroupGap, 0), Qt::AlignLeft | Qt::AlignVCenter,
                     QStringLiteral("Target"));
}
