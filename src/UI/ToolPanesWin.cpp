// The settings area.
#include "src/UI/ToolPanesWin.h"

#include "src/UI/UIStyleWin.h"
#include "src/support/TKCommands.h"

#include <QPainter>
#include <QResizeEvent>
#include <QScrollBar>
#include <new>

namespace {

QRect ToRect(const TKPlace& place)
{
    return QRect(place.x, place.y, place.width, place.height);
}

} // namespace

// A page --------------------------------------------------------------------------------------------------------------

ToolPageWin::ToolPageWin(TKSession* session, const TKPaneRow& pane, const TKPageRow& page, QWidget* parent,
                         BPStatus* error)
    : QWidget(parent), pane_(pane), records_(std::make_unique<TKSlider[]>(pane.sliders.size()))
{
    TKTabChain chain = {};
    ResetTabChain(&chain);
    for (size_t i = 0; i < pane.sliders.size(); ++i) {
        TKSlider* slider = &records_[i];
        TKInitSlider(slider, pane.sliders[i], &session->liveSettings, page.blockOffset, &session->defaultSettings,
                     page.section);
        slider->repaint = true;
        const BPStatus err = TKRegisterSlider(session, slider);
        if (*error == bpNoErr) *error = err;
        TKChainSlider(&chain, slider);
        const QString name = QString::fromLatin1(page.prefix) + u'_' + QString::fromLatin1(pane.sliders[i].objectName);
        sliders_.push_back(new UISliderWin(session, slider, name, this));
    }
    TKCloseTabChain(&chain);
    reset_ = new QPushButton(QStringLiteral("Reset"), this);
    reset_->setObjectName(QString::fromLatin1(page.prefix) + QStringLiteral("_reset"));
    const TKSection& section = TKSections()[page.section];
    connect(reset_, &QPushButton::clicked, this, [session, &section] {
        const TKCommandSource source = {.toolMask = section.toolMask, .curveMask = section.curveMask};
        DoMenuCommand(session, kTKCommandResetGroup, &source);
    });
}

UISliderWin* ToolPageWin::sliderOf(const TKSlider* slider) const
{
    for (UISliderWin* window : sliders_)
        if (window->slider() == slider) return window;
    return nullptr;
}

void ToolPageWin::layOut(int pageWidth)
{
    for (size_t i = 0; i < sliders_.size(); ++i)
        sliders_[i]->setGeometry(ToRect(TKSliderPlace(pane_, static_cast<uint32_t>(i), pageWidth)));
    reset_->setGeometry(ToRect(TKResetPlace(pane_, pageWidth)));
    const QRect last = sliders_.back()->geometry();
    resize(qMax(pageWidth, last.right() + kTKPaneMargin), TKPageHeight(pane_, pageWidth));
}

// A pane ---------------------------------------------------------------------------------------------------------------

ToolPaneWin::ToolPaneWin(TKSession* session, const TKPaneRow& pane, QWidget* parent, BPStatus* error)
    : QWidget(parent), session_(session)
{
    const QString paneName = QString::fromLatin1(pane.objectName);
    if (pane.innerLabel) {
        const QString label = QString::fromLatin1(pane.innerLabel);
        inner_ = new UIHorizTabWin(session, {{label, paneName + u'_' + label.toLower(), pane.innerSwitchOffset}}, this);
        inner_->setObjectName(paneName + QStringLiteral("_inner"));
    }
    std::vector<UITab> ranges;
    for (const TKPageRow& page : pane.pages)
        ranges.push_back({QString::fromLatin1(page.label), QString::fromLatin1(page.prefix), page.switchOffset});
    ranges_ = new UIHorizTabWin(session, std::move(ranges), this);
    ranges_->setObjectName(paneName + QStringLiteral("_ranges"));
    ranges_->onSelect = [this](int index) { showPage(index); };
    scroll_ = new QScrollArea(this);
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setFocusPolicy(Qt::NoFocus);
    scroll_->viewport()->setAutoFillBackground(false);
    auto* stack = new QWidget;
    scroll_->setWidget(stack);
    for (const TKPageRow& page : pane.pages) {
        pages_.push_back(new ToolPageWin(session, pane, page, stack, error));
        pages_.back()->setVisible(pages_.size() == 1);
    }
}

