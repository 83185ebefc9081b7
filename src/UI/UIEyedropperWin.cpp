// The eyedropper's window.
#include "src/UI/UIEyedropperWin.h"

#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace {

/// A pipette that points to the lower left, drawn upright around the origin in a square of 24 and turned.
void DrawPipette(QPainter* painter, const QPointF& center, const QColor& color)
{
    painter->save();
    painter->translate(center);
    painter->rotate(45);
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    painter->drawRoundedRect(QRectF(-2.7, -9, 5.4, 6.2), 2.4, 2.4); // bulb
    painter->drawRoundedRect(QRectF(-4.2, -3.4, 8.4, 2.2), 1, 1);   // collar
    QPainterPath glass;
    glass.moveTo(-1.9, -0.6);
    glass.lineTo(-1.9, 5);
    glass.lineTo(0, 8.6);
    glass.lineTo(1.9, 5);
    glass.lineTo(1.9, -0.6);
    painter->setPen(QPen(color, 1.2));
    painter->setBrush(Qt::NoBrush);
    painter->drawPath(glass);
    painter->restore();
}

void Show(void* window)
{
    static_cast<UIEyedropperWin*>(window)->update();
}

} // namespace

UIEyedropperWin::UIEyedropperWin(TKSession* session, TKEyedropper* eyedropper, const QString& name, QWidget* parent)
    : QAbstractButton(parent), session_(session), eyedropper_(eyedropper), view_(session, this, Show)
{
    setObjectName(name);
    setAccessibleName(QString::fromUtf8(eyedropper->label));
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    connect(this, &QAbstractButton::clicked, this, [this] {
        const uint32_t modifiers = TKModifiersOf(modifiers_);
        modifiers_ = Qt::NoModifier;
        (void)TKEyedropperClick(session_, eyedropper_, modifiers);
        update();
    });
}

UIEyedropperWin::~UIEyedropperWin()
{
    TKForgetEyedropper(session_, eyedropper_);
}

void UIEyedropperWin::mouseReleaseEvent(QMouseEvent* event)
{
    modifiers_ = event->modifiers();
    QAbstractButton::mouseReleaseEvent(event);
}

void UIEyedropperWin::keyPressEvent(QKeyEvent* event)
{
    modifiers_ = event->modifiers();
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

void UIEyedropperWin::paintEvent(QPaintEvent*)
{
    const UIShades& shades = UIShadesNow();
    const bool isPicking = TKIsPickingFor(session_, eyedropper_);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(isDown()       ? shades.pressed
                     : isPicking    ? shades.accent
                     : underMouse() ? shades.hover
                                    : shades.control);
    painter.setPen(QPen(hasFocus() || isPicking ? shades.accent.lighter(140) : shades.line, 1));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    const QColor color = isPicking     ? QColor(Qt::white)
                         : isEnabled() ? shades.text
                                       : palette().color(QPalette::Disabled, QPalette::WindowText);
    DrawPipette(&painter, QRectF(rect()).center() + QPointF(0.7, -0.7), color);
    // The points of the curves are told apart by what they make of a colour.
    const uint32_t point = eyedropper_->cursor - kTKCursorBlackPoint;
    constexpr Qt::GlobalColor kPoints[] = {Qt::black, Qt::gray, Qt::white};
    if (point >= std::size(kPoints)) return;
    painter.setPen(QPen(shades.dimText, 1));
    painter.setBrush(kPoints[point]);
    painter.drawRect(QRectF(width() - 9.5, height() - 9.5, 6, 6));
}
