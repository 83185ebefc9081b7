// The picture's window.
#include "src/UI/UIImagePaneWin.h"

#include "src/UI/UICursorsWin.h"
#include "src/UI/UIDevicePixelsWin.h"
#include "src/UI/UIHoldWin.h"
#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/support/TKPreviewLUTs.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <cstring>

namespace {

constexpr const char* kNames[kTKImageModeCount] = {"Result",       "Source",    "Reference",
                                                   "Split Source", "Split Ref", "Luma Ranges"};
constexpr int kHandleSide = 9;
constexpr int kKeyPan = 40;              // device pixels
constexpr uint32_t kCursorHand = 0xFFFF; // while the picture is held

TKPaneButton ButtonOf(Qt::MouseButton button)
{
    switch (button) {
    case Qt::LeftButton: return tkButtonLeft;
    case Qt::MiddleButton: return tkButtonMiddle;
    case Qt::RightButton: return tkButtonRight;
    default: return tkButtonNone;
    }
}

Qt::MouseButton QtButtonOf(TKPaneButton button)
{
    switch (button) {
    case tkButtonNone: return Qt::NoButton;
    case tkButtonLeft: return Qt::LeftButton;
    case tkButtonMiddle: return Qt::MiddleButton;
    case tkButtonRight: return Qt::RightButton;
    }
    return Qt::NoButton;
}

const FBFrame* FrameOfMode(const TKSession* session, int32_t mode)
{
    return mode == tkImageResult ? session->resultFrame : mode == tkImageSource ? session->sourceFrame : nullptr;
}

/// A pane as a screen reader has it: its value tells zoom and pick.
class PaneAccess : public QAccessibleWidget {
  public:
    explicit PaneAccess(UIImagePaneWin* window) : QAccessibleWidget(window, QAccessible::Graphic) {}

    QString text(QAccessible::Text kind) const override
    {
        if (kind != QAccessible::Value) return QAccessibleWidget::text(kind);
        char words[128];
        TKPaneText(static_cast<UIImagePaneWin*>(widget())->pane(), words, sizeof words);
        return QString::fromLatin1(words);
    }
};

QAccessibleInterface* MakeAccess(const QString&, QObject* object)
{
    auto* window = dynamic_cast<UIImagePaneWin*>(object);
    return window ? new PaneAccess(window) : nullptr;
}

bool IsSplit(int32_t mode)
{
    return mode == tkImageSplitSource || mode == tkImageSplitReference;
}

bool IsSame(const TKPaneScale& a, const TKPaneScale& b)
{
    return a.kind == b.kind && a.across.start == b.across.start && a.across.step == b.across.step &&
           a.across.count == b.across.count && a.down.start == b.down.start && a.down.step == b.down.step &&
           a.down.count == b.down.count && a.across.divisor == b.across.divisor;
}

/// The area around the picture.
void FillAround(QPainter& painter, const QRect& area, const QRect& picture, const QColor& color)
{
    const int above = picture.top() - area.top(), before = picture.left() - area.left();
    painter.fillRect(QRect(area.left(), area.top(), area.width(), above), color);
    painter.fillRect(QRect(area.left(), picture.bottom() + 1, area.width(), area.bottom() - picture.bottom()), color);
    painter.fillRect(QRect(area.left(), picture.top(), before, picture.height()), color);
    painter.fillRect(QRect(picture.right() + 1, picture.top(), area.right() - picture.right(), picture.height()),
                     color);
}

} // namespace

UIImagePaneWin::UIImagePaneWin(TKSession* session, const QString& objectName, QWidget* parent)
    : UIImagePaneWin(session, objectName, -1, parent)
{
}

UIImagePaneWin::UIImagePaneWin(TKSession* session, const QString& objectName, int32_t mode, QWidget* parent)
    : QWidget(parent), session_(session), fixedMode_(mode)
{
    QAccessible::installFactory(MakeAccess); // which takes a factory once
    setObjectName(objectName);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setFocusPolicy(Qt::TabFocus);
    for (ImagePaneVars& pane : panes_) {
        TKCreateImagePane(&pane);
        pane.control = this;
        pane.canZoom = pane.canSample = true;
    }
}

int32_t UIImagePaneWin::mode() const
{
    return fixedMode_ >= 0 ? fixedMode_ : qBound(0, session_->imagePaneMode, kTKImageModeCount - 1);
}

