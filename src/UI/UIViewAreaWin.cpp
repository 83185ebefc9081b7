// Layout of the two panes.
#include "src/UI/UIViewAreaWin.h"

#include "src/UI/UIHoldWin.h"
#include "src/UI/UIStyleWin.h"
#include "src/support/TKStartup.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>

namespace {

constexpr double kMiddle = 0.5;

std::vector<UITab> Views()
{
    return {{QStringLiteral("Result"), QStringLiteral("view_result"), kUINoSwitch},
            {QStringLiteral("Source"), QStringLiteral("view_source"), kUINoSwitch},
            {QStringLiteral("Reference"), QStringLiteral("view_reference"), kUINoSwitch},
            {QStringLiteral("Split Source"), QStringLiteral("view_split_source"), kUINoSwitch},
            {QStringLiteral("Split Ref"), QStringLiteral("view_split_ref"), kUINoSwitch},
            {QStringLiteral("Luma Ranges"), QStringLiteral("view_luma_ranges"), kUINoSwitch}};
}

} // namespace

UIViewAreaWin::UIViewAreaWin(TKSession* session, QWidget* parent) : QWidget(parent), session_(session)
{
    setObjectName(QStringLiteral("view_area"));
    setMouseTracking(true);
    analysis_ = new UIAnalysisPaneWin(session, this);
    std::span<QWidget*> pages;
    views_ = CreateHorizTabs(session, this, QRect(), Views(), false, &pages);
    views_->setObjectName(QStringLiteral("views"));
    SelectTab(views_, qBound(0, session->imagePaneMode, kTKImageModeCount - 1));
    session->imagePaneMode = views_->current();
    views_->onSelect = [this](int index) {
        SelectImageDisplay(session_, index);
        TKWritePreferences(session_);
    };
    picture_ = new UIImagePaneWin(session, QStringLiteral("picture"), this);
    std::ranges::fill(pages, picture_); // one window, with a pane's record for each view
}

bool UIViewAreaWin::isNormal() const
{
    return session_->viewMode != tkViewSingle;
}

void UIViewAreaWin::selectView(int index)
{
    SelectTab(views_, index);
}

void UIViewAreaWin::showViewMode(uint32_t mode)
{
    analysis_->setVisible(mode != tkViewSingle);
    layOut();
    if (mode == tkViewNormal) UpdateAnalysisPane(session_, false);
}

int UIViewAreaWin::analysisWidth() const
{
    if (!isNormal()) return 0;
    const int room = width() - kHandleWidth;
    const int least = qMin(kLeastPane, room / 2);
    return qBound(least, qRound(share_ * room), room - least);
}

QRect UIViewAreaWin::handleRect() const
{
    return isNormal() ? QRect(analysisWidth(), 0, kHandleWidth, height()) : QRect();
}

void UIViewAreaWin::layOut()
{
    const int left = isNormal() ? analysisWidth() + kHandleWidth : 0;
    analysis_->setGeometry(0, 0, analysisWidth(), height());
    views_->setGeometry(left, 0, width() - left, UIHorizTabWin::kHeight);
    picture_->setGeometry(left, UIHorizTabWin::kHeight, width() - left, qMax(0, height() - UIHorizTabWin::kHeight));
    update();
}

void UIViewAreaWin::resizeEvent(QResizeEvent*)
{
    layOut();
}

void UIViewAreaWin::paintEvent(QPaintEvent*)
{
    const UIShades& shades = UIShadesNow();
    QPainter painter(this);
    painter.fillRect(rect(), shades.window);
    const QRect handle = handleRect();
    if (handle.isEmpty()) return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(grab_ >= 0 ? shades.accent : hovered_ ? shades.hover : shades.control);
    const QPointF middle = QRectF(handle).center();
    painter.drawRoundedRect(QRectF(middle.x() - 1.5, middle.y() - 18, 3, 36), 1.5, 1.5);
}

void UIViewAreaWin::mousePressEvent(QMouseEvent* event)
{
    (void)CommitOpenEdit(session_, true);
    const QPoint point = event->position().toPoint();
    if (event->button() != Qt::LeftButton || !handleRect().contains(point)) return;
    grab_ = point.x() - handleRect().left();
    update();
}

void UIViewAreaWin::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint point = event->position().toPoint();
    if (grab_ >= 0) {
        const int room = width() - kHandleWidth;
        const int wanted = qBound(kLeastPane, point.x() - grab_, qMax(kLeastPane, room - kLeastPane));
        if (room > 0) share_ = wanted / static_cast<double>(room);
        layOut();
        return;
    }
    const bool over = handleRect().contains(point);
    setCursor(over ? Qt::SplitHCursor : Qt::ArrowCursor);
    if (over == hovered_) return;
    hovered_ = over;
    update();
}

void UIViewAreaWin::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return;
    grab_ = -1;
    update();
}

void UIViewAreaWin::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !handleRect().contains(event->position().toPoint())) return;
    share_ = kMiddle;
    grab_ = -1;
    layOut();
}

void UIViewAreaWin::leaveEvent(QEvent*)
{
    hovered_ = false;
    update();
}

bool UIViewAreaWin::event(QEvent* event)
{
    if (grab_ >= 0 && UIEndsHold(*event, Qt::LeftButton)) {
        grab_ = -1;
        update();
    }
    return QWidget::event(event);
}
