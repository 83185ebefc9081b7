// The window of the analysis displays.
#include "src/UI/UIScopeViewWin.h"

#include "src/UI/UIDevicePixelsWin.h"
#include "src/UI/UIImageScale.h"
#include "src/UI/UIKeysWin.h"
#include "src/UI/UIScopeLettersWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/platform/BPLog.h"

#include <QAccessibleWidget>
#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr int kNotch = 120;

/// The displays as a screen reader has them: their value is what they show.
class ScopeAccess : public QAccessibleWidget {
  public:
    explicit ScopeAccess(UIScopeViewWin* window) : QAccessibleWidget(window, QAccessible::Chart) {}

    QString text(QAccessible::Text kind) const override
    {
        if (kind != QAccessible::Value) return QAccessibleWidget::text(kind);
        const auto* window = static_cast<UIScopeViewWin*>(widget());
        char words[320];
        TKDisplaysText(window->session(), window->place(), words, sizeof words);
        return QString::fromLatin1(words);
    }
};

QAccessibleInterface* MakeAccess(const QString&, QObject* object)
{
    auto* window = dynamic_cast<UIScopeViewWin*>(object);
    return window ? new ScopeAccess(window) : nullptr;
}

} // namespace

UIScopeViewWin::UIScopeViewWin(TKSession* session, TKScopePlace place, const QString& objectName, QWidget* parent)
    : QWidget(parent), session_(session), place_(place)
{
    QAccessible::installFactory(MakeAccess); // which takes a factory once
    setFocusPolicy(Qt::TabFocus);
    setProperty(kUITakesArrows, true);
    setObjectName(objectName);
    setAccessibleName(QStringLiteral("Analysis display"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    session->views.letters = UIScopeLetters();
}

UIScopeViewWin::~UIScopeViewWin()
{
    TKScopePort& port = session_->views.port[place_];
    if (port.surface == &surface_) port.surface = nullptr;
    ScopeSurfaceDispose(&surface_);
}

void UIScopeViewWin::fitSurface()
{
    const QSize size = UIDeviceAreaOf(this).size;
    if (surface_.pixels && QSize(static_cast<int>(surface_.width), static_cast<int>(surface_.height)) == size) return;
    ScopeSurfaceDispose(&surface_);
    session_->views.port[place_].isStale = true;
    if (size.isEmpty()) return;
    if (ScopeSurfaceCreate(static_cast<uint32_t>(size.width()), static_cast<uint32_t>(size.height()), &surface_) !=
        bpNoErr)
        BPDebugLog("No memory for the displays\n");
}

void UIScopeViewWin::showNow(bool force)
{
    if (force && isVisible())
        repaint();
    else
        update();
}

void UIScopeViewWin::paintEvent(QPaintEvent*)
{
    fitSurface();
    (void)TKDrawStaleAnalysis(session_, place_);
    QPainter painter(this);
    if (!surface_.pixels) {
        painter.fillRect(rect(), Qt::black);
        return;
    }
    const QSize size(static_cast<int>(surface_.width), static_cast<int>(surface_.height));
    if (words_.size() != size) words_ = QImage(size, QImage::Format_RGB32);
    if (words_.isNull()) return;
    TKSurfaceToWords(surface_, reinterpret_cast<uint32_t*>(words_.bits()),
                     static_cast<size_t>(words_.bytesPerLine()) / sizeof(uint32_t));
    UIEnterDevicePixels(&painter, UIDeviceAreaOf(this));
    painter.drawImage(QPoint(0, 0), words_);
    if (session_->views.probeOn) paintProbe(painter);
    if (hasFocus()) paintFocus(painter);
}

void UIScopeViewWin::paintProbe(QPainter& painter)
{
    ScopeProbeMark marks[kScopePaneMarkLimit];
    const int32_t count = TKFindProbe(session_, place_, surface_.width, surface_.height, marks);
    const qreal ratio = devicePixelRatioF();
    painter.setRenderHint(QPainter::Antialiasing);
    for (const bool isRim : {true, false}) {
        painter.setPen(QPen(isRim ? QColor(0, 0, 0, 200) : QColor(255, 208, 32), (isRim ? 3.2 : 1.4) * ratio,
                            Qt::SolidLine, Qt::RoundCap));
        for (int32_t i = 0; i < count; ++i) {
            const QPointF place(marks[i].x + 0.5, marks[i].y + 0.5);
            for (const QPointF& arm : {QPointF(1, 0), QPointF(-1, 0), QPointF(0, 1), QPointF(0, -1)})
                painter.drawLine(place + arm * 3 * ratio, place + arm * 8 * ratio);
        }
    }
}

void UIScopeViewWin::showEvent(QShowEvent*)
{
    fitSurface();
    session_->views.port[place_].surface = &surface_;
    session_->views.port[place_].isStale = true;
}

void UIScopeViewWin::hideEvent(QHideEvent*)
{
    TKScopePort& port = session_->views.port[place_];
    if (port.surface == &surface_) port.surface = nullptr;
}

void UIScopeViewWin::resizeEvent(QResizeEvent*)
{
    fitSurface();
}

void UIScopeViewWin::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange) {
        session_->views.port[place_].isStale = true;
        update();
    }
    QWidget::changeEvent(event);
}

void UIScopeViewWin::carryOut(const ScopeSelection& selection, const TKAnalysisEffect& effect)
{
    if (!effect.repaints) return;
    TKShowSelection(session_, place_, selection, effect.writesPreferences, true);
    if (!QAccessible::isActive()) return;
    QAccessibleEvent event(this, QAccessible::ValueChanged);
    QAccessible::updateAccessibility(&event);
}

