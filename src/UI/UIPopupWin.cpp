// Popups.
#include "src/UI/UIPopupWin.h"

#include "src/UI/UIKeysWin.h"
#include "src/UI/UIStyleWin.h"

#include <QAbstractItemView>
#include <QPainter>
#include <QWheelEvent>

namespace {

constexpr int kLabelHeight = 16;
constexpr int kListHeight = 22;

void Show(void* window)
{
    static_cast<UIPopupWin*>(window)->showValue();
}

} // namespace

UIListWin::UIListWin(const char* items, const QString& name, const QString& accessibleName, QWidget* parent)
    : QComboBox(parent)
{
    setObjectName(name);
    setAccessibleName(accessibleName);
    setAccessibleDescription(accessibleName); // where the name of a list is its value
    setFocusPolicy(Qt::StrongFocus);          // a wheel would focus it otherwise
    const uint32_t count = TKItemCount(items);
    for (uint32_t i = 0; i < count; ++i) {
        const std::string_view item = TKItemAt(items, i);
        addItem(QString::fromUtf8(item.data(), static_cast<qsizetype>(item.size())));
    }
    setMaxVisibleItems(20);
    setAttribute(Qt::WA_Hover);
    setProperty(kUITakesArrows, true); // arrows, Home and End walk through the list
}

void UIListWin::paintEvent(QPaintEvent*)
{
    constexpr int inset = 8, arrowRoom = 20;
    const UIShades& shades = UIShadesNow();
    const bool isOpen = view()->isVisible();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(isOpen ? shades.pressed : underMouse() && isEnabled() ? shades.hover : shades.control);
    painter.setPen(QPen(hasFocus() ? shades.accent.lighter(130) : shades.line, 1));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    const QColor text = isEnabled() ? shades.text : palette().color(QPalette::Disabled, QPalette::ButtonText);
    painter.setPen(text);
    const QRect room(inset, 0, width() - inset - arrowRoom, height());
    painter.drawText(room, Qt::AlignLeft | Qt::AlignVCenter,
                     fontMetrics().elidedText(currentText(), Qt::ElideRight, room.width()));
    const QPointF tip(width() - arrowRoom / 2.0 - 1, height() / 2.0 + 2);
    const QPointF arrow[] = {tip + QPointF(-4, -4), tip, tip + QPointF(4, -4)};
    painter.setPen(QPen(text, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(arrow, 3);
}

void UIListWin::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}

UIPopupWin::UIPopupWin(TKSession* session, const TKPopup* popup, const QString& name, QWidget* parent)
    : QWidget(parent), session_(session), popup_(popup), label_(new QLabel(QString::fromUtf8(popup->label), this)),
      list_(new UIListWin(popup->items, name + QStringLiteral(".list"), QString::fromUtf8(popup->label), this)),
      view_(session, this, Show)
{
    setObjectName(name);
    setFocusProxy(list_);
    label_->setBuddy(list_);
    showValue();
    connect(list_, &QComboBox::activated, this, [this](int index) {
        (void)TKPopupSelect(session_, popup_, index);
        showValue(); // the procedure may have chosen another one
    });
}

void UIPopupWin::showValue()
{
    const int32_t value = TKPopupValue(*popup_);
    const int index = value >= 1 && value <= list_->count() ? value - 1 : -1;
    if (list_->currentIndex() != index) list_->setCurrentIndex(index);
}

void UIPopupWin::resizeEvent(QResizeEvent*)
{
    label_->setGeometry(0, 0, width(), kLabelHeight - 2);
    list_->setGeometry(0, kLabelHeight, width(), kListHeight);
}