ImagePaneVars& UIImagePaneWin::ready()
{
    const int32_t now = mode();
    ImagePaneVars& pane = panes_[now];
    const QSize size = UIDeviceAreaOf(this).size;
    pane.canSplit = IsSplit(now) && fixedMode_ < 0;
    pane.split = session_->views.split;
    pane.pickTarget = TKIsPicking(session_) ? sample_ : nullptr;
    if (!pane.dragging) pane.pickData = session_->pick.eyedropper;
    TKSetPaneFrame(&pane, {.x = 0, .y = 0, .width = size.width(), .height = size.height()});
    TKSetPaneSurface(&pane, TKSurfaceOfMode(session_, now), session_->pixelAspect);
    const FBFrame* frame = FrameOfMode(session_, now);
    const bool fits =
        frame && pane.surface && frame->width == pane.surface->width && frame->height == pane.surface->height;
    pane.frameBuffer = fits ? frame : nullptr;
    if (now != shownMode_) {
        if (shownMode_ >= 0) {
            TKPaneLoseGrab(&panes_[shownMode_]);
            TKCopyPaneView(&pane, panes_[shownMode_]);
        }
        shownMode_ = now;
        stale_ = true;
        hoveredEnd_ = 0;
        setAccessibleName(QStringLiteral("%1 picture").arg(QLatin1String(kNames[now])));
    }
    return pane;
}

const ImagePaneVars& UIImagePaneWin::pane()
{
    return ready();
}

QRect UIImagePaneWin::pictureRect()
{
    const TKImageRect shown = TKShownRect(ready());
    const UIDeviceArea area = UIDeviceAreaOf(this);
    const QPointF corner = (QPointF(shown.x, shown.y) + area.shift) / area.ratio;
    return QRectF(corner, QSizeF(shown.width, shown.height) / area.ratio).toRect();
}

void UIImagePaneWin::picturesChanged()
{
    stale_ = true;
    update();
    probeFollows();
}

void UIImagePaneWin::pointerMoved(const QSinglePointEvent& event)
{
    hasPointer_ = true;
    desktop_ = event.globalPosition();
    pointer_ = UIDeviceAreaOf(this).pointAt(event.position());
}

void UIImagePaneWin::pointerLeft()
{
    qApp->removeEventFilter(this);
    hasPointer_ = false;
    if (fixedMode_ < 0) TKMoveProbe(session_, false, 0, 0);
}

void UIImagePaneWin::probeFollows()
{
    if (fixedMode_ >= 0 || !hasPointer_) return;
    const ImagePaneVars& pane = ready();
    const TKPicturePoint point = TKPicturePointQuietly(pane, pointer_.x(), pointer_.y());
    TKMoveProbe(session_, TKIsOverPicture(pane, pointer_.x(), pointer_.y()), point.x, point.y);
}

void UIImagePaneWin::pickModeChanged()
{
    showCursor(QGuiApplication::keyboardModifiers());
}

void UIImagePaneWin::showNow(bool force)
{
    if (force && isVisible())
        repaint();
    else
        update();
}

void UIImagePaneWin::makeWords(const ImagePaneVars& pane)
{
    const TKPaneScale scale = TKScaleOfPane(pane);
    const QSize size(scale.across.count, scale.down.count);
    if (!stale_ && words_.size() == size && IsSame(scale, wordsScale_)) return;
    if (words_.size() != size) words_ = QImage(size, QImage::Format_RGB32);
    if (words_.isNull()) return;
    TKScaleSurfaceShared(
        *pane.surface, scale.across, scale.down, scale.kind, reinterpret_cast<uint32_t*>(words_.bits()),
        static_cast<size_t>(words_.bytesPerLine()) / sizeof(uint32_t), session_->taskCount, session_->tasks);
    TKApplyPreviewLUT(session_, tkPreviewPrimary, words_.bits(), static_cast<uint32_t>(size.width()),
                      static_cast<uint32_t>(size.height()), static_cast<uint32_t>(words_.bytesPerLine()),
                      pixFormatARGB8);
    wordsScale_ = scale;
    stale_ = false;
}

void UIImagePaneWin::paintSplit(QPainter& painter, const ImagePaneVars& pane)
{
    const UIDeviceArea area = UIDeviceAreaOf(this);
    QPointF end[2];
    TKPanePointOf(pane, pane.split.x1, pane.split.y1, &end[0].rx(), &end[0].ry());
    TKPanePointOf(pane, pane.split.x2, pane.split.y2, &end[1].rx(), &end[1].ry());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(0, 0, 0, 120), 3 * area.ratio));
    painter.drawLine(end[0], end[1]);
    painter.setPen(QPen(QColor(255, 255, 255, 220), area.ratio));
    painter.drawLine(end[0], end[1]);
    const qreal half = kHandleSide * area.ratio / 2;
    const int32_t active = pane.grabbedEnd != 0 ? pane.grabbedEnd : hoveredEnd_;
    for (int32_t i = 0; i < 2; ++i) {
        painter.setPen(QPen(QColor(0, 0, 0, 200), area.ratio));
        painter.setBrush(active == i + 1 ? UIShadesNow().accent.lighter(130) : QColor(240, 240, 240));
        painter.drawRect(QRectF(end[i].x() - half, end[i].y() - half, 2 * half, 2 * half));
    }
}

