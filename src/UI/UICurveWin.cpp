// The curve editor's window.
#include "src/UI/UICurveWin.h"

#include "src/UI/UICursorsWin.h"
#include "src/UI/UIImageScale.h"
#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/UI/UIToolMenuWin.h"
#include "src/UI/UIValueAccessWin.h"
#include "src/support/TKCurvePainter.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <cmath>

namespace {

constexpr int kLabelHeight = 16;
constexpr int kReadoutHeight = 46; // below the plot
constexpr int kReadoutX = 90, kInputRow = 25, kOutputRow = 41;
constexpr int kFrame = 2; // between the outline and the plot
constexpr int kLeastPlot = 96, kUsualPlot = 220, kMostPlot = 640;
constexpr int kTickMs = 10;

/// An editor as a screen reader has it: a text of the selected point, and its output as the value.
class CurveAccess : public UIValueAccess {
  public:
    explicit CurveAccess(UICurveWin* window) : UIValueAccess(window, QAccessible::Chart), window_(window) {}

    QString valueText() const override { return window_->valueText(); }
    QVariant currentValue() const override { return static_cast<double>(TKCurveOutput(*window_->vars())); }
    QVariant minimumValue() const override { return 0.0; }
    QVariant maximumValue() const override { return 1.0; }
    QVariant minimumStepSize() const override { return static_cast<double>(kTKCurveNudge); }
    void setCurrentValue(const QVariant& value) override
    {
        bool isNumber = false;
        const double number = value.toDouble(&isNumber);
        if (isNumber) TKCurveSetOutput(window_->session(), window_->vars(), static_cast<float>(number));
    }

  private:
    UICurveWin* window_;
};

QAccessibleInterface* MakeAccess(const QString&, QObject* object)
{
    auto* window = dynamic_cast<UICurveWin*>(object);
    return window ? new CurveAccess(window) : nullptr;
}

int PlotSide(int width, int height)
{
    return qBound(kLeastPlot, qMin(width, height - kLabelHeight - kReadoutHeight) - 2 * kFrame, kMostPlot);
}

} // namespace

UICurveWin::UICurveWin(TKSession* session, CurveVars* vars, const QString& name, QWidget* parent)
    : UIDragWin(session, kTickMs, parent), vars_(vars),
      view_(session, this, [](void* window) { static_cast<UICurveWin*>(window)->update(); })
{
    static const bool installed = [] {
        QAccessible::installFactory(MakeAccess);
        return true;
    }();
    (void)installed;
    setObjectName(name);
    setAccessibleName(QString::fromUtf8(vars->label) + QStringLiteral(" curve"));
    setProperty(kUITakesArrows, true);
    setFocusPolicy(Qt::StrongFocus);
    vars_->control = this;
    vars_->redraw = [](void* control) { static_cast<UICurveWin*>(control)->changed(); };
}

UICurveWin::~UICurveWin()
{
    vars_->control = nullptr;
    vars_->redraw = nullptr;
    TKDisposeCurve(vars_);
    ScopeSurfaceDispose(&surface_);
}

QRect UICurveWin::plotRect() const
{
    return UIRectOf(vars_->plot);
}

QPoint UICurveWin::pointAt(double x, double y) const
{
    return QPoint(qRound(TKCurvePixelX(*vars_, x)), qRound(TKCurvePixelY(*vars_, y)));
}

QSize UICurveWin::sizeHint() const
{
    return QSize(kUsualPlot + 2 * kFrame, heightForWidth(kUsualPlot + 2 * kFrame));
}

QSize UICurveWin::minimumSizeHint() const
{
    return QSize(kLeastPlot + 2 * kFrame, heightForWidth(kLeastPlot + 2 * kFrame));
}

int UICurveWin::heightForWidth(int width) const
{
    return kLabelHeight + qBound(kLeastPlot, width - 2 * kFrame, kMostPlot) + 2 * kFrame + kReadoutHeight;
}

void UICurveWin::resizeEvent(QResizeEvent*)
{
    const int side = PlotSide(width(), height());
    const int top = kLabelHeight + kFrame, left = kFrame;
    TKPlaceCurve(vars_, ScopeRectOf(0, 0, height(), width()), ScopeRectOf(top, left, top + side, left + side));
}

void UICurveWin::changed()
{
    update();
    keepTicking();
    const uint32_t cursor = vars_->cursor;
    if (cursor != shownCursor_) {
        shownCursor_ = cursor;
        setCursor(UICursorOf(cursor, devicePixelRatioF()));
    }
    (void)UIAnnounceValue(this, valueText(), static_cast<double>(TKCurveOutput(*vars_)), &announced_);
}

