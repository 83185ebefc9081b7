// The window of the analysis displays.
#include "src/UI/UIScopeViewWin.h"

#include "src/UI/UIDevicePixelsWin.h"
#include "src/UI/UIImageScale.h"
#include "src/UI/UIScopeLettersWin.h"
#include "src/platform/BPLog.h"
#include "src/support/TKStartup.h"

#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr int kNotch = 120;

} // namespace

UIScopeViewWin::UIScopeViewWin(TKSession* session, const QString& objectName, QWidget* parent)
    : QWidget(parent), session_(session)
{
    setObjectName(objectName);
    setAccessibleName(QStringLiteral("Analysis display"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    session->views.letters = UIScopeLetters();
}

UIScopeViewWin::~UIScopeViewWin()
{
    if (session_->views.analysisPort == &surface_) session_->views.analysisPort = nullptr;
    ScopeSurfaceDispose(&surface_);
}

void UIScopeViewWin::fitSurface()
{
    const QSize size = UIDeviceAreaOf(this).size;
    if (surface_.pixels && QSize(static_cast<int>(surface_.width), static_cast<int>(surface_.height)) == size) return;
    ScopeSurfaceDispose(&surface_);
    session_->views.analysisIsStale = true;
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
    (void)TKDrawStaleAnalysis(session_);
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
}

void UIScopeViewWin::paintProbe(QPainter& painter)
{
    const TKProbeReading reading = TKReadProbe(session_);
    if (!reading.valid) return;
    ScopeProbeMark marks[kScopePaneMarkLimit];
    const int32_t count = ScopeFindProbes(surface_.width, surface_.height, TKSelectionOf(session_), reading.pixel,
                                          TKScopeContextOf(session_), marks);
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
    session_->views.analysisPort = &surface_;
    session_->views.analysisIsStale = true;
}

void UIScopeViewWin::hideEvent(QHideEvent*)
{
    if (session_->views.analysisPort == &surface_) session_->views.analysisPort = nullptr;
}

void UIScopeViewWin::resizeEvent(QResizeEvent*)
{
    fitSurface();
}

void UIScopeViewWin::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange) {
        session_->views.analysisIsStale = true;
        update();
    }
    QWidget::changeEvent(event);
}

void UIScopeViewWin::carryOut(const ScopeSelection& selection, const TKAnalysisEffect& effect)
{
    TKStoreSelection(session_, selection);
    if (effect.writesPreferences) TKWritePreferences(session_);
    if (effect.repaints) UpdateAnalysisPane(session_, true);
}

void UIScopeViewWin::openMenu(QPoint point, QPoint globalPosition)
{
    const QSize size = UIDeviceAreaOf(this).size;
    const TKAnalysisMenu rows =
        TKAnalysisMenuAt(TKSelectionOf(session_), size.width(), size.height(), point.x(), point.y());
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
            ScopeSelection selection = TKSelectionOf(session_);
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
    if ((delta > 0) != (wheelRest_ > 0)) wheelRest_ = 0;
    wheelRest_ += delta;
    const UIDeviceArea area = UIDeviceAreaOf(this);
    const QPoint point = area.pointAt(event->position());
    for (; qAbs(wheelRest_) >= kNotch; wheelRest_ -= wheelRest_ > 0 ? kNotch : -kNotch) {
        ScopeSelection selection = TKSelectionOf(session_);
        const TKAnalysisEffect effect = TKAnalysisWheel(&selection, area.size.width(), area.size.height(), point.x(),
                                                        point.y(), wheelRest_ > 0 ? 1 : -1);
        if (effect.repaints) carryOut(selection, effect);
    }
}
