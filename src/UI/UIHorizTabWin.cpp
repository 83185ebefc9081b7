// A row of tabs.
#include "src/UI/UIHorizTabWin.h"

#include "src/UI/UIStyleWin.h"

#include <QMouseEvent>
#include <QPainter>
#include <cstring>

namespace {

constexpr int kPadding = 12; // left and right of a label
constexpr int kSwitchSide = 11;
constexpr int kSwitchGap = 7;

} // namespace

UIHorizTabWin::UIHorizTabWin(TKSession* session, std::vector<UITab> tabs, QWidget* parent)
    : QWidget(parent), session_(session), tabs_(std::move(tabs))
{
    setFixedHeight(kHeight);
    setMouseTracking(true);
}

void UIHorizTabWin::select(int index)
{
    if (index < 0 || index >= tabCount() || index == current_) return;
    current_ = index;
    update();
    if (onSelect) onSelect(index);
}

bool UIHorizTabWin::isOn(int index) const
{
    uint32_t word = 0;
    const auto* base = reinterpret_cast<const uint8_t*>(&session_->liveSettings);
    std::memcpy(&word, base + tabs_[static_cast<size_t>(index)].switchOffset, sizeof word);
    return word != 0;
}

QRect UIHorizTabWin::tabRect(int index) const
{
    int x = 0;
    for (int i = 0;; ++i) {
        const UITab& tab = tabs_[static_cast<size_t>(i)];
        int span = fontMetrics().horizontalAdvance(tab.label) + 2 * kPadding;
        if (tab.switchOffset != kUINoSwitch) span += kSwitchSide + kSwitchGap;
        if (i == index) return QRect(x, 0, span, height());
        x += span + 1;
    }
}

QRect UIHorizTabWin::switchRect(int index) const
{
    if (tabs_[static_cast<size_t>(index)].switchOffset == kUINoSwitch) return {};
    const QRect tab = tabRect(index);
    return QRect(tab.left() + kPadding, tab.center().y() - kSwitchSide / 2, kSwitchSide, kSwitchSide);
}

int UIHorizTabWin::tabAt(const QPoint& point) const
{
    for (int i = 0; i < tabCount(); ++i)
        if (tabRect(i).contains(point)) return i;
    return -1;
}

void UIHorizTabWin::paintEvent(QPaintEvent*)
{
    const UIShades& shades = UIShadesNow();
    QPainter painter(this);
    painter.fillRect(rect(), shades.window);
    painter.setRenderHint(QPainter::Antialiasing);
    for (int i = 0; i < tabCount(); ++i) {
        const QRect tab = tabRect(i);
        const bool isCurrent = i == current_;
        painter.setPen(Qt::NoPen);
        if (isCurrent || i == hovered_) {
            painter.setBrush(isCurrent ? shades.panel.lighter(118) : shades.panel);
            painter.drawRoundedRect(QRectF(tab).adjusted(0, 2, 0, 4), 4, 4);
        }
        int textLeft = tab.left() + kPadding;
        if (const QRect box = switchRect(i); !box.isEmpty()) {
            const bool on = isOn(i);
            painter.setPen(QPen(on ? shades.accent.lighter(130) : shades.dimText, 1));
            painter.setBrush(on ? shades.accent : shades.groove);
            painter.drawRoundedRect(QRectF(box).adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
            if (on) {
                painter.setPen(QPen(Qt::white, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
                const QPointF corner = box.topLeft();
                const QPointF tick[3] = {corner + QPointF(2.6, 5.6), corner + QPointF(4.7, 7.8),
                                         corner + QPointF(8.4, 3.2)};
                painter.drawPolyline(tick, 3);
            }
            textLeft = box.right() + 1 + kSwitchGap;
        }
        painter.setPen(isCurrent ? shades.text : shades.dimText);
        painter.drawText(QRect(textLeft, 0, tab.right() - textLeft, height()), Qt::AlignLeft | Qt::AlignVCenter,
                         tabs_[static_cast<size_t>(i)].label);
        if (isCurrent)
            painter.fillRect(QRectF(tab.left() + 4, tab.bottom() - 1, tab.width() - 8, 2), shades.accent.lighter(120));
    }
}

void UIHorizTabWin::mousePressEvent(QMouseEvent* event)
{
    (void)CommitOpenEdit(session_, true);
    const QPoint point = event->position().toPoint();
    const int index = tabAt(point);
    if (index < 0 || event->button() != Qt::LeftButton) return;
    const QRect box = switchRect(index);
    if (!box.isEmpty() && box.adjusted(-4, -7, 3, 7).contains(point)) {
        pressedSwitch_ = index;
        return;
    }
    select(index);
}

void UIHorizTabWin::mouseReleaseEvent(QMouseEvent* event)
{
    const int index = pressedSwitch_;
    pressedSwitch_ = -1;
    if (index < 0 || tabAt(event->position().toPoint()) != index) return;
    const QByteArray name = tabs_[static_cast<size_t>(index)].name.toLatin1();
    const TKCheckbox checkbox = {.dataBase = reinterpret_cast<uint8_t*>(&session_->liveSettings),
                                 .dataOffset = tabs_[static_cast<size_t>(index)].switchOffset,
                                 .section = tkSectionNone,
                                 .repaint = true,
                                 .label = name.constData(),
                                 .objectName = name.constData()};
    (void)TKCheckboxClick(session_, &checkbox, !isOn(index));
    update();
}

void UIHorizTabWin::mouseMoveEvent(QMouseEvent* event)
{
    const int index = tabAt(event->position().toPoint());
    if (index == hovered_) return;
    hovered_ = index;
    update();
}

void UIHorizTabWin::leaveEvent(QEvent*)
{
    hovered_ = -1;
    update();
}