UISliderWin* ToolPaneWin::sliderOf(const TKSlider* slider) const
{
    for (ToolPageWin* page : pages_)
        if (UISliderWin* window = page->sliderOf(slider)) return window;
    return nullptr;
}

void ToolPaneWin::showPage(int index)
{
    pages_[static_cast<size_t>(shown_)]->hide();
    shown_ = index;
    pages_[static_cast<size_t>(shown_)]->show();
    layOut();
}

void ToolPaneWin::selectInner(int inner, int innermost)
{
    if (inner_) inner_->select(inner);
    ranges_->select(inner_ ? innermost : inner);
}

void ToolPaneWin::layOut()
{
    int x = 0;
    if (inner_) {
        inner_->setGeometry(0, 0, inner_->tabRect(0).width() + 1, UIHorizTabWin::kHeight);
        x = inner_->width() + 14;
    }
    ranges_->setGeometry(x, 0, width() - x, UIHorizTabWin::kHeight);
    scroll_->setGeometry(0, UIHorizTabWin::kHeight + 4, width(), height() - UIHorizTabWin::kHeight - 4);
    ToolPageWin* page = pages_[static_cast<size_t>(shown_)];
    page->layOut(scroll_->width());
    if (page->height() > scroll_->height())
        page->layOut(scroll_->width() - scroll_->verticalScrollBar()->sizeHint().width());
    page->move(0, 0);
    scroll_->widget()->resize(page->size());
}

void ToolPaneWin::resizeEvent(QResizeEvent*)
{
    layOut();
}

void ToolPaneWin::mousePressEvent(QMouseEvent*)
{
    (void)CommitOpenEdit(session_, true);
}

// All panes ------------------------------------------------------------------------------------------------------------

ToolAreaWin::ToolAreaWin(TKSession* session, QWidget* parent, BPStatus* error) : QWidget(parent), session_(session)
{
    std::vector<UITab> tabs;
    for (const TKPaneRow& pane : TKToolPanes())
        tabs.push_back({QString::fromLatin1(pane.label), QString::fromLatin1(pane.objectName), pane.switchOffset});
    tabs_ = new UIHorizTabWin(session, std::move(tabs), this);
    tabs_->setObjectName(QStringLiteral("panes"));
    tabs_->onSelect = [this](int index) {
        session_->settingsTab = index;
        for (size_t i = 0; i < panes_.size(); ++i) panes_[i]->setVisible(static_cast<int>(i) == index);
    };
    for (const TKPaneRow& pane : TKToolPanes()) {
        panes_.push_back(new ToolPaneWin(session, pane, this, error));
        panes_.back()->setVisible(panes_.size() == 1);
    }
    session->settingsTab = 0;
}

UISliderWin* ToolAreaWin::sliderOf(const TKSlider* slider) const
{
    for (ToolPaneWin* pane : panes_)
        if (UISliderWin* window = pane->sliderOf(slider)) return window;
    return nullptr;
}

void ToolAreaWin::selectPane(int index)
{
    tabs_->select(index);
}

void ToolAreaWin::selectTabs(int pane, int inner, int innermost)
{
    selectPane(pane);
    if (pane >= 0 && static_cast<size_t>(pane) < panes_.size())
        panes_[static_cast<size_t>(pane)]->selectInner(inner, innermost);
}

void ToolAreaWin::switchesChanged()
{
    for (QWidget* tabs : findChildren<QWidget*>())
        if (dynamic_cast<UIHorizTabWin*>(tabs)) tabs->update();
}

void ToolAreaWin::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), UIShadesNow().window);
    painter.fillRect(0, 0, width(), 1, UIShadesNow().line);
}

void ToolAreaWin::resizeEvent(QResizeEvent*)
{
    constexpr int edge = 8;
    tabs_->setGeometry(edge, 3, width() - 2 * edge, UIHorizTabWin::kHeight);
    const int top = 3 + UIHorizTabWin::kHeight + 6;
    for (ToolPaneWin* pane : panes_) pane->setGeometry(edge, top, width() - 2 * edge, height() - top);
}