QString UICurveWin::valueText() const
{
    char text[128];
    TKCurveText(*vars_, text, sizeof text);
    return QString::fromUtf8(text);
}

bool UICurveWin::event(QEvent* event)
{
    if (event->type() == QEvent::Leave) TKCurveLeave(vars_);
    return UIDragWin::event(event);
}

void UICurveWin::drawPlot(QPainter* painter)
{
    const qreal ratio = devicePixelRatioF();
    const QRect rect = plotRect();
    if (rect.isEmpty()) return;
    const auto side = static_cast<uint32_t>(std::lround(rect.width() * ratio));
    if (surface_.width != side || surface_.height != side) {
        ScopeSurfaceDispose(&surface_);
        if (ScopeSurfaceCreate(side, side, &surface_) != bpNoErr) return;
    }
    ScopePalette palette = {};
    PrepareScopePalette(&palette, session_->prefs.uiSaturation);
    TKPaintCurvePlot(&surface_, vars_, palette, qMax(1, qRound(ratio)));
    QImage image(static_cast<int>(side), static_cast<int>(side), QImage::Format_RGB32);
    TKSurfaceToWords(surface_, reinterpret_cast<uint32_t*>(image.bits()),
                     static_cast<size_t>(image.bytesPerLine()) / 4);
    image.setDevicePixelRatio(ratio);
    painter->drawImage(QPointF(rect.topLeft()), image);
}

void UICurveWin::drawReadouts(QPainter* painter)
{
    const TKCurveReadout readout = TKCurveReadouts(*vars_);
    const QRect plot = plotRect();
    const int top = plot.bottom() + 1 + kFrame;
    const UIShades& shades = UIShadesNow();
    struct Row {
        const char* label;
        const char* text;
        int baseline;
    };
    for (const Row& row : {Row{"Input:", readout.input, kInputRow}, Row{"Output:", readout.output, kOutputRow}}) {
        if (!row.text[0]) continue;
        painter->setPen(shades.dimText);
        painter->drawText(plot.left() + 2, top + row.baseline, QString::fromLatin1(row.label));
        painter->setPen(shades.text);
        painter->drawText(plot.left() + kReadoutX, top + row.baseline, QString::fromUtf8(row.text));
    }
}

void UICurveWin::paintEvent(QPaintEvent*)
{
    const UIShades& shades = UIShadesNow();
    QPainter painter(this);
    painter.setPen(shades.text);
    painter.drawText(QRect(kFrame, 0, width() - kFrame, kLabelHeight), Qt::AlignLeft | Qt::AlignVCenter,
                     QString::fromUtf8(vars_->label));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(shades.groove);
    painter.setPen(QPen(hasFocus() ? shades.accent.lighter(140) : shades.line, hasFocus() ? 1.5 : 1));
    painter.drawRoundedRect(QRectF(plotRect()).adjusted(-1.5, -1.5, 1.5, 1.5), 2, 2);
    drawPlot(&painter);
    drawReadouts(&painter);
}

void UICurveWin::mousePressEvent(QMouseEvent* event)
{
    const QPointF point = event->position();
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    if (!TKCurveHit(*vars_, point.x(), point.y())) {
        (void)CommitOpenEdit(session_, true);
        return;
    }
    (void)TKCurvePress(session_, vars_, point.x(), point.y());
    setFocus(Qt::MouseFocusReason);
    changed();
}

void UICurveWin::mouseMoveEvent(QMouseEvent* event)
{
    const QPointF point = event->position();
    if (vars_->dragging)
        (void)TKCurveMove(session_, vars_, point.x(), point.y());
    else
        TKCurveHover(vars_, point.x(), point.y());
    keepTicking();
}

void UICurveWin::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return;
    (void)TKCurveRelease(session_, vars_);
    TKCurveHover(vars_, event->position().x(), event->position().y());
    changed();
}

void UICurveWin::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && event->position().y() < kLabelHeight) {
        (void)TKCurveMenuSelect(session_, vars_, tkCurveReset); // as on the label of a slider
        return;
    }
    mousePressEvent(event);
}

void UICurveWin::contextMenuEvent(QContextMenuEvent* event)
{
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    const QPoint place = byKey ? mapToGlobal(plotRect().center()) : event->globalPos();
    UIOpenToolMenu(TKCurveMenu(*vars_), place, this,
                   [this](uint32_t item) { (void)TKCurveMenuSelect(session_, vars_, item); });
}

void UICurveWin::keyPressEvent(QKeyEvent* event)
{
    if (TKCurveKey(session_, vars_, TKVirtualKey(*event), TKModifiersOf(event->modifiers())))
        changed();
    else
        QWidget::keyPressEvent(event);
}
