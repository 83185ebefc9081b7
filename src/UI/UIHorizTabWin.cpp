// The window of a row of tabs.
#include "src/UI/UIHorizTabWin.h"

#include "src/UI/UIHoldWin.h"
#include "src/UI/UIHorizTabAccessibleWin.h"
#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/platform/BPLog.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <cstring>

namespace {

constexpr const char* kModule = "UIHorizTabWin";
constexpr int kPadding = 12; // left and right of a label
constexpr int kNarrowPadding = 5;
constexpr int kSwitchSide = 11;
constexpr int kSwitchGap = 7;

QColor Between(const QColor& a, const QColor& b)
{
    return QColor((a.red() + b.red()) / 2, (a.green() + b.green()) / 2, (a.blue() + b.blue()) / 2);
}

void PaintTick(QPainter& painter, const QRect& box)
{
    painter.setPen(QPen(Qt::white, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF corner = box.topLeft();
    const QPointF tick[3] = {corner + QPointF(2.6, 5.6), corner + QPointF(4.7, 7.8), corner + QPointF(8.4, 3.2)};
    painter.drawPolyline(tick, 3);
}

} // namespace

UIHorizTabWin* CreateHorizTabs(TKSession* session, QWidget* owner, const QRect& rect, std::vector<UITab> titles,
                               bool hasCheckboxes, std::span<QWidget*>* pagesOut)
{
    if (!hasCheckboxes)
        for (UITab& tab : titles) tab.switchOffset = kUINoSwitch;
    auto* bar = new UIHorizTabWin(session, std::move(titles), owner);
    bar->setGeometry(QRect(rect.topLeft(), QSize(rect.width(), UIHorizTabWin::kHeight)));
    if (pagesOut) *pagesOut = bar->bar_.page;
    return bar;
}

void SelectTab(UIHorizTabWin* bar, int index)
{
    if (index < 0 || index >= bar->tabCount()) return;
    QWidget* wanted = bar->bar_.page[static_cast<size_t>(index)];
    for (QWidget* page : bar->bar_.page)
        if (page && page != wanted) page->hide();
    if (wanted) wanted->show();
    if (index == bar->bar_.current) return;
    bar->bar_.current = index;
    bar->update();
    if (bar->onSelect) bar->onSelect(index);
    UITabWasSelected(bar, index);
}

void SetTabCheck(UIHorizTabWin* bar, int index, bool value)
{
    if (!bar->session_ || !bar->hasSwitch(index)) return;
    if (bar->isOn(index) != value) {
        const uint32_t word = value ? 1 : 0;
        auto* base = reinterpret_cast<uint8_t*>(&bar->session_->liveSettings);
        std::memcpy(base + bar->bar_.tab[static_cast<size_t>(index)].switchOffset, &word, sizeof word);
    }
    if (bar->bar_.shownOn[static_cast<size_t>(index)] == value) return;
    bar->bar_.shownOn[static_cast<size_t>(index)] = value;
    bar->update(bar->tabRect(index));
    UITabSwitchChanged(bar, index);
}

UIHorizTabWin::UIHorizTabWin(TKSession* session, std::vector<UITab> tabs, QWidget* parent)
    : QWidget(parent), session_(session), padding_(kPadding)
{
    bar_.page.resize(tabs.size());
    bar_.shownOn.resize(tabs.size());
    bar_.tab = std::move(tabs);
    [[maybe_unused]] const TKSession* HTVH = session;
    BP_ASSERT(HTVH != 0, kModule);
    UIInstallTabAccessibility();
    setFixedHeight(kHeight);
    setMouseTracking(true);
    setFocusPolicy(Qt::TabFocus);
    setProperty(kUITakesArrows, true);
    for (int i = 0; i < tabCount(); ++i) bar_.shownOn[static_cast<size_t>(i)] = isOn(i);
}

void UIHorizTabWin::fitLabels(const std::vector<QString>& full, const std::vector<QString>& cut, int room)
{
    const auto use = [this](const std::vector<QString>& labels, int padding) {
        padding_ = padding;
        for (size_t i = 0; i < bar_.tab.size() && i < labels.size(); ++i) bar_.tab[i].label = labels[i];
        return ownWidth();
    };
    if (use(full, kPadding) > room && use(full, kNarrowPadding) > room && use(cut, kPadding) > room)
        (void)use(cut, kNarrowPadding);
    update();
}

const UITab* UIHorizTabWin::tabOf(int index) const
{
    const UITab* buttonRef = index >= 0 && index < tabCount() ? &bar_.tab[static_cast<size_t>(index)] : nullptr;
    BP_ASSERT(buttonRef != 0, kModule);
    return buttonRef;
}

QString UIHorizTabWin::tabName(int index) const
{
    const UITab* tab = tabOf(index);
    return tab ? tab->name : QString();
}

QString UIHorizTabWin::tabLabel(int index) const
{
    const UITab* tab = tabOf(index);
    return tab ? tab->label : QString();
}

bool UIHorizTabWin::hasSwitch(int index) const
{
    const UITab* tab = tabOf(index);
    return tab && tab->switchOffset != kUINoSwitch;
}

bool UIHorizTabWin::isOn(int index) const
{
    if (!session_ || !hasSwitch(index)) return false;
    uint32_t word = 0;
    const auto* base = reinterpret_cast<const uint8_t*>(&session_->liveSettings);
    std::memcpy(&word, base + bar_.tab[static_cast<size_t>(index)].switchOffset, sizeof word);
    return word != 0;
}

void UIHorizTabWin::toggle(int index)
{
    [[maybe_unused]] const OCSettings* HTBVH =
        session_ ? &session_->liveSettings : nullptr; // what the switch is bound to
    BP_ASSERT(HTBVH != 0, kModule);
    if (!HTBVH || !hasSwitch(index)) return;
    const QByteArray name = bar_.tab[static_cast<size_t>(index)].name.toLatin1();
    TKCheckbox checkbox;
    TKCreateCheckbox(&checkbox, &session_->liveSettings, bar_.tab[static_cast<size_t>(index)].switchOffset,
                     tkSectionNone, name.constData(), name.constData());
    (void)TKCheckboxClick(session_, &checkbox, !isOn(index));
    switchesChanged();
}

void UIHorizTabWin::switchesChanged()
{
    for (int i = 0; i < tabCount(); ++i)
        if (hasSwitch(i)) SetTabCheck(this, i, isOn(i));
}

std::vector<int> UIHorizTabWin::naturalWidths() const
{
    std::vector<int> widths;
    for (const UITab& tab : bar_.tab)
        widths.push_back(fontMetrics().horizontalAdvance(tab.label) + 2 * padding_ +
                         (tab.switchOffset != kUINoSwitch ? kSwitchSide + kSwitchGap : 0));
    return widths;
}

int UIHorizTabWin::equalWidth() const
{
    return TKTabsEqualWidth(naturalWidths());
}

int UIHorizTabWin::ownWidth() const
{
    return TKTabsOwnWidth(naturalWidths());
}

QSize UIHorizTabWin::sizeHint() const
{
    return {equalWidth(), kHeight};
}

QSize UIHorizTabWin::minimumSizeHint() const
{
    return {tabCount() * 2 * kNarrowPadding, kHeight};
}

QRect UIHorizTabWin::tabRect(int index) const
{
    if (!tabOf(index)) return {};
    const TKTabSpan span = TKTabSpans(naturalWidths(), width())[static_cast<size_t>(index)];
    return QRect(span.x, 0, span.width, height());
}

QRect UIHorizTabWin::switchRect(int index) const
{
    if (!hasSwitch(index)) return {};
    const QRect tab = tabRect(index);
    const int padding = qMin(padding_, qMax(0, tab.width() - kSwitchSide) / 2);
    return QRect(tab.left() + padding, tab.center().y() - kSwitchSide / 2, kSwitchSide, kSwitchSide);
}

int UIHorizTabWin::tabAt(const QPoint& point) const
{
    for (int i = 0; i < tabCount(); ++i)
        if (tabRect(i).contains(point)) return i;
    return -1;
}

bool UIHorizTabWin::isOnSwitch(int index, const QPoint& point) const
{
    return hasSwitch(index) && switchRect(index).adjusted(-5, -7, 4, 7).contains(point);
}

void UIHorizTabWin::paintTab(QPainter& painter, int index) const
{
    const UIShades& shades = UIShadesNow();
    const QRect tab = tabRect(index);
    const bool isCurrent = index == bar_.current, isHovered = index == hovered_;
    if (isCurrent) { // raised: lit along its upper edge, open to the page below
        painter.setPen(QPen(shades.hover, 1));
        painter.setBrush(shades.panel);
        painter.drawRoundedRect(QRectF(tab).adjusted(0.5, 2.5, -0.5, 4), 4, 4);
    } else if (isHovered) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(Between(shades.window, shades.panel));
        painter.drawRoundedRect(QRectF(tab).adjusted(0, 2, 0, 4), 4, 4);
    }
    int textLeft = tab.left() + padding_;
    if (const QRect box = switchRect(index); !box.isEmpty()) {
        const bool on = isOn(index);
        const bool touched = isHovered && hoversSwitch_;
        painter.setPen(QPen(on || touched ? shades.accent.lighter(130) : shades.dimText, 1));
        painter.setBrush(pressedSwitch_ == index ? shades.pressed : on ? shades.accent : shades.groove);
        painter.drawRoundedRect(QRectF(box).adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
        if (on) PaintTick(painter, box);
        textLeft = box.right() + 1 + kSwitchGap;
    }
    painter.setPen(isCurrent || isHovered ? shades.text : shades.dimText);
    const int room = tab.right() + 1 - textLeft - 2;
    painter.drawText(QRect(textLeft, 0, room, height()), Qt::AlignLeft | Qt::AlignVCenter,
                     fontMetrics().elidedText(bar_.tab[static_cast<size_t>(index)].label, Qt::ElideRight, room));
    if (!isCurrent) return;
    painter.fillRect(QRectF(tab.left() + 4, tab.bottom() - 1, tab.width() - 8, 2), shades.accent.lighter(120));
    if (!hasFocus()) return;
    painter.setPen(QPen(shades.accent.lighter(140), 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(tab).adjusted(1.5, 3.5, -1.5, -3.5), 3, 3);
}

void UIHorizTabWin::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), UIShadesNow().window);
    painter.setRenderHint(QPainter::Antialiasing);
    for (int i = 0; i < tabCount(); ++i) paintTab(painter, i);
}

