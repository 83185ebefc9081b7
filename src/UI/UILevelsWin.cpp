// The levels control's window.
#include "src/UI/UILevelsWin.h"

#include "src/TincturaUIDisp.h"
#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <cmath>

namespace {

constexpr uint16_t kOutlineGrey = 48000; // of the bars
constexpr int kTriangleReach = 6;        // each way
constexpr int kTriangleHeight = 9;
constexpr int kGridLines = 4;

QColor ToColor(const ScopeColor& color)
{
    return QColor::fromRgba64(color.red, color.green, color.blue);
}

QColor Outline()
{
    return QColor::fromRgba64(kOutlineGrey, kOutlineGrey, kOutlineGrey);
}

/// The colour of a channel's columns, and the bright end of its bars.
struct ChannelColors {
    QColor columns, bright;
};

ChannelColors ColorsOf(uint32_t channel, uint32_t uiSaturation)
{
    ScopePalette palette;
    PrepareScopePalette(&palette, uiSaturation);
    switch (channel) {
    case 2: return {ToColor(palette.red), ToColor(palette.red)};
    case 3: return {ToColor(palette.green), ToColor(palette.green)};
    case 4: return {ToColor(palette.blue), ToColor(palette.blue)};
    default: return {ToColor(palette.luma), Qt::white};
    }
}

} // namespace

UILevelsWin::UILevelsWin(TKSession* session, LevelsVars* vars, const QString& name, QWidget* parent)
    : UIDragWin(session, kLevelsTickMs, parent), vars_(vars)
{
    setObjectName(name);
    const char* const labels[2] = {"Input", "Output"};
    const char* const signatures[2] = {".lvti", ".lvto"};
    for (int i = 0; i < 2; ++i) {
        labels_[i] = new QLabel(QString::fromLatin1(labels[i]), this);
        labels_[i]->setObjectName(name + QString::fromLatin1(signatures[i]));
        labels_[i]->setAttribute(Qt::WA_TransparentForMouseEvents);
    }
    for (uint32_t i = 0; i < kLevelsHandleCount; ++i) {
        SliderVars* slider = &vars->readout[i].slider;
        const QString part = name + u'.' + QString::fromLatin1(slider->objectName);
        const QString words = QString::fromLatin1(LevelsHandleName(i));
        handles_[i] = new UIHandleWin(this, static_cast<int>(i), words, part, this);
        readouts_[i] = new UIValueWin(session, slider, part + QStringLiteral(".value"), RefineLevelsEdit, this);
        readouts_[i]->setAccessibleName(words);
        const Qt::Alignment alignments[3] = {Qt::AlignLeft, Qt::AlignHCenter, Qt::AlignRight};
        readouts_[i]->setAlignment(alignments[i % 3]);
        readouts_[i]->onValue = [this] {
            showValues();
            keepTicking();
        };
    }
    layOut();
    showValues();
}

QSize UILevelsWin::extentFor(int controlWidth, int height)
{
    return UIRectOf(LevelsLayoutOf(controlWidth, height).frame).size();
}

QSize UILevelsWin::sizeHint() const
{
    constexpr int across = kLevelsWideFrom - 1;
    return extentFor(across, LevelsNaturalHeight(across));
}

QSize UILevelsWin::minimumSizeHint() const
{
    constexpr int across = kLevelsNarrowPlot + 2 * kLevelsMargin;
    return extentFor(across, LevelsLeastHeight(across));
}

void UILevelsWin::layOut()
{
    LayOutLevels(vars_, width(), height());
    const LevelsLayout& layout = vars_->layout;
    labels_[0]->setGeometry(UIRectOf(layout.inputLabel));
    labels_[1]->setGeometry(UIRectOf(layout.outputLabel));
    for (uint32_t i = 0; i < kLevelsHandleCount; ++i) {
        handles_[i]->setGeometry(handleRect(i));
        readouts_[i]->setGeometry(UIRectOf(layout.readout[i]));
    }
    update();
}

QRect UILevelsWin::handleRect(uint32_t handle) const
{
    return UIRectOf(LevelsHandleRect(*vars_, handle));
}