void UIScopeViewWin::openMenu(QPoint point, QPoint globalPosition)
{
    const QSize size = UIDeviceAreaOf(this).size;
    const TKAnalysisMenu rows =
        TKAnalysisMenuAt(TKSelectionOf(session_, place_), size.width(), size.height(), point.x(), point.y());
    if (rows.id == tkMenuNone) return;
    auto* menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("analysis_menu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (int32_t number = 1; number <= rows.itemCount; ++number) {
        const TKAnalysisMenuItem& item = rows.item[number - 1];
        if (item.title[0] == 0) {
            menu->addSeparator();
            continue;
        }
        QAction* action = menu->addAction(QString::fromLatin1(item.title));
        action->setCheckable(item.zoom != 0);
        action->setChecked(item.checked);
        connect(action, &QAction::triggered, this, [this, rows, number] {
            ScopeSelection selection = TKSelectionOf(session_, place_);
            const TKAnalysisEffect effect = TKAnalysisChoose(&selection, rows, number);
            carryOut(selection, effect);
        });
    }
    menu->popup(globalPosition);
}

void UIScopeViewWin::mousePressEvent(QMouseEvent* event)
{
    (void)CommitOpenEdit(session_, true);
    if (event->button() != Qt::RightButton) return;
    openMenu(UIDeviceAreaOf(this).pointAt(event->position()), event->globalPosition().toPoint());
}

void UIScopeViewWin::wheelEvent(QWheelEvent* event)
{
    event->accept();
    const int delta = event->angleDelta().y();
    if (delta == 0) return; // of a turn sideways
    const QPoint point = UIDeviceAreaOf(this).pointAt(event->position());
    const QSize size = UIDeviceAreaOf(this).size;
    const bool zooms =
        TKHasVectorscopeAt(TKSelectionOf(session_, place_), size.width(), size.height(), point.x(), point.y());
    if (!zooms || (delta > 0) != (wheelRest_ > 0)) wheelRest_ = 0;
    if (!zooms) return;
    wheelRest_ += delta;
    while (qAbs(wheelRest_) >= kNotch) {
        const int turn = wheelRest_ > 0 ? 1 : -1;
        wheelRest_ = zoomAt(point, turn) ? wheelRest_ - turn * kNotch : 0; // at the end of the zooms
    }
}

bool UIScopeViewWin::zoomAt(QPoint point, int32_t turn)
{
    const QSize size = UIDeviceAreaOf(this).size;
    ScopeSelection selection = TKSelectionOf(session_, place_);
    const TKAnalysisEffect effect =
        TKAnalysisWheel(&selection, size.width(), size.height(), point.x(), point.y(), turn);
    carryOut(selection, effect);
    return effect.changed;
}

QRect UIScopeViewWin::keyRect() const
{
    const QSize size = UIDeviceAreaOf(this).size;
    if (TKSelectionOf(session_, place_).analysisSelection != scopeTabCombo) return QRect(QPoint(0, 0), size);
    const ComboLayout layout = ComboLayoutOf(ScopeRectOf(0, 0, size.height(), size.width()));
    const ScopeRect& rect = layout.quadrant[keyQuadrant_];
    return QRect(rect.left, rect.top, ScopeWidthOf(rect), ScopeHeightOf(rect));
}

void UIScopeViewWin::paintFocus(QPainter& painter)
{
    const qreal ratio = devicePixelRatioF();
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(UIShadesNow().accent.lighter(140), ratio));
    painter.drawRect(QRectF(keyRect()).adjusted(ratio, ratio, -ratio, -ratio));
}

void UIScopeViewWin::keyPressEvent(QKeyEvent* event)
{
    const Qt::KeyboardModifiers held = event->modifiers() & ~Qt::KeypadModifier;
    const bool isCombo = TKSelectionOf(session_, place_).analysisSelection == scopeTabCombo;
    const QPoint middle = keyQuadrantMiddle();
    const bool opens = (event->key() == Qt::Key_Menu && held == Qt::NoModifier) ||
                       (event->key() == Qt::Key_F10 && held == Qt::ShiftModifier) ||
                       ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && held == Qt::NoModifier);
    if (opens) {
        openMenu(middle, mapToGlobal((QPointF(middle) / devicePixelRatioF()).toPoint()));
        return;
    }
    if (event->key() == Qt::Key_Plus || event->key() == Qt::Key_Equal || event->key() == Qt::Key_Minus) {
        (void)zoomAt(middle, event->key() == Qt::Key_Minus ? -1 : 1);
        return;
    }
    const int32_t next = held == Qt::NoModifier ? TKQuadrantAfterKey(keyQuadrant_, TKVirtualKey(*event)) : -1;
    if (next < 0) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (isCombo) keyQuadrant_ = next;
    update();
}

QPoint UIScopeViewWin::keyQuadrantMiddle() const
{
    const QSize size = UIDeviceAreaOf(this).size;
    if (TKSelectionOf(session_, place_).analysisSelection != scopeTabCombo)
        return QPoint(size.width() / 2, size.height() / 2);
    // By halves, as the mouse's.
    return QPoint(size.width() * (keyQuadrant_ % 2 == 0 ? 1 : 3) / 4, size.height() * (keyQuadrant_ < 2 ? 1 : 3) / 4);
}

void UIScopeViewWin::focusInEvent(QFocusEvent*)
{
    update();
}

void UIScopeViewWin::focusOutEvent(QFocusEvent*)
{
    update();
}
