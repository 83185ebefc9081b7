// The slider's window.
#include "src/UI/UISliderWin.h"

#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/support/TKCommands.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

namespace {

constexpr int kLineHeight = 14; // label and value
constexpr int kTrackInset = 8;  // from both ends of the control
constexpr int kValueWidth = 58;
constexpr int kThumbWidth = 11;
constexpr int kThumbHeight = 17;
constexpr int kGrooveHeight = 4;
constexpr int kNotch = 120; // of the wheel

} // namespace

UISliderEditWin::UISliderEditWin(TKSession* session, TKSlider* slider, QWidget* parent)
    : QLineEdit(parent), session_(session), slider_(slider)
{
    setFrame(false);
    setAlignment(Qt::AlignRight);
    setContextMenuPolicy(Qt::NoContextMenu);
    connect(this, &QLineEdit::textChanged, this,
            [this](const QString& text) { TKSetEditText(slider_, text.toLatin1().constData()); });
}

bool UISliderEditWin::event(QEvent* event)
{
    // Tab would move the focus before a key event is made of it.
    if (event->type() == QEvent::KeyPress) {
        keyPressEvent(static_cast<QKeyEvent*>(event));
        return true;
    }
    return QLineEdit::event(event);
}

void UISliderEditWin::keyPressEvent(QKeyEvent* event)
{
    uint32_t modifiers = TKModifiersOf(event->modifiers());
    if (event->key() == Qt::Key_Backtab) modifiers |= bpShiftKey;
    const uint32_t key = TKVirtualKey(*event);
    if (TKEditKeyAction(key, modifiers) != tkEditPass) {
        (void)TKEditKey(session_, slider_, key, modifiers);
        return;
    }
    const QString text = event->text();
    const bool isText = !text.isEmpty() && text.at(0).isPrint();
    if (isText && !TKEditAcceptsCharacter(text.at(0).unicode())) return;
    QLineEdit::keyPressEvent(event);
}

UISliderWin::UISliderWin(TKSession* session, TKSlider* slider, const QString& name, QWidget* parent)
    : QWidget(parent), session_(session), slider_(slider), edit_(new UISliderEditWin(session, slider, this))
{
    setObjectName(name);
    setAccessibleName(QString::fromUtf8(slider->label));
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    edit_->setObjectName(name + QStringLiteral(".edit"));
    edit_->hide();
    showValue();
}

void UISliderWin::showValue()
{
    setAccessibleDescription(QString::fromLatin1(slider_->valueText));
    update();
}

void UISliderWin::showEdit()
{
    edit_->setText(QString::fromLatin1(slider_->editText));
    edit_->show();
    edit_->selectAll();
    edit_->setFocus();
    update();
}

void UISliderWin::hideEdit()
{
    edit_->hide();
    update();
}

QRect UISliderWin::trackRect() const
{
    return QRect(kTrackInset, kLineHeight, width() - 2 * kTrackInset, height() - kLineHeight);
}

QRect UISliderWin::valueRect() const
{
    return QRect(width() - kValueWidth, 0, kValueWidth, kLineHeight + 1);
}

QRect UISliderWin::thumbRect() const
{
    const QRect track = trackRect();
    const int center = track.left() + TKThumbPixel(*slider_, track.width());
    return QRect(center - kThumbWidth / 2, track.center().y() - kThumbHeight / 2, kThumbWidth, kThumbHeight);
}