void UILevelsWin::showValues()
{
    for (uint32_t i = 0; i < kLevelsHandleCount; ++i) {
        const QString text = handleText(static_cast<int>(i));
        readouts_[i]->setText(text);
        readouts_[i]->setAccessibleDescription(text);
        handles_[i]->setGeometry(handleRect(i));
        handles_[i]->showValue();
    }
    update();
}

void UILevelsWin::updateFrom(const OCSettings* settings)
{
    if (UpdateLevels(vars_, settings)) showValues();
    sourceChanged(); // the recovery may be another one
    keepTicking();
}

LevelsHistogramKey UILevelsWin::histogramKey() const
{
    const OCSettings& live = session_->liveSettings;
    const FBFrame* frame = session_->sourceFrame;
    return {.frame = frame,
            .frameVersion = session_->sourceVersion,
            .width = frame ? frame->width : 0,
            .height = frame ? frame->height : 0,
            .channel = vars_->channel,
            .binCount = LevelsBinCount(ScopeWidthOf(vars_->layout.inputPlot)),
            .recovery = {live.inputControls_highlight_recovery, live.outputControls_highlight_recovery}};
}

void UILevelsWin::sourceChanged()
{
    if (!LevelsHistogramIsFor(histogram_, histogramKey())) update(UIRectOf(vars_->layout.inputPlot));
}

// What assistive technology and keys ask for ----------------------------------------------------------------------------

double UILevelsWin::handleValue(int index) const
{
    return static_cast<double>(vars_->value[index]);
}

QString UILevelsWin::handleText(int index) const
{
    char text[64];
    FormatLevelsValue(static_cast<double>(vars_->field[index]), text, sizeof text);
    return QString::fromLatin1(text);
}

void UILevelsWin::nudgeHandle(int index, int right, int up, bool fine)
{
    const float step = fine ? kLevelsFineNudge : kLevelsNudge;
    setHandleValue(index, static_cast<double>(vars_->value[index] + static_cast<float>(right + up) * step));
}

void UILevelsWin::setHandleValue(int index, double value)
{
    if (MoveLevelsHandle(session_, vars_, static_cast<uint32_t>(index), static_cast<float>(value)).changed)
        showValues();
    keepTicking();
}

void UILevelsWin::editHandle(int index)
{
    OpenEdit(session_, &vars_->readout[index].slider);
}

void UILevelsWin::settleHandles()
{
    (void)FlushLevels(session_, vars_);
    keepTicking();
}

void UILevelsWin::handlesChanged()
{
    update();
}

// Events ---------------------------------------------------------------------------------------------------------------

void UILevelsWin::tick()
{
    (void)LevelsTick(session_, vars_);
}

void UILevelsWin::endDrag()
{
    (void)ReleaseLevels(session_, vars_);
}

void UILevelsWin::settle()
{
    (void)FlushLevels(session_, vars_);
}

void UILevelsWin::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    const QPointF point = event->position();
    const uint32_t handle = LevelsHandleOf(PressLevels(session_, vars_, point.x(), point.y()));
    if (handle < kLevelsHandleCount) handles_[handle]->setFocus(Qt::MouseFocusReason);
    keepTicking();
}

void UILevelsWin::mouseMoveEvent(QMouseEvent* event)
{
    const QPointF point = event->position();
    if (vars_->tracking == 0) {
        hover(LevelsHitTest(*vars_, static_cast<int32_t>(std::floor(point.x())),
                            static_cast<int32_t>(std::floor(point.y()))));
        return;
    }
    if (!(event->buttons() & Qt::LeftButton)) { // let go where we could not see it
        (void)ReleaseLevels(session_, vars_);
    } else if (TrackLevelsHandle(session_, vars_, point.x(), TKModifiersOf(event->modifiers())).changed) {
        showValues();
    }
    keepTicking();
}

void UILevelsWin::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return;
    (void)ReleaseLevels(session_, vars_);
    keepTicking();
}

void UILevelsWin::leaveEvent(QEvent*)
{
    hover(kLevelsHitNothing);
}

void UILevelsWin::resizeEvent(QResizeEvent*)
{
    layOut();
}

void UILevelsWin::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange) update();
    QWidget::changeEvent(event);
}

void UILevelsWin::hover(uint32_t code)
{
    if (LevelsHandleOf(code) == kLevelsHandleCount) code = kLevelsHitNothing;
    if (code == hovered_) return;
    hovered_ = code;
    setCursor(code != kLevelsHitNothing ? Qt::SizeHorCursor : Qt::ArrowCursor);
    update();
}