void UIHorizTabWin::mousePressEvent(QMouseEvent* event)
{
    (void)CommitOpenEdit(session_, true);
    const QPoint point = event->position().toPoint();
    const int index = tabAt(point);
    if (index < 0 || event->button() != Qt::LeftButton) return;
    if (isOnSwitch(index, point)) {
        pressedSwitch_ = index;
        update();
        return;
    }
    SelectTab(this, index);
}

void UIHorizTabWin::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return;
    const int index = pressedSwitch_;
    pressedSwitch_ = -1;
    if (index < 0) return;
    update();
    if (isOnSwitch(index, event->position().toPoint())) toggle(index);
}

void UIHorizTabWin::hover(int index, bool onSwitch)
{
    if (index == hovered_ && onSwitch == hoversSwitch_) return;
    hovered_ = index;
    hoversSwitch_ = onSwitch;
    update();
}

void UIHorizTabWin::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint point = event->position().toPoint();
    const int index = tabAt(point);
    hover(index, index >= 0 && isOnSwitch(index, point));
}

void UIHorizTabWin::keyPressEvent(QKeyEvent* event)
{
    if (event->modifiers() == Qt::NoModifier && event->key() == Qt::Key_Space && hasSwitch(bar_.current)) {
        toggle(bar_.current);
        return;
    }
    const int next = event->modifiers() == Qt::NoModifier || event->modifiers() == Qt::KeypadModifier
                         ? TKTabAfterKey(bar_.current, tabCount(), TKVirtualKey(*event))
                         : -1;
    if (next < 0) {
        QWidget::keyPressEvent(event);
        return;
    }
    SelectTab(this, next);
}

void UIHorizTabWin::leaveEvent(QEvent*)
{
    hover(-1, false);
}

bool UIHorizTabWin::event(QEvent* event)
{
    if (pressedSwitch_ >= 0 && UIEndsHold(*event, Qt::LeftButton)) {
        pressedSwitch_ = -1;
        update();
    }
    return QWidget::event(event);
}

void UIHorizTabWin::focusInEvent(QFocusEvent*)
{
    update();
}

void UIHorizTabWin::focusOutEvent(QFocusEvent*)
{
    update();
}
