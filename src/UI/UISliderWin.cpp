// The slider's window.
#include "src/UI/UISliderWin.h"

#include "src/UI/UIHoldWin.h"
#include "src/UI/UIKeysWin.h"
#include "src/UI/UISliderAccessWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/support/TKCommands.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

namespace {

constexpr int kLineHeight = 14; // label and value
constexpr int kTrackInset = 8;  // from both ends
constexpr int kValueWidth = 50;
constexpr int kRightOfTrack = kTrackInset + kValueWidth;
constexpr int kThumbWidth = 11;
constexpr int kThumbHeight = 17;
constexpr int kGrooveHeight = 4;

} // namespace

UISliderEditWin::UISliderEditWin(TKSession* session, SliderVars* slider, QWidget* parent)
    : QLineEdit(parent), session_(session), slider_(slider)
{
    setFrame(false);
    setAlignment(Qt::AlignRight);
    setContextMenuPolicy(Qt::NoContextMenu);
    // What stands in it now: the filter below may have been there first.
    connect(this, &QLineEdit::textChanged, this, [this] { TKSetEditText(slider_, text().toLatin1().constData()); });
    // Characters also come by a paste or a drop.
    connect(this, &QLineEdit::textEdited, this, [this](QString text) {
        const qsizetype length = text.size();
        text.removeIf([](QChar character) { return !TKEditAcceptsCharacter(character.unicode()); });
        if (text.size() == length) return;
        const int cursor = cursorPosition() - static_cast<int>(length - text.size());
        setText(text);
        setCursorPosition(qMax(0, cursor));
    });
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

UISliderWin::UISliderWin(TKSession* session, SliderVars* slider, const QString& name, QWidget* parent)
    : QWidget(parent), session_(session), slider_(slider), edit_(new UISliderEditWin(session, slider, this))
{
    setObjectName(name);
    setAccessibleName(QString::fromUtf8(slider->label));
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setMouseTracking(true);
    edit_->setObjectName(name + QStringLiteral(".edit"));
    edit_->setAccessibleName(accessibleName());
    edit_->hide();
    UIInstallSliderAccess();
}

void UISliderWin::showValue()
{
    UIAnnounceSlider(this);
    update();
}

void UISliderWin::showEdit()
{
    // From slider to slider by Tab it stays as it began.
    keepsFocus_ = !clicking_ && dynamic_cast<UISliderWin*>(window()->focusWidget());
    edit_->setText(QString::fromLatin1(slider_->editText));
    edit_->show();
    edit_->selectAll();
    edit_->setFocus();
    update();
}

bool UISliderWin::hideEdit()
{
    const bool hadFocus = window()->focusWidget() == edit_;
    if (hadFocus && keepsFocus_) setFocus();
    edit_->hide();
    update();
    return hadFocus && !keepsFocus_;
}

void UISliderWin::clickValue(const QMouseEvent& event)
{
    clicking_ = true;
    (void)TKSliderValueClick(session_, slider_, TKModifiersOf(event.modifiers()));
    clicking_ = false;
}

QRect UISliderWin::trackRect() const
{
    return QRect(kTrackInset, kLineHeight, width() - kTrackInset - kRightOfTrack, height() - kLineHeight);
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
    const bool isDark = shades.text.lightness() > shades.window.lightness();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (valueHovered_ && !slider_->editing) { // a click would open the edit there
        painter.setPen(QPen(shades.hover, 1));
        painter.setBrush(shades.groove);
        painter.drawRoundedRect(QRectF(valueRect()).adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
    }
    const QRect label(0, 0, width() - kRightOfTrack, kLineHeight);
    painter.setPen(shades.text);
    painter.drawText(label, Qt::AlignLeft | Qt::AlignVCenter,
                     fontMetrics().elidedText(QString::fromUtf8(slider_->label), Qt::ElideRight, label.width()));
    if (!slider_->editing) {
        const bool isNeutral = GetSliderValue(*slider_) == static_cast<double>(slider_->defaultValue);
        painter.setPen(isNeutral ? shades.dimText : shades.text);
        painter.drawText(valueRect().adjusted(0, 0, -2, 0), Qt::AlignRight | Qt::AlignVCenter,
                         QString::fromLatin1(slider_->valueText));
    }

    painter.setPen(Qt::NoPen);
    const QRect track = trackRect();
    const QRectF groove(track.left() - 2, track.center().y() - kGrooveHeight / 2, track.width() + 4, kGrooveHeight);
    painter.setBrush(shades.track);
    painter.drawRoundedRect(groove, 2, 2);
    // From the neutral value to the thumb the groove is lit: a glance tells what was moved, and which way.
    SliderVars neutral = *slider_;
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

    // The thumb stands out from the track: lighter on dark, darker on light, and more so under the pointer.
    const int strength = underMouse() ? 150 : 125;
    const QColor idle = isDark ? shades.hover.lighter(strength) : shades.window.darker(strength + 90);
    painter.setBrush(dragging_ ? shades.text : idle);
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
        clickValue(*event);
        return;
    }
    if (point.y() < kLineHeight) {
        (void)CommitOpenEdit(session_, true);
        return;
    }
    dragging_ = true;
    if (thumbRect().adjusted(-2, -2, 2, 2).contains(point)) // it stays under the pointer where it was taken
        TKGrabThumb(session_, *slider_, &hold_, trackPixel(*event));
    else
        (void)TKPressTrack(session_, slider_, &hold_, trackPixel(*event), trackRect().width(),
                           TKModifiersOf(event->modifiers()));
    update();
}

void UISliderWin::mouseMoveEvent(QMouseEvent* event)
{
    setValueHovered(!dragging_ && valueRect().contains(event->position().toPoint()));
    if (!dragging_) return;
    (void)TKMoveHeldThumb(session_, slider_, &hold_, trackPixel(*event), trackRect().width(),
                          TKModifiersOf(event->modifiers()));
}

void UISliderWin::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) letGo();
}

void UISliderWin::letGo()
{
    if (!dragging_) return;
    dragging_ = false;
    update();
}

double UISliderWin::trackPixel(const QMouseEvent& event) const
{
    return event.position().x() - trackRect().left();
}

void UISliderWin::setValueHovered(bool hovered)
{
    if (valueHovered_ == hovered) return;
    valueHovered_ = hovered;
    setCursor(hovered ? Qt::IBeamCursor : Qt::ArrowCursor);
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
    const uint32_t key = TKVirtualKey(*event);
    if (TKSliderKeyActionOf(key) != tkSliderKeyNone) {
        (void)TKSliderKey(session_, slider_, key, TKModifiersOf(event->modifiers()));
        return;
    }
    // A digit or a sign begins a new value.
    const QString text = event->text();
    const bool commands = (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) != 0;
    if (commands || text.isEmpty() || !text.at(0).isPrint() || !TKEditAcceptsCharacter(text.at(0).unicode())) {
        QWidget::keyPressEvent(event);
        return;
    }
    OpenEdit(session_, slider_);
    if (slider_->editing) edit_->insert(text);
}

bool UISliderWin::event(QEvent* event)
{
    // Whatever takes the mouse away ends the drag; the tick makes its last UndoStore.
    if (UIEndsHold(*event, Qt::LeftButton)) letGo();
    return QWidget::event(event);
}

void UISliderWin::enterEvent(QEnterEvent*)
{
    update();
}

void UISliderWin::leaveEvent(QEvent*)
{
    slider_->wheelRest = 0; // a turn that was begun ends here
    setValueHovered(false);
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
    edit_->setGeometry(valueRect().adjusted(kValueWidth - kRightOfTrack, -1, 0, 2));
}