// Painting -------------------------------------------------------------------------------------------------------------

void UILevelsWin::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    paintHistogram(painter);
    paintBar(painter, vars_->layout.inputBar);
    paintBar(painter, vars_->layout.outputBar);
    // What the mouse takes first lies on top.
    for (const uint32_t handle :
         {levelsInWhite, levelsInBlack, levelsInGray, levelsOutWhite, levelsOutBlack, levelsOutGray})
        paintHandle(painter, handle);
}

void UILevelsWin::paintHistogram(QPainter& painter)
{
    const QRect plot = UIRectOf(vars_->layout.inputPlot);
    painter.fillRect(plot.adjusted(-1, -1, 1, 1), UIShadesNow().line);
    painter.fillRect(plot, Qt::black);
    for (int i = 1; i < kGridLines; ++i) {
        const int x = plot.left() + plot.width() * i / kGridLines;
        painter.fillRect(QRect(x, plot.top(), 1, plot.height()), QColor(38, 38, 38));
    }
    const LevelsHistogramKey key = histogramKey();
    (void)UpdateLevelsHistogram(session_->sourceFrame, key, &histogram_);
    const double binWidth = static_cast<double>(plot.width()) / key.binCount;
    const double floorLine = plot.bottom() + 1;
    QPainterPath columns(QPointF(plot.left(), floorLine));
    for (uint32_t bin = 0; bin < key.binCount; ++bin) {
        const double top = floorLine - LevelsColumnHeight(histogram_, bin, plot.height());
        columns.lineTo(plot.left() + bin * binWidth, top);
        columns.lineTo(plot.left() + (bin + 1) * binWidth, top);
    }
    columns.lineTo(plot.right() + 1, floorLine);
    columns.closeSubpath();
    painter.fillPath(columns, ColorsOf(vars_->channel, session_->prefs.uiSaturation).columns);
}

void UILevelsWin::paintBar(QPainter& painter, const ScopeRect& bar)
{
    const QRect rect = UIRectOf(bar);
    painter.fillRect(rect.adjusted(-1, -1, 1, 1), Outline());
    QLinearGradient ramp(rect.left(), 0, rect.right() + 1, 0);
    ramp.setColorAt(0, Qt::black);
    ramp.setColorAt(1, ColorsOf(vars_->channel, session_->prefs.uiSaturation).bright);
    painter.fillRect(rect, ramp);
}

void UILevelsWin::paintHandle(QPainter& painter, uint32_t handle)
{
    const UIShades& shades = UIShadesNow();
    const QRect box = handleRect(handle);
    const double x = LevelsHandleX(*vars_, handle), top = box.top();
    const bool held = vars_->tracking == LevelsHitCode(handle), hovered = hovered_ == LevelsHitCode(handle);
    painter.setRenderHint(QPainter::Antialiasing);
    if (handles_[handle]->hasFocus()) {
        painter.setPen(QPen(UIFocusColor(), 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(x - 9.5, top + 0.5, 19, 13), 3, 3);
    }
    const QColor fills[3] = {Qt::black, QColor(128, 128, 128), Qt::white};
    const QPointF corners[3] = {{x, top + 1.5},
                                {x + kTriangleReach, top + 1.5 + kTriangleHeight},
                                {x - kTriangleReach, top + 1.5 + kTriangleHeight}};
    painter.setBrush(fills[handle % 3]);
    const bool isDark = shades.text.lightness() > shades.window.lightness();
    const QColor edge = held ? UIFocusColor() : hovered ? shades.text : isDark ? Outline() : shades.dimText;
    painter.setPen(QPen(edge, held || hovered ? 1.6 : 1, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    painter.drawPolygon(corners, 3);
    painter.setRenderHint(QPainter::Antialiasing, false);
    if (handle >= levelsOutBlack || !(held || hovered || handles_[handle]->hasFocus())) return;
    const QRect plot = UIRectOf(vars_->layout.inputPlot);
    const int line = qBound(plot.left(), static_cast<int>(x), plot.right());
    painter.fillRect(QRect(line, plot.top(), 1, plot.height()), QColor(255, 255, 255, 110));
}
