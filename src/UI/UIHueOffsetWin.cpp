// The hue offset wheel's window.
#include "src/UI/UIHueOffsetWin.h"

#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/UI/UIToolMenuWin.h"
#include "src/UI/UIValueAccessWin.h"
#include "src/support/TKHueWheelImage.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <cstring>

namespace {

constexpr int kLabelHeight = 16;
constexpr int kSliderHeight = 34;
constexpr int kSliderStep = 35;
constexpr int kGap = 4;
constexpr int kLeastWheel = 64, kUsualWheel = 150, kMostWheel = 420;
constexpr int kTickMs = 10;
constexpr int kHandleSide = 4;

/// A wheel as a screen reader has it: a text of both numbers, and the strength as its value.
class WheelAccess : public UIValueAccess {
  public:
    explicit WheelAccess(UIHueOffsetWin* wheel) : UIValueAccess(wheel, QAccessible::Dial), wheel_(wheel) {}

    QString valueText() const override { return wheel_->valueText(); }
    QVariant currentValue() const override { return static_cast<double>(wheel_->vars()->strength); }
    QVariant minimumValue() const override { return 0.0; }
    QVariant maximumValue() const override { return 1.0; }
    QVariant minimumStepSize() const override { return static_cast<double>(kTKWheelFineNudge); }
    void setCurrentValue(const QVariant& value) override
    {
        SliderVars* slider = &wheel_->vars()->strengthSlider;
        bool isNumber = false;
        const double number = value.toDouble(&isNumber);
        if (isNumber && number == number) (void)TKSliderDrag(wheel_->session(), slider, TKTrackUnits(*slider, number));
    }

  private:
    UIHueOffsetWin* wheel_;
};

QAccessibleInterface* MakeAccess(const QString&, QObject* object)
{
    auto* wheel = dynamic_cast<UIHueOffsetWin*>(object);
    return wheel ? new WheelAccess(wheel) : nullptr;
}

/// Surface bytes to words, with what lies outside the wheel left transparent.
QImage ImageOf(const ScopeSurface& surface, qreal ratio)
{
    QImage image(static_cast<int>(surface.width), static_cast<int>(surface.height), QImage::Format_ARGB32);
    for (int row = 0; row < image.height(); ++row) {
        const uint8_t* pixel = surface.pixels + size_t{surface.rowBytes} * static_cast<uint32_t>(row);
        auto* word = reinterpret_cast<QRgb*>(image.scanLine(row));
        for (int column = 0; column < image.width(); ++column, pixel += 4)
            word[column] = qRgba(pixel[1], pixel[2], pixel[3], pixel[0]);
    }
    image.setDevicePixelRatio(ratio);
    return image;
}

int WheelSide(int width, int height)
{
    const int room = height - kLabelHeight - kGap - 2 * kSliderStep;
    return qBound(kLeastWheel, qMin(width, room), kMostWheel);
}

} // namespace

