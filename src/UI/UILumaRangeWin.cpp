// The luma range editor's window.
#include "src/UI/UILumaRangeWin.h"

#include "src/UI/TKLevels.h"
#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"

#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr int kGridCells = 8;
constexpr int kHandleReach = 4; // each way, of the square
constexpr int kFocusReach = 9;

QColor Grey(uint16_t level)
{
    return QColor::fromRgba64(level, level, level);
}

QString NumberText(double value)
{
    char text[64];
    FormatLevelsValue(value, text, sizeof text);
    return QString::fromLatin1(text);
}

} // namespace

UILumaRangeWin::UILumaRangeWin(TKSession* session, LumaRangeVars* vars, const QString& name, QWidget* parent)
    : UIDragWin(session, kLumaRangeTickMs, parent), vars_(vars)
{
    setObjectName(name);
    for (uint32_t i = 0; i < kLumaRangeHandleCount; ++i) {
        const QString words = QString::fromLatin1(LumaRangeHandleName(i));
        handles_[i] = new UIHandleWin(this, static_cast<int>(i), words, name + u'.' + words.toLower(), this);
    }
    for (uint32_t i = 0; i < 2 * kLumaRangeHandleCount; ++i) {
        SliderVars* slider = &vars->readout[i].slider;
        readouts_[i] = new UIValueWin(session, slider,
                                      name + u'.' + QString::fromLatin1(slider->objectName) + QStringLiteral(".value"),
                                      RefineLevelsEdit, this);
        readouts_[i]->setAccessibleName(QString::fromLatin1(LumaRangeHandleName(i / 2)) + u' ' +
                                        QString::fromLatin1(slider->label));
        readouts_[i]->setAlignment(Qt::AlignRight);
        readouts_[i]->onValue = [this] {
            showValues();
            keepTicking();
        };
    }
    resizeEvent(nullptr);
}

QSize UILumaRangeWin::sizeHint() const
{
    return UIRectOf(LumaRangeLayoutOf(552, LumaRangeNaturalHeight(552)).frame).size();
}

QSize UILumaRangeWin::minimumSizeHint() const
{
    return UIRectOf(LumaRangeLayoutOf(0, LumaRangeLeastHeight(0)).frame).size();
}

QPointF UILumaRangeWin::handlePoint(uint32_t handle) const
{
    const LumaRangePoint point = LumaRangeHandlePixel(*vars_, handle);
    return QPointF(static_cast<qreal>(point.x) + 0.5, static_cast<qreal>(point.y) + 0.5);
}

void UILumaRangeWin::showValues()
{
    for (uint32_t i = 0; i < kLumaRangeHandleCount; ++i) {
        const QPoint middle = handlePoint(i).toPoint();
        handles_[i]->setGeometry(middle.x() - kFocusReach, middle.y() - kFocusReach, 2 * kFocusReach, 2 * kFocusReach);
        handles_[i]->showValue();
    }
    for (uint32_t i = 0; i < 2 * kLumaRangeHandleCount; ++i) {
        const LumaRangePoint field = vars_->field[i / 2];
        const QString text = NumberText(static_cast<double>(i % 2 != 0 ? field.y : field.x));
        readouts_[i]->setText(text);
        readouts_[i]->setAccessibleDescription(text);
    }
    update();
}

void UILumaRangeWin::updateFrom(const OCSettings* settings)
{
    if (UpdateLumaRange(vars_, settings)) showValues();
    keepTicking();
}

// What assistive technology and keys ask for ----------------------------------------------------------------------------

double UILumaRangeWin::handleValue(int index) const
{
    return static_cast<double>(vars_->value[index].x);
}

QString UILumaRangeWin::handleText(int index) const
{
    return QStringLiteral("position %1, softness %2")
        .arg(NumberText(static_cast<double>(vars_->field[index].x)),
             NumberText(static_cast<double>(vars_->field[index].y)));
}

void UILumaRangeWin::move(uint32_t handle, LumaRangePoint wanted)
{
    (void)MoveLumaRangeHandle(session_, vars_, handle, wanted);
    showValues();
    keepTicking();
}

void UILumaRangeWin::nudgeHandle(int index, int right, int up, bool fine)
{
    const float step = fine ? kLumaRangeFineNudge : kLumaRangeNudge;
    const LumaRangePoint now = vars_->value[index];
    move(static_cast<uint32_t>(index),
         {now.x + static_cast<float>(right) * step, now.y + static_cast<float>(up) * step});
}

void UILumaRangeWin::setHandleValue(int index, double value)
{
    move(static_cast<uint32_t>(index), {static_cast<float>(value), vars_->value[index].y});
}

void UILumaRangeWin::editHandle(int index)
{
    OpenEdit(session_, &vars_->readout[2 * index].slider);
}

void UILumaRangeWin::settleHandles()
{
    (void)FlushLumaRange(session_, vars_);
    keepTicking();
}

void UILumaRangeWin::handlesChanged()
{
    // In a drag the active handle is the one in the hand, wherever Tab puts the focus.
    for (uint32_t i = 0; i < kLumaRangeHandleCount && !vars_->tracking; ++i)
        if (handles_[i]->hasFocus()) vars_->active = i;
    update();
}

// Events ---------------------------------------------------------------------------------------------------------------

void UILumaRangeWin::tick()
{
    (void)LumaRangeTick(session_, vars_);
}

void UILumaRangeWin::endDrag()
{
    (void)ReleaseLumaRange(session_, vars_);
}

void UILumaRangeWin::settle()
{
    (void)FlushLumaRange(session_, vars_);
}

