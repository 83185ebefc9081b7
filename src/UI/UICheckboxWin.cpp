// The checkbox's window.
#include "src/UI/UICheckboxWin.h"

#include "src/UI/UIStyleWin.h"
#include "src/platform/BPLog.h"

#include <QPainter>
#include <QSignalBlocker>

namespace {

constexpr int kBox = 16;
constexpr int kLabelLeft = 18;

void Show(void* window)
{
    static_cast<UICheckboxWin*>(window)->showValue();
}

} // namespace

UICheckboxWin* UICheckboxWin::create(TKSession* session, const TKCheckbox* checkbox, const QString& name,
                                     QWidget* parent)
{
    auto* made = new UICheckboxWin(session, checkbox, name, parent);
    if (made->view_.isRegistered()) return made;
    BPDebugLog("TKCreateCheckbox: failed to register class\n");
    delete made;
    return nullptr;
}

UICheckboxWin::UICheckboxWin(TKSession* session, const TKCheckbox* checkbox, const QString& name, QWidget* parent)
    : QCheckBox(QString::fromUtf8(checkbox->label), parent), session_(session), checkbox_(checkbox),
      view_(session, this, Show)
{
    setObjectName(name);
    setAccessibleName(text());
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    showValue();
    connect(this, &QCheckBox::toggled, this, [this](bool on) {
        (void)TKCheckboxClick(session_, checkbox_, on);
        showValue();
    });
}

void UICheckboxWin::showValue()
{
    const bool on = TKCheckboxIsOn(*checkbox_);
    if (isChecked() == on) return;
    const QSignalBlocker blocker(this); // following the record is no click
    setChecked(on);
}

QSize UICheckboxWin::sizeHint() const
{
    return QSize(kLabelLeft + 4 + fontMetrics().horizontalAdvance(text()), kHeight);
}

bool UICheckboxWin::hitButton(const QPoint& point) const
{
    return QRect(QPoint(0, 0), sizeHint()).contains(point);
}

void UICheckboxWin::paintEvent(QPaintEvent*)
{
    const UIShades& shades = UIShadesNow();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box(1.5, (height() - kBox) / 2 + 1.5, kBox - 3, kBox - 3);
    const QColor fill = isDown()       ? shades.pressed
                        : isChecked()  ? shades.accent
                        : underMouse() ? shades.hover
                                       : shades.groove;
    painter.setBrush(isEnabled() ? fill : shades.window);
    painter.setPen(QPen(hasFocus() ? shades.accent.lighter(140) : shades.hover, 1));
    painter.drawRoundedRect(box, 3, 3);
    if (isChecked()) {
        painter.setPen(QPen(Qt::white, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.setBrush(Qt::NoBrush);
        const QPointF at = box.topLeft();
        const QPointF tick[] = {at + QPointF(3, 6.5), at + QPointF(5.5, 9.5), at + QPointF(10, 3.5)};
        painter.drawPolyline(tick, 3);
    }
    painter.setPen(isEnabled() ? shades.text : palette().color(QPalette::Disabled, QPalette::WindowText));
    painter.drawText(QRect(kLabelLeft, 0, width() - kLabelLeft, height()), Qt::AlignLeft | Qt::AlignVCenter,
                     fontMetrics().elidedText(text(), Qt::ElideRight, width() - kLabelLeft));
}