void UIImagePaneWin::paintProbe(QPainter& painter, const ImagePaneVars& pane)
{
    char words[192];
    TKProbeText(TKReadProbe(session_), words, sizeof words);
    if (words[0] == 0 || fixedMode_ >= 0) return;
    const UIDeviceArea area = UIDeviceAreaOf(this);
    QFont face = font();
    face.setPixelSize(qRound(11 * area.ratio));
    painter.setFont(face);
    const QString text = QString::fromLatin1(words);
    const int gap = qRound(6 * area.ratio);
    const QFontMetrics metrics(face);
    const int wide = qMin(metrics.horizontalAdvance(text) + 2 * gap, pane.imageRect.width);
    const QRect box(pane.imageRect.x + (pane.imageRect.width - wide) / 2,
                    pane.imageRect.y + pane.imageRect.height - metrics.height() - 2 * gap, wide,
                    metrics.height() + gap);
    painter.fillRect(box, QColor(0, 0, 0, 190));
    painter.setPen(QColor(235, 235, 235));
    painter.drawText(box, Qt::AlignCenter, metrics.elidedText(text, Qt::ElideRight, wide - gap));
}

void UIImagePaneWin::paintFocus(QPainter& painter, const QRect& whole, qreal ratio)
{
    if (!hasFocus()) return;
    const QColor color = UIShadesNow().accent.lighter(140);
    const int wide = qBound(1, qRound(ratio), 2); // the picture leaves two pixels free
    painter.fillRect(QRect(0, 0, whole.width(), wide), color);
    painter.fillRect(QRect(0, whole.height() - wide, whole.width(), wide), color);
    painter.fillRect(QRect(0, 0, wide, whole.height()), color);
    painter.fillRect(QRect(whole.width() - wide, 0, wide, whole.height()), color);
}

void UIImagePaneWin::paintEvent(QPaintEvent*)
{
    const UIShades& shades = UIShadesNow();
    const ImagePaneVars& pane = ready();
    const UIDeviceArea area = UIDeviceAreaOf(this);
    const QRect whole(QPoint(0, 0), area.size);
    QPainter painter(this);
    const TKImageRect shown = TKShownRect(pane);
    if (shown.width <= 0 || shown.height <= 0) {
        painter.fillRect(rect(), shades.window);
        painter.setPen(shades.dimText);
        if (pane.surface == nullptr && mode() == tkImageReference)
            painter.drawText(rect(), Qt::AlignCenter, QStringLiteral("No reference image"));
        UIEnterDevicePixels(&painter, area);
        paintFocus(painter, whole, area.ratio);
        return;
    }
    makeWords(pane);
    UIEnterDevicePixels(&painter, area);
    const QRect picture(shown.x, shown.y, shown.width, shown.height);
    FillAround(painter, whole.adjusted(-1, -1, 1, 1), picture, shades.window);
    painter.drawImage(picture.topLeft(), words_);
    if (pane.canSplit) paintSplit(painter, pane);
    if (session_->views.probeOn) paintProbe(painter, pane);
    paintFocus(painter, whole, area.ratio);
}

void UIImagePaneWin::resizeEvent(QResizeEvent*)
{
    (void)ready();
    if (!hasPointer_) return;
    pointer_ = UIDeviceAreaOf(this).pointAt(mapFromGlobal(desktop_)); // the window has moved under it, too
    probeFollows();
}

void UIImagePaneWin::carryOut(const TKPaneEffect& effect)
{
    // Another eyedropper may have asked since the press: what is read is not for it.
    const bool isAskers = panes_[shownMode_].pickData == session_->pick.eyedropper;
    if (effect.sampled && isAskers) TKPickSample(session_, sample_);
    if (effect.splitChanged) {
        session_->views.split = panes_[shownMode_].split;
        RefreshAfterRender(session_, true);
    } else if (effect.repaints) {
        update();
    }
    if (effect.repaints) probeFollows();
    if ((effect.repaints || effect.sampled) && QAccessible::isActive()) {
        QAccessibleEvent event(this, QAccessible::ValueChanged);
        QAccessible::updateAccessibility(&event);
    }
    if (effect.pickEnded && isAskers) (void)TKPickEnd(session_);
}

void UIImagePaneWin::showCursor(Qt::KeyboardModifiers modifiers)
{
    const ImagePaneVars& pane = ready();
    const uint32_t word = TKModifiersOf(modifiers);
    uint32_t number = TKCursorAt(pane, pointer_.x(), pointer_.y(), word);
    if (pane.pickTarget) number = TKPickCursor(session_, word); // the eyedropper may have one of its own
    if (pane.panning) number = kCursorHand;
    if (number != shownCursor_ || devicePixelRatioF() != shownCursorRatio_) {
        shownCursor_ = number;
        shownCursorRatio_ = devicePixelRatioF();
        setCursor(pane.panning ? QCursor(Qt::ClosedHandCursor) : UICursorOf(number, shownCursorRatio_));
    }
    const int32_t end = pane.canSplit && hasPointer_ ? TKSplitEndAt(pane, pointer_.x(), pointer_.y()) : 0;
    if (end == hoveredEnd_) return;
    hoveredEnd_ = end;
    update();
}

