// The hue offset wheel's window.
#include "src/UI/UIHueOffsetWin.h"

#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/UI/UIToolMenuWin.h"
#include "src/support/TKHueWheelImage.h"

#include <QAccessibleWidget>
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

/// A wheel as a screen reader has it: its value is a text of both numbers.
class WheelAccess : public QAccessibleWidget {
  public:
    explicit WheelAccess(UIHueOffsetWin* wheel) : QAccessibleWidget(wheel, QAccessible::Dial) {}

    QString text(QAccessible::Text kind) const override
    {
        if (kind != QAccessible::Value) return QAccessibleWidget::text(kind);
        char value[64];
        TKHueOffsetText(*static_cast<UIHueOffsetWin*>(widget())->vars(), value, sizeof value);
        return QString::fromUtf8(value);
    }
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

QRect ToRect(const ScopeRect& rect)
{
    return QRect(rect.left, rect.top, ScopeWidthOf(rect), ScopeHeightOf(rect));
}

int WheelSide(int width, int height)
{
    const int room = height - kLabelHeight - kGap - 2 * kSliderStep;
    return qBound(kLeastWheel, qMin(width, room), kMostWheel);
}

} // namespace

UIHueOffsetWin::UIHueOffsetWin(TKSession* session, HueOffsetVars* vars, const QString& name, QWidget* parent)
    : QWidget(parent), session_(session), vars_(vars),
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
    setMouseTracking(true);
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
    return ToRect(vars_->wheelRect);
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
    if (!QAccessible::isActive()) return;
    QAccessibleValueChangeEvent event(this, static_cast<double>(vars_->strength));
    QAccessible::updateAccessibility(&event);
}

void UIHueOffsetWin::keepTicking()
{
    if (TKHueOffsetWantsTicks(*vars_)) {
        if (!timer_.isActive()) timer_.start(kTickMs, Qt::PreciseTimer, this);
    } else {
        timer_.stop();
    }
}

void UIHueOffsetWin::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != timer_.timerId()) return QWidget::timerEvent(event);
    TKHueOffsetTick(session_, vars_);
    keepTicking();
}

bool UIHueOffsetWin::event(QEvent* event)
{
    switch (event->type()) {
    case QEvent::UngrabMouse:
    case QEvent::Hide:
    case QEvent::WindowDeactivate: // the release will go to somebody else
        (void)TKHueOffsetRelease(session_, vars_);
        update();
        break;
    case QEvent::EnabledChange: vars_->enabled = isEnabled(); break;
    case QEvent::FocusIn:
    case QEvent::FocusOut: update(); break;
    case QEvent::Leave:
        hovered_ = false;
        update();
        break;
    default: break;
    }
    return QWidget::event(event);
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
    const QRectF frame = QRectF(ToRect(vars_->frame)).adjusted(0.5, 0.5, -0.5, -0.5);
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