UIHueOffsetWin::UIHueOffsetWin(TKSession* session, HueOffsetVars* vars, const QString& name, QWidget* parent)
    : UIDragWin(session, kTickMs, parent), vars_(vars),
      hue_(new UISliderWin(session, &vars->hueSlider, name + QStringLiteral("_tintangle"), this)),
      strength_(new UISliderWin(session, &vars->strengthSlider, name + QStringLiteral("_strength"), this))
{
    static const bool installed = [] {
        QAccessible::installFactory(MakeAccess);
        return true;
    }();
    (void)installed;
    setObjectName(name);
    setAccessibleName(QString::fromUtf8(vars->label) + QStringLiteral(" hue wheel"));
    setProperty(kUITakesArrows, true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    vars_->control = this;
    vars_->redraw = [](void* control) { static_cast<UIHueOffsetWin*>(control)->valueChanged(); };
}

UIHueOffsetWin::~UIHueOffsetWin()
{
    vars_->control = nullptr;
    vars_->redraw = nullptr;
    TKDisposeHueOffset(vars_);
}

UISliderWin* UIHueOffsetWin::sliderOf(const SliderVars* slider) const
{
    if (slider == &vars_->hueSlider) return hue_;
    return slider == &vars_->strengthSlider ? strength_ : nullptr;
}

QRect UIHueOffsetWin::wheelRect() const
{
    return UIRectOf(vars_->wheelRect);
}

QPoint UIHueOffsetWin::handlePoint() const
{
    const QRect rect = wheelRect();
    return QPoint(rect.left() + rect.width() / 2 + vars_->handleX, rect.top() + rect.height() / 2 + vars_->handleY);
}

QSize UIHueOffsetWin::sizeHint() const
{
    return QSize(220, heightForWidth(kUsualWheel));
}

QSize UIHueOffsetWin::minimumSizeHint() const
{
    return QSize(120, heightForWidth(kLeastWheel));
}

int UIHueOffsetWin::heightForWidth(int width) const
{
    return kLabelHeight + qBound(kLeastWheel, width, kMostWheel) + kGap + 2 * kSliderStep;
}

void UIHueOffsetWin::resizeEvent(QResizeEvent*)
{
    const int side = WheelSide(width(), height());
    const int left = qMax((width() - side) / 2, 0);
    TKPlaceHueOffset(vars_, ScopeRectOf(kLabelHeight, left, kLabelHeight + side, left + side));
    const int top = kLabelHeight + side + kGap;
    hue_->setGeometry(0, top, width(), kSliderHeight);
    strength_->setGeometry(0, top + kSliderStep, width(), kSliderHeight);
}

void UIHueOffsetWin::valueChanged()
{
    update();
    keepTicking();
    (void)UIAnnounceValue(this, valueText(), static_cast<double>(vars_->strength), &announced_);
}

QString UIHueOffsetWin::valueText() const
{
    char text[64];
    TKHueOffsetText(*vars_, text, sizeof text);
    return QString::fromUtf8(text);
}

bool UIHueOffsetWin::event(QEvent* event)
{
    if (event->type() == QEvent::EnabledChange) vars_->enabled = isEnabled();
    if (event->type() == QEvent::Leave) {
        hovered_ = false;
        update();
    }
    return UIDragWin::event(event);
}

void UIHueOffsetWin::drawWheel(QPainter* painter)
{
    const qreal ratio = devicePixelRatioF();
    const QRect rect = wheelRect();
    if (rect.isEmpty() || TKPrepareHueWheelImage(session_, vars_, ratio) != bpNoErr) return;
    painter->setOpacity(isEnabled() ? 1.0 : 0.4);
    const bool isShown = shownSaturation_ == vars_->imageSaturation && shown_.devicePixelRatio() == ratio &&
                         shown_.width() == static_cast<int>(vars_->wheelImage.width);
    if (!isShown) {
        shown_ = ImageOf(vars_->wheelImage, ratio);
        shownSaturation_ = vars_->imageSaturation;
    }
    painter->drawImage(QPointF(rect.topLeft()), shown_);
    painter->setRenderHint(QPainter::Antialiasing);
    const qreal middle = (static_cast<int>(vars_->wheelImage.width) / 2 + 0.5) / ratio; // of the picture's own
    const QPointF centre = QPointF(rect.topLeft()) + QPointF(middle, middle);
    const QPointF handle = centre + QPointF(vars_->handleX, vars_->handleY);
    painter->setPen(QPen(QColor(0, 0, 0, 200), 1.2));
    painter->drawLine(centre, handle);
    const double half = kHandleSide / 2.0;
    const QRectF square(handle.x() - half, handle.y() - half, kHandleSide, kHandleSide);
    painter->setRenderHint(QPainter::Antialiasing, false);
    const qreal edge = vars_->captured || hovered_ ? 2 : 1;
    painter->fillRect(square.adjusted(-edge, -edge, edge, edge), Qt::white);
    painter->fillRect(square, Qt::black);
    painter->setOpacity(1);
}

void UIHueOffsetWin::paintEvent(QPaintEvent*)
{
    const UIShades& shades = UIShadesNow();
    QPainter painter(this);
    painter.setPen(isEnabled() ? shades.text : shades.dimText);
    painter.drawText(QRect(0, 0, width(), kLabelHeight), Qt::AlignHCenter | Qt::AlignVCenter,
                     QString::fromUtf8(vars_->label));
    const QRectF frame = QRectF(UIRectOf(vars_->frame)).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(shades.groove);
    painter.setPen(QPen(hasFocus() ? shades.accent.lighter(140) : shades.line, hasFocus() ? 1.5 : 1));
    painter.drawRoundedRect(frame, 3, 3);
    drawWheel(&painter);
}

void UIHueOffsetWin::mousePressEvent(QMouseEvent* event)
{
    const QPointF point = event->position();
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    if (!TKHueOffsetHit(*vars_, point.x(), point.y())) {
        (void)CommitOpenEdit(session_, true);
        return;
    }
    (void)TKHueOffsetPress(session_, vars_, point.x(), point.y(), TKModifiersOf(event->modifiers()));
    setFocus(Qt::MouseFocusReason);
    keepTicking();
    update();
}

void UIHueOffsetWin::mouseMoveEvent(QMouseEvent* event)
{
    const QPointF point = event->position();
    const bool hovered = TKHueOffsetHit(*vars_, point.x(), point.y());
    if (hovered != hovered_) {
        hovered_ = hovered;
        update();
    }
    (void)TKHueOffsetMove(session_, vars_, point.x(), point.y(), TKModifiersOf(event->modifiers()));
    keepTicking();
}

void UIHueOffsetWin::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return;
    (void)TKHueOffsetRelease(session_, vars_);
    keepTicking();
    update();
}

void UIHueOffsetWin::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && event->position().y() < kLabelHeight) {
        (void)TKHueOffsetMenuSelect(session_, vars_, tkWheelReset); // as on the label of a slider
        return;
    }
    mousePressEvent(event);
}

void UIHueOffsetWin::contextMenuEvent(QContextMenuEvent* event)
{
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    const bool isInRows = event->y() >= vars_->wheelRect.top && event->y() < vars_->wheelRect.bottom;
    if (!byKey && !isInRows) {
        event->ignore();
        return;
    }
    const QPoint place = byKey ? mapToGlobal(wheelRect().center()) : event->globalPos();
    UIOpenToolMenu(TKHueOffsetMenu(*vars_), place, this,
                   [this](uint32_t item) { (void)TKHueOffsetMenuSelect(session_, vars_, item); });
}

void UIHueOffsetWin::keyPressEvent(QKeyEvent* event)
{
    if (TKHueOffsetKey(session_, vars_, TKVirtualKey(*event), TKModifiersOf(event->modifiers())))
        keepTicking();
    else
        QWidget::keyPressEvent(event);
}
