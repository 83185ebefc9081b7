// A number that can be typed.
#include "src/UI/UIValueWin.h"

#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

namespace {

constexpr int kNumberWidth = 38;
constexpr int kGap = 3; // from the name to the number

} // namespace

UIValueWin::UIValueWin(TKSession* session, SliderVars* slider, const QString& name, void (*refine)(SliderVars*),
                       QWidget* parent)
    : QWidget(parent), session_(session), slider_(slider), refine_(refine),
      edit_(new UISliderEditWin(session, slider, this))
{
    setObjectName(name);
    setAttribute(Qt::WA_Hover);
    edit_->setObjectName(name + QStringLiteral(".edit"));
    edit_->hide();
}

UIValueWin* UIValueWin::find(const QWidget* window, const SliderVars* slider)
{
    for (QWidget* widget : window->findChildren<QWidget*>())
        if (auto* value = dynamic_cast<UIValueWin*>(widget); value && value->slider_ == slider) return value;
    return nullptr;
}

void UIValueWin::showValue()
{
    if (onValue) onValue();
}

void UIValueWin::setText(const QString& text)
{
    if (text == text_) return;
    text_ = text;
    update();
}

void UIValueWin::setAlignment(Qt::Alignment alignment)
{
    alignment_ = alignment;
    resizeEvent(nullptr);
    update();
}

void UIValueWin::showEdit()
{
    if (refine_) refine_(slider_);
    edit_->setText(QString::fromLatin1(slider_->editText));
    edit_->show();
    edit_->selectAll();
    edit_->setFocus();
    update();
}

bool UIValueWin::hideEdit()
{
    const bool hadFocus = window()->focusWidget() == edit_;
    edit_->hide();
    update();
    return hadFocus;
}

QRect UIValueWin::textRect() const
{
    const int span =
        qMin(width(), fontMetrics().horizontalAdvance(QString::fromUtf8(slider_->label)) + kGap + kNumberWidth);
    const int spare = width() - span;
    const int left = alignment_ & Qt::AlignHCenter ? spare / 2 : alignment_ & Qt::AlignRight ? spare : 0;
    return QRect(left, 0, span, height());
}

QRect UIValueWin::nameRect() const
{
    return textRect().adjusted(0, 0, -kNumberWidth - kGap, 0);
}

QRect UIValueWin::numberRect() const
{
    const QRect text = textRect();
    return QRect(text.right() + 1 - kNumberWidth, 0, kNumberWidth, height());
}

void UIValueWin::paintEvent(QPaintEvent*)
{
    const UIShades& shades = UIShadesNow();
    QPainter painter(this);
    painter.setPen(shades.dimText);
    painter.drawText(nameRect(), Qt::AlignLeft | Qt::AlignVCenter, QString::fromUtf8(slider_->label));
    if (slider_->editing) return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(underMouse() ? shades.hover : shades.groove, 1));
    painter.setBrush(shades.groove);
    painter.drawRoundedRect(QRectF(numberRect()).adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
    painter.setPen(shades.text);
    painter.drawText(numberRect().adjusted(2, 0, -4, 0), Qt::AlignRight | Qt::AlignVCenter, text_);
}

void UIValueWin::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !textRect().contains(event->position().toPoint())) {
        event->ignore();
        return;
    }
    if (numberRect().contains(event->position().toPoint()))
        (void)TKSliderValueClick(session_, slider_, TKModifiersOf(event->modifiers()));
    else
        (void)CommitOpenEdit(session_, true);
}

void UIValueWin::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && nameRect().contains(event->position().toPoint()))
        (void)TKSliderValueClick(session_, slider_, bpControlKey); // a double-click on the label resets
    else
        mousePressEvent(event);
}

void UIValueWin::wheelEvent(QWheelEvent* event)
{
    (void)TKSliderWheel(session_, slider_, event->angleDelta().y());
    event->accept();
}

void UIValueWin::enterEvent(QEnterEvent*)
{
    update();
}

void UIValueWin::leaveEvent(QEvent*)
{
    slider_->wheelRest = 0; // a turn that was begun ends here
    update();
}

void UIValueWin::resizeEvent(QResizeEvent*)
{
    edit_->setGeometry(numberRect());
}