void UILumaRangeWin::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    const QPointF point = event->position();
    const uint32_t handle = PressLumaRange(session_, vars_, point.x(), point.y());
    if (handle < kLumaRangeHandleCount) handles_[handle]->setFocus(Qt::MouseFocusReason);
    keepTicking();
    update();
}

void UILumaRangeWin::mouseMoveEvent(QMouseEvent* event)
{
    const QPointF point = event->position();
    if (!vars_->tracking) {
        hover(LumaRangeHitTest(*vars_, point.x(), point.y()));
        return;
    }
    if (!(event->buttons() & Qt::LeftButton)) { // let go where we could not see it
        (void)ReleaseLumaRange(session_, vars_);
    } else if (TrackLumaRangeHandle(session_, vars_, point.x(), point.y(), TKModifiersOf(event->modifiers())).changed) {
        showValues();
    }
    keepTicking();
}

void UILumaRangeWin::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return;
    (void)ReleaseLumaRange(session_, vars_);
    keepTicking();
}

void UILumaRangeWin::leaveEvent(QEvent*)
{
    hover(kLumaRangeHandleCount);
}

void UILumaRangeWin::resizeEvent(QResizeEvent*)
{
    LayOutLumaRange(vars_, width(), height());
    for (uint32_t i = 0; i < 2 * kLumaRangeHandleCount; ++i)
        readouts_[i]->setGeometry(UIRectOf(vars_->layout.readout[i]));
    showValues();
}

void UILumaRangeWin::hover(uint32_t handle)
{
    if (handle == hovered_) return;
    hovered_ = handle;
    update();
}

// Painting -------------------------------------------------------------------------------------------------------------

void UILumaRangeWin::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(UIShadesNow().text);
    for (uint32_t i = 0; i < kLumaRangeHandleCount; ++i)
        painter.drawText(UIRectOf(vars_->layout.name[i]), Qt::AlignLeft | Qt::AlignVCenter,
                         QString::fromLatin1(LumaRangeHandleName(i)));
    paintPlot(painter);
    painter.setClipRect(UIRectOf(vars_->layout.plot).adjusted(-kFocusReach, -kFocusReach, kFocusReach, kFocusReach));
    const uint32_t active = LumaRangeActiveCurve(*vars_);
    for (uint32_t curve = 0; curve < kLumaRangeCurveCount; ++curve)
        if (curve != active) paintCurve(painter, curve);
    if (active < kLumaRangeCurveCount) paintCurve(painter, active);
    for (uint32_t i = 0; i < kLumaRangeHandleCount; ++i)
        if (i != vars_->active) paintHandle(painter, i);
    if (vars_->active < kLumaRangeHandleCount) paintHandle(painter, vars_->active);
}

void UILumaRangeWin::paintPlot(QPainter& painter)
{
    const QRect plot = UIRectOf(vars_->layout.plot);
    painter.fillRect(plot.adjusted(-1, -1, 1, 1), Grey(kLumaRangeFrameGrey));
    painter.fillRect(plot, Qt::black);
    for (int i = 1; i < kGridCells; ++i) {
        painter.fillRect(QRect(plot.left() + plot.width() * i / kGridCells, plot.top(), 1, plot.height()),
                         Grey(kLumaRangeGridGrey));
        painter.fillRect(QRect(plot.left(), plot.top() + plot.height() * i / kGridCells, plot.width(), 1),
                         Grey(kLumaRangeGridGrey));
    }
    const QRect ramp = UIRectOf(vars_->layout.ramp);
    QLinearGradient scale(ramp.left(), 0, ramp.right() + 1, 0);
    scale.setColorAt(0, Qt::black);
    scale.setColorAt(1, Qt::white);
    painter.fillRect(ramp.adjusted(-1, -1, 1, 1), Grey(kLumaRangeFrameGrey));
    painter.fillRect(ramp, scale);
}

void UILumaRangeWin::paintCurve(QPainter& painter, uint32_t curve)
{
    QPolygonF line(static_cast<int>(kLumaRangeColumns));
    for (uint32_t i = 0; i < kLumaRangeColumns; ++i) {
        const LumaRangePoint at =
            LumaRangePixel(*vars_, {static_cast<float>(i) / (kLumaRangeColumns - 1), vars_->curves.weight[curve][i]});
        line[static_cast<int>(i)] = QPointF(static_cast<qreal>(at.x) + 0.5, static_cast<qreal>(at.y) + 0.5);
    }
    const bool isActive = curve == LumaRangeActiveCurve(*vars_);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Grey(isActive ? kLumaRangeActiveGrey : kLumaRangeOtherGrey), isActive ? 1.8 : 1.3));
    painter.drawPolyline(line);
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void UILumaRangeWin::paintHandle(QPainter& painter, uint32_t handle)
{
    const TKColor accent = session_->palette.accent[kLumaRangeHandleAccent];
    const QColor yellow = QColor::fromRgba64(accent.red, accent.green, accent.blue);
    const QPointF middle = handlePoint(handle);
    const bool held = vars_->tracking && vars_->active == handle;
    const double reach = held || hovered_ == handle ? kHandleReach + 1 : kHandleReach;
    painter.setRenderHint(QPainter::Antialiasing);
    if (handles_[handle]->hasFocus()) {
        painter.setPen(QPen(UIFocusColor(true), 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(
            QRectF(middle.x() - kFocusReach, middle.y() - kFocusReach, 2 * kFocusReach, 2 * kFocusReach), 3, 3);
    }
    painter.setPen(QPen(yellow, 1.5));
    painter.setBrush(vars_->active == handle ? yellow : QColor(Qt::black));
    painter.drawRect(QRectF(middle.x() - reach, middle.y() - reach, 2 * reach, 2 * reach));
    painter.setRenderHint(QPainter::Antialiasing, false);
}