void UIImagePaneWin::mousePressEvent(QMouseEvent* event)
{
    (void)CommitOpenEdit(session_, true);
    pointerMoved(*event);
    carryOut(TKPanePress(&ready(), pointer_.x(), pointer_.y(), ButtonOf(event->button()),
                         TKModifiersOf(event->modifiers())));
    showCursor(event->modifiers());
}

void UIImagePaneWin::mouseDoubleClickEvent(QMouseEvent* event)
{
    mousePressEvent(event); // two quick clicks are two steps
}

void UIImagePaneWin::mouseMoveEvent(QMouseEvent* event)
{
    pointerMoved(*event);
    carryOut(TKPaneMove(&ready(), pointer_.x(), pointer_.y(), TKModifiersOf(event->modifiers())));
    showCursor(event->modifiers());
    probeFollows();
}

void UIImagePaneWin::mouseReleaseEvent(QMouseEvent* event)
{
    pointerMoved(*event);
    carryOut(TKPaneRelease(&ready(), pointer_.x(), pointer_.y(), ButtonOf(event->button()),
                           TKModifiersOf(event->modifiers())));
    showCursor(event->modifiers());
    update();
}

void UIImagePaneWin::wheelEvent(QWheelEvent* event)
{
    pointerMoved(*event);
    carryOut(TKPaneWheel(&ready(), pointer_.x(), pointer_.y(), event->angleDelta().y()));
    showCursor(event->modifiers());
    event->accept();
}

void UIImagePaneWin::keyPressEvent(QKeyEvent* event)
{
    ImagePaneVars& pane = ready();
    const QPoint middle(pane.frame.width / 2, pane.frame.height / 2);
    const bool shifted = (event->modifiers() & ~Qt::KeypadModifier) == Qt::ShiftModifier;
    QPoint move;
    switch (event->key()) {
    case Qt::Key_Plus:
    case Qt::Key_Equal: carryOut(TKZoomPane(&pane, true, middle.x(), middle.y())); return;
    case Qt::Key_Minus: carryOut(TKZoomPane(&pane, false, middle.x(), middle.y())); return;
    case Qt::Key_Left: move = {kKeyPan, 0}; break;
    case Qt::Key_Right: move = {-kKeyPan, 0}; break;
    case Qt::Key_Up: move = {0, kKeyPan}; break;
    case Qt::Key_Down: move = {0, -kKeyPan}; break;
    default: break;
    }
    if (move.isNull() || !shifted) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (pane.dragging || pane.panning) return; // the mouse holds the picture
    carryOut(TKPanPane(&pane, move.x(), move.y()));
}

void UIImagePaneWin::enterEvent(QEnterEvent* event)
{
    pointerMoved(*event);
    qApp->installEventFilter(this); // Shift and Control change the cursor without a move
    showCursor(QGuiApplication::keyboardModifiers());
    probeFollows();
}

void UIImagePaneWin::leaveEvent(QEvent*)
{
    pointerLeft();
    if (hoveredEnd_ == 0) return;
    hoveredEnd_ = 0;
    update();
}

void UIImagePaneWin::hideEvent(QHideEvent*)
{
    pointerLeft();
    hoveredEnd_ = 0;
}

void UIImagePaneWin::focusInEvent(QFocusEvent*)
{
    update();
}

void UIImagePaneWin::focusOutEvent(QFocusEvent*)
{
    update();
}

bool UIImagePaneWin::event(QEvent* event)
{
    ImagePaneVars* pane = shownMode_ >= 0 ? &panes_[shownMode_] : nullptr;
    if (pane && (pane->dragging || pane->panning) && UIEndsHold(*event, QtButtonOf(pane->heldButton))) {
        TKPaneLoseGrab(pane);
        showCursor(QGuiApplication::keyboardModifiers());
        update();
    }
    return QWidget::event(event);
}

bool UIImagePaneWin::eventFilter(QObject*, QEvent* event)
{
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease) return false;
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->key() != Qt::Key_Shift && key->key() != Qt::Key_Control) return false;
    const Qt::KeyboardModifier bit = key->key() == Qt::Key_Shift ? Qt::ShiftModifier : Qt::ControlModifier;
    Qt::KeyboardModifiers modifiers = key->modifiers();
    modifiers.setFlag(bit, event->type() == QEvent::KeyPress);
    showCursor(modifiers);
    return false;
}
