// The transport bar's window.
#include "src/UI/UITransportWin.h"

#include "src/UI/UIHoldWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/UI/UITransportAccessibleWin.h"
#include "src/support/TKTransport.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int kButtonWidth = 30;
constexpr int kTextWidth = 96;

/// Position in the clip, 0 to 1; 0 without a host or for a clip of one frame.
double ClipPosition(const TKSession* session)
{
    const TKUIComm* block = TKBlockOf(session);
    if (!block) return 0;
    const int32_t last = block->frameTimeMax;
    const int32_t now = block->frameTime;
    return last > 0 ? qBound(0.0, now / static_cast<double>(last), 1.0) : 0.0;
}

/// A triangle that points right (direction 1) or left (-1), its tip or its base at x = 0.
QPainterPath Triangle(QPointF center, qreal direction, qreal size)
{
    QPainterPath path;
    path.moveTo(center + QPointF(direction * size * 0.6, 0));
    path.lineTo(center + QPointF(-direction * size * 0.5, -size * 0.62));
    path.lineTo(center + QPointF(-direction * size * 0.5, size * 0.62));
    path.closeSubpath();
    return path;
}

QPainterPath Bar(QPointF center, qreal width, qreal height)
{
    QPainterPath path;
    path.addRect(QRectF(center.x() - width / 2, center.y() - height / 2, width, height));
    return path;
}

QPainterPath Symbol(int part, bool running, QPointF c)
{
    switch (part) {
    case UITransportWin::kFirst: return Triangle(c + QPointF(1.5, 0), -1, 8) | Bar(c + QPointF(-5, 0), 2, 10);
    case UITransportWin::kBack: return Bar(c + QPointF(4.5, 0), 2, 10) | Triangle(c + QPointF(-1, 0), -1, 8);
    case UITransportWin::kForward: return Bar(c + QPointF(-4.5, 0), 2, 10) | Triangle(c + QPointF(1, 0), 1, 8);
    case UITransportWin::kLast: return Triangle(c + QPointF(-1.5, 0), 1, 8) | Bar(c + QPointF(5, 0), 2, 10);
    default: break;
    }
    if (running) return Bar(c + QPointF(-3, 0), 3, 11) | Bar(c + QPointF(3, 0), 3, 11);
    return Triangle(c, 1, 10);
}

} // namespace

UITransportWin::UITransportWin(TKSession* session, QWidget* parent) : QWidget(parent), session_(session)
{
    UIInstallTransportAccessibility();
    setFixedHeight(kHeight);
    setMouseTracking(true);
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(QStringLiteral("Transport"));
}

void UITransportWin::setPosition(const QString& text)
{
    if (text == position_) return;
    position_ = text;
    update();
    UITransportMoved(this);
}

QString UITransportWin::partTitle(int part)
{
    static const char* const titles[] = {"First frame", "Back one frame", "Play or stop", "Forward one frame",
                                         "Last frame"};
    return QString::fromLatin1(titles[part]);
}

QString UITransportWin::partName(int part)
{
    static const char* const names[] = {"transport_first", "transport_back", "transport_play", "transport_forward",
                                        "transport_last"};
    return QString::fromLatin1(names[part]);
}

QRect UITransportWin::partRect(int part) const
{
    return QRect(4 + part * kButtonWidth, 3, kButtonWidth - 2, height() - 6);
}

QRect UITransportWin::scrubRect() const
{
    const int left = partRect(kLast).right() + 16;
    return QRect(left, 0, qMax(10, width() - kTextWidth - 16 - left), height());
}