void UISliderWin::paintEvent(QPaintEvent*)
{
    const UIShades& shades = UIShadesNow();
    QPainter painter(this);
    const QRect label(0, 0, width() - kValueWidth, kLineHeight);
    painter.setPen(shades.text);
    painter.drawText(label, Qt::AlignLeft | Qt::AlignVCenter, QString::fromUtf8(slider_->label));
    if (!slider_->editing) {
        const bool isNeutral = GetSliderValue(*slider_) == static_cast<double>(slider_->defaultValue);
        painter.setPen(isNeutral ? shades.dimText : shades.text);
        painter.drawText(valueRect().adjusted(0, 0, -2, 0), Qt::AlignRight | Qt::AlignVCenter,
                         QString::fromLatin1(slider_->valueText));
    }

    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QRect track = trackRect();
    const QRectF groove(track.left() - 2, track.center().y() - kGrooveHeight / 2, track.width() + 4, kGrooveHeight);
    painter.setBrush(shades.groove);
    painter.drawRoundedRect(groove, 2, 2);
    // From the neutral value to the thumb the groove is lit: a glance tells what was moved, and which way.
    TKSlider neutral = *slider_;
    TKShowSliderValue(&neutral, static_cast<double>(slider_->defaultValue));
    const int from = track.left() + TKThumbPixel(neutral, track.width());
    const QRect thumb = thumbRect();
    const int to = thumb.center().x();
    if (from != to) {
        painter.setBrush(shades.accent);
        painter.drawRoundedRect(QRectF(qMin(from, to), groove.top(), qAbs(to - from), kGrooveHeight), 2, 2);
    }
    painter.setBrush(shades.dimText);
    painter.drawRect(QRectF(from - 0.5, groove.bottom() + 3, 1, 3));

    painter.setBrush(dragging_ ? shades.text : underMouse() ? shades.hover.lighter(150) : shades.hover.lighter(125));
    painter.setPen(QPen(hasFocus() ? shades.accent.lighter(140) : shades.window, 1));
    painter.drawRoundedRect(QRectF(thumb).adjusted(0.5, 0.5, -0.5, -0.5), 2.5, 2.5);
}

void UISliderWin::mousePressEvent(QMouseEvent* event)
{
    const QPoint point = event->position().toPoint();
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    if (valueRect().contains(point)) {
        (void)TKSliderValueClick(session_, slider_, TKModifiersOf(event->modifiers()));
        return;
    }
    if (point.y() < kLineHeight) {
        (void)CommitOpenEdit(session_, true);
        return;
    }
    dragging_ = true;
    const QRect thumb = thumbRect();
    if (thumb.adjusted(-2, -2, 2, 2).contains(point)) {
        grabOffset_ = point.x() - thumb.center().x(); // the thumb stays under the pointer where it was taken
        (void)CommitOpenEdit(session_, true);
        update();
        return;
    }
    grabOffset_ = 0;
    (void)TKSliderDrag(session_, slider_,
                       TKPositionAtPixel(*slider_, point.x() - trackRect().left(), trackRect().width()));
}

void UISliderWin::mouseMoveEvent(QMouseEvent* event)
{
    if (!dragging_) return;
    const int pixel = event->position().toPoint().x() - grabOffset_ - trackRect().left();
    (void)TKSliderDrag(session_, slider_, TKPositionAtPixel(*slider_, pixel, trackRect().width()));
}

void UISliderWin::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return;
    dragging_ = false;
    update();
}

void UISliderWin::mouseDoubleClickEvent(QMouseEvent* event)
{
    const QPoint point = event->position().toPoint();
    if (event->button() == Qt::LeftButton && point.y() < kLineHeight && !valueRect().contains(point)) {
        (void)TKSliderValueClick(session_, slider_, bpControlKey); // a double-click on the label resets
        return;
    }
    mousePressEvent(event);
}

void UISliderWin::wheelEvent(QWheelEvent* event)
{
    (void)TKSliderWheel(session_, slider_, event->angleDelta().y());
    event->accept();
}

void UISliderWin::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Up: (void)TKSliderWheel(session_, slider_, kNotch); return;
    case Qt::Key_Down: (void)TKSliderWheel(session_, slider_, -kNotch); return;
    case Qt::Key_Return:
    case Qt::Key_Enter: OpenEdit(session_, slider_); return;
    default: QWidget::keyPressEvent(event);
    }
}

void UISliderWin::enterEvent(QEnterEvent*)
{
    update();
}

void UISliderWin::leaveEvent(QEvent*)
{
    update();
}

void UISliderWin::focusInEvent(QFocusEvent*)
{
    update();
}

void UISliderWin::focusOutEvent(QFocusEvent*)
{
    update();
}

void UISliderWin::resizeEvent(QResizeEvent*)
{
    edit_->setGeometry(valueRect().adjusted(0, -1, 0, 2));
}