void UITransportWin::paintEvent(QPaintEvent*)
{
    const UIShades& shades = UIShadesNow();
    QPainter painter(this);
    painter.fillRect(rect(), shades.window);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (int part = 0; part < kPartCount; ++part) {
        const QRect box = partRect(part);
        if (part == pressed_ || part == hovered_) {
            painter.setBrush(part == pressed_ ? shades.pressed : shades.control);
            painter.drawRoundedRect(box, 4, 4);
        }
        painter.setBrush(shades.text);
        painter.drawPath(Symbol(part, TKIsPlaying(session_), QRectF(box).center()));
    }
    const QRect scrub = scrubRect();
    const QRectF groove(scrub.left(), scrub.center().y() - 1, scrub.width(), 3);
    painter.setBrush(shades.groove);
    painter.drawRoundedRect(groove, 1.5, 1.5);
    const qreal x = scrub.left() + ClipPosition(session_) * (scrub.width() - 1);
    painter.setBrush(shades.hover);
    painter.drawRoundedRect(QRectF(groove.left(), groove.top(), x - groove.left(), 3), 1.5, 1.5);
    painter.setBrush(shades.text);
    painter.drawRoundedRect(QRectF(x - 2, scrub.center().y() - 7, 4, 15), 2, 2);
    if (hasFocus()) {
        painter.setPen(QPen(shades.accent.lighter(140), 1));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(scrub).adjusted(-5.5, 4.5, 4.5, -4.5), 3, 3);
    }
    painter.setPen(shades.text);
    painter.drawText(QRect(width() - kTextWidth - 6, 0, kTextWidth, height()), Qt::AlignRight | Qt::AlignVCenter,
                     position_);
}

void UITransportWin::press(int part)
{
    switch (part) {
    case kFirst: TKGoToFirstFrame(session_); break;
    case kBack: TKStepFrames(session_, -1); break;
    case kPlay: TKTogglePlay(session_, TKActiveTransport(session_)); break;
    case kForward: TKStepFrames(session_, 1); break;
    case kLast: TKGoToLastFrame(session_); break;
    default: break;
    }
    update();
}

void UITransportWin::scrubTo(int x)
{
    const TKUIComm* block = TKBlockOf(session_);
    const QRect scrub = scrubRect();
    if (!block) return;
    const double fraction = qBound(0.0, (x - scrub.left()) / static_cast<double>(scrub.width() - 1), 1.0);
    const int32_t last = block->frameTimeMax;
    const int32_t step = block->frameStep;
    if (last <= 0 || step <= 0) return;
    const int64_t frame = qRound64(fraction * last / step); // whole frames only
    const int64_t time = frame * step;
    if (time != block->frameTime) TKLocateFromPane(session_, time);
    update();
}

void UITransportWin::mousePressEvent(QMouseEvent* event)
{
    (void)CommitOpenEdit(session_, true);
    const QPoint point = event->position().toPoint();
    if (event->button() != Qt::LeftButton) return;
    for (int part = 0; part < kPartCount; ++part)
        if (partRect(part).contains(point)) pressed_ = part;
    if (pressed_ < 0 && scrubRect().adjusted(-6, 0, 6, 0).contains(point)) {
        scrubbing_ = true;
        scrubTo(point.x());
    }
    update();
}

void UITransportWin::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint point = event->position().toPoint();
    if (scrubbing_) {
        scrubTo(point.x());
        return;
    }
    int over = -1;
    for (int part = 0; part < kPartCount; ++part)
        if (partRect(part).contains(point)) over = part;
    if (over == hovered_) return;
    hovered_ = over;
    update();
}

void UITransportWin::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return;
    const int part = pressed_;
    pressed_ = -1;
    scrubbing_ = false;
    if (part >= 0 && partRect(part).contains(event->position().toPoint())) press(part);
    update();
}

void UITransportWin::leaveEvent(QEvent*)
{
    hovered_ = -1;
    update();
}

bool UITransportWin::event(QEvent* event)
{
    if ((pressed_ >= 0 || scrubbing_) && UIEndsHold(*event, Qt::LeftButton)) {
        pressed_ = -1;
        scrubbing_ = false;
        update();
    }
    return QWidget::event(event);
}

void UITransportWin::focusInEvent(QFocusEvent*)
{
    update();
}

void UITransportWin::focusOutEvent(QFocusEvent*)
{
    update();
}
